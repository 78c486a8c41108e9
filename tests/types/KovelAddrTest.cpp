// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "KovelTest"

#include <Kovel/EthAddr>
#include <Kovel/IpAddr>
#include <support/AllocationCounter>

#include <gtest/gtest.h>

#include <arpa/inet.h>

#include <cstring>
#include <random>
#include <type_traits>
#include <unordered_set>

using Kovel::EthAddr;
using Kovel::IpAddr;

static_assert( sizeof( EthAddr ) == 8 );
static_assert( std::is_trivially_copyable_v< EthAddr > );
static_assert( !std::is_convertible_v< std::string_view, EthAddr > );
static_assert( !EthAddr() && EthAddr() == EthAddr() && !( EthAddr() < EthAddr() ) );
static_assert( std::is_trivially_copyable_v< IpAddr > );
static_assert( !std::is_convertible_v< std::string_view, IpAddr > );
static_assert( !IpAddr() && IpAddr().isZero() && IpAddr() == IpAddr() );

TEST( EthAddr, PrintsInLowerCaseWithColons ) {
   for ( std::string const text : { "02:00:00:00:10:01",
                                    "00:00:00:00:00:00",
                                    "ff:ff:ff:ff:ff:ff",
                                    "01:23:45:67:89:ab",
                                    "0c:0d:0e:0f:00:0a" } ) {
      EXPECT_EQ( EthAddr( text ).string(), text );
      EXPECT_EQ( printed( EthAddr( text ) ), text );
   }
}

TEST( EthAddr, ReadsAllThreeFormsInEitherCase ) {
   EthAddr const address( "02:ab:cd:ef:10:01" );
   for ( auto text : { "02:AB:CD:EF:10:01",
                       "02-ab-cd-ef-10-01",
                       "02-Ab-cD-EF-10-01",
                       "02ab.cdef.1001",
                       "02AB.CDEF.1001" } ) {
      EXPECT_EQ( EthAddr( text ), address ) << text;
   }
}

TEST( EthAddr, IsAllZeroByDefault ) {
   EXPECT_EQ( EthAddr().string(), "00:00:00:00:00:00" );
   EXPECT_EQ( EthAddr( "0000.0000.0000" ), EthAddr() );
   EXPECT_FALSE( EthAddr() );
   EXPECT_TRUE( EthAddr( "00:00:00:00:00:01" ) );
   EXPECT_TRUE( EthAddr( "80:00:00:00:00:00" ) );
}

TEST( EthAddr, OrdersByOctets ) {
   EXPECT_TRUE( areInOrder( valuesOf< EthAddr >( { "00:00:00:00:00:00",
                                                   "00:00:00:00:00:01",
                                                   "00:00:00:00:01:00",
                                                   "00:ff:ff:ff:ff:ff",
                                                   "01:00:00:00:00:00",
                                                   "ff:ff:ff:ff:ff:ff" } ) ) );
}

TEST( EthAddr, RefusesAnyOtherText ) {
   for ( std::string const text : { "",
                                    "x",
                                    "02",
                                    "02:00:00:00:10",
                                    "02:00:00:00:10:01:02",
                                    "2:0:0:0:10:1",
                                    "02:00:00:00:10:1",
                                    "02:00:00:00:10:001",
                                    "02:00:00-00-10-01",
                                    "02:00:00:00:10:0g",
                                    "02:00:00:00:10:+1",
                                    "02:00:00:00:10:-1",
                                    "02:00:00:00:10:01:",
                                    ":02:00:00:00:10:01",
                                    " 02:00:00:00:10:01",
                                    "02:00:00:00:10:01 ",
                                    "02:00::00:10:01",
                                    "020000001001",
                                    "0200.0000",
                                    "0200.0000.1001.0000",
                                    "0200.0000.101",
                                    "02.00.00.00.10.01",
                                    "0200:0000:1001",
                                    "0200-0000-1001",
                                    "0x00.0000.1001" } ) {
      EXPECT_EQ(
         refusalOf< EthAddr >( text ),
         "\"" + text +
            "\" is not an Ethernet address: expected six pairs of hexadecimal digits "
            "divided "
            "by \":\" or \"-\", such as 02:00:00:00:10:01, or three groups of four divided "
            "by "
            "\".\"" );
   }
}

TEST( EthAddr, IsAKeyOfStandardCollections ) {
   std::unordered_set< EthAddr > addresses{ EthAddr(), EthAddr( "02:00:00:00:10:01" ) };
   EXPECT_TRUE( addresses.contains( EthAddr( "0200.0000.1001" ) ) );
   EXPECT_FALSE( addresses.contains( EthAddr( "02:00:00:00:10:02" ) ) );
}

TEST( EthAddr, AllocatesNothingButForItsErrors ) {
   FixedStream out;
   support::AllocationCounter counter;
   EthAddr const address( "02:00:00:00:10:01" );
   EthAddr copy;
   copy = address;
   bool const same =
      copy == address && !( copy < address ) && copy.hash() == address.hash();
   out << copy;
   EXPECT_EQ( counter.allocations(), 0u );
   EXPECT_TRUE( same );
   EXPECT_EQ( out.view(), "02:00:00:00:10:01" );
}

TEST( IpAddr, PrintsACanonicalTextAsItWas ) {
   for ( std::string const text : { "0.0.0.0",
                                    "10.255.255.2",
                                    "255.255.255.255",
                                    "::",
                                    "::1",
                                    "1::",
                                    "::ffff:192.0.2.1",
                                    "::ffff:0.0.0.0",
                                    "::102:304",
                                    "2001:db8::1",
                                    "fe80::a:b:c:d",
                                    "2001:db8:0:1:1:1:1:1",
                                    "0:1:2:3:4:5:6:7",
                                    "1:2:3:4:5:6:7:0",
                                    "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff" } ) {
      EXPECT_EQ( IpAddr( text ).string(), text );
      EXPECT_EQ( printed( IpAddr( text ) ), text );
   }
}

TEST( IpAddr, PrintsTheCanonicalFormOfOtherTexts ) {
   struct {
      std::string text;
      std::string canonical;
   } const cases[] = {
      { "2001:DB8::AbCd", "2001:db8::abcd" },
      { "2001:0db8:0000:0000:0000:0000:0000:0001", "2001:db8::1" },
      { "0:0:0:0:0:0:0:0", "::" },
      // A single zero group is not worth a "::".
      { "2001:db8::1:1:1:1:1", "2001:db8:0:1:1:1:1:1" },
      { "1:2:3:4:5:6:7::", "1:2:3:4:5:6:7:0" },
      { "::2:3:4:5:6:7:8", "0:2:3:4:5:6:7:8" },
      // The longest run of zero groups, and the first of two.
      { "2001:0:0:1:0:0:0:1", "2001:0:0:1::1" },
      { "2001:db8:0:0:1:0:0:1", "2001:db8::1:0:0:1" },
      { "1:0:0:2:3:4:0:0", "1::2:3:4:0:0" },
      { "1:2:3:4:5:6:0:0", "1:2:3:4:5:6::" },
      // The IPv4 form is read anywhere, and printed for mapped addresses only.
      { "::1.2.3.4", "::102:304" },
      { "64:ff9b::192.0.2.33", "64:ff9b::c000:221" },
      { "1:2:3:4:5:6:7.8.9.10", "1:2:3:4:5:6:708:90a" },
      { "::ffff:c000:201", "::ffff:192.0.2.1" },
      { "0:0:0:0:0:ffff:10.0.0.1", "::ffff:10.0.0.1" },
   };
   for ( auto const& [ text, canonical ] : cases ) {
      EXPECT_EQ( IpAddr( text ).string(), canonical ) << text;
      EXPECT_EQ( IpAddr( canonical ), IpAddr( text ) ) << text;
   }
}

TEST( IpAddr, OfAnEmptyTextOrByDefaultIsZero ) {
   EXPECT_EQ( IpAddr( "" ), IpAddr() );
   EXPECT_EQ( IpAddr( "0.0.0.0" ), IpAddr() );
   EXPECT_EQ( IpAddr().string(), "0.0.0.0" );
}

TEST( IpAddr, IsZeroInBothVersionsThoughTheyDiffer ) {
   for ( auto text : { "", "0.0.0.0", "::", "0:0::0.0.0.0" } ) {
      EXPECT_TRUE( IpAddr( text ).isZero() ) << text;
      EXPECT_FALSE( IpAddr( text ) ) << text;
   }
   for ( auto text : { "0.0.0.1", "10.255.255.2", "::1", "1::", "::ffff:0.0.0.0" } ) {
      EXPECT_FALSE( IpAddr( text ).isZero() ) << text;
      EXPECT_TRUE( IpAddr( text ) ) << text;
   }
   EXPECT_NE( IpAddr( "::" ), IpAddr( "0.0.0.0" ) );
   EXPECT_NE( IpAddr( "::ffff:192.0.2.1" ), IpAddr( "192.0.2.1" ) );
}

TEST( IpAddr, OrdersByVersionAndThenByBits ) {
   EXPECT_TRUE( areInOrder( valuesOf< IpAddr >( { "0.0.0.0",
                                                  "2.0.0.0",
                                                  "10.0.0.0",
                                                  "10.0.0.1",
                                                  "10.0.1.0",
                                                  "255.255.255.255",
                                                  "::",
                                                  "::1",
                                                  "::ffff:10.0.0.1",
                                                  "0:0:0:1::",
                                                  "2001:db8::1",
                                                  "ffff::" } ) ) );
}

TEST( IpAddr, RefusesAnyTextWithoutAColonThatIsNotIpV4 ) {
   for ( std::string const text : { "x",
                                    "10",
                                    "10.0.0",
                                    "10.0.0.",
                                    ".10.0.0.1",
                                    "10..0.1",
                                    "10.0.0.256",
                                    "10.0.0.1.1",
                                    "10.0.0.01",
                                    "10.0.0.00",
                                    "10.0.0.-1",
                                    "10.0.0.+1",
                                    "10.0.0.1 ",
                                    " 10.0.0.1",
                                    "10.0.0.a",
                                    "10.0.0.0x1",
                                    "10.0.0.1/24",
                                    "10.0.0.99999999999999999999",
                                    "leaf2" } ) {
      EXPECT_EQ(
         refusalOf< IpAddr >( text ),
         "\"" + text +
            "\" is not an IP address: expected four numbers from 0 to 255 without leading "
            "zeros divided by \".\", such as 10.0.0.1, or an IPv6 address" );
   }
}

TEST( IpAddr, RefusesAnyTextWithAColonThatIsNotIpV6 ) {
   for ( std::string const text : { ":",
                                    ":::",
                                    "1:",
                                    ":1",
                                    "1:2:3:4:5:6:7",
                                    "1:2:3:4:5:6:7:8:9",
                                    "1:2:3:4:5:6:7:8::",
                                    "1:2:3:4:5:6:7:8:1.2.3.4",
                                    "1:2:3:4::5:6:7:8",
                                    "::1:2:3:4:5:6:7:8",
                                    "1::2::3",
                                    "1:::2",
                                    "::1:",
                                    ":1::",
                                    "12345::",
                                    "::00001",
                                    "::g",
                                    "::-1",
                                    "::+1",
                                    "::0x1",
                                    "fe80::1%1",
                                    "2001:db8::/32",
                                    " ::1",
                                    "::1 ",
                                    "[::1]",
                                    "1.2.3.4::",
                                    "::1.2.3.4:5",
                                    "::1.2.3",
                                    "::1.2.3.256",
                                    "::1.2.3.04",
                                    "1:2:3:4:5:6:7:1.2.3.4",
                                    "1:2:3:4:5:1.2.3.4",
                                    "::1.2.3.4.5",
                                    "1.2.3.4:1::",
                                    "10.0.0.1:80" } ) {
      EXPECT_EQ(
         refusalOf< IpAddr >( text ),
         "\"" + text +
            "\" is not an IP address: expected eight groups of one to four hexadecimal "
            "digits "
            "divided by \":\", \"::\" at most once for zero groups, such as 2001:db8::1" );
   }
}

namespace {

// The system's reading of an address: 4 or 16 octets, none when it refuses it.
std::string
systemsOctets( std::string const& text ) {
   char octets[ 16 ];
   if ( inet_pton( AF_INET, text.c_str(), octets ) == 1 ) {
      return { octets, 4 };
   }
   if ( inet_pton( AF_INET6, text.c_str(), octets ) == 1 ) {
      return { octets, 16 };
   }
   return "";
}

} // namespace

TEST( IpAddr, ReadsWhatTheSystemReads ) {
   std::vector< std::string > const pieces = { ":",    ":",  "::",     ".",  "0",
                                               "1",    "00", "255",    "ab", "F0",
                                               "ffff", "0a", "::ffff:" };
   std::vector< std::string > const starts = {
      "", "10.0.0", "1:2:3:4:5", "::", "1::10.0."
   };
   constexpr unsigned seed = 20260102;
   std::mt19937 random( seed );
   unsigned accepted = 0;
   for ( int i = 0; i != 100000; ++i ) {
      std::string text = starts[ random() % starts.size() ];
      for ( auto n = 1 + random() % 6; n != 0; --n ) {
         text += pieces[ random() % pieces.size() ];
      }
      std::string const octets = systemsOctets( text );
      accepted += !octets.empty();
      ASSERT_EQ( refusalOf< IpAddr >( text ).empty(), !octets.empty() )
         << text << ", seed " << seed;
      if ( !octets.empty() ) {
         ASSERT_EQ( systemsOctets( IpAddr( text ).string() ), octets )
            << text << ", seed " << seed;
      }
   }
   EXPECT_GT( accepted, 5000u );
}

TEST( IpAddr, AllocatesNothingButForItsErrors ) {
   for ( std::string_view const text : { "255.255.255.255",
                                         "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff",
                                         "::ffff:192.0.2.1" } ) {
      FixedStream out;
      support::AllocationCounter counter;
      IpAddr const address( text );
      IpAddr copy;
      copy = address;
      bool const same = copy == address && !( copy < address ) && !copy.isZero();
      out << copy;
      EXPECT_EQ( counter.allocations(), 0u );
      EXPECT_TRUE( same );
      EXPECT_EQ( out.view(), text );
   }
}
