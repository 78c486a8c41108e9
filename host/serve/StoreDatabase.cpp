// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/StoreDatabase>

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <initializer_list>
#include <iterator>
#include <string_view>
#include <system_error>

namespace ostra {

namespace {

namespace fs = std::filesystem;

constexpr std::int64_t schemaVersion = 2;
// Its history has no checksums.
constexpr std::int64_t oldestVersion = 1;
// Of records that are too many, and of those that are too old: what one transaction deletes.
constexpr std::int64_t pruned = 1000;

// Written into the file itself. A log beside it that cannot be brought into it when it is
// closed, because the disk is full, would be left behind.
constexpr char schema[] =
   "PRAGMA locking_mode=EXCLUSIVE; PRAGMA journal_mode=OFF; BEGIN;"
   "CREATE TABLE state ( path TEXT PRIMARY KEY, value TEXT NOT NULL, sum INTEGER NOT NULL )"
   " WITHOUT ROWID;"
   "CREATE TABLE kept ( name TEXT PRIMARY KEY, value TEXT NOT NULL, sum INTEGER NOT NULL )"
   " WITHOUT ROWID;"
   "CREATE TABLE history ( id INTEGER PRIMARY KEY, date INTEGER NOT NULL,"
   " line TEXT NOT NULL, sum INTEGER );";
constexpr char addition[] = "INSERT OR REPLACE INTO history VALUES ( ?, ?, ?, ? )";

// A record that is too old, with what Pruning has behind its first in order.
constexpr char isOld[] = "CASE WHEN id >= ?1 AND json_valid( line )"
                         " THEN 1000 * json_extract( line, '$.t' ) < ?3"
                         " ELSE date < ?2 END";
constexpr char deleteOf[] = "DELETE FROM history WHERE id IN"
                            " ( SELECT id FROM history ORDER BY id LIMIT {} )";

// Notices a bit that has changed on the disk.
std::int64_t
checksum( std::initializer_list< std::string_view > texts ) {
   std::uint64_t sum = 14695981039346656037U;
   for ( std::string_view const text : texts ) {
      for ( char const c : text ) {
         sum = ( sum ^ static_cast< unsigned char >( c ) ) * 1099511628211U;
      }
   }
   return static_cast< std::int64_t >( sum );
}

std::int64_t
checksum( std::string_view key, std::string_view value ) {
   return checksum( { key, std::string_view( "\0", 1 ), value } );
}

std::int64_t
checksum( LiveRecord const& record ) {
   fmt::memory_buffer numbers;
   fmt::format_to(
      std::back_inserter( numbers ), "{} {} ", record.id, record.date.count() );
   return checksum( { { numbers.data(), numbers.size() }, record.line } );
}

void
checkSum( Database::Statement const& row ) {
   if ( row.number( 2 ) != checksum( row.text( 0 ), row.text( 1 ) ) ) {
      throw StoreDamage( fmt::format( "{} is not what was written", row.text( 0 ) ) );
   }
}

std::int64_t
numberIn( std::string const& text ) {
   std::int64_t number = 0;
   std::from_chars( text.data(), text.data() + text.size(), number );
   return number;
}

// Reads all of them. Where they are damaged, that is said when they are asked for: then none
// is too many.
std::int64_t
countOfRecords( Database& database ) {
   try {
      return database.numberOf( "SELECT count(*) FROM history" );
   } catch ( DatabaseError const& ) {
      return 0;
   }
}

// No other process has it, so that it needs no shared memory.
Database
opened( std::string const& path, Milliseconds wait ) {
   Database database( path, wait );
   // Until it has turned out to be one of this database's.
   database.keepsLogIs( true );
   database.run( "PRAGMA locking_mode=EXCLUSIVE; PRAGMA synchronous=NORMAL;"
                 "PRAGMA journal_size_limit=4194304;" );
   auto const version = database.numberOf( "PRAGMA user_version" );
   if ( version > schemaVersion ) {
      throw StoreDamage( fmt::format(
         "of version {}, and this program knows {}", version, schemaVersion ) );
   }
   if ( version < oldestVersion ) {
      throw StoreDamage( "not a store" );
   }
   return database;
}

} // namespace

void
StoreDatabase::create( std::string const& path, std::int32_t host ) {
   std::string const beside = path + ".new";
   std::error_code error;
   for ( char const* suffix : { "", "-wal", "-shm" } ) {
      fs::remove( beside + suffix, error );
   }
   {
      Database database( beside, Milliseconds( 0 ) );
      database.run( schema );
      database.run( fmt::format(
         "PRAGMA user_version={}; PRAGMA application_id={}; COMMIT",
         schemaVersion,
         host ) );
      database.run( "PRAGMA journal_mode=WAL" );
   }
   fs::rename( beside, path );
}

StoreDatabase::StoreDatabase( std::string const& path, Milliseconds wait )
      : database_( opened( path, wait ) ),
        begin_( database_, "BEGIN IMMEDIATE" ),
        end_( database_, "COMMIT" ),
        sumOf_( database_, "SELECT sum FROM state WHERE path = ?" ),
        setRow_( database_, "INSERT OR REPLACE INTO state VALUES ( ?, ?, ? )" ),
        deleteRow_( database_, "DELETE FROM state WHERE path = ?" ),
        keep_( database_, "INSERT OR REPLACE INTO kept VALUES ( ?, ?, ? )" ),
        pruneByCount_( database_, fmt::format( deleteOf, "?1" ) ),
        oldest_(
           database_, fmt::format( "SELECT {} FROM history ORDER BY id LIMIT 1", isOld ) ),
        pruneByAge_(
           database_, fmt::format( deleteOf, pruned ) + fmt::format( " AND {}", isOld ) ),
        read_(
           database_,
           // Of an earlier version it has three columns.
           "SELECT * FROM history WHERE id > ? ORDER BY id" ) {
   if ( database_.numberOf( "PRAGMA user_version" ) == schemaVersion ) {
      add_.emplace( database_, addition );
   }
}

std::int32_t
StoreDatabase::host() {
   return static_cast< std::int32_t >( database_.numberOf( "PRAGMA application_id" ) );
}

// In the file itself, where it is looked for before a log is read.
void
StoreDatabase::hostIs( std::int32_t number ) {
   database_.run(
      fmt::format( "PRAGMA application_id={}; PRAGMA wal_checkpoint(TRUNCATE)", number ) );
}

StoreContent
StoreDatabase::load() {
   for ( char const* table : { "state", "kept" } ) {
      std::string const found =
         database_.textOf( fmt::format( "PRAGMA quick_check({})", table ) );
      if ( found != "ok" ) {
         throw StoreDamage( found );
      }
   }
   StoreContent content;
   std::optional< std::int64_t > count;
   std::optional< std::int64_t > sum;
   Database::Statement state( database_, "SELECT path, value, sum FROM state" );
   while ( state.next() ) {
      checkSum( state );
      content.rows[ state.text( 0 ) ] = state.text( 1 );
      sum_ ^= state.number( 2 );
   }
   Database::Statement kept( database_, "SELECT name, value, sum FROM kept" );
   while ( kept.next() ) {
      checkSum( kept );
      std::string const name = kept.text( 0 );
      std::string const value = kept.text( 1 );
      if ( name == "note" ) {
         content.note = value;
      } else if ( name == "nextId" ) {
         content.nextId = numberIn( value );
      } else if ( name == "count" ) {
         count = numberIn( value );
      } else if ( name == "sum" ) {
         sum = numberIn( value );
      } else if ( name == "firstWithSum" ) {
         firstWithSum_ = numberIn( value );
      }
   }
   if ( sum.value_or( sum_ ) != sum_ ) {
      throw StoreDamage( "its rows, or it and its log, are not of one time" );
   }
   database_.keepsLogIs( false );
   count_ = count ? *count : countOfRecords( database_ );
   return content;
}

void
StoreDatabase::awaitedIs( bool isAwaited ) {
   if ( isAwaited != isFull_ ) {
      database_.run( isAwaited ? "PRAGMA synchronous=FULL" : "PRAGMA synchronous=NORMAL" );
      isFull_ = isAwaited;
   }
}

void
StoreDatabase::write( StoreTurn const& turn, Pruning const& pruning ) {
   upgrade();
   awaitedIs( turn.isAwaited );
   std::int64_t const before = count_;
   std::int64_t const sumBefore = sum_;
   try {
      inTransaction( [ & ] {
         writeTurn( turn );
         prune( pruning );
         keep( "count", std::to_string( count_ ) );
         keep( "sum", std::to_string( sum_ ) );
      } );
   } catch ( DatabaseError const& ) {
      count_ = before;
      sum_ = sumBefore;
      throw;
   }
}

template< class Work >
void
StoreDatabase::inTransaction( Work work ) {
   begin_.with().run();
   try {
      work();
      end_.with().run();
   } catch ( DatabaseError const& ) {
      try {
         database_.run( "ROLLBACK" );
      } catch ( DatabaseError const& ) {
         // It has been rolled back by itself.
      }
      throw;
   }
}

// With the first turn: a disk that is full keeps nobody from starting with what was written
// by an earlier version.
void
StoreDatabase::upgrade() {
   if ( add_ ) {
      return;
   }
   if ( database_.numberOf( "PRAGMA user_version" ) != schemaVersion ) {
      inTransaction( [ this ] {
         database_.run( fmt::format(
            "ALTER TABLE history ADD COLUMN sum INTEGER; PRAGMA user_version={}",
            schemaVersion ) );
         firstWithSum_ = database_.numberOf( "SELECT max( id ) FROM history" ) + 1;
         keep( "firstWithSum", std::to_string( firstWithSum_ ) );
      } );
   }
   add_.emplace( database_, addition );
}

void
StoreDatabase::writeTurn( StoreTurn const& turn ) {
   for ( auto const& [ path, value ] : turn.rows ) {
      sum_ ^= sumOf( path );
      if ( value ) {
         std::int64_t const sum = checksum( path, *value );
         setRow_.with( path, *value, sum ).run();
         sum_ ^= sum;
      } else {
         deleteRow_.with( path ).run();
      }
   }
   keep( "note", turn.note );
   keep( "nextId", std::to_string( turn.nextId ) );
   for ( LiveRecord const& record : turn.records ) {
      add_
         ->with(
            record.id,
            std::int64_t( record.date.count() ),
            record.line,
            checksum( record ) )
         .run();
   }
   count_ += static_cast< std::int64_t >( turn.records.size() );
}

// 0 for a row that is not there.
std::int64_t
StoreDatabase::sumOf( std::string const& path ) {
   Database::Statement& row = sumOf_.with( path );
   std::int64_t const sum = row.next() ? row.number( 0 ) : 0;
   row.with();
   return sum;
}

void
StoreDatabase::keep( std::string const& name, std::string const& value ) {
   keep_.with( name, value, checksum( name, value ) ).run();
}

void
StoreDatabase::prune( Pruning const& pruning ) {
   if ( count_ > pruning.records ) {
      pruneByCount_.with( std::min( count_ - pruning.records, pruned ) ).run();
      count_ -= database_.changes();
   }
   pruneByAge( pruning );
}

void
StoreDatabase::pruneByAge( Pruning const& pruning ) {
   std::int64_t const date = pruning.date.count();
   std::int64_t const sinceBoot = pruning.sinceBoot.count();
   Database::Statement& oldest = oldest_.with( pruning.firstOfBoot, date, sinceBoot );
   bool const isToDo = oldest.next() && oldest.number( 0 ) != 0;
   oldest.with();
   if ( isToDo ) {
      pruneByAge_.with( pruning.firstOfBoot, date, sinceBoot ).run();
      count_ -= database_.changes();
   }
}

std::vector< std::int64_t >
StoreDatabase::readHistory(
   std::int64_t since, std::size_t limit, std::vector< LiveRecord >& records ) {
   std::vector< std::int64_t > leftOut;
   auto& read = read_.with( since );
   while ( records.size() < limit && read.next() ) {
      LiveRecord record{ read.number( 0 ),
                         Milliseconds( read.number( 1 ) ),
                         read.text( 2 ) };
      bool const isWithout = read.isNull( 3 ) && ( !add_ || record.id < firstWithSum_ );
      if ( isWithout || read.number( 3 ) == checksum( record ) ) {
         records.push_back( std::move( record ) );
      } else {
         leftOut.push_back( record.id );
      }
   }
   read.with();
   return leftOut;
}

} // namespace ostra
