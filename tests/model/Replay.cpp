// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <model/Replay>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <unistd.h>

namespace model {

std::string
keptScenario( History const& history, std::string const& name ) {
   char const* const chosen = std::getenv( "OSTRA_SCENARIOS_DIR" );
   std::filesystem::path const directory =
      chosen ? std::filesystem::path( chosen ) : std::filesystem::temp_directory_path();
   std::filesystem::create_directories( directory );
   auto const path = directory / ( name + "-" + std::to_string( ::getpid() ) + ".json" );
   std::ofstream( path ) << scenarioOf( history ).dump( 2 ) << "\n";
   return path.string();
}

std::string
report( std::string const& path, std::string const& format ) {
   std::string const output = path + "." + format;
   std::string const command = "COLUMNS= '" OSTRA_BINARY "' run '" + path +
      "' --plugin '" OSTRA_PLUGIN "' --format " + format + " >'" + output + "' 2>&1";
   EXPECT_EQ( std::system( command.c_str() ), 0 ) << path;
   std::ostringstream text;
   text << std::ifstream( output ).rdbuf();
   std::filesystem::remove( output );
   return text.str();
}

Outcome
played( std::string const& path ) {
   Outcome outcome;
   std::istringstream in( report( path, "ndjson" ) );
   for ( std::string line; std::getline( in, line ); ) {
      Json const record = Json::parse( line );
      if ( record.at( "type" ) == "write" || record.at( "type" ) == "log" ) {
         outcome.stream.push_back( comparable( record ) );
      } else if ( record.at( "type" ) == "end" ) {
         outcome.state = record.at( "state" );
      }
   }
   return outcome;
}

std::string
lack( Json const& state, Json const& expected, std::string const& path ) {
   if ( !expected.is_object() ) {
      return state == expected ? "" : path + " is " + state.dump() + "\n";
   }
   std::string text;
   // A collection stands two levels deep.
   bool const isCollection = std::count( path.begin(), path.end(), '/' ) == 2;
   if ( isCollection && state.size() != expected.size() ) {
      text += path + " has " + state.dump() + "\n";
   }
   for ( auto const& [ key, value ] : expected.items() ) {
      auto const it = state.find( key );
      std::string const inner = path + "/" + key;
      text += it == state.end() ? inner + " is missing\n" : lack( *it, value, inner );
   }
   return text;
}

} // namespace model
