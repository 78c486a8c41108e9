// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "KovelTest"

#include <Kovel/InternalIntfId>
#include <Kovel/IntfId>
#include <Kovel/MgmtIntfId>
#include <support/AllocationCounter>

#include <gtest/gtest.h>

#include <iomanip>
#include <new>
#include <random>
#include <regex>
#include <type_traits>
#include <unordered_set>

using Kovel::InternalIntfId;
using Kovel::IntfId;
using Kovel::MgmtIntfId;

static_assert( sizeof( IntfId ) == 16 );
static_assert( std::is_trivially_copyable_v< IntfId > );
static_assert( std::is_nothrow_default_constructible_v< IntfId > );
static_assert( !std::is_convertible_v< std::string_view, IntfId > );
static_assert( !std::is_convertible_v< IntfId, bool > );
static_assert( !IntfId() && IntfId() == IntfId() && !( IntfId() < IntfId() ) );
static_assert( IntfId().hash() == IntfId().hash() );

namespace {

// In alphabetical order.
std::vector< std::string > const prefixes = {
   "Ethernet",         "Internal",     "Loopback",     "Management",
   "PeerEthernet",     "PeerInternal", "PeerLoopback", "PeerManagement",
   "PeerPort-Channel", "PeerRecirc",   "PeerVlan",     "Port-Channel",
   "Recirc",           "Vlan",
};

// In order for any one prefix.
std::vector< std::string > const numbers = {
   "0",
   "0/0",
   "0/0/0",
   "0/0/0/0",
   "1",
   "1/0",
   "1/1",
   "1/1/1",
   "1/1/1/1",
   "1/1/1/2",
   "1/1/2",
   "1/2",
   "1/10",
   "1/268435454",
   "2",
   "10",
   "4094",
   "268435454",
   "268435454/268435454",
   "268435454/268435454/268435454",
   "268435454/268435454/268435454/268435454",
};

// All names, in order.
std::vector< std::string >
allNames() {
   std::vector< std::string > names;
   for ( auto const& prefix : prefixes ) {
      for ( auto const& number : numbers ) {
         names.push_back( prefix + number );
      }
   }
   return names;
}

std::string
notAName( std::string const& text, std::string const& expected ) {
   return "\"" + text + "\" is not an interface name: expected " + expected;
}

std::string const aName = "Ethernet, Internal, Loopback, Management, Port-Channel, Recirc "
                          "or Vlan, or one of these "
                          "behind Peer, followed by one to four numbers divided by \"/\"";

} // namespace

TEST( IntfId, PrintsTheNameItWasBuiltFrom ) {
   for ( auto const& name : allNames() ) {
      IntfId const id( name );
      EXPECT_TRUE( id ) << name;
      EXPECT_EQ( id.string(), name );
      EXPECT_EQ( printed( id ), name );
      EXPECT_EQ( IntfId( id.string() ), id ) << name;
   }
}

TEST( IntfId, IsBuiltFromEveryKindOfText ) {
   IntfId const expected( std::string_view( "Ethernet1" ) );
   EXPECT_EQ( IntfId( "Ethernet1" ), expected );
   EXPECT_EQ( IntfId( Ryx::String8( "Ethernet1" ) ), expected );
}

TEST( IntfId, ReadsNoFurtherThanItsText ) {
   EXPECT_EQ(
      IntfId( std::string_view( "Ethernet123" ).substr( 0, 9 ) ).string(), "Ethernet1" );
}

TEST( IntfId, OfAnEmptyNameMeansNoInterface ) {
   EXPECT_EQ( IntfId( "" ), IntfId() );
   EXPECT_FALSE( IntfId( "" ) );
   EXPECT_EQ( IntfId().string(), "" );
   EXPECT_EQ( printed( IntfId() ), "" );
   EXPECT_EQ( IntfId().prefix(), "" );
   EXPECT_EQ( IntfId().numberCount(), 0u );
   EXPECT_EQ( IntfId().kind(), IntfId::Kind::none );
}

TEST( IntfId, TellsThePartsOfItsName ) {
   IntfId const id( "PeerPort-Channel3/0/268435454/7" );
   EXPECT_EQ( id.prefix(), "PeerPort-Channel" );
   ASSERT_EQ( id.numberCount(), 4u );
   EXPECT_EQ( id.number( 0 ), 3u );
   EXPECT_EQ( id.number( 1 ), 0u );
   EXPECT_EQ( id.number( 2 ), 268435454u );
   EXPECT_EQ( id.number( 3 ), 7u );
   EXPECT_EQ( IntfId( "Vlan1" ).numberCount(), 1u );
}

TEST( IntfIdDeathTest, AbortsWhenAskedForANumberItDoesNotHave ) {
   EXPECT_DEATH( IntfId( "Vlan1" ).number( 1 ), "Kovel::IntfId::number" );
   EXPECT_DEATH( IntfId( "Vlan1/1/1/1" ).number( 4 ), "Kovel::IntfId::number" );
}

TEST( IntfId, OrdersNaturallyWithTheEmptyIdFirst ) {
   auto names = allNames();
   names.insert( names.begin(), "" );
   EXPECT_TRUE( areInOrder( valuesOf< IntfId >( names ) ) );
   EXPECT_TRUE( areInOrder( valuesOf< IntfId >( { "Ethernet2",
                                                  "Ethernet10",
                                                  "Ethernet10/1",
                                                  "Internal1",
                                                  "Port-Channel2",
                                                  "Vlan1" } ) ) );
}

TEST( IntfId, RefusesAnUnknownPrefix ) {
   for ( std::string const text : { "Ethernt1",
                                    "ethernet1",
                                    "ETHERNET1",
                                    "Et1",
                                    " Ethernet1",
                                    "1",
                                    "Ethernet/1",
                                    "Ethernet-1",
                                    "Ethernet 1",
                                    "PortChannel1",
                                    "Peer1",
                                    "PeerPeerVlan1",
                                    "Peer Ethernet1",
                                    "x",
                                    "/",
                                    "-1" } ) {
      EXPECT_EQ( refusalOf< IntfId >( text ), notAName( text, aName ) );
   }
}

TEST( IntfId, RefusesAMissingNumber ) {
   EXPECT_EQ(
      refusalOf< IntfId >( "Vlan" ), notAName( "Vlan", "a number after \"Vlan\"" ) );
   EXPECT_EQ(
      refusalOf< IntfId >( "Ethernet1/" ),
      notAName( "Ethernet1/", "a number after \"Ethernet1/\"" ) );
   EXPECT_EQ(
      refusalOf< IntfId >( "Ethernet1//2" ),
      notAName( "Ethernet1//2", "a number after \"Ethernet1/\"" ) );
   EXPECT_EQ(
      refusalOf< IntfId >( "Ethernet1/-2" ),
      notAName( "Ethernet1/-2", "a number after \"Ethernet1/\"" ) );
}

TEST( IntfId, RefusesALeadingZero ) {
   EXPECT_EQ(
      refusalOf< IntfId >( "Ethernet01" ),
      notAName( "Ethernet01", "a number without leading zeros instead of \"01\"" ) );
   EXPECT_EQ(
      refusalOf< IntfId >( "Ethernet1/00" ),
      notAName( "Ethernet1/00", "a number without leading zeros instead of \"00\"" ) );
}

TEST( IntfId, RefusesANumberThatIsTooLarge ) {
   for ( std::string const number :
         { "268435455", "4294967296", "99999999999999999999999" } ) {
      EXPECT_EQ(
         refusalOf< IntfId >( "Vlan1/" + number ),
         notAName(
            "Vlan1/" + number, "a number up to 268435454 instead of \"" + number + "\"" ) );
   }
}

TEST( IntfId, RefusesAFifthNumber ) {
   for ( std::string const text : { "Ethernet1/2/3/4/5", "Ethernet1/2/3/4/" } ) {
      EXPECT_EQ(
         refusalOf< IntfId >( text ),
         notAName( text, "at most four numbers divided by \"/\"" ) );
   }
}

TEST( IntfId, RefusesAnythingElseBehindANumber ) {
   for ( std::string const text :
         { "Ethernet1 ", "Ethernet1.100", "Ethernet1-4", "Ethernet1,2", "Ethernet1x" } ) {
      EXPECT_EQ(
         refusalOf< IntfId >( text ),
         notAName( text, "\"/\" or nothing more after \"Ethernet1\"" ) );
   }
}

TEST( IntfId, RefusesControlCharactersWithAMessageOfOneLine ) {
   using namespace std::string_view_literals;
   EXPECT_EQ(
      refusalOf< IntfId >( "Ethernet1\n\0"sv ),
      notAName( "Ethernet1\\x0a\\x00", "\"/\" or nothing more after \"Ethernet1\"" ) );
   EXPECT_EQ( refusalOf< IntfId >( "\x7f"sv ), notAName( "\\x7f", aName ) );
}

TEST( IntfId, AcceptsExactlyTheNamesOfTheRule ) {
   std::regex const rule(
      "(Peer)?(Ethernet|Port-Channel|Vlan|Loopback|Management|Internal|Recirc)"
      "(0|[1-9][0-9]*)(/(0|[1-9][0-9]*)){0,3}" );
   std::vector< std::string > const pieces = { "Peer", "Ethernet", "Port-Channel",
                                               "Vlan", "Recirc",   "Internal",
                                               "0",    "1",        "42",
                                               "/",    "/7",       "-" };
   constexpr unsigned seed = 20260101;
   std::mt19937 random( seed );
   unsigned accepted = 0;
   for ( int i = 0; i != 20000; ++i ) {
      std::string text = i % 2 == 0 ? "Ethernet" : "";
      for ( auto n = 1 + random() % 7; n != 0; --n ) {
         text += pieces[ random() % pieces.size() ];
      }
      bool const isName = std::regex_match( text, rule );
      accepted += isName;
      ASSERT_EQ( refusalOf< IntfId >( text ).empty(), isName ) << text << ", seed " << seed;
      if ( isName ) {
         ASSERT_EQ( IntfId( text ).string(), text ) << "seed " << seed;
      }
   }
   EXPECT_GT( accepted, 500u );
}

TEST( IntfId, PrintsInTheWidthOfTheStream ) {
   std::ostringstream out;
   out << std::setw( 10 ) << std::left << IntfId( "Vlan1" ) << '|';
   EXPECT_EQ( out.str(), "Vlan1     |" );
}

TEST( IntfId, IsAKeyOfStandardCollections ) {
   std::unordered_set< IntfId > ids;
   for ( auto const& name : allNames() ) {
      ids.emplace( name );
   }
   EXPECT_EQ( ids.size(), allNames().size() );
   EXPECT_TRUE( ids.contains( IntfId( "PeerVlan10" ) ) );
   EXPECT_FALSE( ids.contains( IntfId() ) );
}

TEST( IntfId, AllocatesNothingButForItsErrors ) {
   FixedStream out;
   std::string_view const name = "PeerPort-Channel268435454/268435454/268435454/268435454";
   support::AllocationCounter counter;
   IntfId const id( name );
   IntfId copy;
   copy = id;
   bool const same = copy == id && !( copy < id ) && copy.hash() == id.hash();
   out << copy;
   EXPECT_EQ( counter.allocations(), 0u );
   EXPECT_TRUE( same );
   EXPECT_EQ( out.view(), name );
}

// Calls of the operators, since the compiler may leave out a new-expression.
TEST( AllocationCounter, CountsEveryFormOfAllocation ) {
   constexpr std::align_val_t alignment{ 64 };
   support::AllocationCounter counter;
   operator delete( operator new( 1 ) );
   operator delete[]( operator new[]( 1 ) );
   operator delete( operator new( 1, std::nothrow ) );
   operator delete[]( operator new[]( 1, std::nothrow ) );
   EXPECT_EQ( counter.allocations(), 4u );
   operator delete( operator new( 1, alignment ), alignment );
   operator delete[]( operator new[]( 1, alignment ), alignment );
   EXPECT_EQ( counter.allocations(), 6u );
}

TEST( MgmtIntfId, IsAManagementInterfaceOfThisSwitchOnly ) {
   for ( auto const& prefix : prefixes ) {
      EXPECT_EQ(
         MgmtIntfId::isMgmtIntfId( IntfId( prefix + "1" ) ), prefix == "Management" )
         << prefix;
   }
   EXPECT_TRUE( MgmtIntfId::isMgmtIntfId( IntfId( "Management0" ) ) );
   EXPECT_TRUE( MgmtIntfId::isMgmtIntfId( IntfId( "Management1/1" ) ) );
   EXPECT_FALSE( MgmtIntfId::isMgmtIntfId( IntfId() ) );
}

TEST( InternalIntfId, IsAnInternalOrRecircInterfaceOfThisSwitchOnly ) {
   for ( auto const& prefix : prefixes ) {
      EXPECT_EQ(
         InternalIntfId::isInternalIntfId( IntfId( prefix + "1" ) ),
         prefix == "Internal" || prefix == "Recirc" )
         << prefix;
   }
   EXPECT_FALSE( InternalIntfId::isInternalIntfId( IntfId() ) );
}
