// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The store on disks and with files that are not as they should be: what was acknowledged is
// there, what cannot be read is set aside, and the host goes on.

#include "LiveProcess"

#include <gmock/gmock.h>

#include <optional>

using ostra::FakeDriver;
using ostra::Json;
using ostra::LiveProcess;
using ostra::reloadedSwitch;
using ostra::StoreFiles;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace fs = std::filesystem;

namespace {

class StoreTest : public testing::Test {
 protected:
   std::string const& state() const { return directory_.path(); }
   std::string file() const { return state() + "/state.db"; }

   // A store with a client's configuration, ended in good order.
   void leave() {
      LiveProcess process( state(), clock, driver );
      process.start();
      ASSERT_EQ( process.patch( reloadedSwitch() ), "" );
   }
   std::string content() const {
      std::ifstream in( file(), std::ios::binary );
      return { std::istreambuf_iterator< char >( in ), {} };
   }
   void write( std::string const& text ) const {
      std::ofstream( file(), std::ios::binary | std::ios::trunc ) << text;
   }
   std::size_t setAside() const {
      std::size_t count = 0;
      for ( auto const& entry : fs::directory_iterator( state() ) ) {
         count += entry.path().filename().string().starts_with( "state.db.aside-" );
      }
      return count;
   }

   // The file is as the test has left it: a host starts, says so, keeps it, and serves.
   void expectAnew( std::string const& found ) {
      std::string const before = content();
      {
         LiveProcess process( state(), clock, driver );
         process.start( reloadedSwitch() );
         ASSERT_THAT( process.host().findings(), SizeIs( 1 ) ) << found;
         EXPECT_THAT( process.host().findings()[ 0 ], HasSubstr( found ) );
         EXPECT_THAT( process.errdisabled(), SizeIs( 2 ) );
         EXPECT_EQ( process.patch( "true", { "mlagConfig", "lacpStandby" } ), "" );
         EXPECT_GT( process.history().front().at( "seq" ), 1'000'000'000 );
      }
      EXPECT_EQ( setAside(), 1U ) << found;
      for ( auto const& entry : fs::directory_iterator( state() ) ) {
         if ( entry.path().filename().string().starts_with( "state.db.aside-" ) ) {
            std::ifstream in( entry.path(), std::ios::binary );
            EXPECT_EQ( std::string( std::istreambuf_iterator< char >( in ), {} ), before );
         }
      }
      LiveProcess process( state(), clock, driver );
      process.start( reloadedSwitch() );
      EXPECT_THAT( process.host().findings(), IsEmpty() );
      EXPECT_EQ( process.at( { "mlagConfig", "lacpStandby" } ), true );
   }

   ostra::SimulatedClock clock;
   FakeDriver driver;

 private:
   ostra::TemporaryDirectory const directory_;
};

} // namespace

TEST_F( StoreTest, ATruncatedOneIsSetAside ) {
   leave();
   write( content().substr( 0, content().size() / 2 ) );
   expectAnew( "malformed" );
}

TEST_F( StoreTest, AnEmptyOneIsSetAside ) {
   leave();
   write( "" );
   expectAnew( "not a store" );
}

TEST_F( StoreTest, AZeroedOneIsSetAside ) {
   leave();
   write( std::string( content().size(), '\0' ) );
   expectAnew( "not a database" );
}

// It has no number of a host where a database has it.
TEST_F( StoreTest, ATextInThePlaceOfOneIsSetAside ) {
   leave();
   write( std::string( content().size(), 'x' ) );
   expectAnew( "not a database" );
}

TEST_F( StoreTest, OneWithABitFlippedInAValueIsSetAside ) {
   leave();
   std::string text = content();
   std::size_t const value = text.find( "\"10.0.0.2\"" );
   ASSERT_NE( value, text.npos );
   text[ value + 8 ] = static_cast< char >( text[ value + 8 ] ^ 1 );
   write( text );
   expectAnew( "is not what was written" );
}

TEST_F( StoreTest, OneOfALaterVersionIsSetAside ) {
   leave();
   ostra::Database( file(), ostra::Milliseconds( 0 ) ).run( "PRAGMA user_version=3" );
   expectAnew( "of version 3, and this program knows 2" );
}

TEST_F( StoreTest, AnyFlippedBitIsFoundOrDoesNoHarm ) {
   leave();
   std::string const before = content();
   for ( std::size_t at = 0; at < before.size(); at += before.size() / 97 ) {
      SCOPED_TRACE( at );
      std::string text = before;
      text[ at ] = static_cast< char >( text[ at ] ^ 4 );
      write( text );
      // The one before has written more than that.
      fs::remove( state() + "/state.db-last" );
      LiveProcess process( state(), clock, driver );
      process.start( R"({"ethPhyIntfStatus": {"intfStatus": {"Ethernet5": {}}}})" );
      bool const isAsBefore = process.at( { "mlagConfig", "reloadDelay" } ) == 20;
      EXPECT_EQ( isAsBefore, process.host().findings().empty() );
      EXPECT_EQ( process.patch( "true", { "mlagConfig", "lacpStandby" } ), "" );
   }
}

TEST_F( StoreTest, ASecondHostIsRefused ) {
   LiveProcess process( state(), clock, driver );
   process.start();
   try {
      LiveProcess const second( state(), clock, driver );
      FAIL();
   } catch ( ostra::Failure const& failure ) {
      EXPECT_THAT(
         failure.what(), HasSubstr( "another host has it: expected a directory" ) );
   }
}

// As the copies of a host that was killed do, which end behind it.
TEST_F( StoreTest, AHostWaitsForOneThatEnds ) {
   for ( int const pauses : { 1, StoreFiles::tries - 1, StoreFiles::tries } ) {
      auto before = std::make_optional< StoreFiles >( state() );
      ASSERT_TRUE( before->lock() );
      int left = pauses;
      bool const isLocked = StoreFiles( state() ).lock( [ & ] {
         if ( --left == 0 ) {
            before.reset();
         }
      } );
      EXPECT_EQ( isLocked, pauses < StoreFiles::tries ) << pauses;
   }
}

TEST_F( StoreTest, ADirectoryThatCannotBeMadeIsSaidAndTheHostServes ) {
   std::string const blocked = state() + "/file";
   std::ofstream( blocked ) << "x";
   LiveProcess process( blocked + "/state", clock, driver );
   process.start( reloadedSwitch() );
   EXPECT_THAT( process.errdisabled(), SizeIs( 2 ) );
   EXPECT_THAT( process.host().store().problem(), testing::Not( IsEmpty() ) );
   EXPECT_THAT(
      process.patch( "true", { "mlagConfig", "lacpStandby" } ), HasSubstr( "store: " ) );
   EXPECT_EQ( process.at( { "mlagConfig", "lacpStandby" } ), true );
   process.pass( 30'000 );
   EXPECT_THAT( driver.held, IsEmpty() );
   // What could not be written is there when it can.
   fs::remove( blocked );
   fs::create_directories( blocked + "/state" );
   process.pass( 10'000 );
   EXPECT_EQ( process.host().store().problem(), "" );
   EXPECT_EQ( process.patch( "false", { "mlagConfig", "lacpStandby" } ), "" );
   EXPECT_EQ(
      process.history().size(),
      process.history().back().at( "seq" ).get< std::size_t >() -
         process.history().front().at( "seq" ).get< std::size_t >() + 1 );
}

TEST_F( StoreTest, HistoryIsNoLongerThanItsLimit ) {
   LiveProcess process( state(), clock, driver, "boot 1", { 50, 30 } );
   process.start();
   for ( int i = 0; i < 80; ++i ) {
      process.patch( "{\"mlagConfig\": {\"reloadDelay\": " + std::to_string( i ) + "}}" );
   }
   auto const history = process.history();
   EXPECT_THAT( history, SizeIs( 50 ) );
   EXPECT_EQ(
      history.back().at( "seq" ).get< int >() - history.front().at( "seq" ).get< int >(),
      49 );
   // Setting the date is no reason for this boot's to go.
   clock.offset += std::chrono::days( 31 );
   process.patch( "{\"mlagConfig\": {\"reloadDelay\": 1}}" );
   EXPECT_THAT( process.history(), SizeIs( 50 ) );
   clock.moment += std::chrono::days( 31 );
   process.patch( "{\"mlagConfig\": {\"reloadDelay\": 2}}" );
   EXPECT_THAT( process.history(), SizeIs( 1 ) );
}

TEST_F( StoreTest, RecordsOfABootBeforeGoByTheDate ) {
   leave();
   clock.offset += std::chrono::days( 31 );
   LiveProcess process( state(), clock, driver, "boot 2" );
   auto const firstOfBoot = process.host().store().nextId();
   process.start();
   EXPECT_EQ( process.patch( "{\"mlagConfig\": {\"reloadDelay\": 1}}" ), "" );
   EXPECT_EQ( process.history().front().at( "seq" ), firstOfBoot );
}

TEST_F( StoreTest, HistoryGoesOnBehindAnyRecord ) {
   LiveProcess process( state(), clock, driver );
   process.start();
   for ( int i = 0; i < 5; ++i ) {
      process.patch( "{\"mlagConfig\": {\"reloadDelay\": " + std::to_string( i ) + "}}" );
   }
   auto const all = process.history();
   auto const some = process.host().store().history( all[ 1 ].at( "seq" ), 2 );
   ASSERT_THAT( some, SizeIs( 2 ) );
   EXPECT_EQ( Json::parse( some[ 0 ].line ), all[ 2 ] );
}

TEST_F( StoreTest, WhatTheFileSetsIsNotKept ) {
   leave();
   {
      LiveProcess process( state(), clock, driver );
      process.start( R"({"mlagConfig": {"reloadDelay": 99}})" );
      EXPECT_EQ( process.at( { "mlagConfig", "reloadDelay" } ), 99 );
      EXPECT_EQ( process.at( { "mlagConfig", "domainId" } ), "d" );
   }
   LiveProcess process( state(), clock, driver );
   process.start();
   EXPECT_EQ( process.at( { "mlagConfig", "reloadDelay" } ), 0 );
   EXPECT_EQ( process.at( { "mlagConfig", "domainId" } ), "d" );
}

TEST_F( StoreTest, ARowIsFoundByItsNameWhateverStandsInIt ) {
   for ( ostra::RowKey const& row :
         std::vector< ostra::RowKey >{ { "mlagConfig", "domainId" },
                                       { "mlagConfig", "intfConfig", "Port-Channel1" },
                                       { "mlagConfig", "intfConfig", "" },
                                       { "a,b", "[c]", "\xc3\xa4" },
                                       { "say \"x\",\"y\"", "back\\slash", "\n" } } ) {
      EXPECT_EQ( ostra::rowOfName( ostra::nameOfRow( row ) ), row );
   }
}

// What has not changed since the process before is not written again.
TEST_F( StoreTest, ARestartWritesWhatHasChanged ) {
   leave();
   ostra::Database( file(), ostra::Milliseconds( 0 ) )
      .run( "CREATE TABLE written ( path TEXT );"
            "CREATE TRIGGER note AFTER INSERT ON state BEGIN"
            " INSERT INTO written VALUES ( NEW.path ); END;" );
   {
      LiveProcess process( state(), clock, driver );
      process.start();
      EXPECT_EQ( process.patch( "7", { "mlagConfig", "reloadDelayNonMlag" } ), "" );
   }
   ostra::Database after( file(), ostra::Milliseconds( 0 ) );
   EXPECT_EQ( after.numberOf( "SELECT count(*) FROM written" ), 1 );
}

TEST_F( StoreTest, DamagedHistoryIsSaidAndEndsNothing ) {
   {
      LiveProcess process( state(), clock, driver );
      process.start();
      for ( int i = 0; i < 500; ++i ) {
         std::string const delay = std::to_string( i );
         ASSERT_EQ( process.patch( delay, { "mlagConfig", "reloadDelayNonMlag" } ), "" );
      }
   }
   // The middle of the file is old history.
   std::string text = content();
   auto const middle = text.begin() + std::ptrdiff_t( text.size() / 2 );
   std::fill( middle, middle + 8192, '\xff' );
   write( text );
   LiveProcess process( state(), clock, driver );
   process.start();
   ASSERT_THAT( process.host().findings(), IsEmpty() );
   EXPECT_NO_THROW( process.history() );
   EXPECT_THAT( process.host().store().problem(), HasSubstr( "history cannot be read: " ) );
}
