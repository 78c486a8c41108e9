// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "api/LiveApi"

#include <host/web/Page>

#include <gmock/gmock.h>

namespace ostra {

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

// In octets.
constexpr std::size_t largestPage = 150'000;

} // namespace

TEST( Page, IsServedWithWhatABrowserMayLoadForIt ) {
   LiveApi api;
   std::string const answer = api.get( "/" );
   EXPECT_THAT( answer, StartsWith( "HTTP/1.1 200 OK\r\n" ) );
   EXPECT_THAT( answer, HasSubstr( "Content-Type: text/html; charset=utf-8\r\n" ) );
   EXPECT_THAT(
      answer,
      HasSubstr(
         "Content-Security-Policy: " + std::string( page::contentSecurityPolicy() ) +
         "\r\n" ) );
   EXPECT_THAT(
      answer, EndsWith( std::string( page::head() ) + std::string( page::tail() ) ) );
}

TEST( Page, TellsTheBrowserWhatItsScriptAsksForFirst ) {
   LiveApi api;
   std::string const answer = api.get( "/" );
   for ( char const* const path : { "/v1/summary", "/v1/ports", "/v1/alarms" } ) {
      EXPECT_THAT(
         answer,
         HasSubstr( "Link: <" + std::string( path ) + ">; rel=preload; as=fetch\r\n" ) );
      EXPECT_THAT( api.get( path ), StartsWith( "HTTP/1.1 200 OK\r\n" ) );
   }
}

TEST( Page, IsOneSmallTextThatLoadsNothing ) {
   std::string const text = std::string( page::head() ) + std::string( page::tail() );
   EXPECT_LT( text.size(), largestPage );
   EXPECT_THAT( text, StartsWith( "<!doctype html>" ) );
   EXPECT_EQ( text.find( "src=" ), text.npos );
   EXPECT_EQ(
      text.find( "@"
                 "RECORDS@" ),
      text.npos );
   std::string const policy( page::contentSecurityPolicy() );
   EXPECT_THAT( policy, StartsWith( "default-src 'none'; script-src 'sha256-" ) );
   EXPECT_EQ( policy.find( "unsafe" ), policy.npos );
}

} // namespace ostra
