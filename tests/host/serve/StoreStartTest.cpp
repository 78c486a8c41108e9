// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A store that cannot be read when the host starts. What is in it says what is held in this
// boot: the host does not start without it as long as it may still be read.

#include "LiveProcess"

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <unistd.h>

using ostra::FakeDriver;
using ostra::LiveProcess;
using ostra::reloadedSwitch;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace fs = std::filesystem;

namespace {

class StoreStart : public testing::Test {
 protected:
   std::string const& state() const { return directory_.path(); }
   std::string file( std::string const& suffix = "" ) const {
      return state() + "/state.db" + suffix;
   }

   // A store of a switch in its delay: one of two ports was released by hand.
   void leave() {
      LiveProcess process( state(), clock, driver );
      process.start( reloadedSwitch() );
      ASSERT_EQ(
         process.patch( "null", { "mlagissuCause", "intfStatus", "Ethernet1" } ), "" );
      ASSERT_EQ( process.patch( "true", { "mlagConfig", "lacpStandby" } ), "" );
   }
   void expectNoStart( std::string const& why ) {
      driver.batches.clear();
      try {
         LiveProcess const process( state(), clock, driver );
         FAIL();
      } catch ( ostra::Failure const& failure ) {
         EXPECT_EQ( failure.status(), ostra::ExitStatus::failed );
         EXPECT_EQ( failure.what(), file() + ": " + why );
      }
      EXPECT_THAT( driver.batches, IsEmpty() );
   }
   // Nothing is held or released by the restart.
   void expectToGoOn() {
      driver.batches.clear();
      LiveProcess process( state(), clock, driver );
      process.start( reloadedSwitch() );
      EXPECT_THAT( process.host().findings(), IsEmpty() );
      EXPECT_THAT( process.errdisabled(), ElementsAre( "Ethernet2" ) );
      EXPECT_THAT( driver.batches, IsEmpty() );
      EXPECT_EQ( process.at( { "mlagConfig", "lacpStandby" } ), true );
   }

   ostra::SimulatedClock clock;
   FakeDriver driver;

 private:
   ostra::TemporaryDirectory const directory_;
};

} // namespace

TEST_F( StoreStart, OfOneThatAnotherProcessHasIsTriedAgain ) {
   leave();
   {
      ostra::Database operators( file(), ostra::Milliseconds( 0 ) );
      operators.run( "BEGIN EXCLUSIVE" );
      expectNoStart( "another process has it: expected one that nobody has open" );
   }
   expectToGoOn();
}

TEST_F( StoreStart, OfOneThatCannotBeOpenedIsTriedAgain ) {
   leave();
   chmod( state().c_str(), 0777 );
   chmod( file().c_str(), 0 );
   pid_t const child = fork();
   if ( child == 0 ) {
      // Root may read anything.
      if ( geteuid() == 0 && setuid( 65534 ) != 0 ) {
         _exit( 2 );
      }
      expectNoStart( "unable to open database file: expected a store that can be read" );
      _exit( HasFailure() ? 1 : 0 );
   }
   int status = 0;
   waitpid( child, &status, 0 );
   chmod( file().c_str(), 0600 );
   EXPECT_EQ( status, 0 );
   expectToGoOn();
}

TEST_F( StoreStart, OfOneWhoseDirectoryCannotBeWrittenIsMadeWithoutIt ) {
   leave();
   chmod( state().c_str(), 0555 );
   pid_t const child = fork();
   if ( child == 0 ) {
      // Root may write anywhere.
      if ( geteuid() == 0 && setuid( 65534 ) != 0 ) {
         _exit( 2 );
      }
      LiveProcess process( state(), clock, driver );
      process.start( reloadedSwitch() );
      EXPECT_THAT( process.errdisabled(), SizeIs( 2 ) );
      EXPECT_THAT( process.host().store().problem(), testing::Not( IsEmpty() ) );
      _exit( HasFailure() ? 1 : 0 );
   }
   int status = 0;
   waitpid( child, &status, 0 );
   chmod( state().c_str(), 0755 );
   EXPECT_EQ( status, 0 );
   expectToGoOn();
}

TEST_F( StoreStart, WithoutADirectorySetsAsideWhatTurnsUpInIt ) {
   leave();
   std::string const blocked = state() + "/file";
   std::string const late = blocked + "/state";
   std::ofstream( blocked ) << "x";
   {
      LiveProcess process( late, clock, driver );
      process.start( reloadedSwitch() );
      auto const first = process.host().store().nextId();
      fs::remove( blocked );
      fs::create_directories( late );
      fs::copy_file( file(), late + "/state.db" );
      process.pass( 10'000 );
      EXPECT_EQ( process.host().store().problem(), "" );
      EXPECT_THAT( process.host().store().finding(), HasSubstr( "it is now " + late ) );
      EXPECT_EQ( process.at( { "mlagConfig", "lacpStandby" } ), false );
      EXPECT_EQ( process.patch( "false", { "mlagConfig", "lacpStandby" } ), "" );
      EXPECT_EQ( process.history().front().at( "seq" ), first );
   }
   LiveProcess process( late, clock, driver );
   process.start( reloadedSwitch() );
   EXPECT_THAT( process.host().findings(), IsEmpty() );
   EXPECT_THAT( process.errdisabled(), SizeIs( 2 ) );
   EXPECT_EQ( process.at( { "mlagConfig", "lacpStandby" } ), false );
}
