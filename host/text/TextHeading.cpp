// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/text/TextHeading>

#include <host/base/Words>
#include <host/state/MountTable>

#include <fmt/format.h>

#include <sstream>

namespace ostra {

namespace {

std::string
mlagText( SwitchFacts const& facts ) {
   auto const missing = facts.missingConfig();
   if ( !missing.empty() ) {
      return fmt::format( "not configured, missing {}", fmt::join( missing, ", " ) );
   }
   return fmt::format(
      "domain {}, local interface {}, peer {}",
      flowText( facts.at( { mount::mlagConfig, "domainId" } ) ),
      flowText( facts.at( { mount::mlagConfig, "localInterface" } ) ),
      flowText( facts.at( { mount::mlagConfig, "peerAddress" } ) ) );
}

std::string
stateText( SwitchFacts const& facts ) {
   std::string name = mlagStateName( facts.mlagState() );
   if ( facts.isPrimary() ) {
      return name + ", holds no ports";
   }
   if ( facts.isSecondary() ) {
      return name + ( facts.holdsInSecondary() ? ", holds its ports" : ", holds no ports" );
   }
   return name;
}

std::string
standbyText( SwitchFacts const& facts ) {
   if ( facts.at( { mount::mlagConfig, "lacpStandby" } ) != Json( true ) ) {
      return "off";
   }
   std::string const systemId = flowText( facts.at( { mount::mlagStatus, "systemId" } ) );
   // All zeros stand for none, which no override matches.
   return systemId.find_first_not_of( "0:" ) == std::string::npos
      ? "on, for no port-channel as there is no MLAG system id"
      : "on, for port-channels whose LACP override is " + systemId;
}

std::string
delaysText( SwitchFacts const& facts ) {
   std::string const mlag = delayText( facts.delay( PortClass::mlag ) );
   if ( !facts.hasOwnNonMlagDelay() ) {
      return mlag + " for all ports";
   }
   return fmt::format(
      "{} for MLAG ports, {} for non-MLAG ports",
      mlag,
      delayText( facts.delay( PortClass::nonMlag ) ) );
}

} // namespace

std::string
titleText( std::string const& text ) {
   std::istringstream words( text );
   std::string title;
   for ( std::string word; words >> word; ) {
      title += ( title.empty() ? "" : " " ) + word;
   }
   return title;
}

void
printHeading( TextLines& lines, StartRecord const& start, SwitchFacts const& facts ) {
   std::string const title = titleText( start.name );
   lines.title( title.empty() ? "A switch reload" : title );
   lines.line( "" );
   if ( start.startTime != Milliseconds( 0 ) ) {
      lines.field(
         "start time",
         fmt::format( "{} s", toJson( secondsOf( start.startTime ) ).dump() ) );
   }
   lines.field( "MLAG", mlagText( facts ) );
   lines.field( "MLAG state", stateText( facts ) );
   auto const peerLink = facts.peerLink();
   lines.field( "peer link", peerLink ? peerLink.string() : "none" );
   lines.field( "reload delay", delaysText( facts ) );
   lines.field( "LACP standby", standbyText( facts ) );
   lines.line( "" );
}

} // namespace ostra
