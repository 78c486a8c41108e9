// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Messages of the kernel, as it has said them.

#include "RecordedLinks"

#include <host/linux/Link>
#include <host/linux/Netlink>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <string_view>
#include <vector>

#include <libmnl/libmnl.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>

namespace ostra {

namespace {

std::vector< std::byte >
octetsOf( std::string_view hexadecimal ) {
   std::vector< std::byte > octets;
   for ( std::size_t i = 0; i + 1 < hexadecimal.size(); i += 2 ) {
      unsigned value = 0;
      std::from_chars( hexadecimal.data() + i, hexadecimal.data() + i + 2, value, 16 );
      octets.push_back( std::byte( value ) );
   }
   return octets;
}

std::vector< LinkMessage >
messagesIn( std::vector< std::byte > const& octets ) {
   std::vector< LinkMessage > found;
   forEachMessage( octets, [ &found ]( nlmsghdr const& message ) {
      if ( auto link = linkMessage( message ) ) {
         found.push_back( std::move( *link ) );
      }
   } );
   return found;
}

// One that is made here: a device that is in `master`.
std::vector< std::byte >
message( std::uint16_t type, unsigned char family, int index, char const* name ) {
   alignas( 8 ) char buffer[ 256 ] = {};
   nlmsghdr* const header = mnl_nlmsg_put_header( buffer );
   header->nlmsg_type = type;
   auto* const info = static_cast< ifinfomsg* >(
      mnl_nlmsg_put_extra_header( header, sizeof( ifinfomsg ) ) );
   info->ifi_family = family;
   info->ifi_index = index;
   if ( name ) {
      mnl_attr_put_strz( header, IFLA_IFNAME, name );
   }
   nlattr* const linkInfo = mnl_attr_nest_start( header, IFLA_LINKINFO );
   mnl_attr_put_strz( header, IFLA_INFO_KIND, "bond" );
   nlattr* const data = mnl_attr_nest_start( header, IFLA_INFO_DATA );
   mnl_attr_put_u8( header, IFLA_BOND_MODE, 4 );
   mnl_attr_nest_end( header, data );
   mnl_attr_nest_end( header, linkInfo );
   auto const* const begin = reinterpret_cast< std::byte const* >( buffer );
   return { begin, begin + header->nlmsg_len };
}

} // namespace

TEST( LinkMessages, SayHowAMacvlanIsHeld ) {
   auto const found = messagesIn( octetsOf( recorded::heldMacvlan ) );
   ASSERT_EQ( found.size(), 1U );
   EXPECT_FALSE( found[ 0 ].isGone );
   Link const& link = found[ 0 ].link;
   EXPECT_EQ( link.name, "swp1" );
   EXPECT_EQ( link.kind, "macvlan" );
   EXPECT_TRUE( link.isUp() );
   EXPECT_FALSE( link.isCarrying() );
   EXPECT_TRUE( link.isProtodown );
   EXPECT_EQ( link.reasons, 0xc0U );
   EXPECT_TRUE( link.has( 6 ) );
   EXPECT_FALSE( link.has( 5 ) );
   EXPECT_EQ( link.operState, 2U );
   EXPECT_EQ( link.master, 0 );
}

TEST( LinkMessages, SayWhatADeviceIsIn ) {
   auto const found = messagesIn( octetsOf( recorded::vethInBridge ) );
   ASSERT_EQ( found.size(), 1U );
   Link const& link = found[ 0 ].link;
   EXPECT_EQ( link.kind, "veth" );
   EXPECT_TRUE( link.isCarrying() );
   EXPECT_FALSE( link.isProtodown );
   EXPECT_EQ( link.reasons, 0U );
   EXPECT_NE( link.master, 0 );
   EXPECT_FALSE( link.isBond() );
}

TEST( LinkMessages, SayTheModeOfABond ) {
   auto const found = messagesIn( message( RTM_NEWLINK, AF_UNSPEC, 7, "bond0" ) );
   ASSERT_EQ( found.size(), 1U );
   EXPECT_TRUE( found[ 0 ].link.isBond() );
   EXPECT_TRUE( found[ 0 ].link.isOf8023ad() );
}

TEST( LinkMessages, OfAnOlderKernelSayTheSame ) {
   Link const held = messagesIn( octetsOf( recorded::heldMacvlan61 ) ).at( 0 ).link;
   EXPECT_EQ( held.name, "swp1" );
   EXPECT_EQ( held.kind, "macvlan" );
   EXPECT_TRUE( held.isUp() );
   EXPECT_FALSE( held.isCarrying() );
   EXPECT_TRUE( held.isProtodown );
   EXPECT_EQ( held.reasons, 0xc0U );
   Link const bond = messagesIn( octetsOf( recorded::bond61 ) ).at( 0 ).link;
   EXPECT_EQ( bond.name, "bond10" );
   EXPECT_TRUE( bond.isOf8023ad() );
   EXPECT_TRUE( bond.isCarrying() );
   Link const member = messagesIn( octetsOf( recorded::memberOfBond61 ) ).at( 0 ).link;
   EXPECT_EQ( member.name, "swp2" );
   EXPECT_EQ( member.kind, "macvlan" );
   EXPECT_EQ( member.master, bond.index );
   EXPECT_FALSE( member.isProtodown );
   auto const gone = messagesIn( octetsOf( recorded::gone61 ) );
   ASSERT_EQ( gone.size(), 1U );
   EXPECT_TRUE( gone[ 0 ].isGone );
   EXPECT_EQ( gone[ 0 ].link.index, held.index );
}

TEST( LinkMessages, OfAnOlderKernelAnswerWhatCanBeHeld ) {
   std::vector< Reply > answers;
   for ( char const* recording : { recorded::noValue61, recorded::noProtodown61 } ) {
      forEachMessage( octetsOf( recording ), [ &answers ]( nlmsghdr const& message ) {
         answers.push_back( replyOf( message ).value() );
      } );
   }
   ASSERT_EQ( answers.size(), 2U );
   EXPECT_EQ( answers[ 0 ].error, EINVAL );
   EXPECT_EQ( wordsOf( answers[ 0 ] ), "Invalid argument: Invalid protodown reason value" );
   EXPECT_EQ( answers[ 1 ].error, EOPNOTSUPP );
   EXPECT_EQ( answers[ 1 ].text, "Protodown not supported by device" );
}

TEST( LinkMessages, OfABridgesPortsAreNoneOfItsDevices ) {
   EXPECT_TRUE( messagesIn( message( RTM_DELLINK, AF_BRIDGE, 7, "swp1" ) ).empty() );
   EXPECT_TRUE( messagesIn( message( RTM_NEWLINK, AF_BRIDGE, 7, "swp1" ) ).empty() );
   EXPECT_TRUE( messagesIn( message( RTM_NEWLINK, AF_UNSPEC, 7, nullptr ) ).empty() );
   EXPECT_TRUE( messagesIn( message( RTM_NEWLINK, AF_UNSPEC, 0, "swp1" ) ).empty() );
   EXPECT_TRUE( messagesIn( message( RTM_NEWADDR, AF_UNSPEC, 7, "swp1" ) ).empty() );
   auto const gone = messagesIn( message( RTM_DELLINK, AF_UNSPEC, 7, nullptr ) );
   ASSERT_EQ( gone.size(), 1U );
   EXPECT_TRUE( gone[ 0 ].isGone );
}

TEST( LinkMessages, AreReadAsFarAsTheyAreWhole ) {
   auto octets = octetsOf( recorded::heldMacvlan );
   auto const second = octetsOf( recorded::vethInBridge );
   octets.insert( octets.end(), second.begin(), second.end() );
   EXPECT_EQ( messagesIn( octets ).size(), 2U );
   for ( std::size_t size = 0; size <= octets.size(); ++size ) {
      std::vector< std::byte > const part( octets.begin(), octets.begin() + long( size ) );
      EXPECT_LE( messagesIn( part ).size(), 2U );
   }
   octets.pop_back();
   EXPECT_EQ( messagesIn( octets ).size(), 1U );
}

TEST( LinkMessages, ThatSayAnImpossibleLengthAreTheLast ) {
   auto octets = message( RTM_NEWLINK, AF_UNSPEC, 1, "swp1" );
   auto const whole = octets.size();
   octets.resize( 2 * whole );
   std::copy_n(
      octets.begin(), whole, octets.begin() + static_cast< std::ptrdiff_t >( whole ) );
   EXPECT_EQ( messagesIn( octets ).size(), 2U );
   for ( std::uint32_t const length : { 0U, 15U, 0x7fffffffU, 0xb4b4b4b4U, 0xfffffffeU } ) {
      std::memcpy( octets.data() + whole, &length, sizeof length );
      EXPECT_EQ( messagesIn( octets ).size(), 1U ) << length;
   }
}

TEST( LinkMessages, OfRequestsHaveTheReasonBeforeProtodown ) {
   LinkRequests requests;
   requests.hold( 3, 6 );
   requests.release( 4, 6, false );
   requests.release( 5, 6, true );
   std::vector< std::vector< int > > types;
   auto const octets = requests.octets( 0, 3 );
   forEachMessage( octets, [ &types ]( nlmsghdr const& request ) {
      EXPECT_EQ( request.nlmsg_seq, types.size() );
      std::vector< int > found;
      auto const* at = static_cast< char const* >(
         mnl_nlmsg_get_payload_offset( &request, sizeof( ifinfomsg ) ) );
      auto const* const end =
         static_cast< char const* >( mnl_nlmsg_get_payload_tail( &request ) );
      while ( at < end ) {
         auto const* const attribute = reinterpret_cast< nlattr const* >( at );
         found.push_back( mnl_attr_get_type( attribute ) );
         at += MNL_ALIGN( attribute->nla_len );
      }
      types.push_back( found );
   } );
   std::vector< int > const both = { IFLA_PROTO_DOWN_REASON, IFLA_PROTO_DOWN };
   EXPECT_EQ( types, ( std::vector{ both, both, { IFLA_PROTO_DOWN_REASON } } ) );
}

} // namespace ostra
