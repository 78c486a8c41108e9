// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/input/Foreign>

#include <host/base/Failure>
#include <host/base/Json>
#include <host/input/SourceLine>

#include <fmt/format.h>

#include <algorithm>

namespace ostra {

bool
isForeignComment( std::string_view text ) {
   return text.starts_with( "//" ) || text.starts_with( "/*" );
}

std::string
placeOfNoJson( std::string_view text ) {
   try {
      // Nothing of it is kept.
      [[maybe_unused]] Json const nothing =
         Json::parse( text, []( int, Json::parse_event_t, Json& ) { return false; } );
      return {};
   } catch ( Json::parse_error const& error ) {
      std::string_view const before =
         text.substr( 0, std::max< std::size_t >( error.byte, 1 ) - 1 );
      std::size_t const lineEnd = before.rfind( '\n' );
      return fmt::format(
         "{}:{}",
         1 + std::count( before.begin(), before.end(), '\n' ),
         before.size() - ( lineEnd == before.npos ? 0 : lineEnd + 1 ) + 1 );
   } catch ( Json::out_of_range const& ) {
      // JSON, with a number that is too large for any: whoever reads it refuses it.
      return {};
   }
}

void
refuseLongKey(
   DocumentTree const& tree, DocumentTree::Offset offset, std::string_view found ) {
   tree.fail(
      offset,
      fmt::format(
         "{}: expected a key of at most {} octets as JSON writes it", found, longestKey ) );
}

void
refuseDirective( DocumentTree const& tree, DocumentTree::Offset offset ) {
   std::string_view const line = SourceLine::at( tree.text(), offset ).text;
   tree.fail(
      offset,
      fmt::format(
         "directive {}: expected none, or \"%YAML 1.2\"",
         inQuotes( line.substr( 0, line.find_last_not_of( " \t" ) + 1 ) ) ) );
}

} // namespace ostra
