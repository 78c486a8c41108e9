// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// How the driver finds out which devices can be held.

#include <host/linux/LinuxDriver>

#include <event2/event.h>

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace ostra {

namespace {

// Devices that are asked whether they can be held, without a look at anything else.
constexpr std::size_t fewProbes = 32;
constexpr std::size_t manyProbes = 256;
// In microseconds. What is to be held is ordered before that.
constexpr long untilProbes = 50'000;

} // namespace

void
LinuxDriver::toProbe( std::set< std::string > const& interfaces ) {
   std::copy_if(
      interfaces.begin(),
      interfaces.end(),
      std::inserter( unprobed_, unprobed_.end() ),
      [ this ]( std::string const& interface ) { return isUnknown( interface ); } );
   while ( !holds_.knowsReasons() && !unprobed_.empty() ) {
      probeSome( fewProbes );
   }
   waitToProbe();
}

// However often devices change: what waits already waits no longer.
void
LinuxDriver::waitToProbe() {
   if ( unprobed_.empty() ) {
      event_del( probe_.get() );
   } else if ( event_pending( probe_.get(), EV_TIMEOUT, nullptr ) == 0 ) {
      timeval const wait{ 0, untilProbes };
      event_add( probe_.get(), &wait );
   }
}

void
LinuxDriver::probeSome( std::size_t most ) {
   auto const end = std::next(
      unprobed_.begin(),
      static_cast< std::ptrdiff_t >( std::min( most, unprobed_.size() ) ) );
   probe( { unprobed_.begin(), end } );
   unprobed_.erase( unprobed_.begin(), end );
}

void
LinuxDriver::probeLater() {
   // What throws is tried again.
   waitToProbe();
   std::erase_if( unprobed_, [ this ]( std::string const& interface ) {
      return !isUnknown( interface );
   } );
   if ( !unprobed_.empty() ) {
      probeSome( manyProbes );
      // What deviceOf() tells may have changed.
      listener_->facts( Json::object() );
   }
   toProbe( {} );
}

bool
LinuxDriver::isUnknown( std::string const& interface ) const {
   Link const* const link =
      isPortChannel( interface ) ? nullptr : devices_.linkOf( interface );
   return link && !holds_.isSupported( link->index );
}

bool
LinuxDriver::probe( std::set< std::string > const& interfaces ) {
   std::vector< Link > links;
   for ( std::string const& interface : interfaces ) {
      if ( isUnknown( interface ) ) {
         links.push_back( *devices_.linkOf( interface ) );
      }
   }
   return holds_.probe( links, [] {} );
}

} // namespace ostra
