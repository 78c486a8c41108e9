// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// `ostra serve` as a process: how it starts, what it says and how it ends.

#include "Program"
#include "RunningProgram"

#include <gmock/gmock.h>

#include <csignal>

using ostra::ostraRun;
using ostra::RunningProgram;
using testing::HasSubstr;

namespace {

class Serve : public testing::Test {
 protected:
   Serve() { configure( "  mlagConfig: { reloadDelay: 5 }\n" ); }

   void configure( std::string const& mounts ) {
      std::ofstream( config ) << "state: " << directory_.path()
                              << "/state\nlisten: [ { unix: " << directory_.path()
                              << "/socket } ]\nmounts:\n"
                              << mounts;
   }
   // Of a signal that comes when it serves.
   ostra::Outcome outcomeOf( int signal ) {
      RunningProgram program( { "serve", "--config", config, "--plugin", OSTRA_PLUGIN } );
      EXPECT_TRUE( program.hasWritten() );
      program.signal( signal );
      return program.outcome();
   }

 private:
   ostra::TemporaryDirectory const directory_;

 protected:
   std::string const config = directory_.path() + "/ostra.yaml";
};

} // namespace

TEST_F( Serve, EndsInGoodOrderWhenItIsToldTo ) {
   for ( int const signal : { SIGTERM, SIGINT } ) {
      auto const outcome = outcomeOf( signal );
      EXPECT_EQ( outcome.status, 0 );
      EXPECT_THAT( outcome.out, HasSubstr( "ostra: serving on " ) );
      EXPECT_EQ( outcome.err, "" );
   }
}

TEST_F( Serve, StartsAgainAfterItWasKilled ) {
   EXPECT_EQ( outcomeOf( SIGKILL ).status, 128 + SIGKILL );
   EXPECT_EQ( outcomeOf( SIGTERM ).status, 0 );
}

TEST_F( Serve, AWrongFileIsRefusedBeforeAnythingHappens ) {
   configure( "  mlagConfig: { reloadDelay: soon }\n" );
   auto const outcome = ostraRun( "serve --config " + config );
   EXPECT_EQ( outcome.status, 2 );
   EXPECT_THAT( outcome.err, HasSubstr( "reloadDelay: \"soon\": expected a number" ) );
   EXPECT_EQ( ostraRun( "serve --check --config " + config ).status, 2 );
}

TEST_F( Serve, AFileCanBeCheckedWithoutServing ) {
   auto const outcome = ostraRun( "serve --check --config " + config );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_THAT( outcome.out, HasSubstr( ": ok, driver none" ) );
}

TEST_F( Serve, AFileThatIsWrongWhenItIsReadAgainChangesNothing ) {
   RunningProgram program( { "serve", "--config", config, "--plugin", OSTRA_PLUGIN } );
   ASSERT_TRUE( program.hasWritten() );
   configure( "  mlagConfig: { reloadDelay: soon }\n" );
   program.signal( SIGHUP );
   program.signal( SIGTERM );
   auto const outcome = program.outcome();
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_THAT( outcome.err, HasSubstr( "the configuration stays as it was: " ) );
}
