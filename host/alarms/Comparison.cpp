// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/alarms/Comparison>

#include <algorithm>

namespace ostra {

namespace {

using Names = std::set< std::string >;

// Of what has been seen; with `later`, of what is still so then.
void
add(
   std::vector< Alarm >& alarms,
   AlarmKind kind,
   std::vector< Sighting > const& seen,
   Names const* later = nullptr ) {
   for ( auto const& [ interface, why, ending ] : seen ) {
      if ( !later || later->contains( interface ) ) {
         alarms.push_back( { kind, interface, why, ending } );
      }
   }
}

} // namespace

std::vector< Alarm >
alarmsOf( Sight const& sight, Outlook const& outlook ) {
   std::vector< Alarm > alarms;
   add( alarms, AlarmKind::heldWithoutEnd, sight.errdisabled, &outlook.errdisabled );
   add( alarms, AlarmKind::standbyWithoutEnd, sight.standby, &outlook.standby );
   add( alarms, AlarmKind::peerLinkHeld, sight.peerLink );
   add( alarms, AlarmKind::notHeld, sight.notHeld );
   add( alarms, AlarmKind::notEnforced, sight.notEnforced );
   add( alarms, AlarmKind::snoopingWithoutPort, sight.forced, &outlook.forced );
   std::sort( alarms.begin(), alarms.end(), isBefore );
   return alarms;
}

} // namespace ostra
