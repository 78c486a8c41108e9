// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/text/TextTable>

#include <fmt/format.h>

#include <algorithm>

namespace ostra {

namespace {

constexpr std::size_t countColumn = 1;
constexpr std::size_t lengthColumn = 4;
constexpr std::size_t whyColumn = 5;
constexpr std::array< std::size_t, whyColumn > leastWidths = { 14, 6, 12, 12, 12 };
constexpr std::size_t gap = 2;
// In less than this reasons read badly.
constexpr std::size_t leastWhyWidth = 20;

TextTable::Row const head = { "", "count", "held from", "released at", "held for", "why" };

// Where a column begins.
std::size_t
beginOf( std::size_t column, std::array< std::size_t, whyColumn > const& widths ) {
   std::size_t begin = gap;
   for ( std::size_t i = 0; i < column; ++i ) {
      begin += widths[ i ] + gap;
   }
   return begin;
}

std::string
trimmed( std::string text ) {
   text.erase( text.find_last_not_of( ' ' ) + 1 );
   return text;
}

} // namespace

TextTable::Layout
TextTable::layout( std::size_t width ) const {
   Layout layout{ whyColumn, leastWidths, 0, false };
   for ( Row const& row : rows_ ) {
      for ( std::size_t i = 0; i < whyColumn; ++i ) {
         layout.widths[ i ] = std::max( layout.widths[ i ], row[ i ].size() );
      }
   }
   if ( beginOf( whyColumn, layout.widths ) + leastWhyWidth > width ) {
      layout.columns = lengthColumn;
   }
   layout.why = beginOf( layout.columns, layout.widths );
   layout.isWhyBelow = layout.why + leastWhyWidth > width;
   if ( layout.isWhyBelow ) {
      layout.why = beginOf( countColumn + 1, layout.widths );
   }
   return layout;
}

std::string
TextTable::lineOf( Row const& row, Layout const& layout ) {
   std::string line( gap, ' ' );
   for ( std::size_t i = 0; i < layout.columns; ++i ) {
      char const* const format = i == countColumn ? "{:>{}}" : "{:<{}}";
      line += fmt::format( fmt::runtime( format ), row[ i ], layout.widths[ i ] );
      line += std::string( gap, ' ' );
   }
   return line;
}

void
TextTable::print( TextLines& lines ) const {
   Layout const layout = this->layout( lines.width() );
   std::string const beside = layout.isWhyBelow ? "" : head[ whyColumn ];
   lines.line( lines.style()( Ink::faint, trimmed( lineOf( head, layout ) + beside ) ) );
   for ( Row const& row : rows_ ) {
      std::string begin = lineOf( row, layout );
      if ( layout.isWhyBelow ) {
         lines.line( trimmed( begin ) );
         begin = std::string( layout.why, ' ' );
      }
      if ( !layout.isWhyBelow || row[ whyColumn ] != "-" ) {
         lines.hanging( begin, layout.why, row[ whyColumn ] );
      }
   }
}

} // namespace ostra
