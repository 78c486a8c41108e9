// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Random scenarios, played on the plug-in and on the model side by side.

#include <host/Accounts>
#include <model/AnyLife>
#include <model/Player>
#include <model/Replay>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>

namespace {

using model::allPlaces;
using model::Census;
using model::Life;
using model::Player;

// Where the scenarios of this process have been.
Census&
census() {
   static Census counts;
   return counts;
}

void
countPlaces( Player const& player ) {
   for ( std::string const& place : player.reach().places() ) {
      ++census()[ place ];
   }
}

TEST( RandomScenarios, PluginDoesWhatTheModelDoes ) {
   unsigned played = 0;
   bool const held =
      rc::check( "a scenario is the same on the plug-in and on the model", [ & ]() {
         Life const life = *model::anyLife();
         Player player( life );
         ++played;
         bool const same = player.play();
         countPlaces( player );
         if ( !same ) {
            std::string const path = model::keptScenario( player.history(), "random" );
            RC_FAIL( player.difference() + "replay with: ostra run " + path );
         }
      } );
   ASSERT_TRUE( held );
   if ( played < 1000 ) {
      return; // a repeated failure, or a look at a few
   }
   for ( std::string const& place : allPlaces() ) {
      EXPECT_GE( census()[ place ], played / 400 ) << place;
      if ( std::getenv( "OSTRA_SCENARIOS_CENSUS" ) ) {
         std::cout << census()[ place ] << "\t" << place << "\n";
      }
   }
}

// Number `seed` of those that are replayed; it is as long as random scenarios get.
Life
lifeOf( std::uint64_t seed ) {
   return model::anyLife()( rc::Random( seed ), rc::kNominalSize ).value();
}

TEST( RandomScenarios, AreScenariosThatTheHostPlaysAlike ) {
   for ( std::uint64_t seed = 0; seed < 50; ++seed ) {
      Life const life = lifeOf( seed );
      Player player( life );
      ASSERT_TRUE( player.play() ) << life << player.difference();
      std::string const path = model::keptScenario( player.history(), "replay" );
      model::Outcome const outcome = model::played( path );
      EXPECT_EQ( outcome.stream, model::streamOf( player.history() ) ) << path;
      EXPECT_EQ(
         model::lack( outcome.state, model::mountsOf( player.history().end ) ), "" );
      if ( HasFailure() ) {
         return;
      }
      std::filesystem::remove( path );
   }
}

// OSTRA_SCENARIOS_REPORTS names how many; a thousand otherwise.
TEST( RandomScenarios, HaveReportsThatAccountForEveryPort ) {
   char const* const number = std::getenv( "OSTRA_SCENARIOS_REPORTS" );
   std::uint64_t const count = number ? std::stoull( number ) : 1000;
   for ( std::uint64_t seed = 0; seed < count; ++seed ) {
      Life const life = lifeOf( seed );
      Player player( life );
      player.play();
      std::string const path = model::keptScenario( player.history(), "account" );
      std::string const wrong = ostra::misaccounts(
         model::report( path, "text" ),
         model::mountsOf( player.history().boot ),
         model::mountsOf( player.history().end ) );
      ASSERT_EQ( wrong, "" ) << "ostra run " << path;
      std::filesystem::remove( path );
   }
}

} // namespace
