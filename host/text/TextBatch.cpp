// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/text/TextBatch>

#include <host/base/IntfRanges>
#include <host/base/Words>
#include <host/state/MountTable>

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <tuple>
#include <utility>

namespace ostra {

namespace {

using Ids = std::vector< Kovel::IntfId >;

Ids
both( Ids const& a, Ids const& b ) {
   Ids ids;
   std::set_intersection(
      a.begin(), a.end(), b.begin(), b.end(), std::back_inserter( ids ) );
   return ids;
}

Ids
without( Ids const& a, Ids const& b ) {
   Ids ids;
   std::set_difference( a.begin(), a.end(), b.begin(), b.end(), std::back_inserter( ids ) );
   return ids;
}

std::string
releasedText( HoldKind kind, std::size_t count, std::string const& why ) {
   char const* const of = kind == HoldKind::standby ? "LACP standby of " : "";
   return fmt::format( "{}{}, {}", of, counted( count, holdNoun( kind ) ), why );
}

} // namespace

void
TextBatch::entry( Ink ink, char const* label, std::string const& text, Ids const& ids ) {
   if ( !ids.empty() ) {
      lines_.entry( at_, ink, label, fmt::format( "{}: {}", text, intfRanges( ids ) ) );
   }
}

// Whether standby stands in for errdisabling the members, as the plug-in has it. The report
// tells of members in the first batch only.
bool
TextBatch::isInstead( Hold const& hold ) const {
   return isFirst_ && hold.kind == HoldKind::standby &&
      facts_.isMeantForStandby( hold.id ) && census_.standbyCount( { hold.id } ) != 0;
}

std::string
TextBatch::standbyText( Ids const& ids, bool isInstead ) const {
   std::string const text = counted( ids.size(), "port-channel" ) + " in LACP standby";
   return isInstead ? text + " instead of errdisabling " +
         counted( census_.standbyCount( ids ), "member" )
                    : text;
}

std::string
TextBatch::heldText( HoldKind kind, Ids const& ids, bool isInstead ) const {
   if ( kind == HoldKind::standby ) {
      return standbyText( ids, isInstead );
   }
   std::string const text = counted( ids.size(), holdNoun( kind ) ) + " errdisabled";
   auto const portClass = kind == HoldKind::mlagPort ? PortClass::mlag : PortClass::nonMlag;
   bool const isTimed = isFirst_ && facts_.isHeld( portClass );
   return isTimed ? text + " " + periodText( facts_.delay( portClass ) ) : text;
}

void
TextBatch::printHeld( std::vector< Hold > const& held ) {
   std::map< std::tuple< HoldKind, HoldTime, bool >, Ids > groups;
   for ( auto const& hold : held ) {
      groups[ { hold.kind, hold.from, isInstead( hold ) } ].push_back( hold.id );
   }
   for ( auto const& [ key, ids ] : groups ) {
      auto const& [ kind, from, isInstead ] = key;
      std::string const text = heldText( kind, ids, isInstead );
      entry(
         Ink::held,
         kind == HoldKind::standby ? "standby" : "held",
         from ? text : text + ", since before the run",
         ids );
   }
}

void
TextBatch::printReleased(
   std::vector< Hold > const& released, ReleaseReason const& reason ) {
   std::map< std::pair< HoldKind, std::string >, Ids > groups;
   for ( auto const& hold : released ) {
      groups[ { hold.kind, reason.of( hold ) } ].push_back( hold.id );
   }
   for ( auto const& [ key, ids ] : groups ) {
      auto const& [ kind, why ] = key;
      entry( Ink::freed, "released", releasedText( kind, ids.size(), why ), ids );
   }
}

void
TextBatch::printForced( Changes const& forced ) {
   auto const begun = forced.begun();
   auto const ended = forced.ended();
   auto const text = []( char const* what, Ids const& ids ) {
      return fmt::format( "{} {}", what, counted( ids.size(), "port-channel" ) );
   };
   entry( Ink::faint, "snooping", text( "IGMP snooping forced on", begun ), begun );
   entry(
      Ink::faint, "snooping", text( "IGMP snooping no longer forced on", ended ), ended );
}

void
TextBatch::printPeers( Ids const& eth, Ids const& all, std::string const& what ) {
   auto const print = [ & ]( Ids const& ids, std::string const& where ) {
      std::string const text = counted( ids.size(), "peer interface" );
      entry( Ink::message, "peer", fmt::format( "{} {} {}", text, what, where ), ids );
   };
   auto const alone = []( char const* directory ) {
      return fmt::format( "{} alone", directory );
   };
   print( both( eth, all ), "the local directories" );
   print( without( eth, all ), alone( mount::ethIntfStatusDir ) );
   print( without( all, eth ), alone( mount::allIntfStatusDir ) );
}

void
TextBatch::printDelay( WriteBatch const& batch ) {
   auto const runs = batch.delayRuns();
   if ( runs && !*runs ) {
      lines_.entry( at_, Ink::freed, "over", "the reload delay is over" );
   } else if ( runs && !isFirst_ ) {
      lines_.entry( at_, Ink::held, "started", "a reload delay begins" );
   }
}

// In the first batch nothing is held.
void
TextBatch::printNothing() {
   if ( !facts_.isDelayRunning() || census_.notHeld.empty() ) {
      lines_.entry( at_, Ink::alarm, "held", "nothing: " + whyNothingIsHeld( facts_ ) );
   }
}

// The first batch names the peer link itself, unless it was held before.
void
TextBatch::printPeerLink( WriteBatch const& batch ) {
   Kovel::IntfId const peerLink = facts_.peerLink();
   auto const& held = batch.held();
   bool const wasHeld = std::any_of(
      held.begin(), held.end(), [ & ]( Hold const& hold ) { return hold.id == peerLink; } );
   bool const isNamed = isFirst_ && peerLink && !wasHeld;
   Ids ids = census_.peerLink;
   std::erase( ids, peerLink );
   std::string const members = counted( ids.size(), isNamed ? "member" : "port" );
   if ( !isNamed ) {
      entry( Ink::faint, "never held", members + " of the peer link", census_.peerLink );
      return;
   }
   std::string const text = ids.empty() ? "" : " and its " + members;
   ids.push_back( peerLink );
   entry( Ink::faint, "never held", "the peer link" + text, ids );
}

void
TextBatch::printNotHeld() {
   for ( bool const isAlarming : { true, false } ) {
      for ( auto const& [ why, group ] : census_.notHeld ) {
         if ( group.isAlarming == isAlarming ) {
            std::string const text = counted( group.ports.size(), "port" ) + ", " + why;
            Ink const ink = isAlarming ? Ink::alarm : Ink::faint;
            entry( ink, "not held", text, group.ports );
         }
      }
   }
   if ( !isFirst_ ) {
      std::string const text = counted( census_.standby.size(), "port" );
      entry(
         Ink::held,
         "standby",
         text + " of a port-channel in LACP standby",
         census_.standby );
   }
}

void
TextBatch::printNeverHeld( WriteBatch const& batch ) {
   printPeerLink( batch );
   auto const print = [ & ]( char const* what, Ids const& ids ) {
      entry( Ink::faint, "never held", counted( ids.size(), what ), ids );
   };
   print( "management port", census_.management );
   print( "internal port", census_.internal );
}

void
TextBatch::print( WriteBatch const& batch, ReleaseReason const& reason ) {
   printHeld( batch.held() );
   if ( isFirst_ && batch.held().empty() ) {
      printNothing();
   }
   printReleased( batch.released(), reason );
   printHeld( batch.heldAgain() );
   printNotHeld();
   printForced( batch.forced() );
   printPeers( batch.ethStatus().begun(), batch.allStatus().begun(), "now in" );
   printPeers( batch.ethStatus().ended(), batch.allStatus().ended(), "gone from" );
   printDelay( batch );
   printNeverHeld( batch );
}

} // namespace ostra
