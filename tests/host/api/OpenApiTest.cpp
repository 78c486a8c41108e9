// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "LiveApi"

#include <host/api/Requests>

#include <gmock/gmock.h>

#include <set>
#include <stdexcept>

namespace ostra {

namespace {

using Requests = std::set< std::pair< std::string, std::string > >;

} // namespace

TEST( OpenApi, DescribesEveryRouteAndNothingElse ) {
   LiveApi api;
   auto const served = api.server.router().requests();
   Requests described;
   Requests written;
   Json const description = api.json( "/v1/openapi.json" );
   for ( RequestKind const& kind : requestKinds() ) {
      described.emplace( kind.method, kind.pattern );
      ASSERT_FALSE( kind.paths.empty() ) << kind.pattern;
      for ( PathKind const& path : kind.paths ) {
         written.emplace( kind.method, path.path );
         if ( kind.method == "GET" ) {
            written.emplace( "HEAD", path.path );
         }
      }
   }
   EXPECT_EQ( Requests( served.begin(), served.end() ), described );
   EXPECT_EQ( served.size(), described.size() );
   Requests found;
   for ( auto const& [ path, operations ] : description.at( "paths" ).items() ) {
      for ( auto const& [ method, operation ] : operations.items() ) {
         std::string upper = method;
         for ( char& c : upper ) {
            c = static_cast< char >( c - 'a' + 'A' );
         }
         found.emplace( upper, path );
      }
   }
   EXPECT_EQ( found, written );
   EXPECT_THROW( routeOf( "GET", "/v1/nothing", {} ), std::out_of_range );
}

TEST( OpenApi, HasTheMountsAsTheirTypesAre ) {
   LiveApi api;
   Json const schemas = api.json( "/v1/openapi.json" ).at( "components" ).at( "schemas" );
   Json const& config = schemas.at( "Mlag.Config" ).at( "properties" );
   EXPECT_EQ( config.size(), api.json( "/v1/state/mlagConfig" ).size() );
   EXPECT_EQ( config.at( "enabled" ), Json::parse( R"({"type":"boolean"})" ) );
   EXPECT_EQ(
      config.at( "reloadDelay" ),
      Json::parse( R"({"anyOf":[{"type":"number"},{"const":"inf"}]})" ) );
   EXPECT_EQ(
      config.at( "localInterface" ), Json::parse( R"({"type":["string","null"]})" ) );
   EXPECT_EQ(
      config.at( "intfConfig" ), Json::parse( R"({"type":"object","additionalProperties":
         {"$ref":"#/components/schemas/Mlag.IntfConfig"}})" ) );
   EXPECT_EQ(
      schemas.at( "Bridging.IgmpSnooping.Config" ).at( "properties" ),
      Json::parse( R"({"forceEnabledPorts":{"type":"object","additionalProperties":
         {"type":"boolean"}}})" ) );
   EXPECT_EQ(
      schemas.at( "Mlag.Config.Patch" ).at( "properties" ).at( "intfConfig" ),
      Json::parse( R"({"type":"object","additionalProperties":{"anyOf":[
         {"$ref":"#/components/schemas/Mlag.IntfConfig.Patch"},{"type":"null"}]}})" ) );
   EXPECT_EQ(
      schemas.at( "Mlag.Status.Patch" )
         .at( "properties" )
         .at( "mlagState" )
         .at( "oneOf" )
         .at( 3 ),
      Json::parse( R"({"title":"mlagPrimary","enum":[3,"mlagPrimary"]})" ) );
}

} // namespace ostra
