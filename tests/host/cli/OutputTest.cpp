// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What a run does to where its output goes: readers that leave, terminals, signals.

#include "RunningProgram"
#include "SignalAction"

#include <gmock/gmock.h>

using ostra::expectRefused;
using ostra::jsonLines;
using ostra::ostraRun;
using ostra::Outcome;
using ostra::RunningProgram;
using ostra::shell;
using ostra::temporaryFile;
using testing::HasSubstr;
using namespace std::string_literals;

TEST( Cli, ReaderThatLeavesEarlyEndsItQuietly ) {
   Outcome const outcome =
      shell( "{ \"$ostra\" run --trace 15 --format ndjson; echo $? >&2; } | head -1" );
   EXPECT_EQ( jsonLines( outcome.out ).size(), 1u );
   EXPECT_EQ( outcome.err, "0\n" );
   EXPECT_EQ( shell( "{ \"$ostra\" types; echo $? >&2; } | head -c 10" ).err, "0\n" );
}

TEST( Cli, ReaderThatLeavesEarlyEndsTheWaitToo ) {
   for ( char const* format : { "text", "ndjson" } ) {
      Outcome const outcome = shell(
         "{ timeout 20 \"$ostra\" run --real-time --format "s + format +
         "; echo $? >&2; } | head -1" );
      EXPECT_NE( outcome.out, "" );
      EXPECT_EQ( outcome.err, "0\n" ) << format;
   }
}

TEST( Cli, OutputThatCannotBeWrittenIsAFailure ) {
   Outcome const outcome = ostraRun( "run >/dev/full" );
   expectRefused( outcome, 1 );
   EXPECT_EQ( outcome.err, "ostra: cannot write: No space left on device\n" );
}

TEST( Cli, ClosedStreamIsAFailureAndNotAWait ) {
   for ( char const* command : { "run", "types", "--help", "--version" } ) {
      Outcome const outcome = ostraRun( std::string( command ) + " >&-" );
      EXPECT_EQ( outcome.status, 1 ) << command;
      EXPECT_EQ( outcome.err, "ostra: cannot write: Bad file descriptor\n" ) << command;
   }
   Outcome const outcome = ostraRun( "check - <&-" );
   EXPECT_EQ( outcome.status, 2 );
   EXPECT_EQ( outcome.err, "<stdin>: cannot be read: Bad file descriptor\n" );
}

TEST( Cli, DumbTerminalGetsNoColours ) {
   auto const onTerminal = []( std::string const& kind ) {
      return shell(
                "export ostra; TERM=" + kind +
                " script -qec '$ostra run --until 0' /dev/null" )
         .out;
   };
   EXPECT_NE( onTerminal( "xterm" ).find( '\x1b' ), std::string::npos );
   EXPECT_EQ( onTerminal( "dumb" ).find( '\x1b' ), std::string::npos );
}

// Of the instant at which it starts: nothing waits.
TEST( Cli, RealTimeTellsTheSame ) {
   Outcome const outcome = ostraRun( "run --until 0 --real-time --format ndjson" );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ( outcome.out, ostraRun( "run --until 0 --format ndjson" ).out );
}

// A switch whose first instant has more to tell than a pipe takes.
std::string
manyPorts( int count ) {
   std::string scenario =
      "mounts:\n  mlagConfig: { enabled: true, domainId: d, localInterface: Vlan1, "
      "peerAddress: 10.0.0.2, peerLinkIntf: Port-Channel1, reloadDelay: 300 }\n"
      "  ethPhyIntfStatus:\n    intfStatus:\n";
   for ( int i = 1; i <= count; ++i ) {
      scenario += "      Ethernet" + std::to_string( i ) + ": {}\n";
   }
   return scenario;
}

// Wherever the memory ends. Where it is not enough to load the libraries, the loader
// complains.
TEST( Cli, OutOfMemoryIsOneLine ) {
   if ( shell( "ulimit -v 200000; $ostra --version" ).status != 0 ) {
      GTEST_SKIP() << "a sanitizer takes more address space than can be limited";
   }
   std::string const file = ostra::temporaryFile( "many.yaml", manyPorts( 20000 ) );
   for ( std::string const command :
         { "check ", "run --until 0 --format ndjson ", "run --until 0 --format text " } ) {
      int refused = 0;
      Outcome outcome{ 1, "", "" };
      // In small steps while the file is read: that is where memory is not all taken alike.
      for ( int kibibytes = 8'000; outcome.status != 0;
            kibibytes += kibibytes < 12'000 ? 60 : 6'000 ) {
         outcome = shell(
            "ulimit -v " + std::to_string( kibibytes ) +
            "; $ostra --version || exit 127; " + "exec $ostra " + command + file +
            " >/dev/null" );
         ASSERT_THAT( outcome.status, testing::AnyOf( 0, 1, 3, 127 ) ) << outcome.err;
         if ( outcome.status == 1 ) {
            EXPECT_EQ( outcome.err, "ostra: out of memory\n" ) << kibibytes;
            ++refused;
         }
         ASSERT_LT( kibibytes, 200'000 );
      }
      EXPECT_GT( refused, 0 );
   }
}

TEST( Cli, SignalEndsARealTimeRunInGoodOrder ) {
   for ( int const signal : { SIGINT, SIGTERM, SIGHUP } ) {
      ostra::SignalAction const action( signal, SIG_DFL );
      RunningProgram program( { "run", "--real-time", "--format", "ndjson" } );
      EXPECT_TRUE( program.hasWritten() );
      program.signal( signal );
      Outcome const outcome = program.outcome();
      EXPECT_EQ( outcome.status, 0 ) << signal;
      EXPECT_EQ( outcome.err, "" );
      EXPECT_EQ( jsonLines( outcome.out ).back().at( "type" ), "end" );
   }
}

TEST( Cli, SignalEndsARealTimeRunThatNobodyReads ) {
   std::string const file = ostra::temporaryFile( "many.yaml", manyPorts( 2000 ) );
   for ( int const signal : { SIGINT, SIGTERM, SIGHUP } ) {
      for ( std::string const format : { "ndjson", "text" } ) {
         ostra::SignalAction const action( signal, SIG_DFL );
         RunningProgram program(
            { "run", file, "--real-time", "--trace", "9", "--format", format } );
         EXPECT_TRUE( program.hasFilledThePipe() );
         program.signal( signal );
         Outcome const outcome = program.outcome();
         EXPECT_EQ( outcome.status, 1 ) << signal << " " << format;
         EXPECT_EQ( outcome.err, "ostra: cannot write: Interrupted system call\n" );
      }
   }
}

// The first instant fits into the pipe, and the end does not fit behind it.
TEST( Cli, SignalEndsARealTimeRunWhoseEndNobodyReads ) {
   std::string const file = ostra::temporaryFile( "many.yaml", manyPorts( 600 ) );
   for ( int const signal : { SIGTERM, SIGINT } ) {
      ostra::SignalAction const action( signal, SIG_DFL );
      RunningProgram program( { "run", file, "--real-time", "--format", "ndjson" } );
      EXPECT_TRUE( program.hasWritten() );
      program.signal( signal );
      Outcome const outcome = program.outcome();
      EXPECT_EQ( outcome.status, 1 ) << signal;
      EXPECT_EQ( outcome.err, "ostra: cannot write: Interrupted system call\n" );
   }
}

TEST( Cli, ColumnsSayHowWideTheTextIs ) {
   auto const widest = []( std::string const& command ) {
      std::istringstream text( shell( command ).out );
      std::size_t width = 0;
      for ( std::string line; std::getline( text, line ); ) {
         width = std::max( width, line.size() - line.ends_with( '\r' ) );
      }
      return width;
   };
   EXPECT_LE( widest( "COLUMNS=70 \"$ostra\" run --until 0" ), 70u );
   EXPECT_GT( widest( "COLUMNS=70 \"$ostra\" run --until 0" ), 60u );
   EXPECT_GT( widest( "COLUMNS= \"$ostra\" run --until 0" ), 80u );
   EXPECT_LE(
      widest( "export ostra; script -qec 'stty cols 90; COLUMNS=70 \"$ostra\" run "
              "--colour never --until 0' /dev/null" ),
      70u );
}

TEST( Cli, TextFitsANarrowTerminal ) {
   for ( auto const& [ columns, lines ] :
         { std::pair{ "80", "peer link and its 2 members: Ethernet55-56/1,\r\n" },
           std::pair{ "100", "ports errdisabled for 330 s: Ethernet41-48,49-54/1\r\n" },
           std::pair{ "200",
                      "ports errdisabled for 330 s: Ethernet41-48,49-54/1\r\n" } } ) {
      Outcome const outcome = shell(
         "export ostra; script -qec 'stty cols "s + columns + "; $ostra run' /dev/null" );
      EXPECT_THAT( outcome.out, HasSubstr( lines ) ) << columns;
   }
}
