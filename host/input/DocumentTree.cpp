// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/input/DocumentTree>

#include <host/base/Failure>
#include <host/base/JsonEscapes>
#include <host/base/Utf8>

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace ostra {

namespace {

// The first octet of each line. A line ends with a line feed, a carriage return, or both.
std::vector< DocumentTree::Offset >
lineBegins( std::string_view text ) {
   std::vector< DocumentTree::Offset > lines = { 0 };
   for ( std::size_t i = 0; i < text.size(); ++i ) {
      bool const isPair = text[ i ] == '\r' && i + 1 < text.size() && text[ i + 1 ] == '\n';
      if ( text[ i ] == '\n' || ( text[ i ] == '\r' && !isPair ) ) {
         lines.push_back( static_cast< DocumentTree::Offset >( i + 1 ) );
      }
   }
   return lines;
}

} // namespace

DocumentTree::DocumentTree( std::string name, std::string text )
      : name_( std::move( name ) ), text_( std::move( text ) ) {
   dropByteOrderMark( text_ );
   text_ = yamlEscapes( std::move( text_ ), joints_ );
   // Hardly any text has more nodes. Space that is not used takes no memory.
   constexpr std::size_t octetsOfANode = 4;
   cells_.reserve( text_.size() / octetsOfANode + 1 );
}

std::string_view
DocumentTree::contents( Cell const& cell ) const noexcept {
   switch ( cell.contents ) {
   case Contents::here:
      return text().substr( cell.offset, cell.extent );
   case Contents::behindQuote:
      return text().substr( cell.offset + 1, cell.extent );
   default:
      return aside_[ cell.extent ];
   }
}

Place
DocumentTree::place( Offset offset ) const {
   if ( lines_.empty() ) {
      lines_ = lineBegins( text_ );
   }
   auto const behind = std::upper_bound( lines_.begin(), lines_.end(), offset );
   Offset const begin = *( behind - 1 );
   auto const first = std::upper_bound( joints_.begin(), joints_.end(), begin );
   auto const last = std::upper_bound( first, joints_.end(), offset );
   auto const shorter = static_cast< std::size_t >( last - first ) * jointLength;
   return { static_cast< std::size_t >( behind - lines_.begin() ),
            offset - begin + shorter + 1 };
}

void
DocumentTree::fail( Offset offset, std::string_view why, std::string_view path ) const {
   Place const at = place( offset );
   std::string const position = fmt::format( "{}:{}", at.line, at.column );
   throw Failure(
      ExitStatus::badInput,
      fmt::format( "{}:{}: {}{}{}", name_, position, path, path.empty() ? "" : ": ", why ),
      complaintOf( path.empty() ? position : path, why ) );
}

std::string_view
DocumentTree::range( Offset keyOffset ) const noexcept {
   auto const found = ranges_.find( keyOffset );
   return found == ranges_.end() ? std::string_view() : found->second;
}

void
DocumentTree::writtenOutIs( std::vector< Cell > cells, Ranges ranges ) noexcept {
   cells_ = std::move( cells );
   ranges_ = std::move( ranges );
}

DocumentTree::Index
DocumentTree::add( Cell const& cell ) {
   cells_.push_back( cell );
   return size() - 1;
}

DocumentTree::Index
DocumentTree::putAside( std::string_view contents ) {
   aside_.emplace_back( contents );
   return static_cast< Index >( aside_.size() - 1 );
}

} // namespace ostra
