// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/linux/Netlink>

#include <host/base/Failure>

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <libmnl/libmnl.h>
#include <linux/if.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

namespace ostra {

namespace {

// Longer than a message of a device with many virtual functions.
constexpr std::size_t longestMessage = 262'144;
// What changes while 1,000 ports are held.
constexpr int roomForChanges = 8 << 20;
// Their answers, and what the kernel says of the changes, fit into the smallest buffers.
constexpr std::size_t requestsAtATime = 32;

[[noreturn]] void
failNetlink( std::string_view what, int error ) {
   throw Failure(
      ExitStatus::failed, fmt::format( "netlink: {}: {}", what, std::strerror( error ) ) );
}

// One message, for a device; 128 octets are enough for each of ours.
class Request {
 public:
   Request( int index, unsigned flags, unsigned changed ) {
      header_ = mnl_nlmsg_put_header( buffer_ );
      header_->nlmsg_type = RTM_SETLINK;
      header_->nlmsg_flags = NLM_F_REQUEST | NLM_F_ACK;
      auto* const info = static_cast< ifinfomsg* >(
         mnl_nlmsg_put_extra_header( header_, sizeof( ifinfomsg ) ) );
      info->ifi_family = AF_UNSPEC;
      info->ifi_index = index;
      info->ifi_flags = flags;
      info->ifi_change = changed;
   }

   void reasonIs( unsigned bit, bool isSet ) {
      nlattr* const nest = mnl_attr_nest_start( header_, IFLA_PROTO_DOWN_REASON );
      mnl_attr_put_u32( header_, IFLA_PROTO_DOWN_REASON_MASK, 1U << bit );
      mnl_attr_put_u32( header_, IFLA_PROTO_DOWN_REASON_VALUE, isSet ? 1U << bit : 0 );
      mnl_attr_nest_end( header_, nest );
   }
   void reasonMoves( unsigned from, unsigned to ) {
      nlattr* const nest = mnl_attr_nest_start( header_, IFLA_PROTO_DOWN_REASON );
      mnl_attr_put_u32( header_, IFLA_PROTO_DOWN_REASON_MASK, 1U << from | 1U << to );
      mnl_attr_put_u32( header_, IFLA_PROTO_DOWN_REASON_VALUE, 1U << to );
      mnl_attr_nest_end( header_, nest );
   }
   void reasonWithoutValue( unsigned bit ) {
      nlattr* const nest = mnl_attr_nest_start( header_, IFLA_PROTO_DOWN_REASON );
      mnl_attr_put_u32( header_, IFLA_PROTO_DOWN_REASON_MASK, 1U << bit );
      mnl_attr_nest_end( header_, nest );
   }
   void protodownIs( bool isOn ) {
      mnl_attr_put_u8( header_, IFLA_PROTO_DOWN, isOn ? 1 : 0 );
   }

   // It asks, and changes nothing.
   void isQuestion() {
      header_->nlmsg_type = RTM_GETLINK;
      header_->nlmsg_flags = NLM_F_REQUEST;
      mnl_attr_put_u32( header_, IFLA_EXT_MASK, RTEXT_FILTER_SKIP_STATS );
   }

   void const* message() const noexcept { return header_; }

 private:
   alignas( 8 ) char buffer_[ 128 ];
   nlmsghdr* header_;
};

} // namespace

void
NetlinkSocket::Deleter::operator()( mnl_socket* socket ) const noexcept {
   mnl_socket_close( socket );
}

NetlinkSocket::NetlinkSocket( unsigned groups )
      : socket_( mnl_socket_open2( NETLINK_ROUTE, SOCK_CLOEXEC | SOCK_NONBLOCK ) ),
        buffer_( longestMessage ) {
   if ( !socket_ ) {
      failNetlink( "no socket", errno );
   }
   if ( groups != 0 ) {
      roomIs( roomForChanges );
   }
   // Answers have the kernel's words and no copy of the request. A kernel that cannot do
   // either does without.
   int one = 1;
   mnl_socket_setsockopt( socket_.get(), NETLINK_EXT_ACK, &one, sizeof one );
   mnl_socket_setsockopt( socket_.get(), NETLINK_CAP_ACK, &one, sizeof one );
   if ( mnl_socket_bind( socket_.get(), groups, MNL_SOCKET_AUTOPID ) != 0 ) {
      failNetlink( "no address", errno );
   }
}

int
NetlinkSocket::descriptor() const noexcept {
   return mnl_socket_get_fd( socket_.get() );
}

void
NetlinkSocket::roomIs( int octets ) {
   if (
      setsockopt( descriptor(), SOL_SOCKET, SO_RCVBUFFORCE, &octets, sizeof octets ) !=
      0 ) {
      setsockopt( descriptor(), SOL_SOCKET, SO_RCVBUF, &octets, sizeof octets );
   }
}

int
NetlinkSocket::send( std::span< std::byte const > octets ) {
   ssize_t const sent = mnl_socket_sendto( socket_.get(), octets.data(), octets.size() );
   return sent < 0 ? errno : 0;
}

NetlinkSocket::Received
NetlinkSocket::receive() {
   size_ = 0;
   ssize_t received = -1;
   do {
      received = mnl_socket_recvfrom( socket_.get(), buffer_.data(), buffer_.size() );
   } while ( received < 0 && errno == EINTR );
   if ( received >= 0 ) {
      size_ = static_cast< std::size_t >( received );
      return Received::messages;
   }
   if ( errno == EAGAIN ) {
      return Received::nothing;
   }
   // Too long a message is lost as well.
   return Received::lost;
}

void
LinkRequests::add( void const* message ) {
   auto const* const begin = static_cast< std::byte const* >( message );
   std::size_t const length =
      MNL_ALIGN( static_cast< nlmsghdr const* >( message )->nlmsg_len );
   std::size_t const at = octets_.size();
   octets_.insert( octets_.end(), begin, begin + length );
   // Which of them an answer is to.
   auto const sequence = static_cast< std::uint32_t >( ends_.size() );
   std::memcpy(
      octets_.data() + at + offsetof( nlmsghdr, nlmsg_seq ), &sequence, sizeof sequence );
   ends_.push_back( octets_.size() );
}

void
LinkRequests::hold( int index, unsigned reasonBit ) {
   Request request( index, 0, 0 );
   // The reason first: who sees the device down sees why.
   request.reasonIs( reasonBit, true );
   request.protodownIs( true );
   add( request.message() );
}

void
LinkRequests::release( int index, unsigned reasonBit, bool isProtodownOfOthers ) {
   Request request( index, 0, 0 );
   request.reasonIs( reasonBit, false );
   if ( !isProtodownOfOthers ) {
      request.protodownIs( false );
   }
   add( request.message() );
}

void
LinkRequests::moveReason( int index, unsigned from, unsigned to ) {
   Request request( index, 0, 0 );
   request.reasonMoves( from, to );
   add( request.message() );
}

void
LinkRequests::probe( int index ) {
   Request request( index, 0, 0 );
   request.reasonWithoutValue( 0 );
   add( request.message() );
}

void
LinkRequests::protodownIs( int index, bool isOn ) {
   Request request( index, 0, 0 );
   request.protodownIs( isOn );
   add( request.message() );
}

void
LinkRequests::isUpIs( int index, bool isUp ) {
   add( Request( index, isUp ? IFF_UP : 0, IFF_UP ).message() );
}

void
LinkRequests::get( int index ) {
   Request request( index, 0, 0 );
   request.isQuestion();
   add( request.message() );
}

std::span< std::byte const >
LinkRequests::octets( std::size_t begin, std::size_t count ) const {
   std::size_t const end = std::min( begin + count, ends_.size() );
   std::size_t const from = begin == 0 ? 0 : ends_[ begin - 1 ];
   return std::span( octets_ ).subspan( from, ends_[ end - 1 ] - from );
}

std::vector< Reply >
replies(
   NetlinkSocket& socket,
   LinkRequests const& requests,
   std::function< void() > const& between ) {
   std::vector< Reply > replies( requests.size(), Reply{ ENOBUFS, {} } );
   for ( std::size_t begin = 0; begin < replies.size(); begin += requestsAtATime ) {
      if ( int const error = socket.send( requests.octets( begin, requestsAtATime ) );
           error != 0 ) {
         std::size_t const end = std::min( begin + requestsAtATime, replies.size() );
         std::fill( &replies[ begin ], replies.data() + end, Reply{ error, {} } );
         continue;
      }
      // They have all been done: the kernel works within the call that sends them.
      for ( NetlinkSocket::Received received;
            ( received = socket.receive() ) != NetlinkSocket::Received::nothing; ) {
         forEachMessage( socket.octets(), [ &replies ]( nlmsghdr const& message ) {
            auto reply = replyOf( message );
            if ( reply && message.nlmsg_seq < replies.size() ) {
               replies[ message.nlmsg_seq ] = std::move( *reply );
            }
         } );
      }
      between();
   }
   return replies;
}

std::vector< Link >
linksOf( NetlinkSocket& socket, std::vector< int > const& indexes ) {
   LinkRequests requests;
   for ( int const index : indexes ) {
      requests.get( index );
   }
   std::vector< Link > links;
   for ( std::size_t begin = 0; begin < indexes.size(); begin += requestsAtATime ) {
      socket.send( requests.octets( begin, requestsAtATime ) );
      while ( socket.receive() != NetlinkSocket::Received::nothing ) {
         forEachMessage( socket.octets(), [ &links ]( nlmsghdr const& message ) {
            if ( auto found = linkMessage( message ); found && !found->isGone ) {
               links.push_back( std::move( found->link ) );
            }
         } );
      }
   }
   return links;
}

namespace {

int
askForAll( NetlinkSocket& socket ) {
   alignas( 8 ) char buffer[ 128 ];
   nlmsghdr* const header = mnl_nlmsg_put_header( buffer );
   header->nlmsg_type = RTM_GETLINK;
   header->nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
   static_cast< ifinfomsg* >( mnl_nlmsg_put_extra_header( header, sizeof( ifinfomsg ) ) )
      ->ifi_family = AF_UNSPEC;
   mnl_attr_put_u32( header, IFLA_EXT_MASK, RTEXT_FILTER_SKIP_STATS );
   return socket.send( std::as_bytes( std::span( buffer, header->nlmsg_len ) ) );
}

// With what the kernel has ended a list: 0 when it is at its end.
int
errorAtEnd( nlmsghdr const& message ) {
   int result = 0;
   if (
      message.nlmsg_type == NLMSG_DONE &&
      mnl_nlmsg_get_payload_len( &message ) >= sizeof result ) {
      std::memcpy( &result, mnl_nlmsg_get_payload( &message ), sizeof result );
   }
   return -std::min( result, 0 );
}

// None when devices came or went meanwhile, so that it may not be whole.
std::optional< std::vector< Link > >
dump( NetlinkSocket& socket ) {
   std::vector< Link > links;
   bool isWhole = true;
   bool isDone = false;
   int error = askForAll( socket );
   while ( error == 0 && !isDone ) {
      auto const received = socket.receive();
      isWhole &= received == NetlinkSocket::Received::messages;
      if ( received == NetlinkSocket::Received::nothing ) {
         break;
      }
      forEachMessage( socket.octets(), [ & ]( nlmsghdr const& message ) {
         isWhole &= ( message.nlmsg_flags & NLM_F_DUMP_INTR ) == 0;
         isDone |= message.nlmsg_type == NLMSG_DONE;
         if ( auto const reply = replyOf( message ) ) {
            error = reply->error;
         } else if ( int const atEnd = errorAtEnd( message ); atEnd != 0 ) {
            error = atEnd;
         }
         if ( auto found = linkMessage( message ); found && !found->isGone ) {
            links.push_back( std::move( found->link ) );
         }
      } );
   }
   if ( error != 0 && error != EBUSY ) {
      failNetlink( "no list of devices", error );
   }
   return isWhole && isDone ? std::optional( std::move( links ) ) : std::nullopt;
}

} // namespace

std::vector< Link >
allLinks( NetlinkSocket& socket, int tries ) {
   for ( int i = 0; i < tries; ++i ) {
      if ( auto links = dump( socket ) ) {
         std::sort( links->begin(), links->end(), []( Link const& a, Link const& b ) {
            return a.index < b.index;
         } );
         return std::move( *links );
      }
   }
   failNetlink( "no list of devices", EAGAIN );
}

} // namespace ostra
