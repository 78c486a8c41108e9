// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Out of memory when the agent makes its children, one allocation at a time.

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

// The agent and the peer reactor.
struct Agent {
   void act() { agent = OstraMlag::agentFactory( longText ); }
   std::string state() const { return agent ? agent->name().string() : ""; }
   Ptr< OstraMlag::Agent > agent;
};

TEST( AgentFaults, AnAgentIsMadeOrNot ) {
   sweep< Agent >();
}

struct Peer {
   using PeerDir = Interface::PeerIntfStatusDir;
   using EthDir = Interface::EthIntfStatusDir;
   using AllDir = Interface::AllIntfStatusDir;

   Peer() {
      for ( auto const& directory : { first, second } ) {
         directory->intfStatusIs(
            Ryx::make< Interface::PeerIntfStatus >( IntfId( "PeerEthernet1" ) ) );
      }
   }
   void set( Ptr< PeerDir > const& peer, Ptr< EthDir > const& eth ) {
      agent->ethPeerIntfStatusReactorIs( peer, eth, all );
   }
   std::string state() const {
      auto const reactor = agent->ethPeerIntfStatusReactor();
      if ( !reactor ) {
         return "none";
      }
      return std::string( reactor->notifier() == first ? "first " : "second " ) +
         ( reactor->ethIntfStatusDir() == ethFirst ? "first" : "second" );
   }

   Ptr< PeerDir > first = Ryx::make< PeerDir >( "first" );
   Ptr< PeerDir > second = Ryx::make< PeerDir >( "second" );
   Ptr< EthDir > ethFirst = Ryx::make< EthDir >( "first" );
   Ptr< EthDir > ethSecond = Ryx::make< EthDir >( "second" );
   Ptr< AllDir > all = Ryx::make< AllDir >( "all" );
   Ptr< OstraMlag::Agent > agent = OstraMlag::agentFactory( "agent" );
};
struct SetPeer : Peer {
   void act() { set( first, ethFirst ); }
};
struct ReplacePeer : Peer {
   ReplacePeer() { set( first, ethFirst ); }
   void act() { set( second, ethSecond ); }
};

// By name.
struct SetPeerByName : Peer {
   static constexpr bool isAllOrNothing = true;
   void act() {
      support::set(
         adapter,
         "ethPeerIntfStatusReactor",
         support::listOf( { { "notifier", support::adapted( first ) },
                            { "ethIntfStatusDir", support::adapted( ethFirst ) },
                            { "allIntfStatusDir", support::adapted( all ) } } ) );
   }
   support::Object adapter = support::adapted( agent );
};
struct RemovePeerByName : SetPeerByName {
   RemovePeerByName() { SetPeerByName::act(); }
   void act() { support::del( adapter, "ethPeerIntfStatusReactor" ); }
};

TEST( AgentFaults, APeerReactorIsMadeByNameOrNot ) {
   sweep< SetPeerByName >();
}

TEST( AgentFaults, APeerReactorIsRemovedByNameOrNot ) {
   sweep< RemovePeerByName >();
}

TEST( AgentFaults, APeerReactorIsMadeOrNot ) {
   sweep< SetPeer >();
}

TEST( AgentFaults, APeerReactorThatCannotBeReplacedGoesOnAsItWas ) {
   sweep< ReplacePeer >();
}

// The local directory that is written first is ahead when the second one fails.
struct PeerAppears : SetPeer {
   PeerAppears() { act(); }
   void appear() {
      first->intfStatusIs(
         Ryx::make< Interface::PeerIntfStatus >( IntfId( "PeerEthernet2" ) ) );
   }
};

TEST( AgentFaults, ADirectoryThatFailsLeavesTheOneBeforeItWritten ) {
   IntfId const id( "PeerEthernet2" );
   bool refused = true;
   bool ahead = false;
   for ( std::size_t nth = 1; refused; ++nth ) {
      PeerAppears scene;
      {
         support::AllocationFailure const failure(
            nth, support::AllocationFailure::Of::one );
         throwsFor( [ &scene ] { scene.appear(); } );
         refused = failure.refused();
      }
      bool const eth = static_cast< bool >( scene.ethFirst->intfStatus( id ) );
      bool const all = static_cast< bool >( scene.all->intfStatus( id ) );
      EXPECT_TRUE( eth || !all );
      ahead = ahead || ( eth && !all );
      // The next change of it makes up for what was missed.
      scene.appear();
      EXPECT_TRUE( scene.ethFirst->intfStatus( id ) );
      EXPECT_EQ( scene.ethFirst->intfStatus( id ), scene.first->intfStatus( id ) );
      EXPECT_TRUE( scene.all->intfStatus( id ) );
   }
   EXPECT_TRUE( ahead );
}

} // namespace

} // namespace faults
