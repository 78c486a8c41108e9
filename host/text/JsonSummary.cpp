// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/text/JsonSummary>

#include <algorithm>

namespace ostra {

namespace {

Json
timeJson( HoldTime const& time ) {
   return time ? toJson( secondsOf( *time ) ) : Json();
}

Json
nameJson( Kovel::IntfId id ) {
   return id ? Json( id.string() ) : Json();
}

template< class Of, class ToJson >
Json
listJson( std::vector< Of > const& items, ToJson toItem ) {
   Json list = Json::array();
   for ( Of const& item : items ) {
      list.push_back( toItem( item ) );
   }
   return list;
}

Json
holdsJson( PortAccount const& account ) {
   return listJson( account.holds, []( PastHold const& hold ) { return toJson( hold ); } );
}

Json
portJson( PortAccount const& port ) {
   return { { "interface", port.id.string() },
            { "class", port.portClass },
            { "portChannel", nameJson( port.portChannel ) },
            { "isPresent", port.isPresent },
            { "state", port.state },
            { "reason", port.why },
            { "holds", holdsJson( port ) } };
}

Json
portChannelJson( PortAccount const& portChannel ) {
   return { { "interface", portChannel.id.string() },
            { "class", portChannel.portClass },
            { "state", portChannel.state },
            { "holds", holdsJson( portChannel ) } };
}

// Ports that were held in that class, or still are.
std::size_t
countHeld( std::vector< PortAccount > const& ports, HolderKind kind, bool isStill ) {
   return static_cast< std::size_t >(
      std::count_if( ports.begin(), ports.end(), [ & ]( PortAccount const& port ) {
         return std::any_of(
            port.holds.begin(), port.holds.end(), [ & ]( PastHold const& hold ) {
               return hold.kind == kind && !( isStill && hold.to );
            } );
      } ) );
}

Json
classJson(
   RunSummary::Waiting const& waiting,
   std::vector< PortAccount > const& ports,
   HolderKind kind ) {
   Json periods = listJson( waiting.periods, []( DelayPeriod const& period ) {
      return Json{ { "start", timeJson( period.from ) }, { "end", timeJson( period.to ) } };
   } );
   return { { "delay", toJson( waiting.delay ) },
            { "periods", std::move( periods ) },
            { "held", countHeld( ports, kind, false ) },
            { "stillHeld", countHeld( ports, kind, true ) } };
}

Json
announcementJson( std::pair< Milliseconds, LogMessageRecord > const& announcement ) {
   auto const& [ at, message ] = announcement;
   return { { "t", timeJson( at ) },
            { "id", message.id },
            { "severity", message.severity },
            { "text", message.text } };
}

// All are found at the end, so that the time says nothing.
Json
alarmJson( Alarm const& alarm ) {
   Json json = toJson( alarm );
   json.erase( "since" );
   return json;
}

} // namespace

Json
toJson( PastHold const& hold ) {
   return { { "kind", holdName( hold.kind ) },
            { "class", hold.portClass },
            { "since", timeJson( hold.from ) },
            { "released", timeJson( hold.to ) },
            { "reason", hold.why } };
}

Json
toJson( RunSummary const& summary ) {
   auto const& ports = summary.interfaces.ports;
   return {
      { "name", summary.name },
      { "startTime", timeJson( summary.startTime ) },
      { "end", timeJson( summary.end ) },
      { "isTimerLeft", summary.isTimerLeft },
      { "classes",
        { { "mlag", classJson( summary.mlag, ports, HolderKind::mlagPort ) },
          { "nonMlag", classJson( summary.nonMlag, ports, HolderKind::nonMlagPort ) } } },
      { "ports", listJson( ports, portJson ) },
      { "portChannels", listJson( summary.interfaces.portChannels, portChannelJson ) },
      { "announcements", listJson( summary.announcements, announcementJson ) },
      { "missingConfig", summary.missingConfig },
      { "snoopingForced", listJson( summary.forced, nameJson ) },
      { "alarms", listJson( summary.alarms, alarmJson ) }
   };
}

} // namespace ostra
