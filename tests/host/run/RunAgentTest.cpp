// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The agent's children in a run: when they are set, and what is left when one goes.

#include "Play"

#include <Interface/AllEthPhyIntfStatusDir>

#include <gmock/gmock.h>

using ostra::Json;
using ostra::ofType;
using ostra::play;
using ostra::writes;
using ostra::writesFrom;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// A switch with one port, held for 100 seconds, whose peer has one interface.
std::string
switchWith( std::string const& rest ) {
   return "mounts:\n"
          "  mlagConfig: { enabled: true, domainId: d, localInterface: Vlan1,\n"
          "    peerAddress: 10.0.0.2, peerLinkIntf: Port-Channel1, reloadDelay: 100 }\n"
          "  mlagStatus: { mlagState: mlagInactive }\n"
          "  ethPhyIntfStatus: { intfStatus: { Ethernet1: {} } }\n"
          "  peerIntfStatusDir: { intfStatus: { PeerEthernet1: {} } }\n" +
      rest;
}

std::vector< std::string >
typesOf( std::vector< Json > const& records ) {
   std::vector< std::string > types;
   for ( Json const& record : records ) {
      types.push_back( record.at( "type" ) );
   }
   return types;
}

} // namespace

TEST( RunAgent, PeerReactorIsSetBeforeTheMachine ) {
   EXPECT_THAT(
      writes( play( switchWith( "until: 1" ) ) ),
      ElementsAre(
         R"(0 ethIntfStatusDir/intfStatus/PeerEthernet1 {"linkStatus":0})",
         R"(0 allIntfStatusDir/intfStatus/PeerEthernet1 {"linkStatus":0})",
         "0 mlagProtoStatus/portsErrdisabled true",
         "0 mlagProtoStatus/portsErrdisabledWhen 0",
         "0 mlagissuCause/intfStatus/Ethernet1 0" ) );
}

TEST( RunAgent, ChildrenAreSetBeforeTheEventsOfTime0 ) {
   auto const records = play(
      switchWith( "until: 0\nevents: [{at: 0, mlagStatus: {mlagState: mlagPrimary}}]" ) );
   EXPECT_THAT(
      typesOf( records ),
      ElementsAre(
         "write",
         "write",
         "write",
         "write",
         "write",
         "event",
         "write",
         "write",
         "write",
         "end" ) );
   EXPECT_EQ( writes( records ).at( 5 ), "0 mlagissuCause/intfStatus/Ethernet1 null" );
}

TEST( RunAgent, MachineThatIsDeletedLeavesItsPortsHeldAndTheNextOneResumes ) {
   auto const records =
      play( switchWith( "events:\n"
                        "  - { at: 50, agent: { mlagErrdisableSm: null } }\n"
                        "  - { at: 60, mlagStatus: { mlagState: mlagPrimary } }\n"
                        "  - { at: 70, mlagStatus: { mlagState: mlagInactive } }\n"
                        "  - { at: 80, agent: { mlagErrdisableSm: {} } }\n" ) );
   EXPECT_THAT(
      writesFrom( 1, records ),
      ElementsAre(
         "100 mlagissuCause/intfStatus/Ethernet1 null",
         "100 mlagProtoStatus/portsErrdisabled false",
         "100 mlagProtoStatus/portsErrdisabledWhen \"inf\"" ) );
   EXPECT_THAT( ofType( records, "log" ), testing::SizeIs( 1 ) );
}

TEST( RunAgent, PeerReactorThatIsDeletedLeavesItsEntries ) {
   auto const records = play( switchWith(
      "until: 3\n"
      "events:\n"
      "  - { at: 1, agent: { ethPeerIntfStatusReactor: null } }\n"
      "  - { at: 2, peerIntfStatusDir: { intfStatus: { PeerEthernet1: null } } }\n" ) );
   EXPECT_THAT( writesFrom( 1, records ), IsEmpty() );
   auto const& state = records.back().at( "state" );
   EXPECT_EQ( state.at( "allIntfStatusDir" ).at( "intfStatus" ).size(), 1u );
}

TEST( RunAgent, EndHasKeysInTheOrderOfTheirCollection ) {
   Interface::AllEthPhyIntfStatusDir directory( "directory" );
   std::string entries;
   for ( int port = 1; port <= 20; ++port ) {
      std::string const name = "Ethernet" + std::to_string( port );
      entries += ( port == 1 ? "" : ", " ) + name + ": {}";
      directory.intfStatusIs(
         Ryx::make< Interface::EthPhyIntfStatus >( Kovel::IntfId( name ) ) );
   }
   auto const records =
      play( "mounts: { ethPhyIntfStatus: { intfStatus: { " + entries + " } } }\nuntil: 0" );
   std::vector< std::string > ordered;
   for ( auto it = directory.intfStatusIteratorConst(); it; ++it ) {
      ordered.push_back( it.key().string() );
   }
   std::vector< std::string > reported;
   auto const state = records.back().at( "state" );
   for ( auto const& entry : state.at( "ethPhyIntfStatus" ).at( "intfStatus" ).items() ) {
      reported.push_back( entry.key() );
   }
   EXPECT_EQ( reported, ordered );
}
