// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// How long ports are held and why they are released, in words.

#include "ReportedRun"

namespace ostra {
namespace {

class TextReleaseTest : public ReportedRun {};

TEST_F( TextReleaseTest, APortWhoseChannelGoesIntoStandbyIsReleasedForIt ) {
   startAndSkipHeading( smallSwitch() );
   hold( 0ms, { "Ethernet1", "Ethernet2" } );
   text();
   out_.str( "" );
   event(
      60'000ms,
      0,
      R"({"lacpOverride":{"lagIdConfig":{"Port-Channel10":"02:00:00:00:10:01"}}})" );
   release( 60'000ms, { "Ethernet1", "Ethernet2" } );
   standby( 60'000ms, "Port-Channel10", true );
   EXPECT_EQ(
      text(),
      R"(00:01:00.000  event 0     lacpOverride.lagIdConfig.Port-Channel10 = 02:00:00:00:10:01
              standby     1 port-channel in LACP standby: Port-Channel10
              released    2 MLAG ports, in LACP standby instead: Ethernet1-2
)" );
}

TEST_F( TextReleaseTest, EarlyReleasesSayWhy ) {
   struct Case {
      char const* patch;
      char const* why;
   };
   for ( auto const& [ patch, why ] : {
            Case{ R"({"mlagStatus":{"mlagState":3}})", "MLAG became primary" },
            Case{ R"({"mlagStatus":{"mlagState":2}})", "MLAG became inactive" },
            Case{ R"({"mlagConfig":{"enabled":false}})", "MLAG not configured" },
            Case{ R"({"mlagConfig":{"peerAddress":"0.0.0.0"}})", "MLAG not configured" },
            Case{ R"({"mlagConfig":{"reloadDelay":120}})", "delay changed" },
            Case{ R"({"ethPhyIntfStatus":{"intfStatus":{"Ethernet1":null}}})",
                  "interface gone" },
            Case{ R"({"mlagissuCause":{"intfStatus":{"Ethernet1":null}}})",
                  "by the event" },
            Case{ R"({"agent":{}})", "delay was over" },
         } ) {
      out_.str( "" );
      startAndSkipHeading( smallSwitch() );
      hold( 0ms, { "Ethernet1" } );
      event( 100'000ms, 7, patch );
      release( 100'000ms, { "Ethernet1" } );
      EXPECT_NE(
         text().find( std::string( "1 MLAG port, " ) + why + ": Ethernet1\n" ),
         std::string::npos )
         << out_.str();
      EXPECT_NE(
         textOfEnd( 100'000ms ).find( std::string( "00:01:40.000  " ) + why ),
         std::string::npos );
   }
}

TEST_F( TextReleaseTest, AnEventOfAnEarlierTimeIsNoReason ) {
   startAndSkipHeading( smallSwitch() );
   hold( 0ms, { "Ethernet1" } );
   event( 100'000ms, 0, R"({"mlagConfig":{"reloadDelay":120}})" );
   release( 120'000ms, { "Ethernet1" } );
   EXPECT_NE( text().find( "1 MLAG port, delay over: Ethernet1\n" ), std::string::npos );
}

TEST_F( TextReleaseTest, WhatIsReleasedByMissingConfigurationIsAWarning ) {
   startAndSkipHeading( smallSwitch() );
   hold( 0ms, { "Ethernet1" } );
   event( 1'000ms, 0, R"({"mlagConfig":{"domainId":"","peerLinkIntf":null}})" );
   release( 1'000ms, { "Ethernet1" } );
   EXPECT_NE(
      textOfEnd( 1'000ms ).find(
         "  WARNING       no port is held without a full MLAG configuration, missing "
         "domainId, peerLinkIntf\n" ),
      std::string::npos )
      << out_.str();
}

TEST_F( TextReleaseTest, WhatIsStillHeldAtTheEndIsAWarning ) {
   auto mounts = smallSwitch();
   mounts[ "mlagConfig" ][ "reloadDelayNonMlag" ] = "inf";
   startAndSkipHeading( mounts );
   delayRuns( 0ms, true );
   hold( 0ms, { "Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4" } );
   release( 300'000ms, { "Ethernet1", "Ethernet2" } );
   EXPECT_NE(
      text().find( "2 non-MLAG ports errdisabled without end: Ethernet3-4\n" ),
      std::string::npos );
   EXPECT_EQ( textOfEnd( 400'000ms ), R"(
Summary at 00:06:40.000

                   count  held from     released at   held for      why
  MLAG ports           2  00:00:00.000  00:05:00.000  00:05:00.000  delay over
  non-MLAG ports       2  00:00:00.000  -             00:06:40.000  still held
  LACP standby         0  -             -             -             -

  WARNING       2 non-MLAG ports still held when the run ends, waiting without end, and no timer
                will release them: Ethernet3-4
)" );
}

TEST_F( TextReleaseTest, PortsThatNobodyCanReleaseAreAWarningOfTheirOwn ) {
   startAndSkipHeading( smallSwitch() );
   delayRuns( 0ms, true );
   hold( 0ms, { "Ethernet1" } );
   event( 30'000ms, 0, R"({"agent":{"mlagErrdisableSm":null}})" );
   EXPECT_NE(
      textOfEnd( 400'000ms )
         .find(
            "1 MLAG port still held when the run ends, with nothing there to release it:" ),
      std::string::npos );
}

TEST_F( TextReleaseTest, WhatIsHeldFromBeforeTheRunIsTold ) {
   auto mounts = smallSwitch();
   mounts[ "mlagissuCause" ] = parse( R"({"intfStatus":{"Ethernet1":970.5}})" );
   mounts[ "lacpConfig" ] =
      parse( R"({"portChannel":{"Port-Channel11":{"stayInStandby":true}}})" );
   mounts[ "mlagProtoStatus" ][ "portsErrdisabled" ] = true;
   startAndSkipHeading( mounts );
   EXPECT_TRUE( text().starts_with(
      "00:00:00.000  held        1 MLAG port errdisabled for 300 s, since before the run: "
      "Ethernet1\n"
      "              standby     1 port-channel in LACP standby, since before the run: "
      "Port-Channel11\n" ) )
      << out_.str();
   release( 270'000ms, { "Ethernet1" } );
   delayRuns( 270'000ms, false );
   std::string const end = textOfEnd( 270'000ms );
   EXPECT_NE(
      end.find( "     1  before        00:04:30.000  -             delay over\n" ),
      std::string::npos )
      << end;
   EXPECT_NE( end.find( "although the reload delay is over:" ), std::string::npos ) << end;
}

TEST_F( TextReleaseTest, TheClassOfAPortIsTheOneItWasHeldIn ) {
   startAndSkipHeading( smallSwitch() );
   hold( 0ms, { "Ethernet1" } );
   event( 10'000ms, 0, R"({"lagInputConfig":{"phyIntf":{"Ethernet1":{"lag":null}}}})" );
   release( 330'000ms, { "Ethernet1" } );
   EXPECT_NE(
      text().find( "released    1 MLAG port, delay over: Ethernet1\n" ),
      std::string::npos );
}

TEST_F( TextReleaseTest, APortWithAnMlagConfigurationOfItsOwnIsAnMlagPort ) {
   auto mounts = smallSwitch();
   mounts[ "mlagConfig" ][ "intfConfig" ][ "Ethernet4" ] = { { "mlagId", "4" } };
   mounts[ "mlagConfig" ][ "intfConfig" ][ "Ethernet3" ] = { { "mlagId", "" } };
   startAndSkipHeading( mounts );
   hold( 0ms, { "Ethernet3", "Ethernet4" } );
   EXPECT_TRUE( text().starts_with(
      "00:00:00.000  held        1 MLAG port errdisabled for 300 s: Ethernet4\n"
      "              held        1 non-MLAG port errdisabled for 330 s: Ethernet3\n" ) )
      << out_.str();
}

TEST_F( TextReleaseTest, PortsThatFlapAreHeldTwice ) {
   startAndSkipHeading( smallSwitch() );
   hold( 0ms, { "Ethernet1", "Ethernet2" } );
   event( 10'000ms, 0, R"({"ethPhyIntfStatus":{"intfStatus":{"Ethernet1":null}}})" );
   release( 10'000ms, { "Ethernet1" } );
   event( 10'000ms, 1, R"({"ethPhyIntfStatus":{"intfStatus":{"Ethernet1":{}}}})" );
   hold( 10'000ms, { "Ethernet1" } );
   release( 300'000ms, { "Ethernet1", "Ethernet2" } );
   text();
   EXPECT_NE(
      textOfEnd( 300'000ms )
         .find(
            "  MLAG ports           1  00:00:00.000  00:00:10.000  00:00:10.000  interface "
            "gone\n"
            "  MLAG ports           1  00:00:00.000  00:05:00.000  00:05:00.000  delay "
            "over\n"
            "  MLAG ports           1  00:00:10.000  00:05:00.000  00:04:50.000  delay "
            "over\n" ),
      std::string::npos )
      << out_.str();
}

TEST_F( TextReleaseTest, TooManyTimesOfOneClassAreCounted ) {
   startAndSkipHeading( smallSwitch() );
   for ( int i = 1; i <= 10; ++i ) {
      hold( i * 1000ms, { "Ethernet3" } );
      release( i * 1000ms + 10ms, { "Ethernet3" } );
   }
   hold( 20'000ms, { "Ethernet3", "Ethernet4" } );
   std::string const end = textOfEnd( 30'000ms );
   EXPECT_NE(
      end.find(
         "  non-MLAG ports       2  00:00:20.000  -             00:00:10.000  still held\n"
         "  non-MLAG ports       3  -             -             -             at other "
         "times\n" ),
      std::string::npos )
      << end;
}

} // namespace
} // namespace ostra
