// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Many devices, and many changes of them by another process. OSTRA_LINKS=all takes the whole
// of both, which is too long for every day.

#include "LinkLab"
#include "serve/LiveProcess"

#include <host/linux/LinuxDriver>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <optional>
#include <random>
#include <stdexcept>

#include <poll.h>
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
   // What is not as it is promised: what the plug-in holds is down, and nothing else is held.
   std::string broken() {
      auto const wanted = process->errdisabled();
      std::string broken;
      ostra::NetlinkSocket socket( 0 );
      for ( ostra::Link const& link : allLinks( socket ) ) {
         bool const isPort = link.name.starts_with( "swp" );
         bool const isWanted =
            isPort && wanted.contains( "Ethernet" + link.name.substr( 3 ) );
         bool const isRight = isWanted
            ? link.has( 6 ) && link.isProtodown && !link.isCarrying()
            : !link.has( 6 );
         auto const said = process->host().reconciler().enforcement(
            isPort ? "Ethernet" + link.name.substr( 3 ) : "" );
         broken += isRight
            ? ""
            : fmt::format(
                 "{}: wanted {}, reasons {:#x}, protodown {}, carrying {}, {} {}\n",
                 link.name,
                 isWanted,
                 link.reasons,
                 link.isProtodown,
                 link.isCarrying(),
                 nameOf( said.state ),
                 said.error );
      }
      return broken;
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
   // The kernel tells nothing of what is done to a device that is down.
   ostra::NetlinkSocket socket( 0 );
   for ( ostra::Link const& link : allLinks( socket ) ) {
      lab->isUpIs( link.name, true );
   }
   // What waits because it was undone too often is done again within half a minute.
   for ( int i = 0; i < 300 && !broken().empty(); ++i ) {
      clock.moment += ostra::Milliseconds( 100 );
      hear( 10 );
   }
   EXPECT_EQ( broken(), "" );
   process->pass( 60'000 );
   EXPECT_EQ( process->errdisabled().size(), 0U );
   EXPECT_EQ( broken(), "" );
}

TEST_F( LinuxScale, APortThatComesIsHeldAtOnce ) {
   int const tries = sized( 20, 1'000 );
   start();
   double worst = 0;
   for ( int i = 1; i <= tries; ++i ) {
      lab->addMacvlan( "swp1", "lower" );
      auto const begin = std::chrono::steady_clock::now();
      for ( int j = 0; j < 10 && !lab->isHeld( "swp1" ); ++j ) {
         hear( 100 );
      }
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
