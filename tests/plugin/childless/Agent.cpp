// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A plug-in whose agent has the first of the two children that a host makes, not the
// second.

#include <Ryx/Entity>
#include <Ryx/Registration>

namespace {

class Agent : public Ryx::EntityOf< Agent > {
 public:
   static constexpr std::string_view fwkTypeName = "OstraMlag::Agent";

   static constexpr auto attributes() {
      return Ryx::AttributeList< Ryx::Instantiating<
         "ethPeerIntfStatusReactor",
         &Agent::child,
         &Agent::childIs,
         &Agent::childDel > >();
   }
   static constexpr auto constructor() {
      return Ryx::Constructor< Agent, Ryx::Argument< "name", Ryx::Name > >();
   }
   static Ryx::Ptr< Agent > create( Ryx::Name name ) { return Ryx::make< Agent >( name ); }

   explicit Agent( Ryx::Name name ) : EntityOf( std::move( name ) ) {}

   Ryx::Ptr< Agent > child() const { return nullptr; }
   Ryx::Ptr< Agent > childIs() { return nullptr; }
   Ryx::Ptr< Agent > childDel() { return nullptr; }
};

Ryx::UnitRegistration< Agent > const unit( "OstraMlag" );

} // namespace
