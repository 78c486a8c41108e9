// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A live host that is killed at random moments, again and again: what was acknowledged is
// there, ports are released in time and not before it, and history has no gap. OSTRA_KILLS
// says how often (20), OSTRA_SEED which moments.

#include "LiveProcess"
#include "NumberedAddress"

#include <fmt/format.h>

#include <csignal>
#include <cstdlib>
#include <random>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

using ostra::Json;
using ostra::LiveProcess;
using ostra::Milliseconds;

namespace {

constexpr int mlagDelay = 150;
constexpr int nonMlagDelay = 250;

long
environment( char const* name, long otherwise ) {
   char const* const value = std::getenv( name );
   return value ? std::strtol( value, nullptr, 10 ) : otherwise;
}

// Devices that outlive the process: what is done to them is a line in the pipe.
class Devices final : public ostra::Driver {
 public:
   Devices( int pipe, std::set< std::string > held )
         : pipe_( pipe ), held_( std::move( held ) ) {}

   std::string_view name() const override { return "pipe"; }
   std::vector< std::string > mounts() const override { return {}; }
   void start( ostra::Loop&, ostra::DriverListener& listener ) override {
      listener_ = &listener;
      for ( std::string const& interface : held_ ) {
         listener.observed( interface, ostra::Observed::held );
      }
   }
   void carryOut( std::vector< ostra::Order > const& orders ) override {
      for ( ostra::Order const& order : orders ) {
         say( fmt::format( "{} {}", order.isHold ? "hold" : "release", order.interface ) );
         listener_->answered( { order.id, order.interface, ostra::Answer::Result::done } );
      }
   }
   std::optional< ostra::Device > deviceOf( std::string const& ) const override {
      return {};
   }

   void say( std::string const& what ) const {
      std::string const line = fmt::format( "{} {}\n", Ryx::now(), what );
      EXPECT_EQ( ::write( pipe_, line.data(), line.size() ), ssize_t( line.size() ) );
   }

 private:
   int const pipe_;
   std::set< std::string > const held_;
   ostra::DriverListener* listener_ = nullptr;
};

std::string
configuration() {
   return fmt::format(
      R"({{"mlagConfig": {{"enabled": true, "domainId": "d", "localInterface": "Vlan1",
         "peerAddress": "10.0.0.2", "peerLinkIntf": "Port-Channel1", "reloadDelay": {},
         "reloadDelayNonMlagConfigured": true, "reloadDelayNonMlag": {},
         "intfConfig": {{"Port-Channel10": {{"mlagId": "10"}}}}}},
         "ethPhyIntfStatus": {{"intfStatus": {{"Ethernet1": {{}}, "Ethernet2": {{}}}}}},
         "lagInputConfig": {{"phyIntf": {{"Ethernet1": {{"lag": "Port-Channel10"}}}}}}}})",
      mlagDelay / 1000.0,
      nonMlagDelay / 1000.0 );
}

int
numberOf( std::string address ) {
   std::erase( address, ':' );
   return std::stoi( address.substr( 6 ), nullptr, 16 );
}

// The process that is killed. Says what it found, then patches without end: each patch makes
// the number in an address one greater, and is told when it is acknowledged.
[[noreturn]] void
live( std::string const& directory, std::string const& bootId, Devices& devices ) {
   ostra::BootClock clock;
   ostra::LiveTime time( clock );
   ostra::Loop loop( time );
   ostra::LiveHost host(
      { directory, bootId, {} }, ostra::agentTypeOfPlugin(), devices, loop );
   auto const document = ostra::parseDocument( "ostra.yaml", configuration() );
   host.start( &document );
   auto const at = [ & ]( ostra::Path const& path ) {
      return host.live().view().at( path );
   };
   Json const found = at( { "lacpOverride", "lagIdConfig", "Port-Channel99" } );
   int number = found.is_null() ? 0 : numberOf( found.get< std::string >() );
   devices.say( fmt::format( "found {} {}", number, host.findings().size() ) );
   auto const sayStart = [ & ] {
      if ( auto const start = host.live().delayStart() ) {
         devices.say( fmt::format( "start {}", *start ) );
      }
   };
   // What was restored; a start of this process's own is noted with the first turn.
   sayStart();
   loop.turn();
   std::int64_t next = 0;
   for ( auto const& record : host.store().history( 0, 1'000'000 ) ) {
      if ( next != 0 && record.id != next ) {
         devices.say( "gap 0" );
      }
      next = record.id + 1;
   }
   sayStart();
   for ( ;; ) {
      for ( int client = 0; client < 3; ++client ) {
         ++number;
         host.live().patch(
            {},
            fmt::format(
               R"({{"lacpOverride": {{"lagIdConfig": {{"Port-Channel99": "{}"}}}}}})",
               numberedAddress( number ) ),
            [ &devices, number ]( auto const& problem ) {
               devices.say( fmt::format( "{} {}", problem ? "lost" : "kept", number ) );
            } );
      }
      loop.turn();
      auto const errdisabled = host.live().view().keys( { "mlagissuCause", "intfStatus" } );
      double const since = time.now() - host.live().delayStart().value_or( time.now() );
      for ( std::string const& port : errdisabled ) {
         if ( since >= ( port == "Ethernet1" ? mlagDelay : nonMlagDelay ) / 1000.0 ) {
            devices.say( "late " + port );
         }
      }
   }
}

// What is known of all processes so far.
struct Account {
   int kept = 0;
   double start = -1;
   bool hasHeld = false;
   std::set< std::string > held;
   std::set< std::string > released;
   std::string boot = "boot 0";

   void take( double at, std::string const& what, std::string const& rest ) {
      if ( what == "kept" ) {
         kept = std::stoi( rest );
      } else if ( what == "found" ) {
         EXPECT_GE( std::stoi( rest ), kept );
         EXPECT_EQ( rest.substr( rest.find( ' ' ) + 1 ), "0" );
      } else if ( what == "start" ) {
         if ( start >= 0 ) {
            EXPECT_EQ( std::stod( rest ), start );
         }
         start = std::stod( rest );
      } else if ( what == "hold" ) {
         EXPECT_FALSE( released.contains( rest ) ) << rest << " is held again";
         held.insert( rest );
         hasHeld = true;
      } else if ( what == "release" ) {
         int const delay = rest == "Ethernet1" ? mlagDelay : nonMlagDelay;
         EXPECT_TRUE( start >= 0 && at >= start + delay / 1000.0 ) << rest << ' ' << at;
         held.erase( rest );
         released.insert( rest );
      } else {
         ADD_FAILURE() << what << ' ' << rest;
      }
   }

   void reboot( int number ) {
      boot = fmt::format( "boot {}", number );
      start = -1;
      held.clear();
      released.clear();
   }
};

void
killOnce( std::string const& directory, Account& account, std::mt19937& random ) {
   int ends[ 2 ];
   ASSERT_EQ( pipe( ends ), 0 );
   pid_t const child = fork();
   if ( child == 0 ) {
      close( ends[ 0 ] );
      Devices devices( ends[ 1 ], account.held );
      live( directory, account.boot, devices );
   }
   close( ends[ 1 ] );
   // From before it is up to long behind the delay.
   auto const longest = random() % 5 == 0 ? 400'000U : 60'000U;
   usleep( static_cast< useconds_t >( random() ) % longest );
   kill( child, SIGKILL );
   std::string text;
   char buffer[ 65536 ];
   for ( ssize_t n = 0; ( n = read( ends[ 0 ], buffer, sizeof buffer ) ) > 0; ) {
      text.append( buffer, std::size_t( n ) );
   }
   close( ends[ 0 ] );
   int status = 0;
   waitpid( child, &status, 0 );
   EXPECT_TRUE( WIFSIGNALED( status ) && WTERMSIG( status ) == SIGKILL ) << text;
   std::istringstream lines( text );
   double at = 0;
   std::string what;
   for ( std::string rest;
         lines >> at >> what && std::getline( lines >> std::ws, rest ); ) {
      account.take( at, what, rest );
   }
}

} // namespace

TEST( Kill, AtAnyMomentLosesNothingAndReleasesInTime ) {
   long const kills = environment( "OSTRA_KILLS", 20 );
   auto const seed = static_cast< unsigned >( environment( "OSTRA_SEED", getpid() ) );
   SCOPED_TRACE( fmt::format( "OSTRA_SEED={}", seed ) );
   std::mt19937 random( seed );
   ostra::TemporaryDirectory const directory;
   Account account;
   for ( long i = 0; i < kills && !testing::Test::HasFailure(); ++i ) {
      if ( random() % 12 == 0 ) {
         account.reboot( static_cast< int >( i ) );
      }
      killOnce( directory.path(), account, random );
   }
   EXPECT_GT( account.kept, 0 );
   EXPECT_TRUE( account.hasHeld );
}
