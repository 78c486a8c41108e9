// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// How the agent makes, keeps, replaces and removes its children.

#include "AgentFixture"

namespace {

TEST_F( AgentTest, TheFactoryMakesANamedAgentWithoutChildrenAndParent ) {
   EXPECT_EQ( agent->name(), Ryx::Name( "agent" ) );
   EXPECT_FALSE( agent->ethPeerIntfStatusReactor() );
   EXPECT_FALSE( agent->mlagErrdisableSm() );
   EXPECT_FALSE( agent->parent() );
   EXPECT_EQ( agent->references(), 1u );
   EXPECT_NE( OstraMlag::agentFactory( "agent" ), agent );
   EXPECT_EQ( Agent::AgentIs( "other" )->name(), Ryx::Name( "other" ) );
}

TEST_F( AgentTest, NamesItsAttributes ) {
   EXPECT_EQ( agent->attributeString( 258 ), "ethPeerIntfStatusReactor" );
   EXPECT_EQ( agent->attributeString( 259 ), "mlagErrdisableSm" );
   EXPECT_EQ( agent->attributeString( 6 ), "isNondestructing" );
   EXPECT_EQ( agent->attributeString( 260 ), "unknown" );
   EXPECT_EQ( agent->attributeString( 0 ), "unknown" );
}

TEST_F( AgentTest, SettingAReactorStoresAnActiveOne ) {
   dirs.peerIs( "PeerEthernet1" );
   auto const reactor = setReactor();
   EXPECT_EQ( agent->ethPeerIntfStatusReactor(), reactor );
   EXPECT_TRUE( reactor->hasNotificationActive() );
   EXPECT_TRUE( reactor->isRegisteredNotifiee() );
   EXPECT_EQ( dirs.having( "PeerEthernet1" ), ( Calls{ "eth", "all" } ) );
}

TEST_F( AgentTest, SettingTheSameThreeDirectoriesKeepsTheReactor ) {
   auto const reactor = setReactor();
   auto const modifications = dirs.peer->notifieeModifications();
   EXPECT_EQ( setReactor(), reactor );
   EXPECT_EQ( agent->ethPeerIntfStatusReactor(), reactor );
   EXPECT_EQ( dirs.peer->notifieeModifications(), modifications );
}

TEST_F( AgentTest, AnotherPeerDirectoryKeepsTheReactorAndRePointsItWithoutCopying ) {
   auto const reactor = setReactor();
   dirs.peer = Ryx::make< Interface::PeerIntfStatusDir >( "other" );
   dirs.peerIs( "PeerEthernet1" );
   EXPECT_EQ( setReactor(), reactor );
   EXPECT_EQ( reactor->notifier(), dirs.peer );
   EXPECT_EQ( dirs.having( "PeerEthernet1" ), Calls() );
   dirs.peerIs( "PeerEthernet2" );
   EXPECT_EQ( dirs.having( "PeerEthernet2" ), ( Calls{ "eth", "all" } ) );
}

TEST_F( AgentTest, AnotherLocalDirectoryMakesANewReactorThatCopiesEverything ) {
   dirs.peerIs( "PeerEthernet1" );
   auto reactor = setReactor();
   dirs.eth = Ryx::make< Interface::EthIntfStatusDir >( "eth2" );
   auto next = setReactor();
   EXPECT_NE( next, reactor );
   EXPECT_EQ( agent->ethPeerIntfStatusReactor(), next );
   EXPECT_EQ( dirs.having( "PeerEthernet1" ), ( Calls{ "eth", "all" } ) );
   reactor = next;
   dirs.all = Ryx::make< Interface::AllIntfStatusDir >( "all2" );
   next = setReactor();
   EXPECT_NE( next, reactor );
   EXPECT_EQ( dirs.having( "PeerEthernet1" ), ( Calls{ "eth", "all" } ) );
   EXPECT_EQ( next->allIntfStatusDir(), dirs.all );
}

TEST_F( AgentTest, TheReplacedReactorIsReleasedButNotSwitchedOff ) {
   auto const reactor = setReactor();
   auto const oldPeer = dirs.peer;
   dirs.peer = Ryx::make< Interface::PeerIntfStatusDir >( "other" );
   dirs.eth = Ryx::make< Interface::EthIntfStatusDir >( "eth2" );
   setReactor();
   EXPECT_EQ( reactor->references(), 1u );
   EXPECT_TRUE( reactor->hasNotificationActive() );
   EXPECT_FALSE( reactor->ryxMarkedForDeletion() );
   // It was re-pointed before it was replaced.
   EXPECT_EQ( reactor->notifier(), dirs.peer );
   EXPECT_EQ( oldPeer->notifieeCount(), 0u );
}

TEST_F( AgentTest, AReactorThatIsTakenAwayWhileTheOldOneGoesStaysOff ) {
   DestructionLog log(
      [ & ]( std::string const& ) { agent->ethPeerIntfStatusReactorDel(); } );
   agent->ethPeerIntfStatusReactorIs(
      dirs.peer, log.make< Interface::EthIntfStatusDir >( "old" ), dirs.all );
   auto const reactor = setReactor();
   EXPECT_FALSE( agent->ethPeerIntfStatusReactor() );
   EXPECT_FALSE( reactor->hasNotificationActive() );
}

TEST_F( AgentTest, TheReactorIsSwitchedOnOnceItIsStored ) {
   DestructionLog log( [ & ]( std::string const& ) {
      agent->ethPeerIntfStatusReactor()->hasNotificationActiveIs( false );
   } );
   agent->ethPeerIntfStatusReactorIs(
      dirs.peer, log.make< Interface::EthIntfStatusDir >( "old" ), dirs.all );
   EXPECT_TRUE( setReactor()->hasNotificationActive() );
   EXPECT_EQ( log.take(), Calls{ "old gone" } );
}

TEST_F( AgentTest, WhatHearsOfTheOldDirectorysEndMayRemoveTheOldReactor ) {
   DestructionLog log(
      [ & ]( std::string const& ) { agent->ethPeerIntfStatusReactorDel(); } );
   agent->ethPeerIntfStatusReactorIs(
      log.make< Interface::PeerIntfStatusDir >( "old" ), dirs.eth, dirs.all );
   dirs.eth = Ryx::make< Interface::EthIntfStatusDir >( "eth2" );
   auto const reactor = setReactor();
   EXPECT_EQ( log.take(), Calls{ "old gone" } );
   EXPECT_EQ( agent->ethPeerIntfStatusReactor(), reactor );
   EXPECT_TRUE( reactor->hasNotificationActive() );
}

template< class... Input >
concept MakesMachine = requires( Agent& agent, Input const&... input ) {
   agent.newMlagErrdisableSm( input... );
};

TEST_F( AgentTest, AMachineIsMadeOfItsElevenInputsOnly ) {
   auto const isMachineMadeOf = []< class... Input >( Input const&... ) {
      return MakesMachine< Input... >;
   };
   EXPECT_TRUE( inputs.apply( isMachineMadeOf ) );
   EXPECT_FALSE( MakesMachine<> );
   EXPECT_FALSE( (MakesMachine< int, int, int, int, int, int, int, int, int, int, int >));
}

TEST_F( AgentTest, NewReactorsAndMachinesAreActiveAndNotStored ) {
   auto const reactor = agent->newEthPeerIntfStatusReactor( dirs.peer, dirs.eth, dirs.all );
   EXPECT_TRUE( reactor->hasNotificationActive() );
   EXPECT_EQ( reactor->references(), 1u );
   EXPECT_FALSE( agent->ethPeerIntfStatusReactor() );
   auto const machine = inputs.apply(
      [ & ]( auto const&... input ) { return agent->newMlagErrdisableSm( input... ); } );
   EXPECT_TRUE( machine->hasNotificationActive() );
   EXPECT_EQ( machine->references(), 1u );
   EXPECT_FALSE( agent->mlagErrdisableSm() );
}

TEST_F( AgentTest, SettingAMachineStoresAnActiveOneWithItsInputs ) {
   auto const machine = setMachine();
   EXPECT_EQ( agent->mlagErrdisableSm(), machine );
   EXPECT_TRUE( machine->hasNotificationActive() );
   EXPECT_TRUE( machine->initialized() );
   EXPECT_EQ( machine->mlagConfig(), inputs.mlagConfig );
   EXPECT_EQ( machine->mlagStatus(), inputs.mlagStatus );
   EXPECT_EQ( machine->ethPhyIntfStatus(), inputs.ethPhyIntfStatus );
   EXPECT_EQ( machine->ethPhyIntfConfig(), inputs.ethPhyIntfConfig );
   EXPECT_EQ( machine->lagInputIntfStatus(), inputs.lagInputIntfStatus );
   EXPECT_EQ( machine->lacpOverride(), inputs.lacpOverride );
   EXPECT_EQ( machine->mlagissuCause(), inputs.mlagissuCause );
   EXPECT_EQ( machine->igmpsnoopingConfig(), inputs.igmpsnoopingConfig );
   EXPECT_EQ( machine->mlagProtoStatus(), inputs.mlagProtoStatus );
   EXPECT_EQ( machine->lagInputConfig(), inputs.lagInputConfig );
   EXPECT_EQ( machine->lacpConfig(), inputs.lacpConfig );
}

TEST_F( AgentTest, SettingTheSameElevenInputsKeepsTheMachine ) {
   auto const machine = setMachine();
   EXPECT_EQ( setMachine(), machine );
   EXPECT_EQ( agent->mlagErrdisableSm(), machine );
}

// Replaces one of the inputs by another object and expects another machine, which keeps
// that object; then the same inputs again keep it.
template< auto input >
void
expectAnotherMachine( Agent& agent, MachineInputs& inputs ) {
   using Input = typename std::remove_reference_t< decltype( inputs.*input ) >::Element;
   auto const before = inputs.setIn( agent );
   inputs.*input = MachineInputs::made< Input >();
   auto const after = inputs.setIn( agent );
   EXPECT_NE( after, before ) << Input::fwkTypeName;
   EXPECT_EQ( agent.mlagErrdisableSm(), after );
   EXPECT_EQ( inputs.setIn( agent ), after );
   // Released, not switched off.
   EXPECT_EQ( before->references(), 1u );
   EXPECT_TRUE( before->hasNotificationActive() );
}

TEST_F( AgentTest, EachInputThatChangesMakesANewMachine ) {
   expectAnotherMachine< &MachineInputs::mlagConfig >( *agent, inputs );
   expectAnotherMachine< &MachineInputs::mlagStatus >( *agent, inputs );
   expectAnotherMachine< &MachineInputs::ethPhyIntfStatus >( *agent, inputs );
   expectAnotherMachine< &MachineInputs::ethPhyIntfConfig >( *agent, inputs );
   expectAnotherMachine< &MachineInputs::lagInputIntfStatus >( *agent, inputs );
   expectAnotherMachine< &MachineInputs::lacpOverride >( *agent, inputs );
   expectAnotherMachine< &MachineInputs::mlagissuCause >( *agent, inputs );
   expectAnotherMachine< &MachineInputs::igmpsnoopingConfig >( *agent, inputs );
   expectAnotherMachine< &MachineInputs::mlagProtoStatus >( *agent, inputs );
   expectAnotherMachine< &MachineInputs::lagInputConfig >( *agent, inputs );
   expectAnotherMachine< &MachineInputs::lacpConfig >( *agent, inputs );
}

TEST_F( AgentTest, AMissingReactorOfTheMachineCountsAsANullInput ) {
   inputs.lacpOverride = nullptr;
   inputs.lagInputIntfStatus = nullptr;
   auto const machine = setMachine();
   EXPECT_EQ( setMachine(), machine );
   inputs.lacpOverride = MachineInputs::made< Lag::Input::LacpOverrideDir >();
   auto const next = setMachine();
   EXPECT_NE( next, machine );
   next->lacpOverrideDel();
   EXPECT_NE( setMachine(), next );
}

TEST_F( AgentTest, TheMachineIsSwitchedOnOnceItIsStored ) {
   DestructionLog log( [ & ]( std::string const& ) {
      agent->mlagErrdisableSm()->hasNotificationActiveIs( false );
   } );
   auto const cause =
      std::exchange( inputs.mlagissuCause, log.make< Errdisable::CauseStatus >( "cause" ) );
   setMachine();
   inputs.mlagissuCause = cause;
   EXPECT_TRUE( setMachine()->hasNotificationActive() );
   EXPECT_EQ( log.take(), Calls{ "cause gone" } );
}

TEST_F( AgentTest, AMachineThatIsRemovedAsTheOneBeforeItGoesStaysSwitchedOff ) {
   DestructionLog log( [ & ]( std::string const& ) { agent->mlagErrdisableSmDel(); } );
   auto const cause =
      std::exchange( inputs.mlagissuCause, log.make< Errdisable::CauseStatus >( "cause" ) );
   setMachine();
   inputs.mlagissuCause = cause;
   EXPECT_FALSE( setMachine()->hasNotificationActive() );
   EXPECT_FALSE( agent->mlagErrdisableSm() );
}

TEST_F( AgentTest, DeletingAChildThatWasNeverSetReturnsNullAndChangesNothing ) {
   EXPECT_FALSE( agent->ethPeerIntfStatusReactorDel() );
   EXPECT_FALSE( agent->mlagErrdisableSmDel() );
   auto const machine = setMachine();
   EXPECT_FALSE( agent->ethPeerIntfStatusReactorDel() );
   EXPECT_EQ( agent->mlagErrdisableSm(), machine );
   EXPECT_TRUE( machine->hasNotificationActive() );
}

TEST_F( AgentTest, ADeletedReactorIsReturnedSwitchedOff ) {
   auto const reactor = setReactor();
   EXPECT_EQ( agent->ethPeerIntfStatusReactorDel(), reactor );
   EXPECT_FALSE( agent->ethPeerIntfStatusReactor() );
   EXPECT_FALSE( reactor->hasNotificationActive() );
   EXPECT_FALSE( reactor->ryxMarkedForDeletion() );
   EXPECT_EQ( reactor->references(), 1u );
   dirs.peerIs( "PeerEthernet1" );
   EXPECT_EQ( dirs.having( "PeerEthernet1" ), Calls() );
   EXPECT_NE( setReactor(), reactor );
}

TEST_F( AgentTest, ADeletedMachineIsReturnedSwitchedOff ) {
   auto const machine = setMachine();
   EXPECT_EQ( agent->mlagErrdisableSmDel(), machine );
   EXPECT_FALSE( agent->mlagErrdisableSm() );
   EXPECT_FALSE( machine->hasNotificationActive() );
   EXPECT_EQ( machine->references(), 1u );
   EXPECT_EQ( inputs.mlagConfig->notifieeCount(), 0u );
   EXPECT_EQ( inputs.mlagStatus->notifieeCount(), 0u );
}

TEST_F( AgentTest, DestroyedSwitchesTheReactorOffBeforeTheMachine ) {
   auto const machine = setMachine();
   Calls seen;
   // The reactor's directories go with it: by then it was switched off.
   DestructionLog log( [ & ]( std::string const& name ) {
      seen.push_back( name + ( machine->hasNotificationActive() ? ": on" : ": off" ) );
   } );
   agent->ethPeerIntfStatusReactorIs(
      dirs.peer, log.make< Interface::EthIntfStatusDir >( "eth" ), dirs.all );
   agent = nullptr;
   EXPECT_EQ( seen, Calls{ "eth: on" } );
   EXPECT_FALSE( machine->hasNotificationActive() );
}

TEST_F( AgentTest, DestroyedSwitchesOffChildrenThatOthersHold ) {
   auto const reactor = setReactor();
   auto const machine = setMachine();
   agent = nullptr;
   EXPECT_FALSE( reactor->hasNotificationActive() );
   EXPECT_FALSE( machine->hasNotificationActive() );
   EXPECT_EQ( reactor->references(), 1u );
   EXPECT_EQ( machine->references(), 1u );
   dirs.peerIs( "PeerEthernet1" );
   EXPECT_EQ( dirs.having( "PeerEthernet1" ), Calls() );
}

// Asks, once, when it hears of the first copy.
class CopyObserver final : public Interface::EthIntfStatusDir::NotifieeConst {
 public:
   using NotifieeConst::onIntfStatus;
   void onIntfStatus( IntfId ) override { action(); }
   std::function< void() > action;
};

TEST_F( AgentTest, ThePresentReactorIsRepointedBeforeAnotherIsMade ) {
   auto const reactor = setReactor();
   dirs.peer = Ryx::make< Interface::PeerIntfStatusDir >( "other" );
   dirs.peerIs( "PeerEthernet9" );
   dirs.eth = Ryx::make< Interface::EthIntfStatusDir >( "otherEth" );
   auto const observer = Ryx::make< CopyObserver >();
   observer->notifierIs( dirs.eth );
   observer->isRegisteredNotifieeIs( true );
   Ptr< Interface::PeerIntfStatusDir const > watched;
   observer->action = [ & ] {
      EXPECT_EQ( agent->ethPeerIntfStatusReactor(), reactor );
      watched = reactor->notifier();
   };
   EXPECT_NE( setReactor(), reactor );
   EXPECT_EQ( watched, dirs.peer );
}

// Hears of the agent itself.
class AgentObserver final : public Agent::NotifieeConst {
 public:
   void onIsNondestructing() override { ++heard; }
   unsigned heard = 0;
};

TEST_F( AgentTest, IsNondestructingIsForwardedToTheFramework ) {
   auto const observer = Ryx::make< AgentObserver >();
   observer->notifierIs( agent );
   observer->isRegisteredNotifieeIs( true );
   agent->isNondestructingIs( true );
   agent->isNondestructingIs( true );
   EXPECT_TRUE( agent->isNondestructing() );
   EXPECT_EQ( observer->heard, 1u );
   agent->isNondestructingIs( false );
   EXPECT_EQ( observer->heard, 2u );
   EXPECT_FALSE( agent->isNondestructing() );
}

} // namespace
