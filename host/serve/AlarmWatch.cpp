// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/AlarmWatch>

#include <fmt/format.h>

#include <ostream>
#include <utility>

namespace ostra {

namespace {

constexpr Ryx::Seconds betweenLooks = 1;
constexpr Ryx::Seconds afterFailure = 30;

constexpr std::string_view raised = "raised";
constexpr std::string_view cleared = "cleared";

std::string
wordsOf( Unenforced const& unenforced ) {
   return fmt::format(
      "to be {}, but {}: {}",
      unenforced.isHold ? "held" : "released",
      unenforced.enforcement.state == Enforcement::State::failed ? "that failed"
                                                                 : "that cannot be done",
      unenforced.enforcement.error );
}

char const*
endingOf( Unenforced const& unenforced ) {
   return unenforced.enforcement.state == Enforcement::State::failed
      ? "it is tried again and again"
      : "a device that can do it";
}

} // namespace

AlarmWatch::AlarmWatch( event_base* base, LiveHost& host, Say say, ForecastLimits limits )
      : host_( host ),
        say_( std::move( say ) ),
        forecasts_( base, host.live(), limits ),
        // Another version than the present one: nothing has been looked at yet.
        version_( host.live().version() - 1 ) {}

void
AlarmWatch::endTurn() {
   if ( isLooking() || version_ == host_.live().version() ) {
      return;
   }
   if ( Ryx::now() < next_ ) {
      wakeUp_.timeIs( next_ );
      return;
   }
   wakeUp_.timeIs( Ryx::never );
   look();
}

Circumstances
AlarmWatch::circumstances() const {
   Circumstances circumstances{ host_.live().released(), {} };
   circumstances.isOfFile = [ this ]( Path const& path ) {
      return host_.live().owners().isOfFile( path );
   };
   if ( host_.driver().hasDevices() ) {
      for ( Unenforced const& unenforced : host_.reconciler().unenforced() ) {
         circumstances.notEnforced.push_back(
            { unenforced.interface, wordsOf( unenforced ), endingOf( unenforced ) } );
      }
   }
   return circumstances;
}

void
AlarmWatch::look() {
   LiveSwitch& live = host_.live();
   version_ = live.version();
   at_ = live.time().instant();
   next_ = Ryx::now() + betweenLooks;
   ++looks_;
   Scenario present;
   present.startTime = at_;
   // In the copy.
   auto const makeLookout = [ this, &live ]( std::ostream& out ) -> RecordOutput {
      auto const tellAll = [ &out ]( std::vector< Alarm > const& alarms ) {
         Json json = Json::array();
         for ( Alarm const& alarm : alarms ) {
            json.push_back( toJson( alarm ) );
         }
         out << json.dump();
      };
      return { std::make_unique< Lookout >(
                  live.mounts(), live.agent(), circumstances(), tellAll ),
               [] {} };
   };
   try {
      forecasts_.start( present, makeLookout, [ this ]( Forecasts::Outcome outcome ) {
         take( outcome );
      } );
   } catch ( Failure const& failure ) {
      failed( failure.what() );
   }
}

void
AlarmWatch::failed( std::string const& why ) {
   if ( !std::exchange( isFailing_, true ) ) {
      say_( fmt::format( "alarms stay as they were and are looked for later: {}", why ) );
   }
   --version_;
   next_ = Ryx::now() + afterFailure;
   wakeUp_.timeIs( next_ );
}

void
AlarmWatch::take( Forecasts::Outcome const& outcome ) {
   if ( outcome.problem ) {
      failed( fmt::format( "{}: {}", outcome.problem->where, outcome.problem->found ) );
      return;
   }
   if ( std::exchange( isFailing_, false ) ) {
      say_( "alarms are looked for again" );
   }
   if ( outcome.records == said_ ) {
      return;
   }
   said_ = outcome.records;
   std::vector< Alarm > found;
   for ( Json const& json : Json::parse( said_ ) ) {
      found.push_back( alarmOf( json ) );
   }
   auto const changes = host_.alarmsAre( std::move( found ), at_ );
   for ( Alarm const& alarm : changes.cleared ) {
      tell( cleared, alarm );
   }
   for ( Alarm const& alarm : changes.raised ) {
      tell( raised, alarm );
   }
   // What is told of the switch has changed, the switch itself has not.
   bool const isCurrent = version_ == host_.live().version();
   host_.live().touch();
   if ( isCurrent ) {
      version_ = host_.live().version();
   }
}

void
AlarmWatch::tell( std::string_view state, Alarm const& alarm ) {
   Json record = { { "type", "alarm" }, { "state", state } };
   record.update( toJson( alarm ) );
   host_.live().records().add( record );
   std::string line =
      fmt::format( "alarm {}: {} {}", state, nameOf( alarm.kind ), alarm.interface );
   if ( state == raised ) {
      line += fmt::format( ": {}; what ends it: {}", alarm.text, alarm.ending );
   }
   say_( line );
}

} // namespace ostra
