// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/account/SwitchFacts>

#include <host/state/MountTable>

#include <algorithm>
#include <array>

namespace ostra {

namespace {

using Kovel::IntfId;
using Mlag::MlagState;

// Whether what a mandatory part of the MLAG configuration reads as stands for nothing.
bool
isUnset( Json const& value ) {
   static std::array< Json, 5 > const unset = { nullptr, false, "", "0.0.0.0", "::" };
   return std::find( unset.begin(), unset.end(), value ) != unset.end();
}

} // namespace

IntfId
intfIdOf( Json const& name ) {
   return name.is_string() ? IntfId( name.get< std::string >() ) : IntfId();
}

bool
SwitchFacts::isTrue( Path const& path ) const {
   return state_.at( path ) == Json( true );
}

std::vector< IntfId >
SwitchFacts::keys( Path const& path ) const {
   auto const names = state_.keys( path );
   std::vector< IntfId > ids;
   ids.reserve( names.size() );
   for ( auto const& name : names ) {
      ids.emplace_back( name );
   }
   return ids;
}

IntfId
SwitchFacts::peerLink() const {
   return intfIdOf( state_.at( { mount::mlagConfig, "peerLinkIntf" } ) );
}

IntfId
SwitchFacts::portChannelOf( IntfId port ) const {
   return intfIdOf(
      state_.at( { mount::lagInputConfig, "phyIntf", port.string(), "lag" } ) );
}

PortClass
SwitchFacts::classOf( IntfId port ) const {
   IntfId const portChannel = portChannelOf( port );
   IntfId const configured = portChannel ? portChannel : port;
   Json const mlagId =
      state_.at( { mount::mlagConfig, "intfConfig", configured.string(), "mlagId" } );
   bool const isMlag =
      mlagId.is_string() && !mlagId.get_ref< std::string const& >().empty();
   return isMlag ? PortClass::mlag : PortClass::nonMlag;
}

bool
SwitchFacts::isPresent( IntfId port ) const {
   return state_.has( { mount::ethPhyIntfStatus, "intfStatus", port.string() } );
}

std::vector< IntfId >
SwitchFacts::ports() const {
   return keys( { mount::ethPhyIntfStatus, "intfStatus" } );
}

std::vector< std::string >
SwitchFacts::missingConfig() const {
   std::vector< std::string > missing;
   for ( auto const* part :
         { "enabled", "domainId", "localInterface", "peerAddress", "peerLinkIntf" } ) {
      if ( isUnset( state_.at( { mount::mlagConfig, part } ) ) ) {
         missing.emplace_back( part );
      }
   }
   return missing;
}

bool
SwitchFacts::isDelayRunning() const {
   return isTrue( { mount::mlagProtoStatus, "portsErrdisabled" } );
}

bool
SwitchFacts::hasOwnNonMlagDelay() const {
   return isTrue( { mount::mlagConfig, "reloadDelayNonMlagConfigured" } );
}

double
SwitchFacts::delay( PortClass portClass ) const {
   bool const own = portClass == PortClass::nonMlag && hasOwnNonMlagDelay();
   return secondsOf(
      state_.at( { mount::mlagConfig, own ? "reloadDelayNonMlag" : "reloadDelay" } ) );
}

// These two are asked at each instant.
bool
SwitchFacts::isMachineThere() const {
   static Path const machine{ agentKey, machineKey };
   return !state_.at( machine ).is_null();
}

bool
SwitchFacts::isHeld( PortClass portClass ) const {
   static Path const mlag{ agentKey, machineKey, "mlagPortsErrdisabled" };
   static Path const nonMlag{ agentKey, machineKey, "nonMlagPortsErrdisabled" };
   return isTrue( portClass == PortClass::mlag ? mlag : nonMlag );
}

bool
SwitchFacts::isMeantForStandby( IntfId portChannel ) const {
   return isTrue( { agentKey, machineKey, "lagsInStandby", portChannel.string() } );
}

MlagState
SwitchFacts::mlagState() const {
   Json const state = state_.at( { mount::mlagStatus, "mlagState" } );
   return state.is_number() ? MlagState( state.get< int >() ) : MlagState::mlagUnknown;
}

bool
SwitchFacts::isSecondary() const {
   return mlagState() == MlagState::mlagSecondary;
}

bool
SwitchFacts::isPrimary() const {
   return mlagState() == MlagState::mlagPrimary;
}

bool
SwitchFacts::isInactive() const {
   return mlagState() == MlagState::mlagInactive;
}

bool
SwitchFacts::holdsInSecondary() const {
   return isTrue( { mount::mlagProtoStatus, "holdInSecondary" } );
}

} // namespace ostra
