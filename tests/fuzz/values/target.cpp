// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The text forms of all registered value types. The first byte of an input says which
// ('a' the first of the table below, and so on), the rest is the text.
//
//  1. A text is read or refused with Ryx::RangeException, which says what was expected, or
//     where the junk begins behind a text that would have been read.
//  2. What was read prints as a text that is read as an equal value and prints alike.
//  3. By name the same texts are read and print alike.
//  4. Every registered type that can be read is in the table.

#include <fuzz/Bytes>
#include <fuzz/Require>
#include <fuzz/values/Forms>

#include <Interface/IntfEnabledState>
#include <Interface/LinkStatus>
#include <Kovel/Traits>
#include <Lag/LacpMode>
#include <Mlag/MlagState>
#include <Ryx/Exception>
#include <Ryx/GenericValue>

#include <optional>

namespace {

using fuzz::require;

template< class V >
std::optional< V >
read( std::string const& text ) {
   try {
      return Ryx::strepToValue< V >( text );
   } catch ( Ryx::RangeException const& ) {
      return std::nullopt;
   }
}

template< class V >
void
checkRefusal( std::string const& text, std::string const& message ) {
   std::string const junk = "junk at column ";
   if ( message.rfind( junk, 0 ) != 0 ) {
      require( message.find( ": expected " ) != std::string::npos, "message ", message );
      return;
   }
   std::size_t end = 0;
   std::size_t const column = std::stoul( message.substr( junk.size() ), &end );
   require(
      message.substr( junk.size() + end ) == " deserializing " + text, "junk ", message );
   require( column < text.size(), "no junk: ", message );
   require( bool( read< V >( text.substr( 0, column ) ) ), "more junk: ", message );
}

template< class V >
void
checkOwnForm( std::string const& text, V const& value, std::string const& printed ) {
   if constexpr ( std::is_enum_v< V > ) {
      auto const& names = Ryx::ValueTraits< V >::enumerators;
      auto const index = static_cast< std::size_t >( value );
      require( index < names.size() && names[ index ] == printed, "enumerator ", printed );
      require( text == printed || text == std::to_string( index ), "enumerator ", text );
   } else if constexpr ( std::is_same_v< V, Ryx::Name > ) {
      fuzz::checkForm( text, value.string(), printed );
   } else if constexpr ( std::is_same_v< V, Mlag::IntfConfig > ) {
      fuzz::checkForm( text, value.mlagId, printed );
   } else if constexpr ( std::is_same_v< V, Errdisable::CauseIntfStatus > ) {
      fuzz::checkForm( text, value.when, printed );
   } else if constexpr ( std::is_integral_v< V > && !std::is_same_v< V, bool > ) {
      fuzz::checkForm( text, static_cast< long long >( value ), printed );
   } else {
      fuzz::checkForm( text, value, printed );
   }
}

void
checkByName( Ryx::RyxType const& type, std::string const& text, std::string const* read ) {
   try {
      auto const value = type.code().parse( text );
      require( read && value->strRep() == *read, type.name(), " by name: ", text );
      require( value->type() == &type, "type of a ", type.name() );
   } catch ( Ryx::RangeException const& ) {
      require( !read, type.name(), " refused by name: ", text );
   }
}

template< class V >
void
checkText( std::string const& text ) {
   try {
      V const value = Ryx::strepToValue< V >( text );
      std::string const printed = Ryx::valueToStrep( value );
      V const again = Ryx::strepToValue< V >( printed );
      require( again == value, "read again: ", printed );
      require( Ryx::valueToStrep( again ) == printed, "printed again: ", printed );
      checkByName( *Ryx::describedType< V >(), text, &printed );
      if constexpr ( !std::is_same_v< V, void* > ) {
         checkOwnForm( text, value, printed );
      }
   } catch ( Ryx::RangeException const& e ) {
      checkRefusal< V >( text, e.message() );
      checkByName( *Ryx::describedType< V >(), text, nullptr );
      bool const missed = std::is_same_v< V, Kovel::IpAddr > && fuzz::isAddress( text );
      require( !missed, "an address: ", text );
   }
}

// A text of two lines is two values as well.
template< class V >
void
checkValue( std::string const& text ) {
   checkText< V >( text );
   if constexpr ( requires( V v ) { fuzz::checkPair( v, v ); } ) {
      auto const middle = std::min( text.find( '\n' ), text.size() );
      auto const a = read< V >( text.substr( 0, middle ) );
      auto const b = read< V >( text.substr( std::min( middle + 1, text.size() ) ) );
      if ( a && b ) {
         fuzz::checkPair( *a, *b );
      }
   }
}

struct Row {
   Ryx::RyxType* ( *type )();
   void ( *check )( std::string const& text );
};

template< class... Types >
constexpr std::array< Row, sizeof...( Types ) >
rows() {
   return { Row{ Ryx::describedType< Types >, checkValue< Types > }... };
}

constexpr auto table = rows<
   bool,
   double,
   unsigned char,
   unsigned int,
   int,
   Ryx::String8,
   Ryx::Name,
   Kovel::IntfId,
   Kovel::EthAddr,
   Kovel::IpAddr,
   Mlag::IntfConfig,
   Mlag::MlagState,
   Errdisable::CauseIntfStatus,
   Interface::IntfEnabledState,
   Interface::LinkStatus,
   Lag::LacpMode,
   void* >();

} // namespace

extern "C" int
LLVMFuzzerInitialize( int*, char*** ) {
   for ( Ryx::RyxType* type : Ryx::RyxType::types() ) {
      bool const known = std::any_of( table.begin(), table.end(), [ & ]( Row const& row ) {
         return row.type() == type;
      } );
      require( known || !type->code().parse, "not in the table: ", type->name() );
   }
   return 0;
}

extern "C" int
LLVMFuzzerTestOneInput( std::uint8_t const* data, std::size_t size ) {
   fuzz::Bytes bytes( data, size );
   unsigned const which = ( bytes.byte() + 256 - 'a' ) % table.size();
   table[ which ].check( bytes.rest() );
   return 0;
}
