// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/state/Machine>

#include <host/state/MountTable>

#include <Kovel/InternalIntfId>
#include <Kovel/MgmtIntfId>
#include <Ryx/GenericValue>

namespace ostra {

using Kovel::IntfId;

bool
Machine::isThere() const {
   return agent_.child( machineKey ) != nullptr;
}

bool
Machine::isHeld( bool isMlag ) const {
   char const* const flag = isMlag ? "mlagPortsErrdisabled" : "nonMlagPortsErrdisabled";
   return state_.at( { agentKey, machineKey, flag } ) == Json( true );
}

double
Machine::delay( bool isMlag ) const {
   GenericPtr const nonMlag =
      isMlag ? nullptr : agent_.call( machineKey, "reloadDelayNonMlag" );
   return secondsOf(
      isMlag ? state_.at( { mount::mlagConfig, "reloadDelay" } )
             : scalarToJson( nonMlag ) );
}

GenericPtr
Machine::answer( std::string_view operation, IntfId port ) const {
   return agent_.call( machineKey, operation, Ryx::toGeneric( port ) );
}

bool
Machine::asks( std::string_view operation, IntfId port ) const {
   GenericPtr const said = answer( operation, port );
   return said && said->strRep() == "true";
}

bool
Machine::isMlagMember( IntfId port ) const {
   GenericPtr const portChannel = answer( "mlagPortChannelByMember", port );
   return portChannel && !portChannel->strRep().empty();
}

std::string
Machine::classOf( IntfId port ) const {
   if ( Kovel::InternalIntfId::isInternalIntfId( port ) ) {
      return "internal";
   }
   if ( Kovel::MgmtIntfId::isMgmtIntfId( port ) ) {
      return "management";
   }
   if ( isInPeerLink( port ) ) {
      return "peerLink";
   }
   return isMlag( port ) ? "mlag" : "nonMlag";
}

} // namespace ostra
