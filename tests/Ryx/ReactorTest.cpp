// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A reactor's own operations, and an owner's single inputs.

#include "Supervisor"

#include <gtest/gtest.h>

namespace {

using doubles::Calls;
using doubles::Port;
using doubles::refusal;
using doubles::Supervisor;
using Ryx::Ptr;

class ReactorTest : public testing::Test {
 protected:
   Calls heard() { return std::exchange( calls, {} ); }

   Calls calls;
   Ptr< Port > const one = Ryx::make< Port >( 1u );
   Ptr< Port > const two = Ryx::make< Port >( 2u );
   Ptr< Supervisor > owner = Ryx::make< Supervisor >( calls );
};

TEST_F( ReactorTest, ConstructionBindsRegistersAndRunsNoHandler ) {
   auto const reactor = owner->newMaster( one );
   EXPECT_EQ( heard(), Calls{} );
   EXPECT_EQ( reactor->references(), 1u );
   EXPECT_EQ( reactor->notifier(), one );
   EXPECT_EQ( reactor->owner(), owner.ptr() );
   EXPECT_TRUE( reactor->hasNotificationActive() );
   EXPECT_TRUE( reactor->isRegisteredNotifiee() );
   EXPECT_EQ( one->notifieeCount(), 1u );
   EXPECT_EQ( owner->master(), nullptr );
   one->speedIs( 10 );
   EXPECT_EQ( heard(), Calls{ "master port1 10" } );
}

TEST_F( ReactorTest, RePointingRunsTheHandlersOnceAndRegisters ) {
   auto const reactor = owner->newMaster( one );
   two->speedIs( 20 );
   reactor->notifierIs( two );
   EXPECT_EQ( heard(), Calls{ "master port2 20" } );
   EXPECT_TRUE( reactor->isRegisteredNotifiee() );
   EXPECT_EQ( one->notifieeCount(), 0u );
   EXPECT_EQ( two->notifieeCount(), 1u );
   one->speedIs( 11 );
   two->speedIs( 21 );
   EXPECT_EQ( heard(), Calls{ "master port2 21" } );
}

TEST_F( ReactorTest, RePointingToTheSameInputDoesNothing ) {
   auto const reactor = owner->newMaster( one );
   reactor->notifierIs( one );
   EXPECT_EQ( heard(), Calls{} );
   EXPECT_EQ( one->notifieeModifications(), 1u );
}

TEST_F( ReactorTest, RePointingToNullUnbindsWithoutAHandler ) {
   auto const reactor = owner->newMaster( one );
   reactor->notifierIs( nullptr );
   EXPECT_EQ( reactor->notifier(), nullptr );
   EXPECT_EQ( one->notifieeCount(), 0u );
   EXPECT_EQ( heard(), Calls{} );
   reactor->notifierIs( two );
   EXPECT_EQ( heard(), Calls{ "master port2 0" } );
}

TEST_F( ReactorTest, AnInputOfAnotherTypeCountsAsNull ) {
   class Other final : public Ryx::Entity {};
   auto const reactor = owner->newMaster( one );
   reactor->notifierIs( Ryx::make< Other >() );
   EXPECT_EQ( reactor->notifier(), nullptr );
   EXPECT_EQ( heard(), Calls{} );
}

TEST_F( ReactorTest, RePointingRegistersADeregisteredReactor ) {
   auto const reactor = owner->newMaster( one );
   reactor->isRegisteredNotifieeIs( false );
   reactor->notifierIs( two );
   EXPECT_TRUE( reactor->isRegisteredNotifiee() );
   EXPECT_EQ( two->notifieeCount(), 1u );
}

TEST_F( ReactorTest, AZombieRunsNoHandlerWhenItIsRePointed ) {
   auto const reactor = owner->newMaster( one );
   reactor->ryxDoZombieReactors( true );
   reactor->notifierIs( two );
   EXPECT_EQ( reactor->notifier(), two );
   EXPECT_TRUE( reactor->isRegisteredNotifiee() );
   two->speedIs( 20 );
   EXPECT_EQ( heard(), Calls{} );
}

TEST_F( ReactorTest, AZombieIsMarkedTurnedOffAndHearsNothing ) {
   auto const reactor = owner->newMaster( one );
   reactor->ryxDoZombieReactors( true );
   EXPECT_TRUE( reactor->ryxMarkedForDeletion() );
   EXPECT_FALSE( reactor->hasNotificationActive() );
   EXPECT_EQ( one->notifieeCount(), 0u );
   one->speedIs( 10 );
   reactor->onSpeed();
   EXPECT_EQ( heard(), Calls{} );
}

TEST_F( ReactorTest, ARevivedZombieHearsAgain ) {
   auto const reactor = owner->newMaster( one );
   reactor->ryxDoZombieReactors( true );
   reactor->ryxDoZombieReactors( false );
   EXPECT_FALSE( reactor->ryxMarkedForDeletion() );
   EXPECT_TRUE( reactor->hasNotificationActive() );
   one->speedIs( 10 );
   EXPECT_EQ( heard(), Calls{ "master port1 10" } );
}

TEST_F( ReactorTest, MarkingItAsItIsChangesNothing ) {
   auto const reactor = owner->newMaster( one );
   reactor->hasNotificationActiveIs( false );
   reactor->ryxDoZombieReactors( false );
   EXPECT_FALSE( reactor->hasNotificationActive() );
   reactor->hasNotificationActiveIs( true );
   reactor->ryxDoZombieReactors( true );
   reactor->hasNotificationActiveIs( true );
   reactor->ryxDoZombieReactors( true );
   EXPECT_TRUE( reactor->hasNotificationActive() );
}

TEST_F( ReactorTest, AZombieWithoutANotifierStaysActive ) {
   auto const reactor = owner->newMaster( one );
   reactor->notifierIs( nullptr );
   reactor->ryxDoZombieReactors( true );
   EXPECT_TRUE( reactor->ryxMarkedForDeletion() );
   EXPECT_TRUE( reactor->hasNotificationActive() );
}

TEST_F( ReactorTest, HasNoActivity ) {
   auto const reactor = owner->newMaster( one );
   EXPECT_EQ( reactor->activityPtr(), nullptr );
   auto const& constant = *reactor;
   EXPECT_EQ( constant.ryxFwkActivity(), nullptr );
}

// A single input of an owner.

TEST_F( ReactorTest, AnOwnerSetsAnInputWithoutRunningHandlers ) {
   owner->masterIs( one );
   EXPECT_EQ( owner->master(), one );
   EXPECT_EQ( heard(), Calls{} );
   one->speedIs( 10 );
   EXPECT_EQ( heard(), Calls{ "master port1 10" } );
}

TEST_F( ReactorTest, TheSameInputKeepsTheReactor ) {
   owner->masterIs( one );
   auto const reactor = owner->masterReactor();
   owner->masterIs( one );
   EXPECT_EQ( owner->masterReactor(), reactor );
   EXPECT_EQ( one->notifieeModifications(), 1u );
}

TEST_F( ReactorTest, AnotherInputReplacesTheReactorAndRetiresTheOldOne ) {
   owner->masterIs( one );
   auto const old = owner->masterReactor();
   owner->masterIs( two );
   EXPECT_EQ( owner->master(), two );
   EXPECT_NE( owner->masterReactor(), old );
   EXPECT_EQ( heard(), Calls{} );
   EXPECT_TRUE( old->ryxMarkedForDeletion() );
   EXPECT_FALSE( old->hasNotificationActive() );
   EXPECT_EQ( old->owner(), nullptr );
   one->speedIs( 10 );
   two->speedIs( 20 );
   EXPECT_EQ( heard(), Calls{ "master port2 20" } );
}

TEST_F( ReactorTest, ANullInputIsRefusedAndChangesNothing ) {
   owner->masterIs( one );
   EXPECT_EQ(
      refusal( [ & ] { owner->masterIs( nullptr ); } ),
      "null _master parameter to mutator for Test::Supervisor::master not allowed\"" );
   EXPECT_EQ( owner->master(), one );
}

TEST_F( ReactorTest, DeletingAnInputReturnsItAndRetiresTheReactor ) {
   owner->masterIs( one );
   auto const old = owner->masterReactor();
   EXPECT_EQ( owner->masterDel(), one );
   EXPECT_EQ( owner->master(), nullptr );
   EXPECT_EQ( owner->masterReactor(), nullptr );
   EXPECT_TRUE( old->ryxMarkedForDeletion() );
   EXPECT_EQ( old->owner(), nullptr );
   EXPECT_FALSE( old->hasNotificationActive() );
   EXPECT_EQ( owner->masterDel(), nullptr );
   one->speedIs( 10 );
   EXPECT_EQ( heard(), Calls{} );
}

TEST_F( ReactorTest, DeletingTurnsAReactorOffThatHasNoInputAnyMore ) {
   owner->masterIs( one );
   auto const old = owner->masterReactor();
   old->notifierIs( nullptr );
   EXPECT_EQ( owner->masterDel(), nullptr );
   EXPECT_TRUE( old->ryxMarkedForDeletion() );
   EXPECT_FALSE( old->hasNotificationActive() );
   EXPECT_EQ( old->owner(), nullptr );
}

TEST_F( ReactorTest, AReactorThatIsDeletedByItsOwnHandlerIsFreedAfterIt ) {
   owner->masterIs( one );
   owner->action = [ & ] { owner->masterDel(); };
   one->speedIs( 10 );
   one->speedIs( 11 );
   EXPECT_EQ( heard(), Calls{ "master port1 10" } );
   EXPECT_EQ( one->references(), 1u );
}

TEST_F( ReactorTest, AHandlerMayDropTheOwner ) {
   owner->masterIs( one );
   owner->backupIs( one );
   owner->action = [ & ] { owner = nullptr; };
   one->speedIs( 10 );
   EXPECT_EQ( heard(), Calls{ "master port1 10" } );
   EXPECT_EQ( one->notifieeCount(), 0u );
   EXPECT_EQ( one->references(), 1u );
}

} // namespace
