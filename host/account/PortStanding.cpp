// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/account/PortStanding>

#include <host/account/ReleaseReason>
#include <host/state/MountTable>

#include <Kovel/InternalIntfId>
#include <Kovel/MgmtIntfId>

namespace ostra {

namespace {

using Kovel::IntfId;
using Kind = PortStanding::Kind;

std::string
whyNone( SwitchFacts const& facts, bool isStart ) {
   if ( !facts.isMachineThere() ) {
      return "the state machine is not there";
   }
   if ( facts.isDelayRunning() ) {
      return "";
   }
   std::string const why = isStart ? whyStateReleases( facts ) : "";
   return why.empty() ? "the reload delay is over" : why;
}

} // namespace

std::string
className( SwitchFacts const& facts, PortStanding const& standing, IntfId port ) {
   switch ( standing.kind ) {
   case Kind::internal:
      return "internal";
   case Kind::management:
      return "management";
   case Kind::peerLink:
      return "peerLink";
   case Kind::held:
   case Kind::standby:
   case Kind::notHeld:
      break;
   }
   return facts.classOf( port ) == PortClass::mlag ? "mlag" : "nonMlag";
}

std::string
stateName( Kind kind ) {
   return kind == Kind::held ? "held" : kind == Kind::standby ? "standby" : "notHeld";
}

std::string
whyNotInStandby( SwitchFacts const& facts, IntfId portChannel ) {
   bool const isConfigured =
      facts.has( { mount::lacpConfig, "portChannel", portChannel.string() } );
   return isConfigured
      ? "meant for LACP standby, but stayInStandby of the port-channel is false"
      : std::string( "meant for LACP standby, but the port-channel is not in " ) +
         mount::lacpConfig;
}

Standings::Standings( SwitchFacts const& facts, HoldLedger const& ledger, bool isStart )
      : facts_( facts ),
        ledger_( ledger ),
        peerLink_( facts.peerLink() ),
        holdsMlag_( facts.isHeld( PortClass::mlag ) ),
        holdsNonMlag_( facts.isHeld( PortClass::nonMlag ) ),
        whyNone_( whyNone( facts, isStart ) ) {}

std::optional< Kind >
Standings::exemptionOf( IntfId port, IntfId portChannel ) const {
   if ( peerLink_ && ( port == peerLink_ || portChannel == peerLink_ ) ) {
      return Kind::peerLink;
   }
   if ( Kovel::InternalIntfId::isInternalIntfId( port ) ) {
      return Kind::internal;
   }
   return Kovel::MgmtIntfId::isMgmtIntfId( port ) ? std::optional( Kind::management )
                                                  : std::nullopt;
}

std::string
Standings::classOf( IntfId port ) const {
   IntfId const portChannel = facts_.portChannelOf( port );
   Kind const kind = exemptionOf( port, portChannel ).value_or( Kind::notHeld );
   return className( facts_, { kind, portChannel }, port );
}

PortStanding
Standings::of( IntfId port ) const {
   if ( ledger_.isErrdisabled( port ) ) {
      return { Kind::held, {} };
   }
   IntfId const portChannel = facts_.portChannelOf( port );
   if ( auto const exemption = exemptionOf( port, portChannel ) ) {
      return { *exemption, portChannel };
   }
   if ( portChannel && ledger_.isInStandby( portChannel ) ) {
      return { Kind::standby, portChannel };
   }
   return notHeld( port, portChannel );
}

PortStanding
Standings::notHeld( IntfId port, IntfId portChannel ) const {
   if ( !whyNone_.empty() ) {
      return { Kind::notHeld, portChannel, whyNone_ };
   }
   if ( portChannel && facts_.isMeantForStandby( portChannel ) ) {
      return { Kind::notHeld, portChannel, whyNotInStandby( facts_, portChannel ), true };
   }
   bool const isMlag = facts_.classOf( port ) == PortClass::mlag;
   if ( isMlag ? holdsMlag_ : holdsNonMlag_ ) {
      return { Kind::notHeld, portChannel, "although the delay runs", true };
   }
   return { Kind::notHeld,
            portChannel,
            isMlag ? "the delay of MLAG ports is over"
                   : "the delay of non-MLAG ports is over" };
}

} // namespace ostra
