// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/client/Why>

#include <host/base/Failure>
#include <host/base/IntfRanges>
#include <host/base/JsonLine>
#include <host/base/ParsedJson>
#include <host/client/LiveText>
#include <host/client/PortHistory>
#include <host/state/MountTable>

#include <Mlag/MlagState>
#include <Ryx/Exception>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cmath>
#include <map>
#include <sstream>
#include <string_view>

namespace ostra {

namespace {

using Kovel::IntfId;

std::string
textAt( Json const& json, std::string const& key ) {
   Json const value = memberAt( json, { key } );
   return value.is_string() ? value.get< std::string >() : std::string();
}

// As `ostra set` takes it.
std::string
assignment( char const* mountName, std::string_view rest ) {
   return fmt::format( "{}.{}", mountName, rest );
}

// Adds changes of the MLAG state and configuration, which all ports share. Only MLAG ports
// wait in LACP standby.
void
addCommon( Json const& state, bool isMlag, std::vector< PossibleChange >& changes ) {
   using Mlag::MlagState;
   for ( MlagState const role :
         { MlagState::mlagInactive, MlagState::mlagPrimary, MlagState::mlagSecondary } ) {
      if (
         memberAt( state, { mount::mlagStatus, "mlagState" } ) !=
         Json( static_cast< int >( role ) ) ) {
         std::string const name = Ryx::valueToStrep( role );
         changes.push_back( { { fmt::format( "{}.mlagState={}", mount::mlagStatus, name ) },
                              fmt::format( "the MLAG state becomes {}", name ) } );
      }
   }
   if ( memberAt( state, { mount::mlagProtoStatus, "holdInSecondary" } ) == Json( true ) ) {
      changes.push_back(
         { { assignment( mount::mlagProtoStatus, "holdInSecondary=false" ) },
           "a secondary does not hold ports" } );
   }
   if ( memberAt( state, { mount::mlagConfig, "enabled" } ) == Json( true ) ) {
      changes.push_back(
         { { assignment( mount::mlagConfig, "enabled=false" ) }, "MLAG is disabled" } );
   }
   if (
      isMlag && memberAt( state, { mount::mlagConfig, "lacpStandby" } ) == Json( true ) ) {
      changes.push_back( { { assignment( mount::mlagConfig, "lacpStandby=false" ) },
                           "no port-channel waits in LACP standby" } );
   }
   changes.push_back( { { assignment( mount::mlagConfig, "reloadDelay=0" ),
                          assignment( mount::mlagConfig, "reloadDelayNonMlag=0" ) },
                        "there is no reload delay" } );
}

// Adds changes of the port-channel that the port is in.
void
addOfPortChannel(
   Json const& state,
   std::string const& interface,
   std::string const& portChannel,
   std::vector< PossibleChange >& changes ) {
   changes.push_back(
      { { fmt::format( "{}.phyIntf.{}.lag=null", mount::lagInputConfig, interface ) },
        fmt::format( "the port leaves {}", portChannel ) } );
   if ( !memberAt( state, { mount::mlagConfig, "intfConfig", portChannel } ).is_null() ) {
      changes.push_back(
         { { fmt::format( "{}.intfConfig.{}=null", mount::mlagConfig, portChannel ) },
           fmt::format( "{} loses its MLAG id", portChannel ) } );
   }
   Json const id = memberAt( state, { mount::mlagStatus, "systemId" } );
   Json const present =
      memberAt( state, { mount::lacpOverride, "lagIdConfig", portChannel } );
   if ( id.is_string() && id != present ) {
      changes.push_back( { { fmt::format(
                              "{}.lagIdConfig.{}={}",
                              mount::lacpOverride,
                              portChannel,
                              id.get< std::string >() ) },
                           "LACP is overridden with the MLAG system id" } );
   }
   if ( !present.is_null() ) {
      changes.push_back(
         { { fmt::format( "{}.lagIdConfig.{}=null", mount::lacpOverride, portChannel ) },
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

IntfId
interfaceOf( std::string const& name ) {
   try {
      return IntfId( name );
   } catch ( Ryx::RangeException const& error ) {
      throw Failure(
         ExitStatus::badInput, "ostra why: " + shortenedIn( error.message(), name ) );
   }
}

// What stands there; null where the host says that nothing does.
Json
askedFor( HostConnection const& host, std::string const& target ) {
   try {
      return host.get( target );
   } catch ( Failure const& failure ) {
      if ( failure.status() != ExitStatus::badInput ) {
         throw;
      }
      return nullptr;
   }
}

std::vector< IntfId >
portsOf( HostConnection const& host ) {
   std::vector< IntfId > ports;
   for ( Json const& port : host.get( "/v1/ports" ) ) {
      ports.emplace_back( textAt( port, "interface" ) );
   }
   return ports;
}

[[noreturn]] void
refuseForItsMembers( HostConnection const& host, std::string const& portChannel ) {
   std::vector< IntfId > ports;
   std::vector< IntfId > members;
   for ( Json const& port : host.get( "/v1/ports" ) ) {
      ports.emplace_back( textAt( port, "interface" ) );
      if ( textAt( port, "portChannel" ) == portChannel ) {
         members.push_back( ports.back() );
      }
   }
   refusePortChannel( portChannel, members, ports );
}

// Of a port that is not there.
Json
whyOfAbsent( HostConnection const& host, std::string const& interface ) {
   Json const membership = askedFor(
      host,
      fmt::format(
         "/v1/state/{}/phyIntf/{}", mount::lagInputConfig, escapedSegment( interface ) ) );
   Json const portChannel = memberAt( membership, { "lag" } );
   auto const history = portHistory( host, interface, textAt( membership, "lag" ) );
   if ( history.lastTold().empty() ) {
      throw Failure(
         ExitStatus::badInput,
         fmt::format(
            "ostra why: {}: never seen since {}, where history begins: expected {}",
            inQuotes( interface ),
            history.begin(),
            portAmong( portsOf( host ) ) ) );
   }
   bool const isDated = !history.goneAt().empty();
   std::string const reason = isDated
      ? "gone"
      : "not there; history does not say since when, and tells of it last at " +
         history.lastTold();
   return { { "port",
              { { "interface", interface },
                { "class", nullptr },
                { "portChannel", portChannel },
                { "hold", nullptr },
                { "reason", reason } } },
            { "class", nullptr },
            { "goneAt", isDated ? Json( history.goneAt() ) : Json() },
            { "lastHold", history.lastHold() },
            { "heldFor", nullptr },
            { "releasedIn", nullptr },
            { "changes", Json::array() } };
}

Json
whyJson( HostConnection const& host, std::string const& interface ) {
   if ( interfaceOf( interface ).kind() == IntfId::Kind::portChannel ) {
      refuseForItsMembers( host, interface );
   }
   Json const port = askedFor( host, "/v1/ports/" + escapedSegment( interface ) );
   if ( port.is_null() ) {
      return whyOfAbsent( host, interface );
   }
   Json const summary = host.get( "/v1/summary" );
   Json const now = memberAt( summary, { "boot", "time" } );
   Json const since = memberAt( port, { "hold", "since" } );
   bool const isHeld = memberAt( port, { "hold" } ).is_object();
   bool const isMlag = textAt( port, "class" ) == "mlag";
   Json why = { { "port", port },
                { "class", memberAt( summary, { isMlag ? "mlag" : "nonMlag", "state" } ) },
                { "goneAt", nullptr },
                { "lastHold", nullptr },
                { "heldFor", nullptr },
                { "releasedIn", nullptr },
                { "changes", Json::array() } };
   if ( !isHeld ) {
      why[ "lastHold" ] =
         portHistory( host, interface, textAt( port, "portChannel" ) ).lastHold();
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

std::string
portAmong( std::vector< IntfId > const& ports ) {
   return "a port; there are " +
      ( ports.empty() ? "none" : shortened( intfRanges( ports ) ) );
}

void
refusePortChannel(
   std::string const& portChannel,
   std::vector< IntfId > const& members,
   std::vector< IntfId > const& ports ) {
   throw Failure(
      ExitStatus::badInput,
      fmt::format(
         "ostra why: {}: a port-channel, and it is ports that are held: expected {}",
         inQuotes( portChannel ),
         members.empty() ? portAmong( ports )
                         : "one that is in it: " + shortened( intfRanges( members ) ) ) );
}

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
   if ( !memberAt( state, { mount::mlagissuCause, "intfStatus", interface } ).is_null() ) {
      changes.push_back(
         { { fmt::format( "{}.intfStatus.{}=null", mount::mlagissuCause, interface ) },
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
   bool const isErrdisable = memberAt( port, { "hold", "kind" } ) == Json( "errdisable" );
   Json const errdisable = { mount::mlagissuCause, "intfStatus", interface };
   bool isErrdisabled = isErrdisable;
   std::map< std::string, bool > standby = { { portChannel, !isErrdisable } };
   Json since = nullptr;
   std::istringstream lines( records );
   for ( std::string line; std::getline( lines, line ); ) {
      Json const record = parsedJson( line );
      Json const path = memberAt( record, { "path" } );
      Json const value = memberAt( record, { "value" } );
      if ( path == errdisable ) {
         isErrdisabled = !value.is_null();
      }
      bool const isStandby = path.is_array() && path.size() == 4 &&
         path[ 0 ] == mount::lacpConfig && path[ 3 ] == "stayInStandby";
      if ( isStandby ) {
         standby[ path[ 2 ].get< std::string >() ] = value == Json( true );
      }
      if ( memberAt( record, { "type" } ) == Json( "end" ) ) {
         // The state at the end decides, also for a port that has changed its port-channel.
         Json const state = memberAt( record, { "state" } );
         isErrdisabled =
            !memberAt( state, { mount::mlagissuCause, "intfStatus", interface } ).is_null();
         portChannel = textAt(
            memberAt( state, { mount::lagInputConfig, "phyIntf", interface } ), "lag" );
         standby[ portChannel ] =
            memberAt(
               state,
               { mount::lacpConfig, "portChannel", portChannel, "stayInStandby" } ) ==
            Json( true );
      }
      bool const isHeld = isErrdisabled || standby[ portChannel ];
      since = isHeld ? Json() : since.is_null() ? memberAt( record, { "t" } ) : since;
   }
   return since;
}

void
tellWhy( ClientOptions const& options, std::string const& interface, std::ostream& out ) {
   Json const why = whyJson( hostOf( options, "why" ), interface );
   out
      << ( options.isJson ? linesOf( why )
                          : whyText( why, Style( options.hasColour ), options.width ) );
}

} // namespace ostra
