// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Forecasts are what happens: in random scenarios, beside the live switch's own records when the
// same patch is applied to it and the time goes on.

#include "LiveProcess"
#include "RandomLife"

#include <host/run/NdjsonSink>
#include <host/serve/Forecast>

#include <gtest/gtest.h>

#include <fmt/format.h>

#include <cmath>

#include <event2/event.h>

using ostra::asLines;
using ostra::Dice;
using ostra::Forecasts;
using ostra::Json;
using ostra::LiveProcess;
using ostra::Milliseconds;
using ostra::RecordOutput;
using ostra::reloadedSwitch;
using ostra::somePatch;
using ostra::told;

namespace {

void
forecastRandomly( unsigned seed ) {
   SCOPED_TRACE( fmt::format( "seed {}", seed ) );
   ostra::TemporaryDirectory const directory;
   ostra::SimulatedClock clock;
   ostra::NoDriver driver;
   LiveProcess process( directory.path(), clock, driver );
   process.start();
   Dice dice( seed );
   EXPECT_EQ( process.patch( reloadedSwitch() ), "" );
   for ( unsigned left = dice.below( 6 ); left > 0; --left ) {
      EXPECT_EQ( process.patch( somePatch( dice ).dump() ), "" );
   }
   // The machine of a switch that boots with that.
   auto& agent = process.host().live().agent();
   agent.apply( ostra::Item( ostra::parseDocument( "agent", "null" ) ) );
   process.host().live().mounts().apply( ostra::Item( ostra::parseDocument(
      "start",
      "{mlagProtoStatus: {portsErrdisabled: false, portsErrdisabledWhen: .inf}}" ) ) );
   agent.setAll();
   for ( unsigned left = dice.below( 5 ); left > 0; --left ) {
      process.pass( static_cast< int >( dice.below( 16'000 ) ) );
      EXPECT_EQ( process.patch( somePatch( dice ).dump() ), "" );
   }
   clock.moment += Milliseconds( dice.below( 3000 ) );

   bool const hasPatch = dice.below( 5 ) != 0;
   bool const hasUntil = dice.isLucky();
   Json request = Json::object();
   if ( hasPatch ) {
      request[ "patch" ] = somePatch( dice );
   }
   unsigned const until = dice.below( 50'000 );
   if ( hasUntil ) {
      request[ "until" ] = until / 1000.0;
   }
   std::optional< Forecasts::Outcome > taken;
   Forecasts forecasts( process.loop().base(), process.host().live() );
   forecasts.start(
      ostra::readForecast( process.host().live(), request.dump() ),
      asLines,
      [ &taken ]( Forecasts::Outcome outcome ) { taken = std::move( outcome ); } );
   while ( !taken ) {
      event_base_loop( process.loop().base(), EVLOOP_ONCE );
   }
   ASSERT_FALSE( taken->problem ) << taken->problem->found;
   auto const records = ostra::jsonLines( taken->records );

   auto const since = process.host().live().records().nextId() - 1;
   Milliseconds const start = clock.moment;
   if ( hasPatch ) {
      EXPECT_EQ( process.patch( request[ "patch" ].dump() ), "" );
   } else {
      process.turn();
   }
   if ( hasUntil ) {
      process.pass( static_cast< int >( until ) );
   } else {
      while ( std::isfinite( Ryx::activityManager()->clock()->nextTimeMin() ) ) {
         process.pass( 1000 );
      }
   }
   EXPECT_EQ( told( records, {} ), told( process.history( since ), start ) ) << request;
   EXPECT_EQ( records.back().at( "state" ), process.at( {} ) ) << request;
   if ( hasUntil ) {
      EXPECT_EQ( std::llround( records.back().at( "t" ).get< double >() * 1000 ), until );
   }
}

} // namespace

TEST( ForecastScenarios, AreWhatHappensWhenTheSamePatchIsAppliedAndTimeGoesOn ) {
   for ( unsigned seed = 1; seed <= 150; ++seed ) {
      forecastRandomly( seed );
      if ( testing::Test::HasFailure() ) {
         return;
      }
   }
}
