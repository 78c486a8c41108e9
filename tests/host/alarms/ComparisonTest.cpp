// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Alarms from what a switch holds and what it still holds later, given as they are.

#include <host/alarms/AlarmBoard>
#include <host/alarms/Comparison>

#include <gmock/gmock.h>

namespace ostra {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector< std::string >
namesOf( std::vector< Alarm > const& alarms ) {
   std::vector< std::string > names;
   for ( Alarm const& alarm : alarms ) {
      names.push_back( std::string( nameOf( alarm.kind ) ) + " " + alarm.interface );
   }
   return names;
}

Alarm
alarm( AlarmKind kind, std::string const& interface, std::string const& text = "" ) {
   return { kind, interface, text, "" };
}

} // namespace

TEST( AlarmComparison, OfWhatIsReleasedInTimeThereIsNone ) {
   Sight sight;
   sight.errdisabled = { { "Ethernet1", "why" } };
   sight.standby = { { "Port-Channel1", "why" } };
   sight.forced = { { "Port-Channel2", "why" } };
   EXPECT_THAT( alarmsOf( sight, {} ), IsEmpty() );
}

TEST( AlarmComparison, WhatIsStillSoWhenEveryPeriodIsOverIsWithoutEnd ) {
   Sight sight;
   sight.errdisabled = { { "Ethernet10", "why" }, { "Ethernet2", "why" } };
   sight.standby = { { "Port-Channel1", "why" } };
   sight.forced = { { "Port-Channel2", "why", "ending" } };
   Outlook const outlook{ { "Ethernet10", "Ethernet2" },
                          { "Port-Channel1" },
                          { "Port-Channel2" } };
   EXPECT_THAT(
      namesOf( alarmsOf( sight, outlook ) ),
      ElementsAre(
         "heldWithoutEnd Ethernet2",
         "heldWithoutEnd Ethernet10",
         "standbyWithoutEnd Port-Channel1",
         "snoopingWithoutPort Port-Channel2" ) );
}

TEST( AlarmComparison, WhatIsWrongNowIsSaidAlsoIfItWillEnd ) {
   Sight sight;
   sight.errdisabled = { { "Ethernet1", "why" } };
   sight.peerLink = { { "Ethernet1", "why" } };
   sight.notHeld = { { "Ethernet2", "why", "ending" } };
   sight.notEnforced = { { "Ethernet3", "no device", "another" } };
   EXPECT_THAT(
      namesOf( alarmsOf( sight, {} ) ),
      ElementsAre(
         "peerLinkHeld Ethernet1", "notHeld Ethernet2", "notEnforced Ethernet3" ) );
}

TEST( AlarmComparison, SaysWhyAndWhatWouldEndIt ) {
   Sight sight;
   sight.errdisabled = { { "Ethernet1", "errdisabled for ever", "a release" } };
   auto const alarms = alarmsOf( sight, { { "Ethernet1" }, {}, {} } );
   ASSERT_EQ( alarms.size(), 1U );
   EXPECT_EQ( alarms[ 0 ].text, "errdisabled for ever" );
   EXPECT_EQ( alarms[ 0 ].ending, "a release" );
}

TEST( AlarmComparison, EveryAlarmIsTheSameWhenItIsReadAgain ) {
   for ( AlarmKind const kind : alarmKinds ) {
      Alarm const told{ kind, "Ethernet3/1", "text", "ending", Milliseconds( 1500 ) };
      EXPECT_EQ( alarmOf( toJson( told ) ), told );
      EXPECT_EQ( toJson( told ).at( "since" ), 1.5 );
   }
}

TEST( AlarmBoard, TellsWhatIsRaisedAndWhatIsCleared ) {
   AlarmBoard board;
   auto const one = alarm( AlarmKind::heldWithoutEnd, "Ethernet1" );
   auto const two = alarm( AlarmKind::heldWithoutEnd, "Ethernet2" );
   auto const other = alarm( AlarmKind::notHeld, "Ethernet2" );
   EXPECT_THAT(
      namesOf( board.update( { two }, Milliseconds( 1 ) ).raised ),
      ElementsAre( "heldWithoutEnd Ethernet2" ) );
   auto const changes = board.update( { one, other }, Milliseconds( 2 ) );
   EXPECT_THAT(
      namesOf( changes.raised ),
      ElementsAre( "heldWithoutEnd Ethernet1", "notHeld Ethernet2" ) );
   EXPECT_THAT( namesOf( changes.cleared ), ElementsAre( "heldWithoutEnd Ethernet2" ) );
   EXPECT_THAT(
      namesOf( board.update( {}, Milliseconds( 3 ) ).cleared ),
      ElementsAre( "heldWithoutEnd Ethernet1", "notHeld Ethernet2" ) );
   EXPECT_THAT( board.alarms(), IsEmpty() );
}

TEST( AlarmBoard, AnAlarmKeepsItsTimeWhateverItsWords ) {
   AlarmBoard board;
   board.update(
      { alarm( AlarmKind::heldWithoutEnd, "Ethernet1", "before" ) }, Milliseconds( 10 ) );
   auto const changes = board.update(
      { alarm( AlarmKind::heldWithoutEnd, "Ethernet1", "behind" ),
        alarm( AlarmKind::heldWithoutEnd, "Ethernet2" ) },
      Milliseconds( 20 ) );
   EXPECT_THAT( namesOf( changes.raised ), ElementsAre( "heldWithoutEnd Ethernet2" ) );
   EXPECT_THAT( changes.cleared, IsEmpty() );
   ASSERT_EQ( board.alarms().size(), 2U );
   EXPECT_EQ( board.alarms()[ 0 ].since, Milliseconds( 10 ) );
   EXPECT_EQ( board.alarms()[ 0 ].text, "behind" );
   EXPECT_EQ( board.alarms()[ 1 ].since, Milliseconds( 20 ) );
   board.update( {}, Milliseconds( 30 ) );
   board.update( { alarm( AlarmKind::heldWithoutEnd, "Ethernet1" ) }, Milliseconds( 40 ) );
   EXPECT_EQ( board.alarms()[ 0 ].since, Milliseconds( 40 ) );
}

} // namespace ostra
