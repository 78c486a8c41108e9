// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/text/TextSummary>

#include <host/account/HoldWait>
#include <host/base/IntfRanges>
#include <host/base/Words>
#include <host/text/TextTable>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <utility>

namespace ostra {

namespace {

using Ids = std::vector< Kovel::IntfId >;

// If there are more spans of one kind, the smallest are told in one line.
constexpr std::size_t maxRows = 8;

constexpr std::array kinds = { HolderKind::mlagPort,
                               HolderKind::nonMlagPort,
                               HolderKind::standby };

// "MLAG ports", "non-MLAG ports", "LACP standby".
std::string
kindName( HolderKind kind ) {
   return kind == HolderKind::standby ? "LACP standby"
                                      : std::string( holdNoun( kind ) ) + "s";
}

TextTable::Row
rowOf( Span const& span, Milliseconds end ) {
   Milliseconds const to = span.to.value_or( end );
   return { kindName( span.kind ),
            std::to_string( span.ids.size() ),
            span.from ? clockText( *span.from ) : "before",
            span.to ? clockText( to ) : "-",
            span.from ? clockText( to - *span.from ) : "-",
            span.why };
}

// In the order of `spans`, to which the pointers point.
std::vector< Span const* >
spansOf( HolderKind kind, std::vector< Span > const& spans ) {
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
addRows(
   TextTable& table, HolderKind kind, std::vector< Span > const& all, Milliseconds end ) {
   auto spans = spansOf( kind, all );
   std::size_t const others = takeSmallest( spans );
   std::string const name = kindName( kind );
   if ( spans.empty() ) {
      table.add( { name, "0", "-", "-", "-", "-" } );
   }
   for ( Span const* span : spans ) {
      table.add( rowOf( *span, end ) );
   }
   if ( others != 0 ) {
      table.add( { name, std::to_string( others ), "-", "-", "-", "at other times" } );
   }
}

void
printTable( TextLines& lines, std::vector< Span > const& spans, Milliseconds end ) {
   TextTable table;
   for ( HolderKind const kind : kinds ) {
      addRows( table, kind, spans, end );
   }
   table.print( lines );
}

void
printStillHeld( TextLines& lines, Ending const& ending, SwitchFacts const& facts ) {
   std::map< std::pair< HolderKind, Wait >, Ids > groups;
   Waits const waits( facts );
   for ( Hold const& hold : ending.ledger.open() ) {
      groups[ { hold.kind, waits.of( hold ) } ].push_back( hold.id );
   }
   bool const isNobodyThere = !facts.isMachineThere();
   for ( auto const& [ key, ids ] : groups ) {
      auto const& [ kind, wait ] = key;
      std::string const them = ids.size() == 1 ? "it" : "them";
      std::string text = fmt::format(
         "{} still held when the run ends, {}",
         counted( ids.size(), holdNoun( kind ) ),
         wait.why );
      if ( isNobodyThere ) {
         text += " " + them;
      } else if ( !ending.isTimerLeft || !wait.hasTimer ) {
         text += ", and no timer will release " + them;
      }
      lines.field( "WARNING", text + ": " + intfRanges( ids ), Ink::alarm );
   }
}

void
printNeverHeld( TextLines& lines, PortCensus const& census ) {
   for ( auto const& [ why, group ] : census.notHeld ) {
      std::string const text = fmt::format(
         "{}, {}: {}",
         counted( group.ports.size(), "port" ),
         why,
         intfRanges( group.ports ) );
      lines.field( "not held", text, group.isAlarming ? Ink::alarm : Ink::faint );
   }
}

void
printResult(
   TextLines& lines,
   Ending const& ending,
   std::vector< Span > const& spans,
   SwitchFacts const& facts ) {
   printStillHeld( lines, ending, facts );
   auto const isOver = []( Span const& span ) { return span.to.has_value(); };
   if ( std::all_of( spans.begin(), spans.end(), isOver ) ) {
      std::string const which = ending.isNarrowed ? "none of these interfaces" : "nothing";
      lines.field(
         "done",
         which + ( spans.empty() ? " was held" : " is held any more" ),
         Ink::freed );
   }
   printNeverHeld( lines, ending.neverHeld );
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
   auto const spans = ending.ledger.spans();
   printTable( lines, spans, ending.at );
   lines.line( "" );
   printResult( lines, ending, spans, facts );
   if ( ending.wasConfigMissing ) {
      printMissingConfig( lines, facts.missingConfig() );
   }
   printForced( lines, ending.forced );
}

} // namespace ostra
