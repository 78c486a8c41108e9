// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/input/Foreign>

#include <host/base/Failure>
#include <host/input/SourceLine>

#include <fmt/format.h>

namespace ostra {

bool
isForeignComment( std::string_view text ) {
   return text.starts_with( "//" ) || text.starts_with( "/*" );
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
