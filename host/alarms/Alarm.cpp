// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/alarms/Alarm>

#include <Kovel/IntfId>

#include <algorithm>
#include <cmath>

namespace ostra {

std::string_view
nameOf( AlarmKind kind ) {
   switch ( kind ) {
   case AlarmKind::heldWithoutEnd:
      return "heldWithoutEnd";
   case AlarmKind::standbyWithoutEnd:
      return "standbyWithoutEnd";
   case AlarmKind::peerLinkHeld:
      return "peerLinkHeld";
   case AlarmKind::notHeld:
      return "notHeld";
   case AlarmKind::notEnforced:
      return "notEnforced";
   case AlarmKind::snoopingWithoutPort:
      break;
   }
   return "snoopingWithoutPort";
}

Json
toJson( Alarm const& alarm ) {
   return { { "kind", nameOf( alarm.kind ) },
            { "interface", alarm.interface },
            { "since", toJson( secondsOf( alarm.since ) ) },
            { "text", alarm.text },
            { "ending", alarm.ending } };
}

Alarm
alarmOf( Json const& json ) {
   std::string const name = json.at( "kind" );
   auto const kind =
      std::find_if( alarmKinds.begin(), alarmKinds.end(), [ & ]( AlarmKind some ) {
         return nameOf( some ) == name;
      } );
   auto const since = std::llround( secondsOf( json.at( "since" ) ) * 1000 );
   return { kind == alarmKinds.end() ? alarmKinds.back() : *kind,
            json.at( "interface" ),
            json.at( "text" ),
            json.at( "ending" ),
            Milliseconds( since ) };
}

bool
isBefore( Alarm const& a, Alarm const& b ) {
   return a.interface == b.interface ? a.kind < b.kind
                                     : Kovel::IntfId( a.interface ) <
         Kovel::IntfId( b.interface );
}

Json
countsOf( std::vector< Alarm > const& alarms ) {
   Json counts = Json::object();
   for ( AlarmKind const kind : alarmKinds ) {
      counts[ std::string( nameOf( kind ) ) ] =
         std::count_if( alarms.begin(), alarms.end(), [ kind ]( Alarm const& alarm ) {
            return alarm.kind == kind;
         } );
   }
   return counts;
}

} // namespace ostra
