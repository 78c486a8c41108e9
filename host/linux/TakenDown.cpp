// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/linux/TakenDown>

#include <host/base/Failure>
#include <host/base/Json>
#include <host/input/File>
#include <host/serve/LiveTime>
#include <host/serve/StoreFiles>

#include <fmt/format.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

namespace ostra {

namespace {

// For reading and writing. One that may not be written, as root's who has released without a
// host, is made anew: the directory is ours.
int
openSpare( std::string const& path ) {
   constexpr int flags = O_RDWR | O_CREAT | O_CLOEXEC;
   int const file = open( path.c_str(), flags, 0666 );
   bool const isAnothers = file < 0 && errno == EACCES;
   return isAnothers && unlink( path.c_str() ) == 0 ? open( path.c_str(), flags, 0666 )
                                                    : file;
}

int
openDirectory( std::string const& path ) {
   return open( path.c_str(), O_RDONLY | O_CLOEXEC );
}

// An open file or directory, or -1; operations say in errno why they could not.
class Opened {
 public:
   explicit Opened( int file ) : file_( file ) {}
   ~Opened() {
      if ( file_ >= 0 ) {
         close( file_ );
      }
   }
   Opened( Opened const& ) = delete;
   Opened& operator=( Opened const& ) = delete;

   bool sync() const { return file_ >= 0 && fsync( file_ ) == 0; }
   // In place of what is in it, whose room it takes.
   bool contentIs( std::string_view text ) const {
      std::size_t done = 0;
      while ( file_ >= 0 && done < text.size() ) {
         ssize_t const count =
            pwrite( file_, text.data() + done, text.size() - done, off_t( done ) );
         if ( count < 0 ) {
            return false;
         }
         done += std::size_t( count );
      }
      return file_ >= 0 && ftruncate( file_, off_t( text.size() ) ) == 0;
   }
   // So many octets can be written into it without any more room.
   bool reserve( std::size_t octets ) const {
      errno = file_ < 0 ? errno : posix_fallocate( file_, 0, off_t( octets ) );
      return file_ >= 0 && errno == 0;
   }

 private:
   int const file_;
};

// Each has the other one's place then, where both are there.
bool
changePlaces( std::string const& one, std::string const& other ) {
   return renameat2( AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE ) ==
      0 ||
      std::rename( one.c_str(), other.c_str() ) == 0;
}

// What is written goes where the file before the last one was, which is kept for that and is
// as long as the last one: a disk that is full takes what is not longer.
bool
replace( std::filesystem::path const& path, std::string const& text ) {
   std::string const next = path.string() + ".new";
   std::error_code ignored;
   std::filesystem::create_directories( path.parent_path(), ignored );
   Opened const written( openSpare( next ) );
   return written.contentIs( text ) && written.sync() &&
      changePlaces( next, path.string() ) &&
      Opened( openDirectory( path.parent_path() ) ).sync() &&
      Opened( openSpare( next ) ).reserve( text.size() );
}

} // namespace

// Of another boot, too, it has this shape. Throws std::exception when it has not.
void
TakenDown::take( std::string const& content ) {
   Json const json = Json::parse( content );
   std::map< int, std::string > devices;
   for ( Json const& device : json.at( "devices" ) ) {
      devices.emplace( device.at( "index" ).get< int >(), device.at( "name" ) );
   }
   std::optional< unsigned > bit;
   if ( json.contains( "reasonBit" ) ) {
      bit = json.at( "reasonBit" ).get< unsigned >();
   }
   if ( bit > 31U ) {
      throw std::out_of_range( "reasonBit" );
   }
   if ( json.at( "boot" ).get< std::string >() == bootId_ ) {
      devices_ = std::move( devices );
      reasonBit_ = bit;
   }
}

void
TakenDown::read( std::function< void( std::string const& line ) > const& say ) {
   if ( access( path_.c_str(), F_OK ) != 0 && errno == ENOENT ) {
      return;
   }
   std::string problem;
   try {
      take( readFile( path_ ).text );
      return;
   } catch ( Failure const& failure ) {
      problem = failure.what();
   } catch ( std::exception const& ) {
      problem = fmt::format( "{}: not what this host has written", path_ );
   }
   auto const now = std::chrono::system_clock::now().time_since_epoch();
   std::string const aside =
      asideName( path_, dateText( std::chrono::duration_cast< Milliseconds >( now ) ) );
   bool const isAside = std::rename( path_.c_str(), aside.c_str() ) == 0;
   say( fmt::format(
      "{}; {}; which ports a host before has taken down is not known",
      problem,
      isAside ? "it is now " + aside
              : fmt::format( "it cannot be renamed: {}", std::strerror( errno ) ) ) );
}

std::set< int >
TakenDown::indexes() const {
   std::set< int > indexes;
   for ( auto const& [ index, name ] : devices_ ) {
      indexes.insert( index );
   }
   return indexes;
}

std::string
TakenDown::text() const {
   Json devices = Json::array();
   for ( auto const& [ index, name ] : devices_ ) {
      devices.push_back( { { "index", index }, { "name", oneLine( name ) } } );
   }
   Json content = { { "boot", bootId_ }, { "devices", devices } };
   if ( reasonBit_ ) {
      content[ "reasonBit" ] = *reasonBit_;
   }
   return content.dump() + "\n";
}

void
TakenDown::write() {
   if ( isWritten_ ) {
      return;
   }
   if ( !replace( path_, text() ) ) {
      throw Failure(
         ExitStatus::failed,
         fmt::format( "{}: cannot be written: {}", path_, std::strerror( errno ) ) );
   }
   isWritten_ = true;
}

} // namespace ostra
