// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The one-shot watch on the link status of a port-channel that has been released.

#include "HeldSwitch"

#include <support/ByName>

namespace {

using Interface::EthLagIntfStatus;

class LagLinkStatus : public HeldSwitch {
 public:
   LagLinkStatus() {
      mlagMember( "Ethernet1", "Port-Channel10" );
      lagStatus( "Port-Channel10", LinkStatus::linkDown );
      start();
   }

   // Releases the ports: from here on the port-channel's link is watched.
   void release() { moveTo( 300 ); }
   auto watch() const { return sm->lagIntfStatus( id( "Port-Channel10" ) ); }
   auto status() const { return lagInputIntfStatus->intfStatus( id( "Port-Channel10" ) ); }
   static Ryx::Ptr< EthLagIntfStatus > otherStatus( LinkStatus link ) {
      auto const made = Ryx::make< EthLagIntfStatus >( id( "Port-Channel10" ) );
      made->linkStatusIs( link );
      return made;
   }
   static std::string handled( std::string const& what ) {
      return called( "RyxLagIntfStatus::handleLagLinkStatus() for " + what );
   }
};

TEST_F( LagLinkStatus, WatchBeginsWithoutAHandlerRun ) {
   status()->linkStatusIs( LinkStatus::linkUp );
   EXPECT_FALSE( watch() );
   release();
   ASSERT_TRUE( watch() );
   EXPECT_EQ( watch()->notifier().ptr(), status().ptr() );
   EXPECT_EQ( snooping(), ( Log{ "Port-Channel10" } ) );
}

TEST_F( LagLinkStatus, LinkThatComesUpEndsTheForcingAndTheWatch ) {
   release();
   EXPECT_EQ(
      steps( [ & ] { status()->linkStatusIs( LinkStatus::linkUp ); } ),
      ( Log{ handled( "Port-Channel10  linkUp" ), "snooping Port-Channel10 -" } ) );
   EXPECT_FALSE( watch() );
}

TEST_F( LagLinkStatus, AnyOtherChangeEndsTheWatchAndKeepsTheForcing ) {
   release();
   EXPECT_EQ(
      steps( [ & ] { status()->linkStatusIs( LinkStatus::linkUnknown ); } ),
      ( Log{ handled( "Port-Channel10  linkUnknown" ) } ) );
   EXPECT_FALSE( watch() );
   EXPECT_EQ( steps( [ & ] { status()->linkStatusIs( LinkStatus::linkUp ); } ), Log() );
   EXPECT_EQ( snooping(), ( Log{ "Port-Channel10" } ) );
}

TEST_F( LagLinkStatus, UnchangedLinkStatusEndsNothing ) {
   release();
   EXPECT_EQ( steps( [ & ] { status()->linkStatusIs( LinkStatus::linkDown ); } ), Log() );
   EXPECT_TRUE( watch() );
}

TEST_F( LagLinkStatus, WatchThatEndedIsAZombieAndLeavesNothingBehind ) {
   release();
   auto const kept = watch();
   status()->linkStatusIs( LinkStatus::linkUp );
   EXPECT_TRUE( kept->ryxMarkedForDeletion() );
   EXPECT_FALSE( kept->hasNotificationActive() );
   EXPECT_EQ( kept->owner(), nullptr );
   EXPECT_EQ( kept->references(), 1u );
   EXPECT_EQ( status()->notifieeCount(), 0u );
   EXPECT_EQ( steps( [ & ] { kept->onLinkStatus(); } ), Log() );
}

TEST_F( LagLinkStatus, WatchThatGoesWithAllOthersIsAZombieWithoutMachine ) {
   release();
   auto const removed = watch();
   sm->lagIntfStatusDelAll();
   EXPECT_FALSE( watch() );
   EXPECT_TRUE( removed->ryxMarkedForDeletion() );
   EXPECT_EQ( removed->mlagErrdisableSm(), nullptr );
   EXPECT_EQ( status()->notifieeCount(), 0u );
}

TEST_F( LagLinkStatus, RepointedWatchRunsItsHandlerAndStaysRemoved ) {
   release();
   auto const first = status();
   auto const second = otherStatus( LinkStatus::linkDown );
   EXPECT_EQ(
      steps( [ & ] { sm->lagIntfStatusIs( second ); } ),
      ( Log{ handled( "Port-Channel10  linkDown" ) } ) );
   EXPECT_FALSE( watch() );
   EXPECT_EQ( first->notifieeCount(), 0u );
   EXPECT_EQ( second->notifieeCount(), 0u );
   EXPECT_EQ(
      steps( [ & ] {
         first->linkStatusIs( LinkStatus::linkUp );
         second->linkStatusIs( LinkStatus::linkUp );
      } ),
      Log() );
   EXPECT_EQ( snooping(), ( Log{ "Port-Channel10" } ) );
}

TEST_F( LagLinkStatus, RepointedWatchThatSomebodyHoldsStaysAZombie ) {
   release();
   auto const kept = watch();
   auto const second = otherStatus( LinkStatus::linkUp );
   EXPECT_EQ(
      steps( [ & ] { sm->lagIntfStatusIs( second ); } ),
      ( Log{ handled( "Port-Channel10  linkUp" ), "snooping Port-Channel10 -" } ) );
   EXPECT_TRUE( kept->ryxMarkedForDeletion() );
   EXPECT_EQ( kept->owner(), nullptr );
   EXPECT_EQ( kept->references(), 1u );
   EXPECT_EQ( second->notifieeCount(), 0u );
}

TEST_F( LagLinkStatus, WatchThatNobodyElseHoldsMayEndWhileItIsRepointed ) {
   release();
   auto* const borrowed = watch().ptr();
   auto const second = otherStatus( LinkStatus::linkUp );
   EXPECT_EQ(
      steps( [ & ] { borrowed->notifierIs( second ); } ),
      ( Log{ handled( "Port-Channel10  linkUp" ), "snooping Port-Channel10 -" } ) );
   EXPECT_FALSE( watch() );
   EXPECT_EQ( second->references(), 1u );
}

TEST_F( LagLinkStatus, WatchThatWasRepointedAwayCanBeginAgain ) {
   release();
   auto const second = otherStatus( LinkStatus::linkDown );
   sm->lagIntfStatusIs( second );
   sm->lagIntfStatusIs( second );
   ASSERT_TRUE( watch() );
   EXPECT_EQ(
      steps( [ & ] { second->linkStatusIs( LinkStatus::linkUp ); } ),
      ( Log{ handled( "Port-Channel10  linkUp" ), "snooping Port-Channel10 -" } ) );
   EXPECT_FALSE( watch() );
}

TEST_F( LagLinkStatus, StatusReplacedBetweenTwoReleasedMembersEndsTheWatch ) {
   mlagMember( "Ethernet2", "Port-Channel10" );
   // The second member that leaves the cause finds another status than the first.
   int released = 0;
   onLine = [ & ]( std::string const& line ) {
      if ( line == "300 cause Ethernet1 -" || line == "300 cause Ethernet2 -" ) {
         if ( ++released == 2 ) {
            lagInputIntfStatus->intfStatusIs( otherStatus( LinkStatus::linkUp ) );
         }
      }
   };
   auto const first = status();
   release();
   EXPECT_EQ( released, 2 );
   EXPECT_NE( status(), first );
   EXPECT_FALSE( watch() );
   EXPECT_EQ( first->notifieeCount(), 0u );
   EXPECT_EQ( status()->notifieeCount(), 0u );
   EXPECT_EQ( snooping(), Log() );
}

TEST_F( LagLinkStatus, WatchMayBeRenewedInsideItsOwnLastWrite ) {
   release();
   onLine = [ & ]( std::string const& line ) {
      if ( line == "300 snooping Port-Channel10 -" ) {
         onLine = nullptr;
         sm->lagIntfStatusDel( id( "Port-Channel10" ) );
         sm->lagIntfStatusIs( status() );
      }
   };
   status()->linkStatusIs( LinkStatus::linkUp );
   // The port-channel's watch ends by its key, whoever began it.
   EXPECT_FALSE( watch() );
   EXPECT_EQ( status()->notifieeCount(), 0u );
}

TEST_F( LagLinkStatus, MachineMayBeLetGoInsideTheLastWrite ) {
   release();
   auto const kept = status();
   onLine = [ & ]( std::string const& line ) {
      if ( line == "300 snooping Port-Channel10 -" ) {
         stop();
      }
   };
   kept->linkStatusIs( LinkStatus::linkUp );
   EXPECT_FALSE( sm );
   EXPECT_EQ( kept->notifieeCount(), 0u );
}

TEST_F( LagLinkStatus, ReactorWithoutAStatusRemovesTheEmptyId ) {
   release();
   auto const kept = watch();
   kept->notifierIs( nullptr );
   EXPECT_EQ(
      steps( [ & ] { kept->handleLagLinkStatus(); } ),
      ( Log{ handled( "  linkUnknown" ) } ) );
   EXPECT_TRUE( watch() );
}

TEST_F( LagLinkStatus, NullStatusIsRefused ) {
   EXPECT_EQ(
      support::refusal( [ & ] { sm->lagIntfStatusIs( nullptr ); } ),
      "null _lagIntfStatus parameter to mutator for "
      "Mlag::Ostra::MlagErrdisableSm::lagIntfStatus not allowed\"" );
}

TEST_F( LagLinkStatus, StatusDirectoryIsHeldButNotHeard ) {
   release();
   EXPECT_EQ( sm->lagInputIntfStatus().ptr(), lagInputIntfStatus.ptr() );
   EXPECT_EQ(
      steps( [ & ] {
         noLagStatus( "Port-Channel10" );
         lagStatus( "Port-Channel20", LinkStatus::linkUp );
      } ),
      Log() );
   EXPECT_TRUE( watch() );
}

} // namespace
