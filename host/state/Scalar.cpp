// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/state/Patch>

#include <host/base/Duration>

#include <fmt/format.h>

#include <cmath>
#include <limits>

namespace ostra {

namespace {

std::string
expectedEnumerators( RyxType const& type ) {
   std::string expected;
   for ( std::size_t i = 0; i < type.enumerators().size(); ++i ) {
      expected += fmt::format(
         "{}{} ({})", i == 0 ? "" : ", ", i, type.enumerators()[ i ].string() );
   }
   return expected;
}

// The text from which the type parses the number, of seconds.
std::string
numberText( Item const& item ) {
   DocumentNode const& node = item.node();
   if ( node.kind() == NodeKind::text && node.text() == "inf" ) {
      return "inf";
   }
   // A text that came in quotes is none that was meant as a number.
   bool const isDuration =
      node.kind() == NodeKind::text && node.isPlain() && node.tree().takesShorthand();
   auto const duration = isDuration ? durationSeconds( node.text() ) : std::nullopt;
   double const number = node.kind() == NodeKind::number
      ? node.number()
      : duration.value_or( std::numeric_limits< double >::quiet_NaN() );
   if ( std::isnan( number ) || number == -std::numeric_limits< double >::infinity() ) {
      item.refuse( fmt::format(
         "a number of seconds{}, or .inf for never ending",
         node.tree().takesShorthand() ? ", a time like 1h30m without quotes" : "" ) );
   }
   return fmt::format( "{}", number );
}

std::string
enumeratorText( Item const& item, RyxType const& type ) {
   DocumentNode const& node = item.node();
   auto const count = static_cast< double >( type.enumerators().size() );
   if ( node.kind() == NodeKind::number ) {
      double const number = node.number();
      if ( number >= 0 && number < count && number == std::trunc( number ) ) {
         return fmt::format( "{}", static_cast< unsigned >( number ) );
      }
   }
   for ( Ryx::Name const& name : type.enumerators() ) {
      if ( node.kind() == NodeKind::text && node.text() == name.string() ) {
         return name.string();
      }
   }
   item.refuse( expectedEnumerators( type ) );
}

std::string
plainText( Item const& item ) {
   DocumentNode const& node = item.node();
   switch ( node.kind() ) {
   case NodeKind::text:
      return std::string( node.text() );
   case NodeKind::boolean:
   case NodeKind::number:
      item.refuse( "a text, which that is in quotes" );
   default:
      item.refuse( "a text" );
   }
}

std::string
scalarText( Item const& item, RyxType const& type ) {
   switch ( type.kind() ) {
   case Ryx::ValueKind::boolean:
      if ( item.node().kind() != NodeKind::boolean ) {
         item.refuse( "true or false" );
      }
      return item.node().isTrue() ? "true" : "false";
   case Ryx::ValueKind::number:
      return numberText( item );
   case Ryx::ValueKind::enumeration:
      return enumeratorText( item, type );
   default:
      return plainText( item );
   }
}

} // namespace

GenericPtr
readScalar( Item const& item, RyxType const& type ) {
   std::string const text = scalarText( item, type );
   try {
      GenericPtr value = type.code().parse( text );
      // An address of nothing is written out.
      if ( text.empty() && !value->strRep().empty() ) {
         item.refuse( fmt::format( "a value, {} for none", value->strRep() ) );
      }
      return value;
   } catch ( Ryx::RangeException const& error ) {
      item.refuseBecause( shortenedIn( error.message(), text ) );
   }
}

} // namespace ostra
