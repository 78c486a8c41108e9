// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A store whose disk is full, and one whose files are not one another's.

#include "LiveProcess"
#include "SmallDisk"

#include <gmock/gmock.h>

#include <csignal>
#include <functional>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using ostra::FakeDriver;
using ostra::LiveProcess;
using testing::AllOf;
using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace fs = std::filesystem;

namespace {

// No file grows beyond that while it is there.
class FullDisk {
 public:
   explicit FullDisk( rlim_t octets ) {
      before_ = signal( SIGXFSZ, SIG_IGN );
      getrlimit( RLIMIT_FSIZE, &limit_ );
      rlimit const full{ octets, limit_.rlim_max };
      setrlimit( RLIMIT_FSIZE, &full );
   }
   ~FullDisk() {
      setrlimit( RLIMIT_FSIZE, &limit_ );
      signal( SIGXFSZ, before_ );
   }

 private:
   rlimit limit_;
   sighandler_t before_;
};

class StoreDisk : public testing::Test {
 protected:
   std::string const& state() const { return directory_.path(); }
   std::string file( std::string const& suffix = "" ) const {
      return state() + "/state.db" + suffix;
   }
   static std::string change( LiveProcess& process, int number ) {
      return process.patch(
         "\"" + std::to_string( number ) + "\"", { "mlagConfig", "domainId" } );
   }
   // A process that was killed: its log is not in the database yet.
   void leaveKilled( std::string const& domain ) {
      pid_t const child = fork();
      if ( child == 0 ) {
         LiveProcess process( state(), clock, driver );
         process.start();
         process.patch( "\"" + domain + "\"", { "mlagConfig", "domainId" } );
         _exit( 0 );
      }
      waitpid( child, nullptr, 0 );
   }
   std::string domain() {
      LiveProcess process( state(), clock, driver );
      process.start();
      findings = process.host().findings();
      return process.at( { "mlagConfig", "domainId" } );
   }

   // What a start from a copy of the directory would tell next.
   std::pair< std::int64_t, std::uint64_t > next() {
      ostra::TemporaryDirectory const copy;
      fs::copy( state(), copy.path(), fs::copy_options::recursive );
      auto const next = nextOf( copy.path() );
      EXPECT_GT( next.first, 1 );
      return next;
   }
   // A start on what was left, which has lost a part of it.
   void expectToSayWhatIsLost( std::pair< std::int64_t, std::uint64_t > const& told ) {
      std::pair const now = nextOf( state() );
      EXPECT_THAT(
         findings, ElementsAre( HasSubstr( "what changed from there on is lost" ) ) );
      EXPECT_GE( now.first, told.first );
      EXPECT_GE( now.second, told.second );
      domain();
      EXPECT_THAT( findings, IsEmpty() );
   }

   ostra::SimulatedClock clock;
   FakeDriver driver;
   std::vector< std::string > findings;

 private:
   std::pair< std::int64_t, std::uint64_t > nextOf( std::string const& directory ) {
      LiveProcess process( directory, clock, driver );
      std::int64_t const number = process.host().store().nextId();
      process.start();
      findings = process.host().findings();
      return { number, process.host().live().revision() };
   }

   ostra::TemporaryDirectory const directory_;
};

} // namespace

TEST_F( StoreDisk, IsTriedAgainWithAPauseWhileItIsFull ) {
   LiveProcess process( state(), clock, driver );
   process.start();
   {
      FullDisk const full( 4096 );
      EXPECT_THAT( change( process, 1 ), HasSubstr( "store: " ) );
   }
   // It could be written now, and it is not tried with every turn.
   EXPECT_THAT( change( process, 2 ), HasSubstr( "store: " ) );
   process.pass( 5'000 );
   EXPECT_EQ( process.host().store().problem(), "" );
   EXPECT_EQ( change( process, 3 ), "" );
}

// With just as much room as some part of a new one needs.
TEST_F( StoreDisk, AFullOneIsNoDamageHoweverMuchRoomIsLeft ) {
   ostra::SmallDisk const disk( state(), 512 );
   if ( !disk.problem().empty() ) {
      GTEST_SKIP() << disk.problem();
   }
   for ( std::size_t room = 0; room < 120; room += 4 ) {
      SCOPED_TRACE( room );
      for ( auto const& entry : fs::directory_iterator( state() ) ) {
         fs::remove( entry.path() );
      }
      disk.fill( room );
      {
         LiveProcess process( state(), clock, driver );
         process.start();
         EXPECT_THAT( process.host().findings(), IsEmpty() );
         std::string const answer = change( process, 1 );
         EXPECT_THAT( answer, AnyOf( IsEmpty(), HasSubstr( "disk is full" ) ) );
         EXPECT_EQ( process.host().store().finding(), "" );
      }
      disk.clear();
      LiveProcess process( state(), clock, driver );
      process.start();
      EXPECT_THAT( process.host().findings(), IsEmpty() );
      EXPECT_EQ( change( process, 2 ), "" );
      for ( auto const& entry : fs::directory_iterator( state() ) ) {
         EXPECT_THAT( entry.path().string(), Not( HasSubstr( ".aside-" ) ) );
      }
   }
}

TEST_F( StoreDisk, NumbersThatWereToldWhileItWasFullAreNotToldAgain ) {
   std::int64_t told = 0;
   ostra::Revision revision = 0;
   {
      LiveProcess process( state(), clock, driver );
      process.start();
      EXPECT_EQ( change( process, 0 ), "" );
      FullDisk const full( 4096 );
      for ( int i = 1; i < 10; ++i ) {
         EXPECT_THAT( change( process, i ), HasSubstr( "store: " ) );
      }
      told = process.host().live().records().nextId();
      revision = process.host().live().revision();
   }
   LiveProcess process( state(), clock, driver );
   process.start();
   EXPECT_GE( process.host().live().records().nextId(), told );
   EXPECT_GE( process.host().live().revision(), revision );
   EXPECT_EQ( change( process, 11 ), "" );
   auto const next = process.host().live().records().nextId();
   EXPECT_EQ( change( process, 12 ), "" );
   EXPECT_EQ( process.host().live().records().nextId(), next + 1 );
}

TEST_F( StoreDisk, NumbersThatWereToldAreNotToldAgainWhateverTheDate ) {
   std::int64_t const told = 5'000'000;
   std::ofstream( file( "-numbers" ) ) << told << '\n';
   // Nothing can be made beside its place.
   fs::create_directories( file( ".new" ) + "/x" );
   clock.offset = -clock.moment;
   LiveProcess process( state(), clock, driver );
   process.start();
   ASSERT_THAT( process.host().store().problem(), Not( IsEmpty() ) );
   EXPECT_GE( process.host().live().records().nextId(), told );
}

TEST_F( StoreDisk, WhatIsNoFileInThePlaceOfItIsSetAside ) {
   leaveKilled( "a" );
   fs::remove( file() );
   fs::create_directories( file() + "/x" );
   EXPECT_EQ( domain(), "" );
   EXPECT_THAT( findings, ElementsAre( HasSubstr( "/state.db: not a file; it is now " ) ) );
   EXPECT_EQ( domain(), "" );
   EXPECT_THAT( findings, IsEmpty() );
}

// What is in the database is there: it says what is held in this boot.
TEST_F( StoreDisk, WhatIsNoFileInThePlaceOfALogIsSetAside ) {
   leaveKilled( "a" );
   EXPECT_EQ( domain(), "a" );
   for ( char const* suffix : { "-wal", "-shm", "-journal" } ) {
      SCOPED_TRACE( suffix );
      for ( bool const isFifo : { false, true } ) {
         if ( isFifo ) {
            ASSERT_EQ( mkfifo( file( suffix ).c_str(), 0600 ), 0 );
         } else {
            fs::create_directories( file( suffix ) + "/x" );
         }
         EXPECT_EQ( domain(), "a" );
         EXPECT_THAT(
            findings,
            ElementsAre( AllOf(
               HasSubstr( suffix + std::string( ": not a file; it is now " ) ),
               Not( HasSubstr( "lost" ) ) ) ) );
         EXPECT_EQ( domain(), "a" );
         EXPECT_THAT( findings, IsEmpty() );
      }
   }
}

TEST_F( StoreDisk, WhatWasInALogThatIsNoFileAnyMoreIsSaidToBeLost ) {
   EXPECT_EQ( domain(), "" );
   leaveKilled( "a" );
   auto const told = next();
   fs::remove( file( "-wal" ) );
   fs::create_directory( file( "-wal" ) );
   expectToSayWhatIsLost( told );
}

TEST_F( StoreDisk, NumbersThatWereLeftStayLeftWhenNothingIsWritten ) {
   auto const next = [ this ] {
      LiveProcess process( state(), clock, driver );
      process.start();
      return process.host().live().records().nextId();
   };
   std::ofstream( file() ) << "no database";
   { LiveProcess const ended( state(), clock, driver ); }
   auto const first = next();
   EXPECT_GT( first, 1'000'000'000 );
   fs::copy_file( file(), file( ".backup" ) );
   auto const second = next();
   fs::rename( file( ".backup" ), file() );
   clock.moment += std::chrono::seconds( 1 );
   {
      ostra::Database operators( file(), ostra::Milliseconds( 0 ) );
      operators.run( "BEGIN EXCLUSIVE" );
      EXPECT_THROW( next(), ostra::Failure );
   }
   EXPECT_GT( next(), second + 100'000 );
}

TEST_F( StoreDisk, RecordsStayUntilThereAreTooManyAlsoWhenNumbersAreMissing ) {
   std::size_t before = 0;
   {
      LiveProcess process( state(), clock, driver );
      process.start();
      for ( int i = 0; i < 20; ++i ) {
         EXPECT_EQ( change( process, i ), "" );
      }
      before = process.history().size();
      ASSERT_GE( before, 20U );
   }
   std::ofstream( file( "-numbers" ) ) << "1000000\n";
   std::int64_t const limit = 50;
   for ( bool const isCounted : { true, false } ) {
      if ( !isCounted ) {
         ostra::Database( file(), ostra::Milliseconds( 0 ) )
            .run( "DELETE FROM kept WHERE name = 'count'" );
      }
      LiveProcess process( state(), clock, driver, "boot 1", { limit, 30 } );
      process.start();
      EXPECT_EQ( change( process, 100 + isCounted ), "" );
      ASSERT_GE( process.host().live().records().nextId(), 1'000'000 );
      EXPECT_EQ( process.history().front().at( "seq" ), 1 );
      EXPECT_GT( process.history().size(), before );
      before = process.history().size();
   }
   LiveProcess process( state(), clock, driver, "boot 1", { limit, 30 } );
   process.start();
   for ( auto i = std::int64_t( process.history().size() ); i < limit; ++i ) {
      EXPECT_EQ( change( process, int( i ) ), "" );
      EXPECT_EQ( process.history().front().at( "seq" ), 1 );
   }
   EXPECT_EQ( change( process, 0 ), "" );
   EXPECT_EQ( std::int64_t( process.history().size() ), limit );
   EXPECT_GT( process.history().front().at( "seq" ), 1 );
}

TEST_F( StoreDisk, WhatIsInTheLogOfAKilledProcessIsThere ) {
   leaveKilled( "a" );
   ASSERT_TRUE( fs::exists( file( "-wal" ) ) );
   EXPECT_EQ( domain(), "a" );
   EXPECT_THAT( findings, IsEmpty() );
}

TEST_F( StoreDisk, TheLogOfADatabaseThatIsGoneIsSetAside ) {
   leaveKilled( "a" );
   fs::remove( file() );
   EXPECT_EQ( domain(), "" );
   EXPECT_THAT( findings, ElementsAre( HasSubstr( "of another database" ) ) );
}

TEST_F( StoreDisk, TheLogIsNotWrittenIntoADatabaseThatWasPutInItsPlace ) {
   EXPECT_EQ( domain(), "" );
   fs::copy_file( file(), file( ".backup" ) );
   leaveKilled( "a" );
   fs::rename( file( ".backup" ), file() );
   EXPECT_EQ( domain(), "" );
   EXPECT_THAT( findings, ElementsAre( HasSubstr( "of another database" ) ) );
   EXPECT_EQ( domain(), "" );
   EXPECT_THAT( findings, IsEmpty() );
}

TEST_F( StoreDisk, ADirectoryThatWasCopiedIsWhole ) {
   leaveKilled( "a" );
   std::string const copy = state() + "-copy";
   fs::rename( state(), copy );
   fs::create_directories( state() );
   for ( auto const& entry : fs::directory_iterator( copy ) ) {
      fs::copy_file( entry.path(), state() + "/" + entry.path().filename().string() );
   }
   fs::remove_all( copy );
   EXPECT_EQ( domain(), "a" );
   EXPECT_THAT( findings, IsEmpty() );
}

TEST_F( StoreDisk, NumbersThatWereToldBeforeItWasLostAreNotToldAgain ) {
   auto const next = [ this ] {
      clock.moment += std::chrono::seconds( 1 );
      LiveProcess process( state(), clock, driver );
      process.start();
      EXPECT_EQ( change( process, 1 ), "" );
      return std::pair(
         process.host().live().records().nextId(), process.host().live().revision() );
   };
   auto const first = next();
   fs::copy_file( file(), file( ".backup" ) );
   auto const second = next();
   fs::rename( file( ".backup" ), file() );
   auto const third = next();
   EXPECT_GT( third.first, second.first );
   EXPECT_GT( third.second, second.second );
   EXPECT_GT( second.first, first.first );
   fs::remove( file() );
   EXPECT_GT( next().first, third.first );
   EXPECT_GT( next().second, third.second );
}

TEST_F( StoreDisk, ALogThatIsGoneIsSaidAndItsNumbersAreNotToldAgain ) {
   EXPECT_EQ( domain(), "" );
   leaveKilled( "a" );
   auto const told = next();
   fs::remove( file( "-wal" ) );
   expectToSayWhatIsLost( told );
}

TEST_F( StoreDisk, ALogThatWasOverwrittenIsSaidAndItsNumbersAreNotToldAgain ) {
   EXPECT_EQ( domain(), "" );
   leaveKilled( "a" );
   auto const told = next();
   std::ofstream( file( "-wal" ) ) << std::string( fs::file_size( file( "-wal" ) ), 'x' );
   expectToSayWhatIsLost( told );
}

TEST_F( StoreDisk, AnOlderOneThatWasWrittenOverItIsSaid ) {
   EXPECT_EQ( domain(), "" );
   fs::copy_file( file(), file( ".backup" ) );
   leaveKilled( "a" );
   EXPECT_EQ( domain(), "a" );
   auto const told = next();
   fs::copy_file( file( ".backup" ), file(), fs::copy_options::overwrite_existing );
   expectToSayWhatIsLost( told );
}

TEST_F( StoreDisk, ItsNumbersGoOnWhenItNoLongerKnowsThem ) {
   leaveKilled( "a" );
   auto const told = next();
   ostra::Database( file(), ostra::Milliseconds( 0 ) ).run( "DELETE FROM kept" );
   expectToSayWhatIsLost( told );
   EXPECT_EQ( domain(), "a" );
}

// What is in the store's place goes while a host has it: what it says is kept is there.
TEST_F( StoreDisk, OneThatGoesWhileAHostHasItIsWrittenAnew ) {
   std::string const away = state() + "-away";
   std::vector< std::function< void() > > const ways = {
      [ & ] { fs::rename( file(), file( ".away" ) ); },
      [ & ] { fs::remove( file() ); },
      [ & ] { fs::rename( state(), away ); },
      [ & ] { fs::remove_all( state() ); },
      [ & ] {
         fs::copy_file( file(), file( ".backup" ) );
         fs::rename( file( ".backup" ), file() );
      },
      [ & ] {
         fs::copy( state(), away, fs::copy_options::recursive );
         fs::remove_all( state() );
         fs::rename( away, state() );
      }
   };
   std::int64_t told = 0;
   for ( std::size_t i = 0; i < ways.size(); ++i ) {
      SCOPED_TRACE( i );
      pid_t const child = fork();
      if ( child == 0 ) {
         LiveProcess process( state(), clock, driver );
         process.start();
         EXPECT_EQ( process.patch( "\"before\"", { "mlagConfig", "domainId" } ), "" );
         ways[ i ]();
         EXPECT_EQ( change( process, int( i ) ), "" );
         EXPECT_THAT( process.host().store().finding(), HasSubstr( "is written anew" ) );
         std::string const finding = process.host().store().finding();
         EXPECT_EQ( process.patch( "5", { "mlagConfig", "reloadDelay" } ), "" );
         EXPECT_EQ( process.host().store().finding(), finding );
         EXPECT_EQ( process.host().store().problem(), "" );
         EXPECT_THROW( LiveProcess( state(), clock, driver ), ostra::Failure );
         _exit( HasFailure() ? 1 : 0 );
      }
      int status = 0;
      waitpid( child, &status, 0 );
      EXPECT_EQ( status, 0 );
      auto const [ number, revision ] = next();
      EXPECT_THAT( findings, IsEmpty() );
      EXPECT_GT( number, told );
      told = number;
      EXPECT_EQ( domain(), std::to_string( i ) );
      fs::remove_all( away );
   }
}

TEST_F( StoreDisk, ADirectoryThatAnotherHostHasMadeAnewIsItsOwn ) {
   ostra::StoreFiles one( state() );
   ASSERT_TRUE( one.lock() );
   fs::rename( state(), state() + "-away" );
   {
      ostra::StoreFiles other( state() );
      ASSERT_TRUE( other.lock() );
      EXPECT_FALSE( one.lock( [] {} ) );
      EXPECT_FALSE( one.lock( [] {} ) );
   }
   EXPECT_TRUE( one.lock( [] {} ) );
   fs::remove_all( state() + "-away" );
}

TEST_F( StoreDisk, ALastNumberThatNobodyWroteIsNotHeard ) {
   leaveKilled( "a" );
   auto const told = next();
   for ( char const* text :
         { "", "x\n", "-5\n", "99999999999999999999\n", "9223372036854775807\n", "0\n" } ) {
      std::ofstream( file( "-last" ) ) << text;
      EXPECT_EQ( next(), told ) << text;
      EXPECT_THAT( findings, IsEmpty() ) << text;
   }
   fs::remove( file( "-last" ) );
   fs::create_directory( file( "-last" ) );
   EXPECT_EQ( domain(), "a" );
   EXPECT_THAT( findings, IsEmpty() );
}
