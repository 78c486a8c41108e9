// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/input/UnknownKey>

#include <host/input/Foreign>

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <numeric>

namespace ostra {

namespace {

std::string
lower( std::string_view text ) {
   std::string lower( text );
   std::transform( text.begin(), text.end(), lower.begin(), []( unsigned char c ) {
      return static_cast< char >( std::tolower( c ) );
   } );
   return lower;
}

// How many letters have to be put in, taken out or replaced, or two neighbours swapped.
std::size_t
distance( std::string_view a, std::string_view b ) {
   std::vector< std::size_t > before;
   std::vector< std::size_t > above( b.size() + 1 );
   std::iota( above.begin(), above.end(), std::size_t( 0 ) );
   for ( std::size_t i = 1; i <= a.size(); ++i ) {
      std::vector< std::size_t > row( b.size() + 1, i );
      for ( std::size_t k = 1; k <= b.size(); ++k ) {
         bool const isSame = a[ i - 1 ] == b[ k - 1 ];
         row[ k ] = std::min(
            { row[ k - 1 ] + 1, above[ k ] + 1, above[ k - 1 ] + ( isSame ? 0 : 1 ) } );
         bool const isSwapped =
            i > 1 && k > 1 && a[ i - 1 ] == b[ k - 2 ] && a[ i - 2 ] == b[ k - 1 ];
         if ( isSwapped ) {
            row[ k ] = std::min( row[ k ], before[ k - 2 ] + 1 );
         }
      }
      before = std::move( above );
      above = std::move( row );
   }
   return above.back();
}

} // namespace

std::string
listed( KnownKeys const& keys ) {
   return fmt::format( "{}", fmt::join( keys, ", " ) );
}

std::string_view
nearest( std::string_view text, KnownKeys const& keys ) {
   // Longer ones are no slips of the pen.
   constexpr std::size_t longest = 80;
   if ( text.size() > longest ) {
      return {};
   }
   std::string const meant = lower( text );
   std::string_view found;
   // A third of the letters may be wrong.
   std::size_t least = std::max< std::size_t >( text.size() / 3, 1 ) + 1;
   for ( std::string const& key : keys ) {
      std::size_t const away = distance( meant, lower( key ) );
      if ( away < least ) {
         least = away;
         found = key;
      }
   }
   return found;
}

void
refuseUnknownKey( Item const& entry, KnownKeys const& keys, std::string const& expected ) {
   std::string_view const key = entry.key();
   if ( isForeignComment( key ) ) {
      entry.refuseKey( "no key but a comment: expected it to begin with \"#\"" );
   }
   std::size_t const colon = key.find( ':' );
   bool const isTight = colon != key.npos &&
      std::find( keys.begin(), keys.end(), key.substr( 0, colon ) ) != keys.end();
   if ( isTight ) {
      entry.refuseKey( "unknown key: expected a space behind the colon" );
   }
   std::string_view const near = nearest( key, keys );
   entry.refuseKey( fmt::format(
      "unknown key: expected {}{}",
      expected,
      near.empty() ? "" : fmt::format( "; did you mean {}?", near ) ) );
}

void
refuseUnknownKey( Item const& entry, KnownKeys const& keys ) {
   refuseUnknownKey( entry, keys, listed( keys ) );
}

} // namespace ostra
