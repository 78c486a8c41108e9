// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The real program, killed at random moments of random scenarios while a client changes its state
// through the socket: what the client was told is there, ports are released in time and not
// before it, and history has no gap. OSTRA_KILLS says how often (20), OSTRA_SEED which moments.

#include "NumberedAddress"
#include "RunningProgram"

#include <host/base/Failure>
#include <host/client/HostConnection>

#include <fmt/format.h>

#include <csignal>
#include <ctime>
#include <map>
#include <memory>
#include <random>
#include <set>

using ostra::HostConnection;
using ostra::Json;
using ostra::RunningProgram;

namespace {

std::map< std::string, double > const delays = { { "Ethernet1", 0.4 },
                                                 { "Ethernet2", 0.7 },
                                                 { "Ethernet3", 0.7 } };

// Configuration of the clients, where a change's number is put.
constexpr char numberPath[] = "/v1/state/lacpOverride/lagIdConfig";

long
environmentOr( char const* name, long otherwise ) {
   char const* const value = std::getenv( name );
   return value ? std::strtol( value, nullptr, 10 ) : otherwise;
}

double
sinceBoot() {
   timespec now{};
   clock_gettime( CLOCK_BOOTTIME, &now );
   return static_cast< double >( now.tv_sec ) + static_cast< double >( now.tv_nsec ) / 1e9;
}

class Campaign {
 public:
   explicit Campaign( unsigned seed ) : random_( seed ) {
      reboot( 0 );
      std::ofstream( config_ ) << fmt::format(
         R"({{"state": "{0}/state", "bootId": "{0}/boot", "listen": [{{"unix": "{0}/socket"}}],
            "mounts": {{
            "mlagConfig": {{"enabled": true, "domainId": "d", "localInterface": "Vlan1",
            "peerAddress": "10.0.0.2", "peerLinkIntf": "Port-Channel1", "reloadDelay": {1},
            "reloadDelayNonMlagConfigured": true, "reloadDelayNonMlag": {2},
            "intfConfig": {{"Port-Channel10": {{"mlagId": "10"}}}}}},
            "ethPhyIntfStatus": {{"intfStatus":
            {{"Ethernet1": {{}}, "Ethernet2": {{}}, "Ethernet3": {{}}}}}},
            "lagInputConfig": {{"phyIntf": {{"Ethernet1": {{"lag": "Port-Channel10"}}}}}}}}}})",
         directory_.path(),
         delays.at( "Ethernet1" ),
         delays.at( "Ethernet2" ) );
   }

   void reboot( int number ) {
      boot_ = fmt::format( "boot {}", number );
      std::ofstream( directory_.path() + "/boot" ) << boot_ << '\n';
      start_ = -1;
      isOver_ = false;
      released_.clear();
      hasBegun_ = false;
   }

   void liveAndBeKilled() {
      auto const program = std::make_unique< RunningProgram >( std::vector< std::string >{
         "serve", "--config", config_, "--plugin", OSTRA_PLUGIN } );
      if ( random_() % 5 == 0 ) {
         usleep( static_cast< useconds_t >( random_() % 30'000 ) );
      } else if ( program->hasWritten() ) {
         check();
         std::thread killer( [ &program, after = random_() % longest() ] {
            usleep( static_cast< useconds_t >( after ) );
            program->signal( SIGKILL );
         } );
         changeUntilItEnds();
         killer.join();
      }
      program->signal( SIGKILL );
      auto const outcome = program->outcome();
      EXPECT_EQ( outcome.status, 128 + SIGKILL );
      EXPECT_EQ( outcome.err, "" );
   }

   // At the end nothing is held any more.
   void end() {
      RunningProgram program( { "serve", "--config", config_, "--plugin", OSTRA_PLUGIN } );
      ASSERT_TRUE( program.hasWritten() );
      sleep( 1 );
      check();
      EXPECT_EQ( host_.get( "/v1/state/mlagissuCause/intfStatus" ), Json::object() );
      program.signal( SIGTERM );
      EXPECT_EQ( program.outcome().status, 0 );
      EXPECT_GT( kept_, 0 );
   }

 private:
   // Now and then to behind the delay.
   unsigned long longest() { return random_() % 5 == 0 ? 900'000 : 80'000; }

   // What it has been left with.
   void check() {
      double const asked = sinceBoot();
      // What is due is done at the end of a turn, behind its answers.
      host_.get( "/v1/summary" );
      // Before the state: what is released behind it is not held there.
      takeHistory();
      auto const state = host_.get( "/v1/state" );
      std::string const found =
         host_.get( numberPath ).value( "Port-Channel99", numberedAddress( 0 ) );
      EXPECT_GE( found, numberedAddress( kept_ ) );
      EXPECT_LE( found, numberedAddress( sent_ ) );
      for ( auto const& [ port, delay ] : delays ) {
         bool const isHeld =
            state.at( "mlagissuCause" ).at( "intfStatus" ).contains( port );
         bool const isOver = start_ >= 0 && asked >= start_ + delay;
         EXPECT_FALSE( isHeld && ( isOver || released_.contains( port ) ) )
            << port << ' ' << asked - start_;
      }
   }

   void takeHistory() {
      std::set< std::string > byHand;
      host_.forEachLine(
         fmt::format( "/v1/history?since={}&limit=1000000", last_ ),
         [ & ]( std::string_view line ) {
            Json const record = Json::parse( line );
            EXPECT_EQ( record.at( "seq" ), last_ + 1 );
            last_ = record.at( "seq" );
            take( record, byHand );
            return true;
         } );
      EXPECT_TRUE( heldAgain_.empty() ) << heldAgain_.begin()->first;
   }

   void take( Json const& record, std::set< std::string >& byHand ) {
      if ( record.at( "type" ) == "start" ) {
         bool const isOfThisBoot = record.at( "boot" ) == boot_;
         EXPECT_TRUE( !isOfThisBoot || record.at( "isRestart" ) == hasBegun_ ) << record;
         hasBegun_ = isOfThisBoot;
      } else if ( record.at( "type" ) == "release" ) {
         byHand.insert( record.at( "interface" ).get< std::string >() );
      } else if ( record.at( "type" ) == "write" && hasBegun_ ) {
         takeWrite( record, byHand );
      }
   }

   // Of this boot.
   void takeWrite( Json const& record, std::set< std::string > const& byHand ) {
      Json const& path = record.at( "path" );
      Json const& value = record.at( "value" );
      if ( path.back() == "portsErrdisabledWhen" && value.is_number() ) {
         // One that finds the delay over begins and ends it in one instant.
         EXPECT_TRUE( start_ < 0 || isOver_ || value == start_ ) << record;
         start_ = isOver_ ? start_ : value.get< double >();
      } else if ( path.back() == "portsErrdisabledWhen" ) {
         isOver_ = true;
      } else if ( path.front() == "mlagissuCause" && value.is_null() ) {
         std::string const port = path.back();
         bool const isAgain = heldAgain_.contains( port );
         bool const isInTime = isAgain ? record.at( "t" ) == heldAgain_[ port ]
                                       : record.at( "t" ) >= start_ + delays.at( port );
         EXPECT_TRUE( isInTime || byHand.contains( port ) ) << record << start_;
         heldAgain_.erase( port );
         released_.insert( port );
      } else if ( path.front() == "mlagissuCause" ) {
         if ( released_.contains( path.back() ) ) {
            heldAgain_[ path.back() ] = record.at( "t" );
         }
      }
   }

   void changeUntilItEnds() {
      try {
         for ( ;; ) {
            if ( random_() % 16 == 0 ) {
               host_.patch(
                  "/v1/state/mlagissuCause/intfStatus",
                  { { fmt::format( "Ethernet{}", 1 + random_() % 3 ), nullptr } } );
            }
            ++sent_;
            host_.patch( numberPath, { { "Port-Channel99", numberedAddress( sent_ ) } } );
            kept_ = sent_;
         }
      } catch ( ostra::Failure const& failure ) {
         // It has been killed; it has refused nothing.
         EXPECT_EQ( failure.status(), ostra::ExitStatus::failed ) << failure.what();
      }
   }

   std::mt19937 random_;
   ostra::TemporaryDirectory const directory_;
   std::string const config_ = directory_.path() + "/ostra.yaml";
   HostConnection const host_{ "test", directory_.path() + "/socket" };
   // The numbers of the last change that was sent, and that was told to be durable.
   int sent_ = 0;
   int kept_ = 0;
   std::int64_t last_ = 0;
   std::string boot_;
   // Of this boot: whether it has begun in history, the start of the delay and whether it is over, and what was held
   // no more.
   bool hasBegun_ = false;
   double start_ = -1;
   bool isOver_ = false;
   std::set< std::string > released_;
   // A machine that starts holds them, and the host takes that back in the same instant.
   std::map< std::string, double > heldAgain_;
};

} // namespace

TEST( ServeKill, AtAnyMomentLosesNothingAndReleasesInTime ) {
   long const kills = environmentOr( "OSTRA_KILLS", 20 );
   auto const seed = static_cast< unsigned >( environmentOr( "OSTRA_SEED", getpid() ) );
   SCOPED_TRACE( fmt::format( "OSTRA_SEED={}", seed ) );
   std::mt19937 random( seed );
   Campaign campaign( seed );
   for ( long i = 1; i <= kills && !testing::Test::HasFailure(); ++i ) {
      if ( random() % 8 == 0 ) {
         campaign.reboot( static_cast< int >( i ) );
      }
      campaign.liveAndBeKilled();
   }
   campaign.end();
}
