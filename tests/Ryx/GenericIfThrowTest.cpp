// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// An accessor that refuses what it is given refuses by name in the same words.

#include "GenericDoubles"

#include <Ryx/Registration>

#include <gtest/gtest.h>

namespace {

using doubles::ByName;
using doubles::Generic;
using doubles::listOf;
using doubles::Port;
using doubles::toGeneric;
using Ryx::GenericIf;
using Ryx::Ptr;

// A fuse that takes up to 16 amperes.
class Fuse final : public Ryx::EntityOf< Fuse > {
 public:
   static constexpr std::string_view fwkTypeName = "Test::Fuse";
   class NotifieeConst : public Ryx::NotifieeConstOf< Fuse, Ryx::Entity::NotifieeConst > {};

   static constexpr auto attributes() {
      using F = Fuse;
      return Ryx::AttributeList<
         Ryx::Property< "load", &F::load, &F::loadIs >,
         Ryx::Function< "loadMore", &F::loadMore, "amperes" >,
         Ryx::Instantiating< "port", &F::port, &F::portIs, &F::portDel, "load" > >();
   }
   static constexpr auto constructor() {
      return Ryx::Constructor< Fuse, Ryx::Argument< "load", unsigned > >();
   }

   explicit Fuse( unsigned load ) : EntityOf( "fuse" ), load_( checked( load ) ) {}

   unsigned load() const { return load_; }
   void loadIs( unsigned load ) { load_ = checked( load ); }
   unsigned loadMore( unsigned amperes ) { return load_ = checked( load_ + amperes ); }
   Ptr< Port > port() const { return port_; }
   Ptr< Port > portIs( unsigned load ) {
      return port_ = Ryx::make< Port >( checked( load ) );
   }
   Ptr< Port > portDel() {
      checked( load_ + 1 );
      return std::exchange( port_, nullptr );
   }

 private:
   static unsigned checked( unsigned load ) {
      if ( load > 16 ) {
         throw Ryx::RangeException( "too many amperes", 4, true );
      }
      return load;
   }

   unsigned load_;
   Ptr< Port > port_;
};

using Unit = Ryx::UnitRegistration< Fuse >;
[[gnu::init_priority( Ryx::unitPriority )]] Unit const unit( "Test" );

constexpr char const* tooMany = "too many amperes";

class GenericIfThrowTest : public testing::Test {
 protected:
   static Generic amperes( char const* name, unsigned count ) {
      return listOf( { { name, toGeneric( count ) } } );
   }

   Ptr< Fuse > const fuse = Ryx::make< Fuse >( 16u );
   ByName const byName{ fuse };
};

TEST_F( GenericIfThrowTest, ASetterThatRefuses ) {
   EXPECT_EQ(
      byName.refused( "load", GenericIf::set, nullptr, toGeneric( 17u ) ), tooMany );
   EXPECT_EQ( fuse->load(), 16u );
}

TEST_F( GenericIfThrowTest, AnOperationThatRefuses ) {
   EXPECT_EQ(
      byName.refused( "loadMore", GenericIf::get, nullptr, amperes( "amperes", 1 ) ),
      tooMany );
   EXPECT_EQ( fuse->load(), 16u );
}

TEST_F( GenericIfThrowTest, AnInstantiationAndADeletionThatRefuse ) {
   EXPECT_EQ(
      byName.refused( "port", GenericIf::set, nullptr, amperes( "load", 17 ) ), tooMany );
   EXPECT_EQ( fuse->port(), nullptr );
   EXPECT_EQ( byName.refused( "port", GenericIf::del ), tooMany );
}

TEST_F( GenericIfThrowTest, AConstructorThatRefuses ) {
   Generic const arguments = amperes( "load", 17 );
   EXPECT_EQ(
      support::refusal< Ryx::GenericIfException >( [ & ] {
         Fuse::_fwkType()->code().construct(
            static_cast< GenericIf::List_ const& >( *arguments ) );
      } ),
      tooMany );
}

TEST_F( GenericIfThrowTest, KeepsWhatTheExceptionSays ) {
   try {
      byName.set( "load", toGeneric( 17u ) );
      FAIL() << "not refused";
   } catch ( Ryx::GenericIfException const& refusal ) {
      EXPECT_EQ( refusal.ids(), Ryx::Exception::IdBitArray( 4 ) );
      EXPECT_TRUE( refusal.retryable() );
   }
}

} // namespace
