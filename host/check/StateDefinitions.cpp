// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/check/StateDefinitions>

#include <host/state/TypeSchemas>

namespace ostra {

namespace {

constexpr char definitions[] = "#/$defs/";

constexpr char namePattern[] =
   "^(Peer)?(Ethernet|Internal|Loopback|Management|Port-Channel|Recirc|Vlan)[0-9]+"
   "(/[0-9]+){0,3}$";
// A name, or a range of them.
constexpr char rangePattern[] =
   "^(Peer)?(Ethernet|Internal|Loopback|Management|Port-Channel|Recirc|Vlan)[0-9]"
   "[0-9/,-]*(, *[A-Z][A-Za-z-]*[0-9][0-9/,-]*)*$";

bool
isNumberOrInfinity( Json const& schema ) {
   Json const inf = { { "const", "inf" } };
   return schema.is_object() && schema.contains( "anyOf" ) &&
      schema.at( "anyOf" ).back() == inf;
}

// What a request may say becomes what a file may.
void
adapt( Json& schema, Spelling spelling ) {
   bool const isOfScenario = spelling == Spelling::scenario;
   if ( isOfScenario && isNumberOrInfinity( schema ) ) {
      schema = definitionReference( "delay" );
      return;
   }
   if ( !schema.is_structured() ) {
      return;
   }
   if ( schema.is_object() && schema.contains( "$ref" ) ) {
      std::string const target = schema.at( "$ref" );
      schema = definitionReference( target.substr( target.rfind( '/' ) + 1 ) );
      return;
   }
   bool const isCollection = schema.is_object() &&
      schema.contains( "additionalProperties" ) &&
      schema.at( "additionalProperties" ).is_object();
   if ( isCollection ) {
      schema[ "propertyNames" ] = { { "pattern",
                                      isOfScenario ? rangePattern : namePattern } };
   }
   for ( auto& [ key, value ] : schema.items() ) {
      adapt( value, spelling );
   }
}

} // namespace

Json
definitionReference( std::string const& name ) {
   return { { "$ref", definitions + name } };
}

Json
stateDefinitions( Spelling spelling ) {
   Json types = Json::object();
   Json const all = stateSchemas();
   for ( auto const& [ name, schema ] : all.items() ) {
      if ( name.ends_with( patchSchemaName( "" ) ) ) {
         types[ name ] = schema;
         adapt( types[ name ], spelling );
      }
   }
   return types;
}

} // namespace ostra
