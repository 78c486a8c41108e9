// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/Config>

#include <host/base/Environment>
#include <host/base/Words>

#include <Kovel/IntfId>
#include <Ryx/Exception>

#include <fmt/format.h>

#include <cerrno>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

namespace ostra {

namespace {

// A path that is not absolute counts for nothing.
std::string
pathFrom( char const* name ) {
   std::string_view const path = environment( name );
   return std::string( path.starts_with( '/' ) ? path : "" );
}

// The text with each group's number behind a backslash replaced.
template< class Group >
std::string
substituted( std::string_view text, Group group ) {
   std::string result;
   for ( std::size_t i = 0; i < text.size(); ++i ) {
      bool const isGroup = text[ i ] == '\\' && i + 1 < text.size() &&
         text[ i + 1 ] >= '1' && text[ i + 1 ] <= '9';
      if ( isGroup ) {
         result += group( static_cast< std::size_t >( text[ ++i ] - '0' ) );
      } else {
         result += text[ i ];
      }
   }
   return result;
}

bool
isInterfaceName( std::string const& name ) {
   try {
      return bool( Kovel::IntfId( name ) );
   } catch ( Ryx::RangeException const& ) {
      return false;
   }
}

std::optional< std::string >
nameFor(
   std::regex const& device, std::string const& deviceName, std::string const& text ) {
   std::smatch match;
   if ( !std::regex_match( deviceName, match, device ) ) {
      return std::nullopt;
   }
   std::string name =
      substituted( text, [ &match ]( std::size_t group ) { return match.str( group ); } );
   return isInterfaceName( name ) ? std::optional( std::move( name ) ) : std::nullopt;
}

Document
defaultDocument() {
   return parseDocument( "the defaults", "{}" );
}

} // namespace

std::optional< std::string >
InterfaceRule::interfaceOf( std::string const& deviceName ) const {
   return nameFor( device, deviceName, interface );
}

std::optional< std::string >
InterfaceRule::portChannelOf( std::string const& deviceName ) const {
   return portChannel.empty() ? std::nullopt : nameFor( device, deviceName, portChannel );
}

Surroundings
Surroundings::current() {
   return { geteuid() == 0,
            pathFrom( "HOME" ),
            pathFrom( "XDG_STATE_HOME" ),
            pathFrom( "XDG_RUNTIME_DIR" ) };
}

Config
defaultConfig( Surroundings const& surroundings ) {
   Config config;
   if ( surroundings.isRoot ) {
      config.state = "/var/lib/ostra";
      config.listen.emplace_back( UnixEndpoint{ "/run/ostra/ostra.sock" } );
   } else {
      std::string const stateHome = surroundings.stateHome.empty()
         ? surroundings.home + "/.local/state"
         : surroundings.stateHome;
      config.state = stateHome + "/ostra";
      config.listen.emplace_back( UnixEndpoint{ ( surroundings.runtimeDirectory.empty()
                                                     ? config.state
                                                     : surroundings.runtimeDirectory ) +
                                                "/ostra.sock" } );
   }
   config.listen.emplace_back( TcpEndpoint{ "127.0.0.1", 8440 } );
   return config;
}

std::optional< std::string >
configFile( std::optional< std::string > const& path ) {
   bool const isAway = access( configPath, F_OK ) != 0 && errno == ENOENT;
   return path || isAway ? path : configPath;
}

Config
loadConfig( std::optional< std::string > const& path ) {
   auto const surroundings = Surroundings::current();
   auto const found = configFile( path );
   if ( !found ) {
      return readConfig( defaultDocument(), surroundings );
   }
   File file = readFile( *found );
   return readConfig(
      parseDocument( std::move( file.name ), std::move( file.text ) ), surroundings );
}

std::string
readToken( std::string const& path ) {
   if ( path.empty() ) {
      return {};
   }
   struct stat found {};
   if ( stat( path.c_str(), &found ) == 0 && ( found.st_mode & 07 ) != 0 ) {
      throw Failure(
         ExitStatus::badInput,
         fmt::format( "{}: others may read it: expected mode 0640 or less", path ) );
   }
   std::string const text = readFile( path ).text;
   constexpr char space[] = " \t\r\n";
   std::size_t const begin = text.find_first_not_of( space );
   if ( begin == text.npos ) {
      throw Failure(
         ExitStatus::badInput, fmt::format( "{}: empty: expected a token", path ) );
   }
   return text.substr( begin, text.find_last_not_of( space ) - begin + 1 );
}

std::string
describe( Config const& config ) {
   std::size_t mounts = 0;
   if ( config.mounts ) {
      for ( Entry const entry : config.mounts->root().entries() ) {
         mounts += entry.key.empty() ? 0 : 1;
      }
   }
   return fmt::format(
      "driver {}, {}, {}",
      config.driver == DriverKind::linux ? "linux" : "none",
      counted( config.listen.size(), "socket" ),
      counted( mounts, "mount" ) );
}

} // namespace ostra
