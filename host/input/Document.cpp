// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/input/Document>

#include <fmt/format.h>

#include <algorithm>

namespace ostra {

namespace {

// What stands there, as an error message calls it.
std::string
describe( DocumentNode const& node ) {
   switch ( node.kind() ) {
   case NodeKind::null:
      return node.text().empty() ? "nothing" : "null";
   case NodeKind::list:
      return "a list";
   case NodeKind::map:
      return "a map";
   case NodeKind::boolean:
   case NodeKind::number:
      return shortened( node.text() );
   case NodeKind::text:
      break;
   }
   return inQuotes( node.text() );
}

bool
isLetter( char c ) {
   return ( c >= 'a' && c <= 'z' ) || ( c >= 'A' && c <= 'Z' );
}

} // namespace

bool
DocumentNode::isEmptyMap() const noexcept {
   return kind() == Kind::map && cell().extent == index_ + 1;
}

std::string_view
DocumentNode::text() const noexcept {
   return tree_->contents( index_ );
}

bool
DocumentNode::isTrue() const noexcept {
   return kind() == Kind::boolean && ( text().front() == 't' || text().front() == 'T' );
}

double
DocumentNode::number() const noexcept {
   return plainNumber( text() );
}

namespace {

template< class Range >
std::size_t
countOf( Range const& range ) {
   std::size_t count = 0;
   for ( auto it = range.begin(); !( it == range.end() ); ++it ) {
      ++count;
   }
   return count;
}

} // namespace

Json
toJson( DocumentNode const& node ) {
   Json json;
   switch ( node.kind() ) {
   case NodeKind::null:
      break;
   case NodeKind::boolean:
      json = node.isTrue();
      break;
   case NodeKind::number:
      json = toJson( node.number() );
      break;
   case NodeKind::text:
      json = node.text();
      break;
   case NodeKind::list:
      json = Json::array();
      for ( DocumentNode const item : node.items() ) {
         json.push_back( toJson( item ) );
      }
      break;
   case NodeKind::map:
      json = jsonObject( countOf( node.entries() ) );
      for ( Entry const entry : node.entries() ) {
         appendMember( json, std::string( entry.key ), toJson( entry.value ) );
      }
      break;
   }
   return json;
}

std::string
Item::path() const {
   if ( !parent_ ) {
      return {};
   }
   std::string const above = parent_->path();
   if ( index_ ) {
      return fmt::format( "{}[{}]", above, *index_ );
   }
   return above.empty() ? shortened( writtenKey() )
                        : fmt::format( "{}.{}", above, shortened( writtenKey() ) );
}

std::string_view
Item::writtenKey() const noexcept {
   std::string_view const range = node_.tree().range( keyOffset_ );
   return range.empty() ? key() : range;
}

std::vector< std::string >
Item::keys() const {
   auto keys = parent_ ? parent_->keys() : std::vector< std::string >();
   if ( parent_ && !index_ ) {
      keys.emplace_back( key() );
   }
   return keys;
}

void
Item::fail( DocumentTree::Offset offset, std::string_view why ) const {
   node_.tree().fail( offset, why, path() );
}

void
Item::refuse( std::string_view expected ) const {
   refuseBecause( fmt::format( "{}: expected {}", describe( node_ ), expected ) );
}

void
Item::refuseTightColon() const {
   if ( node_.kind() != NodeKind::text || !node_.isPlain() ) {
      return;
   }
   std::string_view const text = node_.text();
   std::size_t const colon = text.find( ':' );
   bool const isKey = colon != text.npos && colon > 0 && colon + 1 < text.size() &&
      text[ colon + 1 ] != ':' &&
      std::all_of( text.begin(),
                   text.begin() + static_cast< std::ptrdiff_t >( colon ),
                   isLetter );
   if ( isKey ) {
      refuse( "a space behind the colon" );
   }
}

void
Item::refuseBecause( std::string_view why ) const {
   fail( node_.offset(), why );
}

void
Item::refuseKey( std::string_view why ) const {
   fail( keyOffset_, why );
}

} // namespace ostra
