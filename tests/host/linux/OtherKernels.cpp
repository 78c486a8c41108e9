// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "OtherKernels"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

#include <libmnl/libmnl.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>

namespace ostra {

namespace {

constexpr std::uint16_t unknownAttribute = 0x3f00;

// Gives a reason that number. Whether it has one and does not set protodown, as a question.
bool
forgetReasons( nlmsghdr& message ) {
   bool hasProtodown = false;
   bool hasReason = false;
   auto* at =
      static_cast< char* >( mnl_nlmsg_get_payload_offset( &message, sizeof( ifinfomsg ) ) );
   auto const* const end = static_cast< char* >( mnl_nlmsg_get_payload_tail( &message ) );
   while ( at < end ) {
      auto* const attribute = reinterpret_cast< nlattr* >( at );
      hasProtodown |= mnl_attr_get_type( attribute ) == IFLA_PROTO_DOWN;
      if ( mnl_attr_get_type( attribute ) == IFLA_PROTO_DOWN_REASON ) {
         attribute->nla_type = unknownAttribute;
         hasReason = true;
      }
      at += MNL_ALIGN( attribute->nla_len );
   }
   return hasReason && !hasProtodown;
}

} // namespace

int
KernelWithoutReasons::send( std::span< std::byte const > octets ) {
   std::vector< std::byte > sent;
   forEachMessage( octets, [ & ]( nlmsghdr const& message ) {
      auto const* const begin = reinterpret_cast< std::byte const* >( &message );
      std::vector< std::byte > one( begin, begin + MNL_ALIGN( message.nlmsg_len ) );
      bool const isChange = message.nlmsg_type == RTM_SETLINK;
      bool const isProbe =
         isChange && forgetReasons( *reinterpret_cast< nlmsghdr* >( one.data() ) );
      if ( !isProbe || isAnsweringProbes_ ) {
         sent.insert( sent.end(), one.begin(), one.end() );
      }
   } );
   return sent.empty() ? 0 : NetlinkSocket::send( sent );
}

int
KernelThatRefuses::send( std::span< std::byte const > octets ) {
   bool isChange = false;
   forEachMessage( octets, [ &isChange ]( nlmsghdr const& message ) {
      isChange |= message.nlmsg_type == RTM_SETLINK;
   } );
   return isChange && isRefusing_ ? EPERM : NetlinkSocket::send( octets );
}

} // namespace ostra
