// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/client/Why>

#include <host/base/Failure>
#include <host/base/JsonLine>
#include <host/client/LiveText>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cmath>
#include <map>
#include <sstream>
#include <string_view>

namespace ostra {

namespace {

Json
at( Json const& state, std::initializer_list< std::string > const& path ) {
   Json const* node = &state;
   for ( std::string const& key : path ) {
      if ( !node->is_object() || !node->contains( key ) ) {
         return nullptr;
      }
      node = &( *node )[ key ];
   }
   return *node;
}

std::string
textAt( Json const& json, std::string const& key ) {
   Json const value = at( json, { key } );
   return value.is_string() ? value.get< std::string >() : std::string();
}

// Adds changes of the MLAG state and configuration, which all ports share. Only MLAG ports
// wait in LACP standby.
void
addCommon( Json const& state, bool isMlag, std::vector< PossibleChange >& changes ) {
   static std::pair< int, char const* > const roles[] = { { 2, "mlagInactive" },
                                                          { 3, "mlagPrimary" },
                                                          { 4, "mlagSecondary" } };
   for ( auto const& [ number, name ] : roles ) {
      if ( at( state, { "mlagStatus", "mlagState" } ) != Json( number ) ) {
         changes.push_back( { { fmt::format( "mlagStatus.mlagState={}", name ) },
                              fmt::format( "the MLAG state becomes {}", name ) } );
      }
   }
   if ( at( state, { "mlagProtoStatus", "holdInSecondary" } ) == Json( true ) ) {
      changes.push_back( { { "mlagProtoStatus.holdInSecondary=false" },
                           "a secondary does not hold ports" } );
   }
   if ( at( state, { "mlagConfig", "enabled" } ) == Json( true ) ) {
      changes.push_back( { { "mlagConfig.enabled=false" }, "MLAG is disabled" } );
   }
   if ( isMlag && at( state, { "mlagConfig", "lacpStandby" } ) == Json( true ) ) {
      changes.push_back(
         { { "mlagConfig.lacpStandby=false" }, "no port-channel waits in LACP standby" } );
   }
   changes.push_back( { { "mlagConfig.reloadDelay=0", "mlagConfig.reloadDelayNonMlag=0" },
                        "there is no reload delay" } );
}

// Adds changes of the port-channel that the port is in.
void
addOfPortChannel(
   Json const& state,
   std::string const& interface,
   std::string const& portChannel,
   std::vector< PossibleChange >& changes ) {
   changes.push_back( { { fmt::format( "lagInputConfig.phyIntf.{}.lag=null", interface ) },
                        fmt::format( "the port leaves {}", portChannel ) } );
   if ( !at( state, { "mlagConfig", "intfConfig", portChannel } ).is_null() ) {
      changes.push_back( { { fmt::format( "mlagConfig.intfConfig.{}=null", portChannel ) },
                           fmt::format( "{} loses its MLAG id", portChannel ) } );
   }
   Json const id = at( state, { "mlagStatus", "systemId" } );
   Json const present = at( state, { "lacpOverride", "lagIdConfig", portChannel } );
   if ( id.is_string() && id != present ) {
      changes.push_back(
         { { fmt::format(
              "lacpOverride.lagIdConfig.{}={}", portChannel, id.get< std::string >() ) },
           "LACP is overridden with the MLAG system id" } );
   }
   if ( !present.is_null() ) {
      changes.push_back(
         { { fmt::format( "lacpOverride.lagIdConfig.{}=null", portChannel ) },
           "LACP is not overridden" } );
   }
}

// What the host says of one change.
Json
forecastOf( HostConnection const& host, Json const& port, PossibleChange const& change ) {
   Json const patch = patchOf( change );
   Json told = { { "change", fmt::format( "{}", fmt::join( change.assignments, " " ) ) },
                 { "meaning", change.meaning },
                 { "releases", nullptr },
                 { "refused", nullptr } };
   try {
      std::string const records =
         host.post( "/v1/forecast", { { "patch", patch }, { "until", 0 } } );
      told[ "releases" ] = !releaseIn( records, port ).is_null();
   } catch ( Failure const& failure ) {
      if ( failure.status() != ExitStatus::badInput ) {
         throw;
      }
      told[ "refused" ] =
         fmt::format( "{}: {}", failure.complaint().where, failure.complaint().found );
   }
   return told;
}

Json
whyJson( HostConnection const& host, std::string const& interface ) {
   Json const port = host.get( "/v1/ports/" + escapedSegment( interface ) );
   Json const summary = host.get( "/v1/summary" );
   Json const now = at( summary, { "boot", "time" } );
   Json const since = at( port, { "hold", "since" } );
   bool const isHeld = at( port, { "hold" } ).is_object();
   bool const isMlag = textAt( port, "class" ) == "mlag";
   Json why = { { "port", port },
                { "class", at( summary, { isMlag ? "mlag" : "nonMlag", "state" } ) },
                { "heldFor", nullptr },
                { "releasedIn", nullptr },
                { "changes", Json::array() } };
   if ( !isHeld ) {
      return why;
   }
   if ( now.is_number() && since.is_number() ) {
      // As exact as what is told of times elsewhere.
      double const heldFor = now.get< double >() - since.get< double >();
      why[ "heldFor" ] = toJson( std::round( heldFor * 1000 ) / 1000 );
   }
   why[ "releasedIn" ] = releaseIn( host.post( "/v1/forecast", Json::object() ), port );
   for ( PossibleChange const& change : possibleChanges( host.get( "/v1/state" ), port ) ) {
      why[ "changes" ].push_back( forecastOf( host, port, change ) );
   }
   return why;
}

} // namespace

Json
patchOf( PossibleChange const& change ) {
   Json patch = Json::object();
   for ( std::string const& assignment : change.assignments ) {
      patch.update( assignmentPatch( assignment ), true );
   }
   return patch;
}

std::vector< PossibleChange >
possibleChanges( Json const& state, Json const& port ) {
   std::vector< PossibleChange > changes;
   std::string const interface = textAt( port, "interface" );
   if ( !at( state, { "mlagissuCause", "intfStatus", interface } ).is_null() ) {
      changes.push_back(
         { { fmt::format( "mlagissuCause.intfStatus.{}=null", interface ) },
           fmt::format( "released by hand, as `ostra release {}` does", interface ) } );
   }
   addCommon( state, textAt( port, "class" ) == "mlag", changes );
   if ( std::string const portChannel = textAt( port, "portChannel" );
        !portChannel.empty() ) {
      addOfPortChannel( state, interface, portChannel, changes );
   }
   return changes;
}

Json
releaseIn( std::string const& records, Json const& port ) {
   std::string const interface = textAt( port, "interface" );
   std::string portChannel = textAt( port, "portChannel" );
   bool const isErrdisable = at( port, { "hold", "kind" } ) == Json( "errdisable" );
   Json const errdisable = { "mlagissuCause", "intfStatus", interface };
   bool isErrdisabled = isErrdisable;
   std::map< std::string, bool > standby = { { portChannel, !isErrdisable } };
   Json since = nullptr;
   std::istringstream lines( records );
   for ( std::string line; std::getline( lines, line ); ) {
      Json const record = Json::parse( line, nullptr, false );
      Json const path = at( record, { "path" } );
      Json const value = at( record, { "value" } );
      if ( path == errdisable ) {
         isErrdisabled = !value.is_null();
      }
      bool const isStandby = path.is_array() && path.size() == 4 &&
         path[ 0 ] == "lacpConfig" && path[ 3 ] == "stayInStandby";
      if ( isStandby ) {
         standby[ path[ 2 ].get< std::string >() ] = value == Json( true );
      }
      if ( at( record, { "type" } ) == Json( "end" ) ) {
         // The state at the end decides, also for a port that has changed its port-channel.
         Json const state = at( record, { "state" } );
         isErrdisabled =
            !at( state, { "mlagissuCause", "intfStatus", interface } ).is_null();
         portChannel =
            textAt( at( state, { "lagInputConfig", "phyIntf", interface } ), "lag" );
         standby[ portChannel ] =
            at( state, { "lacpConfig", "portChannel", portChannel, "stayInStandby" } ) ==
            Json( true );
      }
      bool const isHeld = isErrdisabled || standby[ portChannel ];
      since = isHeld ? Json() : since.is_null() ? at( record, { "t" } ) : since;
   }
   return since;
}

void
tellWhy( ClientOptions const& options, std::string const& interface, std::ostream& out ) {
   Json const why = whyJson( hostOf( options, "why" ), interface );
   out << ( options.isJson ? linesOf( why ) : whyText( why, Style( options.hasColour ) ) );
}

} // namespace ostra
