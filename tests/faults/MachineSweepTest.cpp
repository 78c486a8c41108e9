// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Out of memory in the plug-in's own operations, one allocation at a time.

#include "Sweep"

#include <Mlag/MlagErrdisableSm>
#include <Mlag/SmReactors>
#include <OstraMlag/EthPeerIntfStatusReactor>
#include <OstraMlag/OstraMlag>
#include <support/ByName>
#include <support/MachineInputs>
#include <support/SimulatedTime>

namespace faults {

namespace {

using Kovel::IntfId;
using Mlag::Ostra::MlagErrdisableSm;
using Ryx::Ptr;
using support::SimulatedTime;

// A switch with a port in an MLAG port-channel, and all that a machine needs to hold it.
struct Switch : support::MachineInputs {
   Switch() {
      mlagissuCause = Ryx::make< Errdisable::CauseStatus >( longText );
      auto const lag = Ryx::make< Interface::EthLagIntfConfig >( portChannel );
      mlagConfig->enabledIs( true );
      mlagConfig->domainIdIs( "pod1" );
      mlagConfig->localInterfaceIs(
         Ryx::make< Interface::VlanIntfConfig >( IntfId( "Vlan4094" ) ) );
      mlagConfig->peerAddressIs( Kovel::IpAddr( "10.255.255.2" ) );
      mlagConfig->peerLinkIntfIs(
         Ryx::make< Interface::EthLagIntfConfig >( IntfId( "Port-Channel1000" ) ) );
      mlagConfig->intfConfigIs( portChannel, { longText } );
      mlagConfig->reloadDelayIs( 300 );
      mlagConfig->lacpStandbyIs( true );
      mlagStatus->mlagStateIs( Mlag::MlagState::mlagSecondary );
      mlagStatus->systemIdIs( Kovel::EthAddr( "02:00:00:00:10:01" ) );
      mlagProtoStatus->holdInSecondaryIs( true );
      ethPhyIntfStatus->intfStatusIs( Ryx::make< Interface::EthPhyIntfStatus >( port ) );
      config->adminEnabledStateLocalIs( Interface::IntfEnabledState::enabled );
      ethPhyIntfConfig->intfConfigIs( config );
      auto const member = Ryx::make< Lag::EthPhyIntfLagConfig >( port );
      member->lagIs( lag );
      member->modeIs( Lag::LacpMode::lacpActive );
      lagInputConfig->phyIntfIs( member );
      lagInputIntfStatus->intfStatusIs( lagStatus );
      lacpConfig->portChannelIs( lacp );
   }

   // The outputs.
   std::string state() const {
      return std::string( mlagissuCause->intfStatusHas( port ) ? "held " : "" ) +
         ( igmpsnoopingConfig->forceEnabledPorts( portChannel ) ? "forced " : "" ) +
         ( lacp->stayInStandby() ? "standby " : "" ) +
         ( mlagProtoStatus->portsErrdisabled() ? "delay " : "" ) +
         std::to_string( mlagProtoStatus->portsErrdisabledWhen() );
   }

   IntfId const port{ "Ethernet1" };
   IntfId const portChannel{ "Port-Channel10" };
   Ptr< Interface::IntfConfig > config = Ryx::make< Interface::IntfConfig >( port );
   Ptr< Interface::EthLagIntfStatus > lagStatus =
      Ryx::make< Interface::EthLagIntfStatus >( portChannel );
   Ptr< Lacp::LacpPCConfig > lacp = Ryx::make< Lacp::LacpPCConfig >( portChannel );
};

struct Held : Switch {
   SimulatedTime time{ 100 };
   Ptr< MlagErrdisableSm > sm = makeMachine();
};

struct Start : Switch {
   void act() { sm = makeMachine(); }
   SimulatedTime time{ 100 };
   Ptr< MlagErrdisableSm > sm;
};

TEST( MachineFaults, AStartThatFailsLeavesNothingHeld ) {
   sweep< Start >();
}

// A start that puts the port-channel into standby instead.
struct StartInStandby : Start {
   StartInStandby() { lacpOverride->lagIdConfigIs( portChannel, mlagStatus->systemId() ); }
};

TEST( MachineFaults, AStartThatFailsLeavesNothingInStandby ) {
   sweep< StartInStandby >();
}

// A machine that takes over from one that has gone: the ports that it held stay held.
struct Resume : Start {
   Resume() {
      mlagissuCause->intfStatusIs( port, 40 );
      mlagProtoStatus->portsErrdisabledIs( true );
      mlagProtoStatus->portsErrdisabledWhenIs( 40 );
   }
};

TEST( MachineFaults, AResumptionThatFailsLeavesTheStateForTheNextOne ) {
   sweep< Resume >();
}

TEST( MachineFaults, AStartThatFailsDoesNotDisturbTheMachineThatRuns ) {
   for ( std::size_t nth = 1;; ++nth ) {
      SCOPED_TRACE( nth );
      Held scene;
      scene.time.value = 200;
      auto const before = scene.state();
      support::AllocationFailure const failure( nth, support::AllocationFailure::Of::one );
      if ( !throwsFor( [ &scene ] { scene.makeMachine(); } ) ) {
         EXPECT_FALSE( failure.refused() );
         EXPECT_GT( nth, 1u );
         return;
      }
      EXPECT_EQ( before, "held forced delay 100.000000" );
      EXPECT_EQ( scene.state(), before );
      scene.time.value = 400;
      Ryx::activityManager()->clock()->handleTime();
      // What is forced waits for the port-channel's link.
      EXPECT_TRUE( scene.state() == "inf" || scene.state() == "forced inf" );
   }
}

// An agent's machine that is replaced by one that releases a port and then holds another.
struct Replace : Switch {
   static constexpr bool isAllOrNothing = true;
   Replace() {
      ethPhyIntfStatus->intfStatusIs( Ryx::make< Interface::EthPhyIntfStatus >( free ) );
      setIn( *agent );
      time.value = 200;
      other = *this;
      // Nothing but the length of the other class's period is different.
      other.mlagConfig = Ryx::make< Mlag::Config >( "other" );
      auto const& from = *mlagConfig;
      auto& to = *other.mlagConfig;
      to.enabledIs( from.enabled() );
      to.domainIdIs( from.domainId() );
      to.localInterfaceIs( from.localInterface() );
      to.peerAddressIs( from.peerAddress() );
      to.peerLinkIntfIs( from.peerLinkIntf() );
      to.intfConfigIs( portChannel, from.intfConfig( portChannel ) );
      to.reloadDelayIs( from.reloadDelay() );
      to.reloadDelayNonMlagConfiguredIs( true );
      to.reloadDelayNonMlagIs( 50 );
   }
   void act() { other.setIn( *agent ); }
   std::string state() const {
      bool const isReplaced = agent->mlagErrdisableSm()->mlagConfig() == other.mlagConfig;
      return Switch::state() + ( isReplaced ? " replaced " : " " ) +
         std::to_string( mlagissuCause->intfStatus( port ).when ) + " " +
         std::to_string( mlagissuCause->intfStatus( free ).when );
   }

   SimulatedTime time{ 100 };
   IntfId const free{ "Ethernet2" };
   support::MachineInputs other;
   Ptr< OstraMlag::Agent > agent = OstraMlag::agentFactory( "agent" );
};

TEST( MachineFaults, AMachineThatCannotBeReplacedGoesOnAndSoDoTheOutputs ) {
   sweep< Replace >();
}

// Its place is taken by one that puts the port-channel into standby.
struct ReplaceByStandby : Replace {
   ReplaceByStandby() {
      other.mlagConfig->lacpStandbyIs( true );
      other.lacpOverride = Ryx::make< Lag::Input::LacpOverrideDir >( "other" );
      other.lacpOverride->lagIdConfigIs( portChannel, mlagStatus->systemId() );
   }
};

TEST( MachineFaults, AMachineThatCannotBeReplacedByAStandbyGoesOn ) {
   sweep< ReplaceByStandby >();
}

struct SetStandby : Held {
   void act() { sm->setLacpStandby( portChannel ); }
   std::string state() const {
      EXPECT_EQ( lacp->stayInStandby(), sm->lagsInStandby( portChannel ) );
      return Switch::state();
   }
};
struct HandleStandby : SetStandby {
   HandleStandby() {
      sm->hasNotificationActiveIs( false );
      lacpOverride->lagIdConfigIs( portChannel, mlagStatus->systemId() );
   }
   void act() { sm->handleLacpStandby( port ); }
};

TEST( MachineFaults, APortChannelInStandbyIsAlwaysRecorded ) {
   sweep< SetStandby >();
}

TEST( MachineFaults, APortLeavesTheCauseForStandbyOrNot ) {
   sweep< HandleStandby >();
}

// A release goes on to the last port, whatever it cannot watch.
struct Release : Held {
   void act() { sm->doClearErrdisableIntfStatus(); }
   std::string state() const {
      return mlagissuCause->intfStatusHas( port ) ? "held" : "released";
   }
};

TEST( MachineFaults, AReleaseIsCompleteWithoutMemory ) {
   sweep< Release >();
   Release scene;
   {
      support::AllocationFailure const failure;
      scene.act();
   }
   EXPECT_EQ( scene.Switch::state(), "inf" );
}

TEST( MachineFaults, APeriodEndsWithoutMemory ) {
   Held scene;
   for ( Ryx::Seconds const wake : { 325.0, 385.0, 400.0 } ) {
      scene.time.value = wake;
      support::AllocationFailure const failure;
      Ryx::activityManager()->clock()->handleTime();
   }
   EXPECT_EQ( scene.Switch::state(), "inf" );
}

TEST( MachineFaults, ADelayIsChangedWithoutMemory ) {
   Held scene;
   support::AllocationFailure const failure;
   scene.mlagConfig->reloadDelayIs( 600 );
   EXPECT_EQ( Ryx::activityManager()->clock()->nextTimeMin(), 550 );
}

// Once a port-channel is forced, the machine knows whose end takes it back.
struct Record : Held {
   Record() {
      mlagissuCause->intfStatusDelAll();
      sm->memberToPortChannelDel( port );
      sm->portChannelTrackerDel( portChannel );
   }
   void act() { sm->handleIntfStatus( port ); }
   std::string state() const {
      bool const forced = igmpsnoopingConfig->forceEnabledPorts( portChannel );
      EXPECT_EQ( forced, static_cast< bool >( sm->memberToPortChannel( port ) ) );
      EXPECT_EQ( forced, static_cast< bool >( sm->portChannelTracker( portChannel ) ) );
      return forced ? "forced" : "not forced";
   }
};

TEST( MachineFaults, APortChannelIsForcedAndRecordedOrNeither ) {
   sweep< Record >();
}

// The collections and inputs of the machine.
struct Snapshot : Held {
   void act() { made = sm->portChannelToMemberIs( IntfId( "Port-Channel20" ) ); }
   std::string state() const {
      return sm->portChannelToMember( IntfId( "Port-Channel20" ) ) ? "made" : "not made";
   }
   Ptr< Mlag::Ostra::LagMember > made;
};
struct Watch : Held {
   void act() { sm->lagIntfStatusIs( lagStatus ); }
   std::string state() const {
      auto const watched = sm->lagIntfStatus( portChannel );
      return watched ? "watched" : "not watched";
   }
};
// By name an operation that cannot be answered is not done.
struct ByName : Held {
   static constexpr bool isAllOrNothing = true;
   support::Object adapter = support::adapted( sm );
};
struct SnapshotByName : ByName {
   void act() { support::setMember( adapter, "portChannelToMember", key, nullptr ); }
   std::string state() const {
      return sm->portChannelToMember( IntfId( "Port-Channel20" ) ) ? "made" : "not made";
   }
   support::Object key = support::valueOf( "Kovel::IntfId", "Port-Channel20" );
};
struct RemoveByName : ByName {
   void act() {
      support::del(
         adapter, "intfConfig", support::valueOf( "Kovel::IntfId", "Ethernet1" ) );
   }
   std::string state() const { return sm->intfConfig( port ) ? "there" : "removed"; }
};
struct RemoveInputByName : ByName {
   void act() { support::del( adapter, "lacpOverride" ); }
   std::string state() const { return sm->lacpOverride() ? "there" : "removed"; }
};
struct CallByName : ByName {
   void act() { support::get( adapter, "doClearErrdisableMlagIntfStatus_" ); }
   std::string state() const {
      return mlagissuCause->intfStatusHas( port ) ? "held" : "released";
   }
};
struct ReplaceInput : Held {
   void act() { sm->mlagStatusIs( other ); }
   std::string state() const { return sm->mlagStatus() == other ? "new" : "old"; }
   Ptr< Mlag::Status > other = Ryx::make< Mlag::Status >( "other" );
};

TEST( MachineFaults, AMemberObjectIsMadeOrNot ) {
   sweep< Snapshot >();
}

TEST( MachineFaults, AStatusIsWatchedOrNot ) {
   sweep< Watch >();
}

TEST( MachineFaults, AMemberObjectIsMadeByNameOrNot ) {
   sweep< SnapshotByName >();
}

TEST( MachineFaults, AMemberIsRemovedByNameOrNot ) {
   sweep< RemoveByName >();
}

TEST( MachineFaults, AnInputIsRemovedByNameOrNot ) {
   sweep< RemoveInputByName >();
}

TEST( MachineFaults, AnOperationIsCalledByNameOrNot ) {
   sweep< CallByName >();
}

TEST( MachineFaults, AnInputIsReplacedOrNot ) {
   sweep< ReplaceInput >();
}

} // namespace

} // namespace faults
