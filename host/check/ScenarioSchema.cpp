// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/check/ScenarioSchema>

#include <host/base/Milliseconds>
#include <host/check/StateDefinitions>
#include <host/run/Scenario>
#include <host/state/TypeSchemas>

#include <string>
#include <string_view>

namespace ostra {

namespace {

constexpr char timePattern[] =
   "([0-9]+:[0-5][0-9]:[0-5][0-9](\\.[0-9]{1,3})?"
   "|([0-9]+d)?([0-9]+h)?([0-9]+m)?([0-9]+(\\.[0-9]{1,3})?s)?([0-9]+ms)?)$";

Json
timeSchema( bool isSigned ) {
   return { { "description", "seconds, or like 1h30m or 01:30:00.000" },
            { "type", { "number", "string" } },
            { "pattern", ( isSigned ? "^-?" : "^" ) + std::string( timePattern ) },
            { "minLength", 2 } };
}

// From `least`, in seconds, to the greatest that there is.
Json
instantSchema( double least ) {
   Json schema = timeSchema( least < 0 );
   schema[ "minimum" ] = toJson( least );
   schema[ "maximum" ] = toJson( secondsOf( lastScenarioInstant ) );
   return schema;
}

Json
eventSchema( Json const& mounts ) {
   Json const child = { { "type", { "object", "null" } },
                        { "maxProperties", 0 },
                        { "description", "{} sets it, null deletes it" } };
   Json event = mounts;
   Json& properties = event[ "properties" ];
   properties[ std::string( timeKey ) ] = definitionReference( "instant" );
   properties[ std::string( labelKey ) ] = definitionReference( "text" );
   properties[ std::string( agentKey ) ] = {
      { "description", "{} sets it up with its children, null tears it down" },
      { "type", { "object", "null" } },
      { "additionalProperties", false },
      { "properties",
        { { "ethPeerIntfStatusReactor", child }, { "mlagErrdisableSm", child } } }
   };
   event[ "required" ] = Json::array( { timeKey } );
   return event;
}

} // namespace

Json
scenarioSchema() {
   Json types = stateDefinitions( Spelling::scenario );
   std::string const state = patchSchemaName( "State" );
   Json const mounts = types.at( state );
   types[ "event" ] = eventSchema( mounts );
   types[ "text" ] = { { "type", { "string", "number", "boolean" } } };
   types[ "time" ] = timeSchema( true );
   types[ "instant" ] = instantSchema( 0 );
   types[ "delay" ] = { { "description", "seconds, .inf, or like 1h30m" },
                        { "anyOf",
                          { definitionReference( "time" ), { { "const", "inf" } } } } };
   return {
      { "$schema", "https://json-schema.org/draft/2020-12/schema" },
      { "title", "A scenario for ostra" },
      { "type", "object" },
      { "additionalProperties", false },
      { "properties",
        { { "name", definitionReference( "text" ) },
          { "startTime", instantSchema( secondsOf( -lastScenarioInstant ) ) },
          { "until", definitionReference( "instant" ) },
          { "templates", { { "type", "object" } } },
          { "mounts", definitionReference( state ) },
          { "events",
            { { "type", "array" }, { "items", definitionReference( "event" ) } } } } },
      { "$defs", std::move( types ) }
   };
}

} // namespace ostra
