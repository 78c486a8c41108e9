// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/text/TextAlarms>

#include <host/base/IntfRanges>

#include <fmt/format.h>

#include <map>
#include <string>
#include <tuple>

namespace ostra {

namespace {

// The same words for every interface.
std::string
endingOfAny( Alarm const& alarm ) {
   std::string ending = alarm.ending;
   std::string_view const any = "INTERFACE";
   for ( std::size_t at = ending.find( alarm.interface ); at != ending.npos;
         at = ending.find( alarm.interface, at + any.size() ) ) {
      ending.replace( at, alarm.interface.size(), any );
   }
   return ending;
}

} // namespace

void
printAlarms( TextLines& lines, std::vector< Alarm > const& alarms ) {
   std::map< std::tuple< AlarmKind, std::string, std::string >, std::vector< Alarm > >
      groups;
   for ( Alarm const& alarm : alarms ) {
      groups[ { alarm.kind, alarm.text, endingOfAny( alarm ) } ].push_back( alarm );
   }
   for ( auto const& [ key, group ] : groups ) {
      auto const& [ kind, text, ending ] = key;
      std::vector< Kovel::IntfId > ids;
      for ( Alarm const& alarm : group ) {
         ids.emplace_back( alarm.interface );
      }
      lines.field(
         "ALARM",
         fmt::format(
            "{} {}: {}; what ends it: {}",
            nameOf( kind ),
            intfRanges( ids ),
            text,
            group.size() == 1 ? group.front().ending : ending ),
         Ink::alarm );
   }
}

} // namespace ostra
