// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/Endpoint>

#include <charconv>

#include <arpa/inet.h>

namespace ostra {

namespace {

bool
isAddress( int family, std::string const& text ) {
   unsigned char address[ sizeof( in6_addr ) ];
   return inet_pton( family, text.c_str(), address ) == 1;
}

} // namespace

std::optional< TcpEndpoint >
tcpEndpoint( std::string_view text ) {
   std::size_t const colon = text.rfind( ':' );
   if ( colon == text.npos ) {
      return std::nullopt;
   }
   std::string_view address = text.substr( 0, colon );
   bool const isBracketed = address.starts_with( '[' ) && address.ends_with( ']' );
   if ( isBracketed ) {
      address = address.substr( 1, address.size() - 2 );
   }
   TcpEndpoint endpoint{ std::string( address == "localhost" ? "127.0.0.1" : address ) };
   char const* const end = text.data() + text.size();
   auto const [ rest, error ] =
      std::from_chars( text.data() + colon + 1, end, endpoint.port );
   bool const isPort = error == std::errc() && rest == end;
   bool const isKnown = isAddress( isBracketed ? AF_INET6 : AF_INET, endpoint.address );
   return isPort && isKnown ? std::optional( endpoint ) : std::nullopt;
}

} // namespace ostra
