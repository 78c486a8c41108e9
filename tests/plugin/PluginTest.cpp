// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The built plug-in, loaded through the dynamic loader: this program has none of its code.

#include <plugin/LoadedPlugin>
#include <plugin/Switch>

#include <Ryx/Trace>

#include <gtest/gtest.h>

#include <malloc.h>

#include <cstdlib>
#include <iostream>
#include <memory>

namespace {

using support::del;
using support::get;
using support::Object;
using support::setMember;
using support::text;
using support::valueOf;

TEST( Plugin, IsReachedByNameAndHoldsAndReleasesPorts ) {
   LoadedPlugin plugin;
   ASSERT_EQ( plugin.error(), "" );
   EXPECT_TRUE( LoadedPlugin::isLoaded() );
   liveASmallLife();
}

TEST( Plugin, IsUnloadedByItsLastClose ) {
   {
      LoadedPlugin plugin;
      ASSERT_EQ( plugin.error(), "" );
      liveASmallLife();
      LoadedPlugin again;
      again.close();
      EXPECT_TRUE( LoadedPlugin::isLoaded() );
   }
   EXPECT_FALSE( LoadedPlugin::isLoaded() );
   EXPECT_FALSE( LoadedPlugin::isMapped() );
}

TEST( Plugin, RegistersItsTypesWhenItIsLoaded ) {
   EXPECT_FALSE( LoadedPlugin::isLoaded() );
   LoadedPlugin plugin;
   for ( char const* name : pluginTypes ) {
      auto const* const type = Ryx::RyxType::type( Ryx::Name( name ) );
      ASSERT_TRUE( type ) << name;
      EXPECT_TRUE( type->hasGenericIfSupport() ) << name;
      EXPECT_TRUE( type->code().wrap ) << name;
   }
   EXPECT_TRUE( support::type( "OstraMlag::Agent" ).code().construct );
}

// What a description says, but for its code.
std::string
description( Ryx::RyxType const& type ) {
   std::string text = type.name().string() + ( type.isEntity() ? " entity" : "" );
   for ( auto const& argument : type.constructorArguments() ) {
      text += " " + argument.name.string() + ":" + argument.type->name().string();
   }
   for ( auto const& attr : type.attributeQ() ) {
      text += "\n" + std::to_string( attr->id() ) + " " + attr->name().string() + " " +
         std::to_string( attr->attrFlags().low );
      for ( auto const& argument : attr->arguments() ) {
         text += " " + argument.name.string() + ":" + argument.type->name().string();
      }
   }
   return text;
}

TEST( Plugin, DescriptionsSurviveWithoutTheirCodeWhileItIsUnloaded ) {
   LoadedPlugin plugin;
   ASSERT_EQ( plugin.error(), "" );
   std::map< Ryx::RyxType const*, std::string > described;
   for ( char const* name : pluginTypes ) {
      described[ &support::type( name ) ] = description( support::type( name ) );
   }
   std::size_t const types = Ryx::RyxType::types().size();
   plugin.close();
   EXPECT_EQ( Ryx::RyxType::types().size(), types );
   for ( auto const& [ type, text ] : described ) {
      EXPECT_EQ( &support::type( type->name().string() ), type );
      EXPECT_EQ( description( *type ), text );
      EXPECT_FALSE( type->code().wrap );
      EXPECT_FALSE( type->code().parse );
      EXPECT_FALSE( type->code().defaultValue );
      EXPECT_FALSE( type->code().construct );
   }
   LoadedPlugin const again;
   EXPECT_EQ( Ryx::RyxType::types().size(), types );
   for ( auto const& [ type, text ] : described ) {
      EXPECT_EQ( &support::type( type->name().string() ), type );
      EXPECT_EQ( description( *type ), text );
      EXPECT_TRUE( type->code().wrap );
   }
   liveASmallLife();
}

// Everything that the agent wrote stays when it goes, and belongs to the host.
TEST( Plugin, LeavesStateThatOutlivesIt ) {
   Switch device;
   {
      LoadedPlugin plugin;
      ASSERT_EQ( plugin.error(), "" );
      device.peerIs( "PeerEthernet1" );
      device.agentIs();
      EXPECT_EQ( device.held(), "2" );
      device.agentDel();
   }
   ASSERT_FALSE( LoadedPlugin::isMapped() );
   device.timeIs( 30 );
   EXPECT_EQ( device.held(), "2" );
   EXPECT_EQ( device.size( "allIntfStatusDir", "intfStatus" ), "1" );
   Object const key = valueOf( "Kovel::IntfId", "Ethernet1" );
   EXPECT_EQ( text( del( device.mounted( "mlagissuCause" ), "intfStatus", key ) ), "0" );
   setMember(
      device.mounted( "mlagissuCause" ),
      "intfStatus",
      valueOf( "Kovel::IntfId", "Ethernet2" ),
      valueOf( "Errdisable::CauseIntfStatus", "7" ) );
   EXPECT_EQ( device.held(), "1" );
   del(
      device.mounted( "ethIntfStatusDir" ),
      "intfStatus",
      valueOf( "Kovel::IntfId", "PeerEthernet1" ) );
   EXPECT_EQ( device.size( "ethIntfStatusDir", "intfStatus" ), "0" );
}

// Ends the process with an agent that nobody has dropped.
[[noreturn]] void
endWithAnAgent() {
   // Goes after the static objects of the plug-in, which are made later.
   static std::unique_ptr< Switch > device;
   static auto const* const plugin = new LoadedPlugin;
   device = std::make_unique< Switch >();
   device->peerIs( "PeerEthernet1" );
   device->agentIs();
   Ryx::traceEnabledIs( "*", true );
   std::cerr << ( plugin->error().empty() ? "the end\n" : plugin->error() );
   std::exit( 0 );
}

TEST( PluginDeathTest, AnAgentThatIsAliveAtTheEndTracesNothingAfterItsUnitsHandle ) {
   EXPECT_EXIT( endWithAnAgent(), testing::ExitedWithCode( 0 ), "^the end\n$" );
}

// Freed blocks that the allocator keeps at hand count as used: that is noise of some
// hundred bytes, while one lost block a round comes to more than 24000.
constexpr std::size_t allocatorNoise = 4096;

TEST( Plugin, AThousandRoundsOfLoadingDoNotGrowMemory ) {
   auto const rounds = []( unsigned count ) {
      for ( unsigned i = 0; i < count; ++i ) {
         LoadedPlugin const plugin;
         liveASmallLife();
      }
   };
   rounds( 20 );
   std::size_t const used = mallinfo2().uordblks;
   rounds( 1000 );
   EXPECT_LT( mallinfo2().uordblks, used + allocatorNoise );
   EXPECT_FALSE( LoadedPlugin::isMapped() );
}

} // namespace
