// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/alarms/Comparison>

#include <fmt/format.h>

#include <algorithm>

namespace ostra {

std::vector< Alarm >
alarmsOf( Sight const& sight, Outlook const& outlook ) {
   std::vector< Alarm > alarms;
   for ( auto const& [ port, why, ending ] : sight.errdisabled ) {
      if ( outlook.errdisabled.contains( port ) ) {
         alarms.push_back(
            { AlarmKind::heldWithoutEnd,
              port,
              why,
              fmt::format(
                 "`ostra release {0}`; `ostra why {0}` says what else", port ) } );
      }
   }
   for ( std::string const& portChannel : sight.standby ) {
      if ( outlook.standby.contains( portChannel ) ) {
         alarms.push_back(
            { AlarmKind::standbyWithoutEnd,
              portChannel,
              "in LACP standby, and nothing will end that",
              fmt::format(
                 "take lacpConfig.portChannel.{} away and set it again", portChannel ) } );
      }
   }
   for ( std::string const& port : sight.peerLink ) {
      alarms.push_back( { AlarmKind::peerLinkHeld,
                          port,
                          "errdisabled although it is in the peer link",
                          fmt::format( "`ostra release {}`", port ) } );
   }
   for ( auto const& [ port, why, ending ] : sight.notHeld ) {
      alarms.push_back( { AlarmKind::notHeld, port, why, ending } );
   }
   for ( auto const& [ interface, why, ending ] : sight.notEnforced ) {
      alarms.push_back( { AlarmKind::notEnforced, interface, why, ending } );
   }
   for ( auto const& [ portChannel, why, ending ] : sight.forced ) {
      if ( outlook.forced.contains( portChannel ) ) {
         alarms.push_back( { AlarmKind::snoopingWithoutPort, portChannel, why, ending } );
      }
   }
   std::sort( alarms.begin(), alarms.end(), isBefore );
   return alarms;
}

} // namespace ostra
