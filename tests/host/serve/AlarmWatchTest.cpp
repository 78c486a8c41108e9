// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What a live host says of its alarms, what it keeps of them over a restart, and what looking
// for them costs.

#include "AlarmedProcess"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

using ostra::AlarmedProcess;
using ostra::FakeDriver;
using ostra::Json;
using ostra::Milliseconds;
using ostra::NoDriver;
using ostra::reloadedSwitch;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

TEST( AlarmWatch, SaysWhatTheDriverCouldNotDo ) {
   FakeDriver driver;
   driver.result = ostra::Answer::Result::failed;
   AlarmedProcess process( driver );
   process.start( reloadedSwitch() );
   EXPECT_THAT(
      process.alarms(), ElementsAre( "notEnforced Ethernet1", "notEnforced Ethernet2" ) );
   EXPECT_EQ(
      process.host().alarms().alarms().front().text,
      "to be held, but that failed: device busy" );
   driver.result = ostra::Answer::Result::done;
   process.pass( 1000 );
   EXPECT_THAT( process.alarms(), IsEmpty() );
   driver.result = ostra::Answer::Result::unsupported;
   process.pass( 20'000 );
   EXPECT_THAT( process.alarms(), ElementsAre( "notEnforced Ethernet1" ) );
   EXPECT_EQ(
      process.host().alarms().alarms().front().text,
      "to be released, but that cannot be done: device busy" );
}

TEST( AlarmWatch, SaysALineForEachAlarmThatIsRaisedOrCleared ) {
   NoDriver driver;
   AlarmedProcess process( driver );
   process.start( reloadedSwitch() );
   EXPECT_THAT( process.said, IsEmpty() );
   process.setUp(
      "mounts: " +
      reloadedSwitch( R"(, "mlagissuCause": {"intfStatus": {"Ethernet3": 1}})" ) );
   process.pass( 1000 );
   EXPECT_THAT(
      process.said,
      ElementsAre(
         "alarm raised: peerLinkHeld Ethernet3: errdisabled although it is in the "
         "peer link; what ends it: `ostra release Ethernet3`" ) );
   process.pass( 30'000 );
   EXPECT_THAT( process.said, SizeIs( 2 ) );
   EXPECT_EQ( process.said.back(), "alarm cleared: peerLinkHeld Ethernet3" );
}

namespace {

std::string
withDelay( std::string const& delay ) {
   std::string text = reloadedSwitch();
   std::string const before = R"("reloadDelay": 20)";
   return text.replace( text.find( before ), before.size(), R"("reloadDelay": )" + delay );
}

// Ethernet1 is held for a delay without an end, from 1000 s on.
class AlarmsBefore : public testing::Test {
 protected:
   std::vector< std::string > alarms() {
      std::vector< std::string > told;
      for ( ostra::Alarm const& alarm : process.host().alarms().alarms() ) {
         told.push_back( fmt::format(
            "{} {} {}",
            nameOf( alarm.kind ),
            alarm.interface,
            ostra::secondsOf( alarm.since ) ) );
      }
      return told;
   }
   // Of starts and of alarms.
   std::vector< std::string > history() {
      std::vector< std::string > told;
      for ( Json const& record : process.process().history() ) {
         if ( record.at( "type" ) == "alarm" ) {
            told.push_back( fmt::format(
               "{} {} {}",
               record.at( "state" ).get< std::string >(),
               record.at( "interface" ).get< std::string >(),
               record.at( "since" ).get< double >() ) );
         } else if ( record.at( "type" ) == "start" ) {
            told.emplace_back( "start" );
         }
      }
      return told;
   }

   std::string const endless = withDelay( R"("inf")" );
   NoDriver driver;
   AlarmedProcess process{ driver };
};

} // namespace

TEST_F( AlarmsBefore, OfTheSameBootGoOnWithTheirTime ) {
   process.start( endless );
   EXPECT_THAT( alarms(), ElementsAre( "heldWithoutEnd Ethernet1 1000" ) );
   process.said.clear();
   for ( int i = 0; i < 2; ++i ) {
      process.clock.moment += Milliseconds( 60'000 );
      process.restart( "boot 1", endless );
      EXPECT_THAT( alarms(), ElementsAre( "heldWithoutEnd Ethernet1 1000" ) );
   }
   EXPECT_THAT( process.said, IsEmpty() );
   EXPECT_THAT(
      history(), ElementsAre( "start", "raised Ethernet1 1000", "start", "start" ) );
}

TEST_F( AlarmsBefore, OfTheSameBootAreClearedWhenTheyAreNotThereAnyMore ) {
   process.start( endless );
   process.said.clear();
   process.clock.moment += Milliseconds( 5000 );
   process.restart( "boot 1", withDelay( "20" ) );
   EXPECT_THAT( alarms(), IsEmpty() );
   EXPECT_THAT( process.said, ElementsAre( "alarm cleared: heldWithoutEnd Ethernet1" ) );
   process.restart( "boot 1", withDelay( "20" ) );
   EXPECT_THAT(
      history(),
      ElementsAre(
         "start", "raised Ethernet1 1000", "start", "cleared Ethernet1 1000", "start" ) );
}

TEST_F( AlarmsBefore, OfAnotherBootAreClearedAlsoThoseThatAreRaisedAnew ) {
   process.start( endless );
   process.clock.moment = Milliseconds( 2000 );
   process.restart( "boot 2", endless );
   EXPECT_THAT( alarms(), ElementsAre( "heldWithoutEnd Ethernet1 2" ) );
   process.restart( "boot 3", withDelay( "20" ) );
   EXPECT_THAT( alarms(), IsEmpty() );
   EXPECT_THAT(
      history(),
      ElementsAre(
         "start",
         "raised Ethernet1 1000",
         "start",
         "cleared Ethernet1 1000",
         "raised Ethernet1 2",
         "start",
         "cleared Ethernet1 2" ) );
}

TEST_F( AlarmsBefore, AreInAStoreThatIsMadeAfterThem ) {
   std::filesystem::remove_all( process.state() );
   std::ofstream( process.state() ) << "no directory";
   process.restart( "boot 1", endless );
   EXPECT_THAT( alarms(), ElementsAre( "heldWithoutEnd Ethernet1 1000" ) );
   std::filesystem::remove( process.state() );
   std::filesystem::create_directories( process.state() );
   process.pass( 20'000 );
   process.restart( "boot 1", endless );
   EXPECT_THAT( alarms(), ElementsAre( "heldWithoutEnd Ethernet1 1000" ) );
   EXPECT_THAT( history(), ElementsAre( "start", "raised Ethernet1 1000", "start" ) );
}

TEST_F( AlarmsBefore, AreInAStoreThatTakesThePlaceOfOneDamagedMeanwhile ) {
   process.start( endless );
   process.said.clear();
   // More history than stays in memory: the file is read again, and is damaged by then.
   std::string const id = std::string( 3900, '1' );
   for ( int i = 0; i < 700; ++i ) {
      process.host().live().patch(
         {},
         fmt::format(
            R"({{"mlagConfig":{{"intfConfig":{{"Port-Channel9":{{"mlagId":"{}{}"}}}}}}}})",
            id,
            i ) );
   }
   process.turn();
   EXPECT_GT( process.process().history().size(), 700U );
   for ( char const* name : { "/state.db", "/state.db-wal" } ) {
      std::string const file = process.state() + name;
      std::string const damage( std::filesystem::file_size( file ), '\xff' );
      std::ofstream( file, std::ios::binary | std::ios::in ) << damage;
   }
   EXPECT_EQ(
      process.process().patch( R"({"mlagStatus":{"systemId":"02:00:00:00:00:01"}})" ), "" );
   EXPECT_THAT( process.host().store().finding(), HasSubstr( "; it is now " ) );
   process.restart( "boot 1", endless );
   EXPECT_THAT( process.host().findings(), IsEmpty() );
   EXPECT_THAT( alarms(), ElementsAre( "heldWithoutEnd Ethernet1 1000" ) );
   EXPECT_THAT( process.said, IsEmpty() );
   EXPECT_EQ( process.process().at( { "mlagStatus", "systemId" } ), "02:00:00:00:00:01" );
}

TEST( AlarmWatch, LooksOnceASecondAtMostAndNeverWhileNothingChanges ) {
   NoDriver driver;
   AlarmedProcess process( driver );
   process.start();
   ostra::Json ports = Json::object();
   for ( int i = 1; i <= 2000; ++i ) {
      ports[ fmt::format( "Ethernet{}", i ) ] = Json::object();
   }
   EXPECT_EQ(
      process.patch( Json{ { "ethPhyIntfStatus", { { "intfStatus", ports } } } }.dump() ),
      "" );
   process.pass( 2000 );
   std::uint64_t const before = process.watch().looks();
   for ( int i = 0; i < 500; ++i ) {
      EXPECT_EQ(
         process.patch( fmt::format(
            R"({{"ethPhyIntfStatus": {{"intfStatus": {{"Ethernet1": {{"linkStatus": {}}}}}}}}})",
            1 + i % 2 ) ),
         "" );
      process.pass( 10 );
   }
   process.pass( 2000 );
   EXPECT_GE( process.watch().looks() - before, 5U );
   EXPECT_LE( process.watch().looks() - before, 6U );
   std::uint64_t const then = process.watch().looks();
   process.pass( 1'000'000 );
   EXPECT_EQ( process.watch().looks(), then );
}

TEST( AlarmWatch, KeepsTheAlarmsWhenACopyFailsAndSaysSoOnce ) {
   NoDriver driver;
   ostra::ForecastLimits limits;
   limits.output = 500;
   AlarmedProcess process( driver, limits );
   process.start();
   process.setUp( "mounts: " + reloadedSwitch() );
   auto const leave = [ &process ]( std::string const& ports ) {
      process.host().live().mounts().apply( ostra::Item( ostra::parseDocument(
         "patch", "{mlagissuCause: {intfStatus: {" + ports + "}}}" ) ) );
      process.host().live().touch();
      process.turn();
   };
   process.pass( 40'000 );
   leave( "Ethernet1: 1" );
   process.pass( 1000 );
   EXPECT_THAT( process.alarms(), ElementsAre( "heldWithoutEnd Ethernet1" ) );
   process.said.clear();
   std::uint64_t const before = process.watch().looks();
   leave( "Ethernet1: null, Ethernet4: 1, Ethernet5: 1, Ethernet6: 1" );
   process.pass( 95'000 );
   EXPECT_THAT( process.alarms(), ElementsAre( "heldWithoutEnd Ethernet1" ) );
   EXPECT_THAT(
      process.said,
      ElementsAre( "alarms stay as they were and are looked for later: forecast: more than "
                   "0 MiB to tell" ) );
   EXPECT_EQ( process.watch().looks() - before, 4U );
   leave( "Ethernet5: null, Ethernet6: null" );
   process.pass( 30'000 );
   EXPECT_THAT( process.alarms(), ElementsAre( "heldWithoutEnd Ethernet4" ) );
   EXPECT_EQ( process.said[ 1 ], "alarms are looked for again" );
}

TEST( AlarmWatch, TakesNoPlaceOfAClientsForecast ) {
   NoDriver driver;
   AlarmedProcess process( driver );
   process.start( reloadedSwitch() );
   process.clock.moment += Milliseconds( 5000 );
   ostra::Forecasts const clients( process.process().loop().base(), process.host().live() );
   EXPECT_EQ( process.process().patch( R"({"mlagStatus": {"mlagState": 3}})" ), "" );
   EXPECT_TRUE( process.watch().isLooking() );
   EXPECT_EQ( clients.running(), 0U );
   EXPECT_TRUE( clients.hasRoom( 1 ) );
   process.turn();
   EXPECT_FALSE( process.watch().isLooking() );
}
