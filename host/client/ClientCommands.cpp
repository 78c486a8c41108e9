// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/client/ClientCommands>

#include <host/base/Failure>
#include <host/base/JsonLine>
#include <host/base/Words>
#include <host/client/LiveText>
#include <host/client/RecordFilter>
#include <host/input/Document>
#include <host/input/File>
#include <host/state/MountTable>

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <utility>

namespace ostra {

namespace {

// "mlagConfig.intfConfig" as "/v1/state/mlagConfig/intfConfig"; slashes divide as dots do
// where there is no dot.
std::string
targetOf( std::string_view path ) {
   char const between = path.find( '.' ) == path.npos ? '/' : '.';
   std::string target = "/v1/state";
   while ( !path.empty() ) {
      std::size_t const end = std::min( path.find( between ), path.size() );
      target += '/' + escapedSegment( path.substr( 0, end ) );
      path.remove_prefix( std::min( end + 1, path.size() ) );
   }
   return target;
}

// As YAML has it: a number, a word that means something, else a text; JSON as it is. `name`:
// whose value it is.
Json
valueOf( std::string const& name, std::string const& text ) {
   if ( text.empty() ) {
      return "";
   }
   return toJson( parseDocument( name, text ).root() );
}

void
tellRevision( ClientOptions const& options, Json const& answer, std::ostream& out ) {
   out << ( options.isJson
               ? lineOf( answer )
               : fmt::format(
                    "revision {}", answer.value( "revision", std::int64_t( 0 ) ) ) )
       << '\n';
}

// What would be changed by all of them.
Json
assignedBy( std::vector< std::string > const& assignments, std::string const& command ) {
   Json patch = Json::object();
   for ( std::string const& assignment : assignments ) {
      Json const one = assignmentPatch( assignment, command );
      // What is `null` is to be said, too.
      patch.update( one, true );
   }
   return patch;
}

Json
patchIn( File file ) {
   auto const document = parseDocument( std::move( file.name ), std::move( file.text ) );
   return toJson( document.root() );
}

// One that stands there itself begins with a brace, perhaps behind white space.
bool
isPatch( std::string const& text ) {
   std::size_t const begin = text.find_first_not_of( " \t\r\n" );
   return begin != text.npos && text[ begin ] == '{';
}

// A path begins with the name of a mount; that of a file may have an equals sign, too.
bool
isAssignment( std::string const& text ) {
   return text.find( '=' ) != text.npos && text.front() != '/' && text.front() != '.' &&
      !isPatch( text );
}

Json
patchOf( std::vector< std::string > const& changes, std::string const& command ) {
   bool const isWhole =
      changes.size() == 1 && !changes[ 0 ].empty() && !isAssignment( changes[ 0 ] );
   if ( !isWhole ) {
      return assignedBy( changes, command );
   }
   return patchIn(
      isPatch( changes[ 0 ] ) ? File{ "patch", changes[ 0 ] } : readFile( changes[ 0 ] ) );
}

std::optional< std::uint64_t >
limitOf( std::string const& text ) {
   std::uint64_t number = 0;
   char const* const end = text.data() + text.size();
   auto const [ rest, error ] = std::from_chars( text.data(), end, number );
   return error == std::errc() && rest == end ? std::optional( number ) : std::nullopt;
}

// Of port-channels in LACP standby, whose members are not released with the others.
std::string
standbyLeft( HostConnection const& host ) {
   std::string names;
   std::size_t count = 0;
   Json const portChannels = host.get( "/v1/state/lacpConfig/portChannel" );
   for ( auto const& [ name, portChannel ] : portChannels.items() ) {
      if ( memberAt( portChannel, { "stayInStandby" } ) == Json( true ) ) {
         names += ( count++ == 0 ? "" : ", " ) + name;
      }
   }
   return count == 0 ? ""
                     : fmt::format(
                          "{} in LACP standby, which this does not end: {}\n",
                          counted( count, "port-channel" ),
                          names );
}

} // namespace

HostConnection
hostOf( ClientOptions const& options, std::string const& command ) {
   return { "ostra " + command, options.socket ? *options.socket : defaultSocket() };
}

Json
assignmentPatch( std::string const& assignment, std::string const& command ) {
   std::size_t const equals = assignment.find( '=' );
   std::string const path = assignment.substr( 0, equals );
   bool const isPath = !path.empty() && path.front() != '.' && path.back() != '.' &&
      path.find( ".." ) == path.npos;
   if ( equals == assignment.npos || !isPath ) {
      throw Failure(
         ExitStatus::badInput,
         fmt::format(
            "ostra {}: {}: expected a path and a value, as mlagConfig.reloadDelay=120",
            command,
            inQuotes( assignment ) ) );
   }
   Json patch = valueOf(
      fmt::format( "ostra {}: value of {}", command, path ),
      assignment.substr( equals + 1 ) );
   for ( std::size_t end = path.size(); end != path.npos; ) {
      std::size_t const dot = path.rfind( '.', end - 1 );
      std::size_t const begin = dot == path.npos ? 0 : dot + 1;
      patch = { { path.substr( begin, end - begin ), std::move( patch ) } };
      end = dot;
   }
   return patch;
}

void
showLive(
   ClientOptions const& options, Shown what, std::string const& path, std::ostream& out ) {
   auto const host = hostOf( options, "show" );
   if ( what == Shown::state ) {
      out << linesOf( host.get( targetOf( path ) ) );
      return;
   }
   Json const json = host.get( what == Shown::ports ? "/v1/ports" : "/v1/summary" );
   if ( options.isJson ) {
      out << linesOf( json );
   } else {
      Style const style( options.hasColour );
      out
         << ( what == Shown::ports ? portsText( json, style )
                                   : summaryText( json, style ) );
   }
}

void
showAlarms( ClientOptions const& options, std::ostream& out ) {
   auto const host = hostOf( options, "alarms" );
   Json const alarms = host.get( "/v1/alarms" );
   if ( options.isJson ) {
      out << alarms.dump( 2 ) << '\n';
      return;
   }
   Json const now = memberAt( host.get( "/v1/summary" ), { "boot", "time" } );
   out << alarmsText( alarms, now, Style( options.hasColour ) );
}

void
watchLive( ClientOptions const& options, std::ostream& out ) {
   constexpr std::string_view mark = "data: ";
   Style const style( options.hasColour );
   RecordFilter const filter( options.only );
   hostOf( options, "watch" ).forEachLine( "/v1/events", [ & ]( std::string_view line ) {
      if ( line.starts_with( mark ) && filter.takes( line ) ) {
         line.remove_prefix( mark.size() );
         out << ( options.isJson ? std::string( line ) : recordText( line, style ) ) << '\n'
             << std::flush;
      }
      return out.good();
   } );
   if ( out.good() ) {
      throw Failure(
         ExitStatus::failed,
         fmt::format(
            "ostra watch: {}: the host has ended: expected one that goes on",
            options.socket.value_or( defaultSocket() ) ) );
   }
}

void
showHistory(
   ClientOptions const& options,
   std::optional< std::string > const& since,
   std::optional< std::string > const& limit,
   std::ostream& out ) {
   // Where only some are told, the limit is of those.
   auto const most = options.only && limit ? limitOf( *limit ) : std::nullopt;
   std::string target = "/v1/history?";
   target += since ? fmt::format( "since={}&", escapedSegment( *since ) ) : "";
   target += limit && !most ? fmt::format( "limit={}", escapedSegment( *limit ) ) : "";
   Style const style( options.hasColour );
   RecordFilter const filter( options.only );
   std::uint64_t left = most.value_or( std::numeric_limits< std::uint64_t >::max() );
   hostOf( options, "history" ).forEachLine( target, [ & ]( std::string_view line ) {
      if ( left > 0 && filter.takes( line ) ) {
         out << ( options.isJson ? std::string( line ) : recordText( line, style ) )
             << '\n';
         --left;
      }
      return left > 0 && out.good();
   } );
}

void
setLive(
   ClientOptions const& options,
   std::vector< std::string > const& assignments,
   std::ostream& out ) {
   Json const patch = assignedBy( assignments, "set" );
   try {
      tellRevision( options, hostOf( options, "set" ).patch( "/v1/state", patch ), out );
   } catch ( Failure const& failure ) {
      // Refused only because the value lacks its quotes.
      bool const isUnquoted = std::string_view( failure.what() ).ends_with( "in quotes" );
      throw isUnquoted
         ? Failure(
              failure.status(), std::string( failure.what() ) + ", as mlagId='\"12\"'" )
         : failure;
   }
}

void
applyLive( ClientOptions const& options, std::string const& path, std::ostream& out ) {
   File file = readFile( path );
   auto const host = hostOf( options, "apply: " + file.name );
   Json const patch = patchIn( std::move( file ) );
   tellRevision( options, host.patch( "/v1/state", patch ), out );
}

void
releaseLive(
   ClientOptions const& options,
   std::vector< std::string > const& interfaces,
   std::ostream& out ) {
   auto const host = hostOf( options, "release" );
   Json const held =
      host.get( fmt::format( "/v1/state/{}/intfStatus", mount::mlagissuCause ) );
   Json patch = Json::object();
   for ( auto const& [ name, since ] : held.items() ) {
      if ( interfaces.empty() ) {
         patch[ name ] = nullptr;
      }
   }
   for ( std::string const& name : interfaces ) {
      if ( !held.contains( name ) ) {
         throw Failure(
            ExitStatus::badInput,
            fmt::format(
               "ostra release: {}: expected an interface that is errdisabled",
               inQuotes( name ) ) );
      }
      patch[ name ] = nullptr;
   }
   Json const answer =
      host.patch( "/v1/state", { { mount::mlagissuCause, { { "intfStatus", patch } } } } );
   if ( options.isJson ) {
      tellRevision( options, answer, out );
   } else {
      out << counted( patch.size(), "port" ) << " released\n";
      if ( interfaces.empty() ) {
         out << standbyLeft( host );
      }
   }
}

void
forecastLive(
   ClientOptions const& options,
   std::vector< std::string > const& changes,
   std::optional< Milliseconds > until,
   std::size_t width,
   std::ostream& out ) {
   Json request = Json::object();
   if ( !changes.empty() ) {
      request[ "patch" ] = patchOf( changes, "forecast" );
   }
   if ( until ) {
      request[ "until" ] = secondsOf( *until );
   }
   std::string const target = options.isJson
      ? "/v1/forecast"
      : fmt::format(
           "/v1/forecast?format=text&width={}{}",
           width,
           options.hasColour ? "&colour=always" : "" );
   out << hostOf( options, "forecast" ).post( target, request );
}

} // namespace ostra
