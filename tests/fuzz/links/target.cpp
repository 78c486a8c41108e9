// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The reader of what the kernel says of its devices. An input is what a netlink socket gives.
//
//  1. Whatever it is, it is read as far as it is whole, and nothing beyond its end.
//  2. What is told of the devices are facts of named interfaces, each told once.

#include <fuzz/Require>

#include <host/linux/Facts>

#include <cstddef>
#include <cstdint>
#include <vector>

extern "C" int
LLVMFuzzerTestOneInput( std::uint8_t const* data, std::size_t size ) {
   using namespace ostra;
   auto const* const begin = reinterpret_cast< std::byte const* >( data );
   // As large as the input, and where a message may begin.
   std::vector< std::byte > const octets( begin, begin + size );
   Devices devices(
      { { std::regex( R"((swp|v)(\d+))" ), R"(Ethernet\2)", "Port-Channel3" },
        { std::regex( R"(bond(\d+))" ), R"(Port-Channel\1)" } },
      []( std::string const& ) {} );
   Facts facts( devices, []( int index ) { return index % 2 == 0; } );
   forEachMessage( octets, [ & ]( nlmsghdr const& message ) {
      auto const reply = replyOf( message );
      fuzz::require( !reply || reply->text.size() < octets.size(), "a text from nowhere" );
      if ( auto const heard = linkMessage( message ) ) {
         fuzz::require( heard->isGone || !heard->link.name.empty(), "no name" );
         devices.apply( *heard );
      }
   } );
   for ( Json const& patch : facts.patches( devices.takeChanges() ) ) {
      fuzz::require( !patch.empty() && !patch.contains( "" ), "patch: ", patch.dump() );
   }
   fuzz::require( facts.patches( devices.takeChanges() ).empty(), "told twice" );
   devices.allAre( {} );
   facts.patches( devices.takeChanges() );
   fuzz::require( !devices.linkOf( "Ethernet1" ), "a device is left" );
   return 0;
}
