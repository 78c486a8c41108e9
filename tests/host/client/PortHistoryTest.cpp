// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/client/PortHistory>

#include <gtest/gtest.h>

#include <fmt/format.h>

namespace ostra {

namespace {

// Takes records as a host writes them, second by second.
class Recorded {
 public:
   explicit Recorded( std::string const& interface, std::string const& portChannel = "" )
         : history( interface, portChannel ) {}

   Recorded& at( int seconds, std::string const& members ) {
      history.take( fmt::format(
         R"({{"seq":{},"t":{},"time":"day {}","type":{}}})",
         ++seq_,
         seconds,
         seconds,
         members ) );
      return *this;
   }
   Recorded& held( int seconds ) {
      return at(
         seconds,
         R"("write","path":["mlagissuCause","intfStatus","Ethernet1"],"value":5)" );
   }
   Recorded& released( int seconds ) {
      return at(
         seconds,
         R"("write","path":["mlagissuCause","intfStatus","Ethernet1"],"value":null)" );
   }
   Recorded& standby( int seconds, bool isOn ) {
      return at(
         seconds,
         fmt::format(
            R"("write","path":["lacpConfig","portChannel","Port-Channel1",{}],"value":{})",
            R"("stayInStandby")",
            isOn ) );
   }
   // The last hold as "KIND SINCE RELEASED REASON".
   std::string lastHold() const {
      Json const& hold = history.lastHold();
      return hold.is_null() ? "none"
                            : fmt::format(
                                 "{} {} {} {}",
                                 hold.at( "kind" ).dump(),
                                 hold.at( "since" ).dump(),
                                 hold.at( "released" ).dump(),
                                 hold.at( "reason" ).dump() );
   }

   PortHistory history;

 private:
   int seq_ = 0;
};

} // namespace

TEST( PortHistory, OfAPortThatNoRecordNamesOnlyTheBeginningIsKnown ) {
   Recorded recorded( "Ethernet1" );
   recorded.at( 1, R"("start","boot":"b","isRestart":false)" )
      .at( 2, R"("gone","interface":"Ethernet11")" );
   EXPECT_EQ( recorded.history.begin(), "day 1" );
   EXPECT_EQ( recorded.history.lastTold(), "" );
   EXPECT_EQ( recorded.history.goneAt(), "" );
   EXPECT_EQ( recorded.lastHold(), "none" );
}

TEST( PortHistory, AHoldIsOverWhenTheCauseIsTakenOut ) {
   Recorded recorded( "Ethernet1" );
   recorded.held( 5 );
   EXPECT_EQ( recorded.lastHold(), "none" );
   recorded.released( 65 );
   EXPECT_EQ( recorded.lastHold(), R"("errdisable" "day 5" "day 65" "delay over")" );
   EXPECT_EQ( recorded.history.lastTold(), "day 65" );
}

TEST( PortHistory, ARecordOfTheSameInstantSaysWhyAHoldWasOver ) {
   struct Case {
      char const* record;
      char const* why;
   };
   for ( auto const& [ record, why ] :
         { Case{ R"("release","interface":"Ethernet1")", "by hand" },
           Case{ R"("gone","interface":"Ethernet1")", "interface gone" },
           Case{ R"("event","index":7,"mounts":["mlagStatus"])",
                 "by a client's change, revision 7" },
           Case{ R"("configuration")", "the configuration was read again" },
           Case{ R"("start","boot":"b","isRestart":true)", "the host started again" },
           Case{ R"("release","interface":"Ethernet2")", "delay over" } } ) {
      Recorded recorded( "Ethernet1" );
      recorded.held( 5 ).at( 65, record ).released( 65 );
      EXPECT_EQ(
         recorded.lastHold(), fmt::format( R"("errdisable" "day 5" "day 65" "{}")", why ) );
      Recorded later( "Ethernet1" );
      later.held( 5 ).at( 64, record ).released( 65 );
      EXPECT_EQ( later.lastHold(), R"("errdisable" "day 5" "day 65" "delay over")" )
         << record;
   }
}

TEST( PortHistory, AHoldMayHaveBegunBeforeTheFirstRecord ) {
   Recorded recorded( "Ethernet1" );
   recorded.released( 65 );
   EXPECT_EQ( recorded.lastHold(), R"("errdisable" null "day 65" "delay over")" );
}

TEST( PortHistory, AnotherBootEndsAHold ) {
   Recorded recorded( "Ethernet1" );
   recorded.held( 5 ).at( 9, R"("start","boot":"c","isRestart":false)" );
   EXPECT_EQ( recorded.lastHold(), R"("errdisable" "day 5" "day 9" "another boot")" );
   recorded.held( 10 ).released( 20 );
   EXPECT_EQ( recorded.lastHold(), R"("errdisable" "day 10" "day 20" "delay over")" );
}

TEST( PortHistory, ThePortsChannelMayHaveWaitedInStandby ) {
   Recorded recorded( "Ethernet1", "Port-Channel1" );
   recorded.standby( 5, true ).standby( 65, false );
   EXPECT_EQ( recorded.lastHold(), R"("lacpStandby" "day 5" "day 65" "delay over")" );
   recorded.standby( 70, true ).at( 71, R"("gone","interface":"Ethernet1")" );
   EXPECT_EQ( recorded.lastHold(), R"("lacpStandby" "day 70" "day 71" "interface gone")" );
   recorded.standby( 80, false );
   EXPECT_EQ( recorded.lastHold(), R"("lacpStandby" "day 70" "day 71" "interface gone")" );
   Recorded other( "Ethernet1", "Port-Channel11" );
   other.standby( 5, true ).standby( 65, false );
   EXPECT_EQ( other.lastHold(), "none" );
}

TEST( PortHistory, APortIsGoneUntilSomethingTellsThatItIsThere ) {
   Recorded recorded( "Ethernet1" );
   recorded.at( 1, R"("gone","interface":"Ethernet1")" );
   EXPECT_EQ( recorded.history.goneAt(), "day 1" );
   recorded.released( 1 );
   EXPECT_EQ( recorded.history.goneAt(), "day 1" );
   recorded.held( 2 );
   EXPECT_EQ( recorded.history.goneAt(), "" );
   recorded.at( 3, R"("gone","interface":"Ethernet1")" )
      .at(
         4,
         R"("event","index":1,"patch":{"ethPhyIntfStatus":{"intfStatus":{"Ethernet1":{}}}})" );
   EXPECT_EQ( recorded.history.goneAt(), "" );
}

// It may have come and gone while no host ran.
TEST( PortHistory, WhenAPortWentIsNotKnownBehindAStart ) {
   Recorded recorded( "Ethernet1" );
   recorded.at( 1, R"("gone","interface":"Ethernet1")" )
      .at( 2, R"("start","boot":"b","isRestart":true)" );
   EXPECT_EQ( recorded.history.goneAt(), "" );
   EXPECT_EQ( recorded.history.lastTold(), "day 1" );
}

} // namespace ostra
