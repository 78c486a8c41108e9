// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/linux/Link>

#include <cstring>

#include <libmnl/libmnl.h>
#include <linux/if.h>
#include <linux/if_bonding.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

namespace ostra {

namespace {

// Attributes one behind the other, up to the first that is not whole.
template< class Visit >
void
forEachAttribute( char const* at, std::size_t size, Visit visit ) {
   while ( size >= sizeof( nlattr ) ) {
      auto const* const attribute = reinterpret_cast< nlattr const* >( at );
      if ( !mnl_attr_ok( attribute, static_cast< int >( size ) ) ) {
         return;
      }
      visit( *attribute );
      std::size_t const length = MNL_ALIGN( attribute->nla_len );
      if ( length >= size ) {
         return;
      }
      at += length;
      size -= length;
   }
}

template< class Visit >
void
forEachNested( nlattr const& attribute, Visit visit ) {
   forEachAttribute(
      static_cast< char const* >( mnl_attr_get_payload( &attribute ) ),
      mnl_attr_get_payload_len( &attribute ),
      visit );
}

// The value; that of `T()` when the attribute is too short for one.
template< class T >
T
valueOf( nlattr const& attribute ) {
   T value = T();
   if ( mnl_attr_get_payload_len( &attribute ) >= sizeof value ) {
      std::memcpy( &value, mnl_attr_get_payload( &attribute ), sizeof value );
   }
   return value;
}

// A text that may end before the attribute does.
std::string
textOfAttribute( nlattr const& attribute ) {
   auto const* const text =
      static_cast< char const* >( mnl_attr_get_payload( &attribute ) );
   return { text, strnlen( text, mnl_attr_get_payload_len( &attribute ) ) };
}

void
readKind( nlattr const& linkInfo, Link& link ) {
   nlattr const* data = nullptr;
   forEachNested( linkInfo, [ & ]( nlattr const& attribute ) {
      if ( mnl_attr_get_type( &attribute ) == IFLA_INFO_KIND ) {
         link.kind = textOfAttribute( attribute );
      } else if ( mnl_attr_get_type( &attribute ) == IFLA_INFO_DATA ) {
         data = &attribute;
      }
   } );
   // What the data mean depends on the kind.
   if ( data && link.isBond() ) {
      forEachNested( *data, [ & ]( nlattr const& attribute ) {
         if ( mnl_attr_get_type( &attribute ) == IFLA_BOND_MODE ) {
            link.bondMode = valueOf< std::uint8_t >( attribute );
         }
      } );
   }
}

std::uint32_t
reasonsOf( nlattr const& protodownReason ) {
   std::uint32_t reasons = 0;
   forEachNested( protodownReason, [ &reasons ]( nlattr const& attribute ) {
      if ( mnl_attr_get_type( &attribute ) == IFLA_PROTO_DOWN_REASON_VALUE ) {
         reasons = valueOf< std::uint32_t >( attribute );
      }
   } );
   return reasons;
}

void
readAttribute( nlattr const& attribute, Link& link ) {
   switch ( mnl_attr_get_type( &attribute ) ) {
   case IFLA_IFNAME:
      link.name = textOfAttribute( attribute );
      break;
   case IFLA_OPERSTATE:
      link.operState = valueOf< std::uint8_t >( attribute );
      break;
   case IFLA_MASTER:
      link.master = static_cast< int >( valueOf< std::uint32_t >( attribute ) );
      break;
   case IFLA_LINKINFO:
      readKind( attribute, link );
      break;
   case IFLA_PROTO_DOWN:
      link.isProtodown = valueOf< std::uint8_t >( attribute ) != 0;
      break;
   case IFLA_PROTO_DOWN_REASON:
      link.reasons = reasonsOf( attribute );
      break;
   default:
      break;
   }
}

} // namespace

bool
Link::isUp() const noexcept {
   return ( flags & IFF_UP ) != 0;
}

bool
Link::isCarrying() const noexcept {
   return isUp() && ( flags & IFF_LOWER_UP ) != 0;
}

bool
Link::isOf8023ad() const noexcept {
   return isBond() && bondMode == unsigned{ BOND_MODE_8023AD };
}

void
forEachMessage(
   std::span< std::byte const > octets,
   std::function< void( nlmsghdr const& ) > const& visit ) {
   while ( octets.size() >= sizeof( nlmsghdr ) ) {
      auto const* const message = reinterpret_cast< nlmsghdr const* >( octets.data() );
      // The library takes a length beyond two GiB for a negative one, which is short enough.
      bool const isWhole =
         message->nlmsg_len >= sizeof( nlmsghdr ) && message->nlmsg_len <= octets.size();
      if ( !isWhole ) {
         return;
      }
      visit( *message );
      std::size_t const length = MNL_ALIGN( message->nlmsg_len );
      if ( length >= octets.size() ) {
         return;
      }
      octets = octets.subspan( length );
   }
}

std::optional< LinkMessage >
linkMessage( nlmsghdr const& message ) {
   bool const isOfLink =
      message.nlmsg_type == RTM_NEWLINK || message.nlmsg_type == RTM_DELLINK;
   std::size_t const payload = mnl_nlmsg_get_payload_len( &message );
   if ( !isOfLink || payload < sizeof( ifinfomsg ) ) {
      return std::nullopt;
   }
   auto const* const body = static_cast< char const* >( mnl_nlmsg_get_payload( &message ) );
   auto const* const info = reinterpret_cast< ifinfomsg const* >( body );
   LinkMessage result{ message.nlmsg_type == RTM_DELLINK, {} };
   result.link.index = info->ifi_index;
   result.link.flags = info->ifi_flags;
   bool isWhole = info->ifi_family == AF_UNSPEC && info->ifi_index > 0;
   std::size_t const begin = MNL_ALIGN( sizeof( ifinfomsg ) );
   if ( payload > begin ) {
      forEachAttribute( body + begin, payload - begin, [ & ]( nlattr const& attribute ) {
         isWhole &= mnl_attr_get_type( &attribute ) != IFLA_WIRELESS;
         readAttribute( attribute, result.link );
      } );
   }
   // Whoever changes a device says its name.
   isWhole &= result.isGone || !result.link.name.empty();
   return isWhole ? std::optional( std::move( result ) ) : std::nullopt;
}

std::string
wordsOf( Reply const& reply ) {
   std::string words = std::strerror( reply.error );
   return reply.text.empty() ? words : words + ": " + reply.text;
}

std::optional< Reply >
replyOf( nlmsghdr const& message ) {
   std::size_t const payload = mnl_nlmsg_get_payload_len( &message );
   if ( message.nlmsg_type != NLMSG_ERROR || payload < sizeof( nlmsgerr ) ) {
      return std::nullopt;
   }
   auto const* const body = static_cast< char const* >( mnl_nlmsg_get_payload( &message ) );
   auto const* const error = reinterpret_cast< nlmsgerr const* >( body );
   // As it is written, whatever that is.
   Reply reply{ static_cast< int >( 0U - static_cast< unsigned >( error->error ) ), {} };
   bool const isCapped = ( message.nlmsg_flags & NLM_F_CAPPED ) != 0;
   std::size_t const begin =
      sizeof( nlmsgerr ) + ( isCapped ? 0 : error->msg.nlmsg_len - sizeof( nlmsghdr ) );
   bool const hasText = ( message.nlmsg_flags & NLM_F_ACK_TLVS ) != 0 &&
      error->msg.nlmsg_len >= sizeof( nlmsghdr ) && MNL_ALIGN( begin ) < payload;
   if ( hasText ) {
      forEachAttribute(
         body + MNL_ALIGN( begin ),
         payload - MNL_ALIGN( begin ),
         [ &reply ]( nlattr const& attribute ) {
            if ( mnl_attr_get_type( &attribute ) == NLMSGERR_ATTR_MSG ) {
               reply.text = textOfAttribute( attribute );
            }
         } );
   }
   return reply;
}

} // namespace ostra
