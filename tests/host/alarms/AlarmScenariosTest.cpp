// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Alarms of random scenarios, beside what a scenario that goes on shows: none is raised that
// does not come true, and none is missing. How many there are, and the first seed, may be set:
// OSTRA_ALARM_SCENARIOS, OSTRA_ALARM_SEED.

#include "PlayedAlarms"
#include "RandomLife"
#include "serve/AlarmedProcess"

#include <host/base/Environment>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

namespace ostra {

namespace {

using Names = std::set< std::string >;

unsigned
numberIn( char const* variable, unsigned otherwise ) {
   std::string const text( environment( variable ) );
   return text.empty() ? otherwise : static_cast< unsigned >( std::stoul( text ) );
}

Names
keysOf( Json const& map ) {
   Names keys;
   for ( auto const& [ key, value ] : map.items() ) {
      keys.insert( key );
   }
   return keys;
}

Names
errdisabled( Json const& state ) {
   return keysOf( memberAt( state, { "mlagissuCause", "intfStatus" } ) );
}

Names
inStandby( Json const& state ) {
   Names names;
   Json const& all = memberAt( state, { "lacpConfig", "portChannel" } );
   for ( auto const& [ name, portChannel ] : all.items() ) {
      if ( portChannel.at( "stayInStandby" ) == Json( true ) ) {
         names.insert( name );
      }
   }
   return names;
}

std::string
textAt( Json const& state, std::initializer_list< std::string_view > path ) {
   Json const& value = memberAt( state, path );
   return value.is_string() ? value.get< std::string >() : std::string();
}

std::string
lagOf( Json const& state, std::string const& port ) {
   return textAt( state, { "lagInputConfig", "phyIntf", port, "lag" } );
}

bool
isInPeerLink( Json const& state, std::string const& port ) {
   std::string const peerLink = textAt( state, { "mlagConfig", "peerLinkIntf" } );
   return !peerLink.empty() && ( port == peerLink || lagOf( state, port ) == peerLink );
}

Names
heldInPeerLink( PlayedAlarms const& played ) {
   Names names;
   for ( std::string const& port : errdisabled( played.state ) ) {
      if ( played.hasMachine && isInPeerLink( played.state, port ) ) {
         names.insert( port );
      }
   }
   return names;
}

bool
isShutDown( Json const& state, std::string const& port ) {
   return memberAt(
             state,
             { "ethPhyIntfConfig", "intfConfig", port, "adminEnabledStateLocal" } ) ==
      Json( 2 );
}

// Whether an event takes the port out of the cause.
bool
isTakenOut( Json const& scenario, std::string const& port ) {
   Json const& events = scenario.at( "events" );
   return std::any_of( events.begin(), events.end(), [ & ]( Json const& event ) {
      Json const& ports = memberAt( event, { "mlagissuCause", "intfStatus" } );
      return ports.is_object() && ports.contains( port ) && ports.at( port ).is_null();
   } );
}

// Without those that somebody releases by hand at some time.
Names
missingHolds( PlayedAlarms const& played, Json const& scenario ) {
   Names names;
   Json const& state = played.state;
   Names const held = errdisabled( state );
   Names const standby = inStandby( state );
   for ( std::string const& port :
         keysOf( memberAt( state, { "ethPhyIntfStatus", "intfStatus" } ) ) ) {
      std::string const lag = lagOf( state, port );
      bool const isMlag =
         !textAt(
             state, { "mlagConfig", "intfConfig", lag.empty() ? port : lag, "mlagId" } )
             .empty();
      bool const isClassHeld = isMlag ? played.isMlagHeld : played.isNonMlagHeld;
      bool const isMissing = isClassHeld && !held.contains( port ) &&
         !standby.contains( lag ) && !isInPeerLink( state, port ) &&
         !isShutDown( state, port ) && !isTakenOut( scenario, port );
      if ( isMissing ) {
         names.insert( port );
      }
   }
   return names;
}

// Of those ports, the ones that are held when they are taken away and come back at the run's
// end, without the override of their port-channels.
Names
heldWhenTheyComeBack( Json scenario, Json const& state, Names const& ports ) {
   Json away = Json::object();
   Json back = Json::object();
   Json overrides = Json::object();
   for ( std::string const& port : ports ) {
      away[ port ] = nullptr;
      back[ port ] = Json::object();
      if ( std::string const lag = lagOf( state, port ); !lag.empty() ) {
         overrides[ lag ] = nullptr;
      }
   }
   Json const until = scenario.at( "until" );
   scenario[ "events" ].push_back( { { "at", until },
                                     { "lacpOverride", { { "lagIdConfig", overrides } } },
                                     { "ethPhyIntfStatus", { { "intfStatus", away } } } } );
   scenario[ "events" ].push_back(
      { { "at", until }, { "ethPhyIntfStatus", { { "intfStatus", back } } } } );
   Names held = errdisabled( playAlarms( scenario.dump() ).state );
   std::erase_if(
      held, [ & ]( std::string const& port ) { return !ports.contains( port ); } );
   return held;
}

// Those of a run that goes on, and in which the links come up when everything is over.
Names
forcedForGood( Json scenario, Json const& state ) {
   Names const forced =
      keysOf( memberAt( state, { "igmpsnoopingConfig", "forceEnabledPorts" } ) );
   Names candidates = forced;
   for ( std::string const& port : errdisabled( state ) ) {
      candidates.erase( lagOf( state, port ) );
   }
   if ( candidates.empty() ) {
      return {};
   }
   Json links = Json::object();
   for ( std::string const& portChannel : candidates ) {
      links[ portChannel ] = { { "linkStatus", 2 } };
   }
   scenario.erase( "until" );
   scenario[ "events" ].push_back(
      { { "at", 100'000 }, { "lagInputIntfStatus", { { "intfStatus", links } } } } );
   Json const end = playAlarms( scenario.dump() ).state;
   for ( auto it = candidates.begin(); it != candidates.end(); ) {
      bool const isForced =
         !memberAt( end, { "igmpsnoopingConfig", "forceEnabledPorts", *it } ).is_null();
      it = isForced ? std::next( it ) : candidates.erase( it );
   }
   return candidates;
}

struct Counts {
   std::size_t scenarios = 0;
   std::map< AlarmKind, std::size_t > alarms;
};

void
playRandomly( unsigned seed, Counts& counts ) {
   SCOPED_TRACE( fmt::format( "seed {}", seed ) );
   Dice dice( seed );
   Json scenario = someScenario( dice );
   std::string const text = scenario.dump();
   PlayedAlarms const played = playAlarms( text );
   Json further = scenario;
   further.erase( "until" );
   Json const end = playAlarms( further.dump() ).state;

   EXPECT_EQ( played.of( AlarmKind::heldWithoutEnd ), errdisabled( end ) ) << text;
   EXPECT_EQ( played.of( AlarmKind::standbyWithoutEnd ), inStandby( end ) ) << text;
   EXPECT_EQ( played.of( AlarmKind::peerLinkHeld ), heldInPeerLink( played ) ) << text;
   Names notHeld = played.of( AlarmKind::notHeld );
   std::erase_if(
      notHeld, [ & ]( std::string const& port ) { return isTakenOut( scenario, port ); } );
   Names missing = missingHolds( played, scenario );
   if ( !missing.empty() ) {
      missing = heldWhenTheyComeBack( scenario, played.state, missing );
   }
   EXPECT_EQ( notHeld, missing ) << text;
   EXPECT_EQ(
      played.of( AlarmKind::snoopingWithoutPort ), forcedForGood( scenario, played.state ) )
      << text;
   ++counts.scenarios;
   for ( Alarm const& alarm : played.alarms ) {
      ++counts.alarms[ alarm.kind ];
   }
}

} // namespace

TEST( AlarmScenarios, RaiseWhatComesTrueAndNothingElse ) {
   unsigned const first = numberIn( "OSTRA_ALARM_SEED", 1 );
   unsigned const scenarios = numberIn( "OSTRA_ALARM_SCENARIOS", 400 );
   Counts counts;
   for ( unsigned seed = first; seed < first + scenarios && !HasFailure(); ++seed ) {
      playRandomly( seed, counts );
   }
   for ( AlarmKind const kind : alarmKinds ) {
      fmt::print( "{} alarms {}\n", counts.alarms[ kind ], nameOf( kind ) );
      // The driver has no part in a run.
      EXPECT_EQ( counts.alarms[ kind ] == 0, kind == AlarmKind::notEnforced );
   }
   fmt::print( "{} scenarios\n", counts.scenarios );
}

TEST( AlarmScenarios, RaiseOnALiveSwitchWhatComesTrue ) {
   for ( unsigned seed = 1; seed <= 60 && !HasFailure(); ++seed ) {
      SCOPED_TRACE( fmt::format( "seed {}", seed ) );
      Dice dice( seed );
      Json const scenario = someScenario( dice );
      NoDriver driver;
      AlarmedProcess process( driver );
      process.start();
      Scenario const played = process.setUp( scenario.dump() );
      process.playUntil( played, *played.until );
      // By then it has looked at what the last event has left.
      process.pass( 1000 );
      Names standby;
      Names held;
      for ( Alarm const& alarm : process.host().alarms().alarms() ) {
         if ( alarm.kind == AlarmKind::heldWithoutEnd ) {
            held.insert( alarm.interface );
         } else if ( alarm.kind == AlarmKind::standbyWithoutEnd ) {
            standby.insert( alarm.interface );
         }
      }
      while ( std::isfinite( Ryx::activityManager()->clock()->nextTimeMin() ) ) {
         process.pass( 1000 );
      }
      Json const end = process.host().live().mounts().state();
      EXPECT_EQ( held, errdisabled( end ) ) << scenario;
      EXPECT_EQ( standby, inStandby( end ) ) << scenario;
   }
}

} // namespace ostra
