// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/Store>

#include <host/base/Failure>

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace ostra {

namespace {

namespace fs = std::filesystem;

constexpr std::int64_t schemaVersion = 1;
constexpr Milliseconds betweenTries{ 1000 };
// Of records that cannot be written; more are not kept.
constexpr std::size_t mostWaiting = 100'000;
// Of records that are too many or too old: what one transaction deletes.
constexpr std::int64_t pruned = 1000;

constexpr char schema[] =
   "PRAGMA journal_mode=WAL;"
   "CREATE TABLE state ( path TEXT PRIMARY KEY, value TEXT NOT NULL, sum INTEGER NOT NULL )"
   " WITHOUT ROWID;"
   "CREATE TABLE kept ( name TEXT PRIMARY KEY, value TEXT NOT NULL, sum INTEGER NOT NULL )"
   " WITHOUT ROWID;"
   "CREATE TABLE history ( id INTEGER PRIMARY KEY, date INTEGER NOT NULL,"
   " line TEXT NOT NULL );";

// Notices a bit that has changed on the disk.
std::int64_t
checksum( std::string_view key, std::string_view value ) {
   std::uint64_t sum = 14695981039346656037U;
   for ( std::string_view const text : { key, std::string_view( "\0", 1 ), value } ) {
      for ( char const c : text ) {
         sum = ( sum ^ static_cast< unsigned char >( c ) ) * 1099511628211U;
      }
   }
   return static_cast< std::int64_t >( sum );
}

struct Damage : std::runtime_error {
   using std::runtime_error::runtime_error;
};

struct LaterVersion : std::runtime_error {
   using std::runtime_error::runtime_error;
};

void
checkSum( Database::Statement const& row ) {
   if ( row.number( 2 ) != checksum( row.text( 0 ), row.text( 1 ) ) ) {
      throw Damage( fmt::format( "{} is not what was written", row.text( 0 ) ) );
   }
}

} // namespace

namespace {

// No other process has it, so that it needs no shared memory.
Database
opened( std::string const& path ) {
   Database database( path );
   database.run( "PRAGMA locking_mode=EXCLUSIVE; PRAGMA synchronous=NORMAL;"
                 "PRAGMA journal_size_limit=4194304;" );
   auto const version = database.numberOf( "PRAGMA user_version" );
   if ( version > schemaVersion ) {
      throw LaterVersion( fmt::format(
         "of version {}, and this program knows {}", version, schemaVersion ) );
   }
   if ( version != schemaVersion ) {
      throw Damage( "not a store" );
   }
   return database;
}

} // namespace

struct Store::Open {
   explicit Open( std::string const& path ) : database( opened( path ) ) {}

   void awaitedIs( bool awaited ) {
      if ( awaited != isFull ) {
         database.run( awaited ? "PRAGMA synchronous=FULL" : "PRAGMA synchronous=NORMAL" );
         isFull = awaited;
      }
   }

   Database database;
   bool isFull = false;
   Database::Statement begin{ database, "BEGIN IMMEDIATE" };
   Database::Statement end{ database, "COMMIT" };
   Database::Statement setRow{ database,
                               "INSERT OR REPLACE INTO state VALUES ( ?, ?, ? )" };
   Database::Statement deleteRow{ database, "DELETE FROM state WHERE path = ?" };
   Database::Statement keep{ database, "INSERT OR REPLACE INTO kept VALUES ( ?, ?, ? )" };
   Database::Statement add{ database, "INSERT OR REPLACE INTO history VALUES ( ?, ?, ? )" };
   Database::Statement oldest{ database,
                               "SELECT id, date FROM history ORDER BY id LIMIT 1" };
   Database::Statement prune{
      database, "DELETE FROM history WHERE id < ? AND ( id <= ? OR date < ? )"
   };
   Database::Statement read{
      database, "SELECT id, date, line FROM history WHERE id > ? ORDER BY id LIMIT ?"
   };
};

Store::Store( std::string directory, HistoryLimits limits, LiveTime const& time )
      : directory_( std::move( directory ) ), limits_( limits ), time_( time ) {
   std::error_code error;
   fs::create_directories( directory_, error );
   lock();
   open();
   if ( !open_ ) {
      leaveNumbers();
   }
}

Store::~Store() {
   open_.reset();
   if ( lock_ >= 0 ) {
      close( lock_ );
   }
}

void
Store::lock() {
   lock_ = ::open( directory_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC );
   if ( lock_ >= 0 && flock( lock_, LOCK_EX | LOCK_NB ) != 0 && errno == EWOULDBLOCK ) {
      close( lock_ );
      throw Failure(
         ExitStatus::failed,
         fmt::format(
            "{}: another host has it: expected a directory of this one's own",
            directory_ ) );
   }
}

namespace {

std::string
fileIn( std::string const& directory ) {
   return directory + "/state.db";
}

// Made beside its place, so that what stands there has never been half of one.
void
create( std::string const& path ) {
   std::string const beside = path + ".new";
   std::error_code error;
   for ( char const* suffix : { "", "-wal", "-shm" } ) {
      fs::remove( beside + suffix, error );
   }
   {
      Database database( beside );
      database.run( schema );
      database.run( fmt::format( "PRAGMA user_version={}", schemaVersion ) );
   }
   fs::rename( beside, path );
}

} // namespace

void
Store::open() {
   std::string const path = fileIn( directory_ );
   try {
      std::error_code error;
      bool const isNew = !fs::exists( path, error );
      if ( isNew ) {
         create( path );
      }
      open_ = std::make_unique< Open >( path );
      isEmpty_ = isNew;
      if ( !isNew ) {
         load();
      }
      problem_.clear();
   } catch ( LaterVersion const& later ) {
      setAside( later.what() );
   } catch ( Damage const& damage ) {
      setAside( damage.what() );
   } catch ( DatabaseError const& failure ) {
      open_.reset();
      if ( failure.isDamage() ) {
         setAside( failure.what() );
      } else {
         problem_ = failure.what();
      }
   } catch ( fs::filesystem_error const& failure ) {
      open_.reset();
      problem_ = failure.code().message();
   }
}

void
Store::load() {
   Database& database = open_->database;
   for ( char const* table : { "state", "kept" } ) {
      std::string const found =
         database.textOf( fmt::format( "PRAGMA quick_check({})", table ) );
      if ( found != "ok" ) {
         throw Damage( found );
      }
   }
   Rows rows;
   Database::Statement state( database, "SELECT path, value, sum FROM state" );
   while ( state.next() ) {
      checkSum( state );
      rows[ state.text( 0 ) ] = state.text( 1 );
   }
   Database::Statement kept( database, "SELECT name, value, sum FROM kept" );
   while ( kept.next() ) {
      checkSum( kept );
      std::string const value = kept.text( 1 );
      if ( kept.text( 0 ) == "note" ) {
         note_ = value;
      } else {
         std::from_chars( value.data(), value.data() + value.size(), nextId_ );
      }
   }
   rows_ = std::move( rows );
}

void
Store::setAside( std::string const& why ) {
   open_.reset();
   rows_.clear();
   note_.clear();
   std::string const path = fileIn( directory_ );
   std::string aside = fmt::format( "{}.aside-{}", path, dateText( time_.date() ) );
   std::error_code error;
   for ( int n = 2; fs::exists( aside, error ); ++n ) {
      aside = fmt::format( "{}.aside-{}-{}", path, dateText( time_.date() ), n );
   }
   fs::rename( path, aside, error );
   if ( error ) {
      problem_ = fmt::format( "{}, and cannot be set aside: {}", why, error.message() );
      return;
   }
   for ( char const* suffix : { "-wal", "-shm" } ) {
      fs::rename( path + suffix, aside + suffix, error );
   }
   finding_ = fmt::format( "{}: {}; it is now {}", path, why, aside );
   leaveNumbers();
   open();
}

// What has been told under the lost numbers must not be told again under the same ones: the
// date in microseconds is beyond them.
void
Store::leaveNumbers() {
   nextId_ = std::max< std::int64_t >( nextId_, time_.date().count() * 1000 );
}

bool
Store::commit( Turn turn, AllRows const& allRows ) {
   putOff( std::move( turn ) );
   if ( !open_ && time_.instant() - lastTry_ >= betweenTries ) {
      lastTry_ = time_.instant();
      openLate();
   }
   for ( int tries = 0; open_ && tries < 2; ++tries ) {
      try {
         if ( isEmpty_ ) {
            waiting_.rows = allRows();
         }
         write( waiting_ );
         isEmpty_ = false;
         waiting_ = {};
         problem_.clear();
         return true;
      } catch ( DatabaseError const& failure ) {
         problem_ = failure.what();
         if ( !failure.isDamage() ) {
            return false;
         }
         setAside( failure.what() );
      }
   }
   return false;
}

// What could not be read at the start is not overwritten with what is there without it.
void
Store::openLate() {
   std::error_code error;
   if ( fs::exists( fileIn( directory_ ), error ) ) {
      setAside( "could not be read" );
   } else {
      open();
   }
}

void
Store::putOff( Turn turn ) {
   for ( auto& [ path, value ] : turn.rows ) {
      waiting_.rows[ path ] = std::move( value );
   }
   waiting_.note = std::move( turn.note );
   waiting_.nextId = turn.nextId;
   waiting_.isAwaited |= turn.isAwaited;
   auto& records = waiting_.records;
   std::move( turn.records.begin(), turn.records.end(), std::back_inserter( records ) );
   if ( records.size() > mostWaiting ) {
      records.erase( records.begin(), records.end() - std::ptrdiff_t( mostWaiting ) );
   }
}

void
Store::write( Turn const& turn ) {
   open_->awaitedIs( turn.isAwaited );
   open_->begin.with().run();
   try {
      writeTurn( turn );
      open_->end.with().run();
   } catch ( DatabaseError const& ) {
      try {
         open_->database.run( "ROLLBACK" );
      } catch ( DatabaseError const& ) {
         // It has been rolled back by itself.
      }
      throw;
   }
}

void
Store::writeTurn( Turn const& turn ) {
   for ( auto const& [ path, value ] : turn.rows ) {
      if ( value ) {
         open_->setRow.with( path, *value, checksum( path, *value ) ).run();
      } else {
         open_->deleteRow.with( path ).run();
      }
   }
   for ( auto const& [ name, value ] :
         { std::pair< std::string, std::string >{ "note", turn.note },
           { "nextId", std::to_string( turn.nextId ) } } ) {
      open_->keep.with( name, value, checksum( name, value ) ).run();
   }
   for ( LiveRecord const& record : turn.records ) {
      open_->add.with( record.id, std::int64_t( record.date.count() ), record.line ).run();
   }
   prune();
}

void
Store::prune() {
   Database::Statement& oldest = open_->oldest.with();
   if ( !oldest.next() ) {
      return;
   }
   std::int64_t const first = oldest.number( 0 );
   std::int64_t const date = oldest.number( 1 );
   oldest.with();
   std::int64_t const last = waiting_.nextId - 1 - limits_.records;
   std::int64_t const earliest =
      Milliseconds( time_.date() - std::chrono::days( limits_.days ) ).count();
   if ( first <= last || date < earliest ) {
      open_->prune.with( first + pruned, last, earliest ).run();
   }
}

void
Store::readHistory(
   std::int64_t since, std::size_t limit, std::vector< LiveRecord >& records ) {
   if ( !open_ ) {
      return;
   }
   auto& read = open_->read.with( since, static_cast< std::int64_t >( limit ) );
   while ( read.next() ) {
      records.push_back(
         { read.number( 0 ), Milliseconds( read.number( 1 ) ), read.text( 2 ) } );
   }
   read.with();
}

std::vector< LiveRecord >
Store::history( std::int64_t since, std::size_t limit ) {
   std::vector< LiveRecord > records;
   try {
      readHistory( since, limit, records );
   } catch ( DatabaseError const& error ) {
      // Whoever asks for what is damaged must not end the host.
      problem_ = fmt::format( "history cannot be read: {}", error.what() );
   }
   for ( LiveRecord const& record : waiting_.records ) {
      if ( record.id > since && records.size() < limit ) {
         records.push_back( record );
      }
   }
   return records;
}

} // namespace ostra
