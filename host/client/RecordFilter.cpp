// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/client/RecordFilter>

#include <algorithm>
#include <iterator>

namespace ostra {

RecordFilter::RecordFilter(
   std::optional< std::vector< Kovel::IntfId > > const& interfaces )
      : takesAll_( !interfaces ) {
   if ( !takesAll_ ) {
      // Of a long change it is told alone in which mounts it is.
      words_ = { R"("type":"start")",
                 R"("type":"configuration")",
                 R"("type":"log")",
                 R"("mounts":[)" };
      // Names of interfaces need no escapes.
      std::transform(
         interfaces->begin(),
         interfaces->end(),
         std::back_inserter( words_ ),
         []( Kovel::IntfId id ) { return '"' + std::string( id.string() ) + '"'; } );
   }
}

bool
RecordFilter::takes( std::string_view line ) const {
   return takesAll_ ||
      std::any_of( words_.begin(), words_.end(), [ line ]( std::string const& word ) {
             return line.find( word ) != line.npos;
          } );
}

} // namespace ostra
