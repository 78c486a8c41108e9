// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/web/ReleaseAnswers>

#include <gtest/gtest.h>

namespace ostra {
namespace {

using Trials = std::vector< ReleaseTrial >;

HeldPorts const threePorts = { { "Ethernet1", "mlag errdisable" },
                               { "Ethernet2", "mlag errdisable" },
                               { "Ethernet3", "nonMlag errdisable" } };

// What is said of the only change.
std::string
releasesText( std::optional< Json > const& answers ) {
   return answers ? answers->at( 0 ).at( "releases" ).dump() : "nothing new";
}

Trials
trialOf( std::map< std::string, bool > releases ) {
   return { { "it happens", std::move( releases ) } };
}

} // namespace

TEST( ReleaseAnswers, PortsOfAClassAreToldTogetherAndOthersByName ) {
   HeldPorts held = threePorts;
   held[ "Ethernet4" ] = "mlag errdisable";
   EXPECT_EQ(
      releasesText( ReleaseAnswers().take(
         held,
         trialOf( { { "Ethernet1", true },
                    { "Ethernet2", true },
                    { "Ethernet3", false },
                    { "Ethernet4", false } } ) ) ),
      R"({"mlag errdisable":true,"Ethernet4":false,"nonMlag errdisable":false})" );
}

TEST( ReleaseAnswers, WhatIsSoOfAllIsOneWord ) {
   ReleaseAnswers answers;
   auto const all = [ & ]( bool isSo ) {
      return answers.take(
         threePorts,
         trialOf(
            { { "Ethernet1", isSo }, { "Ethernet2", isSo }, { "Ethernet3", isSo } } ) );
   };
   EXPECT_EQ( releasesText( all( true ) ), "true" );
   EXPECT_EQ( releasesText( all( false ) ), "false" );
   EXPECT_EQ(
      releasesText( answers.take( threePorts, Trials{ { "it happens", {} } } ) ), "null" );
   // A change that concerns some alone says nothing of the others.
   EXPECT_EQ(
      releasesText( answers.take( threePorts, trialOf( { { "Ethernet3", true } } ) ) ),
      R"({"nonMlag errdisable":true})" );
}

TEST( ReleaseAnswers, NothingIsToldTwice ) {
   ReleaseAnswers answers;
   Trials trials =
      trialOf( { { "Ethernet1", true }, { "Ethernet2", true }, { "Ethernet3", false } } );
   EXPECT_TRUE( answers.take( threePorts, trials ) );
   EXPECT_FALSE( answers.take( threePorts, trials ) );
   // One is held no more, and one of the class comes.
   HeldPorts held = { { "Ethernet2", "mlag errdisable" },
                      { "Ethernet7", "mlag errdisable" } };
   EXPECT_FALSE(
      answers.take( held, trialOf( { { "Ethernet2", true }, { "Ethernet7", true } } ) ) );
   EXPECT_EQ(
      releasesText( answers.take(
         held, trialOf( { { "Ethernet2", true }, { "Ethernet7", false } } ) ) ),
      R"({"mlag errdisable":false,"Ethernet2":true})" );
   trials.front().meaning = "something else happens";
   EXPECT_TRUE( answers.take( threePorts, trials ) );
}

TEST( ReleaseAnswers, ThatNothingIsTriedAnyMoreIsToldOnce ) {
   ReleaseAnswers answers;
   EXPECT_FALSE( answers.take( threePorts, std::nullopt ) );
   EXPECT_TRUE( answers.take( threePorts, Trials{} ).has_value() );
   EXPECT_EQ( answers.take( threePorts, std::nullopt ), Json() );
   EXPECT_FALSE( answers.take( threePorts, std::nullopt ) );
}

} // namespace ostra
