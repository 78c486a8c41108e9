// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <model/History>

#include <algorithm>
#include <array>

namespace model {

namespace {

Json
seconds( double value ) {
   return isNever( value ) ? Json( "inf" ) : Json( value );
}

Json
reference( Id const& id ) {
   return id ? Json( id.name ) : Json();
}

Json
fallbackOf( int state ) {
   return { { "adminEnabledStateLocal", state } };
}

// An object, also when nothing is in it.
template< class T, class Show >
Json
table( Table< T > const& entries, Show const& show ) {
   Json json = Json::object();
   for ( auto const& [ key, value ] : entries ) {
      json[ key.name ] = show( value );
   }
   return json;
}

Json
names( Ids const& ids, Json const& value ) {
   Json json = Json::object();
   for ( Id const& id : ids ) {
      json[ id.name ] = value;
   }
   return json;
}

Json
statuses( Table< StatusRef > const& dir ) {
   return { { "intfStatus", table( dir, []( StatusRef const& status ) {
                 return Json{ { "linkStatus", status.object->linkStatus } };
              } ) } };
}

Json
configOf( MlagConfig const& config ) {
   return { { "enabled", config.enabled },
            { "domainId", config.domainId },
            { "localInterface", reference( config.localInterface ) },
            { "peerAddress", config.peerAddress },
            { "peerLinkIntf", reference( config.peerLinkIntf ) },
            { "reloadDelay", seconds( config.reloadDelay ) },
            { "reloadDelayNonMlagConfigured", config.reloadDelayNonMlagConfigured },
            { "reloadDelayNonMlag", seconds( config.reloadDelayNonMlag ) },
            { "lacpStandby", config.lacpStandby },
            { "intfConfig", table( config.intfConfig, []( std::string const& mlagId ) {
                 return Json{ { "mlagId", mlagId } };
              } ) } };
}

Json
portConfig( PortConfig const& config ) {
   Json json{ { "adminEnabledStateLocal", config.adminEnabledStateLocal } };
   if ( config.fallback ) {
      json[ "defaultConfig" ] = fallbackOf( *config.fallback );
   }
   return json;
}

} // namespace

Json
mountsOf( Mounts const& mounts ) {
   auto const asItIs = []( auto const& value ) { return Json( value ); };
   Json json;
   json[ "mlagConfig" ] = configOf( mounts.mlagConfig );
   json[ "mlagStatus" ] = { { "mlagState", mounts.mlagState },
                            { "systemId", mounts.systemId } };
   json[ "mlagProtoStatus" ] = { { "portsErrdisabled", mounts.portsErrdisabled },
                                 { "portsErrdisabledWhen",
                                   seconds( mounts.portsErrdisabledWhen ) },
                                 { "holdInSecondary", mounts.holdInSecondary } };
   json[ "ethPhyIntfStatus" ][ "intfStatus" ] =
      names( mounts.ethPhyIntfStatus, Json::object() );
   json[ "ethPhyIntfConfig" ][ "intfConfig" ] =
      table( mounts.ethPhyIntfConfig, portConfig );
   json[ "lagInputIntfStatus" ] = statuses( mounts.lagInputIntfStatus );
   json[ "lacpOverride" ][ "lagIdConfig" ] = table( mounts.lagIdConfig, asItIs );
   json[ "lagInputConfig" ][ "phyIntf" ] =
      table( mounts.phyIntf, []( Membership const& member ) {
         return Json{ { "lag", reference( member.lag ) }, { "mode", member.mode } };
      } );
   json[ "lacpConfig" ][ "portChannel" ] = table( mounts.lacpConfig, []( bool stays ) {
      return Json{ { "stayInStandby", stays } };
   } );
   json[ "mlagissuCause" ][ "intfStatus" ] = table( mounts.mlagissuCause, asItIs );
   json[ "igmpsnoopingConfig" ][ "forceEnabledPorts" ] =
      names( mounts.forceEnabledPorts, true );
   json[ "peerIntfStatusDir" ] = statuses( mounts.peerIntfStatus );
   json[ "ethIntfStatusDir" ] = statuses( mounts.ethIntfStatus );
   json[ "allIntfStatusDir" ] = statuses( mounts.allIntfStatus );
   return json;
}

namespace {

// Where an attribute is mounted; for an attribute of a collection's members, also which.
struct Place {
   char const* mount;
   char const* attribute;
   char const* field;
};

Place
placeOf( Attribute attribute ) {
   static constexpr std::array places{
      Place{ "mlagConfig", "enabled", "" },
      Place{ "mlagConfig", "domainId", "" },
      Place{ "mlagConfig", "localInterface", "" },
      Place{ "mlagConfig", "peerAddress", "" },
      Place{ "mlagConfig", "peerLinkIntf", "" },
      Place{ "mlagConfig", "intfConfig", "mlagId" },
      Place{ "mlagConfig", "reloadDelay", "" },
      Place{ "mlagConfig", "reloadDelayNonMlagConfigured", "" },
      Place{ "mlagConfig", "reloadDelayNonMlag", "" },
      Place{ "mlagConfig", "lacpStandby", "" },
      Place{ "mlagStatus", "mlagState", "" },
      Place{ "mlagStatus", "systemId", "" },
      Place{ "mlagProtoStatus", "portsErrdisabled", "" },
      Place{ "mlagProtoStatus", "portsErrdisabledWhen", "" },
      Place{ "mlagProtoStatus", "holdInSecondary", "" },
      Place{ "ethPhyIntfStatus", "intfStatus", "" },
      Place{ "ethPhyIntfConfig", "intfConfig", "adminEnabledStateLocal" },
      Place{ "ethPhyIntfConfig", "intfConfig", "defaultConfig" },
      Place{ "lagInputIntfStatus", "intfStatus", "linkStatus" },
      Place{ "lacpOverride", "lagIdConfig", "" },
      Place{ "mlagissuCause", "intfStatus", "" },
      Place{ "igmpsnoopingConfig", "forceEnabledPorts", "" },
      Place{ "lagInputConfig", "phyIntf", "" },
      Place{ "lacpConfig", "portChannel", "stayInStandby" },
      Place{ "peerIntfStatusDir", "intfStatus", "linkStatus" },
      Place{ "ethIntfStatusDir", "intfStatus", "linkStatus" },
      Place{ "allIntfStatusDir", "intfStatus", "" },
   };
   return places.at( static_cast< std::size_t >( attribute ) );
}

Json
valueOf( Change const& change ) {
   switch ( change.attribute ) {
   case Attribute::enabled:
   case Attribute::reloadDelayNonMlagConfigured:
   case Attribute::lacpStandby:
   case Attribute::portsErrdisabled:
   case Attribute::holdInSecondary:
   case Attribute::lacpConfig:
      return change.flag();
   case Attribute::localInterface:
   case Attribute::peerLinkIntf:
      return reference( change.reference );
   case Attribute::domainId:
   case Attribute::peerAddress:
   case Attribute::systemId:
   case Attribute::lagIdConfig:
   case Attribute::mlagIntfConfig:
      return change.text;
   case Attribute::ethPhyIntfStatus:
   case Attribute::allIntfStatus:
      return Json::object();
   case Attribute::forceEnabledPorts:
      return true;
   case Attribute::phyIntf:
      return { { "lag", reference( change.reference ) }, { "mode", change.integer() } };
   case Attribute::defaultConfig:
      return change.removes ? Json() : fallbackOf( change.integer() );
   default:
      return seconds( change.number );
   }
}

Json
eventBy( Change const& change ) {
   Place const place = placeOf( change.attribute );
   bool const goes = change.removes && change.attribute != Attribute::defaultConfig;
   Json value = goes ? Json() : valueOf( change );
   if ( !goes && *place.field ) {
      value = Json{ { place.field, value } };
   }
   if ( change.key ) {
      value = Json{ { change.key.name, value } };
   }
   return { { place.mount, { { place.attribute, value } } } };
}

Json
eventBy( AgentStep step ) {
   Json const set = Json::object();
   switch ( step ) {
   case AgentStep::setAll:
      return { { "agent", set } };
   case AgentStep::setPeerReactor:
      return { { "agent", { { "ethPeerIntfStatusReactor", set } } } };
   case AgentStep::setMachine:
      return { { "agent", { { "mlagErrdisableSm", set } } } };
   case AgentStep::delPeerReactor:
      return { { "agent", { { "ethPeerIntfStatusReactor", nullptr } } } };
   case AgentStep::delMachine:
      return { { "agent", { { "mlagErrdisableSm", nullptr } } } };
   default:
      return { { "agent", nullptr } };
   }
}

Json
eventOf( Step const& step ) {
   auto const* change = std::get_if< Change >( &step );
   return change ? eventBy( *change ) : eventBy( std::get< AgentStep >( step ) );
}

double
secondsOf( std::int64_t ms ) {
   return static_cast< double >( ms ) / 1000.0;
}

Json
pathOf( Record const& record ) {
   std::string const& key = record.key.name;
   switch ( record.output ) {
   case Output::cause:
      return { "mlagissuCause", "intfStatus", key };
   case Output::forceEnabledPorts:
      return { "igmpsnoopingConfig", "forceEnabledPorts", key };
   case Output::portChannel:
      return { "lacpConfig", "portChannel", key };
   case Output::stayInStandby:
      return { "lacpConfig", "portChannel", key, "stayInStandby" };
   case Output::ethIntfStatus:
      return { "ethIntfStatusDir", "intfStatus", key };
   case Output::allIntfStatus:
      return { "allIntfStatusDir", "intfStatus", key };
   default:
      return { "mlagProtoStatus", nameOf( record.output ) };
   }
}

Json
writtenValue( Record const& record ) {
   if ( !record.value ) {
      return nullptr;
   }
   switch ( record.output ) {
   case Output::portsErrdisabledWhen:
   case Output::cause:
      return seconds( *record.value );
   case Output::portChannel:
      return { { "stayInStandby", *record.value != 0 } };
   case Output::ethIntfStatus:
   case Output::allIntfStatus:
      return "present";
   default:
      return *record.value != 0;
   }
}

} // namespace

Json
scenarioOf( History const& history ) {
   Json scenario;
   scenario[ "name" ] = "a random scenario";
   scenario[ "startTime" ] = secondsOf( history.bootMs );
   scenario[ "until" ] = secondsOf( history.endMs - history.bootMs );
   scenario[ "mounts" ] = mountsOf( history.boot );
   scenario[ "events" ] = Json::array();
   for ( Happening const& happening : history.events ) {
      Json event{ { "at", secondsOf( happening.ms - history.bootMs ) } };
      event.update( eventOf( happening.what ) );
      scenario[ "events" ].push_back( event );
   }
   return scenario;
}

std::vector< Json >
streamOf( History const& history ) {
   std::vector< Json > stream;
   for ( Record const& record : history.journal ) {
      Json json{ { "t", secondsOf( record.ms - history.bootMs ) } };
      if ( record.output == Output::log ) {
         json[ "type" ] = "log";
         json[ "text" ] = record.text;
      } else {
         json[ "type" ] = "write";
         json[ "path" ] = pathOf( record );
         json[ "value" ] = writtenValue( record );
      }
      stream.push_back( json );
   }
   return stream;
}

Json
comparable( Json record ) {
   if ( record.at( "type" ) == "log" ) {
      record.erase( "id" );
      record.erase( "severity" );
      return record;
   }
   Json const& mount = record.at( "path" ).at( 0 );
   if (
      ( mount == "ethIntfStatusDir" || mount == "allIntfStatusDir" ) &&
      !record.at( "value" ).is_null() ) {
      record[ "value" ] = "present";
   }
   return record;
}

} // namespace model
