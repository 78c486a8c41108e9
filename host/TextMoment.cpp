// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/TextMoment>

#include <host/IntfRanges>
#include <host/Words>

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
TextMoment::entry( Ink ink, char const* label, std::string const& text, Ids const& ids ) {
   if ( !ids.empty() ) {
      lines_.entry( at_, ink, label, fmt::format( "{}: {}", text, intfRanges( ids ) ) );
   }
}

std::string
TextMoment::standbyText( Ids const& ids ) const {
   if ( !first_ ) {
      return " in LACP standby";
   }
   return " in LACP standby instead of errdisabling " +
      counted( first_->memberCount( ids ), "member" );
}

std::string
TextMoment::heldText( Hold const& hold, Ids const& ids ) const {
   bool const isMlag = hold.kind == HoldKind::mlagPort;
   std::string text = counted( ids.size(), holdNoun( hold.kind ) );
   if ( hold.kind == HoldKind::standby ) {
      text += standbyText( ids );
   } else {
      text += " errdisabled";
      text += first_
         ? " " + periodText( facts_.delay( isMlag ? PortClass::mlag : PortClass::nonMlag ) )
         : "";
   }
   return hold.from ? text : text + ", since before the run";
}

void
TextMoment::printHeld( std::vector< Hold > const& held ) {
   std::map< std::pair< HoldKind, HoldTime >, std::pair< Hold, Ids > > groups;
   for ( auto const& hold : held ) {
      auto const group = groups.try_emplace( { hold.kind, hold.from }, hold, Ids() ).first;
      group->second.second.push_back( hold.id );
   }
   for ( auto const& [ key, group ] : groups ) {
      bool const isStandby = key.first == HoldKind::standby;
      auto const& [ hold, ids ] = group;
      entry( Ink::held, isStandby ? "standby" : "held", heldText( hold, ids ), ids );
   }
}

void
TextMoment::printReleased(
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
TextMoment::printForced( Changes const& forced ) {
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
TextMoment::printPeers( Ids const& eth, Ids const& all, std::string const& what ) {
   auto const print = [ & ]( Ids const& ids, char const* where ) {
      std::string const text = counted( ids.size(), "peer interface" );
      entry( Ink::message, "peer", fmt::format( "{} {} {}", text, what, where ), ids );
   };
   print( both( eth, all ), "the local directories" );
   print( without( eth, all ), "ethIntfStatusDir alone" );
   print( without( all, eth ), "allIntfStatusDir alone" );
}

void
TextMoment::printDelay( Moment const& moment ) {
   auto const runs = moment.delayRuns();
   if ( runs && !*runs ) {
      lines_.entry( at_, Ink::freed, "over", "the reload delay is over" );
   } else if ( runs && !first_ ) {
      lines_.entry( at_, Ink::held, "started", "a reload delay begins" );
   }
}

void
TextMoment::printNeverHeld() {
   Ids peerLink = first_->peerLinkPorts;
   std::string const members = peerLink.empty()
      ? ""
      : fmt::format( " and its {}", counted( peerLink.size(), "member" ) );
   if ( first_->peerLink ) {
      peerLink.push_back( first_->peerLink );
   }
   entry( Ink::faint, "never held", "the peer link" + members, peerLink );
   auto const print = [ & ]( char const* what, Ids const& ids ) {
      entry( Ink::faint, "never held", counted( ids.size(), what ), ids );
   };
   print( "management port", first_->management );
   print( "internal port", first_->internal );
}

void
TextMoment::print( Moment const& moment, ReleaseReason const& reason ) {
   printHeld( moment.held() );
   if ( first_ && moment.held().empty() ) {
      lines_.entry( at_, Ink::alarm, "held", "nothing: " + whyNothingIsHeld( facts_ ) );
   }
   printReleased( moment.released(), reason );
   printForced( moment.forced() );
   printPeers( moment.ethStatus().begun(), moment.allStatus().begun(), "now in" );
   printPeers( moment.ethStatus().ended(), moment.allStatus().ended(), "gone from" );
   printDelay( moment );
   if ( first_ ) {
      printNeverHeld();
   }
}

} // namespace ostra
