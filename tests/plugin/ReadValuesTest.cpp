// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Values that a host has read from the plug-in's objects are the host's: they stay usable
// when the plug-in is gone.

#include <plugin/LoadedPlugin>
#include <plugin/Switch>

#include <Ryx/GenericIf>
#include <gtest/gtest.h>

namespace {

using support::get;
using support::listOf;
using support::Object;
using support::operation;
using support::set;
using support::text;
using support::valueOf;
using If = Ryx::GenericIf;

// One value of each type that the plug-in's objects have, by each way to read one.
std::vector< std::pair< Object, std::string > >
readAll( Switch const& device ) {
   Object const machine = get( device.agent(), "mlagErrdisableSm" );
   Object const port = valueOf( "Kovel::IntfId", "Ethernet2" );
   auto const member = [ & ] {
      return machine->attributeIterator( machine->attributeId( "memberToPortChannel" ) );
   };
   return {
      { get( machine, "initialized" ), "true" },
      { get( machine, "timerCount" ), "1" },
      { get( machine, "logMinTime" ), text( get( machine, "logMinTimeDefault" ) ) },
      { get( machine, "logMinTimeDefault" ), text( get( machine, "logMinTime" ) ) },
      { get( device.agent(), "isNondestructing" ), "false" },
      { operation( machine, "lagsInStandby", If::size ), "0" },
      { operation( machine, "lagsInStandby", If::has, port ), "false" },
      { operation( machine, "lagsInStandby", If::defaultValue ), "false" },
      { operation( machine, "timerCount", If::defaultValue ), "0" },
      { get( machine, "lagsInStandby", port ), "false" },
      { member()->iterKey(), "Ethernet2" },
      { operation(
           machine, "isLacpStandby", If::get, nullptr, listOf( { { "intfId", port } } ) ),
        "false" },
   };
}

TEST( Plugin, ValuesThatWereReadFromItsObjectsOutliveIt ) {
   Switch device;
   std::vector< std::pair< Object, std::string > > values;
   {
      LoadedPlugin plugin;
      ASSERT_EQ( plugin.error(), "" );
      device.agentIs();
      values = readAll( device );
      device.agentDel();
   }
   ASSERT_FALSE( LoadedPlugin::isMapped() );
   for ( auto const& [ value, expected ] : values ) {
      EXPECT_EQ( text( value ), expected );
      EXPECT_TRUE( value->type()->code().parse ) << expected;
   }
   // They are given to other objects like any other value.
   set( device.mounted( "mlagConfig" ), "lacpStandby", values.front().first );
   EXPECT_EQ( text( get( device.mounted( "mlagConfig" ), "lacpStandby" ) ), "true" );
}

} // namespace
