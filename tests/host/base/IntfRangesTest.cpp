// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/IntfRanges>

#include <Ryx/Exception>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <support/Unfold>

#include <algorithm>
#include <set>

namespace ostra {
namespace {

std::string
rangesOf( std::initializer_list< char const* > names ) {
   std::vector< Kovel::IntfId > ids;
   for ( auto const* name : names ) {
      ids.emplace_back( name );
   }
   return intfRanges( ids );
}

TEST( IntfRanges, NoInterfacesGiveNoText ) {
   EXPECT_EQ( rangesOf( {} ), "" );
}

TEST( IntfRanges, OneInterfaceIsItsName ) {
   EXPECT_EQ( rangesOf( { "Ethernet7" } ), "Ethernet7" );
   EXPECT_EQ( rangesOf( { "Ethernet7/1/2" } ), "Ethernet7/1/2" );
}

TEST( IntfRanges, NeighboursMakeARange ) {
   EXPECT_EQ( rangesOf( { "Ethernet1", "Ethernet2" } ), "Ethernet1-2" );
   EXPECT_EQ(
      rangesOf( { "Ethernet1", "Ethernet2", "Ethernet3", "Ethernet27" } ),
      "Ethernet1-3,27" );
}

TEST( IntfRanges, OrderIsNaturalWhateverTheOrderGiven ) {
   EXPECT_EQ(
      rangesOf( { "Ethernet10", "Ethernet2", "Ethernet9", "Ethernet1" } ),
      "Ethernet1-2,9-10" );
}

TEST( IntfRanges, EveryNumberCanBeARange ) {
   EXPECT_EQ(
      rangesOf( { "Ethernet1/1", "Ethernet1/2", "Ethernet1/3", "Ethernet1/4" } ),
      "Ethernet1/1-4" );
   EXPECT_EQ(
      rangesOf( { "Ethernet49/1", "Ethernet50/1", "Ethernet51/1" } ), "Ethernet49-51/1" );
   EXPECT_EQ( rangesOf( { "Ethernet3/1/1", "Ethernet3/2/1" } ), "Ethernet3/1-2/1" );
   EXPECT_EQ( rangesOf( { "Ethernet1/1/1", "Ethernet2/1/2" } ), "Ethernet1/1/1,2/1/2" );
}

TEST( IntfRanges, TwoRangesInANameMeanEveryPair ) {
   EXPECT_EQ(
      rangesOf( { "Ethernet3/1", "Ethernet3/2", "Ethernet4/1", "Ethernet4/2" } ),
      "Ethernet3-4/1-2" );
   EXPECT_EQ(
      rangesOf( { "Ethernet3/1", "Ethernet3/2", "Ethernet4/1" } ), "Ethernet3/1-2,4/1" );
}

TEST( IntfRanges, AGapIsInThePieceThatHasIt ) {
   std::vector< Kovel::IntfId > ids;
   for ( int card = 3; card <= 10; ++card ) {
      for ( int port = 1; port <= 36; ++port ) {
         if ( card != 5 || port != 7 ) {
            ids.emplace_back( fmt::format( "Ethernet{}/{}/1", card, port ) );
         }
      }
   }
   EXPECT_EQ( intfRanges( ids ), "Ethernet3-4/1-36/1,5/1-6/1,5/8-36/1,6-10/1-36/1" );
}

TEST( IntfRanges, NamesOfDifferentLengthAreNoNeighbours ) {
   EXPECT_EQ( rangesOf( { "Ethernet1", "Ethernet2/1", "Ethernet3" } ), "Ethernet1,2/1,3" );
   EXPECT_EQ( rangesOf( { "Ethernet1", "Ethernet1/2", "Ethernet2" } ), "Ethernet1-2,1/2" );
}

TEST( IntfRanges, EachKindIsNamedOnce ) {
   EXPECT_EQ(
      rangesOf( { "Port-Channel10", "Ethernet2", "Port-Channel11", "Ethernet1", "Vlan5" } ),
      "Ethernet1-2, Port-Channel10-11, Vlan5" );
   EXPECT_EQ( rangesOf( { "PeerEthernet2", "Ethernet1" } ), "Ethernet1, PeerEthernet2" );
}

TEST( IntfRanges, AnInterfaceGivenTwiceIsWrittenOnce ) {
   EXPECT_EQ( rangesOf( { "Ethernet1", "Ethernet1", "Ethernet2" } ), "Ethernet1-2" );
}

// Numbers so small that most interfaces have neighbours.
rc::Gen< std::string >
anyName() {
   return rc::gen::exec( [] {
      std::string name = *rc::gen::element< std::string >(
         "Ethernet", "Port-Channel", "PeerEthernet", "Ethernet" );
      int const numbers = *rc::gen::inRange( 1, 5 );
      for ( int i = 0; i < numbers; ++i ) {
         name += fmt::format( "{}{}", i == 0 ? "" : "/", *rc::gen::inRange( 0, 4 ) );
      }
      return name;
   } );
}

TEST( IntfRanges, UnfoldedTheyAreTheSameInterfaces ) {
   EXPECT_TRUE( rc::check( "ranges name each interface once, and no other", [] {
      auto const names = *rc::gen::container< std::vector< std::string > >( anyName() );
      std::vector< Kovel::IntfId > const ids( names.begin(), names.end() );
      std::vector< std::string > unfolded = support::unfolded( intfRanges( ids ) );
      std::sort( unfolded.begin(), unfolded.end() );
      std::set< std::string > const expected( names.begin(), names.end() );
      RC_ASSERT(
         unfolded == std::vector< std::string >( expected.begin(), expected.end() ) );
   } ) );
}

std::string
namesIn( std::string const& ranges ) {
   std::string names;
   for ( Kovel::IntfId const id : interfacesOf( ranges ) ) {
      names += ( names.empty() ? "" : " " ) + id.string();
   }
   return names;
}

TEST( IntfRanges, AreReadInTheOrderInWhichTheyStand ) {
   EXPECT_EQ( namesIn( "Ethernet7" ), "Ethernet7" );
   EXPECT_EQ( namesIn( "Ethernet9-11,3" ), "Ethernet9 Ethernet10 Ethernet11 Ethernet3" );
   EXPECT_EQ(
      namesIn( "Ethernet3-4/1-2/1" ),
      "Ethernet3/1/1 Ethernet3/2/1 Ethernet4/1/1 Ethernet4/2/1" );
   EXPECT_EQ(
      namesIn( "PeerPort-Channel1-2,Vlan7, Ethernet1" ),
      "PeerPort-Channel1 PeerPort-Channel2 Vlan7 Ethernet1" );
   EXPECT_EQ( interfacesOf( "Ethernet1-256/1-256" ).size(), mostInRanges );
}

std::string
whyNone( std::string const& ranges ) {
   try {
      return namesIn( ranges );
   } catch ( Ryx::RangeException const& error ) {
      return error.message();
   }
}

TEST( IntfRanges, ThatAreNoneSayWhy ) {
   auto const why = []( std::string const& ranges, std::string const& expected ) {
      return "\"" + ranges + "\" is not a range of interfaces: expected " + expected;
   };
   for ( auto const& [ ranges, expected ] :
         std::initializer_list< std::pair< char const*, char const* > >{
            { "Ethernet4-1", "a number greater than 4 behind \"4-\"" },
            { "Ethernet1/1-1/48", "a number greater than 1 behind \"1-\"" },
            { "Ethernet1-3,2", "Ethernet2 once" },
            { "Ethernet1,", "a number or a name behind each comma" },
            { "1-3", "a number or a name behind each comma" },
            { "Ethernet1-", "a number behind \"1-\"" },
            { "Ethernet1--3", "a number behind \"1-\"" },
            { "Ethernet1-Ethernet4", "a number behind \"1-\"" },
            { "Ethernet3/1 - 4", "a number behind \"1 -\"" },
            { "Ethernet1-65537", "at most 65536 interfaces" },
            { "Ethernet1-65536, Vlan1", "at most 65536 interfaces" },
            { "Ethernet0-268435454/0-268435454/0-268435454/0-268435454",
              "at most 65536 interfaces" } } ) {
      EXPECT_EQ( whyNone( ranges ), why( ranges, expected ) );
   }
   EXPECT_EQ(
      whyNone( "Ethernet1-04" ),
      "\"Ethernet04\" is not an interface name: expected a number without leading zeros "
      "instead of \"04\"" );
   EXPECT_NE( whyNone( "Ethernet1-2-3" ), "" );
}

TEST( IntfRanges, AreToldFromNames ) {
   for ( char const* range :
         { "Ethernet1-4", "Port-Channel1,3", "Ethernet4-1", "Vlan1-x" } ) {
      EXPECT_TRUE( isIntfRange( range ) ) << range;
   }
   for ( char const* text :
         { "", "Ethernet1", "Port-Channel1", "1-4", "pod1-4", "Ethernet", "a,b" } ) {
      EXPECT_FALSE( isIntfRange( text ) ) << text;
   }
}

TEST( IntfRanges, ReadBackTheyAreTheSameInterfaces ) {
   EXPECT_TRUE( rc::check( "what is written for some interfaces is read as these", [] {
      auto const names =
         *rc::gen::nonEmpty( rc::gen::container< std::set< std::string > >( anyName() ) );
      std::vector< Kovel::IntfId > ids( names.begin(), names.end() );
      auto read = interfacesOf( intfRanges( ids ) );
      std::sort( read.begin(), read.end() );
      std::sort( ids.begin(), ids.end() );
      RC_ASSERT( read == ids );
   } ) );
}

} // namespace
} // namespace ostra
