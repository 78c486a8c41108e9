// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What a client is told of what will be, and of why a port is held or not.

#include "SaidBy"

#include <host/client/LiveText>
#include <host/client/Why>

namespace ostra {

TEST( Client, ForecastsAsARunIsTold ) {
   LiveApi api;
   auto const forecast = [ &api ](
                            std::vector< std::string > const& changes,
                            bool isJson,
                            std::optional< Milliseconds > until ) {
      return saidBy( api, [ & ]( ClientOptions options, auto& out ) {
         options.isJson = isJson;
         forecastLive( options, changes, until, 80, out );
      } );
   };
   std::string const text = forecast( {}, false, std::nullopt );
   EXPECT_NE( text.find( "00:05:00.000  released    1 MLAG port," ), text.npos ) << text;
   std::string const file =
      temporaryFile( "primary.yaml", "mlagStatus: { mlagState: mlagPrimary }\n" );
   std::string const primary = forecast( { file }, true, Milliseconds( 2500 ) );
   auto const records = jsonLines( primary );
   EXPECT_EQ( records.front()[ "type" ], "event" );
   EXPECT_EQ( records.back()[ "t" ], 2.5 );
   EXPECT_EQ(
      records.back()[ "state" ][ "mlagissuCause" ][ "intfStatus" ], Json::object() );
   for ( std::vector< std::string > const& same : std::vector< std::vector< std::string > >{
            { "{mlagStatus: {mlagState: 3}}" },
            { "mlagStatus.mlagState=3" },
            { "mlagStatus.mlagState=mlagPrimary" } } ) {
      EXPECT_EQ( forecast( same, true, Milliseconds( 2500 ) ), primary );
   }
   EXPECT_EQ(
      forecast( { "mlagissuCause.intfStatus.Ethernet1=7" }, true, std::nullopt ),
      "2 ostra forecast: mlagissuCause.intfStatus.Ethernet1: owned by the plug-in: "
      "expected "
      "what the clients own" );
}

TEST( Client, TriesForAPortOnlyWhatMattersToItsClass ) {
   Json const state = { { "mlagConfig", { { "lacpStandby", true } } } };
   for ( auto const& [ portClass, isTried ] :
         { std::pair( "mlag", true ), std::pair( "nonMlag", false ) } ) {
      Json const port = { { "interface", "Ethernet1" }, { "class", portClass } };
      bool isThere = false;
      for ( PossibleChange const& change : possibleChanges( state, port ) ) {
         isThere |= change.assignments.front() == "mlagConfig.lacpStandby=false";
      }
      EXPECT_EQ( isThere, isTried ) << portClass;
   }
}

TEST( Client, SaysWhyAPortIsHeldAndWhatWouldReleaseIt ) {
   LiveApi api;
   api.clock.time += Milliseconds( 100'000 );
   auto const why = [ &api ]( std::string const& interface, bool isJson ) {
      return saidBy( api, [ & ]( ClientOptions options, auto& out ) {
         options.isJson = isJson;
         tellWhy( options, interface, out );
      } );
   };
   EXPECT_EQ(
      why( "Ethernet1", false ),
      "Ethernet1     mlag port in Port-Channel10\n"
      "held          errdisabled for the MLAG reload delay, 200 s left\n"
      "since         100 s ago\n"
      "until         released in 200 s, unless something is changed\n"
      "would release it now:\n"
      "  mlagissuCause.intfStatus.Ethernet1=null                 "
      "released by hand, as `ostra release Ethernet1` does\n"
      "  mlagStatus.mlagState=mlagInactive                       "
      "the MLAG state becomes mlagInactive\n"
      "  mlagStatus.mlagState=mlagPrimary                        "
      "the MLAG state becomes mlagPrimary\n"
      "  mlagConfig.enabled=false                                "
      "MLAG is disabled\n"
      "  mlagConfig.reloadDelay=0 mlagConfig.reloadDelayNonMlag=0  "
      "there is no reload delay\n"
      "would not:\n"
      "  mlagProtoStatus.holdInSecondary=false                   "
      "a secondary does not hold ports\n"
      "  lagInputConfig.phyIntf.Ethernet1.lag=null               "
      "the port leaves Port-Channel10\n"
      "  mlagConfig.intfConfig.Port-Channel10=null               "
      "Port-Channel10 loses its MLAG id\n"
      "  lacpOverride.lagIdConfig.Port-Channel10=00:00:00:00:00:00  "
      "LACP is overridden with the MLAG system id\n" );
   Json const json = Json::parse( why( "Ethernet1", true ) );
   EXPECT_EQ( json[ "port" ], api.json( "/v1/ports/Ethernet1" ) );
   EXPECT_EQ( json[ "heldFor" ], 100 );
   api.clock.time += Milliseconds( 496 );
   EXPECT_EQ( Json::parse( why( "Ethernet1", true ) )[ "heldFor" ].dump(), "100.496" );
   EXPECT_EQ( json[ "releasedIn" ], 200 );
   EXPECT_EQ( json[ "changes" ].size(), 9U );
   for ( Json const& change : json[ "changes" ] ) {
      // It is so: what would release it does when it is made.
      std::vector< std::string > changes;
      std::istringstream words( change[ "change" ].get< std::string >() );
      for ( std::string word; words >> word; ) {
         changes.push_back( word );
      }
      LiveApi other;
      saidBy( other, [ & ]( auto const& options, auto& out ) {
         setLive( options, changes, out );
      } );
      EXPECT_EQ(
         other.json( "/v1/ports/Ethernet1" )[ "hold" ].is_null(), change[ "releases" ] )
         << change;
   }
}

TEST( Client, SaysWhyAPortIsNotHeldAndWhatIsNotForClientsToChange ) {
   LiveApi api;
   auto const why = [ &api ]( std::string const& interface ) {
      return saidBy( api, [ & ]( auto const& options, auto& out ) {
         tellWhy( options, interface, out );
      } );
   };
   api.live.fileIs( parseDocument( "file", "mlagStatus: { mlagState: 4 }" ) );
   std::string const held = why( "Ethernet3/1" );
   EXPECT_NE( held.find( "\nnot for clients to change:\n" ), held.npos ) << held;
   EXPECT_NE(
      held.find( "  mlagStatus.mlagState: owned by the configuration file\n" ), held.npos );
   Milliseconds const start = api.clock.time;
   Milliseconds const released = api.clock.time += Milliseconds( 1000 );
   api.patch( "/v1/state/mlagConfig", "{\"enabled\":false}" );
   EXPECT_EQ(
      why( "Ethernet3/1" ),
      "Ethernet3/1   nonMlag port\n"
      "not held      the reload delay of its class is over\n"
      "released      " +
         dateText( released ) + ", by a client's change, revision 1; errdisabled since " +
         dateText( start ) + "\n" );
   EXPECT_EQ(
      why( "Ether9" ),
      "2 ostra why: \"Ether9\" is not an interface name: expected Ethernet, Internal, "
      "Loopback, Management, Port-Channel, Recirc or Vlan, or one of these behind Peer, "
      "followed by one to four numbers divided by \"/\"" );
}

TEST( Client, SaysWhenAPortWentAndHowItWasHeld ) {
   LiveApi api;
   auto const why = [ &api ]( std::string const& interface, bool isJson = false ) {
      return saidBy( api, [ & ]( ClientOptions options, auto& out ) {
         options.isJson = isJson;
         tellWhy( options, interface, out );
      } );
   };
   std::string const start = dateText( api.time.date() );
   api.clock.time += Milliseconds( 7500 );
   std::string const gone = dateText( api.clock.time );
   api.patch(
      "/v1/state/ethPhyIntfStatus",
      R"({"intfStatus":{"Ethernet1":null,"Ethernet3/1":null}})" );
   api.clock.time += Milliseconds( 1000 );
   EXPECT_EQ(
      why( "Ethernet1" ),
      "Ethernet1     port in Port-Channel10\n"
      "gone          since " +
         gone + "\nreleased      " + gone + ", interface gone; errdisabled since " + start +
         "\n" );
   Json const told = Json::parse( why( "Ethernet3/1", true ) );
   EXPECT_EQ( told.at( "goneAt" ), gone );
   EXPECT_EQ( told.at( "port" ).at( "portChannel" ), Json() );
   EXPECT_EQ( told.at( "lastHold" ).at( "kind" ), "errdisable" );
   EXPECT_EQ(
      why( "Ethernet9" ),
      "2 ostra why: \"Ethernet9\": never seen since " + start +
         ", where history begins: expected a port; there are Ethernet2" );
}

TEST( Client, WhatIsTooWideForTheTerminalGoesOnBelow ) {
   Json const held = {
      { "port",
        { { "interface", "Ethernet1" },
          { "class", "mlag" },
          { "hold", { { "kind", "errdisable" } } },
          { "reason", "errdisabled for the MLAG reload delay, 200 s left" } } },
      { "releasedIn", 200 },
      { "changes",
        { { { "change", "a.b=1 c.d=2" },
            { "meaning", "it is released by hand, as `ostra release` does, and again" },
            { "releases", true } },
          { { "change", "e=1" }, { "meaning", "short" }, { "releases", false } } } }
   };
   EXPECT_EQ(
      whyText( held, Style( false ), 66 ),
      "Ethernet1     mlag port\n"
      "held          errdisabled for the MLAG reload delay, 200 s left\n"
      "until         released in 200 s, unless something is changed\n"
      "would release it now:\n"
      "  a.b=1 c.d=2\n"
      "      it is released by hand, as `ostra release` does, and again\n"
      "would not:\n"
      "  e=1                                                     short\n" );
   Json const gone = { { "port", { { "interface", "Ethernet1" }, { "reason", "gone" } } },
                       { "goneAt", "2026-11-23T16:46:45.800Z" },
                       { "lastHold",
                         { { "kind", "errdisable" },
                           { "since", "2026-11-23T16:46:30.788Z" },
                           { "released", "2026-11-23T16:46:36.912Z" },
                           { "reason", "delay over" } } } };
   // What colours a text takes no room, and goes on with it.
   std::string coloured = whyText( held, Style( true ), 60 );
   EXPECT_NE(
      coloured.find( "held          errdisabled for the MLAG reload delay, 200 s\n"
                     "              left" ),
      coloured.npos );
   for ( std::size_t at = 0; ( at = coloured.find( '\x1b' ) ) != coloured.npos; ) {
      coloured.erase( at, coloured.find( 'm', at ) + 1 - at );
   }
   EXPECT_EQ( coloured, whyText( held, Style( false ), 60 ) );
   EXPECT_EQ(
      whyText( gone, Style( false ), 80 ),
      "Ethernet1     port\n"
      "gone          since 2026-11-23T16:46:45.800Z\n"
      "released      2026-11-23T16:46:36.912Z, delay over; errdisabled since\n"
      "              2026-11-23T16:46:30.788Z\n" );
   std::string const wide = whyText( gone, Style( false ) );
   EXPECT_NE(
      wide.find( "over; errdisabled since 2026-11-23T16:46:30.788Z\n" ), wide.npos );
}

TEST( Client, IsAskedOfAPortChannelByItsPorts ) {
   LiveApi api;
   auto const why = [ &api ]( std::string const& interface ) {
      return saidBy( api, [ & ]( auto const& options, auto& out ) {
         tellWhy( options, interface, out );
      } );
   };
   EXPECT_EQ(
      why( "Port-Channel9" ),
      "2 ostra why: \"Port-Channel9\": a port-channel, and it is ports that are held: "
      "expected a port; there are Ethernet1-2,3/1" );
   api.patch(
      "/v1/state/lagInputConfig/phyIntf",
      R"({"Ethernet2":{"lag":"Port-Channel9"},"Ethernet3/1":{"lag":"Port-Channel9"}})" );
   EXPECT_EQ(
      why( "Port-Channel9" ),
      "2 ostra why: \"Port-Channel9\": a port-channel, and it is ports that are held: "
      "expected one that is in it: Ethernet2,3/1" );
   EXPECT_EQ(
      why( "Port-Channel" ),
      "2 ostra why: \"Port-Channel\" is not an interface name: expected a number after "
      "\"Port-Channel\"" );
}

} // namespace ostra
