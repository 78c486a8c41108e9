// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Many devices, and many changes of them by another process. OSTRA_LINKS=all takes the whole
// of both, which is too long for every day.

#include "LinkLab"
#include "RunningProgram"
#include "Shared"
#include "serve/LiveProcess"

#include <host/linux/LinuxDriver>

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using ostra::LinuxDriver;

namespace {

class LinuxScale : public testing::Test {
 protected:
   void SetUp() override {
      if ( !namespace_.problem().empty() ) {
         GTEST_SKIP() << namespace_.problem();
      }
      lab.emplace();
      lab->addVeth( "lower", "cable" );
   }

   static int sized( int short_, int whole ) {
      char const* const size = std::getenv( "OSTRA_LINKS" );
      return size && std::string_view( size ) == "all" ? whole : short_;
   }
   static std::string port( int number ) { return "swp" + std::to_string( number ); }
   void start() {
      driver.emplace(
         LinuxDriver::Options{ { { { std::regex( R"(swp(\d+))" ), R"(Ethernet\1)" } } },
                               directory_.path() + "/state",
                               "boot 1" },
         []( std::string const& ) {} );
      process.emplace( directory_.path() + "/state", clock, *driver );
      process->start( R"({"mlagConfig": {"enabled": true, "domainId": "d",
         "localInterface": "Vlan1", "peerAddress": "10.0.0.2",
         "peerLinkIntf": "Port-Channel1", "reloadDelay": 30}})" );
   }
   void hear( int milliseconds ) {
      pollfd changes{ driver->changes().descriptor(), POLLIN, 0 };
      poll( &changes, 1, milliseconds );
      process->turn();
   }
   // Gives up when it has taken longer than a machine needs that has much else to do.
   template< class Condition >
   static bool becomes( Condition condition, std::function< void() > const& wait ) {
      auto const end = std::chrono::steady_clock::now() + std::chrono::minutes( 2 );
      while ( !condition() ) {
         if ( std::chrono::steady_clock::now() >= end ) {
            return false;
         }
         wait();
      }
      return true;
   }
   // What is not as it is promised: what the plug-in holds is down, and nothing else is held.
   // `said` is what the host says of an interface.
   using Said = std::function< std::string( std::string const& interface ) >;
   static std::string broken( std::set< std::string > const& wanted, Said const& said ) {
      std::string broken;
      ostra::NetlinkSocket socket( 0 );
      for ( ostra::Link const& link : allLinks( socket ) ) {
         bool const isPort = link.name.starts_with( "swp" );
         bool const isWanted =
            isPort && wanted.contains( "Ethernet" + link.name.substr( 3 ) );
         bool const isRight = isWanted
            ? link.has( 6 ) && link.isProtodown && !link.isCarrying()
            : !link.has( 6 );
         broken += isRight
            ? ""
            : fmt::format(
                 "{}: wanted {}, reasons {:#x}, protodown {}, carrying {}, {}\n",
                 link.name,
                 isWanted,
                 link.reasons,
                 link.isProtodown,
                 link.isCarrying(),
                 isPort ? said( "Ethernet" + link.name.substr( 3 ) ) : "no port" );
      }
      return broken;
   }
   std::string broken() {
      return broken( process->errdisabled(), [ this ]( std::string const& interface ) {
         auto const said = process->host().reconciler().enforcement( interface );
         return fmt::format( "{} {}", nameOf( said.state ), said.error );
      } );
   }

   // The kernel tells nothing of what is done to a device that is down.
   void bringAllUp() {
      ostra::NetlinkSocket socket( 0 );
      for ( ostra::Link const& link : allLinks( socket ) ) {
         lab->isUpIs( link.name, true );
      }
   }

   // The real host, as a process that ends ten minutes after its start at the latest: the
   // last one lives through all that the test waits for.
   std::unique_ptr< ostra::RunningProgram > startProgram() const {
      std::string const config = directory_.path() + "/ostra.yaml";
      std::ofstream( config )
         << "driver: linux\nstate: " << directory_.path()
         << "/state\nlisten: [ { unix: " << directory_.path() << "/socket } ]\n"
         << "linux: { interfaces: [ { device: 'swp(\\d+)', interface: 'Ethernet\\1' } ] }\n"
            "mounts: { mlagConfig: { enabled: true, domainId: d, localInterface: Vlan1,\n"
            "  peerAddress: 10.0.0.2, peerLinkIntf: Port-Channel1, reloadDelay: 3600 } }\n";
      return std::make_unique< ostra::RunningProgram >(
         std::vector< std::string >{
            "serve", "--config", config, "--plugin", OSTRA_PLUGIN },
         600 );
   }
   ostra::Outcome ask( std::string const& command ) const {
      return ostra::ostraRun( command + " --socket " + directory_.path() + "/socket" );
   }
   // The same as above, of that process.
   std::string brokenByProgram() const {
      auto const asked = ask( "show state mlagissuCause.intfStatus --format json" );
      if ( asked.status != 0 ) {
         return asked.err;
      }
      ostra::Json const held = ostra::Json::parse( asked.out );
      std::set< std::string > wanted;
      for ( auto const& [ interface, since ] : held.items() ) {
         wanted.insert( interface );
      }
      return broken( wanted, [ this ]( std::string const& interface ) {
         return ask( "why " + interface ).out;
      } );
   }

   ostra::SimulatedClock clock;

 private:
   ostra::NetworkNamespace const namespace_;
   ostra::TemporaryDirectory const directory_;

 protected:
   std::optional< ostra::LinkLab > lab;
   std::optional< LinuxDriver > driver;
   std::optional< ostra::LiveProcess > process;
};

// Whatever somebody may do to a port.
class Meddler {
 public:
   explicit Meddler( unsigned seed ) : random_( seed ) {}

   void meddle() {
      std::string const port = "swp" + std::to_string( below( 20 ) + 1 );
      try {
         change( port );
      } catch ( std::runtime_error const& ) {
         // There is no such port just now, or it is refused for a hold.
      }
   }

 private:
   unsigned below( unsigned limit ) {
      return std::uniform_int_distribution< unsigned >( 0, limit - 1 )( random_ );
   }
   void change( std::string const& port ) {
      switch ( below( 10 ) ) {
      case 0:
         return lab_.remove( port );
      case 1:
      case 2:
         return lab_.addMacvlan( port, "lower", below( 2 ) == 0 );
      case 3:
         return lab_.rename( port, "spare" + port );
      case 4:
         return lab_.rename( "spare" + port, port );
      case 5:
         return lab_.flap( port );
      case 6:
         return lab_.flap( "lower" );
      case 7:
         return lab_.reasonIs( port, 7, true );
      case 8:
         return lab_.reasonIs( port, 6, below( 2 ) == 0 );
      default:
         lab_.reasonIs( port, 7, false );
         return lab_.protodownIs( port, false );
      }
   }

   std::mt19937 random_;
   ostra::LinkLab lab_;
};

} // namespace

TEST_F( LinuxScale, ManyPortsAreHeldAndReleased ) {
   int const ports = sized( 100, 1'000 );
   for ( int i = 1; i <= ports; ++i ) {
      lab->addMacvlan( port( i ), "lower" );
   }
   auto const begin = std::chrono::steady_clock::now();
   start();
   auto const end = std::chrono::steady_clock::now();
   RecordProperty(
      "milliseconds",
      int(
         std::chrono::duration_cast< std::chrono::milliseconds >( end - begin ).count() ) );
   EXPECT_EQ( process->errdisabled().size(), std::size_t( ports ) );
   EXPECT_EQ( broken(), "" );
   process->pass( 30'000 );
   EXPECT_EQ( process->errdisabled().size(), 0U );
   EXPECT_EQ( broken(), "" );
   EXPECT_EQ( process->host().reconciler().redone(), 0U );
}

TEST_F( LinuxScale, WhatAnotherProcessDoesLeavesThePromiseKept ) {
   unsigned const seed = std::random_device()();
   SCOPED_TRACE( seed );
   int const operations = sized( 500, 10'000 );
   for ( int i = 1; i <= 20; ++i ) {
      lab->addMacvlan( port( i ), "lower" );
   }
   start();
   pid_t const other = fork();
   if ( other == 0 ) {
      Meddler meddler( seed );
      for ( int i = 0; i < operations; ++i ) {
         meddler.meddle();
      }
      _exit( 0 );
   }
   int status = -1;
   while ( waitpid( other, &status, WNOHANG ) == 0 ) {
      clock.moment += ostra::Milliseconds( 1 );
      hear( 1 );
   }
   EXPECT_EQ( status, 0 );
   bringAllUp();
   // What waits because it was undone too often is done again within half a minute.
   auto const end = clock.moment + ostra::Milliseconds( 30'000 );
   becomes(
      [ this ] { return broken().empty(); },
      [ this, end ] {
         clock.moment = std::min( clock.moment + ostra::Milliseconds( 100 ), end );
         hear( 10 );
      } );
   EXPECT_EQ( broken(), "" );
   process->pass( 60'000 );
   EXPECT_EQ( process->errdisabled().size(), 0U );
   EXPECT_EQ( broken(), "" );
}

TEST_F( LinuxScale, WhatAnotherProcessDoesToHostsThatAreKilledLeavesThePromiseKept ) {
   unsigned const seed = std::random_device()();
   SCOPED_TRACE( seed );
   int const operations = sized( 500, 10'000 );
   int const kills = sized( 4, 40 );
   for ( int i = 1; i <= 20; ++i ) {
      lab->addMacvlan( port( i ), "lower" );
   }
   ostra::Shared< int > done;
   ostra::Shared< bool > isOver;
   pid_t const other = fork();
   if ( other == 0 ) {
      prctl( PR_SET_PDEATHSIG, SIGKILL );
      for ( Meddler meddler( seed ); !*isOver; ++*done ) {
         meddler.meddle();
      }
      _exit( 0 );
   }
   std::mt19937 random( seed );
   // Also before it serves, which takes it about as long.
   std::uniform_int_distribution< useconds_t > life( 0, 300'000 );
   for ( int killed = 0; killed < kills || *done < operations; ++killed ) {
      auto const program = startProgram();
      usleep( life( random ) );
      program->signal( SIGKILL );
      EXPECT_EQ( program->outcome().status, 128 + SIGKILL );
   }
   auto const last = startProgram();
   EXPECT_TRUE( last->hasWritten() );
   int const before = *done;
   while ( *done < before + operations / 10 ) {
      usleep( 1'000 );
   }
   *isOver = true;
   int status = -1;
   waitpid( other, &status, 0 );
   EXPECT_EQ( status, 0 );
   bringAllUp();
   auto const isKept = [ this ] { return brokenByProgram().empty(); };
   auto const wait = [] { usleep( 100'000 ); };
   becomes( isKept, wait );
   EXPECT_EQ( brokenByProgram(), "" );
   EXPECT_EQ( ask( "release --all" ).status, 0 );
   becomes( isKept, wait );
   EXPECT_EQ( ask( "show state mlagissuCause.intfStatus --format json" ).out, "{}\n" );
   EXPECT_EQ( brokenByProgram(), "" );
   last->signal( SIGTERM );
   EXPECT_EQ( last->outcome().status, 0 );
}

TEST_F( LinuxScale, APortThatComesIsHeldAtOnce ) {
   int const tries = sized( 20, 1'000 );
   start();
   double worst = 0;
   for ( int i = 1; i <= tries; ++i ) {
      lab->addMacvlan( "swp1", "lower" );
      auto const begin = std::chrono::steady_clock::now();
      becomes( [ this ] { return lab->isHeld( "swp1" ); }, [ this ] { hear( 100 ); } );
      std::chrono::duration< double, std::milli > const taken =
         std::chrono::steady_clock::now() - begin;
      worst = std::max( worst, taken.count() );
      ASSERT_TRUE( lab->isHeld( "swp1" ) );
      lab->remove( "swp1" );
      hear( 100 );
   }
   RecordProperty( "worstMicroseconds", int( worst * 1000 ) );
   std::cout << fmt::format( "worst of {}: {:.2f} ms\n", tries, worst );
}
