// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/KeptState>

#include <host/base/JsonLine>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace ostra {

namespace {

constexpr std::size_t depthOfEntry = 3;

// The mounts whose contents are configuration, where clients own them.
constexpr std::array< std::string_view, 5 > configuration = { {
   mount::mlagConfig,
   mount::ethPhyIntfConfig,
   mount::lagInputConfig,
   mount::lacpOverride,
   mount::lacpConfig,
} };
// What the plug-in makes of the peer's statuses.
constexpr std::array< std::string_view, 2 > derived = { {
   mount::ethIntfStatusDir,
   mount::allIntfStatusDir,
} };

bool
contains( auto const& names, std::string_view name ) {
   return std::find( names.begin(), names.end(), name ) != names.end();
}

void
erase( Json& value, Path const& path, std::size_t depth ) {
   Json* at = &value;
   for ( ; depth + 1 < path.size() && at->is_object() && at->contains( path[ depth ] );
         ++depth ) {
      at = &( *at )[ path[ depth ] ];
   }
   if ( at->is_object() ) {
      at->erase( path[ depth ] );
   }
}

// What others have set in an entry of the file's: without the file's it does not come back.
Json
inEntryOfFile( Json value ) {
   Json marked = Json::array();
   marked.push_back( std::move( value ) );
   return marked;
}

// The row without what the plug-in wrote into it, as configuration.
Json
configurationOf( RowKey const& row, Json value ) {
   if ( row.front() == mount::lacpConfig && value.is_object() ) {
      value.erase( "stayInStandby" );
   }
   return value;
}

// A patch by name of mount, in which each row stands in its place.
Json
patchOf( std::vector< std::pair< RowKey, Json > > const& rows ) {
   Json patch = Json::object();
   for ( auto const& [ row, value ] : rows ) {
      Json* at = &patch;
      for ( std::string const& key : row ) {
         Json::object_t& object = at->is_null()
            ? *( *at = Json::object() ).get_ptr< Json::object_t* >()
            : at->get_ref< Json::object_t& >();
         // Rows come in order: what is theirs is the last that there is.
         if ( object.empty() || object.back().first != key ) {
            object.emplace_back( key, Json() );
         }
         at = &object.back().second;
      }
      *at = value;
   }
   return patch;
}

void
merge( LiveSwitch& live, Json const& patch ) {
   Document const document = parseDocument( "store", lineOf( patch ) );
   Item const root( document );
   root.forEachEntry(
      "", [ & ]( Item const& entry ) { live.mounts().checkMount( entry ); } );
   live.mounts().apply( root );
}

} // namespace

std::string
nameOfRow( RowKey const& row ) {
   return Json( row ).dump();
}

RowKey
rowOfName( std::string const& name ) {
   return Json::parse( name ).get< RowKey >();
}

std::optional< std::string >
keptRow( LiveSwitch const& live, RowKey const& row ) {
   if (
      contains( derived, row.front() ) ||
      live.owners().ownerOf( { row.front() } ) == Owner::driver ) {
      return std::nullopt;
   }
   auto value = live.state( row );
   auto const& file = live.owners().file();
   bool const isEntry = row.size() == depthOfEntry && value && value->is_object();
   if ( !value || ( !isEntry && file.contains( row ) ) ) {
      return std::nullopt;
   }
   for ( auto it = file.upper_bound( row );
         it != file.end() && std::equal( row.begin(), row.end(), it->begin() );
         ++it ) {
      erase( *value, *it, row.size() );
   }
   return lineOf(
      isEntry && live.owners().isOfFile( row ) ? inEntryOfFile( std::move( *value ) )
                                               : *value );
}

Rows
keptRows( LiveSwitch const& live ) {
   Rows rows;
   Json const state = *live.state( {} );
   for ( auto const& [ mount, attributes ] : state.items() ) {
      for ( auto const& [ attribute, value ] : attributes.items() ) {
         std::vector< RowKey > keys;
         if ( value.is_object() ) {
            for ( auto const& [ key, member ] : value.items() ) {
               keys.push_back( { mount, attribute, key } );
            }
         } else {
            keys.push_back( { mount, attribute } );
         }
         for ( RowKey const& row : keys ) {
            if ( auto kept = keptRow( live, row ) ) {
               rows[ nameOfRow( row ) ] = std::move( kept );
            }
         }
      }
   }
   return rows;
}

std::vector< std::string >
restoreRows( LiveSwitch& live, Rows const& rows, bool isSameBoot ) {
   std::vector< std::pair< RowKey, Json > > restored;
   std::vector< Change > entries;
   for ( auto const& [ name, value ] : rows ) {
      RowKey const row = rowOfName( name );
      bool const isBack = isSameBoot || contains( configuration, row.front() );
      if ( isBack && live.owners().ownerOf( { row.front() } ) != Owner::driver ) {
         Json read = Json::parse( *value );
         if ( read.is_array() ) {
            read = Json( read.at( 0 ) );
            entries.push_back( { Change::Kind::addEntry, row } );
         }
         restored.emplace_back( row, isSameBoot ? read : configurationOf( row, read ) );
      }
   }
   std::vector< std::string > problems;
   try {
      merge( live, patchOf( restored ) );
   } catch ( Failure const& ) {
      // One of them does not fit; which one is seen one by one.
      for ( auto const& row : restored ) {
         try {
            merge( live, patchOf( { row } ) );
         } catch ( Failure const& failure ) {
            problems.emplace_back( failure.what() );
         }
      }
   }
   live.owners().fileIs( entries );
   return problems;
}

} // namespace ostra
