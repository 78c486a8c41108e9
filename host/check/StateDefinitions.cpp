// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/check/StateDefinitions>

#include <host/state/TypeSchemas>

#include <fmt/format.h>

#include <string>

namespace ostra {

namespace {

constexpr char definitions[] = "#/$defs/";

constexpr char kindPattern[] =
   "(Peer)?(Ethernet|Internal|Loopback|Management|Port-Channel|Recirc|Vlan)";
constexpr char numberPattern[] = "(0|[1-9][0-9]*)";

std::string
numbersOf( std::string const& one ) {
   return fmt::format( "{}(/{}){{0,3}}", one, one );
}

std::string
namePattern() {
   return fmt::format( "^{}{}$", kindPattern, numbersOf( numberPattern ) );
}

// A name, or a range of them.
std::string
rangePattern() {
   std::string const numbers =
      numbersOf( fmt::format( "{}(-{})?", numberPattern, numberPattern ) );
   return fmt::format( "^{}{}(, *({})?{})*$", kindPattern, numbers, kindPattern, numbers );
}

// A name, in which below a range a number may be one of the interface's.
std::string
referencePattern() {
   return fmt::format( "^{}{}$", kindPattern, numbersOf( "([0-9]|\\$[1-4])+" ) );
}

bool
isNumberOrInfinity( Json const& schema ) {
   Json const inf = { { "const", "inf" } };
   return schema.is_object() && schema.contains( "anyOf" ) &&
      schema.at( "anyOf" ).back() == inf;
}

// A name, or null.
bool
isInterface( Json const& schema ) {
   return schema.is_object() && schema.contains( "type" ) &&
      schema.at( "type" ) == Json::array( { "string", "null" } );
}

// Below a range a text may have numbers of the interface's in it.
void
addNumbersOfRange( Json& entry ) {
   Json& value = entry.contains( "anyOf" ) ? entry[ "anyOf" ].front() : entry;
   if ( value.contains( "pattern" ) ) {
      value[ "pattern" ] = value.at( "pattern" ).get< std::string >() + "|\\$[1-4]";
   }
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
                                      isOfScenario ? rangePattern() : namePattern() } };
      if ( isOfScenario ) {
         addNumbersOfRange( schema[ "additionalProperties" ] );
      }
   } else if ( isInterface( schema ) ) {
      schema[ "pattern" ] = isOfScenario ? referencePattern() : namePattern();
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
