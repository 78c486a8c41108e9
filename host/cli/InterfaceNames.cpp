// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/InterfaceNames>

#include <host/base/Environment>
#include <host/base/Failure>
#include <host/cli/BuiltinScenario>
#include <host/input/Document>

#include <Kovel/IntfId>
#include <Ryx/Exception>

#include <filesystem>
#include <optional>
#include <set>

namespace ostra {

namespace {

using Names = std::vector< std::string >;

// Who presses a key does not wait longer, for a file or for a host.
constexpr std::size_t longestScenario = 16 * mebibyte;
constexpr Milliseconds patience = std::chrono::seconds( 1 );

bool
isInterface( std::string const& name ) {
   try {
      Kovel::IntfId const id( name );
      return true;
   } catch ( Ryx::RangeException const& ) {
      return false;
   }
}

// Shells leave the home directory to the program in words that they do not execute.
std::string
expanded( std::string const& path ) {
   return path.starts_with( "~/" ) ? std::string( environment( "HOME" ) ) + path.substr( 1 )
                                   : path;
}

// Every key that names an interface, once, in the order of the document.
class KeyCollector {
 public:
   void add( DocumentNode const& node ) {
      for ( Entry const entry : node.entries() ) {
         addKey( entry.key );
         add( entry.value );
      }
      for ( DocumentNode const item : node.items() ) {
         add( item );
      }
   }
   Names const& names() const noexcept { return names_; }

 private:
   void addKey( std::string_view key ) {
      std::string const name( key );
      if ( isInterface( name ) && known_.insert( name ).second ) {
         names_.push_back( name );
      }
   }

   std::set< std::string > known_;
   Names names_;
};

std::optional< Document >
scenarioOn( std::string const& path ) {
   std::error_code error;
   // Reading anything else could wait without end, or take away what is to be read.
   if ( !std::filesystem::is_regular_file( path, error ) ) {
      return std::nullopt;
   }
   try {
      File file = readFile( path, longestScenario );
      return parseScenario( std::move( file.name ), std::move( file.text ) );
   } catch ( Failure const& ) {
      return std::nullopt;
   }
}

Names
namesIn( std::optional< Document > const& scenario ) {
   KeyCollector collector;
   if ( scenario ) {
      collector.add( scenario->root() );
   }
   return collector.names();
}

// A host's answer is not trusted: a shell puts these words on its line.
Names
interfacesAmong( Names names ) {
   std::erase_if( names, []( std::string const& name ) { return !isInterface( name ); } );
   return names;
}

bool
asksHost( CLI::App const& command ) {
   return command.get_option_no_throw( "--socket" ) != nullptr;
}

std::string
socketOf( ArgumentSpot const& spot ) {
   auto const given = spot.given.find( "--socket" );
   return given == spot.given.end() ? defaultSocket() : expanded( given->second );
}

} // namespace

Names
interfacesFor( ArgumentSpot const& spot ) {
   auto const given = spot.given.find( "SCENARIO" );
   if ( given != spot.given.end() ) {
      return namesIn( scenarioOn( expanded( given->second ) ) );
   }
   if ( !asksHost( *spot.command ) ) {
      return namesIn( parseScenario( "<built-in>", std::string( builtinScenario() ) ) );
   }
   LiveNames const live( spot );
   return spot.command->get_name() == "release" ? live.heldPorts() : live.ports();
}

LiveNames::LiveNames( ArgumentSpot const& spot )
      : host_( "ostra completion", socketOf( spot ), patience ) {}

Names
LiveNames::ports() const {
   Names names;
   for ( Json const& port : answerTo( "/v1/ports" ) ) {
      if (
         port.is_object() && port.contains( "interface" ) &&
         port[ "interface" ].is_string() ) {
         names.push_back( port[ "interface" ].get< std::string >() );
      }
   }
   return interfacesAmong( std::move( names ) );
}

Names
LiveNames::heldPorts() const {
   return keysAt( "mlagissuCause.intfStatus" );
}

Names
LiveNames::keysAt( std::string_view path ) const {
   std::string target = "/v1/state/";
   for ( char const c : path ) {
      target += c == '.' ? "/" : escapedSegment( std::string_view( &c, 1 ) );
   }
   Json const entries = answerTo( target );
   Names names;
   for ( auto const& [ key, value ] : entries.items() ) {
      names.push_back( key );
   }
   return interfacesAmong( std::move( names ) );
}

// Null when there is none.
Json
LiveNames::answerTo( std::string const& target ) const {
   try {
      return host_.get( target );
   } catch ( Failure const& ) {
      return nullptr;
   }
}

} // namespace ostra
