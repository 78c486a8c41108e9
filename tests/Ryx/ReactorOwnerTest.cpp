// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Collections of reactors, and what an owner passes on to all its reactors.

#include "Supervisor"

#include <gtest/gtest.h>

namespace {

using doubles::Calls;
using doubles::Port;
using doubles::refusal;
using doubles::Supervisor;
using Ryx::Ptr;

class ReactorOwnerTest : public testing::Test {
 protected:
   Calls heard() { return std::exchange( calls, {} ); }
   // Changes the speed of both ports and says who heard of it.
   Calls heardOfAChange() {
      calls.clear();
      one->speedIs( ++speed );
      two->speedIs( ++speed );
      return heard();
   }

   unsigned speed = 100;
   Calls calls;
   Ptr< Port > const one = Ryx::make< Port >( 1u );
   Ptr< Port > const two = Ryx::make< Port >( 2u );
   Ptr< Supervisor > owner = Ryx::make< Supervisor >( calls );
};

TEST_F( ReactorOwnerTest, AnInputGetsAReactorUnderItsKey ) {
   owner->portIs( one );
   owner->portIs( two );
   EXPECT_EQ( owner->ports(), 2u );
   EXPECT_EQ( owner->port( 2 )->notifier(), two );
   EXPECT_EQ( owner->port( 2 )->owner(), owner.ptr() );
   EXPECT_TRUE( owner->port( 2 )->hasNotificationActive() );
   EXPECT_EQ( heard(), Calls{} );
   EXPECT_EQ( heardOfAChange(), ( Calls{ "port1 port1 101", "port2 port2 102" } ) );
}

TEST_F( ReactorOwnerTest, TheSameInputChangesNothing ) {
   owner->portIs( one );
   auto const reactor = owner->port( 1 );
   owner->portIs( one );
   EXPECT_EQ( owner->port( 1 ), reactor );
   EXPECT_EQ( one->notifieeModifications(), 1u );
   EXPECT_EQ( heard(), Calls{} );
}

TEST_F( ReactorOwnerTest, AnotherInputOfTheSameKeyRePointsTheReactorThatIsThere ) {
   owner->portIs( one );
   auto const reactor = owner->port( 1 );
   auto const another = Ryx::make< Port >( 1u );
   another->speedIs( 7 );
   owner->portIs( another );
   EXPECT_EQ( owner->port( 1 ), reactor );
   EXPECT_EQ( owner->ports(), 1u );
   EXPECT_EQ( reactor->notifier(), another );
   EXPECT_EQ( heard(), Calls{ "port1 port1 7" } );
   EXPECT_EQ( one->references(), 1u );
}

TEST_F( ReactorOwnerTest, ANullInputIsRefusedAndChangesNothing ) {
   owner->portIs( one );
   EXPECT_EQ(
      refusal( [ & ] { owner->portIs( nullptr ); } ),
      "null _port parameter to mutator for Test::Supervisor::port not allowed\"" );
   EXPECT_EQ( owner->ports(), 1u );
}

TEST_F( ReactorOwnerTest, DeletingReturnsTheInputAndRetiresTheReactor ) {
   owner->portIs( one );
   auto const reactor = owner->port( 1 );
   EXPECT_EQ( owner->portDel( 1 ), one );
   EXPECT_EQ( owner->port( 1 ), nullptr );
   EXPECT_TRUE( reactor->ryxMarkedForDeletion() );
   EXPECT_EQ( reactor->owner(), nullptr );
   EXPECT_FALSE( reactor->hasNotificationActive() );
   EXPECT_EQ( reactor->references(), 1u );
   EXPECT_EQ( owner->portDel( 1 ), nullptr );
   EXPECT_EQ( heardOfAChange(), Calls{} );
}

TEST_F( ReactorOwnerTest, DeletingAllMarksAndOrphansEveryReactor ) {
   owner->portIs( one );
   owner->portIs( two );
   auto const first = owner->port( 1 );
   auto const second = owner->port( 2 );
   owner->portDelAll();
   EXPECT_EQ( owner->ports(), 0u );
   for ( auto const& reactor : { first, second } ) {
      EXPECT_TRUE( reactor->ryxMarkedForDeletion() );
      EXPECT_EQ( reactor->owner(), nullptr );
   }
   EXPECT_EQ( heardOfAChange(), Calls{} );
}

// Deleting a single one switches it off in any case.
TEST_F( ReactorOwnerTest, DeletingAllLeavesTheSwitchOfAReactorThatWatchesNothing ) {
   owner->portIs( one );
   owner->portIs( two );
   auto const all = owner->port( 1 );
   auto const single = owner->port( 2 );
   all->notifierIs( nullptr );
   single->notifierIs( nullptr );
   owner->portDel( 2 );
   owner->portDelAll();
   EXPECT_TRUE( all->hasNotificationActive() );
   EXPECT_FALSE( single->hasNotificationActive() );
   EXPECT_EQ( all->owner(), nullptr );
}

TEST_F( ReactorOwnerTest, ARemovedReactorIsFreedWithItsLastPointer ) {
   owner->portIs( one );
   owner->portDel( 1 );
   EXPECT_EQ( one->references(), 1u );
}

TEST_F( ReactorOwnerTest, AReactorThatItsHandlerRemovesWhenRePointedStaysRemoved ) {
   owner->portIs( one );
   auto const another = Ryx::make< Port >( 1u );
   owner->action = [ & ] { owner->portDel( 1 ); };
   owner->portIs( another );
   EXPECT_EQ( heard(), Calls{ "port1 port1 0" } );
   EXPECT_EQ( owner->ports(), 0u );
   EXPECT_EQ( another->notifieeCount(), 0u );
   EXPECT_EQ( another->references(), 1u );
}

TEST_F( ReactorOwnerTest, AReactorThatRemovesItselfWhenRePointedIsNotRegisteredAgain ) {
   owner->portIs( one );
   auto const reactor = owner->port( 1 );
   auto const another = Ryx::make< Port >( 1u );
   owner->action = [ & ] { owner->portDel( 1 ); };
   owner->portIs( another );
   EXPECT_FALSE( reactor->isRegisteredNotifiee() );
   EXPECT_TRUE( reactor->ryxMarkedForDeletion() );
}

TEST_F( ReactorOwnerTest, AReactorPutInThePlaceOfOneThatIsRePointedIsKept ) {
   owner->portIs( one );
   auto const another = Ryx::make< Port >( 1u );
   auto const third = Ryx::make< Port >( 1u );
   owner->action = [ & ] {
      owner->portDel( 1 );
      owner->portIs( third );
   };
   owner->portIs( another );
   ASSERT_EQ( owner->ports(), 1u );
   EXPECT_EQ( owner->port( 1 )->notifier(), third );
   third->speedIs( 3 );
   EXPECT_EQ( calls.back(), "port1 port1 3" );
}

TEST_F( ReactorOwnerTest, AReactorMayRemoveItselfFromItsOwnCallback ) {
   owner->portIs( one );
   owner->portIs( two );
   owner->action = [ & ] { owner->portDel( 1 ); };
   EXPECT_EQ( heardOfAChange(), ( Calls{ "port1 port1 101", "port2 port2 102" } ) );
   EXPECT_EQ( heardOfAChange(), Calls{ "port2 port2 104" } );
}

TEST_F( ReactorOwnerTest, TurningDeliveryOffAndOnReachesEveryReactor ) {
   owner->masterIs( one );
   owner->portIs( one );
   owner->portIs( two );
   owner->hasNotificationActiveIs( true );
   owner->hasNotificationActiveIs( false );
   EXPECT_EQ( heardOfAChange(), Calls{} );
   owner->hasNotificationActiveIs( true );
   EXPECT_EQ(
      heardOfAChange(),
      ( Calls{ "master port1 103", "port1 port1 103", "port2 port2 104" } ) );
}

TEST_F( ReactorOwnerTest, AReactorMayRemoveItselfWhenItsDeliveryIsSwitched ) {
   owner->portIs( one );
   owner->portIs( two );
   std::uint32_t references = 0;
   owner->port( 1 )->onSwitch = [ & ] {
      owner->portDel( 1 );
      references = one->references();
   };
   owner->hasNotificationActiveIs( false );
   EXPECT_EQ( references, 2u );
   EXPECT_EQ( one->references(), 1u );
   EXPECT_FALSE( owner->port( 2 )->hasNotificationActive() );
}

TEST_F( ReactorOwnerTest, NewUnderAPresentKeyIsRefusedAndChangesNothing ) {
   owner->portIs( one );
   auto const reactor = owner->port( 1 );
   auto const another = Ryx::make< Port >( 1u );
   EXPECT_EQ(
      refusal( [ & ] { owner->newPort( another ); } ),
      "key 1 is present in Test::Supervisor::port" );
   EXPECT_EQ( owner->port( 1 ), reactor );
   EXPECT_EQ( reactor->notifier(), one );
   EXPECT_EQ( another->notifieeModifications(), 0u );
}

TEST_F( ReactorOwnerTest, NewOfANullInputIsRefusedAndChangesNothing ) {
   EXPECT_EQ(
      refusal( [ & ] { owner->newPort( nullptr ); } ),
      "null _port parameter to mutator for Test::Supervisor::port not allowed\"" );
   EXPECT_EQ(
      refusal( [ & ] { owner->newMaster( nullptr ); } ),
      "null _master parameter to mutator for Test::Supervisor::master not allowed\"" );
   EXPECT_EQ( owner->ports(), 0u );
   EXPECT_EQ( owner->masterReactor(), nullptr );
}

TEST_F( ReactorOwnerTest, TurningDeliveryToWhatItIsPassesNothingOn ) {
   owner->portIs( one );
   owner->hasNotificationActiveIs( true );
   owner->port( 1 )->hasNotificationActiveIs( false );
   owner->hasNotificationActiveIs( true );
   EXPECT_FALSE( owner->port( 1 )->hasNotificationActive() );
}

TEST_F( ReactorOwnerTest, MarkingTheOwnerMarksEveryReactor ) {
   owner->masterIs( one );
   owner->backupIs( two );
   owner->portIs( two );
   owner->ryxDoZombieReactors( true );
   EXPECT_TRUE( owner->ryxMarkedForDeletion() );
   EXPECT_TRUE( owner->masterReactor()->ryxMarkedForDeletion() );
   EXPECT_TRUE( owner->port( 2 )->ryxMarkedForDeletion() );
   EXPECT_EQ( heardOfAChange(), Calls{} );
   owner->ryxDoZombieReactors( false );
   EXPECT_FALSE( owner->ryxMarkedForDeletion() );
   EXPECT_EQ(
      heardOfAChange(),
      ( Calls{ "master port1 103", "backup port2 104", "port2 port2 104" } ) );
}

TEST_F( ReactorOwnerTest, AReactorOfAMarkedOwnerIsAZombieFromTheStart ) {
   owner->ryxDoZombieReactors( true );
   owner->masterIs( one );
   owner->portIs( two );
   EXPECT_TRUE( owner->masterReactor()->ryxMarkedForDeletion() );
   EXPECT_TRUE( owner->port( 2 )->ryxMarkedForDeletion() );
   EXPECT_EQ( heardOfAChange(), Calls{} );
   auto const another = Ryx::make< Port >( 2u );
   owner->portIs( another );
   EXPECT_TRUE( owner->port( 2 )->ryxMarkedForDeletion() );
   another->speedIs( 5 );
   EXPECT_EQ( heard(), Calls{} );
}

TEST_F( ReactorOwnerTest, ADestroyedOwnerMarksItsReactorsAndThenOrphansThem ) {
   owner->masterIs( one );
   owner->portIs( two );
   auto const master = owner->masterReactor();
   auto const port = owner->port( 2 );
   owner->beforeRelease = [ & ]( Supervisor& dying ) {
      EXPECT_TRUE( dying.ryxMarkedForDeletion() );
      EXPECT_EQ( dying.ports(), 1u );
      EXPECT_TRUE( dying.master() );
      EXPECT_EQ( master->owner(), nullptr );
      EXPECT_EQ( port->owner(), nullptr );
      EXPECT_EQ( heardOfAChange(), Calls{} );
   };
   owner = nullptr;
   for ( Ryx::PtrInterface const* reactor :
         { static_cast< Ryx::PtrInterface const* >( master.ptr() ),
           static_cast< Ryx::PtrInterface const* >( port.ptr() ) } ) {
      EXPECT_TRUE( reactor->ryxMarkedForDeletion() );
      EXPECT_EQ( reactor->references(), 1u );
   }
   port->notifierIs( one );
   port->ryxDoZombieReactors( false );
   EXPECT_EQ( heardOfAChange(), Calls{} );
}

TEST_F( ReactorOwnerTest, AReactorMadeWhileItsOwnerIsDestroyedHearsNothing ) {
   owner->beforeRelease = [ & ]( Supervisor& dying ) { dying.portIs( two ); };
   owner = nullptr;
   EXPECT_EQ( two->references(), 1u );
   EXPECT_EQ( heardOfAChange(), Calls{} );
}

} // namespace
