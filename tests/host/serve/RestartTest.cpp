// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Restarts of the live host: what goes on, what begins anew, and that no port goes down that
// was up.

#include "LiveProcess"

#include <gmock/gmock.h>

#include <fmt/format.h>

using ostra::FakeDriver;
using ostra::Json;
using ostra::LiveProcess;
using ostra::reloadedSwitch;
using ostra::SimulatedClock;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class Restart : public testing::Test {
 protected:
   std::string const& state() const { return directory_.path(); }

   SimulatedClock clock;
   FakeDriver driver;

 private:
   ostra::TemporaryDirectory const directory_;
};

std::string
role( int state, bool holds ) {
   return fmt::format(
      R"(, "mlagStatus": {{"mlagState": {}}}, "mlagProtoStatus": {{"holdInSecondary": {}}})",
      state,
      holds );
}

using Holds = std::vector< std::set< std::string > >;

// What is errdisabled at every second of a life of 40, restarted before every second where
// that is asked for. Something happens at the tenth.
Holds
life(
   std::string const& directory,
   std::string const& rest,
   std::string const& change,
   bool isRestarted ) {
   SimulatedClock clock;
   FakeDriver driver;
   auto process = std::make_unique< LiveProcess >( directory, clock, driver );
   process->start();
   EXPECT_EQ( process->patch( reloadedSwitch( rest ) ), "" );
   // The configuration is there, the statuses come with the machine.
   auto const startAgain = [ & ] {
      process.reset();
      process = std::make_unique< LiveProcess >( directory, clock, driver, "boot 2" );
      process->start(
         "{\"ethPhyIntfStatus\": {\"intfStatus\": {\"Ethernet1\": {}, "
         "\"Ethernet2\": {}, \"Ethernet3\": {}}}" +
         rest + "}" );
   };
   startAgain();
   Holds holds;
   for ( int second = 0; second < 40; ++second ) {
      if ( isRestarted ) {
         startAgain();
      }
      if ( second == 10 && !change.empty() ) {
         EXPECT_EQ( process->patch( change ), "" );
      }
      holds.push_back( process->errdisabled() );
      EXPECT_EQ( driver.held, holds.back() ) << second;
      process->pass( 1000 );
   }
   return holds;
}

} // namespace

TEST_F( Restart, AtEverySecondOfAReloadChangesNothingWhateverTheRole ) {
   for ( auto const& [ mlagState, holds ] :
         std::vector< std::pair< int, bool > >{ { 0, true },
                                                { 1, true },
                                                { 2, true },
                                                { 3, true },
                                                { 4, true },
                                                { 4, false } } ) {
      SCOPED_TRACE( fmt::format( "state {} hold {}", mlagState, holds ) );
      ostra::TemporaryDirectory const once;
      ostra::TemporaryDirectory const often;
      Holds const expected = life( once.path(), role( mlagState, holds ), "", false );
      EXPECT_EQ( life( often.path(), role( mlagState, holds ), "", true ), expected );
      EXPECT_THAT( expected.front(), SizeIs( mlagState == 3 || !holds ? 0 : 2 ) );
   }
}

TEST_F( Restart, AfterAnEarlyReleaseHoldsNothingAgain ) {
   for ( std::string const change :
         { R"({"mlagConfig": {"reloadDelay": 12}})",
           R"({"mlagConfig": {"reloadDelayNonMlag": 12}})",
           R"({"mlagConfig": {"reloadDelay": 0, "reloadDelayNonMlag": "inf"}})" } ) {
      SCOPED_TRACE( change );
      ostra::TemporaryDirectory const once;
      ostra::TemporaryDirectory const often;
      EXPECT_EQ(
         life( often.path(), role( 2, true ), change, true ),
         life( once.path(), role( 2, true ), change, false ) );
   }
}

TEST_F( Restart, AfterAnEndlessDelayWasReleasedHoldsNothing ) {
   {
      LiveProcess process( state(), clock, driver );
      process.start();
      process.patch( reloadedSwitch() );
      process.patch(
         R"({"mlagConfig": {"reloadDelay": "inf", "reloadDelayNonMlag": "inf"}})" );
   }
   clock.moment = std::chrono::seconds( 5 );
   std::string const ports =
      R"({"ethPhyIntfStatus": {"intfStatus": {"Ethernet1": {}, "Ethernet2": {}}}})";
   {
      LiveProcess process( state(), clock, driver, "boot 2" );
      process.start( ports );
      ASSERT_THAT( process.errdisabled(), SizeIs( 2 ) );
      process.patch( R"({"mlagStatus": {"mlagState": 3}})" );
      ASSERT_THAT( process.errdisabled(), IsEmpty() );
      process.patch( R"({"mlagStatus": {"mlagState": 2}})" );
   }
   driver.batches.clear();
   clock.moment += std::chrono::seconds( 1 );
   LiveProcess process( state(), clock, driver, "boot 2" );
   process.start( ports );
   EXPECT_THAT( process.errdisabled(), IsEmpty() );
   EXPECT_THAT( driver.batches, IsEmpty() );
   EXPECT_EQ( process.at( { "mlagConfig", "reloadDelay" } ), "inf" );
}

TEST_F( Restart, AMonthAfterTheBootHoldsNothing ) {
   {
      LiveProcess process( state(), clock, driver );
      process.start( reloadedSwitch() );
      process.pass( 40'000 );
      EXPECT_THAT( driver.held, IsEmpty() );
   }
   driver.batches.clear();
   clock.moment += std::chrono::days( 30 );
   LiveProcess process( state(), clock, driver );
   process.start( reloadedSwitch() );
   EXPECT_THAT( process.errdisabled(), IsEmpty() );
   EXPECT_THAT( driver.batches, IsEmpty() );
   EXPECT_EQ( process.at( { "mlagProtoStatus", "portsErrdisabled" } ), false );
   EXPECT_EQ( process.host().ports().summary().at( "mlag" ).at( "state" ), "released" );
}

TEST_F( Restart, DoesNotHoldAgainWhatWasReleasedByHand ) {
   {
      LiveProcess process( state(), clock, driver );
      process.start( reloadedSwitch() );
      ASSERT_THAT( process.errdisabled(), ElementsAre( "Ethernet1", "Ethernet2" ) );
      ASSERT_EQ(
         process.patch( "null", { "mlagissuCause", "intfStatus", "Ethernet1" } ), "" );
   }
   driver.batches.clear();
   for ( int restarts = 0; restarts < 2; ++restarts ) {
      LiveProcess process( state(), clock, driver );
      process.start( reloadedSwitch() );
      EXPECT_THAT( process.errdisabled(), ElementsAre( "Ethernet2" ) );
   }
   EXPECT_THAT( driver.batches, IsEmpty() );
}

TEST_F( Restart, HoldsWhatWasReleasedByHandAndHasComeBack ) {
   {
      LiveProcess process( state(), clock, driver );
      process.start( reloadedSwitch() );
      ostra::Path const port{ "ethPhyIntfStatus", "intfStatus", "Ethernet4" };
      ASSERT_EQ( process.patch( "{}", port ), "" );
      ASSERT_EQ(
         process.patch( "null", { "mlagissuCause", "intfStatus", "Ethernet4" } ), "" );
      ASSERT_EQ( process.patch( "null", port ), "" );
      ASSERT_EQ( process.patch( "{}", port ), "" );
   }
   LiveProcess process( state(), clock, driver );
   process.start( reloadedSwitch() );
   EXPECT_THAT(
      process.errdisabled(), ElementsAre( "Ethernet1", "Ethernet2", "Ethernet4" ) );
}

TEST_F( Restart, OfAHostThatWasConfiguredAfterItsStartHoldsNothing ) {
   {
      LiveProcess process( state(), clock, driver );
      process.start();
      ASSERT_EQ( process.patch( reloadedSwitch() ), "" );
      ASSERT_THAT( process.errdisabled(), IsEmpty() );
   }
   LiveProcess process( state(), clock, driver );
   process.start();
   EXPECT_THAT( process.errdisabled(), IsEmpty() );
   EXPECT_THAT( driver.batches, IsEmpty() );
}

TEST_F( Restart, TakesAwayWhatTheFileNoLongerHas ) {
   std::string const file = R"({"ethPhyIntfStatus": {"intfStatus": {
      "Ethernet1": {"linkStatus": 2}, "Ethernet2": {}}},
      "lacpConfig": {"portChannel": {"Port-Channel1": {}}}})";
   ostra::Path const status{ "ethPhyIntfStatus", "intfStatus" };
   {
      LiveProcess process( state(), clock, driver );
      process.start( file );
      ASSERT_EQ(
         process.patch( R"({"Ethernet2": {"linkStatus": 2}, "Ethernet3": {}})", status ),
         "" );
   }
   {
      LiveProcess process( state(), clock, driver );
      process.start( file );
      EXPECT_THAT( process.at( status ), SizeIs( 3 ) );
      EXPECT_EQ( process.at( status ).at( "Ethernet2" ).at( "linkStatus" ), 2 );
   }
   {
      LiveProcess process( state(), clock, driver );
      process.start( R"({"ethPhyIntfStatus": {"intfStatus": {"Ethernet1": {}}}})" );
      EXPECT_EQ( process.at( status ).at( "Ethernet1" ).at( "linkStatus" ), 0 );
      EXPECT_FALSE( process.at( status ).contains( "Ethernet2" ) );
   }
   LiveProcess process( state(), clock, driver );
   process.start();
   EXPECT_THAT( process.host().findings(), IsEmpty() );
   EXPECT_THAT(
      process.at( status ), ElementsAre( process.at( status ).at( "Ethernet3" ) ) );
   EXPECT_EQ( process.at( { "lacpConfig", "portChannel" } ), Json::object() );
}

TEST_F( Restart, OfAnotherBootKeepsConfigurationAndBeginsADelay ) {
   {
      LiveProcess process( state(), clock, driver );
      process.start();
      ASSERT_EQ( process.patch( reloadedSwitch( role( 4, true ) ) ), "" );
      ASSERT_EQ(
         process.patch( R"({"lacpConfig": {"portChannel": {"Port-Channel10": {}}}})" ),
         "" );
   }
   clock.moment = std::chrono::seconds( 3 );
   LiveProcess process( state(), clock, driver, "boot 2" );
   process.start();
   EXPECT_EQ( process.at( { "mlagConfig", "reloadDelay" } ), 20 );
   EXPECT_EQ(
      process.at( { "lagInputConfig", "phyIntf", "Ethernet1", "lag" } ), "Port-Channel10" );
   EXPECT_EQ(
      process.at( { "lacpConfig", "portChannel", "Port-Channel10", "stayInStandby" } ),
      false );
   EXPECT_EQ( process.at( { "mlagStatus", "mlagState" } ), 0 );
   EXPECT_EQ( process.at( { "mlagProtoStatus", "holdInSecondary" } ), false );
   EXPECT_EQ( process.at( { "ethPhyIntfStatus", "intfStatus" } ), Json::object() );
   EXPECT_EQ( process.at( { "mlagProtoStatus", "portsErrdisabledWhen" } ), 3 );
}

TEST_F( Restart, StandbyEndsWithTheDelayAlsoWhenItDoesNotQualifyAnyMore ) {
   std::string const standby =
      R"(, "mlagStatus": {"mlagState": 4, "systemId": "02:00:00:00:10:01"},
      "mlagProtoStatus": {"holdInSecondary": true},
      "lacpOverride": {"lagIdConfig": {"Port-Channel10": "02:00:00:00:10:01"}},
      "lacpConfig": {"portChannel": {"Port-Channel10": {}}}})";
   std::string file = reloadedSwitch( standby );
   file.pop_back();
   file.replace( file.find( "\"reloadDelay\"" ), 0, R"("lacpStandby": true, )" );
   ostra::Path const path{ "lacpConfig", "portChannel", "Port-Channel10", "stayInStandby" };
   {
      LiveProcess process( state(), clock, driver );
      process.start( file );
      ASSERT_EQ( process.at( path ), true );
      EXPECT_TRUE( driver.held.contains( "Port-Channel10" ) );
   }
   std::string const later = std::string( file ).replace(
      file.find( "\"mlagState\": 4" ), 14, "\"mlagState\": 1" );
   LiveProcess process( state(), clock, driver );
   process.start( later );
   ASSERT_EQ( process.at( path ), true );
   process.pass( 19'000 );
   EXPECT_EQ( process.at( path ), true );
   process.pass( 2'000 );
   EXPECT_EQ( process.at( path ), false );
   EXPECT_FALSE( driver.held.contains( "Port-Channel10" ) );
}

TEST_F( Restart, NumbersOfRecordsAndRevisionsGoOn ) {
   ostra::Revision revision = 0;
   std::size_t records = 0;
   for ( int i = 0; i < 3; ++i ) {
      LiveProcess process( state(), clock, driver );
      process.start();
      EXPECT_EQ( process.host().live().revision(), revision );
      EXPECT_EQ( process.patch( R"({"mlagConfig": {"domainId": "d"}})" ), "" );
      revision = process.host().live().revision();
      auto const history = process.history();
      EXPECT_GT( history.size(), records );
      records = history.size();
      for ( std::size_t k = 0; k < history.size(); ++k ) {
         EXPECT_EQ( history[ k ].at( "seq" ), k + 1 );
      }
   }
   EXPECT_EQ( revision, 3 );
}

TEST_F( Restart, IsToldInHistory ) {
   std::vector< Json > starts;
   for ( char const* boot : { "boot 1", "boot 1", "boot 2" } ) {
      LiveProcess process( state(), clock, driver, boot );
      process.start();
      starts = ostra::ofType( process.history(), "start" );
   }
   ASSERT_EQ( starts.size(), 3U );
   EXPECT_EQ( starts[ 0 ][ "isRestart" ], false );
   EXPECT_EQ( starts[ 1 ][ "isRestart" ], true );
   EXPECT_EQ( starts[ 2 ][ "isRestart" ], false );
   EXPECT_EQ( starts[ 2 ][ "boot" ], "boot 2" );
}

TEST_F( Restart, SettingTheDateChangesNothing ) {
   LiveProcess process( state(), clock, driver );
   process.start( reloadedSwitch( role( 2, true ) ) );
   clock.offset += std::chrono::days( 365 );
   process.pass( 10'000 );
   clock.offset -= std::chrono::days( 730 );
   process.pass( 9'000 );
   EXPECT_THAT( process.errdisabled(), SizeIs( 2 ) );
   process.pass( 1'000 );
   EXPECT_THAT( process.errdisabled(), ElementsAre( "Ethernet2" ) );
}
