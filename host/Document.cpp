// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/Document>

#include <fmt/format.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>

namespace ostra {

namespace {

std::string
readAll( std::istream& in, std::string const& name ) {
   std::ostringstream text;
   errno = 0;
   if ( in.peek() != std::istream::traits_type::eof() ) {
      text << in.rdbuf();
   }
   if ( in.bad() || errno != 0 ) {
      throw Failure(
         ExitStatus::badInput,
         fmt::format( "{}: cannot be read: {}", name, std::strerror( errno ) ) );
   }
   return std::move( text ).str();
}

// What stands there, as an error message calls it.
std::string
describe( DocumentNode const& node ) {
   switch ( node.kind ) {
   case DocumentNode::Kind::null:
      return "null";
   case DocumentNode::Kind::list:
      return "a list";
   case DocumentNode::Kind::map:
      return "a map";
   case DocumentNode::Kind::boolean:
   case DocumentNode::Kind::number:
      return node.text;
   case DocumentNode::Kind::text:
      break;
   }
   return inQuotes( node.text );
}

} // namespace

File
readFile( std::string const& path ) {
   if ( path == "-" ) {
      return { "<stdin>", readAll( std::cin, "<stdin>" ) };
   }
   std::ifstream in( path, std::ios::binary );
   if ( !in ) {
      throw Failure(
         ExitStatus::badInput,
         fmt::format( "{}: cannot be read: {}", path, std::strerror( errno ) ) );
   }
   return { path, readAll( in, path ) };
}

Document
readDocument( std::string const& path ) {
   File file = readFile( path );
   return parseDocument( std::move( file.name ), file.text );
}

Json
toJson( double number ) {
   // Up to there every whole number is a double of its own.
   constexpr double exact = 9007199254740992.0;
   if ( std::isinf( number ) ) {
      return number > 0 ? "inf" : "-inf";
   }
   if ( std::abs( number ) < exact && number == std::trunc( number ) ) {
      return static_cast< long long >( number );
   }
   return number;
}

Json
toJson( DocumentNode const& node ) {
   Json json;
   switch ( node.kind ) {
   case DocumentNode::Kind::null:
      break;
   case DocumentNode::Kind::boolean:
      json = node.text.front() == 't' || node.text.front() == 'T';
      break;
   case DocumentNode::Kind::number:
      json = toJson( node.number );
      break;
   case DocumentNode::Kind::text:
      json = node.text;
      break;
   case DocumentNode::Kind::list:
      json = Json::array();
      for ( NodePtr const& item : node.items ) {
         json.push_back( toJson( *item ) );
      }
      break;
   case DocumentNode::Kind::map:
      json = Json::object();
      for ( Entry const& entry : node.entries ) {
         appendMember( json, entry.key, toJson( *entry.value ) );
      }
      break;
   }
   return json;
}

void
appendMember( Json& object, std::string const& key, Json value ) {
   object.get_ref< Json::object_t& >().emplace_back( key, std::move( value ) );
}

std::string
Item::path() const {
   if ( !parent_ ) {
      return {};
   }
   std::string const above = parent_->path();
   if ( !entry_ ) {
      return fmt::format( "{}[{}]", above, index_ );
   }
   return above.empty() ? key() : fmt::format( "{}.{}", above, key() );
}

void
Item::fail( std::size_t line, std::size_t column, std::string_view why ) const {
   std::string const where = path();
   throw Failure(
      ExitStatus::badInput,
      fmt::format(
         "{}:{}:{}: {}{}{}",
         document_.name,
         line,
         column,
         where,
         where.empty() ? "" : ": ",
         why ) );
}

void
Item::refuse( std::string_view expected ) const {
   refuseBecause( fmt::format( "{}: expected {}", describe( node_ ), expected ) );
}

void
Item::refuseBecause( std::string_view why ) const {
   fail( node_.line, node_.column, why );
}

void
Item::refuseKey( std::string_view why ) const {
   fail( entry_->line, entry_->column, why );
}

} // namespace ostra
