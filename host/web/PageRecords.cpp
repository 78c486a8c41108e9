// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/web/PageRecords>

#include <host/base/Failure>
#include <host/base/JsonLine>

#include <fmt/format.h>

#include <filesystem>
#include <fstream>

namespace ostra {

namespace {

constexpr std::string_view streamBegin = "{\"t\":";

bool
isRecord( Json const& json ) {
   return json.is_object() && json.contains( "t" ) && json.at( "t" ).is_number() &&
      json.contains( "type" ) && json.at( "type" ).is_string();
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
   std::string begin( streamBegin.size(), '\0' );
   file.read( begin.data(), static_cast< std::streamsize >( begin.size() ) );
   return begin == streamBegin;
}

void
putStream( std::ostream& out, File const& file ) {
   Json const start = { { "t", 0 },
                        { "type", "start" },
                        { "name", std::filesystem::path( file.name ).filename().string() },
                        { "version", OSTRA_VERSION } };
   putRecord( out, lineOf( start ) );
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
      // The page has no place for them.
      if ( json.at( "type" ) != "trace" ) {
         putRecord( out, line );
      }
   }
}

} // namespace ostra
