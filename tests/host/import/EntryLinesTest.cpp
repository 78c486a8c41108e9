// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/import/EntryLines>
#include <host/input/Document>

#include <gtest/gtest.h>

#include <fmt/format.h>

#include <random>

namespace ostra {
namespace {

using Entries = std::map< Kovel::IntfId, EntryValue >;

EntryValue
inLag( int number ) {
   return { std::to_string( number ), false, "{ lag: Port-Channel% }" };
}

// What the lines stand for when a scenario has them: by name the value as JSON.
std::map< std::string, std::string >
readAgain( std::string const& lines ) {
   std::map< std::string, std::string > entries;
   Json const json = toJson( parseScenario( "x", "mounts:\n" + lines ).root() );
   for ( auto const& [ name, value ] : json.at( "mounts" ).items() ) {
      entries[ name ] = value.dump();
   }
   return entries;
}

} // namespace

TEST( EntryLines, InterfacesOfWhichTheSameIsSaidAreTogether ) {
   Entries entries;
   for ( int i = 1; i <= 4; ++i ) {
      entries[ Kovel::IntfId( fmt::format( "Ethernet{}", i ) ) ] = inLag( i < 3 ? 1 : i );
   }
   entries[ Kovel::IntfId( "Management1" ) ] = inLag( 1 );
   EXPECT_EQ(
      entryLines( entries, "  " ),
      "  Ethernet1-2: { lag: Port-Channel1 }\n"
      "  Ethernet3-4: { lag: Port-Channel$1 }\n"
      "  Management1: { lag: Port-Channel1 }\n" );
}

TEST( EntryLines, TheNumberThatFitsMostIsTaken ) {
   Entries entries;
   for ( int i = 1; i <= 4; ++i ) {
      entries[ Kovel::IntfId( fmt::format( "Ethernet1/{}", i ) ) ] = inLag( i );
   }
   EXPECT_EQ( entryLines( entries, "" ), "Ethernet1/1-4: { lag: Port-Channel$2 }\n" );
   // Two of them might have either number.
   entries.clear();
   for ( auto const& [ name, number ] : { std::pair{ "Ethernet1/1", 1 },
                                          std::pair{ "Ethernet2/2", 2 },
                                          std::pair{ "Ethernet3/5", 5 },
                                          std::pair{ "Ethernet4/6", 6 } } ) {
      entries[ Kovel::IntfId( name ) ] = inLag( number );
   }
   EXPECT_EQ(
      entryLines( entries, "" ), "Ethernet1/1,2/2,3/5,4/6: { lag: Port-Channel$2 }\n" );
}

TEST( EntryLines, NumbersThatAreTextsAreInQuotes ) {
   Entries entries;
   entries[ Kovel::IntfId( "Port-Channel7" ) ] = { "7", true, "{ mlagId: % }" };
   EXPECT_EQ( entryLines( entries, "" ), "Port-Channel7: { mlagId: \"7\" }\n" );
   entries[ Kovel::IntfId( "Port-Channel8" ) ] = { "8", true, "{ mlagId: % }" };
   EXPECT_EQ( entryLines( entries, "" ), "Port-Channel7-8: { mlagId: $1 }\n" );
}

TEST( EntryLines, LongListsAreSeveralKeys ) {
   Entries entries;
   for ( int i = 1; i < 2000; i += 2 ) {
      entries[ Kovel::IntfId( fmt::format( "Ethernet{}", i ) ) ] = { "", false, "{}" };
   }
   std::string const lines = entryLines( entries, "  " );
   EXPECT_GT( std::count( lines.begin(), lines.end(), '\n' ), 10 );
   EXPECT_EQ( readAgain( lines ).size(), 1000U );
}

TEST( EntryLines, AScenarioReadsTheEntriesAgain ) {
   for ( unsigned seed = 1; seed <= 300; ++seed ) {
      SCOPED_TRACE( seed );
      std::mt19937 random( seed );
      Entries entries;
      std::map< std::string, std::string > expected;
      for ( auto i = random() % 60; i-- > 0; ) {
         char const* const format = random() % 3 == 0 ? "Ethernet{}/{}" : "Ethernet{}";
         std::string const name =
            fmt::format( fmt::runtime( format ), random() % 20, random() % 4 );
         int const number = static_cast< int >( random() % 20 );
         bool const isText = random() % 2 == 0;
         entries[ Kovel::IntfId( name ) ] = { std::to_string( number ),
                                              isText,
                                              isText ? "{ mlagId: % }" : "{ lag: Vlan% }" };
         expected[ name ] = fmt::format(
            fmt::runtime( isText ? "{{\"mlagId\":\"{}\"}}" : "{{\"lag\":\"Vlan{}\"}}" ),
            number );
      }
      if ( !entries.empty() ) {
         EXPECT_EQ( readAgain( entryLines( entries, "  " ) ), expected );
      }
   }
}

} // namespace ostra
