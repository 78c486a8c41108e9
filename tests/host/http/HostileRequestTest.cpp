// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "TestServer"

#include <event2/event.h>
#include <fmt/format.h>

namespace ostra::http {

namespace {

constexpr std::string_view host = "Host: localhost\r\n";

// A request, byte for byte, and what comes of it. Every answer says in JSON what was found
// and what was expected.
struct Hostile {
   std::string name;
   std::string request;
   int status;
   // In the answer.
   std::string said;
};

std::string
get( std::string const& target, std::string const& headers = "" ) {
   return fmt::format( "GET {} HTTP/1.1\r\n{}{}\r\n", target, host, headers );
}

std::string
post( std::string const& headers, std::string const& body = "" ) {
   return fmt::format(
      "POST /echo HTTP/1.1\r\n{}Content-Type: application/json\r\n{}\r\n{}",
      host,
      headers,
      body );
}

std::string
patch( std::string const& headers ) {
   return fmt::format(
      "PATCH /state HTTP/1.1\r\n{}Content-Type: application/json\r\n"
      "Content-Length: 2\r\n{}\r\n{{}}",
      host,
      headers );
}

std::string
chunked( std::string const& chunks ) {
   return post( "Transfer-Encoding: chunked\r\n", chunks );
}

std::string const from = "PATCH /state HTTP/1.1\r\nContent-Length: 2\r\n"
                         "Content-Type: application/json\r\n";

std::vector< Hostile > const requestLines = {
   { "NotHttp", "\x16\x03\x01\x02\r\n", 400, "a method, a path and HTTP/1.1" },
   { "NoVersion", "GET /echo\r\n\r\n", 400, "a method, a path and HTTP/1.1" },
   { "LowerCaseVersion", "GET /echo http/1.1\r\n\r\n", 400, "HTTP/1.1" },
   { "Version2", "PRI * HTTP/2.0\r\n\r\n", 505, "HTTP/1.1" },
   { "TwoSpaces", "GET  /echo HTTP/1.1\r\n\r\n", 400, "all else as %XX" },
   { "BareLineFeed", "GET /echo HTTP/1.1\nHost: localhost\n\n", 400, "CR and LF" },
   { "BareReturn", "GET /echo HTTP/1.1\r\nHost: a\rb\r\n\r\n", 400, "control characters" },
   { "NullInLine",
     std::string( "GET /ec\0ho HTTP/1.1\r\n\r\n", 23 ),
     400,
     "all else as %XX" },
   { "RawUtf8", get( "/echo/\xc3\xa4" ), 400, "all else as %XX" },
   { "Asterisk", "OPTIONS * HTTP/1.1\r\nHost: localhost\r\n\r\n", 400, "begins with /" },
   { "Proxy", "CONNECT example.org:80 HTTP/1.1\r\n\r\n", 400, "begins with /" },
   { "Fragment", get( "/echo#there" ), 400, "without a fragment" },
   { "LongTarget", get( "/" + std::string( 9000, 'a' ) ), 414, "at most 8192" },
   { "EndlessTarget", "GET /" + std::string( 60000, 'a' ), 414, "at most 8192" },
   { "OddMethod", "G(T /echo HTTP/1.1\r\n\r\n", 400, "a method" },
   { "UnknownMethod",
     "BREW /echo HTTP/1.1\r\nHost: localhost\r\n\r\n",
     405,
     "Allow: GET, HEAD, POST" },
   { "OtherMethod", "PUT /state HTTP/1.1\r\nHost: localhost\r\n\r\n", 405, "Allow: PATCH" },
   { "OptionsOfAnotherSite",
     "OPTIONS /state HTTP/1.1\r\nHost: localhost\r\nOrigin: http://evil.example\r\n\r\n",
     403,
     "http://evil.example" },
};

std::vector< Hostile > const paths = {
   { "NoSuchPath", get( "/nothing" ), 404, "a path that is served" },
   { "EmptySegment", get( "//echo" ), 404, "a path that is served" },
   { "Climbs", get( "/echo/../../etc/passwd" ), 400, "without \\\".\\\" and \\\"..\\\"" },
   { "ClimbsEscaped", get( "/echo/%2e%2E/passwd" ), 400, "\\\"..\\\"" },
   { "ClimbsInASegment", get( "/echo/a%2f..%2fpasswd" ), 400, "\\\"..\\\"" },
   { "ClimbsBackwards", get( "/echo/..%5cpasswd" ), 400, "\\\"..\\\"" },
   { "EscapeOfNothing", get( "/echo/%" ), 400, "two hexadecimal digits" },
   { "EscapeCutOff", get( "/echo/%4" ), 400, "two hexadecimal digits" },
   { "EscapeOfLetters", get( "/echo/%zz" ), 400, "two hexadecimal digits" },
   { "EscapedNull", get( "/echo/%00" ), 400, "UTF-8 without control characters" },
   { "EscapedNewline", get( "/echo/a%0d%0ab" ), 400, "UTF-8 without control characters" },
   { "BadUtf8", get( "/echo/%ff%fe" ), 400, "UTF-8 without control characters" },
   { "OverlongUtf8", get( "/echo/%c0%af" ), 400, "UTF-8 without control characters" },
   { "Surrogate", get( "/echo/%ed%a0%80" ), 400, "UTF-8 without control characters" },
   { "BadQuery", get( "/echo?a=%" ), 400, "two hexadecimal digits" },
   { "BadUtf8InQuery", get( "/echo?a=%ff" ), 400, "UTF-8 without control characters" },
};

std::vector< Hostile > const headers = {
   { "NoHost", "GET /echo HTTP/1.1\r\n\r\n", 400, "the server's name" },
   { "TwoHosts", get( "/echo", "Host: localhost\r\n" ), 400, "2 of them" },
   { "TwoOrigins",
     get( "/echo", "Origin: http://localhost\r\nOrigin: http://evil.example\r\n" ),
     400,
     "2 of them" },
   { "TwoSites",
     get( "/echo", "Sec-Fetch-Site: none\r\nSec-Fetch-Site: cross-site\r\n" ),
     400,
     "2 of them" },
   { "TwoModes",
     get( "/echo", "Sec-Fetch-Mode: navigate\r\nSec-Fetch-Mode: no-cors\r\n" ),
     400,
     "2 of them" },
   { "TwoIdsOfEvents",
     get( "/echo", "Last-Event-ID: 1\r\nlast-event-id: 2\r\n" ),
     400,
     "2 of them" },
   { "TwoExpectations",
     get( "/echo", "Expect: 100-continue\r\nExpect: tea\r\n" ),
     400,
     "2 of them" },
   { "UnknownHost",
     "GET /echo HTTP/1.1\r\nHost: evil.example\r\n\r\n",
     421,
     "localhost or the address that was connected to" },
   { "HostOfAnotherMachine",
     "GET /echo HTTP/1.1\r\nHost: 192.0.2.7\r\n\r\n",
     421,
     "the address that was connected to" },
   { "HostLikeAnAddress",
     "GET /echo HTTP/1.1\r\nHost: 127.0.0.1.evil.example\r\n\r\n",
     421,
     "localhost or the address that was connected to" },
   { "HostWithUser",
     "GET /echo HTTP/1.1\r\nHost: localhost@evil.example\r\n\r\n",
     421,
     "localhost or the address that was connected to" },
   { "HostInTheTarget",
     "GET http://evil.example/echo HTTP/1.1\r\nHost: localhost\r\n\r\n",
     421,
     "evil.example" },
   { "ForeignOrigin",
     get( "/echo", "Origin: http://evil.example\r\n" ),
     403,
     "http://evil.example" },
   { "NullOrigin", get( "/echo", "Origin: null\r\n" ), 403, "null" },
   { "OriginOfAnotherPort",
     get( "/echo", "Origin: http://localhost:81\r\n" ),
     403,
     "http://localhost:81" },
   { "SentByAnotherSite",
     get( "/echo", "Sec-Fetch-Site: cross-site\r\nSec-Fetch-Mode: no-cors\r\n" ),
     403,
     "this server's own page" },
   { "HugeHeader",
     get( "/echo", "X: " + std::string( 20000, 'x' ) + "\r\n" ),
     431,
     "16384" },
   { "EndlessHeader",
     "GET /echo HTTP/1.1\r\nX: " + std::string( 60000, 'x' ),
     431,
     "16384" },
   { "ManyHeaders",
     get(
        "/echo",
        [] {
           std::string many;
           for ( int i = 0; i < 200; ++i ) {
              many += fmt::format( "X{}: 1\r\n", i );
           }
           return many;
        }() ),
     431,
     "at most 100" },
   { "EmptyLinesForever", std::string( 20000, '\n' ), 400, "CR and LF" },
   { "FoldedHeader", get( "/echo", "X: 1\r\n 2\r\n" ), 400, "a name, a colon and a value" },
   { "SpaceBeforeColon",
     get( "/echo", "Content-Length : 2\r\n" ),
     400,
     "a name, a colon and a value" },
   { "NoColon", get( "/echo", "X\r\n" ), 400, "a name, a colon and a value" },
   { "NullInHeader",
     get( "/echo", std::string( "X: a\0b\r\n", 8 ) ),
     400,
     "no control characters" },
   { "UnknownExpectation", get( "/echo", "Expect: tea\r\n" ), 417, "100-continue" },
};

std::vector< Hostile > const bodies = {
   { "NoContentType",
     "POST /echo HTTP/1.1\r\nHost: localhost\r\nContent-Length: 2\r\n\r\n{}",
     415,
     "application/json" },
   { "FormContentType",
     "POST /echo HTTP/1.1\r\nHost: localhost\r\n"
     "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: 2\r\n\r\n{}",
     415,
     "application/json" },
   { "TwoContentTypes",
     post( "Content-Type: text/plain\r\nContent-Length: 2\r\n", "{}" ),
     400,
     "2 of them" },
   { "TwoContentTypesTheSame",
     post( "Content-Type: application/json\r\nContent-Length: 2\r\n", "{}" ),
     400,
     "2 of them" },
   { "BodyOfGet", get( "/echo", "Content-Length: 2\r\n" ) + "{}", 415, "no body" },
   { "HugeBody", post( "Content-Length: 99999999\r\n" ), 413, "at most" },
   { "OverflowingBody",
     post( "Content-Length: 99999999999999999999999\r\n" ),
     413,
     "at most" },
   { "NegativeLength", post( "Content-Length: -1\r\n" ), 400, "a number of octets" },
   { "SignedLength", post( "Content-Length: +2\r\n", "{}" ), 400, "a number of octets" },
   { "HexadecimalLength",
     post( "Content-Length: 0x2\r\n", "{}" ),
     400,
     "a number of octets" },
   { "EmptyLength", post( "Content-Length:\r\n" ), 400, "a number of octets" },
   { "TwoLengths",
     post( "Content-Length: 2\r\nContent-Length: 20\r\n", "{}" ),
     400,
     "2 of them" },
   { "ListOfLengths", post( "Content-Length: 2, 2\r\n", "{}" ), 400, "a number of octets" },
   { "LengthAndChunks",
     post( "Content-Length: 2\r\nTransfer-Encoding: chunked\r\n", "2\r\n{}\r\n0\r\n\r\n" ),
     400,
     "one way to tell the length" },
   { "ChunksOfTheOldVersion",
     "POST /echo HTTP/1.0\r\nHost: localhost\r\nTransfer-Encoding: "
     "chunked\r\n\r\n0\r\n\r\n",
     400,
     "one way to tell the length" },
   { "UnknownCoding", post( "Transfer-Encoding: gzip\r\n" ), 501, "chunked" },
   { "CodingBehindChunks", post( "Transfer-Encoding: chunked, gzip\r\n" ), 501, "chunked" },
   { "TwoCodings",
     post( "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n" ),
     400,
     "2 of them" },
   { "HiddenCoding",
     post( "Transfer-Encoding: \x0b"
           "chunked\r\n" ),
     400,
     "no control characters" },
   { "NegativeChunk", chunked( "-2\r\n{}\r\n" ), 400, "the chunk's size" },
   { "PrefixedChunk", chunked( "0x2\r\n{}\r\n" ), 400, "the chunk's size" },
   { "ChunkOfNoSize", chunked( "\r\n{}\r\n" ), 400, "the chunk's size" },
   { "OverflowingChunk", chunked( "fffffffffffffffff\r\n" ), 400, "the chunk's size" },
   { "HugeChunk", chunked( "ffffffffffffffff\r\n" ), 413, "at most" },
   { "ChunkTooLong", chunked( "2\r\n{}}\r\n0\r\n\r\n" ), 400, "the end of the line" },
   { "ChunkWithBareLineFeed", chunked( "2\n{}\r\n" ), 400, "CR and LF" },
   { "EndlessChunkExtension",
     chunked( "2;" + std::string( 5000, 'x' ) ),
     400,
     "the chunk's size" },
   { "EndlessTrailers",
     chunked( "0\r\nX: " + std::string( 20000, 'x' ) ),
     431,
     "at most 16384" },
};

std::vector< Hostile > const writers = {
   { "NoToken", patch( "" ), 401, "WWW-Authenticate: Bearer" },
   { "WrongToken", patch( "Authorization: Bearer open sesami\r\n" ), 401, "another token" },
   { "TokenCutOff", patch( "Authorization: Bearer open\r\n" ), 401, "another token" },
   { "TokenWithMore",
     patch( "Authorization: Bearer open sesame!\r\n" ),
     401,
     "another token" },
   { "EmptyToken", patch( "Authorization: Bearer \r\n" ), 401, "another scheme" },
   { "TwoTokens",
     patch( "Authorization: Bearer open sesame\r\nAuthorization: Bearer no\r\n" ),
     400,
     "2 of them" },
   { "OtherScheme", patch( "Authorization: Basic b3Blbg==\r\n" ), 401, "another scheme" },
   { "WrongTokenOfAReader",
     get( "/echo", "Authorization: Bearer no\r\n" ),
     401,
     "another token" },
   { "TokenOfAnotherSite",
     patch( "Authorization: Bearer open sesame\r\nOrigin: http://evil.example\r\n" ),
     403,
     "http://evil.example" },
   { "TokenAtAnotherName",
     from + "Host: evil.example\r\nAuthorization: Bearer open sesame\r\n\r\n{}",
     421,
     "evil.example" },
};

class HostileRequest : public testing::TestWithParam< Hostile > {};

std::string
testNameOf( testing::TestParamInfo< Hostile > const& info ) {
   return info.param.name;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(
   Lines, HostileRequest, testing::ValuesIn( requestLines ), testNameOf );
INSTANTIATE_TEST_SUITE_P( Paths, HostileRequest, testing::ValuesIn( paths ), testNameOf );
INSTANTIATE_TEST_SUITE_P(
   Headers, HostileRequest, testing::ValuesIn( headers ), testNameOf );
INSTANTIATE_TEST_SUITE_P( Bodies, HostileRequest, testing::ValuesIn( bodies ), testNameOf );
INSTANTIATE_TEST_SUITE_P(
   Writers, HostileRequest, testing::ValuesIn( writers ), testNameOf );

TEST_P( HostileRequest, IsAnsweredByItsStatusAndNothingIsLost ) {
   EchoServer echo;
   auto bystander = echo.client();
   bystander.send( "GET /echo/first HTTP/1.1\r\n" );
   std::string const answer = echo.answerTo( GetParam().request );
   EXPECT_EQ( statusOf( answer ), GetParam().status ) << answer;
   EXPECT_NE( answer.find( GetParam().said ), answer.npos ) << answer;
   Json const body = Json::parse( bodyOf( answer ), nullptr, false );
   ASSERT_TRUE( body.is_object() ) << answer;
   for ( char const* const key : { "where", "found", "expected" } ) {
      EXPECT_TRUE( body[ "error" ].contains( key ) ) << answer;
   }
   EXPECT_EQ( echo.writes, 0 );
   // Nobody else notices.
   EXPECT_EQ( statusOf( bystander.send( "Host: localhost\r\n\r\n" ).readAnswer() ), 200 );
   EXPECT_EQ( statusOf( echo.get( "/echo" ) ), 200 );
}

// Where a piece ends must not matter.
TEST_P( HostileRequest, IsAnsweredTheSameInPieces ) {
   EchoServer echo;
   auto client = echo.client();
   std::string_view request = GetParam().request;
   std::size_t const step = 1 + request.size() / 1000;
   while ( !request.empty() ) {
      std::string_view const piece = request.substr( 0, step );
      client.send( piece );
      request.remove_prefix( piece.size() );
      event_base_loop( echo.loop.base(), EVLOOP_NONBLOCK );
   }
   EXPECT_EQ( statusOf( client.readAnswer() ), GetParam().status );
}

} // namespace ostra::http
