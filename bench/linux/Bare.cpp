// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// bench_linux REASONBIT PREFIX: holds every device whose name begins so, by protodown with that
// reason, and does nothing else: one list of all devices, then requests of 32 devices each. What
// a host that holds ports is measured against.

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

#include <libmnl/libmnl.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>

namespace {

constexpr std::size_t atATime = 32;

[[noreturn]] void
fail( char const* what ) {
   std::fprintf( stderr, "bench_linux: %s: %s\n", what, std::strerror( errno ) );
   std::exit( 1 );
}

class Bare {
 public:
   Bare() : socket_( mnl_socket_open( NETLINK_ROUTE ) ), buffer_( 262'144 ) {
      if ( !socket_ || mnl_socket_bind( socket_, 0, MNL_SOCKET_AUTOPID ) != 0 ) {
         fail( "no socket" );
      }
   }
   ~Bare() { mnl_socket_close( socket_ ); }
   Bare( Bare const& ) = delete;
   Bare& operator=( Bare const& ) = delete;

   std::vector< int > devices( std::string_view prefix ) {
      nlmsghdr* const header = put( RTM_GETLINK, NLM_F_DUMP, 0 );
      mnl_attr_put_u32( header, IFLA_EXT_MASK, RTEXT_FILTER_SKIP_STATS );
      send( header->nlmsg_len );
      std::vector< int > found;
      bool isDone = false;
      while ( !isDone ) {
         receive( [ & ]( nlmsghdr const* message ) {
            isDone |= message->nlmsg_type == NLMSG_DONE;
            if ( message->nlmsg_type == RTM_NEWLINK && begins( message, prefix ) ) {
               found.push_back(
                  static_cast< ifinfomsg* >( mnl_nlmsg_get_payload( message ) )
                     ->ifi_index );
            }
         } );
      }
      return found;
   }

   void hold( std::vector< int > const& devices, unsigned bit ) {
      for ( std::size_t begin = 0; begin < devices.size(); begin += atATime ) {
         std::size_t const end = std::min( begin + atATime, devices.size() );
         std::size_t length = 0;
         for ( std::size_t i = begin; i < end; ++i ) {
            length += putHold( length, devices[ i ], bit );
         }
         send( length );
         for ( std::size_t answers = 0; answers < end - begin; ) {
            receive( [ &answers ]( nlmsghdr const* message ) {
               answers += message->nlmsg_type == NLMSG_ERROR;
            } );
         }
      }
   }

 private:
   nlmsghdr* put( unsigned type, unsigned flags, int index, std::size_t at = 0 ) {
      nlmsghdr* const header = mnl_nlmsg_put_header( out_ + at );
      header->nlmsg_type = static_cast< std::uint16_t >( type );
      header->nlmsg_flags = static_cast< std::uint16_t >( NLM_F_REQUEST | flags );
      auto* const info = static_cast< ifinfomsg* >(
         mnl_nlmsg_put_extra_header( header, sizeof( ifinfomsg ) ) );
      info->ifi_index = index;
      return header;
   }
   std::size_t putHold( std::size_t at, int index, unsigned bit ) {
      nlmsghdr* const header = put( RTM_SETLINK, NLM_F_ACK, index, at );
      nlattr* const nest = mnl_attr_nest_start( header, IFLA_PROTO_DOWN_REASON );
      mnl_attr_put_u32( header, IFLA_PROTO_DOWN_REASON_MASK, 1U << bit );
      mnl_attr_put_u32( header, IFLA_PROTO_DOWN_REASON_VALUE, 1U << bit );
      mnl_attr_nest_end( header, nest );
      mnl_attr_put_u8( header, IFLA_PROTO_DOWN, 1 );
      return MNL_ALIGN( header->nlmsg_len );
   }
   void send( std::size_t length ) {
      if ( mnl_socket_sendto( socket_, out_, length ) < 0 ) {
         fail( "nothing can be sent" );
      }
   }
   template< class Visit >
   void receive( Visit visit ) {
      ssize_t const received =
         mnl_socket_recvfrom( socket_, buffer_.data(), buffer_.size() );
      if ( received < 0 ) {
         fail( "nothing is received" );
      }
      int left = static_cast< int >( received );
      auto const* message = reinterpret_cast< nlmsghdr const* >( buffer_.data() );
      while ( mnl_nlmsg_ok( message, left ) ) {
         visit( message );
         message = mnl_nlmsg_next( message, &left );
      }
   }
   static bool begins( nlmsghdr const* message, std::string_view prefix ) {
      struct Name {
         std::string_view text;
      } name;
      mnl_attr_parse(
         message,
         sizeof( ifinfomsg ),
         []( nlattr const* attribute, void* to ) {
            if ( mnl_attr_get_type( attribute ) == IFLA_IFNAME ) {
               static_cast< Name* >( to )->text = mnl_attr_get_str( attribute );
            }
            return MNL_CB_OK;
         },
         &name );
      return name.text.starts_with( prefix );
   }

   mnl_socket* const socket_;
   std::vector< char > buffer_;
   alignas( 8 ) char out_[ atATime * 128 ];
};

} // namespace

int
main( int argc, char** argv ) {
   if ( argc != 3 ) {
      std::fputs( "usage: bench_linux REASONBIT PREFIX\n", stderr );
      return 2;
   }
   Bare bare;
   bare.hold(
      bare.devices( argv[ 2 ] ), static_cast< unsigned >( std::atoi( argv[ 1 ] ) ) );
}
