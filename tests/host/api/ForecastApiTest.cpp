// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "LiveApi"

#include <fmt/format.h>

namespace ostra {

namespace {

std::string
forecastRequest( std::string const& body, std::string const& query = "" ) {
   return fmt::format(
      "POST /v1/forecast{} HTTP/1.1\r\nHost: localhost\r\nContent-Type: "
      "application/json\r\n"
      "Content-Length: {}\r\n\r\n{}",
      query,
      body.size(),
      body );
}

std::string
forecast( LiveApi& api, std::string const& body, std::string const& query = "" ) {
   return api.client().send( forecastRequest( body, query ) ).readAnswer();
}

} // namespace

TEST( ForecastApi, AnswersTheStreamOfARunFromNowOn ) {
   LiveApi api;
   api.clock.time += Milliseconds( 100'000 );
   Json const before = api.json( "/v1/state" );
   std::string const answer = forecast( api, "{}" );
   EXPECT_EQ( http::statusOf( answer ), 200 ) << answer;
   EXPECT_NE( answer.find( "Content-Type: application/x-ndjson\r\n" ), answer.npos );
   auto const lines = jsonLines( http::bodyOf( answer ) );
   ASSERT_GT( lines.size(), 2U );
   EXPECT_EQ( lines.back()[ "type" ], "end" );
   EXPECT_EQ( lines.back()[ "t" ], 200 );
   EXPECT_EQ( lines.back()[ "state" ][ "mlagissuCause" ][ "intfStatus" ], Json::object() );
   EXPECT_EQ( http::bodyOf( forecast( api, "" ) ), http::bodyOf( answer ) );
   EXPECT_EQ( api.json( "/v1/state" ), before );
}

TEST( ForecastApi, AppliesAPatchFirstAndEndsAtATime ) {
   LiveApi api;
   auto const lines = jsonLines( http::bodyOf(
      forecast( api, R"({"patch": {"mlagStatus": {"mlagState": 3}}, "until": 1.5})" ) ) );
   EXPECT_EQ( lines.front(), Json::parse( R"({"t": 0, "type": "event", "index": 0})" ) );
   EXPECT_EQ( lines.back()[ "t" ], 1.5 );
   EXPECT_EQ( lines.back()[ "state" ][ "mlagissuCause" ][ "intfStatus" ], Json::object() );
}

TEST( ForecastApi, IsATextForPeopleWhenThatIsAskedFor ) {
   LiveApi api;
   std::string const answer = forecast( api, "{}", "?format=text" );
   EXPECT_NE( answer.find( "Content-Type: text/plain; charset=utf-8\r\n" ), answer.npos );
   EXPECT_NE( answer.find( "00:05:00.000  released    1 MLAG port," ), answer.npos )
      << answer;
   std::string const coloured =
      forecast( api, "{}", "?format=text&width=60&colour=always" );
   EXPECT_NE( coloured.find( "\x1b[" ), coloured.npos );
}

TEST( ForecastApi, RefusesAQueryThatIsWrong ) {
   LiveApi api;
   for ( auto const& [ query, expected ] :
         std::vector< std::pair< std::string, std::string > >{
            { "?format=xml", "ndjson or text" },
            { "?format=text&colour=red", "always or never" },
            { "?format=text&width=wide", "a whole number from 0" },
            { "?form=text", "format, width, colour" } } ) {
      std::string const answer = forecast( api, "{}", query );
      EXPECT_EQ( http::statusOf( answer ), 400 ) << query;
      Json const error = Json::parse( http::bodyOf( answer ) ).at( "error" );
      EXPECT_EQ( error.at( "expected" ), expected ) << query;
   }
}

TEST( ForecastApi, RefusesWhatAPatchIsRefusedFor ) {
   LiveApi api;
   std::vector< std::tuple< std::string, int, std::string > > const table = {
      { R"({"patch": {"mlagConfig": {"reloadDelay": "fast"}}})",
        400,
        "mlagConfig.reloadDelay" },
      { R"({"patch": {"mlagissuCause": {"intfStatus": {"Ethernet1": 7}}}})",
        409,
        "mlagissuCause.intfStatus.Ethernet1" },
      { R"({"until": "soon"})", 400, "until" },
      { R"({"Until": 1})", 400, "Until" },
   };
   for ( auto const& [ body, status, where ] : table ) {
      std::string const answer = forecast( api, body );
      EXPECT_EQ( http::statusOf( answer ), status ) << answer;
      Json const error = Json::parse( http::bodyOf( answer ) ).at( "error" );
      EXPECT_EQ( error.at( "where" ), where );
      EXPECT_NE( error.at( "found" ), "" );
      EXPECT_NE( error.at( "expected" ), "" );
   }
}

TEST( ForecastApi, TellsOfTooManyAtATimeWhenToTryAgain ) {
   LiveApi api;
   std::string const request = forecastRequest( "{}" );
   auto first = api.client();
   auto second = api.client();
   auto third = api.client();
   first.send( request );
   second.send( request );
   third.send( request );
   std::string const refused = third.readAnswer();
   EXPECT_EQ( http::statusOf( refused ), 503 ) << refused;
   EXPECT_NE( refused.find( "Retry-After: 1\r\n" ), refused.npos );
   EXPECT_EQ( http::statusOf( first.readAnswer() ), 200 );
   EXPECT_EQ( http::statusOf( second.readAnswer() ), 200 );
   EXPECT_EQ( http::statusOf( third.send( request ).readAnswer() ), 200 );
}

} // namespace ostra
