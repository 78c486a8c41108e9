// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "LinkLab"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <libmnl/libmnl.h>
#include <linux/if.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <linux/veth.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace ostra {

namespace {

class LabRequest {
 public:
   LabRequest(
      unsigned type, unsigned flags, int index, unsigned up = 0, unsigned change = 0 ) {
      header_ = mnl_nlmsg_put_header( buffer_ );
      header_->nlmsg_type = static_cast< std::uint16_t >( type );
      header_->nlmsg_flags =
         static_cast< std::uint16_t >( NLM_F_REQUEST | NLM_F_ACK | flags );
      auto* const info = putInfo();
      info->ifi_index = index;
      info->ifi_flags = up;
      info->ifi_change = change;
   }

   ifinfomsg* putInfo() {
      auto* const info = static_cast< ifinfomsg* >(
         mnl_nlmsg_put_extra_header( header_, sizeof( ifinfomsg ) ) );
      info->ifi_family = AF_UNSPEC;
      return info;
   }
   void text( unsigned type, std::string const& value ) {
      mnl_attr_put_strz( header_, static_cast< std::uint16_t >( type ), value.c_str() );
   }
   void number( unsigned type, std::uint32_t value ) {
      mnl_attr_put_u32( header_, static_cast< std::uint16_t >( type ), value );
   }
   void octet( unsigned type, unsigned value ) {
      mnl_attr_put_u8(
         header_,
         static_cast< std::uint16_t >( type ),
         static_cast< std::uint8_t >( value ) );
   }
   nlattr* begin( unsigned type ) {
      return mnl_attr_nest_start( header_, static_cast< std::uint16_t >( type ) );
   }
   void end( nlattr* nest ) { mnl_attr_nest_end( header_, nest ); }
   nlmsghdr const* message() const noexcept { return header_; }

 private:
   alignas( 8 ) char buffer_[ 512 ];
   nlmsghdr* header_;
};

} // namespace

NetworkNamespace::NetworkNamespace()
      : before_( open( "/proc/self/ns/net", O_RDONLY | O_CLOEXEC ) ) {
   if ( before_ < 0 || unshare( CLONE_NEWNET ) != 0 ) {
      problem_ =
         fmt::format( "no network namespace can be made: {}", std::strerror( errno ) );
   }
}

NetworkNamespace::~NetworkNamespace() {
   if ( problem_.empty() ) {
      setns( before_, CLONE_NEWNET );
   }
   close( before_ );
}

void
LinkLab::perform( void const* message ) {
   auto const* const begin = static_cast< std::byte const* >( message );
   int error =
      socket_.send( { begin, static_cast< nlmsghdr const* >( message )->nlmsg_len } );
   std::string text;
   bool isAnswered = error != 0;
   while ( socket_.receive() == NetlinkSocket::Received::messages ) {
      forEachMessage( socket_.octets(), [ & ]( nlmsghdr const& answer ) {
         if ( auto const reply = replyOf( answer ) ) {
            error = reply->error;
            text = reply->text;
            isAnswered = true;
         }
      } );
   }
   if ( !isAnswered || error != 0 ) {
      throw std::runtime_error(
         fmt::format( "{}: {}", isAnswered ? std::strerror( error ) : "no answer", text ) );
   }
}

std::optional< Link >
LinkLab::link( std::string const& name ) {
   for ( Link& link : allLinks( socket_ ) ) {
      if ( link.name == name ) {
         return std::move( link );
      }
   }
   return std::nullopt;
}

int
LinkLab::indexOf( std::string const& name ) {
   ifreq request{};
   name.copy( request.ifr_name, sizeof request.ifr_name - 1 );
   int const any = ::socket( AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0 );
   int const status = ioctl( any, SIOCGIFINDEX, &request );
   close( any );
   if ( status != 0 ) {
      throw std::runtime_error( "no device " + name );
   }
   return request.ifr_ifindex;
}

bool
LinkLab::isHeld( std::string const& name, unsigned bit ) {
   auto const found = link( name );
   return found && found->isProtodown && found->has( bit ) && !found->isCarrying();
}

void
LinkLab::addVeth( std::string const& name, std::string const& peer ) {
   LabRequest request( RTM_NEWLINK, NLM_F_CREATE | NLM_F_EXCL, 0, IFF_UP, IFF_UP );
   request.text( IFLA_IFNAME, name );
   nlattr* const info = request.begin( IFLA_LINKINFO );
   request.text( IFLA_INFO_KIND, "veth" );
   nlattr* const data = request.begin( IFLA_INFO_DATA );
   nlattr* const other = request.begin( VETH_INFO_PEER );
   request.putInfo();
   request.text( IFLA_IFNAME, peer );
   request.end( other );
   request.end( data );
   request.end( info );
   perform( request.message() );
   isUpIs( peer, true );
}

void
LinkLab::addMacvlan( std::string const& name, std::string const& lower, bool isUp ) {
   unsigned const up = isUp ? unsigned{ IFF_UP } : 0U;
   LabRequest request( RTM_NEWLINK, NLM_F_CREATE | NLM_F_EXCL, 0, up, up );
   request.text( IFLA_IFNAME, name );
   request.number( IFLA_LINK, static_cast< std::uint32_t >( indexOf( lower ) ) );
   nlattr* const info = request.begin( IFLA_LINKINFO );
   request.text( IFLA_INFO_KIND, "macvlan" );
   nlattr* const data = request.begin( IFLA_INFO_DATA );
   request.number( IFLA_MACVLAN_MODE, MACVLAN_MODE_BRIDGE );
   request.end( data );
   request.end( info );
   perform( request.message() );
}

bool
LinkLab::addBond( std::string const& name, unsigned mode ) {
   LabRequest request( RTM_NEWLINK, NLM_F_CREATE | NLM_F_EXCL, 0, IFF_UP, IFF_UP );
   request.text( IFLA_IFNAME, name );
   nlattr* const info = request.begin( IFLA_LINKINFO );
   request.text( IFLA_INFO_KIND, "bond" );
   nlattr* const data = request.begin( IFLA_INFO_DATA );
   request.octet( IFLA_BOND_MODE, mode );
   // Members' carriers count, looked at every 10 ms.
   request.number( IFLA_BOND_MIIMON, 10 );
   request.end( data );
   request.end( info );
   try {
      perform( request.message() );
      return true;
   } catch ( std::runtime_error const& ) {
      return false;
   }
}

void
LinkLab::masterIs( std::string const& name, std::string const& master ) {
   LabRequest request( RTM_SETLINK, 0, indexOf( name ) );
   request.number(
      IFLA_MASTER,
      master.empty() ? 0U : static_cast< std::uint32_t >( indexOf( master ) ) );
   perform( request.message() );
}

void
LinkLab::remove( std::string const& name ) {
   perform( LabRequest( RTM_DELLINK, 0, indexOf( name ) ).message() );
}

void
LinkLab::rename( std::string const& name, std::string const& to ) {
   LabRequest request( RTM_SETLINK, 0, indexOf( name ) );
   request.text( IFLA_IFNAME, to );
   perform( request.message() );
}

void
LinkLab::isUpIs( std::string const& name, bool isUp ) {
   perform(
      LabRequest( RTM_SETLINK, 0, indexOf( name ), isUp ? unsigned{ IFF_UP } : 0U, IFF_UP )
         .message() );
}

void
LinkLab::flap( std::string const& name ) {
   isUpIs( name, false );
   isUpIs( name, true );
}

void
LinkLab::reasonIs( std::string const& name, unsigned bit, bool isSet ) {
   LabRequest request( RTM_SETLINK, 0, indexOf( name ) );
   nlattr* const nest = request.begin( IFLA_PROTO_DOWN_REASON );
   request.number( IFLA_PROTO_DOWN_REASON_MASK, 1U << bit );
   request.number( IFLA_PROTO_DOWN_REASON_VALUE, isSet ? 1U << bit : 0U );
   request.end( nest );
   perform( request.message() );
}

void
LinkLab::protodownIs( std::string const& name, bool isOn ) {
   LabRequest request( RTM_SETLINK, 0, indexOf( name ) );
   request.octet( IFLA_PROTO_DOWN, isOn ? 1 : 0 );
   perform( request.message() );
}

} // namespace ostra
