// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/linux/LinuxDriver>

#include <host/base/Failure>
#include <host/serve/Loop>

#include <event2/event.h>
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <linux/rtnetlink.h>

namespace ostra {

namespace {

// A loop that only hears would never get to its end of a turn.
constexpr int mostAtATime = 256;
// Nobody changes devices as fast as this reads.
constexpr int untilNothing = 1'000'000;

std::string
wordsOfReply( Reply const& reply ) {
   return reply.text.empty()
      ? std::strerror( reply.error )
      : fmt::format( "{}: {}", std::strerror( reply.error ), reply.text );
}

} // namespace

void
LinuxDriver::Deleter::operator()( event* event ) const noexcept {
   event_free( event );
}

LinuxDriver::LinuxDriver( Options const& options, Devices::Say say )
      : say_( say ),
        requests_( 0 ),
        changes_( RTMGRP_LINK ),
        devices_( options.linux.interfaces, std::move( say ) ),
        takenDown_( options.state + "/taken-down.json", options.bootId ),
        holds_( requests_, options.linux, takenDown_ ),
        facts_( devices_, [ this ]( int index ) { return takenDown_.contains( index ); } ) {
}

LinuxDriver::~LinuxDriver() = default;

void
LinuxDriver::start( Loop& loop, DriverListener& listener ) {
   listener_ = &listener;
   listAll();
   event_.reset( event_new(
      loop.base(),
      changes_.descriptor(),
      EV_READ | EV_PERSIST,
      []( evutil_socket_t, short, void* self ) {
         auto& driver = *static_cast< LinuxDriver* >( self );
         driver.catchUp( mostAtATime );
         driver.tell();
      },
      this ) );
   if ( !event_ || event_add( event_.get(), nullptr ) != 0 ) {
      throw Failure( ExitStatus::failed, "ostra: no event for netlink" );
   }
   tell();
}

void
LinuxDriver::listAll() {
   isListed_ = false;
   ++lists_;
   auto const links = allLinks( requests_ );
   devices_.allAre( links );
   holds_.allAre( links );
   isListed_ = true;
}

void
LinuxDriver::take( NetlinkSocket::Received received ) {
   if ( received == NetlinkSocket::Received::lost || !isListed_ ) {
      // What still waits is older than the list that is made now.
      while ( changes_.receive() != NetlinkSocket::Received::nothing ) {}
      listAll();
      return;
   }
   forEachMessage( changes_.octets(), [ this ]( nlmsghdr const& message ) {
      if ( auto const heard = linkMessage( message ) ) {
         devices_.apply( *heard );
         if ( heard->isGone ) {
            holds_.isGone( heard->link.index );
         }
      }
   } );
}

void
LinuxDriver::catchUp( int most ) {
   try {
      for ( int i = 0; i < most; ++i ) {
         auto const received = changes_.receive();
         if ( received == NetlinkSocket::Received::nothing ) {
            return;
         }
         take( received );
      }
   } catch ( Failure const& failure ) {
      // Whatever is heard next makes it try again.
      say_( failure.what() );
   }
}

void
LinuxDriver::tell() {
   auto const [ interfaces, others ] = devices_.takeChanges();
   seeHolds( interfaces, others );
   sweep( others );
   for ( Json const& patch : facts_.patches( interfaces ) ) {
      listener_->facts( patch );
   }
   probe( interfaces );
   tellObserved( interfaces );
}

void
LinuxDriver::seeHolds(
   std::set< std::string > const& interfaces, std::set< int > const& others ) {
   for ( std::string const& interface : interfaces ) {
      if ( Link const* const link = devices_.linkOf( interface ) ) {
         holds_.sees( *link );
      }
   }
   for ( int const index : others ) {
      if ( Link const* const link = devices_.link( index ) ) {
         holds_.sees( *link );
      }
   }
}

// The members' state is the port-channel's, too.
void
LinuxDriver::tellObserved( std::set< std::string > const& interfaces ) {
   for ( std::string const& interface : interfaces ) {
      tellOne( interface, observed( interface ) );
   }
   for ( std::string const& portChannel : std::set( standby_ ) ) {
      tellOne( portChannel, observed( portChannel ) );
   }
   if ( !interfaces.empty() ) {
      // What deviceOf() tells may have changed.
      listener_->facts( Json::object() );
   }
}

void
LinuxDriver::tellOne( std::string const& interface, Observed observed ) {
   auto const [ told, isNew ] = told_.try_emplace( interface, Observed::unknown );
   if ( told->second == observed ) {
      return;
   }
   told->second = observed;
   if ( observed == Observed::noDevice ) {
      told_.erase( told );
      errdisabled_.erase( interface );
      standby_.erase( interface );
   } else if ( observed != Observed::released && !isPortChannel( interface ) ) {
      // A process before has held it. Whoever does not want that orders its release.
      errdisabled_.insert( interface );
   }
   listener_->observed( interface, observed );
}

void
LinuxDriver::sweep( std::set< int > const& indexes ) {
   Holds::Work work;
   for ( int const index : indexes ) {
      Link const* const link = devices_.link( index );
      if ( link && devices_.interfaceOf( index ).empty() && holds_.isOurs( *link ) ) {
         work.release.push_back( *link );
      }
   }
   auto const replies = holds_.carryOut( work, [] {} );
   lookAgain( work );
   for ( auto const& [ index, reply ] : replies ) {
      bool const isDone = reply.error == 0 || reply.error == EBUSY || reply.error == ENODEV;
      say_( fmt::format(
         "device {}: held by this host, and no interface: {}",
         nameOf( index ),
         isDone ? "released" : wordsOfReply( reply ) ) );
   }
}

void
LinuxDriver::probe( std::set< std::string > const& interfaces ) {
   std::vector< Link > links;
   for ( std::string const& interface : interfaces ) {
      Link const* const link =
         isPortChannel( interface ) ? nullptr : devices_.linkOf( interface );
      if ( link && !holds_.isSupported( link->index ) ) {
         links.push_back( *link );
      }
   }
   holds_.probe( links, [] {} );
}

bool
LinuxDriver::isWanted( std::string const& interface ) const {
   Link const* const link = devices_.linkOf( interface );
   return errdisabled_.contains( interface ) ||
      ( link && standby_.contains( devices_.portChannelOf( *link ) ) );
}

Observed
LinuxDriver::observed( std::string const& interface ) const {
   Link const* const link = devices_.linkOf( interface );
   if ( !link ) {
      return Observed::noDevice;
   }
   if ( !isPortChannel( interface ) ) {
      bool const isOfStandby = isWanted( interface ) && !errdisabled_.contains( interface );
      return isOfStandby ? Observed::released : holds_.observed( *link );
   }
   if ( !standby_.contains( interface ) ) {
      return Observed::released;
   }
   auto const members = devices_.membersOf( interface );
   bool const isHeld =
      std::all_of( members.begin(), members.end(), [ this ]( auto const& member ) {
         return holds_.observed( *devices_.linkOf( member ) ) == Observed::held;
      } );
   return isHeld ? Observed::held : Observed::broken;
}

std::vector< std::string >
LinuxDriver::portsOf( Order const& order ) const {
   return order.kind == OrderKind::errdisable ? std::vector{ order.interface }
                                              : devices_.membersOf( order.interface );
}

void
LinuxDriver::take( Order const& order ) {
   auto& held = order.kind == OrderKind::errdisable ? errdisabled_ : standby_;
   if ( order.isHold ) {
      held.insert( order.interface );
   } else {
      held.erase( order.interface );
   }
}

// The kernel does not tell everything: nothing of a device that is down, nor that our reason
// has gone when it refuses to clear protodown for others. What is not as it was to be is asked
// for.
void
LinuxDriver::lookAgain( Holds::Work const& work ) {
   std::vector< int > indexes;
   for ( Link const& held : work.hold ) {
      Link const* const link = devices_.link( held.index );
      if ( link && holds_.observed( *link ) != Observed::held ) {
         indexes.push_back( held.index );
      }
   }
   for ( Link const& released : work.release ) {
      Link const* const link = devices_.link( released.index );
      if ( link && holds_.isOurs( *link ) ) {
         indexes.push_back( released.index );
      }
   }
   for ( Link const& link : linksOf( requests_, indexes ) ) {
      devices_.apply( { false, link } );
   }
}

void
LinuxDriver::carryOut( std::vector< Order > const& orders ) {
   std::set< std::string > ports;
   for ( Order const& order : orders ) {
      take( order );
      for ( std::string const& port : portsOf( order ) ) {
         ports.insert( port );
      }
   }
   Holds::Work work;
   for ( std::string const& port : ports ) {
      Link const* const link = devices_.linkOf( port );
      if ( link && isWanted( port ) ) {
         work.hold.push_back( *link );
      } else if ( link && holds_.isOurs( *link ) ) {
         work.release.push_back( *link );
      }
   }
   auto const replies = holds_.carryOut( work, [ this ] { catchUp( mostAtATime ); } );
   catchUp( untilNothing );
   lookAgain( work );
   for ( Order const& order : orders ) {
      Answer const answer = answerTo( order, replies );
      if ( answer.result == Answer::Result::done ) {
         told_[ order.interface ] = order.isHold ? Observed::held : Observed::released;
      }
      listener_->answered( answer );
   }
   if ( devices_.hasChanged() ) {
      // What was heard meanwhile is told within the next turn.
      event_active( event_.get(), EV_READ, 0 );
   }
}

Answer
LinuxDriver::answerTo( Order const& order, std::map< int, Reply > const& replies ) const {
   using Result = Answer::Result;
   if ( !devices_.linkOf( order.interface ) ) {
      return { order.id,
               order.interface,
               order.isHold ? Result::unsupported : Result::done,
               order.isHold ? "no device" : "" };
   }
   for ( std::string const& port : portsOf( order ) ) {
      std::string const problem = problemOf( port, order.isHold, replies );
      if ( !problem.empty() ) {
         bool const canBe = !holds_.isHopeless( devices_.linkOf( port )->index );
         return {
            order.id, order.interface, canBe ? Result::failed : Result::unsupported, problem
         };
      }
   }
   return { order.id, order.interface, Result::done };
}

// By what the device says of itself; what the kernel has answered says why.
std::string
LinuxDriver::problemOf(
   std::string const& port, bool isHold, std::map< int, Reply > const& replies ) const {
   Link const& link = *devices_.linkOf( port );
   bool const isDone = isHold ? holds_.observed( link ) == Observed::held
                              : isWanted( port ) || !holds_.isOurs( link );
   if ( isDone ) {
      return {};
   }
   auto const found = replies.find( link.index );
   bool const isRefused = found != replies.end() && found->second.error != 0;
   return fmt::format(
      "{}: {}",
      nameOf( link.index ),
      isRefused   ? wordsOfReply( found->second )
         : isHold ? "it carries traffic although protodown is on"
                  : "it stays held" );
}

std::string
LinuxDriver::nameOf( int index ) const {
   Link const* const link = devices_.link( index );
   return link ? shortened( link->name ) : fmt::format( "{}", index );
}

std::optional< Device >
LinuxDriver::deviceOf( std::string const& interface ) const {
   Link const* const link = devices_.linkOf( interface );
   if ( !link ) {
      return std::nullopt;
   }
   Protodown protodown{ holds_.isSupported( link->index ), link->isProtodown };
   std::uint32_t const others = holds_.othersOf( *link );
   for ( unsigned bit = 0; bit < 32; ++bit ) {
      if ( ( others >> bit & 1U ) != 0 ) {
         protodown.others.push_back( fmt::format( "reason {}", bit ) );
      }
   }
   return Device{ oneLine( link->name ), std::move( protodown ) };
}

std::vector< LinuxDriver::Released >
LinuxDriver::releaseAll() {
   listAll();
   Holds::Work work;
   for ( Link const& link : allLinks( requests_ ) ) {
      if ( holds_.isOurs( link ) ) {
         work.release.push_back( link );
      }
   }
   std::vector< Released > released;
   for ( auto const& [ index, reply ] : holds_.carryOut( work, [] {} ) ) {
      bool const isDone = reply.error == 0 || reply.error == EBUSY || reply.error == ENODEV;
      released.push_back( { nameOf( index ), isDone ? "" : wordsOfReply( reply ) } );
   }
   return released;
}

std::map< std::string, std::string >
LinuxDriver::unsupported() {
   listAll();
   auto const interfaces = devices_.takeChanges().interfaces;
   probe( interfaces );
   std::map< std::string, std::string > unsupported;
   for ( std::string const& interface : interfaces ) {
      Link const* const link = devices_.linkOf( interface );
      if ( link && holds_.isHopeless( link->index ) ) {
         unsupported[ interface ] = nameOf( link->index );
      }
   }
   return unsupported;
}

} // namespace ostra
