// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <fuzz/values/Forms>

#include <fuzz/Require>

#include <arpa/inet.h>

#include <array>
#include <cctype>
#include <cstdlib>
#include <sstream>

namespace fuzz {

namespace {

template< class V >
std::string
streamed( V const& value ) {
   std::ostringstream out;
   out << value;
   return out.str();
}

// The hexadecimal digits of an address, whatever divides them.
std::string
digits( std::string const& text ) {
   std::string found;
   for ( char c : text ) {
      auto const byte = static_cast< unsigned char >( c );
      if ( std::isxdigit( byte ) ) {
         found += static_cast< char >( std::tolower( byte ) );
      }
   }
   return found;
}

// The version and the octets that the C library reads; empty when it reads none.
std::string
octets( std::string const& text ) {
   if ( text.find( '\0' ) != std::string::npos ) {
      return {};
   }
   std::array< char, 16 > bits{};
   if ( inet_pton( AF_INET, text.c_str(), bits.data() ) == 1 ) {
      return "4" + std::string( bits.data(), 4 );
   }
   if ( inet_pton( AF_INET6, text.c_str(), bits.data() ) == 1 ) {
      return "6" + std::string( bits.data(), bits.size() );
   }
   return {};
}

// How the C library prints the octets of an address.
std::string
printedLikeC( std::string const& bits ) {
   std::array< char, INET6_ADDRSTRLEN > text{};
   inet_ntop(
      bits[ 0 ] == '4' ? AF_INET : AF_INET6, bits.data() + 1, text.data(), text.size() );
   return text.data();
}

template< class V >
void
checkOrder( V const& a, V const& b ) {
   bool const same = a.string() == b.string();
   require( ( a == b ) == same, a, " == ", b );
   require( ( a != b ) != same, a, " != ", b );
   require( int( a < b ) + int( b < a ) + int( same ) == 1, a, " < ", b );
}

template< class V >
void
checkHash( V const& a, V const& b ) {
   require( a != b || a.hash() == b.hash(), "hashes of ", a );
}

} // namespace

void
checkForm( std::string const& text, bool value, std::string const& printed ) {
   require( text == printed || text == ( value ? "1" : "0" ), "bool ", text );
}

void
checkForm( std::string const& text, double value, std::string const& ) {
   char* end = nullptr;
   double const expected = std::strtod( text.c_str(), &end );
   require( *end == '\0' && value == expected, "double ", text );
}

void
checkForm( std::string const& text, long long value, std::string const& printed ) {
   require( std::strtoll( text.c_str(), nullptr, 10 ) == value, "integer ", text );
   require( std::to_string( value ) == printed, "integer printed ", printed );
}

void
checkForm( std::string const& text, std::string const& value, std::string const& printed ) {
   require( value == text && printed == text, "text ", text );
}

void
checkForm( std::string const& text, Kovel::IntfId value, std::string const& printed ) {
   require( printed == text, "an id with two names: ", text, ", ", printed );
   require( streamed( value ) == printed, "streamed ", printed );
   require( bool( value ) == !text.empty(), "the empty id: ", text );
}

void
checkForm( std::string const& text, Kovel::EthAddr value, std::string const& printed ) {
   require( digits( text ) == digits( printed ), "address ", text );
   require( printed.size() == 17 && streamed( value ) == printed, "printed ", printed );
   bool const zero = digits( text ).find_first_not_of( '0' ) == std::string::npos;
   require( bool( value ) != zero, "zero ", text );
}

bool
isAddress( std::string const& text ) {
   return !octets( text ).empty();
}

void
checkForm( std::string const& text, Kovel::IpAddr value, std::string const& printed ) {
   require( streamed( value ) == printed, "streamed ", printed );
   if ( text.empty() ) {
      require( printed == "0.0.0.0", "no address: ", printed );
      return;
   }
   std::string const bits = octets( text );
   require( !bits.empty() && bits == octets( printed ), "address ", text, " ", printed );
   // The C library prints the addresses ::/96 in the IPv4 form too.
   std::string const expected = printedLikeC( bits );
   bool const isMapped = expected.rfind( "::ffff:", 0 ) == 0;
   bool const hasDots = bits[ 0 ] == '6' && expected.find( '.' ) != std::string::npos;
   require( printed == expected || ( hasDots && !isMapped ), "printed ", printed );
   bool const zero = bits.find_first_not_of( '\0', 1 ) == std::string::npos;
   require( value.isZero() == zero && bool( value ) != zero, "zero ", text );
}

void
checkPair( Kovel::IntfId a, Kovel::IntfId b ) {
   checkOrder( a, b );
   checkHash( a, b );
}

void
checkPair( Kovel::EthAddr a, Kovel::EthAddr b ) {
   checkOrder( a, b );
   checkHash( a, b );
}

void
checkPair( Kovel::IpAddr a, Kovel::IpAddr b ) {
   checkOrder( a, b );
}

} // namespace fuzz
