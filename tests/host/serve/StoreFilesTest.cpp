// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A store whose files are not one another's, or are no files.

#include "StoreDisk"

#include <gmock/gmock.h>

#include <functional>

#include <sys/stat.h>
#include <unistd.h>

using ostra::LiveProcess;
using ostra::StoreDisk;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace fs = std::filesystem;

namespace {

std::string
octetsOf( std::string const& path ) {
   std::ifstream in( path, std::ios::binary );
   return { std::istreambuf_iterator< char >( in ), {} };
}

class StoreOfHost : public StoreDisk {
 protected:
   // Another host's database, of whatever time of its life.
   std::string others() {
      std::string const directory = others_.path() + "/state";
      domain( directory );
      leaveKilled( "others", directory );
      domain( directory );
      return directory + "/state.db";
   }
   // Where the database was set aside.
   std::string aside() const {
      std::string found;
      for ( auto const& entry : fs::directory_iterator( state() ) ) {
         std::string const name = entry.path().filename().string();
         bool const isLog = name.ends_with( "-wal" );
         if ( name.starts_with( "state.db.aside-" ) && !isLog ) {
            EXPECT_EQ( found, "" );
            found = entry.path().string();
         }
      }
      return found;
   }

 private:
   ostra::TemporaryDirectory const others_;
};

} // namespace

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

TEST_F( StoreOfHost, OfAnotherHostThatWasWrittenOverItIsSetAsideApartFromItsLog ) {
   std::string const other = others();
   EXPECT_EQ( domain(), "" );
   leaveKilled( "a" );
   auto const told = next();
   ASSERT_TRUE( fs::exists( file( "-wal" ) ) );
   fs::copy_file( other, file(), fs::copy_options::overwrite_existing );
   EXPECT_EQ( domain(), "" );
   EXPECT_THAT(
      findings,
      ElementsAre( AllOf(
         HasSubstr( "/state.db-wal: of another database; it is now " ),
         HasSubstr(
            "/state.db: of another host, and taken only without state.db-of "
            "beside it; it is now " +
            aside() ) ) ) );
   EXPECT_EQ( octetsOf( aside() ), octetsOf( other ) );
   EXPECT_FALSE( fs::exists( aside() + "-wal" ) );
   EXPECT_GT( next().first, told.first );
   EXPECT_EQ( domain(), "" );
   EXPECT_THAT( findings, IsEmpty() );
}

TEST_F( StoreOfHost, OfAnotherHostIsSetAsideHoweverItCame ) {
   std::string const other = others();
   EXPECT_EQ( domain(), "" );
   for ( bool const isRenamed : { false, true } ) {
      if ( isRenamed ) {
         fs::copy_file( other, file( ".copy" ) );
         fs::rename( file( ".copy" ), file() );
      } else {
         fs::copy_file( other, file(), fs::copy_options::overwrite_existing );
      }
      EXPECT_EQ( domain(), "" );
      EXPECT_THAT( findings, ElementsAre( HasSubstr( "/state.db: of another host" ) ) );
      EXPECT_EQ( octetsOf( aside() ), octetsOf( other ) );
      fs::remove( aside() );
   }
}

TEST_F( StoreOfHost, OfAnotherHostIsTakenWhenThatIsWanted ) {
   std::string const other = others();
   EXPECT_EQ( domain(), "" );
   fs::copy_file( other, file(), fs::copy_options::overwrite_existing );
   fs::remove( file( "-of" ) );
   fs::remove( file( "-last" ) );
   for ( int i = 0; i < 2; ++i ) {
      EXPECT_EQ( domain(), "others" );
      EXPECT_THAT( findings, IsEmpty() );
   }
}

TEST_F( StoreOfHost, ItsOwnIsTakenAgainWhenItWasSetAside ) {
   leaveKilled( "a" );
   EXPECT_EQ( domain(), "a" );
   std::string const before = octetsOf( file() );
   std::ofstream( file() ) << "no database";
   EXPECT_EQ( domain(), "" );
   std::string const kept = file( ".kept" );
   fs::remove( aside() );
   std::ofstream( kept, std::ios::binary ) << before;
   fs::rename( kept, file() );
   EXPECT_EQ( domain(), "a" );
   EXPECT_THAT( findings, IsEmpty() );
}

TEST_F( StoreOfHost, OneThatHasNoHostIsThatOfTheHostThatHasIt ) {
   leaveKilled( "a" );
   EXPECT_EQ( domain(), "a" );
   std::string const other = others();
   ostra::Database( file(), ostra::Milliseconds( 0 ) ).run( "PRAGMA application_id=0" );
   std::string of = octetsOf( file( "-of" ) );
   std::ofstream( file( "-of" ) ) << of.substr( 0, of.find( '\n' ) + 1 );
   EXPECT_EQ( domain(), "a" );
   EXPECT_THAT( findings, IsEmpty() );
   fs::copy_file( other, file(), fs::copy_options::overwrite_existing );
   EXPECT_EQ( domain(), "" );
   EXPECT_THAT( findings, ElementsAre( HasSubstr( "/state.db: of another host" ) ) );
}

// Its own of another time: pages of the log that is beside it would be put among older ones.
TEST_F( StoreOfHost, AnOlderOneBesideANewerLogIsSetAsideWithIt ) {
   EXPECT_EQ( domain(), "" );
   fs::copy_file( file(), file( ".backup" ) );
   {
      LiveProcess process( state(), clock, driver );
      process.start();
      for ( int i = 1; i <= 100; ++i ) {
         std::string const number = std::to_string( i );
         EXPECT_EQ(
            process.patch(
               R"({"mlagConfig": {"intfConfig": {"Port-Channel)" + number +
               R"(": {"mlagId": ")" + number + R"("}}}})" ),
            "" );
      }
   }
   leaveKilled( "a" );
   auto const told = next();
   std::string const older = octetsOf( file( ".backup" ) );
   std::string const log = octetsOf( file( "-wal" ) );
   fs::copy_file( file( ".backup" ), file(), fs::copy_options::overwrite_existing );
   EXPECT_EQ( domain(), "" );
   EXPECT_THAT( findings, ElementsAre( HasSubstr( "are not of one time; it is now " ) ) );
   EXPECT_EQ( octetsOf( aside() ), older );
   EXPECT_EQ( octetsOf( aside() + "-wal" ), log );
   EXPECT_GT( next().first, told.first );
}

TEST_F( StoreOfHost, ARowThatIsGoneOrFromBeforeIsFound ) {
   for ( char const* change : { "DELETE FROM state WHERE path LIKE '%domainId%'",
                                "INSERT OR REPLACE INTO state SELECT * FROM before WHERE "
                                "path LIKE '%domainId%'" } ) {
      leaveKilled( "a" );
      EXPECT_EQ( domain(), "a" );
      ostra::Database( file(), ostra::Milliseconds( 0 ) )
         .run( "CREATE TABLE before AS SELECT * FROM state" );
      leaveKilled( "b" );
      EXPECT_EQ( domain(), "b" );
      EXPECT_THAT( findings, IsEmpty() );
      ostra::Database( file(), ostra::Milliseconds( 0 ) ).run( change );
      EXPECT_EQ( domain(), "" );
      EXPECT_THAT( findings, ElementsAre( HasSubstr( "are not of one time" ) ) );
      EXPECT_EQ( domain(), "" );
      EXPECT_THAT( findings, IsEmpty() );
   }
}
