// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/web/PageRecords>

#include <host/account/PortStanding>
#include <host/base/Failure>
#include <host/base/JsonLine>
#include <host/base/Utf8>
#include <host/state/MountTable>
#include <host/state/Mounts>

#include <Ryx/Exception>

#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <set>

namespace ostra {

namespace {

constexpr std::string_view streamBegin = "{\"t\":";

bool
isRecord( Json const& json ) {
   return json.is_object() && json.contains( "t" ) && json.at( "t" ).is_number() &&
      json.contains( "type" ) && json.at( "type" ).is_string();
}

using Ports = std::set< Kovel::IntfId >;

// Adds one that is held or released by the record: it need not be there at the end.
void
addHeld( Json const& record, Ports& ports ) {
   Json const path = memberAt( record, { "path" } );
   if (
      path.is_array() && path.size() == 3 && path[ 0 ] == mount::mlagissuCause &&
      path[ 1 ] == "intfStatus" ) {
      try {
         if ( Kovel::IntfId const id = intfIdOf( path[ 2 ] ) ) {
            ports.insert( id );
         }
      } catch ( Ryx::RangeException const& ) {
         // No port that a switch has.
      }
   }
}

// What each port is at the end with that state, and in which port-channel:
// { "Ethernet1": [ "mlag", "Port-Channel10" ] }. Nothing of what is no state of a switch.
std::string
placesIn( Json const& state, Ports ports ) {
   ObjectLine places;
   std::string const text = lineOf( state );
   Mounts mounts;
   try {
      Document const document = parseDocument( "state", text, text.size() );
      mounts.apply( Item( document.root() ) );
   } catch ( Failure const& ) {
      return places.take();
   }
   SwitchFacts const facts( mounts );
   for ( Kovel::IntfId const id : facts.ports() ) {
      ports.insert( id );
   }
   HoldLedger const ledger;
   Standings const standings( facts, ledger, false );
   for ( Kovel::IntfId const id : ports ) {
      Kovel::IntfId const portChannel = facts.portChannelOf( id );
      places.add(
         id.string(),
         Json{ standings.classOf( id ),
               portChannel ? Json( portChannel.string() ) : Json() } );
   }
   return places.take();
}

} // namespace

void
putRecord( std::ostream& out, std::string_view line ) {
   for ( std::size_t at = line.find( '<' ); at != line.npos; at = line.find( '<' ) ) {
      out << line.substr( 0, at ) << "\\u003c";
      line.remove_prefix( at + 1 );
   }
   out << line << '\n';
}

void
putAgainst( std::ostream& out ) {
   out << "{\"t\":0,\"type\":\"against\"}\n";
}

bool
isStream( std::string const& path ) {
   std::error_code error;
   if ( !std::filesystem::is_regular_file( path, error ) ) {
      return false;
   }
   std::ifstream file( path );
   std::string begin( byteOrderMark.size() + streamBegin.size(), '\0' );
   file.read( begin.data(), static_cast< std::streamsize >( begin.size() ) );
   dropByteOrderMark( begin );
   return begin.starts_with( streamBegin );
}

void
putStream( std::ostream& out, File const& file ) {
   Json const start = { { "t", 0 },
                        { "type", "start" },
                        { "name", std::filesystem::path( file.name ).filename().string() },
                        { "version", OSTRA_VERSION } };
   putRecord( out, lineOf( start ) );
   Ports held;
   std::string_view rest = file.text;
   for ( std::size_t number = 1; !rest.empty(); ++number ) {
      std::string_view const line = rest.substr( 0, rest.find( '\n' ) );
      bool const isWhole = line.size() < rest.size();
      rest.remove_prefix( std::min( rest.size(), line.size() + 1 ) );
      Json const json = Json::parse( line, nullptr, false );
      if ( !isWhole && json.is_discarded() ) {
         return;
      }
      if ( !isRecord( json ) ) {
         throw Failure(
            ExitStatus::badInput,
            fmt::format(
               "{}:{}: {}: expected a record of `ostra run --format ndjson`",
               file.name,
               number,
               json.is_discarded() ? "no JSON" : "no record" ) );
      }
      addHeld( json, held );
      if ( json.at( "type" ) == "end" ) {
         ObjectLine places;
         places.add( "t", json.at( "t" ) );
         places.add( "type", "places" );
         places.addLine( "places", placesIn( memberAt( json, { "state" } ), held ) );
         putRecord( out, places.take() );
      }
      // The page has no place for them.
      if ( json.at( "type" ) != "trace" ) {
         putRecord( out, line );
      }
   }
}

} // namespace ostra
