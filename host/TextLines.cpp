// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/TextLines>

#include <host/Failure>
#include <host/Words>

#include <fmt/format.h>

#include <algorithm>

namespace ostra {

namespace {

constexpr std::size_t fieldColumn = 16;
constexpr std::size_t labelColumn = 14;
constexpr std::size_t entryColumn = 26;

// The length of the first piece of `text`, its blank or comma included, if that is how it
// ends.
std::size_t
pieceLength( std::string_view text ) {
   auto const end = text.find_first_of( " ," );
   return end == std::string_view::npos ? text.size() : end + 1;
}

std::size_t
widthOf( std::string_view text ) {
   return text.ends_with( ' ' ) ? text.size() - 1 : text.size();
}

void
trimEnd( std::string& text ) {
   text.resize( widthOf( text ) );
}

// `text` in a column that ends at `column`, with at least one blank behind it.
std::string
padding( std::string_view text, std::size_t width ) {
   return std::string( std::max( text.size() + 1, width ) - text.size(), ' ' );
}

} // namespace

std::vector< std::string >
wrapped( std::string_view text, std::size_t width ) {
   std::vector< std::string > lines( 1 );
   while ( !text.empty() ) {
      std::string_view const piece = text.substr( 0, pieceLength( text ) );
      bool const fits = lines.back().size() + widthOf( piece ) <= width;
      if ( !fits && !lines.back().empty() ) {
         trimEnd( lines.back() );
         lines.emplace_back();
      }
      lines.back() += piece;
      text.remove_prefix( piece.size() );
   }
   trimEnd( lines.back() );
   return lines;
}

void
TextLines::title( std::string_view text ) {
   line( style_( Ink::strong, oneLine( text ) ) );
}

void
TextLines::line( std::string_view text ) {
   out_ << text << '\n';
}

void
TextLines::hanging( std::string_view begin, std::size_t indent, std::string_view text ) {
   auto const lines = wrapped( oneLine( text ), width_ - indent );
   line( fmt::format( "{}{}", begin, lines.front() ) );
   for ( std::size_t i = 1; i < lines.size(); ++i ) {
      line( std::string( indent, ' ' ) + lines[ i ] );
   }
}

void
TextLines::field( std::string_view name, std::string_view text, Ink ink ) {
   std::string const gap = padding( name, fieldColumn - 2 );
   hanging( fmt::format( "  {}{}", style_( ink, name ), gap ), fieldColumn, text );
}

std::string
TextLines::timeColumn( long long at ) {
   if ( at == lastTime_ ) {
      return std::string( labelColumn, ' ' );
   }
   lastTime_ = at;
   std::string const time = clockText( at );
   return style_( Ink::strong, time ) + padding( time, labelColumn );
}

void
TextLines::entry( long long at, Ink ink, std::string_view label, std::string_view text ) {
   std::string const gap = padding( label, entryColumn - labelColumn );
   hanging( timeColumn( at ) + style_( ink, label ) + gap, entryColumn, text );
}

void
TextLines::faintEntry( long long at, std::string_view label, std::string_view text ) {
   std::string const gap = padding( label, entryColumn - labelColumn );
   std::string const time = timeColumn( at );
   line(
      time + style_( Ink::faint, fmt::format( "{}{}{}", label, gap, oneLine( text ) ) ) );
}

} // namespace ostra
