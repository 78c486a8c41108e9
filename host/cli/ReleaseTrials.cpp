// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/ReleaseTrials>

#include <host/account/HoldLedger>
#include <host/base/Failure>
#include <host/base/JsonLine>
#include <host/client/Why>
#include <host/serve/ForecastChild>
#include <host/state/MountTable>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <sstream>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ostra {

namespace {

// Nobody else waits for the copy, which is not to be slower than the run.
constexpr ForecastLimits trialLimits{ .nice = 0 };
constexpr std::chrono::milliseconds longestTry = trialLimits.time;

class SilentSink final : public RecordSink {
 public:
   void start( StartRecord const&, StateView const& ) override {}
   void write( Milliseconds, WriteRecord const& ) override {}
   void event( Milliseconds, EventRecord const& ) override {}
   void log( Milliseconds, LogMessageRecord const& ) override {}
   void trace( Milliseconds, TraceLineRecord const& ) override {}
   void end( Milliseconds, EndRecord const& ) override {}
};

// All that the copy tells, up to its end.
std::string
toldBy( ForecastChild const& copy ) {
   std::string text;
   std::array< char, 1U << 16 > some;
   for ( ;; ) {
      pollfd readable{ copy.output, POLLIN, 0 };
      // One that waits for what only this process has would never end.
      if ( ::poll( &readable, 1, static_cast< int >( longestTry.count() ) ) == 0 ) {
         ::kill( copy.child.pid, SIGKILL );
      }
      ssize_t const count = ::read( copy.output, some.data(), some.size() );
      if ( count > 0 ) {
         text.append( some.data(), static_cast< std::size_t >( count ) );
      } else if ( count == 0 || ( errno != EAGAIN && errno != EINTR ) ) {
         return text;
      }
   }
}

// Whether the copy has come to its end by itself.
bool
hasCompleted( ForecastChild const& copy ) {
   int status = 0;
   pid_t ended = 0;
   do {
      ended = waitpid( copy.child.pid, &status, 0 );
   } while ( ended < 0 && errno == EINTR );
   ::close( copy.child.end );
   ::close( copy.output );
   return ended == copy.child.pid && WIFEXITED( status ) &&
      WEXITSTATUS( status ) == static_cast< int >( ForecastEnd::completed );
}

HeldPorts
errdisabledOf( HeldPorts const& held ) {
   HeldPorts errdisabled;
   for ( auto const& [ port, kind ] : held ) {
      if ( kind.ends_with( holdName( HolderKind::mlagPort ) ) ) {
         errdisabled.emplace( port, kind );
      }
   }
   return errdisabled;
}

Json
releaseByHand( HeldPorts const& errdisabled ) {
   Json ports = Json::object();
   for ( auto const& [ port, kind ] : errdisabled ) {
      ports.push_back( { port, nullptr } );
   }
   return { { mount::mlagissuCause, { { "intfStatus", std::move( ports ) } } } };
}

} // namespace

ReleaseTrials::ReleaseTrials(
   Mounts& mounts, Agent& agent, ScenarioTime& time, std::size_t most )
      : mounts_( mounts ), agent_( agent ), time_( time ), left_( most ) {
   // Whoever has started this process may want to hear of no child's end.
   std::signal( SIGCHLD, SIG_DFL );
}

std::optional< std::vector< ReleaseTrial > >
ReleaseTrials::of( HeldPorts const& held ) {
   // What the changes depend on that can matter to all.
   Json state = Json::object();
   for ( char const* mount :
         { mount::mlagStatus, mount::mlagProtoStatus, mount::mlagConfig } ) {
      state[ mount ] = mounts_.at( { mount } );
   }
   auto const changes = possibleChanges( state, { { "class", "mlag" } } );
   std::size_t const work = ( changes.size() + 1 ) * ( workOfACopy + held.size() );
   if ( work > left_ ) {
      left_ = 0;
      return std::nullopt;
   }
   left_ -= work;
   std::vector< ReleaseTrial > trials;
   auto const attempt =
      [ & ]( std::string meaning, Json const& patch, HeldPorts const& ports ) {
         trials.push_back( { std::move( meaning ), releasesOf( patch, ports ) } );
      };
   try {
      HeldPorts const errdisabled = errdisabledOf( held );
      if ( !errdisabled.empty() ) {
         attempt( "it is released by hand", releaseByHand( errdisabled ), errdisabled );
      }
      for ( PossibleChange const& change : changes ) {
         attempt( change.meaning, patchOf( change ), held );
      }
   } catch ( Failure const& ) {
      left_ = 0;
      return std::nullopt;
   }
   return trials;
}

// None when the copy did not come to its end.
std::optional< std::map< std::string, bool > >
ReleaseTrials::releasesOf( Json const& patch, HeldPorts const& held ) const {
   ForecastChild const copy = startForecast(
      [ & ]( std::ostream& out ) { play( patch, held, out ); }, trialLimits );
   std::istringstream stillHeld( toldBy( copy ) );
   if ( !hasCompleted( copy ) ) {
      return std::nullopt;
   }
   std::map< std::string, bool > releases;
   for ( auto const& [ port, kind ] : held ) {
      releases.emplace( port, true );
   }
   for ( std::string port; std::getline( stillHeld, port ); ) {
      releases.at( port ) = false;
   }
   return releases;
}

void
ReleaseTrials::play( Json const& patch, HeldPorts const& held, std::ostream& out ) const {
   Document const change = parseDocument( "change", lineOf( patch ) );
   Scenario scenario;
   scenario.until = time_.instant();
   scenario.events.push_back( { time_.instant(), change.root() } );
   SilentSink sink;
   VirtualPacer pacer;
   Run( { scenario, mounts_, agent_, time_, sink, pacer, [] { return true; } } ).playOn();
   for ( auto const& [ port, kind ] : held ) {
      if ( isHeld( port ) ) {
         out << port << '\n';
      }
   }
}

bool
ReleaseTrials::isHeld( std::string const& port ) const {
   if ( mounts_.has( { mount::mlagissuCause, "intfStatus", port } ) ) {
      return true;
   }
   Json const portChannel = mounts_.at( { mount::lagInputConfig, "phyIntf", port, "lag" } );
   return portChannel.is_string() &&
      mounts_.at( { mount::lacpConfig,
                    "portChannel",
                    portChannel.get< std::string >(),
                    "stayInStandby" } ) == Json( true );
}

} // namespace ostra
