// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/import/EntryLines>

#include <host/base/IntfRanges>

#include <algorithm>
#include <set>
#include <utility>

namespace ostra {

namespace {

using Kovel::IntfId;
using Ids = std::vector< IntfId >;

// What may stand for that number in a range: the interface's own numbers that are the same.
std::vector< std::string >
placeholdersFor( IntfId id, std::string const& number ) {
   std::vector< std::string > placeholders;
   for ( unsigned i = 0; i < id.numberCount(); ++i ) {
      if ( std::to_string( id.number( i ) ) == number ) {
         placeholders.push_back( "$" + std::to_string( i + 1 ) );
      }
   }
   return placeholders;
}

std::string
valueText( EntryValue const& value, std::string const& placeholder ) {
   std::string const quote = value.isText && placeholder.empty() ? "\"" : "";
   std::string const number =
      quote + ( placeholder.empty() ? value.number : placeholder ) + quote;
   std::string text = value.text;
   std::size_t const at = text.find( '%' );
   return at == text.npos || value.number.empty() ? text : text.replace( at, 1, number );
}

// Of interfaces of one kind, by what is said of them as it is written.
using Groups = std::map< std::pair< IntfId::Kind, std::string >, Ids >;

// What is the same with its number written out.
Groups
literalGroups( std::map< IntfId, EntryValue > const& entries ) {
   Groups groups;
   for ( auto const& [ id, value ] : entries ) {
      groups[ { id.kind(), valueText( value, "" ) } ].push_back( id );
   }
   return groups;
}

// Those of which nothing is said that is said of another, by what could be said of several.
Groups
candidates( Groups const& literal, std::map< IntfId, EntryValue > const& entries ) {
   Groups together;
   for ( auto const& [ key, ids ] : literal ) {
      IntfId const id = ids.front();
      EntryValue const& value = entries.at( id );
      if ( ids.size() == 1 ) {
         for ( std::string const& placeholder : placeholdersFor( id, value.number ) ) {
            together[ { key.first, valueText( value, placeholder ) } ].push_back( id );
         }
      }
   }
   return together;
}

Groups
groupsOf( std::map< IntfId, EntryValue > const& entries ) {
   Groups groups = literalGroups( entries );
   Groups const together = candidates( groups, entries );
   std::vector< std::pair< Groups::key_type, Ids > > largestFirst(
      together.begin(), together.end() );
   std::stable_sort(
      largestFirst.begin(), largestFirst.end(), []( auto const& a, auto const& b ) {
         return a.second.size() > b.second.size();
      } );
   std::set< IntfId > taken;
   for ( auto& [ key, ids ] : largestFirst ) {
      std::erase_if( ids, [ &taken ]( IntfId id ) { return taken.contains( id ); } );
      if ( ids.size() > 1 ) {
         for ( IntfId const id : ids ) {
            groups.erase( { id.kind(), valueText( entries.at( id ), "" ) } );
            taken.insert( id );
         }
         groups.emplace( key, std::move( ids ) );
      }
   }
   return groups;
}

// A key is read within a limit, and by people.
constexpr std::size_t longestKey = 72;

// The ranges of interfaces of one kind, as keys that are not too long.
std::vector< std::string >
keysOfPart( Ids const& ids ) {
   std::string const prefix( ids.front().prefix() );
   std::string const all = intfRanges( ids ).substr( prefix.size() );
   std::vector< std::string > keys;
   for ( std::size_t at = 0; at < all.size(); ) {
      std::size_t const end = std::min( all.find( ',', at ), all.size() );
      std::string const part = all.substr( at, end - at );
      if ( keys.empty() || keys.back().size() + part.size() > longestKey ) {
         keys.push_back( prefix + part );
      } else {
         keys.back() += "," + part;
      }
      at = end + 1;
   }
   return keys;
}

// No key stands for more interfaces than can be read.
std::vector< std::string >
keysOf( Ids ids ) {
   std::sort( ids.begin(), ids.end() );
   std::vector< std::string > keys;
   for ( std::size_t from = 0; from < ids.size(); from += mostInRanges ) {
      std::size_t const to = std::min( from + mostInRanges, ids.size() );
      IntfId const* const begin = ids.data();
      for ( std::string& key : keysOfPart( Ids( begin + from, begin + to ) ) ) {
         keys.push_back( std::move( key ) );
      }
   }
   return keys;
}

} // namespace

std::string
entryLines( std::map< IntfId, EntryValue > const& entries, std::string_view indent ) {
   // By the first interface.
   std::map< IntfId, std::pair< Ids, std::string > > lines;
   for ( auto const& [ key, ids ] : groupsOf( entries ) ) {
      lines[ *std::min_element( ids.begin(), ids.end() ) ] = { ids, key.second };
   }
   std::string text;
   for ( auto const& [ first, line ] : lines ) {
      for ( std::string const& key : keysOf( line.first ) ) {
         text += std::string( indent ) + key + ": " + line.second + "\n";
      }
   }
   return text;
}

} // namespace ostra
