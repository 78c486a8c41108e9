// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What is left of the agent when one of its children cannot be made.

#include "AgentFixture"

namespace {

class AgentRefusal : public AgentTest {};

TEST_F( AgentRefusal, AMachineThatCannotBeMadeIsNotStoredAndLeavesNothingBehind ) {
   using Missing = void ( * )( MachineInputs& );
   for ( Missing missing :
         { Missing( []( MachineInputs& in ) { in.mlagConfig = nullptr; } ),
           Missing( []( MachineInputs& in ) { in.mlagStatus = nullptr; } ),
           Missing( []( MachineInputs& in ) { in.mlagProtoStatus = nullptr; } ) } ) {
      MachineInputs partial;
      missing( partial );
      EXPECT_EQ( support::refusal( [ & ] { partial.setIn( *agent ); } ), "null ValidPtr" );
      EXPECT_FALSE( agent->mlagErrdisableSm() );
      EXPECT_EQ( partial.ethPhyIntfStatus->references(), 1u );
      EXPECT_EQ( partial.ethPhyIntfStatus->notifieeCount(), 0u );
      EXPECT_EQ( partial.lacpConfig->references(), 1u );
   }
}

TEST_F( AgentRefusal, AMachineThatCannotBeMadeLeavesTheOldOneAtWork ) {
   auto const machine = setMachine();
   MachineInputs partial = inputs;
   partial.mlagConfig = nullptr;
   EXPECT_EQ( support::refusal( [ & ] { partial.setIn( *agent ); } ), "null ValidPtr" );
   EXPECT_EQ( agent->mlagErrdisableSm(), machine );
   EXPECT_TRUE( machine->hasNotificationActive() );
   EXPECT_EQ( setMachine(), machine );
}

// A directory that takes no entry.
class Refusing final : public Interface::AllIntfStatusDir {
 public:
   Refusing() : AllIntfStatusDir( "all" ) {}
   void intfStatusIs( Ptr< Interface::IntfStatus > const& ) override {
      Ryx::throwRangeException( "refused" );
   }
};

TEST_F( AgentRefusal, AReactorWithNothingToCopyNeedsNoDirectoriesYet ) {
   dirs.eth = nullptr;
   dirs.all = nullptr;
   auto const ofNone = setReactor();
   EXPECT_EQ( ofNone->notifier(), dirs.peer );
   dirs.peer = nullptr;
   EXPECT_EQ( setReactor(), ofNone );
   dirs.all = Ryx::make< Interface::AllIntfStatusDir >( "all" );
   EXPECT_NE( setReactor(), ofNone );
}

TEST_F( AgentRefusal, AReactorThatCannotBeMadeIsNotStored ) {
   dirs.peerIs( "PeerEthernet1" );
   auto const all = dirs.all;
   dirs.all = Ryx::make< Refusing >();
   EXPECT_EQ( support::refusal( [ & ] { setReactor(); } ), "refused" );
   EXPECT_FALSE( agent->ethPeerIntfStatusReactor() );
   dirs.all = all;
   auto const reactor = setReactor();
   dirs.all = Ryx::make< Refusing >();
   EXPECT_EQ( support::refusal( [ & ] { setReactor(); } ), "refused" );
   EXPECT_EQ( agent->ethPeerIntfStatusReactor(), reactor );
   EXPECT_TRUE( reactor->hasNotificationActive() );
   EXPECT_TRUE( reactor->isRegisteredNotifiee() );
}

TEST_F( AgentRefusal, AReactorThatIsSwitchedOffStaysOffWhenAnotherCannotBeMade ) {
   auto const reactor = setReactor();
   auto const peer =
      std::exchange( dirs.peer, Ryx::make< Interface::PeerIntfStatusDir >( "other" ) );
   dirs.peerIs( "PeerEthernet1" );
   reactor->hasNotificationActiveIs( false );
   dirs.all = Ryx::make< Refusing >();
   EXPECT_EQ( support::refusal( [ & ] { setReactor(); } ), "refused" );
   EXPECT_EQ( reactor->notifier(), peer );
   EXPECT_FALSE( reactor->hasNotificationActive() );
   EXPECT_FALSE( reactor->isRegisteredNotifiee() );
   EXPECT_EQ( peer->notifieeCount(), 0u );
   reactor->hasNotificationActiveIs( true );
   EXPECT_EQ( peer->notifieeCount(), 1u );
}

// Calls `action` for every status that is written.
class EthObserver final : public Interface::EthIntfStatusDir::NotifieeConst {
 public:
   using NotifieeConst::onIntfStatus;
   void onIntfStatus( IntfId ) override { action(); }
   std::function< void() > action;
};

TEST_F( AgentRefusal, AReactorThatIsRemovedWhileAnotherCannotBeMadeStaysOff ) {
   auto const reactor = setReactor();
   auto const oldPeer =
      std::exchange( dirs.peer, Ryx::make< Interface::PeerIntfStatusDir >( "other" ) );
   dirs.peerIs( "PeerEthernet1" );
   dirs.eth = Ryx::make< Interface::EthIntfStatusDir >( "eth2" );
   dirs.all = Ryx::make< Refusing >();
   auto const observer = Ryx::make< EthObserver >();
   observer->action = [ & ] { agent->ethPeerIntfStatusReactorDel(); };
   observer->notifierIs( dirs.eth );
   observer->isRegisteredNotifieeIs( true );
   EXPECT_EQ( support::refusal( [ & ] { setReactor(); } ), "refused" );
   EXPECT_FALSE( agent->ethPeerIntfStatusReactor() );
   EXPECT_FALSE( reactor->isRegisteredNotifiee() );
   EXPECT_EQ( oldPeer->notifieeCount(), 0u );
}

// Sets another reactor, once, when it hears of a peer status before the present one does.
class PeerObserver final : public Interface::PeerIntfStatusDir::NotifieeConst {
 public:
   using NotifieeConst::onIntfStatus;
   void onIntfStatus( IntfId ) override {
      if ( auto const once = std::exchange( action, nullptr ) ) {
         once();
      }
   }
   std::function< void() > action;
};

TEST_F( AgentRefusal, AReplacementThatIsRefusedWithinADeliveryLeavesThePresentOneItsTurn ) {
   auto const observer = Ryx::make< PeerObserver >();
   observer->notifierIs( dirs.peer );
   observer->isRegisteredNotifieeIs( true );
   auto const reactor = setReactor();
   auto const old = dirs;
   observer->action = [ & ] {
      for ( bool const lacksEth : { true, false } ) {
         dirs.peer = Ryx::make< Interface::PeerIntfStatusDir >( "other" );
         dirs.peerIs( "PeerEthernet9" );
         if ( lacksEth ) {
            dirs.eth = nullptr;
         } else {
            dirs.all = nullptr;
         }
         EXPECT_EQ( support::refusal( [ & ] { setReactor(); } ), "null ValidPtr" );
         dirs = old;
      }
   };
   auto const status = dirs.peerIs( "PeerEthernet1" );
   EXPECT_FALSE( observer->action );
   EXPECT_EQ( agent->ethPeerIntfStatusReactor(), reactor );
   EXPECT_EQ( dirs.eth->intfStatus( IntfId( "PeerEthernet1" ) ), status );
   EXPECT_EQ( dirs.all->intfStatus( IntfId( "PeerEthernet1" ) ), status );
   EXPECT_FALSE( dirs.eth->intfStatus( IntfId( "PeerEthernet9" ) ) );
}

} // namespace
