// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Log>

#include <gtest/gtest.h>
#include <support/AllocationCounter>
#include <support/Messages>
#include <support/SimulatedTime>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using support::SimulatedTime;
using Texts = std::vector< std::string >;

// An argument that says when it is converted.
struct Probe {
   char const* text;
};

Texts converted;

Ryx::LogHandle
handleOf(
   Ryx::String8 format,
   Ryx::Seconds interval = 0,
   double burst = 1,
   unsigned char rateLimitArgs = 0 ) {
   return Ryx::LogHandle(
      "TEST_MESSAGE",
      Ryx::LogSeverity::warning,
      std::move( format ),
      "why",
      "what to do",
      interval,
      burst,
      rateLimitArgs );
}

} // namespace

template<>
Ryx::String8
Ryx::valueToString( Probe const& probe ) {
   converted.push_back( probe.text );
   return probe.text;
}

namespace {

TEST( ValueToString, TextComesAsItStands ) {
   char const* const text = " mlag ";
   EXPECT_EQ( Ryx::valueToString( text ), " mlag " );
   EXPECT_EQ( Ryx::valueToString( "literal" ), "literal" );
   EXPECT_EQ( Ryx::valueToString( Ryx::String8( "string" ) ), "string" );
   char const* const none = nullptr;
   EXPECT_EQ( Ryx::valueToString( none ), "(null)" );
}

TEST( ValueToString, DoublesHaveSixSignificantDigitsInTheShorterForm ) {
   EXPECT_EQ( Ryx::valueToString( 300.0 ), "300" );
   EXPECT_EQ( Ryx::valueToString( 0.5 ), "0.5" );
   EXPECT_EQ( Ryx::valueToString( 284.9999964 ), "285" );
   EXPECT_EQ( Ryx::valueToString( 1234567.0 ), "1.23457e+06" );
   EXPECT_EQ( Ryx::valueToString( -0.00001 ), "-1e-05" );
   EXPECT_EQ( Ryx::valueToString( std::numeric_limits< double >::infinity() ), "inf" );
}

TEST( ValueToString, DoublesReadAsAnOutputStreamWritesThem ) {
   std::mt19937_64 random( 1 );
   for ( int i = 0; i < 20000; ++i ) {
      std::uint64_t const bits = random();
      // Every pattern of bits, and numbers as delays are.
      double const value = i % 2 == 0
         ? std::bit_cast< double >( bits )
         : static_cast< double >( bits % 100000000 ) / std::pow( 10, bits % 7 );
      std::ostringstream stream;
      stream << value;
      ASSERT_EQ( Ryx::valueToString( value ), stream.str() );
   }
}

TEST( ValueToString, IntegersAreDecimal ) {
   EXPECT_EQ( Ryx::valueToString( -12 ), "-12" );
   EXPECT_EQ( Ryx::valueToString( 4000000000u ), "4000000000" );
   EXPECT_EQ( Ryx::valueToString( true ), "true" );
   EXPECT_EQ( Ryx::valueToString( false ), "false" );
}

TEST( ValueToString, SetStringConvertsOneArgumentIntoItsSlot ) {
   converted.clear();
   Ryx::String8 slots[ 3 ];
   Ryx::setString( slots, 1, Probe{ "a" }, Probe{ "b" }, Probe{ "c" } );
   EXPECT_EQ( converted, Texts{ "b" } );
   EXPECT_EQ( slots[ 0 ], "" );
   EXPECT_EQ( slots[ 1 ], "b" );
   EXPECT_EQ( slots[ 2 ], "" );
}

// Emits a message within itself once, and looks at its own record afterwards.
class NestingSink final : public Ryx::LogSink {
 public:
   explicit NestingSink( Ryx::LogHandle& handle ) : handle_( handle ) {
      Ryx::logSinkIs( this );
   }
   ~NestingSink() override { Ryx::logSinkIs( nullptr ); }
   NestingSink( NestingSink const& ) = delete;
   NestingSink& operator=( NestingSink const& ) = delete;

   void log( Ryx::LogRecord const& record ) override {
      if ( texts.empty() ) {
         texts.push_back( "" );
         Ryx::log( handle_, "inner" );
         texts.front() = record.text;
         identifiers.push_back( record.identifier );
         throw std::runtime_error( "full" );
      }
      texts.push_back( record.text );
      identifiers.push_back( record.identifier );
   }

   Texts texts;
   Texts identifiers;

 private:
   Ryx::LogHandle& handle_;
};

TEST( Log, ASinkMayEmitTheMessageThatItIsGiven ) {
   Ryx::LogHandle handle = handleOf( "about %s" );
   NestingSink sink( handle );
   Ryx::log( handle, "outer" );
   Ryx::log( handle, "later" );
   EXPECT_EQ( sink.texts, ( Texts{ "about outer", "about inner", "about later" } ) );
   EXPECT_EQ( sink.identifiers, Texts( 3, "TEST_MESSAGE" ) );
}

TEST( Log, AnEmissionCopiesNoneOfTheFixedTexts ) {
   class : public Ryx::LogSink {
      void log( Ryx::LogRecord const& ) override {}
   } sink;
   Ryx::logSinkIs( &sink );
   std::string const fixed( 100, 'x' );
   Ryx::LogHandle handle(
      fixed, Ryx::LogSeverity::info, fixed + " %s", fixed, fixed, 0.0, 1.0, 0 );
   Ryx::log( handle, 1 );
   support::AllocationCounter const allocations;
   Ryx::log( handle, 2 );
   EXPECT_EQ( allocations.allocations(), 0u );
   Ryx::logSinkIs( nullptr );
}

TEST( Log, FillsTheFormatAndHandsTheWholeMessageOver ) {
   support::Messages sink;
   Ryx::LogHandle handle(
      "MLAG_RELOAD_DELAY_ENDING",
      static_cast< Ryx::LogSeverity >( 6 ),
      "Mlag reload-delay period%swill end in %s seconds",
      "Non peer-link interfaces will be enabled once reload-delay period is over",
      Ryx::NoActionRequired,
      0.0,
      1.0,
      0 );
   char const* const blank = " ";
   Ryx::log< char const*, double >( handle, blank, 75.0 );
   ASSERT_EQ( sink.records.size(), 1u );
   auto const& record = sink.records[ 0 ];
   EXPECT_EQ( record.identifier, "MLAG_RELOAD_DELAY_ENDING" );
   EXPECT_EQ( record.severity, Ryx::LogSeverity::info );
   EXPECT_EQ( record.text, "Mlag reload-delay period will end in 75 seconds" );
   EXPECT_EQ(
      record.explanation,
      "Non peer-link interfaces will be enabled once reload-delay period is over" );
   EXPECT_EQ( record.action, Ryx::NoActionRequired );
}

TEST( Log, MissingAndExtraArgumentsAreSafe ) {
   support::Messages sink;
   auto two = handleOf( "%s and %s" );
   Ryx::log( two );
   Ryx::log( two, 1 );
   Ryx::log( two, 1, 2, 3 );
   auto odd = handleOf( "100%% of %d, %%s, %s%" );
   Ryx::log( odd, "%s" );
   auto percent = handleOf( "%" );
   Ryx::log( percent, 1 );
   auto empty = handleOf( "" );
   Ryx::log( empty, 1 );
   EXPECT_EQ(
      sink.texts(),
      ( Texts{ "%s and %s", "1 and %s", "1 and 2", "100% of %d, %s, %s%", "%", "" } ) );
}

TEST( Log, ConvertsTheKeysArgumentsFirstThenTheRest ) {
   support::Messages sink;
   converted.clear();
   auto handle = handleOf( "%s %s %s", 0, 1, 2 );
   Ryx::log( handle, Probe{ "a" }, Probe{ "b" }, Probe{ "c" } );
   EXPECT_EQ( converted, ( Texts{ "a", "b", "c" } ) );
   EXPECT_EQ( sink.texts(), Texts{ "a b c" } );
}

TEST( Log, ARefusedMessageIsDroppedWithNothingFurtherConverted ) {
   SimulatedTime time;
   support::Messages sink;
   auto handle = handleOf( "%s %s", 10, 1, 1 );
   Ryx::log( handle, "key", 1 );
   converted.clear();
   Ryx::log( handle, Probe{ "key" }, Probe{ "rest" } );
   EXPECT_EQ( converted, Texts{ "key" } );
   EXPECT_EQ( sink.texts(), Texts{ "key 1" } );
}

TEST( Log, WithoutKeyArgumentsARefusalConvertsNothing ) {
   SimulatedTime time;
   support::Messages sink;
   auto handle = handleOf( "%s", 10 );
   Ryx::log( handle, 1 );
   converted.clear();
   Ryx::log( handle, Probe{ "a" } );
   EXPECT_EQ( converted, Texts() );
   EXPECT_EQ( sink.texts(), Texts{ "1" } );
}

TEST( Log, WithoutKeyArgumentsEveryMessageSharesOneKey ) {
   SimulatedTime time;
   auto handle = handleOf( "%s", 10 );
   support::Messages sink;
   EXPECT_EQ( handle.idHash(), Ryx::hash( "TEST_MESSAGE" ) );
   Ryx::log( handle, "a" );
   EXPECT_FALSE( handle.okToLog( Ryx::hash( "" ) ^ handle.idHash() ) );
   Ryx::log( handle, "b" );
   EXPECT_EQ( sink.texts(), Texts{ "a" } );
}

TEST( Log, TheKeyIsTheHashOfTheLeadingArgumentsWithTheIdentifiers ) {
   SimulatedTime time;
   auto handle = handleOf( "%s%s%s", 10, 1, 2 );
   support::Messages sink;
   EXPECT_EQ( handle.rateLimitArgs(), 2u );
   EXPECT_TRUE( handle.okToLog( Ryx::hash( "ab12" ) ^ handle.idHash() ) );
   Ryx::log( handle, "ab", 12, "refused" );
   Ryx::log( handle, "ab", 13, " other key" );
   EXPECT_EQ( sink.texts(), Texts{ "ab13 other key" } );
}

TEST( Log, MoreKeyArgumentsThanArgumentsMeansAllOfThem ) {
   SimulatedTime time;
   auto handle = handleOf( "%s", 10, 1, 200 );
   support::Messages sink;
   Ryx::log( handle, 1 );
   Ryx::log( handle, 1 );
   Ryx::log( handle, 2 );
   Ryx::log( handle );
   EXPECT_EQ( sink.texts(), ( Texts{ "1", "2", "%s" } ) );
}

TEST( Log, GoesToStandardErrorInSyslogFormByDefault ) {
   auto handle = handleOf( "one%sline" );
   testing::internal::CaptureStderr();
   Ryx::log( handle, "\n\x7f" );
   std::string const line = testing::internal::GetCapturedStderr();
   // local0.warning, version 1, a timestamp in UTC.
   EXPECT_EQ( line.substr( 0, 7 ), "<132>1 " );
   EXPECT_EQ( line.find( 'T' ), 17u );
   EXPECT_EQ( line.substr( 26, 1 ), "." );
   EXPECT_EQ( line.substr( 30 ), "Z - - - TEST_MESSAGE - one  line\n" );
}

TEST( Log, AnIdentifierThatIsNoMessageIdIsMadeOne ) {
   auto msgId = []( char const* identifier ) {
      Ryx::LogHandle handle(
         identifier, Ryx::LogSeverity::emergency, "x", "", "", 0.0, 1.0, 0 );
      testing::internal::CaptureStderr();
      Ryx::log( handle );
      std::string const line = testing::internal::GetCapturedStderr();
      return line.substr( line.find( "- - - " ) + 6 );
   };
   EXPECT_EQ( msgId( "" ), "- - x\n" );
   EXPECT_EQ( msgId( "a b\xc3\x7f" ), "a_b__ - x\n" );
   EXPECT_EQ( msgId( std::string( 40, 'A' ).c_str() ), std::string( 32, 'A' ) + " - x\n" );
}

TEST( Log, SeveritiesHaveTheNumbersOfSyslog ) {
   EXPECT_EQ( static_cast< int >( Ryx::LogSeverity::emergency ), 0 );
   EXPECT_EQ( static_cast< int >( Ryx::LogSeverity::error ), 3 );
   EXPECT_EQ( static_cast< int >( Ryx::LogSeverity::info ), 6 );
   EXPECT_EQ( static_cast< int >( Ryx::LogSeverity::debug ), 7 );
}

} // namespace
