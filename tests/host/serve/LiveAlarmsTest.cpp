// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Alarms of a live switch: which there are, and when they are raised and cleared.

#include "AlarmedProcess"

#include <gmock/gmock.h>

using ostra::AlarmedProcess;
using ostra::Json;
using ostra::Milliseconds;
using ostra::NoDriver;
using ostra::reloadedSwitch;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

namespace {

std::string
example( std::string const& name ) {
   return ostra::readFile( fmt::format( "{}/{}.yaml", OSTRA_EXAMPLES, name ) ).text;
}

// An example on a live switch.
class Alarms : public testing::Test {
 protected:
   // On another switch, up to that time in seconds.
   void play( std::string const& name, int until ) {
      process_.reset();
      process_.emplace( driver_ );
      process().start();
      process().playUntil(
         process().setUp( example( name ) ), Milliseconds( until * 1000 ) );
   }
   // What has to do with alarms.
   std::vector< std::string > history() {
      std::vector< std::string > told;
      for ( Json const& record : process().process().history() ) {
         if ( record.at( "type" ) == "alarm" ) {
            told.push_back( fmt::format(
               "{} {} {} {}",
               record.at( "t" ).get< double >() - ostra::secondsOf( process().beginning ),
               record.at( "state" ).get< std::string >(),
               record.at( "kind" ).get< std::string >(),
               record.at( "interface" ).get< std::string >() ) );
         }
      }
      return told;
   }

   AlarmedProcess& process() { return *process_; }

 private:
   NoDriver driver_;
   std::optional< AlarmedProcess > process_{ std::in_place, driver_ };
};

} // namespace

TEST_F( Alarms, OfAPortThatBecameAnMlagPortTooLateEndWithItsRelease ) {
   play( "becomes-mlag-late", 309 );
   EXPECT_THAT( process().alarms(), IsEmpty() );
   play( "becomes-mlag-late", 400 );
   std::vector< std::string > const raised = { "310 heldWithoutEnd Ethernet3",
                                               "310 heldWithoutEnd Ethernet4",
                                               "315 heldWithoutEnd Ethernet5" };
   EXPECT_EQ( process().alarms( true ), raised );
   EXPECT_EQ(
      process().patch( R"({"mlagissuCause": {"intfStatus": {"Ethernet3": null}}})" ), "" );
   process().pass( 1000 );
   EXPECT_THAT( process().alarms( true ), ElementsAre( raised[ 1 ], raised[ 2 ] ) );
   EXPECT_EQ( process().patch( R"({"mlagStatus": {"mlagState": 3}})" ), "" );
   process().pass( 1000 );
   EXPECT_THAT( process().alarms(), IsEmpty() );
   EXPECT_THAT(
      history(),
      testing::IsSupersetOf( { "400 cleared heldWithoutEnd Ethernet3",
                               "401 cleared heldWithoutEnd Ethernet4",
                               "401 cleared heldWithoutEnd Ethernet5" } ) );
}

TEST_F( Alarms, OfAnEndlessDelayEndWithTheReleaseAndComeBackWithPorts ) {
   play( "endless-delay", 59 );
   EXPECT_THAT(
      process().alarms(),
      ElementsAre(
         "heldWithoutEnd Ethernet1",
         "heldWithoutEnd Ethernet2",
         "heldWithoutEnd Ethernet3",
         "heldWithoutEnd Ethernet4" ) );
   play( "endless-delay", 91 );
   EXPECT_THAT( process().alarms(), IsEmpty() );
   play( "endless-delay", 110 );
   EXPECT_THAT(
      process().alarms( true ),
      ElementsAre( "92 heldWithoutEnd Ethernet2", "100 heldWithoutEnd Ethernet5" ) );
   EXPECT_EQ( process().patch( R"({"mlagConfig": {"reloadDelay": 300}})" ), "" );
   EXPECT_EQ(
      process().patch( R"({"ethPhyIntfStatus": {"intfStatus": {"Ethernet5": null}}})" ),
      "" );
   EXPECT_EQ(
      process().patch( R"({"ethPhyIntfStatus": {"intfStatus": {"Ethernet5": {}}}})" ), "" );
   process().pass( 1000 );
   EXPECT_THAT( process().alarms(), ElementsAre( "heldWithoutEnd Ethernet2" ) );
}

TEST_F( Alarms, OfADelayThatIsGoingToBeEndlessComeBeforeItsTimerHearsOfIt ) {
   play( "ends-in-inf-seconds", 110 );
   EXPECT_THAT(
      process().alarms( true ),
      ElementsAre( "100 heldWithoutEnd Ethernet3", "100 heldWithoutEnd Ethernet4" ) );
   EXPECT_EQ( process().patch( R"({"mlagConfig": {"reloadDelayNonMlag": 330}})" ), "" );
   process().pass( 1000 );
   EXPECT_THAT( process().alarms(), IsEmpty() );
}

TEST_F( Alarms, OfStandbyThatIsLeftBehindEndWithItsConfiguration ) {
   play( "standby-left-behind", 59 );
   EXPECT_THAT( process().alarms(), IsEmpty() );
   play( "standby-left-behind", 400 );
   EXPECT_THAT(
      process().alarms(),
      ElementsAre(
         "standbyWithoutEnd Port-Channel10", "standbyWithoutEnd Port-Channel11" ) );
   EXPECT_EQ(
      process().patch( R"({"lacpConfig": {"portChannel": {"Port-Channel10": null}}})" ),
      "" );
   EXPECT_EQ(
      process().patch( R"({"lacpConfig": {"portChannel": {"Port-Channel10": {}}}})" ), "" );
   process().pass( 1000 );
   EXPECT_THAT( process().alarms(), ElementsAre( "standbyWithoutEnd Port-Channel11" ) );
   // During the delay the plug-in takes it over.
   play( "standby-left-behind", 80 );
   EXPECT_EQ(
      process().patch( R"({"lacpOverride": {"lagIdConfig": {"Port-Channel11": null}}})" ),
      "" );
   EXPECT_EQ(
      process().patch(
         R"({"lacpOverride": {"lagIdConfig": {"Port-Channel11": "02:00:00:00:10:01"}}})" ),
      "" );
   process().pass( 1000 );
   EXPECT_THAT( process().alarms(), ElementsAre( "standbyWithoutEnd Port-Channel10" ) );
}

TEST_F( Alarms, OfAPeerLinkThatIsHeldEndWithItsReleaseOrTheDelay ) {
   play( "joins-peer-link", 70 );
   EXPECT_THAT( process().alarms( true ), ElementsAre( "60 peerLinkHeld Ethernet53/1" ) );
   EXPECT_EQ(
      process().patch( R"({"mlagissuCause": {"intfStatus": {"Ethernet53/1": null}}})" ),
      "" );
   process().pass( 1000 );
   EXPECT_THAT( process().alarms(), IsEmpty() );
   play( "joins-peer-link", 299 );
   EXPECT_THAT( process().alarms(), SizeIs( 1 ) );
   play( "joins-peer-link", 300 );
   EXPECT_THAT( process().alarms(), IsEmpty() );
}

TEST_F( Alarms, OfAPortThatIsNotHeldEndWhenItIsOrWithTheDelay ) {
   play( "standby-without-lacp", 40 );
   std::vector< std::string > const raised = { "notHeld Ethernet3", "notHeld Ethernet4" };
   EXPECT_EQ( process().alarms(), raised );
   EXPECT_EQ(
      process().host().ports().port( "Ethernet3" )->at( "reason" ),
      "not held: meant for LACP standby, but stayInStandby of the port-channel is false" );
   EXPECT_EQ(
      process().patch( R"({"lacpOverride": {"lagIdConfig": {"Port-Channel11": null}}})" ),
      "" );
   EXPECT_EQ(
      process().patch( R"({"ethPhyIntfStatus": {"intfStatus": {"Ethernet3": null}}})" ),
      "" );
   EXPECT_EQ(
      process().patch( R"({"ethPhyIntfStatus": {"intfStatus": {"Ethernet3": {}}}})" ), "" );
   process().pass( 1000 );
   EXPECT_THAT( process().alarms(), ElementsAre( raised[ 1 ] ) );
   play( "standby-without-lacp", 300 );
   EXPECT_THAT( process().alarms(), IsEmpty() );
}

TEST_F( Alarms, OfSnoopingThatStaysForcedEndWhenAMemberIsShutDown ) {
   play( "snooping-stays-forced", 299 );
   EXPECT_THAT( process().alarms(), IsEmpty() );
   play( "snooping-stays-forced", 320 );
   EXPECT_THAT(
      process().alarms( true ),
      ElementsAre(
         "303 snoopingWithoutPort Port-Channel11",
         "300 snoopingWithoutPort Port-Channel12" ) );
   EXPECT_EQ(
      process().host().alarms().alarms()[ 1 ].ending,
      "shut Ethernet5 down and enable it again" );
   EXPECT_EQ(
      process().patch(
         R"({"ethPhyIntfConfig": {"intfConfig": {"Ethernet5": {"adminEnabledStateLocal": 2}}}})" ),
      "" );
   process().pass( 1000 );
   EXPECT_THAT( process().alarms(), ElementsAre( "snoopingWithoutPort Port-Channel11" ) );
   // The other way, which is the one where there is no member.
   EXPECT_EQ(
      process().patch( R"({"mlagConfig": {"intfConfig": {"Port-Channel11": null}}})" ),
      "" );
   process().pass( 1000 );
   EXPECT_THAT( process().alarms(), IsEmpty() );
}

TEST_F( Alarms, AreNotRaisedByWhatEndsByItself ) {
   for ( char const* name : { "restart-after-delay",
                              "late-system-id",
                              "separate-delay-unheard",
                              "hold-flag-unheard",
                              "leaf-reload",
                              "ports-appear",
                              "lacp-standby",
                              "delay-changed",
                              "never-configured",
                              "peer-statuses" } ) {
      SCOPED_TRACE( name );
      play( name, 1500 );
      EXPECT_THAT( history(), IsEmpty() );
   }
}

TEST_F( Alarms, OfAMachineThatIsGoneEndWhenItIsBack ) {
   play( "resume", 31 );
   EXPECT_THAT( process().alarms(), Each( StartsWith( "heldWithoutEnd" ) ) );
   EXPECT_THAT( process().alarms(), SizeIs( 8 ) );
   EXPECT_THAT( process().host().alarms().alarms().front().text, HasSubstr( "machine" ) );
   play( "resume", 40 );
   EXPECT_THAT( process().alarms(), IsEmpty() );
}

TEST_F( Alarms, OfNotHeldEndWithTheClassAlsoWhenNothingIsWritten ) {
   process().start();
   process().setUp( "mounts: " + reloadedSwitch( R"(,
      "mlagStatus": {"mlagState": 4, "systemId": "02:00:00:00:00:01"},
      "mlagProtoStatus": {"holdInSecondary": true},
      "lacpOverride": {"lagIdConfig": {"Port-Channel10": "02:00:00:00:00:01"}})" ) );
   EXPECT_EQ( process().patch( R"({"mlagConfig": {"lacpStandby": true}})" ), "" );
   EXPECT_EQ(
      process().patch( R"({"ethPhyIntfStatus": {"intfStatus": {"Ethernet1": null}}})" ),
      "" );
   EXPECT_EQ(
      process().patch( R"({"ethPhyIntfStatus": {"intfStatus": {"Ethernet1": {}}}})" ), "" );
   process().pass( 19'999 );
   EXPECT_THAT( process().alarms(), ElementsAre( "notHeld Ethernet1" ) );
   process().pass( 1 );
   EXPECT_THAT( process().alarms(), IsEmpty() );
   EXPECT_THAT( process().process().errdisabled(), ElementsAre( "Ethernet2" ) );
}

// Its timer is never due: the plug-in leaves alone what comes.
TEST_F( Alarms, AreNotRaisedForPortsThatNothingWouldHoldIfTheyCameNow ) {
   process().start();
   process().setUp( "mounts: " + reloadedSwitch( R"(,
      "ethPhyIntfConfig": {"intfConfig": {"Ethernet4": {"adminEnabledStateLocal": 1}}})" ) );
   EXPECT_EQ( process().patch( R"({"mlagConfig": {"reloadDelayNonMlag": "inf"}})" ), "" );
   process().pass( 25'000 );
   std::string const newcomer =
      R"({"ethPhyIntfStatus": {"intfStatus": {"Ethernet4": {}}}})";
   EXPECT_EQ(
      process().patch( R"({"mlagConfig": {"reloadDelayNonMlagConfigured": false}})" ), "" );
   EXPECT_EQ( process().patch( newcomer ), "" );
   process().pass( 1000 );
   EXPECT_THAT( process().process().errdisabled(), ElementsAre( "Ethernet2" ) );
   EXPECT_THAT( process().alarms(), ElementsAre( "heldWithoutEnd Ethernet2" ) );
}

TEST_F( Alarms, OfAPortThatWasReleasedByHandComesWhenItWasAwayAndIsMissedAgain ) {
   process().start();
   process().setUp( "mounts: " + reloadedSwitch() );
   EXPECT_EQ(
      process().patch( R"({"mlagissuCause": {"intfStatus": {"Ethernet2": null}}})" ), "" );
   process().pass( 1000 );
   EXPECT_THAT( process().alarms(), IsEmpty() );
   EXPECT_EQ(
      process().patch( R"({"ethPhyIntfStatus": {"intfStatus": {"Ethernet2": null}}})" ),
      "" );
   EXPECT_EQ(
      process().patch( R"({"lagInputConfig": {"phyIntf": {"Ethernet2": {
         "lag": "Port-Channel1"}}}, "ethPhyIntfStatus": {"intfStatus": {"Ethernet2": {}}}})" ),
      "" );
   EXPECT_EQ(
      process().patch( R"({"lagInputConfig": {"phyIntf": {"Ethernet2": null}}})" ), "" );
   process().pass( 1000 );
   EXPECT_THAT( process().alarms(), ElementsAre( "notHeld Ethernet2" ) );
}

// After a release by hand nobody would wait for the link of the port-channel.
TEST_F( Alarms, OfAnMlagPortThatIsHeldSayWhatEndsForcedSnoopingToo ) {
   process().start();
   process().setUp( "mounts: " + reloadedSwitch( R"(,
      "ethPhyIntfConfig": {"intfConfig": {"Ethernet1": {"adminEnabledStateLocal": 1}}})" ) );
   EXPECT_EQ( process().patch( R"({"mlagConfig": {"reloadDelay": "inf"}})" ), "" );
   process().pass( 1000 );
   ASSERT_THAT( process().alarms(), ElementsAre( "heldWithoutEnd Ethernet1" ) );
   EXPECT_EQ(
      process().host().alarms().alarms()[ 0 ].ending,
      "`ostra release Ethernet1`, then shut it down and enable it again, which ends forced "
      "IGMP snooping; `ostra why Ethernet1` says what else" );
   EXPECT_EQ(
      process().patch( R"({"mlagissuCause": {"intfStatus": {"Ethernet1": null}}})" ), "" );
   process().pass( 1000 );
   EXPECT_THAT( process().alarms(), ElementsAre( "snoopingWithoutPort Port-Channel10" ) );
   for ( int const state : { 2, 1 } ) {
      EXPECT_EQ(
         process().patch( fmt::format(
            R"({{"ethPhyIntfConfig": {{"intfConfig":
               {{"Ethernet1": {{"adminEnabledStateLocal": {}}}}}}}}})",
            state ) ),
         "" );
   }
   process().pass( 1000 );
   EXPECT_THAT( process().alarms(), IsEmpty() );
}

TEST_F( Alarms, SayThatTheFileIsToBeChangedWhereItOwnsWhatWouldEndThem ) {
   std::string const file = reloadedSwitch( R"(,
      "ethPhyIntfConfig": {"intfConfig": {"Ethernet1": {"adminEnabledStateLocal": 1}}})" );
   process().start( file );
   EXPECT_EQ(
      process().patch( R"({"mlagissuCause": {"intfStatus": {"Ethernet1": null}}})" ), "" );
   process().pass( 1000 );
   ASSERT_THAT( process().alarms(), ElementsAre( "snoopingWithoutPort Port-Channel10" ) );
   EXPECT_EQ(
      process().host().alarms().alarms()[ 0 ].ending,
      "shut Ethernet1 down and enable it again; what the configuration file sets is "
      "changed "
      "there, with SIGHUP after each step" );
   for ( char const* state : { "2", "1" } ) {
      std::string text = file;
      std::string const before = R"("adminEnabledStateLocal": 1)";
      text.replace( text.find( before ) + before.size() - 1, 1, state );
      ostra::Document const changed = ostra::parseDocument( "ostra.yaml", text );
      process().host().fileIs( &changed );
   }
   process().turn();
   process().pass( 1000 );
   EXPECT_THAT( process().alarms(), IsEmpty() );
}

TEST_F( Alarms, AreNotRaisedForPortsThatSomebodyReleasedShutDownOrThatAreNeverHeld ) {
   process().start();
   process().setUp( "mounts: " + reloadedSwitch( R"(,
      "ethPhyIntfConfig": {"intfConfig": {"Ethernet2": {"adminEnabledStateLocal": 0,
         "defaultConfig": {"adminEnabledStateLocal": 2}}, "Ethernet1": {}}})" ) );
   EXPECT_EQ(
      process().patch( R"({"mlagissuCause": {"intfStatus": {"Ethernet1": null}}})" ), "" );
   // Nobody has released this one by hand; it is shut down.
   process().host().live().mounts().apply( ostra::Item( ostra::parseDocument(
      "patch", "{mlagissuCause: {intfStatus: {Ethernet2: null}}}" ) ) );
   process().host().live().touch();
   process().pass( 1000 );
   EXPECT_THAT( process().process().errdisabled(), IsEmpty() );
   EXPECT_EQ(
      process().host().ports().port( "Ethernet1" )->at( "reason" ),
      "not held: released by hand" );
   EXPECT_EQ( process().host().ports().port( "Ethernet2" )->at( "reason" ), "not held" );
   // Nobody waits any more for the link of a port-channel that was released so.
   EXPECT_THAT( process().alarms(), ElementsAre( "snoopingWithoutPort Port-Channel10" ) );
   EXPECT_EQ(
      process().patch(
         R"({"ethPhyIntfConfig": {"intfConfig": {"Ethernet2": {"adminEnabledStateLocal": 1}}}})" ),
      "" );
   process().pass( 1000 );
   EXPECT_THAT( process().alarms(), Contains( "notHeld Ethernet2" ) );
}

TEST_F( Alarms, ADriverWithoutDevicesHasNothingToEnforce ) {
   process().start( reloadedSwitch() );
   EXPECT_THAT( process().process().errdisabled(), SizeIs( 2 ) );
   EXPECT_THAT( process().alarms(), IsEmpty() );
}
