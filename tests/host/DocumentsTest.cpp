// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What the documents show is what the program does. A block of yaml is a scenario; the
// block behind it, if it is text, ndjson or error, is an excerpt of what comes of it.

#include "Program"

#include <gmock/gmock.h>

#include <algorithm>
#include <regex>

using ostra::ostraRun;
using ostra::Outcome;
using testing::HasSubstr;

namespace {

using Lines = std::vector< std::string >;

Lines
linesOf( std::string const& text ) {
   std::istringstream in( text );
   Lines lines;
   for ( std::string line; std::getline( in, line ); ) {
      lines.push_back( line );
   }
   return lines;
}

std::string
document( std::string const& name ) {
   std::string text = ostra::contentOf( OSTRA_EXAMPLES "/../" + name );
   EXPECT_NE( text, "" ) << name;
   return text;
}

struct Block {
   // What stands behind the opening fence.
   std::string kind;
   std::string text;
};

std::vector< Block >
blocksOf( std::string const& name ) {
   std::vector< Block > blocks;
   bool isInside = false;
   for ( std::string const& line : linesOf( document( name ) ) ) {
      if ( line.starts_with( "```" ) ) {
         isInside = !isInside;
         if ( isInside ) {
            blocks.push_back( { line.substr( 3 ), "" } );
         }
      } else if ( isInside ) {
         blocks.back().text += line + "\n";
      }
   }
   EXPECT_FALSE( isInside ) << name;
   return blocks;
}

// Checks that the whole text has the lines of the excerpt one behind the other, and at every
// line "..." any others.
void
expectExcerpt( std::string const& excerpt, std::string const& whole ) {
   Lines const all = linesOf( whole );
   auto position = all.begin();
   bool mayLeaveOut = true;
   for ( std::string const& line : linesOf( excerpt ) ) {
      if ( line == "..." ) {
         mayLeaveOut = true;
         continue;
      }
      auto const found = mayLeaveOut ? std::find( position, all.end(), line ) : position;
      ASSERT_TRUE( found != all.end() && *found == line ) << line << "\nis not there in\n"
                                                          << whole;
      position = found + 1;
      mayLeaveOut = false;
   }
}

// Returns whether the block shows what comes of the scenario.
bool
checkResult( std::string const& scenario, Block const& result ) {
   if ( result.kind == "error" ) {
      Outcome const outcome = ostraRun( "check -", scenario );
      EXPECT_EQ( outcome.status, 2 );
      EXPECT_EQ( outcome.err, result.text );
      return true;
   }
   bool const isResult = result.kind == "text" || result.kind == "ndjson";
   if ( isResult ) {
      expectExcerpt(
         result.text, ostraRun( "run - --format " + result.kind, scenario ).out );
   }
   return isResult;
}

} // namespace

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
   EXPECT_EQ( results, 4 );
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
   for ( std::string const command : { "run", "check", "types" } ) {
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
   auto const state = ostra::jsonLines( ostraRun( "run - --format ndjson", "{}" ).out )
                         .back()
                         .at( "state" );
   for ( auto const& [ mount, attributes ] : state.items() ) {
      EXPECT_THAT( text, HasSubstr( "`" + mount + "`" ) );
      for ( auto const& [ name, value ] : attributes.items() ) {
         EXPECT_THAT( text, HasSubstr( "`" + name + "`" ) );
      }
   }
}
