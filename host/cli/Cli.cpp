// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/Cli>

#include <host/base/Failure>
#include <host/base/IntfRanges>
#include <host/base/OutOfMemory>
#include <host/base/OutputBuffer>
#include <host/cli/CliParser>
#include <host/cli/ClientLine>
#include <host/cli/Commands>
#include <host/cli/Diff>
#include <host/cli/Serve>
#include <host/input/DocumentTree>
#include <host/input/Instant>

#include <Ryx/Exception>
#include <Ryx/Trace>

#include <fmt/format.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstring>
#include <iostream>

#include <fcntl.h>
#include <unistd.h>

namespace ostra {

namespace {

constexpr char aboutOstra[] =
   "Loads the MLAG reload-delay plug-in and plays a switch reload against it.";
constexpr char runDescription[] =
   "Plays a scenario and reports every write and log. Without a scenario, a leaf switch "
   "reloads.";
constexpr char checkDescription[] = "Validates a scenario without running it.";
constexpr char diffDescription[] =
   "Tells what two runs hold, release and say at other times; status 1 if there is any.";
constexpr char schemaDescription[] =
   "Prints what a scenario may have as a JSON schema, for editors.";
constexpr char serveDescription[] =
   "Runs the plug-in on this switch: keeps its state, and lets it be read and changed over "
   "HTTP.";
constexpr char typesDescription[] =
   "Lists the registered types with attribute ids, names, value types and flags.";

constexpr char expectedCommand[] = "a command that `ostra --help` lists";
constexpr char expectedFile[] = "a file, or - for standard input";

// The offsets in a document are not large enough for a longer file.
constexpr std::size_t greatestMaxInput = DocumentTree::longestText / mebibyte;

// Decimal digits and nothing else.
template< class Number >
std::optional< Number >
wholeNumber( std::string const& text ) {
   Number number = 0;
   char const* const end = text.data() + text.size();
   auto const [ rest, error ] = std::from_chars( text.data(), end, number );
   return error == std::errc() && rest == end ? std::optional( number ) : std::nullopt;
}

constexpr int highestTraceLevel = int( Ryx::TraceHandle::levels ) - 1;

class CommandLine {
 public:
   CommandLine() : parser_( "ostra", aboutOstra, expectedCommand ) {
      addRun();
      addCheck();
      addTypes();
      parser_.addCommand( "schema", schemaDescription );
      addDiff();
      addServe();
      client_.addCommands();
   }

   void parse( int argc, char** argv ) { parser_.parse( argc, argv ); }
   void answer( CLI::ParseError const& question, std::ostream& out ) const {
      parser_.answer( question, out );
   }

   void execute( std::ostream& out ) const {
      std::string const command = parser_.command();
      if ( command == "run" ) {
         refuseTwoReaders( run_.input );
         refuseAgainst();
         RunOptions options = run_;
         if ( options.narrowing.traces && !options.trace ) {
            options.trace = highestTraceLevel;
         }
         runScenario( options, out );
      } else if ( command == "check" ) {
         refuseTwoReaders( check_.input );
         checkScenario( check_, out, std::cerr );
      } else if ( command == "types" ) {
         listTypes( types_, out );
      } else if ( command == "diff" ) {
         diffRuns( diff_, out );
      } else if ( command == "schema" ) {
         printScenarioSchema( out );
      } else if ( command == "serve" ) {
         serve( serve_, out );
      } else if ( !client_.execute( command, out ) ) {
         refuse( "ostra", "nothing to do", expectedCommand );
      }
   }

 private:
   void refuseTwoReaders( InputOptions const& input ) const {
      if ( input.scenario == "-" && input.mounts == "-" ) {
         refuse(
            fmt::format( "ostra {}: --mounts", parser_.command() ),
            inQuotes( "-" ),
            "a file, as standard input is the scenario" );
      }
   }

   void refuseAgainst() const {
      if ( run_.against && run_.format != RunFormat::html ) {
         refuse( "ostra run: --against", "another format", "--format html" );
      }
      if (
         run_.against == "-" &&
         ( run_.input.scenario == "-" || run_.input.mounts == "-" ) ) {
         refuse(
            "ostra run: --against",
            inQuotes( "-" ),
            "a file, as standard input is read already" );
      }
   }

   CLI::Option& addScenario( CLI::App& command, InputOptions& input ) {
      return parser_.addText(
         command,
         "SCENARIO",
         " ",
         "A file, or - for standard input",
         expectedFile,
         input.scenario );
   }

   void addPlugin( CLI::App& command, std::optional< std::string >& plugin ) {
      parser_.addText(
         command,
         "--plugin",
         "PATH",
         "The plug-in; without it, the one that belongs to this program",
         "the plug-in's file",
         plugin );
   }

   void addMounts( CLI::App& command, InputOptions& input ) {
      parser_.addText(
         command,
         "--mounts",
         "FILE",
         "The state at which an earlier run ended, over which the scenario's own mounts "
         "are laid: that run's ndjson stream, its last line, or the state in that. Times "
         "in it are absolute: to resume, give the scenario the startTime at which it goes "
         "on, the earlier one plus the t of the end",
         expectedFile,
         input.mounts );
   }

   void addMaxInput( CLI::App& command, InputOptions& input ) {
      parser_.addValue(
         command,
         "--max-input",
         "MIB",
         fmt::format(
            "The longest file that is read, in MiB, also with what its aliases stand for; "
            "{} without it",
            defaultMaxInput / mebibyte ),
         fmt::format( "a number of MiB from 1 to {}", greatestMaxInput ),
         [ &input ]( std::string const& text ) {
            std::size_t const mebibytes = wholeNumber< std::size_t >( text ).value_or( 0 );
            input.maxInput = mebibytes * mebibyte;
            return mebibytes >= 1 && mebibytes <= greatestMaxInput;
         } );
   }

   void addTrace( CLI::App& command ) {
      parser_.addValue(
         command,
         "--trace",
         "LEVEL",
         fmt::format(
            "Report the plug-in's traces of levels 0 to LEVEL, at most {}. 8 shows every "
            "handler that runs, 9 beside it every port and port-channel that is added",
            highestTraceLevel ),
         fmt::format( "a level from 0 to {}", highestTraceLevel ),
         [ this ]( std::string const& text ) {
            int const level = wholeNumber< int >( text ).value_or( -1 );
            run_.trace = level;
            return level >= 0 && level <= highestTraceLevel;
         } );
   }

   void addNarrowing( CLI::App& command ) {
      parser_.addText(
         command,
         "--trace-of",
         "NAME",
         "Report traces of this handle or function alone; without --trace, of all levels",
         "the name of a handle or a function",
         run_.narrowing.traces );
      parser_.addValue(
         command,
         "--only",
         "INTERFACES",
         "Tell of these alone, with the port-channels they are in, as Ethernet1-4,7",
         "interfaces, as Ethernet1-4,7",
         [ this ]( std::string const& text ) {
            try {
               run_.narrowing.interfaces = interfacesOf( text );
            } catch ( Ryx::RangeException const& error ) {
               throw Failure(
                  ExitStatus::badInput,
                  "ostra run: --only: " + shortenedIn( error.message(), text ) );
            }
            return true;
         } );
   }

   void addUntil( CLI::App& command ) {
      parser_.addValue(
         command,
         "--until",
         "TIME",
         "Scenario time at which the run ends, in seconds or like 1h30m; overrides the "
         "scenario's own",
         std::string( expectedScenarioTime ),
         [ this ]( std::string const& text ) {
            run_.until = scenarioInstant( text );
            if ( !run_.until ) {
               refuse( "ostra run: --until", inQuotes( text ), expectedInsteadOf( text ) );
            }
            return true;
         } );
   }

   void addRun() {
      CLI::App& command = parser_.addCommand( "run", runDescription );
      addScenario( command, run_.input );
      parser_.addChoice< RunFormat >(
         command,
         "--format",
         run_.format,
         { { "text", RunFormat::text },
           { "ndjson", RunFormat::ndjson },
           { "html", RunFormat::html },
           { "svg", RunFormat::svg } },
         "For people (which it is without this), one JSON object a line, a page that "
         "shows it in a browser and needs nothing else, or a picture of its time line" );
      parser_.addChoice< Colour >(
         command,
         "--colour,--color",
         run_.colour,
         { { "auto", Colour::automatic },
           { "always", Colour::always },
           { "never", Colour::never } },
         "When the text has colours; auto: on a terminal" );
      addTrace( command );
      addNarrowing( command );
      addUntil( command );
      parser_.addFlag(
         command,
         "--real-time",
         run_.realTime,
         "Wait: a second of scenario time takes a second" );
      parser_.addText(
         command,
         "--against",
         "FILE",
         "With --format html: compare the run with that scenario's, on one time line. For "
         "such a page, or for one of its own, a file may be a stream that was recorded "
         "with "
         "--format ndjson, too",
         expectedFile,
         run_.against );
      addMounts( command, run_.input );
      addMaxInput( command, run_.input );
      addPlugin( command, run_.input.plugin );
   }

   void addCheck() {
      CLI::App& command = parser_.addCommand( "check", checkDescription );
      addScenario( command, check_.input ).required();
      parser_.addFlag(
         command,
         "--strict",
         check_.isStrict,
         "Refuse a scenario that can be played and can hardly be meant, instead of "
         "warning" );
      addMounts( command, check_.input );
      addMaxInput( command, check_.input );
      addPlugin( command, check_.input.plugin );
   }

   void addTypes() {
      CLI::App& command = parser_.addCommand( "types", typesDescription );
      parser_.addText(
         command, "NAME", " ", "Only this type", "the name of a type", types_.name );
      parser_.addChoice< TypesFormat >(
         command,
         "--format",
         types_.format,
         { { "text", TypesFormat::text }, { "json", TypesFormat::json } },
         "For people (which it is without this), or a JSON array" );
      addPlugin( command, types_.plugin );
   }

   void addDiff() {
      CLI::App& command = parser_.addCommand( "diff", diffDescription );
      for ( auto const& [ name, file ] :
            { std::pair{ "FIRST", &diff_.first }, std::pair{ "SECOND", &diff_.second } } ) {
         parser_
            .addText(
               command, name, " ", "A scenario, or an event stream", "a file", *file )
            .required();
      }
      addPlugin( command, diff_.plugin );
   }

   void addServe() {
      CLI::App& command = parser_.addCommand( "serve", serveDescription );
      parser_.addText(
         command,
         "--config",
         "FILE",
         "The configuration; without it, /etc/ostra/ostra.yaml if that is there",
         "the configuration's file",
         serve_.config );
      parser_.addFlag(
         command,
         "--check",
         serve_.isCheck,
         "Read the configuration and say what is wrong" );
      addPlugin( command, serve_.plugin );
   }

   CliParser parser_;
   RunOptions run_;
   CheckOptions check_;
   TypesOptions types_;
   DiffOptions diff_;
   ServeOptions serve_;
   ClientLine client_{ parser_ };
};

int
complain( ExitStatus status, std::string const& line ) {
   std::cerr << oneLine( line ) << '\n';
   return static_cast< int >( status );
}

// Does what the command line says and returns the exit status, with the complaint made.
int
execute( int argc, char** argv, std::ostream& out ) {
   CommandLine line;
   try {
      line.parse( argc, argv );
      line.execute( out );
      return 0;
   } catch ( CLI::ParseError const& error ) {
      if ( error.get_exit_code() != 0 ) {
         return complain( ExitStatus::badInput, fmt::format( "ostra: {}", error.what() ) );
      }
      line.answer( error, out );
      return 0;
   } catch ( Failure const& failure ) {
      out.flush();
      return complain( failure.status(), failure.what() );
   } catch ( std::bad_alloc const& ) {
      // Of a library that does not use operator new.
      out.flush();
      return complain( ExitStatus::failed, "ostra: out of memory" );
   } catch ( std::exception const& error ) {
      out.flush();
      return complain( ExitStatus::failed, fmt::format( "ostra: {}", error.what() ) );
   }
}

// What is opened later must not come to stand where a closed standard stream is looked for:
// each of those is given something that can only be used the other way.
void
fillClosedStreams() {
   for ( int const stream : { STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO } ) {
      if ( fcntl( stream, F_GETFD ) == -1 ) {
         // The lowest number that is free is the stream's.
         open( "/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY );
      }
   }
}

} // namespace

int
runCommandLine( int argc, char** argv ) {
   fillClosedStreams();
   std::signal( SIGPIPE, SIG_IGN );
   OutputBuffer buffer( STDOUT_FILENO );
   OutOfMemory const outOfMemory( buffer );
   std::ostream out( &buffer );
   int const status = execute( argc, argv, out );
   out.flush();
   // The reader of the output may have gone, which is no failure.
   if ( buffer.error() == 0 || buffer.error() == EPIPE ) {
      return status;
   }
   return complain(
      ExitStatus::failed,
      fmt::format( "ostra: cannot write: {}", std::strerror( buffer.error() ) ) );
}

} // namespace ostra
