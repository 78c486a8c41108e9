// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/input/RangeKeys>

#include <host/base/Failure>
#include <host/base/IntfRanges>
#include <host/input/Document>

#include <Ryx/Exception>

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <utility>

namespace ostra {

namespace {

using Kovel::IntfId;
using Cell = DocumentTree::Cell;
using Contents = DocumentTree::Contents;
using Index = DocumentTree::Index;

// None for a key that is no range.
std::optional< std::vector< IntfId > >
rangeOf( std::string_view key ) {
   if ( !isIntfRange( key ) ) {
      return std::nullopt;
   }
   try {
      return interfacesOf( key );
   } catch ( Ryx::RangeException const& ) {
      return std::nullopt;
   }
}

// Calls `visit( key, value )` with the cells of each entry of a map.
template< class Visit >
void
forEachEntry( DocumentTree const& tree, Index map, Visit visit ) {
   for ( Index key = map + 1; key < tree.cell( map ).extent; key = tree.next( key + 1 ) ) {
      visit( key, key + 1 );
   }
}

template< class Visit >
void
forEachItem( DocumentTree const& tree, Index list, Visit visit ) {
   for ( Index item = list + 1; item < tree.cell( list ).extent;
         item = tree.next( item ) ) {
      visit( item );
   }
}

std::string_view
textOf( DocumentTree const& tree, Index scalar ) {
   return tree.contents( tree.resolved( scalar ) );
}

// Where a text speaks of a number of the interface; npos where it does not.
std::size_t
findNumber( std::string_view text, std::size_t from = 0 ) {
   for ( std::size_t at = text.find( '$', from ); at != text.npos;
         at = text.find( '$', at + 1 ) ) {
      if ( at + 1 < text.size() && text[ at + 1 ] >= '1' && text[ at + 1 ] <= '4' ) {
         return at;
      }
   }
   return text.npos;
}

// How many octets it takes to write everything out.
class Length {
 public:
   Length( DocumentTree const& tree, std::size_t longest )
         : tree_( tree ), longest_( longest ) {}

   std::size_t of( Index alias ) {
      Index const index = tree_.resolved( alias );
      constexpr std::size_t divider = 2;
      std::size_t length = divider;
      switch ( tree_.cell( index ).kind ) {
      case NodeKind::map:
         forEachEntry( tree_, index, [ & ]( Index key, Index value ) {
            length = sum( key, length, ofEntry( key, value ) );
         } );
         return length;
      case NodeKind::list:
         forEachItem( tree_, index, [ & ]( Index item ) {
            length = sum( item, length, of( item ) );
         } );
         return length;
      default:
         return length + tree_.contents( index ).size();
      }
   }

 private:
   std::size_t ofEntry( Index key, Index value ) {
      std::string_view const text = textOf( tree_, key );
      // What is inside comes first: it may be too long already.
      std::size_t const each = text.size() + of( value );
      auto const range = rangeOf( text );
      std::size_t const count = range ? range->size() : 1;
      if ( range && each > longest_ / count ) {
         refuse( key );
      }
      return each * count;
   }

   std::size_t sum( Index at, std::size_t a, std::size_t b ) const {
      if ( b > longest_ - std::min( a, longest_ ) ) {
         refuse( at );
      }
      return a + b;
   }

   [[noreturn]] void refuse( Index at ) const {
      tree_.fail(
         tree_.cell( at ).offset,
         "with what the ranges stand for the file is " + tooLong( longest_ ) );
   }

   DocumentTree const& tree_;
   std::size_t const longest_;
};

class Writer {
 public:
   explicit Writer( DocumentTree& tree ) : tree_( tree ) {
      for ( Index index = 0; index < tree.size(); ++index ) {
         if ( tree.cell( index ).contents == Contents::alias ) {
            written_.emplace( tree.cell( index ).extent, std::nullopt );
         }
      }
   }

   void write() {
      node( 0, nullptr );
      tree_.writtenOutIs( std::move( cells_ ), std::move( ranges_ ) );
   }

 private:
   // In `of`: the interface of whose entry it is a part; null for none.
   void node( Index alias, IntfId const* of ) {
      Index const index = tree_.resolved( alias );
      Cell const& cell = tree_.cell( index );
      if ( of && !speaksOfNumbers( index ) ) {
         of = nullptr;
      }
      auto const known = written_.find( index );
      if ( !of && known != written_.end() && known->second ) {
         put( { tree_.cell( alias ).offset, *known->second, cell.kind, Contents::alias } );
         return;
      }
      Index const here = next();
      if ( !of && known != written_.end() ) {
         known->second = here;
      }
      switch ( cell.kind ) {
      case NodeKind::map:
         map( index, of );
         break;
      case NodeKind::list:
         put( cell );
         forEachItem( tree_, index, [ & ]( Index item ) { node( item, of ); } );
         cells_[ here ].extent = next();
         break;
      default:
         put( of ? withNumbers( index, *of ) : cell );
         break;
      }
   }

   void map( Index index, IntfId const* of ) {
      Index const here = next();
      put( tree_.cell( index ) );
      bool hasRange = false;
      forEachEntry( tree_, index, [ & ]( Index key, Index ) {
         hasRange = hasRange || isIntfRange( textOf( tree_, key ) );
      } );
      std::unordered_map< std::string_view, Index > keys;
      forEachEntry( tree_, index, [ & ]( Index key, Index value ) {
         if ( auto const range = rangeOf( textOf( tree_, key ) ) ) {
            ranges_.emplace( tree_.cell( key ).offset, textOf( tree_, key ) );
            entries( key, value, *range, keys );
         } else {
            put( ownKey( key ) );
            if ( hasRange ) {
               addKey( key, textOf( tree_, key ), keys );
            }
            node( value, of );
         }
      } );
      cells_[ here ].extent = next();
   }

   void entries(
      Index key,
      Index value,
      std::vector< IntfId > const& range,
      std::unordered_map< std::string_view, Index >& keys ) {
      bool const differ = speaksOfNumbers( tree_.resolved( value ) );
      Index first = 0;
      for ( IntfId const& id : range ) {
         Cell const name = aside( tree_.cell( key ), id.string() );
         put( name );
         addKey( key, tree_.contents( name ), keys );
         if ( differ ) {
            node( value, &id );
         } else if ( &id == range.data() ) {
            Index const here = next();
            node( value, nullptr );
            first = resolved( here );
         } else {
            put( { cells_[ first ].offset, first, cells_[ first ].kind, Contents::alias } );
         }
      }
   }

   void addKey(
      Index key,
      std::string_view name,
      std::unordered_map< std::string_view, Index >& keys ) const {
      auto const [ known, isNew ] = keys.emplace( name, key );
      if ( !isNew ) {
         tree_.fail(
            tree_.cell( key ).offset,
            fmt::format(
               "duplicate key {}, first in line {}: expected it once",
               inQuotes( name ),
               tree_.place( tree_.cell( known->second ).offset ).line ) );
      }
   }

   // A key that is an alias is written as what it stands for.
   Cell ownKey( Index key ) {
      Cell const& cell = tree_.cell( key );
      return cell.contents == Contents::alias ? aside( cell, textOf( tree_, key ) ) : cell;
   }

   Cell aside( Cell const& at, std::string_view text ) {
      return { at.offset, tree_.putAside( text ), NodeKind::text, Contents::aside };
   }

   Cell withNumbers( Index scalar, IntfId id ) {
      std::string_view rest = tree_.contents( scalar );
      std::string text;
      for ( std::size_t at = findNumber( rest ); at != rest.npos;
            at = findNumber( rest ) ) {
         auto const number = static_cast< unsigned >( rest[ at + 1 ] - '1' );
         if ( number >= id.numberCount() ) {
            tree_.fail(
               tree_.cell( scalar ).offset,
               fmt::format(
                  "{}: {} has no ${}: expected $1{}",
                  inQuotes( tree_.contents( scalar ) ),
                  id.string(),
                  number + 1,
                  id.numberCount() == 1 ? ""
                                        : fmt::format( " to ${}", id.numberCount() ) ) );
         }
         text += fmt::format( "{}{}", rest.substr( 0, at ), id.number( number ) );
         rest.remove_prefix( at + 2 );
      }
      return aside( tree_.cell( scalar ), text.append( rest ) );
   }

   // Whether a text in there speaks of the interface's numbers.
   bool speaksOfNumbers( Index index ) {
      Cell const& cell = tree_.cell( index );
      if ( cell.kind == NodeKind::text ) {
         return findNumber( tree_.contents( index ) ) != std::string_view::npos;
      }
      if ( cell.kind < NodeKind::list ) {
         return false;
      }
      auto const known = speak_.find( index );
      if ( known != speak_.end() ) {
         return known->second;
      }
      bool speaks = false;
      if ( cell.kind == NodeKind::map ) {
         forEachEntry( tree_, index, [ & ]( Index, Index value ) {
            speaks = speaksOfNumbers( tree_.resolved( value ) ) || speaks;
         } );
      } else {
         forEachItem( tree_, index, [ & ]( Index item ) {
            speaks = speaksOfNumbers( tree_.resolved( item ) ) || speaks;
         } );
      }
      return speak_[ index ] = speaks;
   }

   Index next() const { return static_cast< Index >( cells_.size() ); }
   void put( Cell const& cell ) { cells_.push_back( cell ); }
   Index resolved( Index index ) const {
      return cells_[ index ].contents == Contents::alias ? cells_[ index ].extent : index;
   }

   DocumentTree& tree_;
   std::vector< Cell > cells_;
   DocumentTree::Ranges ranges_;
   // Where what aliases stand for has come to stand as it is.
   std::unordered_map< Index, std::optional< Index > > written_;
   std::unordered_map< Index, bool > speak_;
};

// A document without ranges is not walked: most texts have none in any place.
bool
hasRange( DocumentTree const& tree ) {
   for ( Index index = 0; index < tree.size(); ++index ) {
      Cell const& cell = tree.cell( index );
      bool const isText = cell.kind == NodeKind::text && cell.contents != Contents::alias;
      if ( isText && isIntfRange( tree.contents( index ) ) ) {
         return true;
      }
   }
   return false;
}

} // namespace

void
writeOutRanges( DocumentTree& tree, std::size_t maxInput ) {
   if ( hasRange( tree ) ) {
      Length( tree, maxInput ).of( 0 );
      Writer( tree ).write();
   }
}

} // namespace ostra
