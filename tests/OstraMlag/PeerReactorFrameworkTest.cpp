// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The peer interface status reactor as a notifiee: binding, switching, marking, deferred
// delivery, and where its virtual operations stand.

#include <OstraMlag/Inputs>
#include <support/Slots>

#include <Ryx/Activity>
#include <gtest/gtest.h>

namespace {

using OstraMlag::EthPeerIntfStatusReactor;
using Reactor = EthPeerIntfStatusReactor;

TEST( PeerReactorSlots, VirtualOperationsStandInTheirOrder ) {
   using Id = Ryx::AttributeId;
   using Activity = Ryx::ActivityConfig;
   // Behind the two entries of the destructor.
   EXPECT_EQ(
      support::slotsOf(
         &Reactor::hasNotificationActiveIs,
         &Reactor::ryxAuditErrors,
         &Reactor::auditErrors,
         &Reactor::isNondestructingIs,
         &Reactor::zeroReferencesIs,
         &Reactor::fwkType ),
      support::slotsFrom( 0, 6 ) );
   EXPECT_EQ(
      support::slotsOf(
         &Reactor::ryxReactor,
         &Reactor::ryxRawReactor,
         &Reactor::isStreamAdapter,
         &Reactor::isRegisteredNotifieeIs,
         &Reactor::ryx_bitSetIs,
         &Reactor::name,
         &Reactor::notifierIs,
         &Reactor::handleNotification,
         &Reactor::handleDefault,
         &Reactor::onAttribute,
         &Reactor::onNotification,
         &Reactor::onCollectionNotification,
         static_cast< void ( Reactor::* )() >( &Reactor::onNotificationException ),
         static_cast< void ( Reactor::* )( Id ) >( &Reactor::onNotificationException ),
         static_cast< void ( Reactor::* )( Id ) >( &Reactor::handleNotificationException ),
         static_cast< void ( Reactor::* )() >( &Reactor::handleNotificationException ),
         &Reactor::onZeroReferences,
         &Reactor::activityPtr,
         static_cast< Activity* (Reactor::*)() >( &Reactor::ryxFwkActivity ),
         static_cast< Activity const* (Reactor::*)() const >( &Reactor::ryxFwkActivity ),
         &Reactor::actsm,
         &Reactor::onParent,
         &Reactor::onVersion,
         &Reactor::onIsNondestructing,
         &Reactor::onGenIdMarker,
         &Reactor::onCounterDirPath,
         static_cast< void ( Reactor::* )( IntfId ) >( &Reactor::onIntfStatus ),
         &Reactor::onIntfStatusryxImmediate,
         static_cast< void ( Reactor::* )() >( &Reactor::onIntfStatus ),
         &Reactor::ryxDoZombieReactors ),
      support::slotsFrom( 8, 30 ) );
}

TEST( PeerReactorNotifier, TheCurrentOneAgainChangesNothing ) {
   Directories const dirs;
   auto const reactor = dirs.makeReactor();
   auto const modifications = dirs.peer->notifieeModifications();
   reactor->notifierIs( dirs.peer );
   EXPECT_EQ( dirs.peer->notifieeModifications(), modifications );
   reactor->isRegisteredNotifieeIs( false );
   reactor->notifierIs( dirs.peer );
   EXPECT_FALSE( reactor->isRegisteredNotifiee() );
}

TEST( PeerReactorNotifier, AnotherOneRegistersTheReactor ) {
   Directories const dirs;
   auto const reactor = dirs.makeReactor();
   auto const other = Ryx::make< Interface::PeerIntfStatusDir >( "other" );
   reactor->isRegisteredNotifieeIs( false );
   reactor->notifierIs( other );
   EXPECT_TRUE( reactor->isRegisteredNotifiee() );
   EXPECT_EQ( other->notifieeCount(), 1u );
   EXPECT_EQ( dirs.peer->references(), 1u );
}

TEST( PeerReactorNotifier, AnotherTypeCountsAsNull ) {
   Directories const dirs;
   auto const reactor = dirs.makeReactor();
   reactor->notifierIs( dirs.eth );
   EXPECT_FALSE( reactor->notifier() );
   EXPECT_FALSE( reactor->ethPeerStatusDir() );
   EXPECT_EQ( dirs.eth->notifieeCount(), 0u );
   EXPECT_TRUE( reactor->isRegisteredNotifiee() );
   reactor->notifierIs( dirs.peer );
   EXPECT_EQ( dirs.peer->notifieeCount(), 1u );
}

// Writes down the calls that come through its virtual slots.
class Recording final : public EthPeerIntfStatusReactor {
 public:
   using EthPeerIntfStatusReactor::EthPeerIntfStatusReactor;
   void notifierIs( Ptr< Ryx::PtrInterface const > const& notifier ) override {
      calls.push_back( notifier ? "notifierIs" : "notifierIs null" );
      EthPeerIntfStatusReactor::notifierIs( notifier );
   }
   void handleDefault( Ryx::ActivityConfig* with, Ryx::AttributeId id, bool all ) override {
      calls.push_back(
         "default " + std::to_string( id ) + ( all ? " all" : "" ) +
         ( with == activity ? "" : " of another activity" ) );
   }
   void hasNotificationActiveIs( bool active ) override {
      calls.push_back( active ? "active" : "inactive" );
      EthPeerIntfStatusReactor::hasNotificationActiveIs( active );
   }
   Ryx::ActivityConfig* ryxFwkActivity() override { return activity; }
   Ryx::ActivityConfig const* ryxFwkActivity() const override { return activity; }

   Calls calls;
   Ryx::ActivityConfig* activity = nullptr;
};

Ptr< Recording >
makeRecording( Directories const& dirs ) {
   return Ryx::make< Recording >( dirs.peer, dirs.eth, dirs.all );
}

TEST( PeerReactorNotifier, EthPeerStatusDirIsGoesThroughTheVirtualSlot ) {
   Directories const dirs;
   auto const reactor = makeRecording( dirs );
   auto const other = Ryx::make< Interface::PeerIntfStatusDir >( "other" );
   reactor->ethPeerStatusDirIs( other );
   EXPECT_EQ( reactor->notifier(), other );
   reactor->ethPeerStatusDirIs( nullptr );
   EXPECT_FALSE( reactor->notifier() );
   EXPECT_EQ( reactor->calls, ( Calls{ "notifierIs", "notifierIs null" } ) );
}

TEST( PeerReactorActivity, HasNoneSoChangesAreHandledAtOnce ) {
   Directories const dirs;
   auto const reactor = dirs.makeReactor();
   EXPECT_EQ( reactor->ryxFwkActivity(), nullptr );
   Reactor const& constReactor = *reactor;
   EXPECT_EQ( constReactor.ryxFwkActivity(), nullptr );
   EXPECT_FALSE( reactor->activityPtr() );
}

TEST( PeerReactorActivity, HandleNotificationTakesThePendingIdAndHandsItOn ) {
   Directories const dirs;
   auto const activity = Ryx::make< Ryx::ActivityConfig >();
   auto const reactor = makeRecording( dirs );
   reactor->activity = activity.ptr();
   reactor->isRegisteredNotifieeIs( false );
   reactor->isRegisteredNotifieeIs( true );
   dirs.peerIs( "PeerEthernet1" );
   Ryx::AttributeId const id = reactor->pendingAttributeId();
   EXPECT_NE( id, 0u );
   reactor->handleNotification( activity.ptr() );
   EXPECT_EQ( reactor->pendingAttributeId(), 0u );
   EXPECT_EQ( reactor->calls, Calls{ "default " + std::to_string( id ) } );
   reactor->handleNotification( activity.ptr() );
   EXPECT_EQ( reactor->calls.back(), "default 0" );
}

TEST( PeerReactorActivity, APendingIdWithEveryBitSetMeansAllAttributes ) {
   Directories const dirs;
   auto const activity = Ryx::make< Ryx::ActivityConfig >();
   auto const reactor = makeRecording( dirs );
   reactor->activity = activity.ptr();
   reactor->isRegisteredNotifieeIs( false );
   reactor->isRegisteredNotifieeIs( true );
   dirs.peerIs( "PeerEthernet1" );
   dirs.peer->isNondestructingIs( true );
   dirs.peer->isNondestructingIs( false );
   EXPECT_EQ( reactor->pendingAttributeId(), 0xffffffffu );
   reactor->handleNotification( activity.ptr() );
   EXPECT_EQ( reactor->calls, Calls{ "default 4294967295 all" } );
   EXPECT_EQ( reactor->pendingAttributeId(), 0u );
}

TEST( PeerReactorDelivery, TurnedOffUnregistersAndTurnedOnRegistersAgain ) {
   Directories const dirs;
   auto const reactor = dirs.makeReactor();
   reactor->hasNotificationActiveIs( false );
   EXPECT_FALSE( reactor->hasNotificationActive() );
   EXPECT_FALSE( reactor->isRegisteredNotifiee() );
   EXPECT_EQ( dirs.peer->notifieeCount(), 0u );
   dirs.peerIs( "PeerEthernet1" );
   EXPECT_EQ( dirs.having( "PeerEthernet1" ), Calls() );
   reactor->hasNotificationActiveIs( true );
   EXPECT_TRUE( reactor->isRegisteredNotifiee() );
   dirs.peerIs( "PeerEthernet2" );
   EXPECT_EQ( dirs.having( "PeerEthernet2" ), ( Calls{ "eth", "all" } ) );
}

TEST( PeerReactorDelivery, TurnedOnDoesNotRegisterWhatWasNotRegistered ) {
   Directories const dirs;
   auto const reactor = dirs.makeReactor();
   reactor->isRegisteredNotifieeIs( false );
   reactor->hasNotificationActiveIs( false );
   reactor->hasNotificationActiveIs( true );
   EXPECT_TRUE( reactor->hasNotificationActive() );
   EXPECT_FALSE( reactor->isRegisteredNotifiee() );
}

TEST( PeerReactorDelivery, TheCurrentSettingAgainDoesNothing ) {
   Directories const dirs;
   auto const reactor = dirs.makeReactor();
   auto const modifications = dirs.peer->notifieeModifications();
   reactor->hasNotificationActiveIs( true );
   EXPECT_EQ( dirs.peer->notifieeModifications(), modifications );
   reactor->hasNotificationActiveIs( false );
   reactor->isRegisteredNotifieeIs( true );
   reactor->hasNotificationActiveIs( false );
   EXPECT_TRUE( reactor->isRegisteredNotifiee() );
}

TEST( PeerReactorZombie, MarkingTurnsDeliveryOffAndRevivingTurnsItOn ) {
   Directories const dirs;
   auto const reactor = makeRecording( dirs );
   reactor->ryxDoZombieReactors( true );
   EXPECT_TRUE( reactor->ryxMarkedForDeletion() );
   EXPECT_FALSE( reactor->hasNotificationActive() );
   EXPECT_EQ( dirs.peer->notifieeCount(), 0u );
   reactor->ryxDoZombieReactors( false );
   EXPECT_FALSE( reactor->ryxMarkedForDeletion() );
   EXPECT_TRUE( reactor->hasNotificationActive() );
   EXPECT_EQ( dirs.peer->notifieeCount(), 1u );
   EXPECT_EQ( reactor->calls, ( Calls{ "inactive", "active" } ) );
}

TEST( PeerReactorZombie, TheCurrentMarkAgainDoesNothing ) {
   Directories const dirs;
   auto const reactor = makeRecording( dirs );
   reactor->ryxDoZombieReactors( false );
   EXPECT_EQ( reactor->calls, Calls() );
   reactor->ryxDoZombieReactors( true );
   reactor->ryxDoZombieReactors( true );
   EXPECT_EQ( reactor->calls, Calls{ "inactive" } );
}

TEST( PeerReactorZombie, WithoutANotifierDeliveryKeepsItsSetting ) {
   Directories dirs;
   dirs.peer = nullptr;
   auto const reactor = makeRecording( dirs );
   reactor->ryxDoZombieReactors( true );
   EXPECT_TRUE( reactor->ryxMarkedForDeletion() );
   EXPECT_TRUE( reactor->hasNotificationActive() );
   EXPECT_EQ( reactor->calls, Calls() );
}

} // namespace
