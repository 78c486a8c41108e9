// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Kovel/IpAddr>

#include <Kovel/Text>

#include <algorithm>
#include <array>
#include <optional>
#include <ostream>

namespace Kovel {

namespace {

constexpr std::size_t groupCount = 8;
using Groups = std::array< std::uint16_t, groupCount >;
using IpAddrText =
   FixedText< std::string_view( "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff" ).size() >;

std::optional< std::uint32_t >
readIpV4( std::string_view text ) {
   std::uint32_t bits = 0;
   unsigned count = 0;
   bool const good = allParts( text, '.', [ & ]( std::string_view part ) {
      auto const number = wholeNumber( part, 10 );
      bool const leadingZero = part.size() > 1 && part.front() == '0';
      if ( !number || *number > 255 || leadingZero || ++count > 4 ) {
         return false;
      }
      bits = bits << 8 | *number;
      return true;
   } );
   return good && count == 4 ? std::optional( bits ) : std::nullopt;
}

// Collects the groups of an IPv6 address from left to right.
class GroupReader {
 public:
   // Reads the groups on one side of a "::", or all; there may be none. False when `text`
   // is not a list of groups or there are too many.
   bool read( std::string_view text ) {
      auto const readOne = [ this ]( std::string_view group ) { return readPart( group ); };
      return text.empty() || allParts( text, ':', readOne );
   }

   bool complete() const { return count_ == groupCount; }
   // The IPv4 form has been read, behind which nothing may stand.
   bool closed() const { return closed_; }

   void gapIs() { gap_ = count_; }
   // The groups read, those behind the gap moved to the end.
   Groups groups() const {
      Groups result = groups_;
      std::rotate( result.begin() + gap_, result.begin() + count_, result.end() );
      return result;
   }

 private:
   bool readPart( std::string_view part ) {
      if ( part.find( '.' ) != std::string_view::npos ) {
         return readIpV4Part( part );
      }
      auto const group = wholeNumber( part, 16 );
      return group && part.size() <= 4 && append( *group );
   }

   bool readIpV4Part( std::string_view part ) {
      auto const bits = readIpV4( part );
      if ( !bits || !append( *bits >> 16 ) || !append( *bits & 0xffff ) ) {
         return false;
      }
      closed_ = true;
      return true;
   }

   bool append( std::uint32_t group ) {
      if ( complete() || closed_ ) {
         return false;
      }
      groups_[ count_++ ] = static_cast< std::uint16_t >( group );
      return true;
   }

   Groups groups_{};
   unsigned count_ = 0;
   unsigned gap_ = 0;
   bool closed_ = false;
};

std::optional< Groups >
readIpV6( std::string_view text ) {
   GroupReader reader;
   std::size_t const gap = text.find( "::" );
   if ( !reader.read( text.substr( 0, gap ) ) ) {
      return std::nullopt;
   }
   if ( gap == std::string_view::npos ) {
      return reader.complete() ? std::optional( reader.groups() ) : std::nullopt;
   }
   bool const misplaced = reader.closed();
   reader.gapIs();
   if ( misplaced || !reader.read( text.substr( gap + 2 ) ) || reader.complete() ) {
      return std::nullopt;
   }
   return reader.groups();
}

// Four groups as one word, the first the most significant.
std::uint64_t
joined( Groups const& groups, std::size_t begin ) {
   std::uint64_t word = 0;
   for ( std::size_t i = begin; i != begin + 4; ++i ) {
      word = word << 16 | groups[ i ];
   }
   return word;
}

Groups
divided( std::uint64_t high, std::uint64_t low ) {
   Groups groups{};
   for ( std::size_t i = 0; i != 4; ++i ) {
      groups[ i ] = static_cast< std::uint16_t >( high >> ( 48 - 16 * i ) );
      groups[ i + 4 ] = static_cast< std::uint16_t >( low >> ( 48 - 16 * i ) );
   }
   return groups;
}

void
appendIpV4( IpAddrText& text, std::uint32_t bits ) {
   for ( unsigned shift = 32; shift != 0; shift -= 8 ) {
      if ( shift != 32 ) {
         text.append( '.' );
      }
      text.appendNumber( bits >> ( shift - 8 ) & 0xff, 10 );
   }
}

struct Run {
   std::size_t begin = 0;
   std::size_t length = 0;
};

// The first of equally long ones.
Run
longestZeroRun( Groups const& groups ) {
   Run longest;
   Run current;
   for ( std::size_t i = 0; i != groupCount; ++i ) {
      if ( groups[ i ] != 0 ) {
         current = { i + 1, 0 };
      } else if ( ++current.length > longest.length ) {
         longest = current;
      }
   }
   return longest;
}

void
appendGroups( IpAddrText& text, Groups const& groups, std::size_t begin, std::size_t end ) {
   for ( std::size_t i = begin; i != end; ++i ) {
      if ( i != begin ) {
         text.append( ':' );
      }
      text.appendNumber( groups[ i ], 16 );
   }
}

void
appendIpV6( IpAddrText& text, std::uint64_t high, std::uint64_t low ) {
   if ( high == 0 && low >> 32 == 0xffff ) {
      text.append( "::ffff:" );
      appendIpV4( text, static_cast< std::uint32_t >( low ) );
      return;
   }
   Groups const groups = divided( high, low );
   Run const zeros = longestZeroRun( groups );
   if ( zeros.length < 2 ) {
      appendGroups( text, groups, 0, groupCount );
      return;
   }
   appendGroups( text, groups, 0, zeros.begin );
   text.append( "::" );
   appendGroups( text, groups, zeros.begin + zeros.length, groupCount );
}

IpAddrText
addressText( bool isIpV6, std::uint64_t high, std::uint64_t low ) {
   IpAddrText text;
   if ( isIpV6 ) {
      appendIpV6( text, high, low );
   } else {
      appendIpV4( text, static_cast< std::uint32_t >( low ) );
   }
   return text;
}

[[noreturn]] void
refuse( std::string_view text ) {
   throwBadText(
      text,
      "an IP address",
      text.find( ':' ) == std::string_view::npos
         ? "four numbers from 0 to 255 without leading zeros divided by \".\", such as "
           "10.0.0.1, or an IPv6 address"
         : "eight groups of one to four hexadecimal digits divided by \":\", \"::\" at "
           "most once for zero groups, such as 2001:db8::1" );
}

} // namespace

IpAddr::IpAddr( std::string_view text ) {
   if ( text.empty() ) {
      return;
   }
   if ( auto const bits = readIpV4( text ) ) {
      low_ = *bits;
      return;
   }
   auto const groups = readIpV6( text );
   if ( !groups ) {
      refuse( text );
   }
   isIpV6_ = true;
   high_ = joined( *groups, 0 );
   low_ = joined( *groups, groupCount / 2 );
}

Ryx::String8
IpAddr::string() const {
   return Ryx::String8( addressText( isIpV6_, high_, low_ ).view() );
}

std::ostream&
operator<<( std::ostream& out, IpAddr const& address ) {
   return out << addressText( address.isIpV6_, address.high_, address.low_ ).view();
}

} // namespace Kovel
