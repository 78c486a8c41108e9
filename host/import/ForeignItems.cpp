// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/import/ForeignItems>

namespace ostra {

std::optional< Item >
memberOf( Item const& map, std::string_view key ) {
   std::optional< Item > found;
   map.forEachEntry( "a map", [ & ]( Item const& entry ) {
      if ( entry.key() == key && !entry.isNull() ) {
         found.emplace( entry );
      }
   } );
   return found;
}

std::string
textOf( Item const& item, std::string_view expected ) {
   NodeKind const kind = item.node().kind();
   if ( kind != NodeKind::text && kind != NodeKind::number ) {
      item.refuse( expected );
   }
   return std::string( item.node().text() );
}

std::string
textIn( Item const& map, std::string_view key ) {
   auto const member = memberOf( map, key );
   return member ? textOf( *member, "a text" ) : "";
}

} // namespace ostra
