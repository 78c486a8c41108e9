// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/http/Guard>

#include <host/base/Failure>

#include <algorithm>
#include <array>

#include <arpa/inet.h>
#include <strings.h>

namespace ostra::http {

namespace {

bool
isPort( std::string_view text ) {
   return !text.empty() && text.size() <= 5 &&
      text.find_first_not_of( "0123456789" ) == text.npos;
}

using IpAddress = std::array< unsigned char, sizeof( in6_addr ) >;

std::optional< IpAddress >
addressOf( int family, std::string_view text ) {
   IpAddress address{};
   bool const isOne = inet_pton( family, std::string( text ).c_str(), address.data() ) == 1;
   return isOne ? std::optional( address ) : std::nullopt;
}

// The machine itself, or where the client has connected to: a page may have been made to ask
// here under any other address.
bool
isHere( int family, std::string_view name, std::string const& local ) {
   auto const address = addressOf( family, name );
   bool const isLoopback = address &&
      ( family == AF_INET ? address->front() == 127
                          : address == addressOf( family, "::1" ) );
   return isLoopback || ( address && address == addressOf( family, local ) );
}

// This machine by its address, with a port or without one.
bool
isNumericHost( std::string_view host, std::string const& local ) {
   std::size_t const end = host.starts_with( '[' )
      ? host.find( ']' )
      : std::min( host.find( ':' ), host.size() );
   if ( end == host.npos ) {
      return false;
   }
   bool const isBracketed = host.starts_with( '[' );
   std::string_view const name =
      isBracketed ? host.substr( 1, end - 1 ) : host.substr( 0, end );
   std::string_view const rest = host.substr( isBracketed ? end + 1 : end );
   if ( !rest.empty() && ( rest.front() != ':' || !isPort( rest.substr( 1 ) ) ) ) {
      return false;
   }
   if ( isBracketed ) {
      return isHere( AF_INET6, name, local );
   }
   return strcasecmp( std::string( name ).c_str(), "localhost" ) == 0 ||
      isHere( AF_INET, name, local );
}

// A page of another site made the browser send it. A link that a person follows does not
// count.
bool
isSentByAnotherSite( Request const& request ) {
   std::string const* const site = request.header( "sec-fetch-site" );
   std::string const* const mode = request.header( "sec-fetch-mode" );
   bool const isFollowed = mode && *mode == "navigate" && request.method == "GET";
   return site && *site != "same-origin" && *site != "none" && !isFollowed;
}

} // namespace

bool
isEqualInConstantTime( std::string_view a, std::string_view b ) noexcept {
   // Of the length that the client has chosen.
   unsigned difference = a.size() == b.size() ? 0 : 1;
   for ( std::size_t i = 0; i < a.size(); ++i ) {
      unsigned const other =
         b.empty() ? 0 : static_cast< unsigned char >( b[ i % b.size() ] );
      difference |= static_cast< unsigned char >( a[ i ] ) ^ other;
   }
   return difference == 0;
}

std::optional< Problem >
Guard::problemOf( Request const& request ) const {
   if ( !request.isFromSocket && !isNumericHost( request.host, request.localAddress ) ) {
      return Problem{ 421,
                      "Host",
                      inQuotes( request.host ),
                      "localhost or the address that was connected to" };
   }
   if ( auto problem = originProblem( request ) ) {
      return problem;
   }
   return tokenProblem( request );
}

std::optional< Problem >
Guard::originProblem( Request const& request ) const {
   std::string const* const origin = request.header( "origin" );
   if ( origin && *origin != "http://" + request.host ) {
      return Problem{
         403, "Origin", inQuotes( *origin ), inQuotes( "http://" + request.host )
      };
   }
   if ( isSentByAnotherSite( request ) ) {
      return Problem{ 403,
                      "Sec-Fetch-Site",
                      inQuotes( *request.header( "sec-fetch-site" ) ),
                      "a request of this server's own page" };
   }
   return std::nullopt;
}

std::optional< Problem >
Guard::tokenProblem( Request const& request ) const {
   constexpr std::string_view scheme = "bearer ";
   std::string const* const given = request.header( "authorization" );
   if ( !given || request.isFromSocket ) {
      return std::nullopt;
   }
   bool const isBearer = given->size() > scheme.size() &&
      strncasecmp( given->c_str(), scheme.data(), scheme.size() ) == 0;
   std::string_view const token =
      std::string_view( *given ).substr( isBearer ? scheme.size() : given->size() );
   if ( !token_.empty() && isEqualInConstantTime( token, token_ ) ) {
      return std::nullopt;
   }
   // The text may be a secret of somewhere else.
   return Problem{ 401,
                   "Authorization",
                   isBearer ? "another token" : "another scheme",
                   "Bearer and the token",
                   { { "WWW-Authenticate", "Bearer error=\"invalid_token\"" } } };
}

std::optional< Problem >
Guard::problemOf( Request const& request, Access access ) const {
   if (
      access == Access::read || request.isFromSocket ||
      request.header( "authorization" ) ) {
      return std::nullopt;
   }
   if ( token_.empty() ) {
      return Problem{ 403, request.method, "no token is set", "this on the unix socket" };
   }
   return Problem{ 401,
                   "Authorization",
                   "none",
                   "Bearer and the token, or this on the unix socket",
                   { { "WWW-Authenticate", "Bearer" } } };
}

} // namespace ostra::http
