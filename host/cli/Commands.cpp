// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/Commands>

#include <host/alarms/RunAlarms>
#include <host/base/Environment>
#include <host/base/Failure>
#include <host/base/JsonLine>
#include <host/base/Words>
#include <host/check/ConfigSchema>
#include <host/check/ScenarioSchema>
#include <host/check/SummarySchema>
#include <host/check/Warnings>
#include <host/cli/Input>
#include <host/cli/PageOfRuns>
#include <host/cli/ReleaseTrials>
#include <host/run/Diagnostics>
#include <host/run/Run>
#include <host/state/TypeList>
#include <host/web/PageRecords>

#include <fmt/format.h>

#include <memory>
#include <string_view>
#include <vector>

#include <sys/ioctl.h>
#include <unistd.h>

namespace ostra {

namespace {

// In columns; none when the output goes elsewhere.
std::optional< std::size_t >
terminalWidth() {
   winsize size{};
   bool const isKnown = ioctl( STDOUT_FILENO, TIOCGWINSZ, &size ) == 0 && size.ws_col != 0;
   return isKnown ? std::optional< std::size_t >( size.ws_col ) : std::nullopt;
}

std::string
describe( Scenario const& scenario, Mounts const& mounts ) {
   std::string text = fmt::format(
      "{}, {}",
      counted( scenario.events.size(), "event" ),
      counted( mounts.keys( { mount::ethPhyIntfStatus, "intfStatus" } ).size(), "port" ) );
   if ( scenario.until ) {
      text += fmt::format( ", until {} s", toJson( secondsOf( *scenario.until ) ).dump() );
   }
   return text;
}

std::vector< RyxType* >
namedTypes( std::optional< std::string > const& name ) {
   if ( !name ) {
      return RyxType::types();
   }
   RyxType* const type = RyxType::type( Ryx::Name( *name ) );
   if ( !type ) {
      throw Failure(
         ExitStatus::badInput,
         fmt::format(
            "ostra types: NAME: {}: expected the name of a type, which "
            "`ostra types` lists",
            inQuotes( *name ) ) );
   }
   return { type };
}

// A plug-in that nobody named may be missing: the state types can be told without it.
std::optional< Plugin >
pluginForTypes( std::optional< std::string > const& path ) {
   try {
      return std::optional< Plugin >( std::in_place, path );
   } catch ( Failure const& ) {
      if ( path ) {
         throw;
      }
      return std::nullopt;
   }
}

// A page ends without alarms when they cannot be found.
template< class Look >
void
tellAlarms(
   RunFormat format, RunOutput const& output, Narrowed const& narrowed, Look look ) {
   std::vector< Alarm > alarms;
   try {
      alarms = look();
   } catch ( ... ) {
      if ( format == RunFormat::html ) {
         output.alarmsAre( {} );
      }
      throw;
   }
   std::erase_if( alarms, [ &narrowed ]( Alarm const& alarm ) {
      return !narrowed.takes( alarm.interface );
   } );
   output.alarmsAre( alarms );
}

} // namespace

std::size_t
outputWidth() {
   return lineWidth( environment( "COLUMNS" ), terminalWidth() );
}

std::size_t
screenWidth() {
   bool const isKnown = terminalWidth() || !environment( "COLUMNS" ).empty();
   return isKnown ? outputWidth() : std::string::npos;
}

bool
hasColour( Colour colour ) {
   switch ( colour ) {
   case Colour::always:
      return true;
   case Colour::never:
      return false;
   case Colour::automatic:
      break;
   }
   return isatty( STDOUT_FILENO ) == 1 && environment( "NO_COLOR" ).empty() &&
      environment( "TERM" ) != "dumb";
}

std::vector< std::string >
playScenario( RunOptions const& options, std::ostream& out, MakeRunOutput const& make ) {
   Input input( options.input );
   input.releaseDocument();
   if ( options.until ) {
      input.scenario().until = options.until;
   }
   ScenarioTime time( input.scenario().startTime );
   RunOutput const output = make( out );
   Narrowed narrowed( *output.records.sink, options.narrowing );
   RunAlarms alarms( narrowed );
   bool const tellsAlarms = bool( output.alarmsAre );
   RecordSink& sink = tellsAlarms ? static_cast< RecordSink& >( alarms ) : narrowed;
   Agent agent( input.agentType(), input.mounts() );
   // Destroyed before the agent: what the agent traces at its end comes after the end
   // record.
   Diagnostics const diagnostics(
      sink, [ &time ] { return time.instant(); }, options.trace );
   std::optional< ReleaseTrials > trials;
   if ( output.tryReleasesIs ) {
      trials.emplace( input.mounts(), agent, time );
      output.tryReleasesIs(
         [ &trials ]( HeldPorts const& held ) { return trials->of( held ); } );
   }
   std::optional< MachineTime > machineTime;
   std::unique_ptr< Pacer > pacer = std::make_unique< VirtualPacer >();
   if ( options.realTime ) {
      pacer = std::make_unique< RealPacer >( machineTime.emplace( STDOUT_FILENO ) );
   }
   auto const settle = [ & ] {
      output.records.settle();
      if ( options.realTime ) {
         out.flush();
      }
      return out.good();
   };
   Run( { input.scenario(), input.mounts(), agent, time, sink, *pacer, settle } ).play();
   if ( tellsAlarms && out.good() ) {
      tellAlarms( options.format, output, narrowed, [ & ] {
         return alarms.look( input.mounts(), agent, time );
      } );
   }
   return out.good() ? narrowed.warnings() : std::vector< std::string >();
}

std::vector< std::string >
runScenario( RunOptions const& options, std::ostream& out ) {
   auto const& scenario = options.input.scenario;
   bool const isOfStream =
      options.format == RunFormat::html && scenario && isStream( *scenario );
   if ( options.against || isOfStream ) {
      return printPageOfRuns( options, out );
   }
   TextOptions const text{ .colour = hasColour( options.colour ),
                           .trace = options.trace.has_value(),
                           .width = outputWidth(),
                           .isNarrowed = options.narrowing.interfaces.has_value() };
   return playScenario( options, out, [ & ]( std::ostream& to ) {
      return makeOutput( options.format, text, to );
   } );
}

void
checkScenario( CheckOptions const& options, std::ostream& out, std::ostream& err ) {
   Input input( options.input );
   if ( options.input.plugin ) {
      // One that is named has to be fit for the run.
      Agent( input.agentType(), input.mounts() );
   }
   auto const lines = warnings( input.document(), input.scenario(), input.mounts() );
   for ( std::string const& line : lines ) {
      err << line << '\n';
   }
   if ( options.isStrict && !lines.empty() ) {
      throw Failure(
         ExitStatus::badInput,
         fmt::format(
            "{}: {}: expected none, as --strict is given",
            input.scenarioName(),
            counted( lines.size(), "warning" ) ) );
   }
   out << fmt::format(
      "{}: ok, {}\n",
      oneLine( input.scenarioName() ),
      describe( input.scenario(), input.mounts() ) );
}

void
printSchema( Schema schema, std::ostream& out ) {
   Json const json = schema == Schema::config ? configSchema()
      : schema == Schema::summary             ? summarySchema()
                                              : scenarioSchema();
   out << json.dump( 1 ) << '\n';
}

void
listTypes( TypesOptions const& options, std::ostream& out ) {
   auto const plugin = pluginForTypes( options.plugin );
   auto const types = namedTypes( options.name );
   if ( options.format == TypesFormat::json ) {
      Json json = Json::array();
      for ( RyxType const* type : types ) {
         json.push_back( typeJson( *type ) );
      }
      out << linesOf( json );
      return;
   }
   for ( RyxType const* type : types ) {
      out << ( type == types.front() ? "" : "\n" ) << typeText( *type );
   }
}

} // namespace ostra
