// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Exception>
#include <Ryx/Trace>
#include <support/AllocationCounter>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

class RecordingSink final : public Ryx::TraceSink {
 public:
   RecordingSink() { Ryx::traceSinkIs( this ); }
   ~RecordingSink() override { Ryx::traceSinkIs( nullptr ); }
   RecordingSink( RecordingSink const& ) = delete;
   RecordingSink& operator=( RecordingSink const& ) = delete;

   void trace( Ryx::TraceRecord const& record ) override { records.push_back( record ); }

   std::vector< Ryx::TraceRecord > records;
};

class TraceTest : public testing::Test {
 protected:
   ~TraceTest() override {
      Ryx::traceConfigReset();
      Ryx::coverageStream_ = nullptr;
   }

   RecordingSink sink;
};

// Counts how often it is put into text.
struct Value {
   Value() = default;
   Value( Value const& ) = delete;

   mutable int printed = 0;
   friend std::ostream& operator<<( std::ostream& out, Value const& value ) {
      ++value.printed;
      return out << "value";
   }
};

struct Unit {
   Ryx::TraceHandle handle{ "Unit", true };
   int line = 0;

   void handleChange( int level ) {
      line = __LINE__ + 1;
      Ryx::trace( handle, "src/Unit", level, __PRETTY_FUNCTION__, " for ", 12 );
   }
};

TEST_F( TraceTest, HandsTheSiteAndTheTextOver ) {
   Unit unit;
   unit.handleChange( 8 );
   ASSERT_EQ( sink.records.size(), 1u );
   auto const& record = sink.records[ 0 ];
   EXPECT_EQ( record.handleName, "Unit" );
   EXPECT_EQ( record.level, 8 );
   EXPECT_EQ( record.file, "src/Unit" );
   EXPECT_EQ( record.line, unit.line );
   EXPECT_EQ( record.function, "handleChange" );
   EXPECT_NE( record.text.find( "handleChange(int) for 12" ), std::string::npos );
}

TEST_F( TraceTest, TheSiteIsThatOfTheCallWhenItSpansLines ) {
   Unit unit;
   int const line = __LINE__ + 1;
   Ryx::trace( unit.handle, "src/Unit", 3, "first ", "second ", "third ", "fourth" );
   int const below = __LINE__;
   // clang-format off
   Ryx::trace(
      unit.handle,
      "src/Unit",
      3,
      "words" );
   // clang-format on
   ASSERT_EQ( sink.records.size(), 2u );
   EXPECT_EQ( sink.records[ 0 ].line, line );
   EXPECT_EQ( sink.records[ 0 ].function, "TestBody" );
   EXPECT_GT( sink.records[ 1 ].line, below );
   EXPECT_LE( sink.records[ 1 ].line, below + 6 );
}

TEST_F( TraceTest, ASiteMayBeGivenOutright ) {
   Unit unit;
   Ryx::trace( unit.handle, "src/Unit", Ryx::TraceSite( 9, 77 ), "words" );
   Ryx::trace( unit.handle, "src/Unit", Ryx::TraceSite( 9, 78, "other" ), "words" );
   ASSERT_EQ( sink.records.size(), 2u );
   EXPECT_EQ( sink.records[ 0 ].line, 77 );
   EXPECT_EQ( sink.records[ 0 ].function, "TestBody" );
   EXPECT_EQ( sink.records[ 1 ].line, 78 );
   EXPECT_EQ( sink.records[ 1 ].function, "other" );
}

TEST_F( TraceTest, NumbersHaveTwelveDigits ) {
   Unit unit;
   Ryx::trace( unit.handle, "src/Unit", 0, 284.99999642372131 );
   ASSERT_EQ( sink.records.size(), 1u );
   EXPECT_EQ( sink.records[ 0 ].text, "284.999996424" );
}

TEST_F( TraceTest, ASiteThatIsOffNeitherFormatsNorAllocates ) {
   Ryx::TraceHandle const handle( "Off", false );
   Value const value;
   std::string const longWords( 100, 'x' );
   support::AllocationCounter const counter;
   Ryx::trace( handle, "src/Unit", 8, value, " and ", longWords );
   EXPECT_EQ( counter.allocations(), 0u );
   EXPECT_EQ( value.printed, 0 );
   EXPECT_TRUE( sink.records.empty() );
}

TEST_F( TraceTest, TheHandleAndTheLevelHaveToBeOn ) {
   Ryx::TraceHandle const handle( "Unit", false );
   EXPECT_FALSE( handle.isEnabled() );
   EXPECT_FALSE( handle.isEnabled( 8 ) );
   Ryx::traceEnabledIs( "Unit", true );
   EXPECT_TRUE( handle.isEnabled() );
   EXPECT_TRUE( handle.isEnabled( 8 ) );
   Ryx::traceLevelIs( "Unit", 8, false );
   EXPECT_TRUE( handle.isEnabled() );
   EXPECT_FALSE( handle.isEnabled( 8 ) );
   EXPECT_TRUE( handle.isEnabled( 9 ) );
   Ryx::traceEnabledIs( "Unit", false );
   Ryx::traceLevelIs( "Unit", 8, true );
   EXPECT_FALSE( handle.isEnabled( 8 ) );
}

TEST_F( TraceTest, LevelsAreZeroToFifteen ) {
   Ryx::TraceHandle const handle( "Unit", true );
   EXPECT_TRUE( handle.isEnabled( 0 ) );
   EXPECT_TRUE( handle.isEnabled( 15 ) );
   EXPECT_FALSE( handle.isEnabled( 16 ) );
   EXPECT_FALSE( handle.isEnabled( -1 ) );
   EXPECT_FALSE( handle.isEnabled( 1000 ) );
   EXPECT_THROW( Ryx::traceLevelIs( "Unit", 16, true ), Ryx::RangeException );
   EXPECT_THROW( Ryx::traceLevelIs( "Unit", -1, true ), Ryx::RangeException );
}

TEST_F( TraceTest, SettingsHoldForHandlesToCome ) {
   Ryx::traceEnabledIs( "Later", true );
   Ryx::traceLevelIs( "Later", 9, false );
   Ryx::TraceHandle const later( "Later", false );
   Ryx::TraceHandle const other( "Other", false );
   EXPECT_TRUE( later.isEnabled( 8 ) );
   EXPECT_FALSE( later.isEnabled( 9 ) );
   EXPECT_FALSE( other.isEnabled( 8 ) );
}

TEST_F( TraceTest, AStarStandsForAllHandles ) {
   Ryx::TraceHandle const now( "Now", false );
   Ryx::traceEnabledIs( "*", true );
   Ryx::traceLevelIs( "*", 9, false );
   Ryx::TraceHandle const later( "Later", false );
   for ( auto const* handle : { &now, &later } ) {
      EXPECT_TRUE( handle->isEnabled( 8 ) );
      EXPECT_FALSE( handle->isEnabled( 9 ) );
   }
}

TEST_F( TraceTest, OfTwoSettingsTheLaterOneHolds ) {
   Ryx::TraceHandle const handle( "Unit", false );
   Ryx::traceEnabledIs( "*", true );
   Ryx::traceEnabledIs( "Unit", false );
   Ryx::traceLevelIs( "Unit", 8, false );
   EXPECT_FALSE( handle.isEnabled() );
   Ryx::traceEnabledIs( "*", true );
   Ryx::traceLevelIs( "*", 8, true );
   EXPECT_TRUE( handle.isEnabled( 8 ) );
   Ryx::TraceHandle const same( "Unit", false );
   EXPECT_TRUE( same.isEnabled( 8 ) );
   Ryx::traceLevelIs( "Unit", 8, false );
   EXPECT_FALSE( handle.isEnabled( 8 ) );
}

TEST_F( TraceTest, ResetBringsBackHowHandlesStarted ) {
   Ryx::TraceHandle const on( "On", true );
   Ryx::TraceHandle const off( "Off", false );
   Ryx::traceEnabledIs( "*", true );
   Ryx::traceLevelIs( "*", 8, false );
   Ryx::traceEnabledIs( "On", false );
   Ryx::traceConfigReset();
   EXPECT_TRUE( on.isEnabled( 8 ) );
   EXPECT_FALSE( off.isEnabled() );
}

TEST_F( TraceTest, HandlesComeAndGoInAnyOrder ) {
   auto a = std::make_unique< Ryx::TraceHandle >( "a", false );
   auto b = std::make_unique< Ryx::TraceHandle >( "b", false );
   auto c = std::make_unique< Ryx::TraceHandle >( "c", false );
   b.reset();
   Ryx::traceEnabledIs( "*", true );
   EXPECT_TRUE( a->isEnabled() );
   EXPECT_TRUE( c->isEnabled() );
   c.reset();
   b = std::make_unique< Ryx::TraceHandle >( "b", false );
   a.reset();
   Ryx::traceEnabledIs( "*", false );
   EXPECT_FALSE( b->isEnabled() );
}

// A unit's objects may outlive its handle at the end of the process.
TEST_F( TraceTest, WhatComesAfterTheHandleIsDropped ) {
   std::string const longName( 100, 'n' );
   auto handle = std::make_unique< Ryx::TraceHandle >( longName, true );
   Ryx::TraceChannel const& channel = handle->channel();
   Ryx::trace( channel, "src/Unit", 8, "words" );
   ASSERT_EQ( sink.records.size(), 1u );
   EXPECT_EQ( sink.records[ 0 ].handleName, longName );
   handle.reset();
   std::ostringstream coverage;
   Ryx::coverageStream_ = &coverage;
   Ryx::traceEnabledIs( "*", true );
   Value const value;
   Ryx::trace( channel, "src/Unit", 8, value );
   EXPECT_EQ( value.printed, 0 );
   EXPECT_EQ( sink.records.size(), 1u );
   EXPECT_EQ( coverage.str(), "" );
}

TEST_F( TraceTest, AHandleThatIsMadeAgainHasItsChannelAgain ) {
   auto handle = std::make_unique< Ryx::TraceHandle >( "Unit", true );
   Ryx::TraceChannel const& channel = handle->channel();
   Ryx::TraceHandle const namesake( "Unit", false );
   EXPECT_NE( &namesake.channel(), &channel );
   handle = nullptr;
   Ryx::TraceHandle const again( "Unit", true );
   EXPECT_EQ( &again.channel(), &channel );
   EXPECT_TRUE( again.isEnabled( 8 ) );
   EXPECT_FALSE( namesake.isEnabled( 8 ) );
}

TEST_F( TraceTest, TheCoverageStreamGetsEverySiteAndTheSinkThoseThatAreOn ) {
   Ryx::TraceHandle const handle( "Unit", false );
   std::ostringstream coverage;
   Ryx::coverageStream_ = &coverage;
   Value const value;
   Ryx::trace( handle, "src/Unit", Ryx::TraceSite( 8, 7, "f" ), value );
   EXPECT_EQ( coverage.str(), "Unit 8 src/Unit:7 f value\n" );
   EXPECT_EQ( value.printed, 1 );
   EXPECT_TRUE( sink.records.empty() );
   Ryx::traceEnabledIs( "Unit", true );
   Ryx::trace( handle, "src/Unit", Ryx::TraceSite( 8, 9, "f" ), value );
   EXPECT_EQ( coverage.str(), "Unit 8 src/Unit:7 f value\nUnit 8 src/Unit:9 f value\n" );
   EXPECT_EQ( sink.records.size(), 1u );
   EXPECT_EQ( value.printed, 2 );
}

TEST_F( TraceTest, TheHelperHandsItsArgumentsOver ) {
   std::stringstream text;
   text << "words";
   Ryx::traceHelper( "Unit", "context", text, 8, true, "src/Unit", 12, "f" );
   Ryx::traceHelper( "Unit", "context", text, 8, false, "src/Unit", 12, "f" );
   ASSERT_EQ( sink.records.size(), 1u );
   EXPECT_EQ( sink.records[ 0 ].context, "context" );
   EXPECT_EQ( sink.records[ 0 ].text, "words" );
}

TEST_F( TraceTest, GoesToStandardErrorByDefault ) {
   Ryx::traceSinkIs( nullptr );
   std::stringstream text;
   text << "words";
   testing::internal::CaptureStderr();
   Ryx::traceHelper( "Unit", "context", text, 8, true, "src/Unit", 12, "f" );
   std::string const line = testing::internal::GetCapturedStderr();
   EXPECT_EQ( line.substr( line.find( ' ' ) ), " Unit 8 src/Unit:12 f [context] words\n" );
}

} // namespace
