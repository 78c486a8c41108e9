// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The reader of the live host's configuration. An input is a file.
//
//  1. It is accepted, or refused with exit status 2 and a message that names a place that
//     the file has.
//  2. What is accepted can be described, and each of its rules asked for a device.

#include <fuzz/Refusal>

#include <host/serve/Config>

#include <cstdint>

extern "C" int
LLVMFuzzerTestOneInput( std::uint8_t const* data, std::size_t size ) {
   std::string const text( data, data + size );
   ostra::Surroundings const surroundings{ false, "/home/me", "", "/run/user/7" };
   try {
      auto const config =
         readConfig( ostra::parseDocument( fuzz::file, text ), surroundings );
      fuzz::require( !describe( config ).empty(), "no description" );
      fuzz::require( config.state.starts_with( '/' ), "state: ", config.state );
      for ( auto const& rule : config.linux.interfaces ) {
         auto const interface = rule.interfaceOf( "swp1" );
         fuzz::require( !interface || !interface->empty(), "no name" );
      }
   } catch ( ostra::Failure const& failure ) {
      fuzz::checkRefusal( failure, text );
   }
   return 0;
}
