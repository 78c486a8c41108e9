// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The debug traces of the peer interface status reactor.

#include <OstraMlag/Inputs>

#include <Ryx/Trace>
#include <gtest/gtest.h>

namespace {

class Traces final : private Ryx::TraceSink {
 public:
   Traces() {
      Ryx::traceSinkIs( this );
      Ryx::traceEnabledIs( "OstraMlag", true );
   }
   ~Traces() override {
      Ryx::traceConfigReset();
      Ryx::traceSinkIs( nullptr );
   }

   // "handle level file:line function text"
   Calls take() { return std::exchange( lines_, {} ); }
   // Called with each text, before what it announces.
   std::function< void( std::string const& text ) > onText;

 private:
   void trace( Ryx::TraceRecord const& record ) override {
      lines_.push_back(
         record.handleName + " " + std::to_string( record.level ) + " " + record.file +
         ":" + std::to_string( record.line ) + " " + record.function + " " + record.text );
      if ( onText ) {
         onText( record.text );
      }
   }

   Calls lines_;
};

constexpr char copy[] =
   "OstraMlag 8 OstraMlag:11 handleEthPeerIntf EthPeerIntfStatusReactor::handleEthPeerIntf";
constexpr char entry[] = "OstraMlag 8 OstraMlag:21 handleEthPeerIntf "
                         "EthPeerIntfStatusReactor::handleEthPeerIntf(PeerEthernet1)";
constexpr char deletion[] =
   "OstraMlag 8 OstraMlag:28 handleEthPeerIntf Deleting PeerEthernet1";

TEST( PeerReactorTrace, TheInitialCopyIsTracedOnce ) {
   Directories const dirs;
   dirs.peerIs( "PeerEthernet1" );
   dirs.peerIs( "PeerEthernet2" );
   Traces traces;
   auto const reactor = dirs.makeReactor();
   EXPECT_EQ( traces.take(), Calls{ copy } );
}

TEST( PeerReactorTrace, WithoutAPeerDirectoryNothingIsTraced ) {
   Directories dirs;
   dirs.peer = nullptr;
   Traces traces;
   auto const reactor = dirs.makeReactor();
   EXPECT_EQ( traces.take(), Calls() );
}

TEST( PeerReactorTrace, EachChangeIsTracedAndThenWhatItDeletes ) {
   Directories const dirs;
   auto const reactor = dirs.makeReactor();
   Traces traces;
   dirs.peerIs( "PeerEthernet1" );
   EXPECT_EQ( traces.take(), Calls{ entry } );
   dirs.peer->intfStatusDel( IntfId( "PeerEthernet1" ) );
   EXPECT_EQ( traces.take(), ( Calls{ entry, deletion } ) );
   reactor->ryxDoZombieReactors( true );
   reactor->onIntfStatus( IntfId( "PeerEthernet1" ) );
   EXPECT_EQ( traces.take(), Calls() );
}

TEST( PeerReactorTrace, ADeletionIsTracedBeforeItIsDone ) {
   Directories const dirs;
   dirs.peerIs( "PeerEthernet1" );
   auto const reactor = dirs.makeReactor();
   Traces traces;
   Calls stillThere;
   traces.onText = [ & ]( std::string const& text ) {
      if ( text == "Deleting PeerEthernet1" ) {
         stillThere = dirs.having( "PeerEthernet1" );
      }
   };
   dirs.peer->intfStatusDel( IntfId( "PeerEthernet1" ) );
   EXPECT_EQ( stillThere, ( Calls{ "eth", "all" } ) );
   EXPECT_EQ( dirs.having( "PeerEthernet1" ), Calls() );
}

TEST( PeerReactorTrace, IsOffUnlessHandleAndLevelAreOn ) {
   Directories const dirs;
   auto const reactor = dirs.makeReactor();
   Traces traces;
   Ryx::traceLevelIs( "OstraMlag", 8, false );
   dirs.peerIs( "PeerEthernet1" );
   EXPECT_EQ( traces.take(), Calls() );
   Ryx::traceLevelIs( "OstraMlag", 8, true );
   Ryx::traceEnabledIs( "OstraMlag", false );
   dirs.peerIs( "PeerEthernet1" );
   EXPECT_EQ( traces.take(), Calls() );
   Ryx::traceConfigReset();
   dirs.peerIs( "PeerEthernet1" );
   EXPECT_EQ( traces.take(), Calls() );
}

} // namespace
