// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/linux/TakenDown>

#include <host/base/Failure>
#include <host/base/Json>

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

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

TakenDown::TakenDown( std::string path, std::string bootId )
      : path_( std::move( path ) ), bootId_( std::move( bootId ) ) {
   std::ifstream in( path_ );
   std::string const content( std::istreambuf_iterator< char >( in ), {} );
   // Nothing but this writes it, and always all of it.
   Json const json = Json::parse( content, nullptr, false );
   if ( json.is_object() && json.value( "boot", Json() ) == Json( bootId_ ) ) {
      for ( auto const& device : json.value( "devices", Json::array() ) ) {
         devices_.emplace( device.at( "index" ), device.at( "name" ) );
      }
   }
   written_ = text();
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
   return Json( { { "boot", bootId_ }, { "devices", devices } } ).dump() + "\n";
}

void
TakenDown::write() {
   std::string const now = text();
   if ( now == written_ ) {
      return;
   }
   if ( !replace( path_, now ) ) {
      throw Failure(
         ExitStatus::failed,
         fmt::format( "{}: cannot be written: {}", path_, std::strerror( errno ) ) );
   }
   written_ = now;
}

} // namespace ostra
