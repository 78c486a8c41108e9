// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What `ostra import` reads. An input is a file.
//
//  1. It is accepted, or refused with exit status 2 and a message that names a place that
//     the file has.
//  2. What is accepted becomes a scenario that can be read, and each warning is of a place
//     that the file or that scenario has.
//  3. Each port of the file is there once, and a port-channel that it is in is there, too.

#include <fuzz/Refusal>

#include <host/import/ForeignNames>
#include <host/import/Import>
#include <host/run/Scenario>

#include <Ryx/RyxType>

#include <cstdint>

namespace {

using fuzz::file;
using fuzz::require;
using ostra::Json;

constexpr char written[] = "<stdout>";

void
checkWarning( std::string const& line, std::string const& read, std::string const& text ) {
   constexpr std::string_view begin = "warning: ";
   require( line.starts_with( begin ), "no warning: ", line );
   std::string const message = line.substr( begin.size() );
   bool const isOfFile = message.starts_with( file );
   require( isOfFile || message.starts_with( written ), "of what: ", line );
   fuzz::checkPlace( message, isOfFile ? file : written, isOfFile ? read : text );
}

void
checkScenario( std::string const& text ) {
   ostra::Mounts mounts;
   auto const agentType = []() -> ostra::RyxType const& {
      return *ostra::RyxType::type( Ryx::Name( "OstraMlag::Agent" ) );
   };
   readScenario( ostra::parseScenario( written, text ), mounts, agentType );
   Json const state = mounts.state();
   Json const& portChannels = state.at( "lagInputIntfStatus" ).at( "intfStatus" );
   Json const& ports = state.at( "ethPhyIntfStatus" ).at( "intfStatus" );
   for ( auto const& [ port, member ] :
         state.at( "lagInputConfig" ).at( "phyIntf" ).items() ) {
      require( ports.contains( port ), "a member that is no port: ", port );
      require(
         portChannels.contains( member.at( "lag" ) ), "no port-channel: ", member.dump() );
   }
}

} // namespace

extern "C" int
LLVMFuzzerTestOneInput( std::uint8_t const* data, std::size_t size ) {
   std::string const text( data, data + size );
   try {
      static auto const names = ostra::usualNames();
      auto const imported = ostra::importScenario( { file, text }, { names } );
      for ( std::string const& line : imported.warnings ) {
         checkWarning( line, text, imported.text );
      }
      checkScenario( imported.text );
   } catch ( ostra::Failure const& failure ) {
      fuzz::checkRefusal( failure, text );
   }
   return 0;
}
