// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What the devices are told, and what is said of it, whatever they do.

#include "LiveProcess"

#include <gmock/gmock.h>

using ostra::Answer;
using ostra::Enforcement;
using ostra::Observed;
using ostra::OrderKind;
using State = ostra::Enforcement::State;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class ReconcilerTest : public testing::Test {
 protected:
   ReconcilerTest() { driver.start( loop_, listener_ ); }

   void want( std::string const& interface, bool isHold ) {
      reconciler.wantedIs( interface, OrderKind::errdisable, isHold );
      endTurn();
   }
   void endTurn() {
      reconciler.orderHolds();
      reconciler.orderReleases();
   }
   void pass( int milliseconds ) {
      clock.moment += ostra::Milliseconds( milliseconds );
      time_.refresh();
      endTurn();
   }
   Enforcement of( std::string const& interface ) const {
      return reconciler.enforcement( interface );
   }
   std::vector< std::string > orders() {
      std::vector< std::string > texts;
      for ( auto const& batch : driver.batches ) {
         for ( auto const& order : batch ) {
            texts.push_back( ( order.isHold ? "hold " : "release " ) + order.interface );
         }
      }
      driver.batches.clear();
      return texts;
   }

   ostra::SimulatedClock clock;
   std::vector< std::string > told;

 private:
   class Listener final : public ostra::DriverListener {
    public:
      explicit Listener( ReconcilerTest& test ) : test_( test ) {}
      void facts( ostra::Json const& ) override {}
      void answered( Answer const& answer ) override {
         test_.reconciler.answered( answer );
      }
      void observed( std::string const& interface, Observed observed ) override {
         test_.reconciler.observed( interface, observed );
      }

    private:
      ReconcilerTest& test_;
   };

   ostra::LiveTime time_{ clock };
   ostra::Loop loop_{ time_ };
   Listener listener_{ *this };

 protected:
   ostra::FakeDriver driver;
   ostra::Reconciler reconciler{ driver, [ this ]( std::string const& interface ) {
                                   told.push_back( interface );
                                } };
};

} // namespace

TEST_F( ReconcilerTest, OneBatchHasAllThatATurnWants ) {
   for ( char const* port : { "Ethernet1", "Ethernet2", "Ethernet3" } ) {
      reconciler.wantedIs( port, OrderKind::errdisable, true );
   }
   EXPECT_EQ( of( "Ethernet1" ), Enforcement{ State::pending } );
   endTurn();
   ASSERT_THAT( driver.batches, SizeIs( 1 ) );
   EXPECT_THAT( driver.batches.front(), SizeIs( 3 ) );
   EXPECT_EQ( of( "Ethernet1" ), Enforcement{ State::held } );
   EXPECT_TRUE( reconciler.isSettled() );
}

TEST_F( ReconcilerTest, WhatIsWantedAndNotWantedInOneTurnIsNotOrdered ) {
   reconciler.wantedIs( "Ethernet1", OrderKind::errdisable, true );
   reconciler.wantedIs( "Ethernet1", OrderKind::errdisable, false );
   endTurn();
   EXPECT_THAT( orders(), IsEmpty() );
   EXPECT_EQ( of( "Ethernet1" ), Enforcement{ State::released } );
}

TEST_F( ReconcilerTest, AFailureIsTriedAgainEachTimeAfterTwiceAsLong ) {
   driver.result = Answer::Result::failed;
   want( "Ethernet1", true );
   EXPECT_EQ( of( "Ethernet1" ), ( Enforcement{ State::failed, "device busy" } ) );
   orders();
   for ( int const wait : { 100, 200, 400 } ) {
      pass( wait - 1 );
      EXPECT_THAT( orders(), IsEmpty() ) << wait;
      pass( 2 );
      EXPECT_THAT( orders(), ElementsAre( "hold Ethernet1" ) ) << wait;
   }
   driver.result = Answer::Result::done;
   pass( 801 );
   EXPECT_EQ( of( "Ethernet1" ), Enforcement{ State::held } );
}

TEST_F( ReconcilerTest, WhatHasFailedIsSettledAndWhatHasNoAnswerIsNot ) {
   driver.isSilent = true;
   want( "Ethernet1", true );
   EXPECT_FALSE( reconciler.isSettled() );
   driver.isSilent = false;
   driver.result = Answer::Result::failed;
   pass( 10'001 );
   EXPECT_EQ( of( "Ethernet1" ).state, State::failed );
   EXPECT_TRUE( reconciler.isSettled() );
   pass( 60'000 );
   EXPECT_TRUE( reconciler.isSettled() );
}

TEST_F( ReconcilerTest, AReleaseThatFailsIsTriedAgainToo ) {
   want( "Ethernet1", true );
   driver.result = Answer::Result::failed;
   want( "Ethernet1", false );
   EXPECT_EQ( of( "Ethernet1" ), ( Enforcement{ State::failed, "device busy" } ) );
   driver.result = Answer::Result::done;
   pass( 100 );
   EXPECT_EQ( of( "Ethernet1" ), Enforcement{ State::released } );
   EXPECT_THAT( driver.held, IsEmpty() );
}

TEST_F( ReconcilerTest, WhatCannotBeDoneWaitsForTheDeviceToChange ) {
   driver.result = Answer::Result::unsupported;
   want( "Ethernet1", true );
   EXPECT_EQ( of( "Ethernet1" ), ( Enforcement{ State::unsupported, "device busy" } ) );
   EXPECT_TRUE( reconciler.isSettled() );
   orders();
   pass( 60'000 );
   EXPECT_THAT( orders(), IsEmpty() );
   driver.result = Answer::Result::done;
   driver.listener->observed( "Ethernet1", Observed::released );
   endTurn();
   EXPECT_EQ( of( "Ethernet1" ), Enforcement{ State::held } );
}

TEST_F( ReconcilerTest, WhatSomebodyElseUndoesIsDoneAgainAndCounted ) {
   want( "Ethernet1", true );
   orders();
   driver.listener->observed( "Ethernet1", Observed::released );
   EXPECT_EQ( of( "Ethernet1" ), Enforcement{ State::pending } );
   endTurn();
   EXPECT_THAT( orders(), ElementsAre( "hold Ethernet1" ) );
   EXPECT_EQ( of( "Ethernet1" ), Enforcement{ State::held } );
   EXPECT_EQ( reconciler.redone(), 1U );
}

TEST_F( ReconcilerTest, WhatIsUndoneEveryTimeWaitsBeforeItIsDoneAgain ) {
   want( "Ethernet1", true );
   std::size_t count = 0;
   for ( int i = 0; i < 100; ++i ) {
      driver.listener->observed( "Ethernet1", Observed::released );
      endTurn();
      count += orders().size();
   }
   EXPECT_LE( count, 12U );
   pass( 30'000 );
   EXPECT_EQ( of( "Ethernet1" ), Enforcement{ State::held } );
}

TEST_F( ReconcilerTest, ADeviceThatGoesIsNotHeldAndOneThatComesIs ) {
   want( "Ethernet1", true );
   orders();
   driver.listener->observed( "Ethernet1", Observed::noDevice );
   endTurn();
   EXPECT_EQ( of( "Ethernet1" ), ( Enforcement{ State::unsupported, "no device" } ) );
   EXPECT_THAT( orders(), IsEmpty() );
   driver.listener->observed( "Ethernet1", Observed::released );
   endTurn();
   EXPECT_THAT( orders(), ElementsAre( "hold Ethernet1" ) );
}

TEST_F( ReconcilerTest, ALateAnswerToAnOrderThatWasReplacedCountsForNothing ) {
   driver.isSilent = true;
   want( "Ethernet1", true );
   want( "Ethernet1", false );
   ASSERT_THAT( driver.unanswered, SizeIs( 2 ) );
   driver.answer( driver.unanswered[ 0 ] );
   EXPECT_EQ( of( "Ethernet1" ), Enforcement{ State::pending } );
   driver.answer( driver.unanswered[ 1 ] );
   EXPECT_EQ( of( "Ethernet1" ), Enforcement{ State::released } );
}

TEST_F( ReconcilerTest, AnOrderWithoutAnAnswerIsGivenAgain ) {
   driver.isSilent = true;
   want( "Ethernet1", true );
   orders();
   pass( 9'999 );
   EXPECT_THAT( orders(), IsEmpty() );
   pass( 1 );
   EXPECT_EQ(
      of( "Ethernet1" ), ( Enforcement{ State::failed, "the driver does not answer" } ) );
   pass( 100 );
   EXPECT_THAT( orders(), ElementsAre( "hold Ethernet1" ) );
}

TEST_F( ReconcilerTest, AHoldThatNobodyWantsIsTakenAway ) {
   driver.held = { "Ethernet9" };
   driver.listener->observed( "Ethernet9", Observed::held );
   EXPECT_EQ( of( "Ethernet9" ), Enforcement{ State::pending } );
   endTurn();
   EXPECT_THAT( orders(), ElementsAre( "release Ethernet9" ) );
   EXPECT_THAT( driver.held, IsEmpty() );
}

TEST_F( ReconcilerTest, EachChangeIsToldOnce ) {
   driver.isSilent = true;
   want( "Ethernet1", true );
   EXPECT_THAT( told, ElementsAre( "Ethernet1" ) );
   driver.answer( driver.unanswered.front() );
   endTurn();
   EXPECT_THAT( told, ElementsAre( "Ethernet1", "Ethernet1" ) );
   told.clear();
   driver.listener->observed( "Ethernet1", Observed::held );
   endTurn();
   EXPECT_THAT( told, IsEmpty() );
}

TEST_F( ReconcilerTest, WhatADriverDoesAtOnceIsToldOnceBehindTheOrder ) {
   want( "Ethernet1", true );
   EXPECT_THAT( told, ElementsAre( "Ethernet1" ) );
   told.clear();
   reconciler.wantedIs( "Ethernet1", OrderKind::errdisable, false );
   reconciler.wantedIs( "Ethernet2", OrderKind::errdisable, true );
   reconciler.orderHolds();
   EXPECT_THAT( told, ElementsAre( "Ethernet2" ) );
   reconciler.orderReleases();
   EXPECT_THAT( told, ElementsAre( "Ethernet2", "Ethernet1" ) );
}

TEST_F( ReconcilerTest, WhatSomebodyUndoesIsToldAlthoughItIsDoneAgainAtOnce ) {
   want( "Ethernet1", true );
   told.clear();
   driver.listener->observed( "Ethernet1", Observed::released );
   EXPECT_THAT( told, ElementsAre( "Ethernet1" ) );
   endTurn();
   EXPECT_THAT( told, ElementsAre( "Ethernet1", "Ethernet1" ) );
}

TEST_F( ReconcilerTest, AHoldThatDoesNotKeepTheDeviceDownIsWrittenAgainOrTakenAway ) {
   want( "Ethernet1", true );
   orders();
   driver.listener->observed( "Ethernet1", Observed::broken );
   EXPECT_EQ( of( "Ethernet1" ), Enforcement{ State::pending } );
   endTurn();
   EXPECT_THAT( orders(), ElementsAre( "hold Ethernet1" ) );
   EXPECT_EQ( reconciler.redone(), 1U );
   driver.listener->observed( "Ethernet2", Observed::broken );
   EXPECT_EQ( of( "Ethernet2" ), Enforcement{ State::pending } );
   endTurn();
   EXPECT_THAT( orders(), ElementsAre( "release Ethernet2" ) );
   EXPECT_EQ( of( "Ethernet2" ), Enforcement{ State::released } );
}
