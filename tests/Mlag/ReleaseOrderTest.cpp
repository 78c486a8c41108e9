// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What a release does, in which order. Ethernet1 is in no port-channel, Ethernet2 and
// Ethernet3 are in the MLAG port-channel Port-Channel10.

#include "SmReach"

#include <algorithm>

namespace {

class ReleaseOrder : public SwitchFixture {
 public:
   ReleaseOrder() {
      configureMlag();
      mlagInterface( "Port-Channel10" );
      port( "Ethernet1" );
      port( "Ethernet2" );
      member( "Ethernet2", "Port-Channel10" );
   }
   void startAndForget() {
      start();
      take();
   }
   // What a look at a port's class traces.
   static Log classOf( std::string const& intf, std::string const& portChannel = "" ) {
      Log traces{ traced( "MlagErrdisableSm::mlagLink " + intf ) };
      if ( portChannel.empty() ) {
         traces.push_back( traced( " Non MLAG interface " + intf ) );
      } else {
         traces.push_back( traced( "New intfId: " + portChannel ) );
      }
      return traces;
   }
   static void append( Log& log, Log const& more ) {
      log.insert( log.end(), more.begin(), more.end() );
   }
   static Log tracked( std::string const& intf ) {
      return { tracedCall( "maybeTrackIntfStatus(Kovel::IntfId)" ),
               traced( "Clearing errdisable status for " + intf ) };
   }
   // Puts a port-channel into standby as the machine does.
   void standby( std::string_view portChannel ) { sm->setLacpStandby( id( portChannel ) ); }
};

TEST_F( ReleaseOrder, WholeReleaseAtTheEndOfTheMlagPeriod ) {
   lacp( "Port-Channel20" );
   startAndForget();
   standby( "Port-Channel20" );
   moveTo( 299 );
   auto const order = held();
   take();
   tracingIs( true );
   moveTo( 300 );
   // MLAG first.
   Log expected{ tracedCall( "handleClock_(bool)" ),
                 tracedCall( "doClearErrdisableMlagIntfStatus()" ) };
   for ( auto const& intf : order ) {
      bool const mlag = intf == "Ethernet2";
      append( expected, classOf( intf, mlag ? "Port-Channel10" : "" ) );
      if ( mlag ) {
         append( expected, { "cause Ethernet2 -" } );
         append( expected, tracked( intf ) );
         append( expected, { "snooping Port-Channel10 -" } );
      }
   }
   append(
      expected,
      { traced( "releasing stayInStandby for Port-Channel20" ),
        "lacp Port-Channel20 false",
        tracedCall( "doCheckErrdisable()", " mlag 0 non-mlag 1" ),
        // The other class's own timer.
        tracedCall( "handleClock_(bool)" ),
        tracedNonMlagDelay(),
        tracedCall( "doClearErrdisableNonMlagIntfStatus()" ) } );
   append( expected, classOf( "Ethernet1" ) );
   append( expected, { "cause Ethernet1 -" } );
   append( expected, tracked( "Ethernet1" ) );
   append(
      expected,
      { tracedCall( "doCheckErrdisable()", " mlag 0 non-mlag 0" ),
        traced( "Clearing errdisabled state " ),
        "proto portsErrdisabled false",
        "proto portsErrdisabledWhen inf" } );
   EXPECT_EQ( takeUntimed(), expected );
}

TEST_F( ReleaseOrder, MlagReleaseGoesOnWithTheOtherClassWhoseTimerIsIdle ) {
   startAndForget();
   // Idle though the class is held: no delay of its own, both infinite.
   mlagConfig->reloadDelayIs( Ryx::never );
   sm->doClearErrdisableMlagIntfStatus();
   EXPECT_EQ(
      takeUntimed(),
      ( Log{ "cause Ethernet2 -",
             "snooping Port-Channel10 -",
             "cause Ethernet1 -",
             "proto portsErrdisabled false",
             "proto portsErrdisabledWhen inf" } ) );
}

TEST_F( ReleaseOrder, MlagReleaseGoesOnWithTheOtherClassWhoseTimerWasTakenAway ) {
   startAndForget();
   sm->clockNonMlagDel();
   sm->doClearErrdisableMlagIntfStatus();
   EXPECT_EQ( held(), std::vector< std::string >() );
   EXPECT_FALSE( sm->nonMlagPortsErrdisabled() );
}

TEST_F( ReleaseOrder, MlagReleaseLeavesTheOtherClassWhoseTimerIsArmed ) {
   startAndForget();
   sm->doClearErrdisableMlagIntfStatus();
   EXPECT_EQ( takeUntimed(), ( Log{ "cause Ethernet2 -", "snooping Port-Channel10 -" } ) );
   EXPECT_TRUE( sm->nonMlagPortsErrdisabled() );
   EXPECT_EQ( wakeTime( true ), Ryx::never );
   EXPECT_EQ( wakeTime( false ), 225 );
}

TEST_F( ReleaseOrder, MlagReleaseLeavesTheOtherClassWhosePeriodIsInfinite ) {
   mlagConfig->reloadDelayNonMlagConfiguredIs( true );
   mlagConfig->reloadDelayNonMlagIs( Ryx::never );
   startAndForget();
   sm->doClearErrdisableMlagIntfStatus();
   EXPECT_EQ( held(), ( std::vector< std::string >{ "Ethernet1" } ) );
   EXPECT_TRUE( mlagProtoStatus->portsErrdisabled() );
}

TEST_F( ReleaseOrder, MlagReleaseIgnoresAnInfinitePeriodThatIsNotConfigured ) {
   mlagConfig->reloadDelayIs( Ryx::never );
   mlagConfig->reloadDelayNonMlagIs( Ryx::never );
   startAndForget();
   sm->doClearErrdisableMlagIntfStatus();
   EXPECT_EQ( held(), std::vector< std::string >() );
   EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
}

TEST_F( ReleaseOrder, MlagReleaseWithoutOtherPortsLeavesTheOtherClassAsItIs ) {
   absent( "Ethernet1" );
   mlagConfig->reloadDelayIs( Ryx::never );
   startAndForget();
   sm->doClearErrdisableMlagIntfStatus();
   EXPECT_TRUE( sm->nonMlagPortsErrdisabled() );
   EXPECT_TRUE( mlagProtoStatus->portsErrdisabled() );
}

TEST_F( ReleaseOrder, TheReleaseProperTellsWhetherOtherPortsAreLeft ) {
   startAndForget();
   EXPECT_TRUE( sm->doClearErrdisableMlagIntfStatus_() );
   absent( "Ethernet1" );
   EXPECT_FALSE( sm->doClearErrdisableMlagIntfStatus_() );
}

TEST_F( ReleaseOrder, TheReleaseProperDoesNotTraceItself ) {
   absent( "Ethernet1" );
   absent( "Ethernet2" );
   startAndForget();
   standby( "Port-Channel20" );
   tracingIs( true );
   sm->doClearErrdisableMlagIntfStatus_();
   EXPECT_EQ(
      takeUntimed(),
      ( Log{ traced( "releasing stayInStandby for Port-Channel20" ),
             tracedCall( "doCheckErrdisable()", " mlag 0 non-mlag 1" ) } ) );
}

TEST_F( ReleaseOrder, NonMlagReleaseKeepsMlagPortsAndStandby ) {
   lacp( "Port-Channel20" );
   startAndForget();
   standby( "Port-Channel20" );
   take();
   sm->doClearErrdisableNonMlagIntfStatus();
   EXPECT_EQ( takeUntimed(), ( Log{ "cause Ethernet1 -" } ) );
   EXPECT_TRUE( sm->lagsInStandby( id( "Port-Channel20" ) ) );
   EXPECT_TRUE( sm->mlagPortsErrdisabled() );
   EXPECT_EQ( wakeTime( false ), Ryx::never );
   EXPECT_EQ( wakeTime( true ), 225 );
}

TEST_F( ReleaseOrder, TheOtherClassesTimerIsArmedUntilItsLastPortIsReleased ) {
   startAndForget();
   Ryx::Seconds wake = 0;
   onLine = [ & ]( std::string const& ) { wake = wakeTime( false ); };
   sm->doClearErrdisableNonMlagIntfStatus();
   EXPECT_EQ( wake, 225 );
   EXPECT_EQ( wakeTime( false ), Ryx::never );
}

// What is said of the end is written when both timers are off: a port that appears at this
// moment comes too late to be held.
TEST_F( ReleaseOrder, MlagPortThatAppearsWithTheEndComesTooLate ) {
   startAndForget();
   sm->doClearErrdisableNonMlagIntfStatus();
   member( "Ethernet3", "Port-Channel10" );
   onLine = [ & ]( std::string const& logged ) {
      if ( logged == "0 proto portsErrdisabled false" ) {
         present( "Ethernet3" );
      }
   };
   sm->doClearErrdisableMlagIntfStatus();
   EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
   EXPECT_EQ( held(), std::vector< std::string >() );
}

TEST_F( ReleaseOrder, OtherPortThatAppearsWithTheEndComesTooLate ) {
   startAndForget();
   sm->doClearErrdisableMlagIntfStatus();
   onLine = [ & ]( std::string const& logged ) {
      if ( logged == "0 proto portsErrdisabled false" ) {
         present( "Ethernet3" );
      }
   };
   sm->doClearErrdisableNonMlagIntfStatus();
   EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
   EXPECT_EQ( held(), std::vector< std::string >() );
}

TEST_F( ReleaseOrder, StandbyIsForgottenAfterItsPortChannelHasBeenReleased ) {
   lacp( "Port-Channel20" );
   startAndForget();
   standby( "Port-Channel20" );
   bool known = false;
   onLine = [ & ]( std::string const& logged ) {
      if ( logged == "0 lacp Port-Channel20 false" ) {
         known = sm->lagsInStandby( id( "Port-Channel20" ) );
      }
   };
   sm->doClearErrdisableMlagIntfStatus_();
   EXPECT_TRUE( known );
   EXPECT_FALSE( sm->lagsInStandby( id( "Port-Channel20" ) ) );
}

TEST_F( ReleaseOrder, StandbyIsReleasedInTheCollectionsOrder ) {
   Log expected;
   startAndForget();
   for ( int i = 20; i < 30; ++i ) {
      lacp( "Port-Channel" + std::to_string( i ) );
      standby( "Port-Channel" + std::to_string( i ) );
   }
   for ( auto it = sm->lagsInStandbyIteratorConst(); it; ++it ) {
      expected.push_back( "lacp " + std::string( it.key().string() ) + " false" );
   }
   take();
   sm->doClearErrdisableMlagIntfStatus_();
   Log released = takeUntimed();
   released.erase( released.begin(), released.begin() + 2 );
   EXPECT_EQ( released, expected );
   EXPECT_FALSE( sm->lagsInStandbyIteratorConst() );
}

TEST_F( ReleaseOrder, StandbyWithoutLacpConfigurationIsDroppedAndTraced ) {
   startAndForget();
   standby( "Port-Channel20" );
   tracingIs( true );
   state( MlagState::mlagPrimary );
   auto const log = takeUntimed();
   EXPECT_EQ(
      std::count(
         log.begin(), log.end(), traced( "releasing stayInStandby for Port-Channel20" ) ),
      1 );
   EXPECT_FALSE( sm->lagsInStandby( id( "Port-Channel20" ) ) );
}

TEST_F( ReleaseOrder, EarlyReleaseReleasesBothClassesAndThenTheSecondOnceMore ) {
   absent( "Ethernet1" );
   absent( "Ethernet2" );
   startAndForget();
   tracingIs( true );
   state( MlagState::mlagPrimary );
   EXPECT_EQ(
      takeUntimed(),
      ( Log{ tracedCall( "handleMlagState()", " state is mlagPrimary" ),
             tracedCall( "doClearErrdisableIntfStatus()" ),
             tracedCall( "doClearErrdisableMlagIntfStatus()" ),
             tracedCall( "doCheckErrdisable()", " mlag 0 non-mlag 1" ),
             tracedCall( "doClearErrdisableNonMlagIntfStatus()" ),
             tracedCall( "doCheckErrdisable()", " mlag 0 non-mlag 0" ),
             traced( "Clearing errdisabled state " ),
             "proto portsErrdisabled false",
             "proto portsErrdisabledWhen inf" } ) );
}

TEST_F( ReleaseOrder, CheckWithOneClassHeldWritesNothing ) {
   startAndForget();
   tracingIs( true );
   sm->doCheckErrdisable();
   sm->mlagPortsErrdisabledIs( false );
   sm->doCheckErrdisable();
   sm->mlagPortsErrdisabledIs( true );
   sm->nonMlagPortsErrdisabledIs( false );
   sm->doCheckErrdisable();
   EXPECT_EQ(
      takeUntimed(),
      ( Log{ tracedCall( "doCheckErrdisable()", " mlag 1 non-mlag 1" ),
             tracedCall( "doCheckErrdisable()", " mlag 0 non-mlag 1" ),
             tracedCall( "doCheckErrdisable()", " mlag 1 non-mlag 0" ) } ) );
}

TEST_F( ReleaseOrder, EntriesOfAnEarlierMachineAreKeptWithTheirTimeAndReleased ) {
   mlagissuCause->intfStatusIs( id( "Ethernet1" ), -7 );
   mlagissuCause->intfStatusIs( id( "Ethernet2" ), -6 );
   startAndForget();
   EXPECT_EQ( mlagissuCause->intfStatus( id( "Ethernet1" ) ).when, -7 );
   EXPECT_EQ( mlagissuCause->intfStatus( id( "Ethernet2" ) ).when, -6 );
   moveTo( 300 );
   EXPECT_EQ( held(), std::vector< std::string >() );
}

TEST_F( ReleaseOrder, EntriesThatNobodyHereMadeAreReleasedLikeItsOwn ) {
   mlagissuCause->intfStatusIs( id( "Ethernet99" ), -7 );
   mlagissuCause->intfStatusIs( id( "Management1" ), -7 );
   mlagissuCause->intfStatusIs( id( "Port-Channel10" ), -7 );
   startAndForget();
   EXPECT_EQ( held().size(), 5u );
   sm->doClearErrdisableMlagIntfStatus();
   // A port-channel with an MLAG configuration is of the MLAG class itself.
   EXPECT_FALSE( mlagissuCause->intfStatusHas( id( "Port-Channel10" ) ) );
   EXPECT_EQ( held().size(), 3u );
   moveTo( 300 );
   EXPECT_EQ( held(), std::vector< std::string >() );
}

TEST_F( ReleaseOrder, EntriesLeftBehindAreReleasedEvenIfMlagIsNotConfigured ) {
   mlagissuCause->intfStatusIs( id( "Ethernet1" ), -7 );
   mlagissuCause->intfStatusIs( id( "Ethernet2" ), -7 );
   mlagConfig->enabledIs( false );
   start();
   EXPECT_EQ( held(), std::vector< std::string >() );
}

TEST_F( ReleaseOrder, EntriesAreReleasedByTheClassThatTheyAreOfAtThatTime ) {
   startAndForget();
   noMlagInterface( "Port-Channel10" );
   take();
   sm->doClearErrdisableNonMlagIntfStatus();
   EXPECT_EQ( held(), std::vector< std::string >() );
   EXPECT_TRUE( sm->mlagPortsErrdisabled() );
}

TEST_F( ReleaseOrder, ManyPortsAreReleasedInTheCausesOrder ) {
   for ( int i = 10; i < 90; ++i ) {
      port( "Ethernet" + std::to_string( i ) );
   }
   startAndForget();
   Log expected;
   for ( auto const& intf : held() ) {
      expected.push_back( "cause " + intf + " -" );
   }
   take();
   noMlagInterface( "Port-Channel10" );
   take();
   sm->doClearErrdisableNonMlagIntfStatus();
   EXPECT_EQ( takeUntimed(), expected );
}

} // namespace
