// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "RandomLife"

#include "serve/LiveProcess"

#include <fmt/format.h>

#include <algorithm>

namespace ostra {

namespace {

std::string
port( Dice& dice ) {
   return fmt::format( "Ethernet{}", 1 + dice.below( 5 ) );
}

std::string
portChannel( Dice& dice ) {
   static char const* const names[] = { "Port-Channel1",
                                        "Port-Channel10",
                                        "Port-Channel20" };
   return dice.of( names );
}

Json
delay( Dice& dice ) {
   static Json const delays[] = { 0, 5, 12, 20, 37.5, 40, "inf" };
   return dice.of( delays );
}

// One that clients may make; several of them are one patch.
Json
change( Dice& dice ) {
   static char const* const systemIds[] = { "02:00:00:00:00:01", "02:00:00:00:00:02" };
   std::string const ethernet = port( dice );
   std::string const lag = portChannel( dice );
   switch ( dice.below( 14 ) ) {
   case 0:
   case 1:
      return { { "mlagStatus", { { "mlagState", dice.below( 5 ) } } } };
   case 2:
      return { { "mlagProtoStatus", { { "holdInSecondary", dice.isLucky() } } } };
   case 3:
      return { { "mlagConfig", { { "reloadDelay", delay( dice ) } } } };
   case 4:
      return { { "mlagConfig",
                 { { "reloadDelayNonMlagConfigured", dice.isLucky() },
                   { "reloadDelayNonMlag", delay( dice ) } } } };
   case 5:
      return { { "mlagConfig", { { "enabled", dice.below( 4 ) != 0 } } } };
   case 6:
      return { { "mlagConfig", { { "lacpStandby", dice.isLucky() } } } };
   case 7:
      return { { "mlagStatus", { { "systemId", dice.of( systemIds ) } } } };
   case 8:
      return { { "lacpOverride",
                 { { "lagIdConfig", { { lag, dice.of( systemIds ) } } } } } };
   case 9:
      return { { "lagInputConfig",
                 { { "phyIntf", { { ethernet, { { "lag", lag }, { "mode", 2 } } } } } } } };
   case 10:
      return { { "ethPhyIntfStatus",
                 { { "intfStatus",
                     { { ethernet, dice.isLucky() ? Json() : Json::object() } } } } } };
   case 11:
      return { { "mlagissuCause", { { "intfStatus", { { ethernet, nullptr } } } } } };
   case 12:
      return {
         { "ethPhyIntfConfig",
           { { "intfConfig",
               { { ethernet, { { "adminEnabledStateLocal", dice.below( 3 ) } } } } } } }
      };
   default:
      return {
         { "lagInputIntfStatus",
           { { "intfStatus", { { lag, { { "linkStatus", dice.below( 3 ) } } } } } } }
      };
   }
}

// One that is not for clients, or that changes what the switch is.
Json
deeperChange( Dice& dice ) {
   std::string const lag = portChannel( dice );
   switch ( dice.below( 8 ) ) {
   case 0:
      return { { "lacpConfig", { { "portChannel", { { lag, Json::object() } } } } } };
   case 1:
      return {
         { "lacpConfig",
           { { "portChannel", { { lag, { { "stayInStandby", dice.isLucky() } } } } } } }
      };
   case 2:
      return { { "mlagissuCause", { { "intfStatus", { { port( dice ), 1 } } } } } };
   case 3:
      return { { "igmpsnoopingConfig",
                 { { "forceEnabledPorts", { { lag, dice.isLucky() } } } } } };
   case 4:
      return { { "mlagConfig", { { "peerLinkIntf", lag } } } };
   case 5:
      return {
         { "mlagConfig",
           { { "intfConfig",
               { { lag, dice.isLucky() ? Json() : Json{ { "mlagId", "1" } } } } } } }
      };
   case 6:
      return { { "agent", Json::object() } };
   default:
      return { { "agent", dice.isLucky() ? Json() : Json::object() } };
   }
}

} // namespace

Json
somePatch( Dice& dice ) {
   Json patch = Json::object();
   for ( unsigned left = 1 + dice.below( 3 ); left > 0; --left ) {
      patch.update( change( dice ), true );
   }
   return patch;
}

Json
someScenario( Dice& dice ) {
   Json mounts = Json::parse( reloadedSwitch() );
   for ( unsigned left = dice.below( 5 ); left > 0; --left ) {
      Json const patch = somePatch( dice );
      // Nothing is taken away that has not been there.
      for ( auto const& [ mount, attributes ] : patch.items() ) {
         if ( attributes.dump().find( "null" ) == std::string::npos ) {
            mounts.update( Json{ { mount, attributes } }, true );
         }
      }
   }
   unsigned const until = dice.below( 60'000 );
   std::vector< unsigned > times( dice.below( 8 ) );
   std::generate( times.begin(), times.end(), [ & ] { return dice.below( until + 1 ); } );
   std::sort( times.begin(), times.end() );
   Json events = Json::array();
   for ( unsigned const time : times ) {
      Json event = { { "at", time / 1000.0 } };
      event.update( dice.below( 3 ) == 0 ? deeperChange( dice ) : somePatch( dice ), true );
      events.push_back( event );
   }
   return { { "until", until / 1000.0 }, { "mounts", mounts }, { "events", events } };
}

} // namespace ostra
