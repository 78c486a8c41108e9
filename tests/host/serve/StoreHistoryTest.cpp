// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Lines of history on a disk that changes them: what was not written is not told.

#include "SmallDisk"
#include "StoreDisk"

#include <gmock/gmock.h>

#include <map>

using ostra::Database;
using ostra::Json;
using ostra::LiveProcess;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace fs = std::filesystem;

namespace {

class StoreHistory : public ostra::StoreDisk {
 protected:
   // What it has told of so many changes.
   std::vector< Json > leave( int changes ) {
      LiveProcess process( state(), clock, driver );
      process.start();
      for ( int i = 0; i < changes; ++i ) {
         EXPECT_EQ( change( process, i ), "" );
      }
      return process.history();
   }
   std::string content() const {
      std::ifstream in( file(), std::ios::binary );
      return { std::istreambuf_iterator< char >( in ), {} };
   }
   void write( std::string const& text ) const {
      std::ofstream( file(), std::ios::binary | std::ios::trunc ) << text;
   }
   // As a version before has left it.
   void becomeOld() const {
      Database( file(), ostra::Milliseconds( 0 ) )
         .run( "ALTER TABLE history DROP COLUMN sum; PRAGMA user_version=1" );
   }
   std::int64_t numberOf( std::string const& query ) const {
      return Database( file(), ostra::Milliseconds( 0 ) ).numberOf( query );
   }
};

} // namespace

TEST_F( StoreHistory, ALineWithAFlippedBitIsLeftOutAndSaid ) {
   auto told = leave( 5 );
   std::string text = content();
   for ( char const* line : { "\"domainId\":\"1\"", "\"domainId\":\"3\"" } ) {
      std::size_t const place = text.find( line );
      ASSERT_NE( place, text.npos );
      text[ place + 12 ] = static_cast< char >( text[ place + 12 ] ^ 8 );
   }
   write( text );
   std::vector< std::int64_t > changed;
   std::erase_if( told, [ & ]( Json const& record ) {
      std::string const line = record.dump();
      bool const isChanged = line.find( "\"domainId\":\"1\"" ) != line.npos ||
         line.find( "\"domainId\":\"3\"" ) != line.npos;
      if ( isChanged ) {
         changed.push_back( record.at( "seq" ) );
      }
      return isChanged;
   } );
   ASSERT_EQ( changed.size(), 2U );
   LiveProcess process( state(), clock, driver );
   EXPECT_EQ( process.history(), told );
   auto const& finding = process.host().store().finding();
   EXPECT_EQ(
      finding,
      file() + ": record " + std::to_string( changed[ 1 ] ) +
         " is not what was written: it is left out of history, as 1 others are" );
   // One that follows is found although all before it in the piece are left out.
   auto const rest = process.host().store().history( changed[ 0 ] - 1, 1 );
   ASSERT_EQ( rest.size(), 1U );
   EXPECT_EQ( rest[ 0 ].id, changed[ 0 ] + 1 );
   process.start();
   EXPECT_THAT( process.host().findings(), ElementsAre( finding ) );
   EXPECT_EQ( change( process, 9 ), "" );
   EXPECT_EQ( process.host().store().problem(), "" );
}

TEST_F( StoreHistory, NoFlippedBitIsToldAsTruth ) {
   std::map< std::int64_t, Json > written;
   for ( Json const& record : leave( 60 ) ) {
      written[ record.at( "seq" ) ] = record;
   }
   std::string const before = content();
   for ( std::size_t at = 4096; at < before.size(); at += 211 ) {
      SCOPED_TRACE( at );
      std::string text = before;
      text[ at ] = static_cast< char >( text[ at ] ^ ( 1 << at % 8 ) );
      write( text );
      LiveProcess process( state(), clock, driver );
      auto const next = process.host().store().nextId();
      for ( auto const& record : process.host().store().history( 0, 1'000'000 ) ) {
         ASSERT_LT( record.id, next );
         ASSERT_TRUE( written.contains( record.id ) );
         ASSERT_EQ( Json::parse( record.line ), written.at( record.id ) );
      }
   }
}

TEST_F( StoreHistory, OfAVersionBeforeIsToldAndGetsItsChecksums ) {
   auto const told = leave( 5 );
   becomeOld();
   {
      LiveProcess process( state(), clock, driver );
      EXPECT_EQ( process.history(), told );
      process.start();
      EXPECT_THAT( process.host().findings(), IsEmpty() );
      EXPECT_EQ( process.at( { "mlagConfig", "domainId" } ), "4" );
      EXPECT_EQ( change( process, 9 ), "" );
      EXPECT_GT( process.history().size(), told.size() );
   }
   EXPECT_EQ( numberOf( "PRAGMA user_version" ), 2 );
   std::int64_t const old = std::int64_t( told.size() );
   EXPECT_EQ( numberOf( "SELECT count(*) FROM history WHERE sum IS NULL" ), old );
   EXPECT_GT( numberOf( "SELECT count(*) FROM history" ), old );
   EXPECT_EQ( domain(), "9" );
   EXPECT_THAT( findings, IsEmpty() );
   // Only what the version before has written may be without.
   Database( file(), ostra::Milliseconds( 0 ) )
      .run( "UPDATE history SET sum = NULL WHERE id = ( SELECT max( id ) FROM history )" );
   LiveProcess process( state(), clock, driver );
   EXPECT_GE( process.history().size(), told.size() );
   EXPECT_THAT( process.host().store().finding(), HasSubstr( "is not what was written" ) );
}

TEST_F( StoreHistory, OfAVersionBeforeKeepsNobodyFromStartingOnADiskThatIsFull ) {
   ostra::SmallDisk const disk( state(), 512 );
   if ( !disk.problem().empty() ) {
      GTEST_SKIP() << disk.problem();
   }
   leave( 5 );
   becomeOld();
   disk.fill();
   {
      LiveProcess process( state(), clock, driver );
      process.start();
      EXPECT_THAT( process.host().findings(), IsEmpty() );
      EXPECT_EQ( process.at( { "mlagConfig", "domainId" } ), "4" );
      EXPECT_THAT( change( process, 8 ), HasSubstr( "disk is full" ) );
      disk.clear();
      process.pass( 10'000 );
      EXPECT_EQ( process.host().store().problem(), "" );
   }
   EXPECT_EQ( numberOf( "PRAGMA user_version" ), 2 );
   EXPECT_EQ( domain(), "8" );
}
