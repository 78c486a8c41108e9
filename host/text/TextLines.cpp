// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/text/TextLines>

#include <host/base/Failure>
#include <host/base/Utf8>
#include <host/base/Words>

#include <algorithm>
#include <charconv>
#include <system_error>

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
   return columnsOf( text.ends_with( ' ' ) ? text.substr( 0, text.size() - 1 ) : text );
}

void
trimEnd( std::string& text ) {
   text.resize( text.ends_with( ' ' ) ? text.size() - 1 : text.size() );
}

// Where to cut a piece that is wider than a line: behind the last dot that fits.
std::size_t
cutOf( std::string_view piece, std::size_t width ) {
   std::size_t end = 0;
   for ( std::size_t columns = 0; columns < width; ++columns ) {
      do {
         ++end;
      } while ( end < piece.size() && isContinuationByte( piece[ end ] ) );
   }
   auto const dot = piece.substr( 0, end ).rfind( '.' );
   return dot == std::string_view::npos ? end : dot + 1;
}

} // namespace

std::size_t
columnsOf( std::string_view text ) {
   return text.size() -
      static_cast< std::size_t >(
             std::count_if( text.begin(), text.end(), isContinuationByte ) );
}

std::vector< std::string >
wrapped( std::string_view text, std::size_t width, std::size_t firstWidth ) {
   std::vector< std::string > lines( 1 );
   std::size_t left = firstWidth;
   while ( !text.empty() ) {
      std::string_view piece = text.substr( 0, pieceLength( text ) );
      bool const fits = widthOf( piece ) <= left;
      if ( !fits && ( left == 0 || !lines.back().empty() ) ) {
         trimEnd( lines.back() );
         lines.emplace_back();
         left = width;
         continue;
      }
      if ( !fits ) {
         piece = piece.substr( 0, cutOf( piece, left ) );
      }
      lines.back() += piece;
      left -= std::min( left, columnsOf( piece ) );
      text.remove_prefix( piece.size() );
   }
   trimEnd( lines.back() );
   return lines;
}

std::size_t
lineWidth( std::string_view columns, std::optional< std::size_t > terminal ) {
   std::size_t number = 0;
   auto const end = columns.data() + columns.size();
   auto const [ stop, error ] = std::from_chars( columns.data(), end, number );
   if ( error == std::errc::result_out_of_range ) {
      return widestLine;
   }
   bool const isNumber = error == std::errc() && stop == end && number != 0;
   return std::clamp(
      isNumber ? number : terminal.value_or( widestLine ), narrowestLine, widestLine );
}

void
TextLines::title( std::string_view text ) {
   for ( std::string const& part : wrapped( oneLine( text ), width_ ) ) {
      line( style_( Ink::strong, part ) );
   }
}

void
TextLines::line( std::string_view text ) {
   out_ << text << '\n';
}

void
TextLines::hang( Beginning const& begin, std::size_t indent, std::string_view text ) {
   std::size_t const left = width_ - std::min( width_, begin.columns );
   auto const lines = wrapped( oneLine( text ), width_ - indent, left );
   line( begin.text + lines.front() );
   for ( std::size_t i = 1; i < lines.size(); ++i ) {
      line( std::string( indent, ' ' ) + lines[ i ] );
   }
}

void
TextLines::hanging( std::string_view begin, std::size_t indent, std::string_view text ) {
   hang( { std::string( begin ), columnsOf( begin ) }, indent, text );
}

// Goes on with what the next column begins behind, at least one blank away.
void
TextLines::add( Beginning& line, Ink ink, std::string_view text, std::size_t column ) {
   std::size_t const end = line.columns + columnsOf( text );
   std::size_t const next = std::max( end + 1, column );
   line.text += style_( ink, text ) + std::string( next - end, ' ' );
   line.columns = next;
}

void
TextLines::field( std::string_view name, std::string_view text, Ink ink ) {
   Beginning begin{ "  ", 2 };
   add( begin, ink, name, fieldColumn );
   hang( begin, fieldColumn, text );
}

TextLines::Beginning
TextLines::beginning( Milliseconds at, std::string_view label, Ink ink ) {
   Beginning begin;
   if ( at == lastTime_ ) {
      begin = { std::string( labelColumn, ' ' ), labelColumn };
   } else {
      add( begin, Ink::strong, clockText( at ), labelColumn );
      lastTime_ = at;
   }
   add( begin, ink, label, entryColumn );
   return begin;
}

void
TextLines::entry(
   Milliseconds at, Ink ink, std::string_view label, std::string_view text ) {
   hang( beginning( at, label, ink ), entryColumn, text );
}

void
TextLines::faintEntry( Milliseconds at, std::string_view label, std::string_view text ) {
   Beginning const begin = beginning( at, label, Ink::faint );
   line( begin.text + style_( Ink::faint, oneLine( text ) ) );
}

} // namespace ostra
