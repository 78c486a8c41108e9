// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/Patch>

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

// The text from which the type parses the number.
std::string
numberText( Item const& item, std::string_view expected ) {
   DocumentNode const& node = item.node();
   if ( node.kind == DocumentNode::Kind::text && node.text == "inf" ) {
      return "inf";
   }
   if (
      node.kind != DocumentNode::Kind::number || std::isnan( node.number ) ||
      node.number == -std::numeric_limits< double >::infinity() ) {
      item.refuse( expected );
   }
   return std::isinf( node.number ) ? "inf" : toJson( node.number ).dump();
}

std::string
enumeratorText( Item const& item, RyxType const& type ) {
   DocumentNode const& node = item.node();
   auto const count = static_cast< double >( type.enumerators().size() );
   bool const isNumber = node.kind == DocumentNode::Kind::number && node.number >= 0 &&
      node.number < count && node.number == std::trunc( node.number );
   if ( isNumber ) {
      return toJson( node.number ).dump();
   }
   for ( Ryx::Name const& name : type.enumerators() ) {
      if ( node.kind == DocumentNode::Kind::text && node.text == name.string() ) {
         return node.text;
      }
   }
   item.refuse( expectedEnumerators( type ) );
}

std::string
plainText( Item const& item ) {
   DocumentNode const& node = item.node();
   switch ( node.kind ) {
   case DocumentNode::Kind::text:
      return node.text;
   case DocumentNode::Kind::boolean:
   case DocumentNode::Kind::number:
      item.refuse( fmt::format( "a text, which {} is in quotes", node.text ) );
   default:
      item.refuse( "a text" );
   }
}

std::string
scalarText( Item const& item, RyxType const& type ) {
   switch ( type.kind() ) {
   case Ryx::ValueKind::boolean:
      if ( item.node().kind != DocumentNode::Kind::boolean ) {
         item.refuse( "true or false" );
      }
      return toJson( item.node() ).dump();
   case Ryx::ValueKind::number:
      return numberText( item, "a number, or .inf for never ending" );
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
      return type.code().parse( text );
   } catch ( Ryx::RangeException const& error ) {
      item.refuseBecause( error.message() );
   }
}

} // namespace ostra
