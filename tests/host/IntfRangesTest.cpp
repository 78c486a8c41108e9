// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/IntfRanges>

#include <gtest/gtest.h>

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

TEST( IntfRanges, RangesAreOverTheLastNumberOnly ) {
   EXPECT_EQ(
      rangesOf( { "Ethernet1/1", "Ethernet1/2", "Ethernet1/3", "Ethernet1/4" } ),
      "Ethernet1/1-4" );
   EXPECT_EQ(
      rangesOf( { "Ethernet49/1", "Ethernet50/1", "Ethernet51/1" } ),
      "Ethernet49/1,50/1,51/1" );
   EXPECT_EQ( rangesOf( { "Ethernet1/1/1", "Ethernet2/1/2" } ), "Ethernet1/1/1,2/1/2" );
}

TEST( IntfRanges, NamesOfDifferentLengthAreNoNeighbours ) {
   EXPECT_EQ( rangesOf( { "Ethernet1", "Ethernet1/2", "Ethernet2" } ), "Ethernet1,1/2,2" );
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

} // namespace
} // namespace ostra
