// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The machine's trace channel: where its lines come from, and when there are none.

#include "SmReach"

#include <Mlag/SmDiagnostics>
#include <support/Messages>

namespace {

class Records final : public Ryx::TraceSink {
 public:
   Records() { Ryx::traceSinkIs( this ); }
   ~Records() override {
      Ryx::traceSinkIs( nullptr );
      Ryx::traceConfigReset();
   }
   void trace( Ryx::TraceRecord const& record ) override { all.push_back( record ); }

   std::vector< Ryx::TraceRecord > all;
};

class SmTraces : public SwitchFixture {
 public:
   SmTraces() { configureMlag(); }
   // The short names of the functions that traced.
   Log functions() const {
      Log names;
      for ( auto const& record : records.all ) {
         names.push_back( std::string( record.function ) );
      }
      return names;
   }

   Records records;
};

TEST_F( SmTraces, AreOffAtFirst ) {
   start();
   moveTo( 1000 );
   EXPECT_TRUE( records.all.empty() );
}

TEST_F( SmTraces, AreOfTheUnitsHandleFileAndLevel ) {
   Ryx::traceEnabledIs( "MlagErrdisableSm", true );
   start();
   ASSERT_FALSE( records.all.empty() );
   for ( auto const& record : records.all ) {
      EXPECT_EQ( record.handleName, "MlagErrdisableSm" );
      EXPECT_EQ( record.file, "src-includes/Mlag/MlagErrdisableSm" );
      EXPECT_EQ( record.context, "" );
      EXPECT_EQ( record.level, 8 );
      EXPECT_GT( record.line, 0 );
   }
   EXPECT_EQ(
      records.all.front().text, "void Mlag::Ostra::MlagErrdisableSm::handleInitialized()" );
}

TEST_F( SmTraces, NameTheFunctionInShort ) {
   Ryx::traceEnabledIs( "MlagErrdisableSm", true );
   start();
   EXPECT_EQ(
      functions(),
      ( Log{ "handleInitialized",
             "handleMlagConfig",
             "handleMlagState",
             "handleReloadDelayMlag",
             "handleReloadDelayNonMlag",
             "reloadDelayNonMlag",
             "handleIntfStatus" } ) );
}

TEST_F( SmTraces, OfQuestionsNameTheQuestion ) {
   start();
   Ryx::traceEnabledIs( "MlagErrdisableSm", true );
   sm->mlagLink( id( "Ethernet9" ) );
   sm->isLacpStandby( id( "Ethernet9" ) );
   EXPECT_EQ( functions(), ( Log{ "mlagLink", "mlagLink", "isLacpStandby" } ) );
}

TEST_F( SmTraces, OfTheStepsOfAnInterfacesHandlingNameTheHandler ) {
   member( "Ethernet1", "Port-Channel10" );
   mlagInterface( "Port-Channel10" );
   start();
   Ryx::traceEnabledIs( "MlagErrdisableSm", true );
   Log texts;
   auto const note = [ & ] {
      for ( auto const& record : std::exchange( records.all, {} ) ) {
         if ( record.function == "handleIntfStatus" ) {
            texts.push_back( record.text );
            EXPECT_EQ( record.file, "src-includes/Mlag/MlagErrdisableSm" );
            EXPECT_GT( record.line, 0 );
         }
      }
   };
   port( "Ethernet1" );
   note();
   admin( "Ethernet1", IntfEnabledState::shutdown );
   records.all.clear();
   sm->handleIntfStatus( id( "Ethernet1" ) );
   note();
   absent( "Ethernet1" );
   note();
   std::string const entry = "void Mlag::Ostra::MlagErrdisableSm::handleIntfStatus(Kovel::"
                             "IntfId) Ethernet1";
   EXPECT_EQ(
      texts,
      ( Log{ entry,
             "Adding Ethernet1 to errdisable cause mlag-issu",
             "Adding Port-Channel10 to igmpsnooping forceEnabledPorts ",
             entry,
             "Removing Port-Channel10 from igmpsnooping forceEnabledPorts",
             entry,
             "Interface Ethernet1 deleted" } ) );
}

TEST_F( SmTraces, OfALevelThatIsOffAreNotWritten ) {
   Ryx::traceEnabledIs( "MlagErrdisableSm", true );
   Ryx::traceLevelIs( "MlagErrdisableSm", 8, false );
   port( "Ethernet1" );
   start();
   ASSERT_EQ( records.all.size(), 1u );
   EXPECT_EQ( records.all[ 0 ].level, 9 );
   EXPECT_EQ( records.all[ 0 ].text, "Adding Ethernet1 to errdisable cause mlag-issu" );
}

// A cause that counts how often it is asked for its name.
class AskedCause final : public Errdisable::CauseStatus {
 public:
   AskedCause() : CauseStatus( "asked" ) {}
   Ryx::Name name() const override {
      ++asked;
      return CauseStatus::name();
   }

   mutable unsigned asked = 0;
};

TEST_F( SmTraces, ThatAreOffAskForNoName ) {
   auto const cause = Ryx::make< AskedCause >();
   mlagissuCause = cause;
   port( "Ethernet1" );
   start();
   ASSERT_TRUE( cause->intfStatusHas( id( "Ethernet1" ) ) );
   EXPECT_EQ( cause->asked, 0u );
}

TEST_F( SmTraces, OfAnotherUnitsHandleAreNotTheMachines ) {
   Ryx::traceEnabledIs( "OstraMlag", true );
   start();
   EXPECT_TRUE( records.all.empty() );
}

TEST_F( SmTraces, OfEveryStateCarryItsName ) {
   mlagProtoStatus->holdInSecondaryIs( true );
   mlagStatus->mlagStateIs( MlagState::mlagDisabled );
   start();
   Ryx::traceEnabledIs( "MlagErrdisableSm", true );
   for ( auto const next : { MlagState::mlagUnknown,
                             MlagState::mlagDisabled,
                             MlagState::mlagInactive,
                             MlagState::mlagSecondary,
                             MlagState::mlagPrimary } ) {
      records.all.clear();
      state( next );
      std::ostringstream expected;
      expected << "void Mlag::Ostra::MlagErrdisableSm::handleMlagState() state is " << next;
      EXPECT_EQ( records.all.at( 0 ).text, expected.str() );
   }
}

TEST_F( SmTraces, GoToTheCoverageStreamEvenWhileTheyAreOff ) {
   std::ostringstream coverage;
   Ryx::coverageStream_ = &coverage;
   start();
   Ryx::coverageStream_ = nullptr;
   EXPECT_TRUE( records.all.empty() );
   EXPECT_NE(
      coverage.str().find( "void Mlag::Ostra::MlagErrdisableSm::handleInitialized()" ),
      std::string::npos );
}

TEST_F( SmTraces, TheEndingMessageHasItsSeverityExplanationAndAction ) {
   start();
   support::Messages messages;
   moveTo( 1000 );
   ASSERT_EQ( messages.records.size(), 2u );
   auto const& message = messages.records.front();
   EXPECT_EQ( message.identifier, "MLAG_RELOAD_DELAY_ENDING" );
   EXPECT_EQ( static_cast< int >( message.severity ), 6 );
   EXPECT_EQ( message.text, "Mlag reload-delay period will end in 75 seconds" );
   EXPECT_EQ(
      message.explanation,
      "Non peer-link interfaces will be enabled once reload-delay period is over" );
   EXPECT_EQ( message.action, Ryx::NoActionRequired );
}

TEST_F( SmTraces, TheEndingMessageIsLimitedByNoneOfItsArguments ) {
   EXPECT_EQ( Mlag::Ostra::reloadDelayEnding()->rateLimitArgs(), 0u );
}

TEST_F( SmTraces, MessagesOfOneMomentAreAllWritten ) {
   mlagConfig->reloadDelayNonMlagConfiguredIs( true );
   mlagConfig->reloadDelayNonMlagIs( 600 );
   start();
   support::Messages messages;
   timeIs( 500 );
   Ryx::Seconds const when = now();
   for ( int i = 0; i < 3; ++i ) {
      sm->handleClockNonMlag();
   }
   EXPECT_EQ( now(), when );
   EXPECT_EQ( messages.records.size(), 3u );
}

} // namespace
