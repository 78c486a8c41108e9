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

// A row of the store.
struct Restored {
   RowKey key;
   Json value;
   // The entry was the file's.
   bool isInEntryOfFile;
};

Restored
restoredOf( std::string const& name, std::string const& text ) {
   Json const value = Json::parse( text );
   bool const isMarked = value.is_array();
   return { rowOfName( name ), isMarked ? Json( value.at( 0 ) ) : value, isMarked };
}

bool
comesBack( LiveSwitch const& live, RowKey const& row, bool isSameBoot ) {
   return ( isSameBoot || contains( configuration, row.front() ) ) &&
      live.owners().ownerOf( { row.front() } ) != Owner::driver;
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
patchOf( std::vector< Restored > const& rows ) {
   Json patch = Json::object();
   for ( Restored const& row : rows ) {
      Json* at = &patch;
      for ( std::string const& key : row.key ) {
         Json::object_t& object = at->is_null()
            ? *( *at = Json::object() ).get_ptr< Json::object_t* >()
            : at->get_ref< Json::object_t& >();
         // Rows come in order: the member that a row belongs to is the last one.
         if ( object.empty() || object.back().first != key ) {
            object.emplace_back( key, Json() );
         }
         at = &object.back().second;
      }
      *at = row.value;
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

std::vector< std::string >
mergeAll( LiveSwitch& live, std::vector< Restored > const& rows ) {
   std::vector< std::string > problems;
   try {
      merge( live, patchOf( rows ) );
   } catch ( Failure const& ) {
      // One of them does not fit. They are tried one by one to find out which.
      for ( Restored const& row : rows ) {
         try {
            merge( live, patchOf( { row } ) );
         } catch ( Failure const& failure ) {
            problems.emplace_back( failure.what() );
         }
      }
   }
   return problems;
}

} // namespace

std::string
nameOfRow( RowKey const& row ) {
   return lineOfTexts( row );
}

RowKey
rowOfName( std::string const& name ) {
   constexpr std::string_view first = "[\"";
   constexpr std::string_view between = "\",\"";
   constexpr std::string_view last = "\"]";
   bool const isPlain =
      name.find( '\\' ) == name.npos && name.starts_with( first ) && name.ends_with( last );
   if ( !isPlain ) {
      return Json::parse( name ).get< RowKey >();
   }
   std::string_view rest( name );
   rest = rest.substr( first.size(), rest.size() - first.size() - last.size() );
   RowKey row;
   for ( auto end = rest.find( between ); end != rest.npos; end = rest.find( between ) ) {
      row.emplace_back( rest.substr( 0, end ) );
      rest.remove_prefix( end + between.size() );
   }
   row.emplace_back( rest );
   return row;
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
   std::vector< Restored > restored;
   std::vector< Change > entries;
   for ( auto const& [ name, value ] : rows ) {
      Restored row = restoredOf( name, *value );
      if ( !comesBack( live, row.key, isSameBoot ) ) {
         continue;
      }
      if ( row.isInEntryOfFile ) {
         entries.push_back( { Change::Kind::addEntry, row.key } );
      }
      if ( !isSameBoot ) {
         row.value = configurationOf( row.key, std::move( row.value ) );
      }
      restored.push_back( std::move( row ) );
   }
   live.owners().fileIs( entries );
   return mergeAll( live, restored );
}

} // namespace ostra
