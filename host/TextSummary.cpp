// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/TextSummary>

#include <host/IntfRanges>
#include <host/Words>

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace ostra {

namespace {

using Ids = std::vector< Kovel::IntfId >;

// Of more spans of one kind than that, the smallest are told in one line.
constexpr std::size_t maxRows = 8;

constexpr std::array kinds = { HoldKind::mlagPort,
                               HoldKind::nonMlagPort,
                               HoldKind::standby };

using Row = std::array< std::string, 6 >;

// "MLAG ports", "non-MLAG ports", "LACP standby".
std::string
kindName( HoldKind kind ) {
   return kind == HoldKind::standby ? "LACP standby"
                                    : std::string( holdNoun( kind ) ) + "s";
}

std::string
tableLine( Row const& row ) {
   auto const& [ what, count, from, to, length, why ] = row;
   return fmt::format(
      "  {:<16}{:>6}  {:<14}{:<14}{:<14}{}", what, count, from, to, length, why );
}

Row
rowOf( Span const& span, long long end ) {
   long long const to = span.to.value_or( end );
   return { kindName( span.kind ),
            std::to_string( span.ids.size() ),
            span.from ? clockText( *span.from ) : "before",
            span.to ? clockText( to ) : "-",
            span.from ? clockText( to - *span.from ) : "-",
            span.why };
}

// In the order of `spans`, to which the pointers point.
std::vector< Span const* >
spansOf( HoldKind kind, std::vector< Span > const& spans ) {
   std::vector< Span const* > some;
   for ( auto const& span : spans ) {
      if ( span.kind == kind ) {
         some.push_back( &span );
      }
   }
   return some;
}

// Takes the smallest of too many spans out. Returns how many interfaces those have.
std::size_t
takeSmallest( std::vector< Span const* >& spans ) {
   std::stable_sort( spans.begin(), spans.end(), []( Span const* a, Span const* b ) {
      return a->ids.size() > b->ids.size();
   } );
   std::size_t taken = 0;
   for ( ; spans.size() > maxRows; spans.pop_back() ) {
      taken += spans.back()->ids.size();
   }
   std::sort( spans.begin(), spans.end() );
   return taken;
}

void
printRows( TextLines& lines, HoldKind kind, Ending const& ending ) {
   auto spans = spansOf( kind, ending.spans );
   std::size_t const others = takeSmallest( spans );
   std::string const name = kindName( kind );
   if ( spans.empty() ) {
      lines.line( tableLine( { name, "0", "-", "-", "-", "-" } ) );
   }
   for ( Span const* span : spans ) {
      lines.line( tableLine( rowOf( *span, ending.at ) ) );
   }
   if ( others != 0 ) {
      std::string const count = std::to_string( others );
      lines.line( tableLine( { name, count, "-", "-", "-", "at other times" } ) );
   }
}

void
printTable( TextLines& lines, Ending const& ending ) {
   Row const head = { "", "count", "held from", "released at", "held for", "why" };
   lines.line( lines.style()( Ink::faint, tableLine( head ) ) );
   for ( HoldKind const kind : kinds ) {
      printRows( lines, kind, ending );
   }
}

std::string
whyStillHeld( HoldKind kind, bool isMachineThere, SwitchFacts const& facts ) {
   if ( !isMachineThere ) {
      return "with nothing there to release them";
   }
   if ( !facts.isDelayRunning() ) {
      return "although the reload delay is over";
   }
   auto const portClass =
      kind == HoldKind::nonMlagPort ? PortClass::nonMlag : PortClass::mlag;
   return "waiting " + periodText( facts.delay( portClass ) );
}

Ids
stillHeld( HoldKind kind, std::vector< Span > const& spans ) {
   Ids ids;
   for ( auto const& span : spans ) {
      if ( span.kind == kind && !span.to ) {
         ids.insert( ids.end(), span.ids.begin(), span.ids.end() );
      }
   }
   return ids;
}

void
printStillHeld(
   TextLines& lines, HoldKind kind, Ending const& ending, SwitchFacts const& facts ) {
   auto const ids = stillHeld( kind, ending.spans );
   if ( !ids.empty() ) {
      std::string const text = fmt::format(
         "{} still held when the run ends, {}: {}",
         counted( ids.size(), holdNoun( kind ) ),
         whyStillHeld( kind, ending.isMachineThere, facts ),
         intfRanges( ids ) );
      lines.field( "WARNING", text, Ink::alarm );
   }
}

void
printResult( TextLines& lines, Ending const& ending, SwitchFacts const& facts ) {
   for ( HoldKind const kind : kinds ) {
      printStillHeld( lines, kind, ending, facts );
   }
   auto const isOver = []( Span const& span ) { return span.to.has_value(); };
   if ( std::all_of( ending.spans.begin(), ending.spans.end(), isOver ) ) {
      char const* const text =
         ending.spans.empty() ? "nothing was held" : "nothing is held any more";
      lines.field( "done", text, Ink::freed );
   }
}

void
printMissingConfig( TextLines& lines, std::vector< std::string > const& missing ) {
   if ( !missing.empty() ) {
      std::string const text = fmt::format(
         "no port is held without a full MLAG configuration, missing {}",
         fmt::join( missing, ", " ) );
      lines.field( "WARNING", text, Ink::alarm );
   }
}

void
printForced( TextLines& lines, Ids const& forced ) {
   if ( !forced.empty() ) {
      std::string const text = fmt::format(
         "IGMP snooping is still forced on {}: {}",
         counted( forced.size(), "port-channel" ),
         intfRanges( forced ) );
      lines.field( "note", text );
   }
}

} // namespace

void
printSummary( TextLines& lines, Ending const& ending, SwitchFacts const& facts ) {
   lines.line( "" );
   lines.title( "Summary at " + clockText( ending.at ) );
   lines.line( "" );
   printTable( lines, ending );
   lines.line( "" );
   printResult( lines, ending, facts );
   printMissingConfig( lines, ending.missingConfig );
   printForced( lines, ending.forced );
}

} // namespace ostra
