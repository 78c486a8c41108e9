// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A plug-in that describes a type otherwise than the state types' own library does.

#include <Ryx/Entity>
#include <Ryx/Registration>

namespace {

class Config : public Ryx::EntityOf< Config > {
 public:
   static constexpr std::string_view fwkTypeName = "Mlag::Config";

   static constexpr auto attributes() {
      return Ryx::AttributeList< Ryx::Value< "speed", &Config::speed_ > >();
   }

   explicit Config( Ryx::Name name ) : EntityOf( std::move( name ) ) {}

 private:
   unsigned speed_ = 0;
};

[[gnu::init_priority( Ryx::unitPriority )]] Ryx::UnitRegistration< Config > const
   unit( "Mlag" );

} // namespace
