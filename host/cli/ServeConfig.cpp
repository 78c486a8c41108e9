// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/ServeConfig>

#include <host/base/Failure>
#include <host/base/Words>
#include <host/http/Endpoint>
#include <host/input/File>
#include <host/serve/Owners>

#include <fmt/format.h>

#include <filesystem>
#include <utility>
#include <variant>

namespace ostra {

namespace {

[[noreturn]] void
refuseConfig( Config const& config, std::string_view why ) {
   throw Failure( ExitStatus::badInput, fmt::format( "{}: {}", config.name, why ) );
}

} // namespace

std::string
bootIdOf( Config const& config ) {
   std::string text = readFile( config.bootId ).text;
   text.erase( text.find_last_not_of( " \t\r\n" ) + 1 );
   // With an empty id all boots would look like one.
   if ( text.empty() ) {
      throw Failure(
         ExitStatus::badInput,
         fmt::format(
            "{}: empty: expected what tells one boot from another", config.bootId ) );
   }
   // It is told in JSON.
   return oneLine( text );
}

LinuxDriver::Options
linuxOptions( Config const& config ) {
   return { config.linux, config.state, bootIdOf( config ) };
}

std::unique_ptr< Driver >
makeDriver( Config const& config, Say say ) {
   if ( config.driver == DriverKind::linux ) {
      return std::make_unique< LinuxDriver >( linuxOptions( config ), std::move( say ) );
   }
   return std::make_unique< NoDriver >();
}

void
checkConfig( Config const& config ) {
   auto const driver = makeDriver( config, []( auto const& ) {} );
   bootIdOf( config );
   readToken( config.tokenFile );
   for ( auto const& [ group, place ] : config.groups ) {
      if ( !http::isGroup( group ) ) {
         throw Failure(
            ExitStatus::badInput,
            fmt::format(
               "{}: {}: expected a group of this machine", place, inQuotes( group ) ) );
      }
   }
   if ( config.mounts ) {
      Owners owners;
      owners.driverIs( driver->mounts() );
      try {
         owners.check( changesOf( Item( *config.mounts ) ), Owner::file );
      } catch ( PatchRefusal const& refusal ) {
         refuseConfig( config, fmt::format( "mounts: {}", refusal.what() ) );
      }
   }
}

void
checkPlaces( Config const& config ) {
   namespace fs = std::filesystem;
   std::error_code error;
   if ( fs::exists( config.state, error ) && !fs::is_directory( config.state, error ) ) {
      refuseConfig(
         config, fmt::format( "state: {}: a file: expected a directory", config.state ) );
   }
   for ( ListenEndpoint const& endpoint : config.listen ) {
      auto const* const at = std::get_if< UnixEndpoint >( &endpoint );
      if ( !at ) {
         continue;
      }
      if ( fs::exists( at->path, error ) && !fs::is_socket( at->path, error ) ) {
         refuseConfig(
            config,
            fmt::format( "listen: {}: no socket: expected one, or nothing", at->path ) );
      }
      // The last directory is made.
      fs::path const above = fs::path( at->path ).parent_path().parent_path();
      if ( !fs::is_directory( above, error ) ) {
         refuseConfig(
            config,
            fmt::format(
               "listen: {}: {} is no directory: expected one", at->path, above.string() ) );
      }
   }
}

void
warnOfPlaces( Config const& config, std::ostream& errors ) {
   for ( ListenEndpoint const& endpoint : config.listen ) {
      std::string const why =
         std::visit( []( auto const& at ) { return http::whyTaken( at ); }, endpoint );
      if ( !why.empty() ) {
         errors << fmt::format(
            "warning: listen: {}: {}\n",
            std::visit( []( auto const& at ) { return http::nameOf( at ); }, endpoint ),
            why );
      }
   }
}

void
warnOfDevices( Config const& config, std::ostream& errors ) {
   if ( config.driver != DriverKind::linux ) {
      return;
   }
   Say const say = [ &errors ]( std::string const& line ) {
      errors << fmt::format( "warning: {}\n", line );
   };
   for ( std::string const& warning :
         LinuxDriver( linuxOptions( config ), say ).warnings() ) {
      say( warning );
   }
}

} // namespace ostra
