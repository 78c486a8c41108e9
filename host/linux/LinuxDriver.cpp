// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/linux/LinuxDriver>

#include <host/base/Failure>
#include <host/serve/Loop>

#include <event2/event.h>
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>

#include <linux/rtnetlink.h>

namespace ostra {

namespace {

// At the start there is time to wait for a list that is whole.
constexpr int triesAtStart = 100;
constexpr int triesMeanwhile = 5;
// In milliseconds.
constexpr long firstWait = 100;
constexpr long longestWait = 30'000;

// Others may hold it still.
bool
wasReleased( Reply const& reply ) {
   return reply.error == 0 || reply.error == EBUSY || reply.error == ENODEV;
}

} // namespace

void
LinuxDriver::Deleter::operator()( event* event ) const noexcept {
   event_free( event );
}

LinuxDriver::LinuxDriver(
   Options const& options, Devices::Say say, std::unique_ptr< NetlinkSocket > requests )
      : say_( say ),
        requests_( std::move( requests ) ),
        changes_( RTMGRP_LINK ),
        devices_( options.linux.interfaces, std::move( say ) ),
        takenDown_( options.state + "/taken-down.json", options.bootId ),
        holds_( *requests_, options.linux, takenDown_ ),
        facts_( devices_, [ this ]( int index ) { return takenDown_.contains( index ); } ) {
}

LinuxDriver::~LinuxDriver() = default;

// What a process before has left is this one's.
void
LinuxDriver::begin() {
   takenDown_.read( say_ );
   auto const before = takenDown_.reasonBit();
   auto const refused = holds_.takeOver( triesAtStart );
   writeBit();
   listAll( triesAtStart );
   for ( auto const& [ index, reply ] : refused ) {
      say_( fmt::format(
         "device {}: held by this host for reason {}: {}",
         nameOf( index ),
         *before,
         wordsOf( reply ) ) );
   }
}

// Before there are holds by it: whoever comes behind a process that was killed asks for it.
void
LinuxDriver::writeBit() {
   try {
      holds_.write();
   } catch ( Failure const& ) {
      // It is said when it is tried again.
   }
}

void
LinuxDriver::start( Loop& loop, DriverListener& listener ) {
   listener_ = &listener;
   loop_ = &loop;
   begin();
   event_.reset( event_new(
      loop.base(),
      changes_.descriptor(),
      EV_READ | EV_PERSIST,
      []( evutil_socket_t, short, void* self ) {
         auto& driver = *static_cast< LinuxDriver* >( self );
         driver.loop_->guard( [ &driver ] {
            driver.catchUp( mostAtATime );
            driver.tell();
         } );
      },
      this ) );
   again_.reset( evtimer_new(
      loop.base(),
      []( evutil_socket_t, short, void* self ) {
         auto& driver = *static_cast< LinuxDriver* >( self );
         driver.loop_->guard( [ &driver ] { driver.tryAgain(); } );
      },
      this ) );
   probe_.reset( evtimer_new(
      loop.base(),
      []( evutil_socket_t, short, void* self ) {
         auto& driver = *static_cast< LinuxDriver* >( self );
         driver.loop_->guard( [ &driver ] { driver.probeLater(); } );
      },
      this ) );
   if ( !event_ || !again_ || !probe_ || event_add( event_.get(), nullptr ) != 0 ) {
      throw Failure( ExitStatus::failed, "ostra: no event for netlink" );
   }
   tell();
}

void
LinuxDriver::listAll( int tries ) {
   isListed_ = false;
   ++lists_;
   auto const links = allLinks( *requests_, tries );
   devices_.allAre( links );
   holds_.allAre( links );
   isListed_ = true;
}

void
LinuxDriver::listAgain() {
   // What still waits is older than the list that is made now.
   while ( changes_.receive() != NetlinkSocket::Received::nothing ) {}
   listAll( triesMeanwhile );
}

bool
LinuxDriver::isDone() const noexcept {
   return isListed_ && unswept_.empty() && holds_.isWritten();
}

void
LinuxDriver::waitUnlessDone() {
   if ( isDone() ) {
      wait_ = 0;
   } else if ( event_pending( again_.get(), EV_TIMEOUT, nullptr ) == 0 ) {
      wait_ = std::clamp( 2 * wait_, firstWait, longestWait );
      timeval const wait{ wait_ / 1'000, wait_ % 1'000 * 1'000 };
      event_add( again_.get(), &wait );
   }
}

void
LinuxDriver::tryAgain() {
   try {
      if ( !isListed_ ) {
         listAgain();
         say_( "all devices are listed again" );
      }
      holds_.write();
   } catch ( Failure const& failure ) {
      // Once, and not with each try.
      if ( wait_ == firstWait ) {
         say_( failure.what() );
      }
   }
   sweep( std::set( unswept_ ) );
   tell();
}

void
LinuxDriver::take( NetlinkSocket::Received received ) {
   if ( !isListed_ ) {
      // The list that is made next is newer.
      return;
   }
   if ( received == NetlinkSocket::Received::lost ) {
      listAgain();
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
      say_( fmt::format( "{}: it is tried again", failure.what() ) );
      waitUnlessDone();
   }
}

void
LinuxDriver::tell() {
   auto const changes = devices_.takeChanges();
   seeHolds( changes.interfaces, changes.others );
   sweep( changes.others );
   for ( Json const& patch : facts_.patches( changes ) ) {
      listener_->facts( patch );
   }
   toProbe( changes.interfaces );
   for ( std::string const& interface : changes.left ) {
      if ( told_.contains( interface ) ) {
         tellOne( interface, Observed::noDevice );
      }
   }
   tellObserved( changes.interfaces );
   waitUnlessDone();
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
      // An earlier process has held it. If that is not wanted, its release is ordered.
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
      } else {
         unswept_.erase( index );
      }
   }
   if ( work.release.empty() ) {
      return;
   }
   auto const replies = holds_.carryOut( work, [] {} );
   lookAgain( work );
   for ( auto const& [ index, reply ] : replies ) {
      isSwept( index, reply );
   }
}

void
LinuxDriver::isSwept( int index, Reply const& reply ) {
   bool const isReleased = wasReleased( reply );
   // It is said once, and not with each try.
   bool const isNew = !isReleased && unswept_.insert( index ).second;
   if ( isReleased ) {
      unswept_.erase( index );
   }
   if ( isReleased || isNew ) {
      say_( fmt::format(
         "device {}: held by this host, and no interface: {}",
         nameOf( index ),
         isReleased ? "released" : wordsOf( reply ) ) );
   }
}

std::string
LinuxDriver::nameOf( int index ) const {
   Link const* const link = devices_.link( index );
   return link ? oneLine( link->name ) : fmt::format( "{}", index );
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
   return Device{ oneLine( link->name ),
                  std::move( protodown ),
                  holds_.meansFor( link->index ) };
}

std::vector< LinuxDriver::Released >
LinuxDriver::releaseAll() {
   begin();
   Holds::Work work;
   for ( Link const& link : allLinks( *requests_ ) ) {
      if ( holds_.isOurs( link ) ) {
         work.release.push_back( link );
      }
   }
   std::vector< Released > released;
   for ( auto const& [ index, reply ] : holds_.carryOut( work, [] {} ) ) {
      released.push_back(
         { nameOf( index ), wasReleased( reply ) ? "" : wordsOf( reply ) } );
   }
   return released;
}

void
LinuxDriver::remember() {
   try {
      holds_.write();
   } catch ( Failure const& failure ) {
      throw Failure(
         ExitStatus::failed,
         fmt::format(
            "{}: it names ports that are released: expected room for it, and the same "
            "command again",
            failure.what() ) );
   }
}

std::vector< std::string >
LinuxDriver::warnings() {
   listAll( triesAtStart );
   auto const interfaces = devices_.takeChanges().interfaces;
   std::vector< std::string > warnings;
   for ( std::size_t const place : devices_.withoutDevice() ) {
      warnings.push_back( fmt::format( "linux.interfaces[{}]: matches no device", place ) );
   }
   if ( !probe( interfaces ) ) {
      warnings.emplace_back(
         "which devices can be held is not known: the kernel tells it to root, or with "
         "CAP_NET_ADMIN" );
   }
   for ( std::string const& interface : interfaces ) {
      Link const* const link = devices_.linkOf( interface );
      if ( link && holds_.isHopeless( link->index ) ) {
         warnings.push_back( fmt::format(
            "{}: device {} has no protodown, so that it cannot be held",
            interface,
            nameOf( link->index ) ) );
      }
   }
   return warnings;
}

} // namespace ostra
