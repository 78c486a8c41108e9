// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Random lives of a switch, played on the plug-in and on the model side by side.

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

// Where the lives of this process have been.
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

TEST( Lives, PluginDoesWhatTheModelDoes ) {
   unsigned lives = 0;
   bool const held =
      rc::check( "a life is the same on the plug-in and on the model", [ & ]() {
         Life const life = *model::anyLife();
         Player player( life );
         ++lives;
         bool const same = player.play();
         countPlaces( player );
         if ( !same ) {
            std::string const path = model::keptScenario( player.history(), "life" );
            RC_FAIL( player.difference() + "replay with: ostra run " + path );
         }
      } );
   ASSERT_TRUE( held );
   if ( lives < 1000 ) {
      return; // a repeated failure, or a look at a few
   }
   for ( std::string const& place : allPlaces() ) {
      EXPECT_GE( census()[ place ], lives / 400 ) << place;
      if ( std::getenv( "OSTRA_LIVES_CENSUS" ) ) {
         std::cout << census()[ place ] << "\t" << place << "\n";
      }
   }
}

// Life number `seed` of those that are replayed; it is as long as lives get.
Life
lifeOf( std::uint64_t seed ) {
   return model::anyLife()( rc::Random( seed ), rc::kNominalSize ).value();
}

TEST( Lives, AreScenariosThatTheHostPlaysAlike ) {
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

// OSTRA_LIVES_REPORTS names how many; a thousand otherwise.
TEST( Lives, HaveReportsThatAccountForEveryPort ) {
   char const* const number = std::getenv( "OSTRA_LIVES_REPORTS" );
   std::uint64_t const lives = number ? std::stoull( number ) : 1000;
   for ( std::uint64_t seed = 0; seed < lives; ++seed ) {
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
