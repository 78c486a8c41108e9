// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Ryx: an entity's attribute and its notifiees.

#include <Ryx/State>
#include <delivery/Delivery>

#include <vector>

namespace {

class Cell final : public Ryx::EntityOf< Cell > {
 public:
   static constexpr std::string_view fwkTypeName = "Bench::Cell";

   class NotifieeConst : public Ryx::NotifieeConstOf< Cell, Ryx::Entity::NotifieeConst > {
    public:
      virtual void onValue() {}
   };
   using Notifiee = Ryx::NotifieeOf< NotifieeConst >;

   static constexpr auto attributes() {
      return Ryx::AttributeList<
         Ryx::Value< "value", &Cell::value_, &NotifieeConst::onValue > >();
   }

   void valueIs( int v ) { set< &Cell::value_ >( v ); }

 private:
   int value_ = 0;
};

class Listener final : public Cell::NotifieeConst {
 public:
   explicit Listener( Ryx::Ptr< Cell > const& cell ) {
      notifierIs( cell );
      isRegisteredNotifieeIs( true );
   }
   void onValue() override { ++heard; }

   unsigned heard = 0;
};

class Subject {
 public:
   explicit Subject( std::size_t listeners ) {
      while ( listeners_.size() < listeners ) {
         listeners_.push_back( Ryx::make< Listener >( cell_ ) );
      }
   }
   void set( int value ) { cell_->valueIs( value ); }
   unsigned heard() const { return listeners_.front()->heard; }
   void connect() { another_ = Ryx::make< Listener >( cell_ ); }
   void disconnect() { another_ = nullptr; }

 private:
   Ryx::Ptr< Cell > cell_ = Ryx::make< Cell >();
   std::vector< Ryx::Ptr< Listener > > listeners_;
   Ryx::Ptr< Listener > another_;
};

bool const measured = bench::measuredSet< Subject >( "set/Ryx" ) &&
   bench::measuredConnect< Subject >( "connect/Ryx" );

} // namespace
