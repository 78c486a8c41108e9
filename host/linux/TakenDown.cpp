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
#include <fstream>
#include <stdexcept>

#include <fcntl.h>
#include <unistd.h>

namespace ostra {

namespace {

// Of a file or a directory; whether it is on the disk.
bool
sync( std::string const& path ) {
   int const file = open( path.c_str(), O_RDONLY | O_CLOEXEC );
   bool const isDone = file >= 0 && fsync( file ) == 0;
   if ( file >= 0 ) {
      close( file );
   }
   return isDone;
}

bool
replace( std::filesystem::path const& path, std::string const& text ) {
   std::string const next = path.string() + ".new";
   std::error_code ignored;
   std::filesystem::create_directories( path.parent_path(), ignored );
   errno = 0;
   std::ofstream out( next, std::ios::trunc );
   out << text;
   out.close();
   return out && sync( next ) && std::rename( next.c_str(), path.c_str() ) == 0 &&
      sync( path.parent_path() );
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
