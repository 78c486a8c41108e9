// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/Words>

#include <fmt/format.h>

#include <array>
#include <cctype>
#include <cmath>

namespace ostra {

namespace {

template< std::size_t n >
std::string
nameIn( std::array< std::string_view, n > const& names, int number ) {
   if ( number < 0 || number >= static_cast< int >( n ) ) {
      return std::to_string( number );
   }
   return std::string( names[ static_cast< std::size_t >( number ) ] );
}

std::string
join(
   std::vector< std::string > const& items,
   std::string_view open,
   std::string_view close ) {
   return fmt::format( "{} {} {}", open, fmt::join( items, ", " ), close );
}

std::string
flowMap( Json const& map ) {
   std::vector< std::string > items;
   for ( auto const& [ key, value ] : map.items() ) {
      items.push_back( fmt::format( "{}: {}", key, flowText( value ) ) );
   }
   return join( items, "{", "}" );
}

std::string
flowList( Json const& list ) {
   std::vector< std::string > items;
   for ( auto const& value : list ) {
      items.push_back( flowText( value ) );
   }
   return join( items, "[", "]" );
}

} // namespace

std::string
clockText( Milliseconds time ) {
   auto const milliseconds = time.count();
   auto const seconds = milliseconds / 1000;
   return fmt::format(
      "{:02}:{:02}:{:02}.{:03}",
      seconds / 3600,
      seconds / 60 % 60,
      seconds % 60,
      milliseconds % 1000 );
}

std::string
delayText( double seconds ) {
   return std::isinf( seconds ) ? "without end" : fmt::format( "{} s", seconds );
}

std::string
periodText( double seconds ) {
   return ( std::isinf( seconds ) ? "" : "for " ) + delayText( seconds );
}

std::string
counted( std::size_t count, std::string_view one ) {
   return fmt::format( "{} {}{}", count, one, count == 1 ? "" : "s" );
}

std::string
severityName( int severity ) {
   static constexpr std::array< std::string_view, 8 > names = {
      "emerg", "alert", "crit", "error", "warning", "notice", "info", "debug"
   };
   return nameIn( names, severity );
}

std::string
mlagStateName( Mlag::MlagState mlagState ) {
   static constexpr std::string_view prefix = "mlag";
   std::string name = nameIn(
      Ryx::ValueTraits< Mlag::MlagState >::enumerators, static_cast< int >( mlagState ) );
   if ( name.starts_with( prefix ) ) {
      name.erase( 0, prefix.size() );
      name.front() = static_cast< char >( std::tolower( name.front() ) );
   }
   return name;
}

std::string
flowText( Json const& value ) {
   if ( value.is_string() ) {
      return value.get< std::string >();
   }
   if ( value.is_structured() && value.empty() ) {
      return value.is_object() ? "{}" : "[]";
   }
   if ( value.is_object() ) {
      return flowMap( value );
   }
   return value.is_array() ? flowList( value ) : value.dump();
}

} // namespace ostra
