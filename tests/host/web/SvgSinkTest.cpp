// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Play"

#include <host/web/TimeLine>

#include <gmock/gmock.h>

#include <sstream>

namespace ostra {

namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// Without a scenario, of the built-in one.
std::string
pictureOf( std::optional< std::string > const& scenario = std::nullopt ) {
   RunOptions options;
   if ( scenario ) {
      options.input.scenario = temporaryFile( "scenario.yaml", *scenario );
   }
   options.input.plugin = OSTRA_PLUGIN;
   options.format = RunFormat::svg;
   std::ostringstream out;
   runScenario( options, out );
   return out.str();
}

std::string
drawn( TimeLine const& timeLine ) {
   std::ostringstream out;
   drawTimeLine( out, timeLine );
   return out.str();
}

} // namespace

TEST( SvgSink, ShowsWhoWasHeldFromWhenToWhenAndWhy ) {
   EXPECT_THAT(
      pictureOf(),
      AllOf(
         StartsWith( "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"960\"" ),
         EndsWith( "</svg>\n" ),
         HasSubstr( "<title>leaf1a reloads while leaf1b carries the traffic</title>" ),
         HasSubstr( "<title>MLAG ports: reload delay from 00:00:00, 300 s</title>" ),
         HasSubstr( "<title>Ethernet1-6,8-40: errdisabled from 00:00:00 to 00:05:00: delay "
                    "over</title>" ),
         HasSubstr( "<title>Ethernet7: errdisabled from 00:01:37.250 to 00:05:00: delay "
                    "over</title>" ),
         HasSubstr( ">held until: interface gone</text>" ),
         HasSubstr( ">00:01:35  Ethernet7 disappears</text>" ),
         HasSubstr( "The run ends at 00:05:30." ) ) );
}

TEST( SvgSink, ShowsLacpStandbyAndWhatIsNotOver ) {
   std::ifstream file( OSTRA_EXAMPLES "/lacp-standby.yaml" );
   std::stringstream scenario;
   scenario << file.rdbuf();
   std::string const picture = pictureOf( scenario.str() + "\nuntil: 100\n" );
   EXPECT_THAT(
      picture,
      AllOf(
         HasSubstr( ">Port-Channel10-11</text>" ),
         HasSubstr(
            "<title>Port-Channel12: in LACP standby from 00:01:00 to the end</title>" ),
         HasSubstr( "reload delay, not over at the end" ),
         HasSubstr( "The run ends at 00:01:40." ) ) );
}

TEST( SvgSink, EventsAreCalledByTheirLabel ) {
   EXPECT_THAT(
      pictureOf( "events: [ { at: 1, label: it goes, mlagConfig: { reloadDelay: 5 } } ]" ),
      HasSubstr( ">00:00:01  it goes: mlagConfig.reloadDelay = 5</text>" ) );
}

TEST( SvgSink, TextsStayTexts ) {
   TimeLine timeLine;
   timeLine.name = "</svg><script>\"&\x01\xff";
   timeLine.marks.push_back(
      { Milliseconds( 0 ), true, std::string( 5000, 'W' ) + "<b>" } );
   std::string const picture = drawn( timeLine );
   EXPECT_THAT(
      picture,
      AllOf(
         HasSubstr( "<title>&lt;/svg>&lt;script>&quot;&amp;?"
                    "?</title>" ),
         Not( HasSubstr( "<b>" ) ),
         Not( HasSubstr( "script>\"" ) ) ) );
}

TEST( SvgSink, StaysAPictureHoweverMuchThereIs ) {
   TimeLine timeLine;
   timeLine.end = std::chrono::hours( 24 * 365 );
   for ( int i = 1; i <= 1000; ++i ) {
      Milliseconds const to( i );
      timeLine.holds.push_back( { HolderKind::nonMlagPort,
                                  Milliseconds( 0 ),
                                  to,
                                  "delay over",
                                  { Kovel::IntfId( "Ethernet" + std::to_string( i ) ) } } );
      timeLine.marks.push_back( { to, false, "text" } );
   }
   std::string const picture = drawn( timeLine );
   EXPECT_THAT(
      picture,
      AllOf(
         HasSubstr( ">and 970 more rows</text>" ), HasSubstr( ">and 985 more</text>" ) ) );
   EXPECT_LT( picture.size(), 250'000U );
}

// `ostra run --format svg >docs/pictures/reload.svg` brings it up to date.
TEST( SvgSink, TheDocumentsShowItAsItIs ) {
   std::ifstream file( OSTRA_EXAMPLES "/../docs/pictures/reload.svg" );
   std::stringstream shown;
   shown << file.rdbuf();
   EXPECT_EQ( shown.str(), pictureOf() );
}

} // namespace ostra
