// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What a shell is told can stand in place of a word. That the shells' own scripts ask for it and
// use it is for tests/completion.

#include "Documents"
#include "RunningProgram"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <optional>
#include <regex>

#include <sys/stat.h>

namespace ostra {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

struct Completed {
   bool hasFiles;
   // Without what is said of them.
   Lines words;
   std::string text;
};

// Of the last word, or of that number, from 1.
Completed
completed( Lines const& words, std::size_t number = 0 ) {
   std::string const input = fmt::format(
      "{}\n{}\n", number == 0 ? words.size() : number, fmt::join( words, "\n" ) );
   Outcome const outcome = ostraRun( "completion words", input );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ( outcome.err, "" );
   Lines lines = linesOf( outcome.out );
   Completed result{ lines.at( 0 ) == "files", {}, outcome.out };
   EXPECT_TRUE( result.hasFiles || lines.at( 0 ) == "words" ) << outcome.out;
   for ( std::size_t i = 1; i < lines.size(); ++i ) {
      result.words.push_back( lines[ i ].substr( 0, lines[ i ].find( '\t' ) ) );
   }
   return result;
}

Lines
wordsFor( Lines const& words, std::size_t number = 0 ) {
   Completed const result = completed( words, number );
   EXPECT_FALSE( result.hasFiles );
   return result.words;
}

std::string
scenario( std::string const& name ) {
   return OSTRA_EXAMPLES "/" + name;
}

// A live host with the ports of examples/serve/leaf.yaml.
class CompletionOfALiveHost : public testing::Test {
 protected:
   CompletionOfALiveHost() {
      std::ofstream( config_ ) << "state: " << directory_.path()
                               << "/state\nlisten: [ { unix: " << socket() << " } ]\n"
                               << contentOf( OSTRA_EXAMPLES "/serve/leaf.yaml" );
      program_.emplace( Lines{ "serve", "--config", config_, "--plugin", OSTRA_PLUGIN } );
      EXPECT_TRUE( program_->hasWritten() );
   }
   ~CompletionOfALiveHost() override {
      program_->signal( SIGTERM );
      EXPECT_EQ( program_->outcome().status, 0 );
   }

   Lines wordsFor( std::string const& command, std::string const& word ) const {
      return ostra::wordsFor( { command, "--socket", socket(), word } );
   }

   std::string socket() const { return directory_.path() + "/socket"; }

 private:
   TemporaryDirectory const directory_;
   std::string const config_ = directory_.path() + "/ostra.yaml";
   std::optional< RunningProgram > program_;
};

} // namespace

TEST( Completion, CommandsCompleteWithWhatTheyDo ) {
   EXPECT_THAT( wordsFor( { "ru" } ), ElementsAre( "run" ) );
   EXPECT_THAT( wordsFor( { "" } ), Contains( "serve" ) );
   EXPECT_THAT( wordsFor( { "" } ), Contains( "completion" ) );
   // What is for nobody to type.
   EXPECT_THAT( wordsFor( { "re" } ), ElementsAre( "release" ) );
   EXPECT_THAT( wordsFor( { "nothing-like-it" } ), IsEmpty() );
   EXPECT_THAT(
      completed( { "che" } ).text,
      "words\ncheck\tValidates a scenario without running it\n" );
}

// The help of each command has an option or argument per line.
TEST( Completion, EveryOptionOfEveryCommandCompletes ) {
   std::regex const option( "--[a-z-]+" );
   int options = 0;
   for ( std::string const& command : wordsFor( { "" } ) ) {
      Lines const words = wordsFor( { command, "--" } );
      for ( std::string const& line : linesOf( ostraRun( command + " --help" ).out ) ) {
         std::smatch found;
         bool const isOption = line.starts_with( "  -" ) && line.size() > 2;
         if ( isOption && std::regex_search( line, found, option ) ) {
            EXPECT_THAT( words, Contains( found.str() ) ) << command;
            ++options;
         }
      }
   }
   EXPECT_GT( options, 60 );
   EXPECT_THAT( wordsFor( { "run", "--form" } ), ElementsAre( "--format" ) );
   EXPECT_THAT( wordsFor( { "--vers" } ), ElementsAre( "--version" ) );
   // Where nothing else can stand.
   EXPECT_THAT( wordsFor( { "alarms", "" } ), Contains( "--socket" ) );
}

TEST( Completion, ChoicesCompleteInEitherFormOfAnOption ) {
   EXPECT_THAT(
      wordsFor( { "run", "--colour", "" } ), ElementsAre( "auto", "always", "never" ) );
   EXPECT_THAT( wordsFor( { "run", "--color", "al" } ), ElementsAre( "always" ) );
   EXPECT_THAT( wordsFor( { "run", "--format=h" } ), ElementsAre( "--format=html" ) );
   EXPECT_THAT( wordsFor( { "show", "p" } ), ElementsAre( "ports" ) );
   EXPECT_THAT(
      wordsFor( { "completion", "" } ), ElementsAre( "bash", "zsh", "fish", "words" ) );
   EXPECT_THAT( wordsFor( { "run", "--trace", "" } ), IsEmpty() );
   // Behind -- nothing is an option.
   EXPECT_THAT( wordsFor( { "types", "--", "--form" } ), IsEmpty() );
}

TEST( Completion, FilesAreForTheShellToComplete ) {
   for ( Lines const& words : std::vector< Lines >{ { "run", "" },
                                                    { "check", "exa" },
                                                    { "run", "--mounts", "" },
                                                    {
                                                       "run",
                                                       "--mounts=",
                                                    },
                                                    { "run", "a.yaml", "--plugin", "" },
                                                    { "diff", "a.yaml", "" },
                                                    { "why", "Ethernet1", "" },
                                                    { "show", "--socket", "" },
                                                    { "serve", "--config", "" } } ) {
      Completed const result = completed( words );
      EXPECT_TRUE( result.hasFiles ) << words.back();
      EXPECT_THAT( result.words, IsEmpty() );
   }
   EXPECT_FALSE( completed( { "run", "a.yaml", "" } ).hasFiles );
}

TEST( Completion, InterfacesAreThoseOfTheScenarioOnTheLine ) {
   std::string const leaf = scenario( "leaf-reload.yaml" );
   EXPECT_THAT( wordsFor( { "why", "Man", leaf }, 2 ), ElementsAre( "Management1" ) );
   EXPECT_THAT(
      wordsFor( { "why", "--at", "5", "Ethernet53", leaf }, 4 ),
      ElementsAre( "Ethernet53/1" ) );
   EXPECT_THAT(
      wordsFor( { "run", leaf, "--only", "Ethernet53" } ), ElementsAre( "Ethernet53/1" ) );
   EXPECT_THAT(
      wordsFor( { "run", leaf, "--only", "Vlan4094,Ethernet7,Man" } ),
      ElementsAre( "Vlan4094,Ethernet7,Management1" ) );
   // What is in the list already is no more for it.
   EXPECT_THAT(
      wordsFor( { "run", leaf, "--only", "Ethernet50-54/1,55/1,Ethernet5" } ),
      testing::UnorderedElementsAre(
         "Ethernet50-54/1,55/1,Ethernet5", "Ethernet50-54/1,55/1,Ethernet56/1" ) );
   // One of its ranges is written out.
   EXPECT_THAT( wordsFor( { "why", "Ethernet4", leaf }, 2 ), Contains( "Ethernet47" ) );
   // No scenario: the built-in one.
   EXPECT_THAT( wordsFor( { "run", "--only", "Man" } ), ElementsAre( "Management1" ) );
}

TEST( Completion, ScenarioThatCannotBeReadCompletesNothing ) {
   std::string const wrong = temporaryFile( "wrong.yaml", "mounts: { ethPhy" );
   std::string const pipe = wrong + ".pipe";
   ASSERT_EQ( mkfifo( pipe.c_str(), 0600 ), 0 );
   for ( std::string const& path :
         { wrong, pipe, std::string( "/nowhere" ), std::string( "-" ) } ) {
      EXPECT_THAT( wordsFor( { "why", "", path }, 2 ), IsEmpty() ) << path;
   }
   std::filesystem::remove( pipe );
}

TEST( Completion, ScenarioBelowTheHomeDirectoryIsFound ) {
   Outcome const outcome = shell(
      "HOME='" OSTRA_EXAMPLES "' \"$ostra\" completion words",
      "2\nwhy\nMan\n~/leaf-reload.yaml\n" );
   EXPECT_EQ( outcome.out, "words\nManagement1\n" );
}

TEST( Completion, PathsAndValuesComeFromTheRegisteredTypes ) {
   std::string const nowhere = "--socket=/nowhere";
   EXPECT_THAT( wordsFor( { "set", nowhere, "mlagC" } ), ElementsAre( "mlagConfig." ) );
   EXPECT_THAT(
      wordsFor( { "set", nowhere, "mlagConfig.reloadD" } ),
      ElementsAre(
         "mlagConfig.reloadDelay=",
         "mlagConfig.reloadDelayNonMlagConfigured=",
         "mlagConfig.reloadDelayNonMlag=" ) );
   EXPECT_THAT(
      wordsFor( { "set", nowhere, "mlagConfig.enabled=" } ),
      ElementsAre( "mlagConfig.enabled=true", "mlagConfig.enabled=false" ) );
   EXPECT_THAT(
      wordsFor( { "set", nowhere, "a=1", "mlagStatus.mlagState=mlagP" } ),
      ElementsAre( "mlagStatus.mlagState=mlagPrimary" ) );
   EXPECT_THAT(
      wordsFor( { "set", nowhere, "mlagConfig.peerLinkIntf=" } ),
      ElementsAre( "mlagConfig.peerLinkIntf=null" ) );
   EXPECT_THAT( wordsFor( { "set", nowhere, "mlagConfig.nothing." } ), IsEmpty() );
   EXPECT_THAT( wordsFor( { "set", nowhere, "mlagConfig.enabled.x" } ), IsEmpty() );
   EXPECT_THAT(
      wordsFor( { "show", nowhere, "state", "mlagStatus.m" } ),
      ElementsAre( "mlagStatus.mlagState" ) );
   Completed const patch = completed( { "forecast", nowhere, "mlagS" } );
   EXPECT_TRUE( patch.hasFiles );
   EXPECT_THAT( patch.words, ElementsAre( "mlagStatus." ) );
   EXPECT_THAT( wordsFor( { "types", "Mlag::Pro" } ), ElementsAre( "Mlag::ProtoStatus" ) );
}

TEST_F( CompletionOfALiveHost, InterfacesAndEntriesAreTheHosts ) {
   EXPECT_THAT( wordsFor( "why", "M" ), ElementsAre( "Management1" ) );
   EXPECT_THAT( wordsFor( "why", "" ), Contains( "Ethernet49/1" ) );
   // One that is held can be released, one of the peer link is not held.
   EXPECT_THAT( wordsFor( "release", "" ), Contains( "Ethernet1" ) );
   EXPECT_THAT( wordsFor( "release", "" ), Not( Contains( "Ethernet49/1" ) ) );
   EXPECT_THAT(
      wordsFor( "set", "mlagissuCause.intfStatus.Ethernet1" ),
      ElementsAre( "mlagissuCause.intfStatus.Ethernet1=" ) );
   EXPECT_THAT(
      wordsFor( "set", "mlagissuCause.intfStatus.Ethernet1=n" ),
      ElementsAre( "mlagissuCause.intfStatus.Ethernet1=null" ) );
   EXPECT_THAT(
      wordsFor( "set", "lagInputConfig.phyIntf.Ethernet49/1.mode=lacpA" ),
      ElementsAre( "lagInputConfig.phyIntf.Ethernet49/1.mode=lacpActive" ) );
}

TEST( Completion, EachShellIsGivenTheFileThatIsInstalled ) {
   for ( std::string const shell : { "bash", "zsh", "fish" } ) {
      EXPECT_EQ(
         ostraRun( "completion " + shell ).out,
         contentOf( OSTRA_EXAMPLES "/../host/cli/completion/ostra." + shell ) );
   }
   expectRefused( ostraRun( "completion tcsh" ), 2 );
   EXPECT_EQ(
      ostraRun( "completion" ).err,
      "ostra completion: no SHELL: expected bash|zsh|fish|words\n" );
   for ( std::string const input : { "", "0\nrun\n", "2\nrun\n", "x\nrun\n" } ) {
      Outcome const outcome = ostraRun( "completion words", input );
      expectRefused( outcome, 2 );
      EXPECT_THAT( outcome.err, StartsWith( "ostra completion words: " ) );
      EXPECT_THAT( outcome.err, HasSubstr( "expected the number of a word" ) );
   }
}

} // namespace ostra
