// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/account/SwitchFacts>

#include <host/base/Words>

#include <algorithm>
#include <array>

namespace ostra {

namespace {

using Kovel::IntfId;
using Path = std::vector< std::string >;

enum MlagState : long long { inactive = 2, primary = 3, secondary = 4 };

// Whether what a mandatory part of the MLAG configuration reads as stands for nothing.
bool
isUnset( Json const& value ) {
   static std::array< Json, 5 > const unset = { nullptr, false, "", "0.0.0.0", "::" };
   return std::find( unset.begin(), unset.end(), value ) != unset.end();
}

bool
isMlagIntfConfig( Json const& value ) {
   return value.is_object() && !value.value( "mlagId", "" ).empty();
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
   std::vector< IntfId > ids;
   for ( auto const& key : state_.keys( path ) ) {
      ids.emplace_back( key );
   }
   return ids;
}

IntfId
SwitchFacts::peerLink() const {
   return intfIdOf( state_.at( { "mlagConfig", "peerLinkIntf" } ) );
}

IntfId
SwitchFacts::portChannelOf( IntfId port ) const {
   return intfIdOf( state_.at( { "lagInputConfig", "phyIntf", port.string(), "lag" } ) );
}

PortClass
SwitchFacts::classOf( IntfId port ) const {
   IntfId const portChannel = portChannelOf( port );
   IntfId const configured = portChannel ? portChannel : port;
   return isMlagIntfConfig(
             state_.at( { "mlagConfig", "intfConfig", configured.string() } ) )
      ? PortClass::mlag
      : PortClass::nonMlag;
}

bool
SwitchFacts::isPresent( IntfId port ) const {
   return !state_.at( { "ethPhyIntfStatus", "intfStatus", port.string() } ).is_null();
}

std::vector< IntfId >
SwitchFacts::ports() const {
   return keys( { "ethPhyIntfStatus", "intfStatus" } );
}

std::vector< std::string >
SwitchFacts::missingConfig() const {
   std::vector< std::string > missing;
   for ( auto const* part :
         { "enabled", "domainId", "localInterface", "peerAddress", "peerLinkIntf" } ) {
      if ( isUnset( state_.at( { "mlagConfig", part } ) ) ) {
         missing.emplace_back( part );
      }
   }
   return missing;
}

bool
SwitchFacts::isDelayRunning() const {
   return isTrue( { "mlagProtoStatus", "portsErrdisabled" } );
}

bool
SwitchFacts::hasOwnNonMlagDelay() const {
   return isTrue( { "mlagConfig", "reloadDelayNonMlagConfigured" } );
}

double
SwitchFacts::delay( PortClass portClass ) const {
   bool const own = portClass == PortClass::nonMlag && hasOwnNonMlagDelay();
   return secondsOf(
      state_.at( { "mlagConfig", own ? "reloadDelayNonMlag" : "reloadDelay" } ) );
}

bool
SwitchFacts::isMachineThere() const {
   return !state_.at( { "agent", "mlagErrdisableSm" } ).is_null();
}

bool
SwitchFacts::isHeld( PortClass portClass ) const {
   return isTrue( { "agent",
                    "mlagErrdisableSm",
                    portClass == PortClass::mlag ? "mlagPortsErrdisabled"
                                                 : "nonMlagPortsErrdisabled" } );
}

bool
SwitchFacts::isMeantForStandby( IntfId portChannel ) const {
   return isTrue( { "agent", "mlagErrdisableSm", "lagsInStandby", portChannel.string() } );
}

long long
SwitchFacts::mlagState() const {
   Json const state = state_.at( { "mlagStatus", "mlagState" } );
   return state.is_number() ? state.get< long long >() : 0;
}

bool
SwitchFacts::isSecondary() const {
   return mlagState() == secondary;
}

bool
SwitchFacts::isPrimary() const {
   return mlagState() == primary;
}

bool
SwitchFacts::isInactive() const {
   return mlagState() == inactive;
}

bool
SwitchFacts::holdsInSecondary() const {
   return isTrue( { "mlagProtoStatus", "holdInSecondary" } );
}

} // namespace ostra
