// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Forecasts are what happens: in random lives, beside the live switch's own records when the
// same patch is applied to it and the time goes on.

#include "LiveProcess"

#include <host/run/NdjsonSink>
#include <host/serve/Forecast>

#include <gtest/gtest.h>

#include <fmt/format.h>

#include <cmath>
#include <random>

#include <event2/event.h>

using ostra::asLines;
using ostra::Forecasts;
using ostra::Json;
using ostra::LiveProcess;
using ostra::Milliseconds;
using ostra::RecordOutput;
using ostra::reloadedSwitch;

namespace {

class Dice {
 public:
   explicit Dice( unsigned seed ) : random_( seed ) {}

   unsigned below( unsigned n ) {
      return std::uniform_int_distribution< unsigned >( 0, n - 1 )( random_ );
   }
   bool isLucky() { return below( 2 ) == 0; }
   template< class Any, std::size_t count >
   Any const& of( Any const ( &all )[ count ] ) {
      return all[ below( count ) ];
   }

 private:
   std::mt19937 random_;
};

std::string
port( Dice& dice ) {
   return fmt::format( "Ethernet{}", 1 + dice.below( 5 ) );
}

std::string
portChannel( Dice& dice ) {
   static char const* const names[] = { "Port-Channel1",
                                        "Port-Channel10",
                                        "Port-Channel20" };
   return dice.of( names );
}

Json
delay( Dice& dice ) {
   static Json const delays[] = { 0, 5, 12, 20, 37.5, 40, "inf" };
   return dice.of( delays );
}

// One that clients may make; several of them are one patch.
Json
change( Dice& dice ) {
   static char const* const systemIds[] = { "02:00:00:00:00:01", "02:00:00:00:00:02" };
   std::string const ethernet = port( dice );
   std::string const lag = portChannel( dice );
   switch ( dice.below( 14 ) ) {
   case 0:
   case 1:
      return { { "mlagStatus", { { "mlagState", dice.below( 5 ) } } } };
   case 2:
      return { { "mlagProtoStatus", { { "holdInSecondary", dice.isLucky() } } } };
   case 3:
      return { { "mlagConfig", { { "reloadDelay", delay( dice ) } } } };
   case 4:
      return { { "mlagConfig",
                 { { "reloadDelayNonMlagConfigured", dice.isLucky() },
                   { "reloadDelayNonMlag", delay( dice ) } } } };
   case 5:
      return { { "mlagConfig", { { "enabled", dice.below( 4 ) != 0 } } } };
   case 6:
      return { { "mlagConfig", { { "lacpStandby", dice.isLucky() } } } };
   case 7:
      return { { "mlagStatus", { { "systemId", dice.of( systemIds ) } } } };
   case 8:
      return { { "lacpOverride",
                 { { "lagIdConfig", { { lag, dice.of( systemIds ) } } } } } };
   case 9:
      return { { "lagInputConfig",
                 { { "phyIntf", { { ethernet, { { "lag", lag }, { "mode", 2 } } } } } } } };
   case 10:
      return { { "ethPhyIntfStatus",
                 { { "intfStatus",
                     { { ethernet, dice.isLucky() ? Json() : Json::object() } } } } } };
   case 11:
      return { { "mlagissuCause", { { "intfStatus", { { ethernet, nullptr } } } } } };
   case 12:
      return {
         { "ethPhyIntfConfig",
           { { "intfConfig",
               { { ethernet, { { "adminEnabledStateLocal", dice.below( 3 ) } } } } } } }
      };
   default:
      return {
         { "lagInputIntfStatus",
           { { "intfStatus", { { lag, { { "linkStatus", dice.below( 3 ) } } } } } } }
      };
   }
}

Json
somePatch( Dice& dice ) {
   Json patch = Json::object();
   for ( unsigned left = 1 + dice.below( 3 ); left > 0; --left ) {
      patch.update( change( dice ), true );
   }
   return patch;
}

// What both tell of: time from there in milliseconds, and the record.
std::vector< std::string >
told( std::vector< Json > const& records, Milliseconds from ) {
   std::vector< std::string > told;
   for ( Json record : records ) {
      std::string const type = record.at( "type" );
      if ( type != "write" && type != "log" && type != "event" ) {
         continue;
      }
      double const at = record.at( "t" ).get< double >() * 1000;
      for ( char const* key : { "t", "seq", "time", "index" } ) {
         record.erase( key );
      }
      told.push_back(
         fmt::format( "{} {}", std::llround( at ) - from.count(), record.dump() ) );
   }
   return told;
}

void
playLife( unsigned seed ) {
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

TEST( ForecastLives, AreWhatHappensWhenTheSamePatchIsAppliedAndTimeGoesOn ) {
   for ( unsigned seed = 1; seed <= 150; ++seed ) {
      playLife( seed );
      if ( testing::Test::HasFailure() ) {
         return;
      }
   }
}
