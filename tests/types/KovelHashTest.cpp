// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// How well the hashes of ids and addresses spread, compared with what chance would do: a
// keyed collection takes the low bits of the hash as the bucket, so they must be as random
// as the others for the names that switches have.

#include <Kovel/EthAddr>
#include <Kovel/IntfId>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

using Kovel::EthAddr;
using Kovel::IntfId;

namespace {

using Hashes = std::vector< std::uint32_t >;

// The hashes of <prefix>1 to <prefix><count>, each followed by the suffix.
Hashes
numbered( std::string const& prefix, unsigned count, std::string const& suffix = "" ) {
   Hashes hashes;
   for ( unsigned i = 1; i <= count; ++i ) {
      std::string name = prefix;
      name.append( std::to_string( i ) ).append( suffix );
      hashes.push_back( IntfId( name ).hash() );
   }
   return hashes;
}

Hashes
joined( std::vector< Hashes > const& parts ) {
   Hashes all;
   for ( auto const& part : parts ) {
      all.insert( all.end(), part.begin(), part.end() );
   }
   return all;
}

// Ethernet1/1 to Ethernet64/8.
Hashes
brokenOut() {
   Hashes all;
   for ( unsigned i = 1; i <= 8; ++i ) {
      all = joined( { all, numbered( "Ethernet", 64, "/" + std::to_string( i ) ) } );
   }
   return all;
}

// All of a<b>/<c>/<d> with numbers from 1 to 8.
Hashes
fourNumbers() {
   Hashes all;
   for ( unsigned i = 0; i != 512; ++i ) {
      std::string const prefix = "Ethernet" + std::to_string( 1 + i / 64 ) + "/" +
         std::to_string( 1 + i / 8 % 8 ) + "/" + std::to_string( 1 + i % 8 ) + "/";
      all = joined( { all, numbered( prefix, 8 ) } );
   }
   return all;
}

Hashes
ethernetAddresses() {
   Hashes all;
   for ( unsigned i = 0; i != 4096; ++i ) {
      char text[ 18 ];
      std::snprintf( text, sizeof text, "02:00:00:00:%02x:%02x", i >> 8, i & 0xff );
      all.push_back( EthAddr( text ).hash() );
   }
   return all;
}

struct NamedHashes {
   char const* name;
   Hashes ( *make )();
};

void
PrintTo( NamedHashes const& hashes, std::ostream* out ) {
   *out << hashes.name;
}

// How many hashes fall into each of 2^bits buckets, the hash turned right by `turn`.
std::vector< unsigned >
chainLengths( Hashes const& hashes, unsigned bits, int turn ) {
   std::vector< unsigned > lengths( std::size_t( 1 ) << bits );
   for ( auto hash : hashes ) {
      ++lengths[ std::rotr( hash, turn ) & ( lengths.size() - 1 ) ];
   }
   return lengths;
}

unsigned
bitsForLoadOne( Hashes const& hashes ) {
   return static_cast< unsigned >( std::bit_width( hashes.size() - 1 ) );
}

} // namespace

class KovelHash : public testing::TestWithParam< NamedHashes > {
 protected:
   Hashes const hashes_ = GetParam().make();
};

TEST_P( KovelHash, IsDifferentForNearlyAllKeys ) {
   auto sorted = hashes_;
   std::sort( sorted.begin(), sorted.end() );
   auto const unique = std::unique( sorted.begin(), sorted.end() ) - sorted.begin();
   EXPECT_GE( unique + 4, std::ssize( hashes_ ) );
}

TEST_P( KovelHash, LeavesFewBucketsEmptyAndNoChainLongAtLoadOne ) {
   auto const lengths = chainLengths( hashes_, bitsForLoadOne( hashes_ ), 0 );
   auto const buckets = static_cast< double >( lengths.size() );
   double const load = static_cast< double >( hashes_.size() ) / buckets;
   double const expected = buckets * std::exp( -load );
   auto const empty =
      static_cast< double >( std::count( lengths.begin(), lengths.end(), 0u ) );
   EXPECT_LT( empty, expected + 4 * std::sqrt( expected ) );
   EXPECT_LE( *std::max_element( lengths.begin(), lengths.end() ), 9u );
}

// Chi-squared: its mean is the number of buckets less one, its variance twice that.
TEST_P( KovelHash, IsUniformInEveryRunOfItsBits ) {
   for ( unsigned bits = 1; bits <= bitsForLoadOne( hashes_ ); ++bits ) {
      for ( int turn = 0; turn != 32; ++turn ) {
         auto const lengths = chainLengths( hashes_, bits, turn );
         auto const buckets = static_cast< double >( lengths.size() );
         double const mean = static_cast< double >( hashes_.size() ) / buckets;
         double deviation = 0;
         for ( auto length : lengths ) {
            deviation += ( length - mean ) * ( length - mean ) / mean;
         }
         EXPECT_LT( deviation, buckets - 1 + 6 * std::sqrt( 2 * ( buckets - 1 ) ) )
            << bits << " bits from bit " << turn;
      }
   }
}

INSTANTIATE_TEST_SUITE_P(
   Keys,
   KovelHash,
   testing::Values(
      NamedHashes{ "Ethernet1To65536", [] { return numbered( "Ethernet", 65536 ); } },
      NamedHashes{ "BrokenOutPorts", brokenOut },
      NamedHashes{ "PortChannels", [] { return numbered( "Port-Channel", 4096 ); } },
      NamedHashes{ "FourNumbers", fourNumbers },
      NamedHashes{ "OwnAndPeerPorts",
                   [] {
                      return joined( { numbered( "Ethernet", 512 ),
                                       numbered( "PeerEthernet", 512 ),
                                       numbered( "Port-Channel", 512 ),
                                       numbered( "Vlan", 512 ) } );
                   } },
      NamedHashes{ "EthernetAddresses", ethernetAddresses } ),
   testing::PrintToStringParamName() );

TEST( KovelHashValues, AreTheSameInEveryProcess ) {
   EXPECT_EQ( IntfId().hash(), 0u );
   EXPECT_EQ( IntfId( "Ethernet1" ).hash(), 3588539958u );
   EXPECT_EQ( IntfId( "Port-Channel10" ).hash(), 942459998u );
   EXPECT_EQ( IntfId( "Ethernet4/3/2/1" ).hash(), 3133159296u );
   EXPECT_EQ( EthAddr( "02:00:00:00:10:01" ).hash(), 3498043617u );
}
