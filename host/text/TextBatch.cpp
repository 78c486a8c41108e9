// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/text/TextBatch>

#include <host/account/HoldWait>
#include <host/base/IntfRanges>
#include <host/base/Words>
#include <host/state/MountTable>

#include <Ryx/Time>

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
releasedText( HolderKind kind, std::size_t count, std::string const& why ) {
   char const* const of = kind == HolderKind::standby ? "LACP standby of " : "";
   return fmt::format( "{}{}, {}", of, counted( count, holdNoun( kind ) ), why );
}

} // namespace

template< class Text >
void
TextBatch::entry( Ink ink, char const* label, Ids const& ids, Text const& text ) {
   if ( !ids.empty() ) {
      lines_.entry( at_, ink, label, fmt::format( "{}: {}", text(), intfRanges( ids ) ) );
   }
}

// Whether standby stands in for errdisabling the members, as the plug-in has it. The report
// tells of members in the first batch only.
bool
TextBatch::isInstead( Hold const& hold ) const {
   return isFirst_ && hold.kind == HolderKind::standby &&
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
TextBatch::heldText( HolderKind kind, Ids const& ids, bool isInstead ) const {
   if ( kind == HolderKind::standby ) {
      return standbyText( ids, isInstead );
   }
   std::string const text = counted( ids.size(), holdNoun( kind ) ) + " errdisabled";
   auto const portClass =
      kind == HolderKind::mlagPort ? PortClass::mlag : PortClass::nonMlag;
   bool const isTimed = isFirst_ && facts_.isHeld( portClass );
   return isTimed ? text + " " + periodText( remaining( portClass ) ) : text;
}

// In seconds: less than the delay where that began before the run.
double
TextBatch::remaining( PortClass portClass ) const {
   double const start =
      secondsOf( facts_.at( { mount::mlagProtoStatus, "portsErrdisabledWhen" } ) );
   return remainingSeconds( start + facts_.delay( portClass ), Ryx::now() );
}

void
TextBatch::printHeld( std::vector< Hold > const& held ) {
   std::map< std::tuple< HolderKind, HoldTime, bool >, Ids > groups;
   for ( auto const& hold : held ) {
      groups[ { hold.kind, hold.from, isInstead( hold ) } ].push_back( hold.id );
   }
   for ( auto const& [ key, ids ] : groups ) {
      auto const& [ kind, from, isInstead ] = key;
      std::string const text = heldText( kind, ids, isInstead );
      bool const isOfBefore = !from;
      entry( Ink::held, kind == HolderKind::standby ? "standby" : "held", ids, [ & ] {
         return isOfBefore ? text + ", since before the run" : text;
      } );
   }
}

void
TextBatch::printReleased(
   std::vector< Hold > const& released, ReleaseReason const& reason ) {
   std::map< std::pair< HolderKind, std::string >, Ids > groups;
   for ( auto const& hold : released ) {
      groups[ { hold.kind, reason.of( hold ) } ].push_back( hold.id );
   }
   for ( auto const& group : groups ) {
      entry( Ink::freed, "released", group.second, [ & ] {
         auto const& [ kind, why ] = group.first;
         return releasedText( kind, group.second.size(), why );
      } );
   }
}

void
TextBatch::printForced( Changes const& forced ) {
   auto const print = [ & ]( char const* what, Ids const& ids ) {
      entry( Ink::faint, "snooping", ids, [ & ] {
         return fmt::format( "{} {}", what, counted( ids.size(), "port-channel" ) );
      } );
   };
   print( "IGMP snooping forced on", forced.begun() );
   print( "IGMP snooping no longer forced on", forced.ended() );
}

void
TextBatch::printPeers( Ids const& eth, Ids const& all, char const* what ) {
   auto const print = [ & ]( Ids const& ids, char const* where, char const* alone ) {
      entry( Ink::message, "peer", ids, [ & ] {
         return fmt::format(
            "{} {} {}{}", counted( ids.size(), "peer interface" ), what, where, alone );
      } );
   };
   print( both( eth, all ), "the local directories", "" );
   print( without( eth, all ), mount::ethIntfStatusDir, " alone" );
   print( without( all, eth ), mount::allIntfStatusDir, " alone" );
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
   bool const isRunning = facts_.isDelayRunning();
   if ( isRunning && isNarrowed_ ) {
      lines_.entry( at_, Ink::faint, "held", "none of these interfaces" );
   } else if ( !isRunning || census_.notHeld.empty() ) {
      lines_.entry( at_, Ink::alarm, "held", "nothing: " + whyNothingIsHeld( facts_ ) );
   }
}

// The first batch names the peer link itself, unless it was held before.
bool
TextBatch::namesPeerLink( WriteBatch const& batch, Kovel::IntfId peerLink ) const {
   auto const& held = batch.held();
   return isFirst_ && peerLink &&
      std::none_of( held.begin(), held.end(), [ & ]( Hold const& hold ) {
             return hold.id == peerLink;
          } );
}

void
TextBatch::printPeerLink( WriteBatch const& batch ) {
   Ids ids = census_.peerLink;
   if ( ids.empty() && !isFirst_ ) {
      return;
   }
   Kovel::IntfId const peerLink = facts_.peerLink();
   std::erase( ids, peerLink );
   if ( !namesPeerLink( batch, peerLink ) ) {
      entry( Ink::faint, "never held", census_.peerLink, [ & ] {
         return counted( ids.size(), "port" ) + " of the peer link";
      } );
      return;
   }
   std::string const members =
      ids.empty() ? "" : " and its " + counted( ids.size(), "member" );
   ids.push_back( peerLink );
   entry( Ink::faint, "never held", ids, [ & ] { return "the peer link" + members; } );
}

void
TextBatch::printNotHeld() {
   for ( bool const isAlarming : { true, false } ) {
      for ( auto const& item : census_.notHeld ) {
         auto const& group = item.second;
         if ( group.isAlarming == isAlarming ) {
            Ink const ink = isAlarming ? Ink::alarm : Ink::faint;
            entry( ink, "not held", group.ports, [ & ] {
               return counted( group.ports.size(), "port" ) + ", " + item.first;
            } );
         }
      }
   }
   if ( !isFirst_ ) {
      entry( Ink::held, "standby", census_.standby, [ & ] {
         return counted( census_.standby.size(), "port" ) +
            " of a port-channel in LACP standby";
      } );
   }
}

void
TextBatch::printNeverHeld( WriteBatch const& batch ) {
   printPeerLink( batch );
   auto const print = [ & ]( char const* what, Ids const& ids ) {
      entry( Ink::faint, "never held", ids, [ & ] { return counted( ids.size(), what ); } );
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
