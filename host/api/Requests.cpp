// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/api/Requests>

#include <host/base/Failure>
#include <host/base/Json>
#include <host/http/Stream>
#include <host/state/MountTable>
#include <host/state/TypeSchemas>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <utility>

namespace ostra {

namespace {

constexpr char json[] = "application/json";
constexpr char lines[] = "application/x-ndjson";
constexpr char plain[] = "text/plain; charset=utf-8";

constexpr char wholeNumberSchema[] = R"({"type":"integer","minimum":0})";

AnswerKind
problem( int status, std::string meaning ) {
   return { status, json, "Error", std::move( meaning ) };
}

std::vector< PathKind >
statePaths() {
   std::vector< PathKind > paths{ { "/v1/state", "State", "State.Patch" } };
   for ( MountKind const& kind : mountKinds ) {
      paths.push_back( { "/v1/state/" + std::string( kind.name ),
                         schemaName( kind.type ),
                         patchSchemaName( kind.type ) } );
   }
   std::string path = "/v1/state/{mount}";
   for ( std::string const deeper : { "attribute", "key", "entryAttribute" } ) {
      path += "/{" + deeper + "}";
      paths.push_back( { path, "" } );
   }
   return paths;
}

std::vector< RequestKind >
stateRequests() {
   auto patches = statePaths();
   for ( PathKind& path : patches ) {
      path.answer = "Revision";
   }
   return {
      { "GET",
        "/v1/state/**",
        "The state, or a part of it.",
        statePaths(),
        json,
        {},
        { problem( 404, "There is nothing." ) } },
      { "PATCH",
        "/v1/state/**",
        "Applies a merge patch. The answer comes when it is on the disk.",
        patches,
        json,
        {},
        { problem( 404, "There is nothing." ),
          problem( 409, "Somebody else owns what is to be changed." ) },
        http::Access::write,
        { "application/json", "application/merge-patch+json" } },
   };
}

std::vector< RequestKind >
eventRequests() {
   ParameterKind const since{
      "since", "query", wholeNumberSchema, "Only what has a greater `seq`."
   };
   return {
      { "GET",
        "/v1/events",
        "What happens from now on, as server-sent events whose `id` is the record's `seq`.",
        { { "/v1/events", "Record" } },
        std::string( http::eventStreamType ),
        { since,
          { "Last-Event-ID",
            "header",
            wholeNumberSchema,
            "Goes on behind that record." } } },
      { "GET",
        "/v1/history",
        "What has happened, a record a line.",
        { { "/v1/history", "Record" } },
        lines,
        { since,
          { "limit",
            "query",
            wholeNumberSchema,
            "At most that many, the oldest first." } } },
      { "POST",
        "/v1/forecast",
        "What would happen from now on, a record a line; nothing is changed.",
        { { "/v1/forecast", "ForecastRecord", "Forecast" } },
        lines,
        { { "format",
            "query",
            R"({"enum":["ndjson","text"]})",
            "`text`: a text for people instead." },
          { "width", "query", wholeNumberSchema, "Of the text, in columns." },
          { "colour", "query", R"({"enum":["always","never"]})", "Of the text." } },
        { { 200, plain, "", "" },
          problem( 404, "The patch changes what is not there." ),
          problem( 409, "Somebody else owns what is to be changed." ) },
        http::Access::read,
        { "application/json" } },
   };
}

std::vector< RequestKind >
otherRequests() {
   return {
      { "GET", "/", "The page, for people.", { { "/", "" } }, "text/html; charset=utf-8" },
      { "GET",
        "/v1/ports",
        "What each port is, and its hold.",
        { { "/v1/ports", "Ports" } },
        json },
      { "GET",
        "/v1/ports/**",
        "What the port is, and its hold.",
        { { "/v1/ports/{interface}", "Port" } },
        json,
        {},
        { problem( 404, "There is no such port." ) } },
      { "GET",
        "/v1/summary",
        "Both classes of ports, counts, and the host.",
        { { "/v1/summary", "Summary" } },
        json },
      { "GET",
        "/v1/alarms",
        "What an operator has to hear of.",
        { { "/v1/alarms", "Alarms" } },
        json },
      { "GET", "/v1/types", "The registered types.", { { "/v1/types", "Types" } }, json },
      { "GET",
        "/v1/types/*",
        "A registered type.",
        { { "/v1/types/{type}", "Type" } },
        json,
        {},
        { problem( 404, "No type has the name." ) } },
      { "GET",
        "/v1/openapi.json",
        "This description.",
        { { "/v1/openapi.json", "Description" } },
        json },
      { "GET",
        "/metrics",
        "Measurements for Prometheus.",
        { { "/metrics", "" } },
        "text/plain; version=0.0.4; charset=utf-8" },
      { "GET", "/healthz", "Whether it is alive.", { { "/healthz", "" } }, plain },
      { "GET",
        "/readyz",
        "Whether it is restored, and each port as it is wanted, or its driver has said why "
        "not; 503 if not.",
        { { "/readyz", "" } },
        plain },
   };
}

// For people: what the query may have.
std::string
expectedIn( RequestKind const& kind ) {
   std::vector< std::string > names;
   for ( ParameterKind const& parameter : kind.parameters ) {
      if ( parameter.in == "query" ) {
         names.push_back( parameter.name );
      }
   }
   return names.empty() ? std::string( "no parameters" )
                        : fmt::format( "{}", fmt::join( names, ", " ) );
}

// What is expected in place of a value that is none of the parameter's.
std::optional< std::string >
expectedInstead( std::string const& value, ParameterKind const& parameter ) {
   Json const schema = Json::parse( parameter.schema );
   if ( schema.contains( "enum" ) ) {
      auto const values = schema.at( "enum" ).get< std::vector< std::string > >();
      bool const isKnown = std::find( values.begin(), values.end(), value ) != values.end();
      return isKnown ? std::nullopt
                     : std::optional( fmt::format( "{}", fmt::join( values, " or " ) ) );
   }
   return wholeNumberOf( value ) ? std::nullopt : std::optional( wholeNumber );
}

} // namespace

std::optional< std::int64_t >
wholeNumberOf( std::string const& text ) {
   std::int64_t parsed = 0;
   char const* const end = text.data() + text.size();
   auto const [ rest, error ] = std::from_chars( text.data(), end, parsed );
   bool const isNumber = error == std::errc() && rest == end && parsed >= 0;
   return isNumber ? std::optional( parsed ) : std::nullopt;
}

std::vector< RequestKind > const&
requestKinds() {
   static std::vector< RequestKind > const kinds = [] {
      std::vector< RequestKind > all = stateRequests();
      for ( auto const& some : { otherRequests(), eventRequests() } ) {
         all.insert( all.end(), some.begin(), some.end() );
      }
      return all;
   }();
   return kinds;
}

std::optional< http::Problem >
queryProblem( http::Request const& request, RequestKind const& kind ) {
   std::vector< std::string > names;
   for ( auto const& entry : request.query ) {
      std::string const& name = entry.first;
      std::string const& value = entry.second;
      auto const parameter = std::find_if(
         kind.parameters.begin(),
         kind.parameters.end(),
         [ & ]( ParameterKind const& known ) {
            return known.in == "query" && known.name == name;
         } );
      if ( parameter == kind.parameters.end() ) {
         return http::Problem{ 400, "query", inQuotes( name ), expectedIn( kind ) };
      }
      if ( std::find( names.begin(), names.end(), name ) != names.end() ) {
         return http::Problem{ 400, name, "more than one", "one" };
      }
      names.push_back( name );
      if ( auto expected = expectedInstead( value, *parameter ) ) {
         return http::Problem{ 400, name, inQuotes( value ), std::move( *expected ) };
      }
   }
   return std::nullopt;
}

http::Route
routeOf( std::string_view method, std::string_view pattern, http::Handler handler ) {
   auto const& kinds = requestKinds();
   auto const kind =
      std::find_if( kinds.begin(), kinds.end(), [ & ]( RequestKind const& known ) {
         return known.method == method && known.pattern == pattern;
      } );
   if ( kind == kinds.end() ) {
      throw std::out_of_range( std::string( pattern ) + " is not in the table" );
   }
   // The table stays where it is.
   auto const handle = [ &known = *kind, handler = std::move( handler ) ](
                          http::Request const& request, http::Reply const& reply ) {
      if ( auto const problem = queryProblem( request, known ) ) {
         reply.send( *problem );
      } else {
         handler( request, reply );
      }
   };
   return { kind->method, kind->pattern, handle, kind->access, kind->bodyTypes };
}

} // namespace ostra
