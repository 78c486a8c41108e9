// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A machine whose start fails beside one that runs: the outputs are what they were, down to
// the time of an entry, and the one that runs goes on. Ethernet1 is in the MLAG port-channel
// Port-Channel10, Ethernet2 in none; both have been held since 0.

#include "SwitchFixture"

#include <Ryx/Exception>

#include <utility>

namespace {

class RefusedStart : public SwitchFixture {
 public:
   RefusedStart() {
      configureMlag();
      for ( char const* name : { "Ethernet1", "Ethernet2" } ) {
         port( name );
      }
      member( "Ethernet1", "Port-Channel10" );
      mlagInterface( "Port-Channel10" );
      mlagConfig->lacpStandbyIs( true );
      mlagProtoStatus->holdInSecondaryIs( true );
      systemId( "02:00:00:00:00:01" );
      state( MlagState::mlagSecondary );
      start();
      moveTo( 100 );
      other = *this;
      take();
   }

   // Another configuration for the other machine.
   void reconfigure() {
      auto const present = std::exchange( mlagConfig, made< Mlag::Config >() );
      configureMlag();
      mlagInterface( "Port-Channel10" );
      other.mlagConfig = std::exchange( mlagConfig, present );
   }
   std::string starting() {
      try {
         other.makeMachine();
      } catch ( Ryx::RangeException const& e ) {
         return e.what();
      }
      return "";
   }
   // Everything that a machine writes.
   Log outputs() const {
      Log all = snooping();
      for ( auto it = mlagissuCause->intfStatusIteratorConst(); it; ++it ) {
         all.push_back(
            it.key().string() + " since " + std::to_string( it->value().when ) );
      }
      all.push_back( portChannel->stayInStandby() ? "standby" : "no standby" );
      all.push_back( mlagProtoStatus->portsErrdisabled() ? "held" : "released" );
      all.push_back( std::to_string( mlagProtoStatus->portsErrdisabledWhen() ) );
      return all;
   }
   void expectReleaseAtTheEnd() {
      moveTo( 300 );
      EXPECT_EQ( held(), std::vector< std::string >() );
      EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
   }

   Ryx::Ptr< Lacp::LacpPCConfig > portChannel = lacp( "Port-Channel10" );
   support::MachineInputs other;
};

TEST_F( RefusedStart, HoldsAgainWhatItReleased ) {
   reconfigure();
   other.mlagConfig->reloadDelayNonMlagConfiguredIs( true );
   other.mlagConfig->reloadDelayNonMlagIs( 0 );
   other.igmpsnoopingConfig = nullptr;
   Log const before = outputs();
   EXPECT_EQ( starting(), "null ValidPtr" );
   EXPECT_EQ( outputs(), before );
   EXPECT_EQ( take(), ( Log{ "100 cause Ethernet2 -", "100 cause Ethernet2 0" } ) );
   expectReleaseAtTheEnd();
}

TEST_F( RefusedStart, HoldsAgainWhatItReleasedInPart ) {
   reconfigure();
   other.mlagConfig->enabledIs( false );
   other.igmpsnoopingConfig = nullptr;
   Log const before = outputs();
   EXPECT_EQ( starting(), "null ValidPtr" );
   EXPECT_EQ( outputs(), before );
   expectReleaseAtTheEnd();
}

TEST_F( RefusedStart, ForcesAgainWhatItTookOutForStandby ) {
   absent( "Ethernet2" );
   other.lacpOverride = made< Lag::Input::LacpOverrideDir >();
   other.lacpOverride->lagIdConfigIs(
      id( "Port-Channel10" ), Kovel::EthAddr( "02:00:00:00:00:01" ) );
   port( portVisitedAfter( "Ethernet1" ) );
   other.mlagissuCause = nullptr;
   take();
   Log const before = outputs();
   EXPECT_EQ( starting(), "null ValidPtr" );
   EXPECT_EQ( outputs(), before );
   EXPECT_EQ(
      take(),
      ( Log{ "100 snooping Port-Channel10 -",
             "100 lacp Port-Channel10 true",
             "100 lacp Port-Channel10 false",
             "100 snooping Port-Channel10 true" } ) );
   expectReleaseAtTheEnd();
}

// An observer may put back what a start takes out, and the start take it out again.
TEST( StartChanges, WhatIsTakenOutTwiceComesBackAsItWasAtFirst ) {
   auto const cause = Ryx::make< Errdisable::CauseStatus >( "cause" );
   Kovel::IntfId const port( "Ethernet1" );
   Mlag::Ostra::CollectionChanges< Mlag::Ostra::StartChanges::Cause > changes;
   for ( double when : { 1, 2 } ) {
      cause->intfStatusIs( port, when );
      changes.remove( cause->intfStatusTake( port ) );
   }
   changes.restore( [ & ]( auto record ) { cause->intfStatusPut( record ); } );
   EXPECT_EQ( cause->intfStatus( port ).when, 1 );
}

} // namespace
