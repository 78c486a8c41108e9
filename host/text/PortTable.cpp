// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/text/PortTable>

#include <host/base/Failure>
#include <host/base/IntfRanges>
#include <host/base/Words>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <utility>

namespace ostra {

namespace {

// Interfaces, class, hold, since when, until when, why.
constexpr std::size_t cells = 6;
using Cells = std::array< std::string, cells >;

Cells const headCells = { "interfaces", "class", "hold", "since", "released", "why" };

// A longer list of interfaces moves its own line alone.
constexpr std::size_t widestCell = 32;

// What is the same for the interfaces of a line, in the order in which lines are sorted.
struct Story {
   bool isNeverHeld;
   // These four of one that was held.
   HolderKind kind;
   HoldTime from;
   bool isStillHeld;
   HoldTime to;
   std::string portClass;
   std::string why;

   auto operator<=>( Story const& ) const = default;
};

using Stories = std::map< Story, std::vector< Kovel::IntfId > >;

void
add( Stories& stories, PortAccount const& account ) {
   for ( PastHold const& hold : account.holds ) {
      stories
         [ { false, hold.kind, hold.from, !hold.to, hold.to, hold.portClass, hold.why } ]
            .push_back( account.id );
   }
   if ( account.holds.empty() ) {
      stories[ { true, {}, {}, false, {}, account.portClass, account.why } ].push_back(
         account.id );
   }
}

std::string
timeCell( HoldTime const& time, char const* none ) {
   return time ? clockText( *time ) : none;
}

// Written without blanks, as a scenario and `--only` take it as well.
std::string
interfacesCell( std::vector< Kovel::IntfId > const& ids ) {
   std::string text = intfRanges( ids );
   std::erase( text, ' ' );
   return text;
}

Cells
cellsOf( Story const& story, std::vector< Kovel::IntfId > const& ids ) {
   return { interfacesCell( ids ),
            story.portClass,
            story.isNeverHeld ? "-" : holdName( story.kind ),
            timeCell( story.from, story.isNeverHeld ? "-" : "before" ),
            timeCell( story.to, "-" ),
            oneLine( story.why ) };
}

std::array< std::size_t, cells >
widthsOf( std::vector< std::pair< Ink, Cells > > const& lines ) {
   std::array< std::size_t, cells > widths{};
   for ( auto const& line : lines ) {
      for ( std::size_t i = 0; i + 1 < cells; ++i ) {
         std::size_t const width = line.second[ i ].size();
         widths[ i ] = std::max( widths[ i ], std::min( width, widestCell ) );
      }
   }
   return widths;
}

} // namespace

void
printPortTable( std::ostream& out, RunSummary const& summary, Style const& style ) {
   Stories stories;
   for ( auto const* accounts :
         { &summary.interfaces.ports, &summary.interfaces.portChannels } ) {
      for ( PortAccount const& account : *accounts ) {
         add( stories, account );
      }
   }
   std::vector< std::pair< Ink, Cells > > lines = { { Ink::faint, headCells } };
   for ( auto const& [ story, ids ] : stories ) {
      Ink const ink = story.isNeverHeld ? Ink::faint
         : story.isStillHeld            ? Ink::held
                                        : Ink::plain;
      lines.emplace_back( ink, cellsOf( story, ids ) );
   }
   auto const widths = widthsOf( lines );
   for ( auto const& [ ink, line ] : lines ) {
      std::string text;
      for ( std::size_t i = 0; i + 1 < cells; ++i ) {
         text += fmt::format( "{:<{}}  ", line[ i ], widths[ i ] );
      }
      out << style( ink, text + line.back() ) << '\n';
   }
}

} // namespace ostra
