// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A store whose disk is full, and what it tells then.

#include "StoreDisk"
#include "SmallDisk"

#include <gmock/gmock.h>

#include <csignal>

#include <sys/resource.h>

using ostra::LiveProcess;
using ostra::StoreDisk;
using testing::AnyOf;
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
