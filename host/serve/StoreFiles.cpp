// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/StoreFiles>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostra {

namespace {

namespace fs = std::filesystem;

constexpr std::array< char const*, 3 > logs = { "-wal", "-shm", "-journal" };

// What is empty is not worth a name.
bool
hasMoved( std::string const& from, std::string const& to ) {
   std::error_code error;
   bool const isEmpty =
      fs::is_regular_file( from, error ) && fs::file_size( from, error ) == 0;
   isEmpty ? static_cast< void >( fs::remove( from, error ) )
           : fs::rename( from, to, error );
   return !isEmpty && !error;
}

bool
isTaken( std::string const& name ) {
   std::error_code error;
   return fs::exists( name, error ) ||
      std::any_of( logs.begin(), logs.end(), [ & ]( char const* suffix ) {
             return fs::exists( name + suffix, error );
          } );
}

bool
isSameFile( int one, int other ) {
   struct stat first {};
   struct stat second {};
   return one >= 0 && other >= 0 && fstat( one, &first ) == 0 &&
      fstat( other, &second ) == 0 && first.st_dev == second.st_dev &&
      first.st_ino == second.st_ino;
}

// From 1 on; empty when there is none.
std::string
lineOf( std::string const& path, int number ) {
   std::string line;
   std::ifstream in( path );
   for ( int i = 0; i < number; ++i ) {
      line.clear();
      std::getline( in, line );
   }
   return line;
}

// In its place, which takes no room once it is there. Nobody is told when it cannot be: then
// only less is known of the files.
void
putInPlace( std::string const& path, std::string const& text ) {
   int const file = ::open( path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0640 );
   if ( file < 0 ) {
      return;
   }
   auto const size = static_cast< ssize_t >( text.size() );
   bool const isPut = ::pwrite( file, text.data(), text.size(), 0 ) == size &&
      ::ftruncate( file, size ) == 0 && ::fdatasync( file ) == 0;
   static_cast< void >( isPut );
   ::close( file );
}

// Where SQLite has the application's own number, whatever is in a log beside it.
std::int32_t
hostIn( std::string const& database ) {
   constexpr std::string_view magic( "SQLite format 3\0", 16 );
   constexpr std::size_t place = 68;
   std::array< char, place + 4 > octets{};
   std::ifstream in( database, std::ios::binary );
   if (
      !in.read( octets.data(), octets.size() ) ||
      std::string_view( octets.data(), magic.size() ) != magic ) {
      return 0;
   }
   std::uint32_t host = 0;
   for ( std::size_t at = place; at < octets.size(); ++at ) {
      host = host << 8U | static_cast< unsigned char >( octets[ at ] );
   }
   return static_cast< std::int32_t >( host );
}

} // namespace

std::string
asideName( std::string const& path, std::string const& date ) {
   std::string const aside = fmt::format( "{}.aside-{}", path, date );
   std::string name = aside;
   for ( int n = 2; isTaken( name ); ++n ) {
      name = fmt::format( "{}-{}", aside, n );
   }
   return name;
}

StoreFiles::StoreFiles( std::string directory )
      : database_( std::move( directory ) + "/state.db" ),
        told_( database_ + "-numbers" ),
        written_( database_ + "-last" ) {}

StoreFiles::~StoreFiles() {
   unlock();
}

void
StoreFiles::pauseBetweenTries() {
   std::this_thread::sleep_for( std::chrono::milliseconds( 10 ) );
}

bool
StoreFiles::lock( std::function< void() > const& pause ) {
   std::error_code error;
   std::string const directory = fs::path( database_ ).parent_path();
   fs::create_directories( directory, error );
   int const now = open( directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC );
   if ( isSameFile( now, lock_ ) ) {
      close( now );
      return true;
   }
   unlock();
   auto const isAnothers = [ now ] {
      return now >= 0 && flock( now, LOCK_EX | LOCK_NB ) != 0 && errno == EWOULDBLOCK;
   };
   bool isBusy = isAnothers();
   for ( int i = 1; isBusy && i < tries; ++i ) {
      pause();
      isBusy = isAnothers();
   }
   lock_ = now;
   if ( isBusy ) {
      unlock();
   }
   return !isBusy;
}

void
StoreFiles::unlock() {
   if ( lock_ >= 0 ) {
      close( lock_ );
      lock_ = -1;
   }
}

// Another file has another number, unless the directory is another one, too: then all of it
// was copied.
std::string
StoreFiles::owner() const {
   struct stat file {};
   struct stat directory {};
   std::string const parent = fs::path( database_ ).parent_path();
   bool const isThere =
      stat( database_.c_str(), &file ) == 0 && stat( parent.c_str(), &directory ) == 0;
   return isThere ? fmt::format( "{} {}", directory.st_ino, file.st_ino ) : "";
}

bool
StoreFiles::isThere() const {
   std::error_code error;
   return fs::is_regular_file( database_, error );
}

bool
StoreFiles::isWritable() const {
   std::string const path = database_ + ".new";
   int const file = open( path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600 );
   if ( file >= 0 ) {
      close( file );
      unlink( path.c_str() );
   }
   return file >= 0;
}

bool
StoreFiles::isOther() const {
   std::string const now = owner();
   std::string const before = lineOf( database_ + "-of", 1 );
   auto const directory = []( std::string const& text ) {
      return text.substr( 0, text.find( ' ' ) );
   };
   bool const isCopy = !now.empty() && directory( before ) != directory( now );
   return !before.empty() && before != now && !isCopy;
}

std::vector< std::string >
StoreFiles::separate( std::string const& date ) {
   bool const isOfOther = owner().empty() || isOther() || isOfAnotherHost();
   std::string const aside = asideName( database_, date );
   std::vector< std::string > findings;
   for ( char const* suffix : logs ) {
      std::string const log = database_ + suffix;
      std::error_code error;
      bool const isFile = fs::is_regular_file( log, error );
      if ( ( isOfOther || !isFile ) && hasMoved( log, aside + suffix ) ) {
         findings.push_back( fmt::format(
            "{}: {}; it is now {}{}",
            log,
            isFile ? "of another database" : "not a file",
            aside,
            suffix ) );
      }
   }
   return findings;
}

bool
StoreFiles::isInPlace() const {
   struct stat file {};
   bool const isThere = stat( database_.c_str(), &file ) == 0;
   bool const isGone = !isThere && ( errno == ENOENT || errno == ENOTDIR );
   return isThere ? file.st_dev == device_ && file.st_ino == number_ : !isGone;
}

void
StoreFiles::letGo() {
   told_.letGo();
   written_.letGo();
}

std::int32_t
StoreFiles::host() const {
   std::int32_t host = host_;
   if ( host == 0 ) {
      std::string const text = lineOf( database_ + "-of", 2 );
      std::from_chars( text.data(), text.data() + text.size(), host );
   }
   return host;
}

bool
StoreFiles::isOfAnotherHost() const {
   std::int32_t const ours = host();
   std::int32_t const found = isThere() ? hostIn( database_ ) : 0;
   return ours != 0 && found != 0 && ours != found;
}

void
StoreFiles::adopt( std::int32_t host ) {
   host_ = host;
   struct stat file {};
   if ( stat( database_.c_str(), &file ) == 0 ) {
      device_ = file.st_dev;
      number_ = file.st_ino;
   }
   std::string const now = owner();
   std::string const number = std::to_string( host );
   std::string const path = database_ + "-of";
   if ( lineOf( path, 1 ) != now || lineOf( path, 2 ) != number ) {
      putInPlace( path, fmt::format( "{}\n{}\n", now, number ) );
   }
}

std::string
StoreFiles::setAside( std::string const& date ) const {
   std::string aside = asideName( database_, date );
   fs::rename( database_, aside );
   for ( char const* suffix : logs ) {
      hasMoved( database_ + suffix, aside + suffix );
   }
   return aside;
}

} // namespace ostra
