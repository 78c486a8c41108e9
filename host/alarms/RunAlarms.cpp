// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/alarms/RunAlarms>

#include <host/alarms/Lookout>

namespace ostra {

void
RunAlarms::start( StartRecord const& record, StateView const& state ) {
   sink_.start( record, state );
}

void
RunAlarms::write( Milliseconds at, WriteRecord const& record ) {
   if ( isOver_ ) {
      return;
   }
   if ( record.path.front() == mount::mlagissuCause ) {
      std::string const& port = record.path.back();
      if ( !record.value.is_null() ) {
         released_.erase( port );
      } else if ( at == takenOutAt_ && takenOut_.contains( port ) ) {
         released_.insert( port );
      }
   }
   sink_.write( at, record );
}

void
RunAlarms::event( Milliseconds at, EventRecord const& record ) {
   Json const patch = record.patch();
   takenOut_.clear();
   takenOutAt_ = at;
   Json const& ports = memberAt( patch, { mount::mlagissuCause, "intfStatus" } );
   for ( auto const& [ port, value ] : ports.items() ) {
      if ( value.is_null() ) {
         takenOut_.insert( port );
      }
   }
   Json const& statuses = memberAt( patch, { mount::ethPhyIntfStatus, "intfStatus" } );
   for ( auto const& [ port, value ] : statuses.items() ) {
      if ( value.is_null() ) {
         takenOut_.erase( port );
         released_.erase( port );
      }
   }
   sink_.event( at, { record.index, [ &patch ] { return Json( patch ); }, record.label } );
}

void
RunAlarms::log( Milliseconds at, LogMessageRecord const& record ) {
   if ( !isOver_ ) {
      sink_.log( at, record );
   }
}

void
RunAlarms::trace( Milliseconds at, TraceLineRecord const& record ) {
   if ( !isOver_ ) {
      sink_.trace( at, record );
   }
}

void
RunAlarms::end( Milliseconds at, EndRecord const& record ) {
   isOver_ = true;
   sink_.end( at, record );
}

std::vector< Alarm >
RunAlarms::look( Mounts& mounts, Agent& agent, ScenarioTime& time ) const {
   std::vector< Alarm > found;
   Lookout lookout(
      mounts, agent, { released_, {} }, [ &found ]( std::vector< Alarm > const& alarms ) {
         found = alarms;
      } );
   Scenario const present;
   VirtualPacer pacer;
   Run( { present, mounts, agent, time, lookout, pacer, [] { return true; } } ).playOn();
   return found;
}

} // namespace ostra
