// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/api/OpenApi>

#include <host/api/Requests>
#include <host/api/WrittenSchemas>
#include <host/http/Message>
#include <host/http/Stream>
#include <host/state/TypeSchemas>

#include <fmt/format.h>

#include <array>
#include <string>

namespace ostra {

namespace {

// What any request may be refused with.
constexpr std::array< std::pair< int, char const* >, 15 > refusals = { {
   { 400, "The request, or what it carries, is wrong." },
   { 401, "The token is wrong, or there is none." },
   { 403, "This listener takes no writes without a token, or another site asks." },
   { 405, "Not by that method." },
   { 408, "It did not come in time." },
   { 413, "The body is too long." },
   { 414, "The path is too long." },
   { 415, "The body is of another type than this takes." },
   { 417, "`Expect` asks for what is not known." },
   { 421, "`Host` is neither localhost nor the address that was connected to." },
   { 431, "The headers are too long." },
   { 500, "Something went wrong here." },
   { 501, "The body comes in a way that is not known." },
   { 503, "Too many connections, answers or forecasts, or what is said there." },
   { 505, "Another version of HTTP." },
} };

// "NotFound".
std::string
responseName( int status ) {
   std::string name( http::reason( status ) );
   std::erase( name, ' ' );
   return name;
}

bool
isJson( std::string const& contentType ) {
   return contentType.starts_with( "application/json" ) || contentType.ends_with( "+json" );
}

bool
isOfRecords( std::string const& contentType ) {
   return contentType == "application/x-ndjson" || contentType == http::eventStreamType;
}

// The schema of what each line or event has stands beside that of the whole text.
Json
mediaType( std::string const& contentType, std::string const& schema ) {
   Json const any = Json::object();
   if ( isJson( contentType ) ) {
      return { { "schema", schema.empty() ? any : schemaReference( schema ) } };
   }
   Json media = { { "schema", { { "type", "string" } } } };
   if ( isOfRecords( contentType ) ) {
      media[ "x-itemSchema" ] = schemaReference( schema );
   }
   return media;
}

Json
content( std::string const& contentType, std::string const& schema ) {
   Json content = Json::object();
   content[ contentType ] = mediaType( contentType, schema );
   return content;
}

// What stands between the braces.
std::vector< std::string >
placesOf( std::string const& path ) {
   std::vector< std::string > places;
   for ( std::size_t at = path.find( '{' ); at != path.npos; at = path.find( '{', at ) ) {
      std::size_t const end = path.find( '}', at );
      places.push_back( path.substr( at + 1, end - at - 1 ) );
      at = end;
   }
   return places;
}

// "getStateMlagConfig": a name by which programs call it.
std::string
operationName( RequestKind const& kind, std::string const& path ) {
   std::string name;
   for ( char const c : kind.method ) {
      name += static_cast< char >( c - 'A' + 'a' );
   }
   bool isFirst = true;
   for ( char const c : path.starts_with( "/v1" ) ? path.substr( 3 ) : path ) {
      bool const isLetter = ( c >= 'a' && c <= 'z' ) || ( c >= 'A' && c <= 'Z' );
      if ( isLetter ) {
         name += isFirst && c >= 'a' ? static_cast< char >( c - 'a' + 'A' ) : c;
      }
      isFirst = !isLetter;
   }
   return name;
}

Json
parametersOf( RequestKind const& kind, std::string const& path ) {
   Json parameters = Json::array();
   for ( std::string const& place : placesOf( path ) ) {
      parameters.push_back( { { "name", place },
                              { "in", "path" },
                              { "required", true },
                              { "schema", { { "type", "string" } } } } );
   }
   for ( ParameterKind const& parameter : kind.parameters ) {
      parameters.push_back( { { "name", parameter.name },
                              { "in", parameter.in },
                              { "description", parameter.meaning },
                              { "schema", Json::parse( parameter.schema ) } } );
   }
   return parameters;
}

Json
responsesOf( RequestKind const& kind, PathKind const& path ) {
   Json responses = { { "200",
                        { { "description", kind.meaning },
                          { "content", content( kind.contentType, path.answer ) } } } };
   for ( AnswerKind const& answer : kind.answers ) {
      Json& response = responses[ std::to_string( answer.status ) ];
      if ( response.is_null() ) {
         response[ "description" ] = answer.meaning;
      }
      response[ "content" ][ answer.contentType ] =
         mediaType( answer.contentType, answer.schema );
   }
   for ( auto const& [ status, meaning ] : refusals ) {
      responses[ std::to_string( status ) ] = {
         { "$ref", "#/components/responses/" + responseName( status ) }
      };
   }
   return responses;
}

Json
operationOf( RequestKind const& kind, PathKind const& path ) {
   Json operation = { { "operationId", operationName( kind, path.path ) },
                      { "summary", kind.meaning } };
   if ( Json parameters = parametersOf( kind, path.path ); !parameters.empty() ) {
      operation[ "parameters" ] = std::move( parameters );
   }
   if ( !kind.bodyTypes.empty() ) {
      Json& body = operation[ "requestBody" ];
      body[ "required" ] = true;
      for ( std::string const& type : kind.bodyTypes ) {
         body[ "content" ][ type ] = mediaType( type, path.body );
      }
   }
   operation[ "responses" ] = responsesOf( kind, path );
   return operation;
}

// What HEAD answers is what GET does without its body.
Json
headOperation( RequestKind const& kind, PathKind const& path ) {
   RequestKind head = kind;
   head.method = "HEAD";
   Json operation = { { "operationId", operationName( head, path.path ) },
                      { "summary", kind.meaning } };
   if ( Json parameters = parametersOf( kind, path.path ); !parameters.empty() ) {
      operation[ "parameters" ] = std::move( parameters );
   }
   operation[ "responses" ] = {
      { "200", { { "description", "As of GET, without the body." } } },
      { "default", { { "description", "As of GET, without the body." } } }
   };
   return operation;
}

Json
pathsOf() {
   Json paths = Json::object();
   for ( RequestKind const& kind : requestKinds() ) {
      for ( PathKind const& path : kind.paths ) {
         std::string method;
         for ( char const c : kind.method ) {
            method += static_cast< char >( c - 'A' + 'a' );
         }
         paths[ path.path ][ method ] = operationOf( kind, path );
         if ( kind.method == "GET" ) {
            paths[ path.path ][ "head" ] = headOperation( kind, path );
         }
      }
   }
   return paths;
}

Json
refusalResponses() {
   Json responses = Json::object();
   for ( auto const& [ status, meaning ] : refusals ) {
      responses[ responseName( status ) ] = {
         { "description", meaning }, { "content", content( "application/json", "Error" ) }
      };
   }
   return responses;
}

} // namespace

Json
openApi() {
   Json schemas = writtenSchemas();
   Json const state = stateSchemas();
   for ( auto const& [ name, schema ] : state.items() ) {
      schemas[ name ] = schema;
   }
   return {
      { "openapi", "3.1.0" },
      { "info",
        { { "title", "ostra serve" },
          { "version", OSTRA_VERSION },
          { "description", "A live switch: its state, its ports, what happens." },
          { "license", { { "name", "Apache-2.0" }, { "identifier", "Apache-2.0" } } } } },
      { "servers", Json::array( { { { "url", "/" } } } ) },
      { "security", Json::array( { Json::object(), { { "token", Json::array() } } } ) },
      { "paths", pathsOf() },
      { "components",
        { { "schemas", std::move( schemas ) },
          { "responses", refusalResponses() },
          { "securitySchemes",
            { { "token",
                { { "type", "http" },
                  { "scheme", "bearer" },
                  { "description",
                    "For writes that do not come by the unix socket." } } } } } } }
   };
}

} // namespace ostra
