// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What docs/serve.md shows is what the program does, asked of the host that `./run serve`
// starts. Seconds may differ by as many as the test may take.

#include "Documents"
#include "RunningProgram"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>
#include <optional>
#include <regex>

namespace ostra {

namespace {

constexpr char page[] = "docs/serve.md";

// A line without its numbers of seconds, and these.
std::pair< std::string, std::vector< int > >
withoutSeconds( std::string const& line ) {
   static std::regex const seconds( "[0-9]+ s\\b" );
   std::vector< int > numbers;
   for ( std::sregex_iterator found( line.begin(), line.end(), seconds ), end; found != end;
         ++found ) {
      numbers.push_back( std::stoi( found->str() ) );
   }
   return { std::regex_replace( line, seconds, "# s" ), numbers };
}

bool
isSameButForTheTime( std::string const& shown, std::string const& printed ) {
   constexpr int longestTest = 20;
   auto const [ one, ones ] = withoutSeconds( shown );
   auto const [ other, others ] = withoutSeconds( printed );
   return one == other && ones.size() == others.size() &&
      std::equal( ones.begin(), ones.end(), others.begin(), []( int a, int b ) {
             return std::abs( a - b ) <= longestTest;
          } );
}

class ServeDocument : public testing::Test {
 protected:
   ServeDocument() {
      std::ofstream( config_ ) << "state: " << directory_.path()
                               << "/state\nlisten: [ { unix: " << socket() << " } ]\n"
                               << contentOf( OSTRA_EXAMPLES "/serve/leaf.yaml" );
      std::ofstream( directory_.path() + "/patch.yaml" )
         << "mlagStatus: { mlagState: mlagInactive }\n";
      program_.emplace( std::vector< std::string >{
         "serve", "--config", config_, "--plugin", OSTRA_PLUGIN } );
      EXPECT_TRUE( program_->hasWritten() );
   }
   ~ServeDocument() override {
      program_->signal( SIGTERM );
      EXPECT_EQ( program_->outcome().status, 0 );
   }

   // Of a command that is for this host unless it says otherwise.
   Outcome of( std::string const& command ) {
      bool const isOffline = command.find( "--offline" ) != command.npos;
      return shell( fmt::format(
         "cd '{}'; ostra() {{ \"$ostra\" \"$@\"{}; }}\n{}",
         directory_.path(),
         isOffline ? "" : fmt::format( " --socket '{}'", socket() ),
         command ) );
   }

 private:
   std::string socket() const { return directory_.path() + "/socket"; }

   TemporaryDirectory const directory_;
   std::string const config_ = directory_.path() + "/ostra.yaml";
   std::optional< RunningProgram > program_;
};

// "ostra show [summary]" as what a person may type: with and without what is in brackets.
std::vector< std::string >
formsOf( std::string const& written ) {
   static std::vector< std::pair< std::regex, std::string > > const places = {
      // One that holds ports as before, so that there are some to release.
      { std::regex( "mlagPrimary" ), "mlagInactive" },
      { std::regex( " …" ), "" },
      { std::regex( "INTERFACES" ), "Ethernet1-2" },
      { std::regex( "INTERFACE(…)?" ), "Ethernet2" },
      { std::regex( "\\bID\\b" ), "1" },
      { std::regex( "\\bN\\b" ), "2" },
      { std::regex( "state \\[PATH\\]" ), "state [mlagConfig.intfConfig]" },
      { std::regex( "\\[PATCH\\]" ), "['{}']" },
      { std::regex( "--config FILE" ), "--config ostra.yaml" },
      { std::regex( "apply FILE" ), "apply patch.yaml" },
      { std::regex( "^ostra watch" ), "timeout 1 \"$ostra\" watch --socket socket" },
   };
   std::string command = written;
   for ( auto const& [ place, text ] : places ) {
      command = std::regex_replace( command, place, text );
   }
   std::string const shorter =
      std::regex_replace( command, std::regex( " \\[[^\\]]*\\]" ), "" );
   std::string const longer = std::regex_replace( command, std::regex( "[\\[\\]]" ), "" );
   return shorter == longer ? Lines{ longer } : Lines{ shorter, longer };
}

} // namespace

TEST_F( ServeDocument, CommandsPrintWhatIsShown ) {
   int commands = 0;
   for ( Block const& block : blocksOf( page ) ) {
      if ( block.kind == "sh" || block.kind == "yaml" ) {
         continue;
      }
      EXPECT_EQ( block.kind, "console" ) << block.text;
      for ( auto const& [ command, excerpt ] : stepsOf( block.text ) ) {
         SCOPED_TRACE( command );
         Outcome const outcome = of( command );
         bool const isRefused = excerpt.starts_with( "ostra " );
         EXPECT_EQ( outcome.status, isRefused ? 2 : 0 );
         EXPECT_EQ( isRefused ? outcome.out : outcome.err, "" );
         expectExcerpt(
            excerpt, isRefused ? outcome.err : outcome.out, isSameButForTheTime );
         ++commands;
      }
   }
   EXPECT_GE( commands, 5 );
}

TEST_F( ServeDocument, ConfigurationsAreTaken ) {
   int configurations = 0;
   for ( Block const& block : blocksOf( page ) ) {
      if ( block.kind == "yaml" ) {
         Outcome const outcome = of( fmt::format(
            "cat >shown.yaml <<'END'\n{}END\n\"$ostra\" serve --check --config shown.yaml",
            block.text ) );
         EXPECT_EQ( outcome.status, 0 ) << block.text;
         // This machine is no such switch.
         EXPECT_THAT(
            outcome.err,
            testing::MatchesRegex(
               "(warning: linux.interfaces.[0-9].: matches no device\n)*" ) )
            << block.text;
         ++configurations;
      }
   }
   EXPECT_GE( configurations, 1 );
}

TEST_F( ServeDocument, EveryCommandInItsTableWorks ) {
   std::regex const command( "`(ostra [^`]*)`" );
   int commands = 0;
   for ( std::string const& line : linesOf( document( page ) ) ) {
      if ( !line.starts_with( "| `ostra " ) ) {
         continue;
      }
      std::string const cell = line.substr( 0, line.find( '|', 1 ) );
      for ( std::sregex_iterator found( cell.begin(), cell.end(), command ), end;
            found != end;
            ++found ) {
         for ( std::string const& form : formsOf( ( *found )[ 1 ] ) ) {
            Outcome const outcome = of( form );
            constexpr int timedOut = 124;
            EXPECT_EQ( outcome.status, form.starts_with( "timeout" ) ? timedOut : 0 )
               << form << outcome.err;
            EXPECT_EQ( outcome.err, "" ) << form;
            ++commands;
         }
      }
   }
   EXPECT_GE( commands, 14 );
}

} // namespace ostra
