// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What is said of patches that are refused.

#include "LiveApi"

#include <array>
#include <string>
#include <vector>

namespace ostra {

namespace {

using http::statusOf;

Json
refusalIn( std::string const& answer ) {
   return Json::parse( http::bodyOf( answer ), nullptr, false ).value( "error", Json() );
}

} // namespace

TEST( Api, PatchIsRefusedWithTheWordsOfTheScenarioReader ) {
   LiveApi api;
   Json const before = api.json( "/v1/state" );
   struct Refused {
      std::string target;
      std::string body;
      int status;
      std::string where;
   };
   std::vector< Refused > const table = {
      { "/v1/state",
        "{\"mlagConfig\":{\"reloadDelay\":\"fast\"}}",
        400,
        "mlagConfig.reloadDelay" },
      { "/v1/state/mlagConfig", "{\"reloadDelay\":[]}", 400, "mlagConfig.reloadDelay" },
      { "/v1/state/mlagConfig", "{\"reloadDelai\":1}", 400, "mlagConfig.reloadDelai" },
      { "/v1/state/mlagConfig", "{\"reloadDelay\":1e400}", 400, "mlagConfig.reloadDelay" },
      { "/v1/state", "{\"mlagStatus\":{\"mlagState\":-1e400}}", 400, "mlagStatus" },
      { "/v1/state",
        "{\"ethPhyIntfStatus\":{\"intfStatus\":{\"Eth\":{}}}}",
        400,
        "ethPhyIntfStatus" },
      { "/v1/state/nothing", "{}", 404, "" },
      { "/v1/state",
        "{\"mlagissuCause\":{\"intfStatus\":{\"Ethernet1\":7}}}",
        409,
        "mlagissuCause" },
      { "/v1/state", "{", 400, "" },
      { "/v1/state/mlagConfig", "", 400, "" },
      { "/v1/state/mlagConfig", "# nothing", 400, "" },
      { "/v1/state/mlagConfig", "{'reloadDelay': 5}", 400, "" },
      { "/v1/state/mlagConfig/reloadDelay", "5, reloadDelayNonMlag: 7", 400, "" },
      { "/v1/state", "{} {}", 400, "" },
      { "/v1/state", "\xff", 400, "" },
      { "/v1/state", "7", 400, "" },
   };
   for ( Refused const& refused : table ) {
      std::string const answer = api.patch( refused.target, refused.body );
      EXPECT_EQ( statusOf( answer ), refused.status ) << answer;
      Json const error = refusalIn( answer );
      EXPECT_TRUE( error.value( "where", "" ).starts_with( refused.where ) ) << answer;
      EXPECT_NE( error.value( "found", "" ), "" ) << answer;
      EXPECT_NE( error.value( "expected", "" ), "" ) << answer;
   }
   EXPECT_EQ( api.json( "/v1/state" ), before );
}

TEST( Api, ATextThatIsNotJsonIsCalledThatWithItsPlace ) {
   LiveApi api;
   for ( auto const& [ body, where, found, expected ] :
         std::vector< std::array< std::string, 4 > >{
            { "{\"a\" 1}", "1:6", "not JSON: \"1\"", "a colon before it" },
            { "{\n'reloadDelay': 5}", "2:1", "not JSON", "a value in JSON" },
            { "# nothing", "1:1", "not JSON", "a value in JSON" } } ) {
      Json const error = refusalIn( api.patch( "/v1/state/mlagConfig", body ) );
      EXPECT_EQ( error.at( "where" ), where ) << body;
      EXPECT_EQ( error.at( "found" ), found ) << body;
      EXPECT_EQ( error.at( "expected" ), expected ) << body;
   }
}

} // namespace ostra
