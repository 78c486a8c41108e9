// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/alarms/AlarmBoard>

#include <algorithm>
#include <iterator>
#include <utility>

namespace ostra {

void
AlarmBoard::restore( std::vector< Alarm > alarms ) {
   std::sort( alarms.begin(), alarms.end(), isBefore );
   alarms_ = std::move( alarms );
   ++version_;
}

AlarmBoard::Changes
AlarmBoard::update( std::vector< Alarm > found, Milliseconds at ) {
   Changes changes;
   auto before = alarms_.begin();
   auto const isOver = [ & ]( Alarm const& alarm ) {
      return before != alarms_.end() && isBefore( *before, alarm );
   };
   for ( Alarm& alarm : found ) {
      for ( ; isOver( alarm ); ++before ) {
         changes.cleared.push_back( *before );
      }
      bool const isThere = before != alarms_.end() && !isBefore( alarm, *before );
      alarm.since = isThere ? before->since : at;
      if ( isThere ) {
         ++before;
      } else {
         changes.raised.push_back( alarm );
      }
   }
   std::copy( before, alarms_.end(), std::back_inserter( changes.cleared ) );
   alarms_ = std::move( found );
   ++version_;
   return changes;
}

} // namespace ostra
