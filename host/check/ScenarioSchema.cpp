// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/check/ScenarioSchema>

#include <host/run/Scenario>
#include <host/state/TypeSchemas>

#include <string>
#include <string_view>

namespace ostra {

namespace {

constexpr char definitions[] = "#/$defs/";

// An interface, or a range of them.
constexpr char interfacePattern[] =
   "^(Peer)?(Ethernet|Internal|Loopback|Management|Port-Channel|Recirc|Vlan)[0-9]"
   "[0-9/,-]*(, *[A-Z][A-Za-z-]*[0-9][0-9/,-]*)*$";
constexpr char timePattern[] =
   "^-?([0-9]+:[0-5][0-9]:[0-5][0-9](\\.[0-9]{1,3})?"
   "|([0-9]+d)?([0-9]+h)?([0-9]+m)?([0-9]+(\\.[0-9]{1,3})?s)?([0-9]+ms)?)$";

Json
reference( std::string const& name ) {
   return { { "$ref", definitions + name } };
}

bool
isNumberOrInfinity( Json const& schema ) {
   Json const inf = { { "const", "inf" } };
   return schema.is_object() && schema.contains( "anyOf" ) &&
      schema.at( "anyOf" ).back() == inf;
}

// What a request may say becomes what people may write: ranges, times like 1h30m.
void
widen( Json& schema ) {
   if ( isNumberOrInfinity( schema ) ) {
      schema = reference( "delay" );
      return;
   }
   if ( !schema.is_structured() ) {
      return;
   }
   if ( schema.is_object() && schema.contains( "$ref" ) ) {
      std::string const target = schema.at( "$ref" );
      schema = reference( target.substr( target.rfind( '/' ) + 1 ) );
      return;
   }
   bool const isCollection = schema.is_object() &&
      schema.contains( "additionalProperties" ) &&
      schema.at( "additionalProperties" ).is_object();
   if ( isCollection ) {
      schema[ "propertyNames" ] = { { "pattern", interfacePattern } };
   }
   for ( auto& [ key, value ] : schema.items() ) {
      widen( value );
   }
}

Json
eventSchema( Json const& mounts ) {
   Json const child = { { "type", { "object", "null" } },
                        { "maxProperties", 0 },
                        { "description", "{} sets it, null deletes it" } };
   Json event = mounts;
   Json& properties = event[ "properties" ];
   properties[ std::string( timeKey ) ] = reference( "time" );
   properties[ std::string( labelKey ) ] = reference( "text" );
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
   Json types = Json::object();
   std::string const state = patchSchemaName( "State" );
   Json const all = stateSchemas();
   for ( auto const& [ name, schema ] : all.items() ) {
      if ( name.ends_with( patchSchemaName( "" ) ) ) {
         types[ name ] = schema;
         widen( types[ name ] );
      }
   }
   Json const mounts = types.at( state );
   types[ "event" ] = eventSchema( mounts );
   types[ "text" ] = { { "type", { "string", "number", "boolean" } } };
   types[ "time" ] = { { "description", "seconds, or like 1h30m or 01:30:00.000" },
                       { "type", { "number", "string" } },
                       { "pattern", timePattern },
                       { "minLength", 2 } };
   types[ "delay" ] = { { "description", "seconds, .inf, or like 1h30m" },
                        { "anyOf", { reference( "time" ), { { "const", "inf" } } } } };
   return {
      { "$schema", "https://json-schema.org/draft/2020-12/schema" },
      { "title", "A scenario for ostra" },
      { "type", "object" },
      { "additionalProperties", false },
      { "properties",
        { { "name", reference( "text" ) },
          { "startTime", reference( "time" ) },
          { "until", reference( "time" ) },
          { "templates", { { "type", "object" } } },
          { "mounts", reference( state ) },
          { "events", { { "type", "array" }, { "items", reference( "event" ) } } } } },
      { "$defs", std::move( types ) }
   };
}

} // namespace ostra
