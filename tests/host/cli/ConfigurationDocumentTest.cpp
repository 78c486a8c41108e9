// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What docs/configuration.md, and the manual page that is made of it, say of the configuration
// is what the host reads.

#include "Documents"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <filesystem>
#include <regex>

namespace ostra {

namespace {

constexpr char configurationPage[] = "docs/configuration.md";

// The keys that a refusal of "key" in such a file says are expected.
Lines
keysExpectedIn( std::string const& configuration ) {
   Outcome const outcome = ostraRun(
      "serve --check --config '" + temporaryFile( "ostra.yaml", configuration ) + "'" );
   EXPECT_EQ( outcome.status, 2 ) << configuration;
   std::string const expected = ": expected ";
   std::size_t const begin = outcome.err.rfind( expected );
   EXPECT_NE( begin, outcome.err.npos ) << outcome.err;
   std::string const listed = outcome.err.substr( begin + expected.size() );
   std::regex const word( "[A-Za-z]+" );
   Lines keys;
   for ( std::sregex_iterator found( listed.begin(), listed.end(), word ), end;
         found != end;
         ++found ) {
      if ( found->str() != "or" && found->str() != "and" && found->str() != "of" ) {
         keys.push_back( found->str() );
      }
   }
   return keys;
}

std::string
with( std::string text, std::string const& what, std::string const& by ) {
   std::size_t const at = text.find( what );
   EXPECT_NE( at, text.npos ) << what;
   return at == text.npos ? text : text.replace( at, what.size(), by );
}

} // namespace

TEST( ConfigurationDocument, EveryKeyHasARow ) {
   std::string const text = document( configurationPage );
   std::size_t count = 0;
   for ( std::string const map : { "{}",
                                   "listen: [ {} ]",
                                   "linux: {}",
                                   "linux: { interfaces: [ {} ] }",
                                   "history: {}" } ) {
      Lines const keys = keysExpectedIn( with( map, "{}", "{ nothing: 1 }" ) );
      for ( std::string const& key : keys ) {
         // Those of history stand in its own row.
         bool const isExplained = text.find( "| `" + key + "` |" ) != text.npos ||
            ( map.starts_with( "history" ) && text.find( "`" + key + "`" ) != text.npos );
         EXPECT_TRUE( isExplained ) << key;
         ++count;
      }
   }
   EXPECT_GE( count, 20U );
}

TEST( ConfigurationDocument, ItsExampleIsRight ) {
   auto const blocks = blocksOf( configurationPage );
   ASSERT_EQ( blocks.size(), 1U );
   EXPECT_EQ( blocks[ 0 ].kind, "yaml" );
   TemporaryDirectory const directory;
   std::string const token = directory.path() + "/token";
   std::ofstream( token ) << "secret\n";
   std::filesystem::permissions( token, std::filesystem::perms::owner_read );
   // What another machine may not have.
   std::string text = blocks[ 0 ].text;
   text = with( text, "driver: linux", "driver: none" );
   text = with( text, ", group: ostra", "" );
   text = with( text, "/etc/ostra/token", token );
   text = with( text, "/run/ostra", directory.path() );
   text = with( text, "/var/lib/ostra", directory.path() + "/state" );
   text = with( text, "127.0.0.1:8440", "127.0.0.1:0" );
   Outcome const outcome =
      ostraRun( "serve --check --config '" + temporaryFile( "ostra.yaml", text ) + "'" );
   EXPECT_EQ( outcome.status, 0 ) << outcome.err;
   EXPECT_EQ( outcome.err, "" );
}

} // namespace ostra
