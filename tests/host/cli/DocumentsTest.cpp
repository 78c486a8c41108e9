// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What the documents show is what the program does. A block of yaml is a scenario; the
// block behind it, if it is text, ndjson, json, table, error or warning, is an excerpt of what
// comes of it. A block of console has commands, each behind a "$ ", and below each an excerpt of what
// it prints.

#include "Documents"

#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <regex>
#include <set>

namespace ostra {

namespace {

using testing::HasSubstr;

// Returns whether the block shows what comes of the scenario.
bool
checkResult( std::string const& scenario, Block const& result ) {
   if ( result.kind == "error" ) {
      Outcome const outcome = ostraRun( "check -", scenario );
      EXPECT_EQ( outcome.status, 2 );
      EXPECT_EQ( outcome.err, result.text );
      return true;
   }
   if ( result.kind == "warning" ) {
      Outcome const outcome = ostraRun( "check -", scenario );
      EXPECT_EQ( outcome.status, 0 );
      EXPECT_EQ( outcome.err, result.text );
      return true;
   }
   std::set< std::string > const formats = { "text", "ndjson", "json", "table" };
   bool const isResult = formats.contains( result.kind );
   if ( isResult ) {
      expectExcerpt(
         result.text, ostraRun( "run - --format " + result.kind, scenario ).out );
   }
   return isResult;
}

// What the shell does in the directory, in which there are the examples.
Outcome
inDirectory( std::string const& directory, std::string const& command ) {
   return shell( "cd '" + directory + "'; ostra() { \"$ostra\" \"$@\"; }\n" + command );
}

// The name by which a link finds a heading: "## Time, boot" is "time-boot".
std::string
anchorOf( std::string const& heading ) {
   std::string anchor;
   for ( char const c : heading.substr( heading.find_first_not_of( "# " ) ) ) {
      bool const isKept = std::isalnum( static_cast< unsigned char >( c ) ) || c == '-';
      if ( isKept || c == ' ' ) {
         anchor += c == ' ' ? '-' : static_cast< char >( std::tolower( c ) );
      }
   }
   return anchor;
}

bool
hasAnchor( std::string const& text, std::string const& anchor ) {
   auto const lines = linesOf( text );
   return std::any_of( lines.begin(), lines.end(), [ & ]( std::string const& line ) {
      return line.starts_with( "#" ) && anchorOf( line ) == anchor;
   } );
}

} // namespace

TEST( Documents, CommandsPrintWhatIsShown ) {
   TemporaryDirectory const directory;
   std::filesystem::create_directory_symlink(
      OSTRA_EXAMPLES, directory.path() + "/examples" );
   int commands = 0;
   for ( Block const& block : blocksOf( "docs/operation.md" ) ) {
      EXPECT_EQ( block.kind, "console" ) << block.text;
      for ( auto const& [ command, excerpt ] : stepsOf( block.text ) ) {
         SCOPED_TRACE( command );
         Outcome const outcome = inDirectory( directory.path(), command );
         EXPECT_EQ( outcome.status, 0 );
         EXPECT_EQ( outcome.err, "" );
         expectExcerpt( excerpt, outcome.out );
         ++commands;
      }
   }
   EXPECT_GE( commands, 12 );
}

TEST( Documents, LinksLeadSomewhere ) {
   std::regex const link( R"(\]\(([^)#:]*)(#([^)]*))?\))" );
   for ( std::string const page : { "README.md",
                                    "docs/configuration.md",
                                    "docs/operation.md",
                                    "docs/scenario.md",
                                    "docs/host.md",
                                    "docs/serve.md" } ) {
      std::string const text = document( page );
      std::filesystem::path const from =
         std::filesystem::path( OSTRA_EXAMPLES "/../" + page ).parent_path();
      std::sregex_iterator const begin( text.begin(), text.end(), link );
      EXPECT_NE( begin, std::sregex_iterator() ) << page;
      for ( auto found = begin; found != std::sregex_iterator(); ++found ) {
         std::string const to = ( *found )[ 1 ];
         std::string const target = to.empty() ? text : contentOf( from / to );
         EXPECT_TRUE( std::filesystem::exists( from / to ) ) << page << ": " << to;
         if ( ( *found )[ 2 ].matched ) {
            EXPECT_TRUE( hasAnchor( target, ( *found )[ 3 ] ) )
               << page << ": " << found->str();
         }
      }
   }
}

TEST( Documents, ScenariosDoWhatIsShown ) {
   auto const blocks = blocksOf( "docs/scenario.md" );
   int results = 0;
   for ( std::size_t i = 0; i < blocks.size(); ++i ) {
      if ( blocks[ i ].kind != "yaml" ) {
         continue;
      }
      bool const isShown =
         i + 1 < blocks.size() && checkResult( blocks[ i ].text, blocks[ i + 1 ] );
      results += isShown;
      if ( !isShown ) {
         EXPECT_EQ( ostraRun( "run -", blocks[ i ].text ).err, "" );
      }
   }
   EXPECT_EQ( results, 8 );
}

TEST( Documents, ReadmeShowsTheBuiltInRun ) {
   auto const blocks = blocksOf( "README.md" );
   auto const excerpt =
      std::find_if( blocks.begin(), blocks.end(), []( auto const& block ) {
         return block.text.starts_with( "leaf1a reloads" );
      } );
   ASSERT_NE( excerpt, blocks.end() );
   expectExcerpt( excerpt->text, ostraRun( "run" ).out );
}

TEST( Documents, EveryOptionIsExplained ) {
   std::string const text = document( "docs/scenario.md" );
   std::regex const option( "--[a-z-]+" );
   for ( std::string const command : { "run", "check", "types", "import" } ) {
      std::string const help = ostraRun( command + " --help" ).out;
      std::sregex_iterator const begin( help.begin(), help.end(), option );
      EXPECT_NE( begin, std::sregex_iterator() );
      for ( auto found = begin; found != std::sregex_iterator(); ++found ) {
         EXPECT_THAT( text, HasSubstr( "`" + found->str() ) );
      }
   }
}

TEST( Documents, EveryMountAndItsAttributesAreExplained ) {
   std::string const text = document( "docs/scenario.md" );
   auto const state =
      jsonLines( ostraRun( "run - --format ndjson", "{}" ).out ).back().at( "state" );
   for ( auto const& [ mount, attributes ] : state.items() ) {
      EXPECT_THAT( text, HasSubstr( "`" + mount + "`" ) );
      for ( auto const& [ name, value ] : attributes.items() ) {
         EXPECT_THAT( text, HasSubstr( "`" + name + "`" ) );
      }
   }
}

} // namespace ostra
