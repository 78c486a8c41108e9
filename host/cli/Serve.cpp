// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/Serve>

#include <host/api/Api>
#include <host/base/Failure>
#include <host/base/Words>
#include <host/cli/ErrorLines>
#include <host/cli/ServeConfig>
#include <host/http/Server>
#include <host/serve/AlarmWatch>
#include <host/serve/LiveHost>
#include <host/serve/Notify>
#include <host/serve/StoreFiles>
#include <host/serve/WakeUp>
#include <host/state/Agent>
#include <host/state/Plugin>

#include <fmt/format.h>

#include <algorithm>
#include <csignal>
#include <iostream>
#include <memory>

#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

namespace ostra {

namespace {

// As many descriptors as the process may have; how many that is.
std::size_t
raiseDescriptors() {
   rlimit limit{};
   getrlimit( RLIMIT_NOFILE, &limit );
   limit.rlim_cur = limit.rlim_max;
   setrlimit( RLIMIT_NOFILE, &limit );
   getrlimit( RLIMIT_NOFILE, &limit );
   return limit.rlim_cur;
}

// The network never has so many of the descriptors that the unix socket, the store and the
// driver have too few.
http::Limits
httpLimits() {
   constexpr std::size_t others = 256;
   http::Limits limits;
   std::size_t const descriptors = std::max( raiseDescriptors(), 2 * others );
   std::size_t const half = ( descriptors - others ) / 2;
   limits.connections = std::min( limits.connections, half );
   limits.networkConnections = std::min( limits.networkConnections, half );
   return limits;
}

// What is as large as the list of thousands of ports goes back to the system when it is
// released. Left to itself the C library learns from the first such piece to keep the next.
void
keepLittleMemory() {
   mallopt( M_MMAP_THRESHOLD, 1 << 20 );
   mallopt( M_TRIM_THRESHOLD, 16 << 20 );
}

constexpr Ryx::Seconds betweenListens = 5;

LiveHost::Options
hostOptions( Config const& config ) {
   return { config.state,
            bootIdOf( config ),
            { config.historyRecords, config.historyDays } };
}

class Service {
 public:
   Service( ServeOptions const& options, Config config )
         : options_( options ),
           config_( std::move( config ) ),
           plugin_( options.plugin ),
           time_( clock_ ),
           loop_( time_ ),
           driver_(
              makeDriver( config_, [ this ]( std::string const& line ) { say( line ); } ) ),
           host_( hostOptions( config_ ), plugin_.agentType(), *driver_, loop_ ),
           alarms_(
              loop_.base(), host_, [ this ]( std::string const& line ) { say( line ); } ),
           api_( { loop_.base(),
                   host_.live(),
                   host_.ports(),
                   host_.alarms(),
                   [ this ]( std::int64_t since, std::size_t limit ) {
                      return host_.store().history( since, limit );
                   },
                   [ this ] { return host_.isReady(); },
                   [ this ] { return host_.store().problem(); },
                   std::string( driver_->name() ),
                   host_.bootId() } ),
           server_( loop_.base(), httpLimits() ) {
      api_.addTo( server_ );
      server_.complaintIs( [ this ]( std::string const& what ) { say( what ); } );
   }

   void run( std::ostream& out ) {
      startHost();
      // Before anybody is told that the host is there: a signal may come then.
      for ( int const signal : { SIGTERM, SIGINT } ) {
         loop_.signalIs( signal, [ this ] { loop_.stop(); } );
      }
      loop_.signalIs( SIGHUP, [ this ] { readAgain(); } );
      loop_.turnEndIs( [ this, &out ] {
         host_.endTurn();
         alarms_.endTurn();
         notify_.endTurn();
         sayProblem();
         listenAgain( out );
      } );
      // Ports are held, and that is durable, before anybody hears that there is a host.
      loop_.turn();
      // A start takes much that nobody needs again.
      malloc_trim( 0 );
      for ( ListenEndpoint const& endpoint : config_.listen ) {
         std::visit( [ & ]( auto const& at ) { listen( at, out ); }, endpoint );
      }
      out.flush();
      notify_.ready( describe( config_ ) );
      loop_.run();
      notify_.stopping();
   }

 private:
   void startHost() {
      try {
         server_.tokenIs( readToken( config_.tokenFile ) );
         host_.start( config_.mounts ? &*config_.mounts : nullptr );
      } catch ( PatchRefusal const& refusal ) {
         throw Failure( ExitStatus::badInput, fmt::format( "mounts: {}", refusal.what() ) );
      }
      for ( std::string const& finding : host_.findings() ) {
         say( finding );
      }
      finding_ = host_.store().finding();
   }

   void listen( UnixEndpoint const& endpoint, std::ostream& out ) {
      take( http::ListeningSocket( endpoint ), out );
   }

   // Somebody else may have the port, or the address may come later: ports are held all the
   // same.
   void listen( TcpEndpoint const& endpoint, std::ostream& out ) {
      if ( std::string const why = triedToListen( endpoint, out ); !why.empty() ) {
         say( fmt::format( "{}: it is tried again", why ) );
         missing_.push_back( endpoint );
         nextListen_ = Ryx::now() + betweenListens;
         listenTimer_.timeIs( nextListen_ );
      }
   }

   void listenAgain( std::ostream& out ) {
      if ( missing_.empty() || Ryx::now() < nextListen_ ) {
         return;
      }
      std::erase_if( missing_, [ & ]( TcpEndpoint const& endpoint ) {
         return triedToListen( endpoint, out ).empty();
      } );
      out.flush();
      nextListen_ = missing_.empty() ? Ryx::never : Ryx::now() + betweenListens;
      listenTimer_.timeIs( nextListen_ );
   }

   // Why not; empty when it listens.
   std::string triedToListen( TcpEndpoint const& endpoint, std::ostream& out ) {
      try {
         take( http::ListeningSocket( endpoint ), out );
         return {};
      } catch ( Failure const& failure ) {
         return failure.what();
      }
   }

   void take( http::ListeningSocket socket, std::ostream& out ) {
      out << fmt::format( "ostra: serving on {}\n", socket.name() );
      server_.listen( std::move( socket ) );
   }

   void say( std::string const& line ) { errors_.say( line ); }

   // Once when it begins, and once when it is over; and what the store finds meanwhile.
   void sayProblem() {
      if ( host_.store().finding() != finding_ ) {
         finding_ = host_.store().finding();
         say( finding_ );
      }
      std::string const& problem = host_.store().problem();
      if ( problem != problem_ ) {
         problem_ = problem;
         say(
            problem.empty() ? std::string( "the store can be written again" )
                            : fmt::format( "{}: {}", config_.state, problem ) );
      }
   }

   // What is wrong with it is said, and then nothing changes.
   void readAgain() {
      notify_.reloading();
      try {
         if ( !file_ ) {
            file_ = configFile( options_.config );
         }
         Config config = loadConfig( file_ );
         if ( config.isEmpty ) {
            throw Failure(
               ExitStatus::badInput,
               fmt::format( "{}: empty: expected {{}} for no configuration", *file_ ) );
         }
         checkConfig( config );
         std::string token = readToken( config.tokenFile );
         host_.fileIs( config.mounts ? &*config.mounts : nullptr );
         host_.store().limitsAre( { config.historyRecords, config.historyDays } );
         server_.tokenIs( std::move( token ) );
         say( "the configuration was read again" );
         sayWhatWaits( config );
      } catch ( std::exception const& error ) {
         say( fmt::format( "the configuration stays as it was: {}", error.what() ) );
      }
      notify_.ready( describe( config_ ) );
   }

   // What a host takes when it starts, and not later.
   void sayWhatWaits( Config const& config ) {
      std::pair< char const*, bool > const keys[] = {
         { "driver", config.driver != config_.driver },
         { "state", config.state != config_.state },
         { "bootId", config.bootId != config_.bootId },
         { "listen", config.listen != config_.listen },
         { "linux", config.linuxText != config_.linuxText },
      };
      for ( auto const& [ key, hasChanged ] : keys ) {
         if ( hasChanged ) {
            say(
               fmt::format( "{}: has changed: it takes effect with the next start", key ) );
         }
      }
   }

   ServeOptions const& options_;
   // A file that was found at the start must exist whenever it is read again.
   std::optional< std::string > file_ = configFile( options_.config );
   Config const config_;
   ErrorLines errors_{ STDERR_FILENO };
   Plugin plugin_;
   BootClock clock_;
   LiveTime time_;
   Loop loop_;
   Notify notify_{ Notify::Surroundings::current() };
   std::unique_ptr< Driver > const driver_;
   LiveHost host_;
   AlarmWatch alarms_;
   Api api_;
   http::Server server_;
   std::string problem_;
   std::string finding_;
   // Where it does not listen yet, and when that is tried again.
   std::vector< TcpEndpoint > missing_;
   Ryx::Seconds nextListen_ = 0;
   WakeUp listenTimer_;
};

// One that is named has to be fit for a host.
void
checkPlugin( std::optional< std::string > const& path ) {
   if ( path ) {
      Plugin const plugin( path );
      Mounts mounts;
      Agent( plugin.agentType(), mounts );
   }
}

} // namespace

void
serve( ServeOptions const& options, std::ostream& out ) {
   keepLittleMemory();
   Config config = loadConfig( options.config );
   checkConfig( config );
   if ( options.isCheck ) {
      checkPlaces( config );
      warnOfPlaces( config, std::cerr );
      warnOfDevices( config, std::cerr );
      checkPlugin( options.plugin );
      out << fmt::format(
         "{}: ok, {}\n",
         oneLine( options.config.value_or( "configuration" ) ),
         describe( config ) );
      return;
   }
   Service( options, std::move( config ) ).run( out );
}

void
releaseOffline( std::optional< std::string > const& config, std::ostream& out ) {
   Config const loaded = loadConfig( config );
   if ( loaded.driver == DriverKind::none ) {
      out << "nothing to release: the driver none has no devices\n";
      return;
   }
   // A host that runs would hold them again, and would not know what came up meanwhile.
   StoreFiles state( loaded.state );
   if ( !state.lock() ) {
      throw Failure(
         ExitStatus::failed,
         fmt::format(
            "{}: a host has it: expected none that runs, or `ostra release --all`",
            loaded.state ) );
   }
   Say const say = []( std::string const& line ) {
      std::cerr << fmt::format( "warning: {}\n", line );
   };
   LinuxDriver driver( linuxOptions( loaded ), say );
   auto const released = driver.releaseAll();
   std::size_t failures = 0;
   for ( auto const& [ device, error ] : released ) {
      failures += error.empty() ? 0 : 1;
      out
         << ( error.empty() ? fmt::format( "released {}\n", device )
                            : fmt::format( "not released {}: {}\n", device, error ) );
   }
   if ( released.empty() ) {
      out << "nothing to release: no device is held by this host\n";
   }
   if ( failures > 0 ) {
      throw Failure(
         ExitStatus::failed,
         fmt::format( "{} not released", counted( failures, "device" ) ) );
   }
   if ( !released.empty() ) {
      driver.remember();
   }
}

} // namespace ostra
