// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/http/Message>

#include <host/base/Failure>
#include <host/base/JsonLine>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <ctime>

namespace ostra::http {

namespace {

template< class Pairs >
std::string const*
valueIn( Pairs const& pairs, std::string_view name ) {
   auto const found =
      std::find_if( pairs.begin(), pairs.end(), [ name ]( auto const& pair ) {
         return pair.first == name;
      } );
   return found == pairs.end() ? nullptr : &found->second;
}

constexpr std::array< std::pair< int, std::string_view >, 25 > reasons = { {
   { 100, "Continue" },
   { 200, "OK" },
   { 202, "Accepted" },
   { 204, "No Content" },
   { 400, "Bad Request" },
   { 401, "Unauthorized" },
   { 403, "Forbidden" },
   { 404, "Not Found" },
   { 405, "Method Not Allowed" },
   { 406, "Not Acceptable" },
   { 408, "Request Timeout" },
   { 409, "Conflict" },
   { 410, "Gone" },
   { 411, "Length Required" },
   { 413, "Content Too Large" },
   { 414, "URI Too Long" },
   { 415, "Unsupported Media Type" },
   { 417, "Expectation Failed" },
   { 421, "Misdirected Request" },
   { 429, "Too Many Requests" },
   { 431, "Request Header Fields Too Large" },
   { 500, "Internal Server Error" },
   { 501, "Not Implemented" },
   { 503, "Service Unavailable" },
   { 505, "HTTP Version Not Supported" },
} };

// "Sun, 06 Nov 1994 08:49:37 GMT", made once a second.
std::string const&
date() {
   static std::time_t known = -1;
   static std::string text;
   std::time_t const now = std::time( nullptr );
   if ( now != known ) {
      std::tm parts{};
      gmtime_r( &now, &parts );
      std::array< char, 40 > buffer;
      text.assign(
         buffer.data(),
         std::strftime(
            buffer.data(), buffer.size(), "%a, %d %b %Y %H:%M:%S GMT", &parts ) );
      known = now;
   }
   return text;
}

} // namespace

std::string const*
Request::header( std::string_view name ) const {
   return valueIn( headers, name );
}

std::string const*
Request::parameter( std::string_view name ) const {
   return valueIn( query, name );
}

std::string_view
reason( int status ) {
   auto const found =
      std::find_if( reasons.begin(), reasons.end(), [ status ]( auto const& r ) {
         return r.first == status;
      } );
   return found == reasons.end() ? "Unknown" : found->second;
}

Response
textResponse( std::string contentType, std::string text ) {
   Response response;
   response.contentType = std::move( contentType );
   response.body = std::make_shared< std::string const >( std::move( text ) );
   return response;
}

Response
jsonResponse( Json const& json, int status ) {
   Response response = textResponse( "application/json", lineOf( json ) + '\n' );
   response.status = status;
   return response;
}

Response
problemResponse( Problem const& problem ) {
   Json error = { { "where", oneLine( problem.where ) },
                  { "found", oneLine( problem.found ) },
                  { "expected", oneLine( problem.expected ) } };
   Response response = jsonResponse( { { "error", std::move( error ) } }, problem.status );
   response.headers = problem.headers;
   return response;
}

std::string
headText( Response const& response, std::optional< std::size_t > length, bool isChunked ) {
   std::string text = fmt::format(
      "HTTP/1.1 {} {}\r\n"
      "Date: {}\r\n"
      "Cache-Control: no-store\r\n"
      "X-Content-Type-Options: nosniff\r\n"
      "Content-Security-Policy: {}\r\n"
      "Cross-Origin-Resource-Policy: same-origin\r\n"
      "Referrer-Policy: no-referrer\r\n",
      response.status,
      reason( response.status ),
      date(),
      response.contentSecurityPolicy );
   if ( !response.contentType.empty() ) {
      text += fmt::format( "Content-Type: {}\r\n", response.contentType );
   }
   if ( length ) {
      text += fmt::format( "Content-Length: {}\r\n", *length );
   } else if ( isChunked ) {
      text += "Transfer-Encoding: chunked\r\n";
   }
   for ( auto const& [ name, value ] : response.headers ) {
      text += fmt::format( "{}: {}\r\n", name, value );
   }
   return text;
}

} // namespace ostra::http
