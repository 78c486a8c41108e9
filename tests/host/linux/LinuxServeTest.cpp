// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// `ostra serve` with devices of the kernel, as a process.

#include "LinkLab"
#include "RunningProgram"

#include <gmock/gmock.h>

#include <csignal>
#include <optional>

using ostra::Json;
using ostra::ostraRun;
using ostra::RunningProgram;
using testing::HasSubstr;
using testing::Not;

namespace {

// A host that lives as long as its test, which may be long where much else is done. In seconds.
constexpr unsigned longest = 120;

class LinuxServe : public testing::Test {
 protected:
   LinuxServe() { configure( "none", 300 ); }

   void SetUp() override {
      if ( !namespace_.problem().empty() ) {
         GTEST_SKIP() << namespace_.problem();
      }
      lab.emplace();
      lab->addVeth( "lower", "cable" );
      lab->addMacvlan( "swp1", "lower" );
      lab->addMacvlan( "swp2", "lower" );
      lab->addVeth( "swp5", "other" );
   }

   void configure(
      std::string const& fallback,
      int delay,
      std::string const& more = "",
      std::string const& pattern = R"(swp(\d+))" ) const {
      std::ofstream( config ) << "driver: linux\nstate: " << directory_.path()
                              << "/state\nlisten: [ { unix: " << socket << " } ]\n"
                              << "linux: { fallback: " << fallback
                              << ", interfaces: [ { device: '" << pattern
                              << "', interface: 'Ethernet\\1' } ] }\n"
                              << "mounts:\n  mlagConfig: { enabled: true, domainId: d, "
                                 "localInterface: Vlan1, peerAddress: 10.0.0.2, "
                                 "peerLinkIntf: Port-Channel1, reloadDelay: "
                              << delay << " }\n"
                              << more;
   }
   std::vector< std::string > arguments() const {
      return { "serve", "--config", config, "--plugin", OSTRA_PLUGIN };
   }
   ostra::Outcome ended( RunningProgram& program, int signal ) const {
      program.signal( signal );
      return program.outcome();
   }
   std::string show( std::string const& rest ) const {
      return ostraRun( "show ports " + rest + " --socket " + socket ).out;
   }

 private:
   ostra::NetworkNamespace const namespace_;
   ostra::TemporaryDirectory const directory_;

 protected:
   std::string const config = directory_.path() + "/ostra.yaml";
   std::string const socket = directory_.path() + "/socket";
   std::optional< ostra::LinkLab > lab;
};

} // namespace

TEST_F( LinuxServe, HoldsPortsAndShowsTheirDevices ) {
   lab->reasonIs( "swp2", 7, true );
   RunningProgram program( arguments(), longest );
   ASSERT_TRUE( program.hasWritten() );
   EXPECT_TRUE( lab->isHeld( "swp1" ) );
   std::string const text = show( "" );
   EXPECT_THAT( text, HasSubstr( "port       device  protodown     class" ) ) << text;
   EXPECT_THAT( text, HasSubstr( "Ethernet1  swp1    on            nonMlag" ) ) << text;
   EXPECT_THAT( text, HasSubstr( "Ethernet2  swp2    on, reason 7  nonMlag" ) ) << text;
   EXPECT_THAT( text, HasSubstr( "Ethernet5  swp5    unsupported" ) ) << text;
   EXPECT_THAT( text, HasSubstr( "errdisable (unsupported)" ) ) << text;
   auto const outcome = ended( program, SIGTERM );
   EXPECT_EQ( outcome.status, 0 );
   // A stop leaves them as they are.
   EXPECT_TRUE( lab->isHeld( "swp1" ) );
}

TEST_F( LinuxServe, GoesOnWithItsHoldsAfterItWasKilled ) {
   configure( "adminDown", 300 );
   {
      RunningProgram program( arguments(), longest );
      ASSERT_TRUE( program.hasWritten() );
      EXPECT_EQ( ended( program, SIGKILL ).status, 128 + SIGKILL );
   }
   EXPECT_TRUE( lab->isHeld( "swp1" ) );
   EXPECT_FALSE( lab->link( "swp5" )->isUp() );
   RunningProgram program( arguments(), longest );
   ASSERT_TRUE( program.hasWritten() );
   EXPECT_TRUE( lab->isHeld( "swp1" ) );
   std::string const text = show( "" );
   EXPECT_THAT( text, HasSubstr( "Ethernet1  swp1    on                  nonMlag" ) )
      << text;
   EXPECT_THAT( text, HasSubstr( "Ethernet5  swp5    admin-down instead  nonMlag" ) )
      << text;
   EXPECT_THAT( text, Not( HasSubstr( "unsupported" ) ) );
   EXPECT_EQ( ostraRun( "release --all --socket " + socket ).status, 0 );
   EXPECT_TRUE( lab->link( "swp1" )->isCarrying() );
   EXPECT_TRUE( lab->link( "swp5" )->isUp() );
   EXPECT_EQ( ended( program, SIGTERM ).status, 0 );
}

TEST_F( LinuxServe, ReleasesWithoutAHostWhatOneHasHeld ) {
   configure( "adminDown", 300 );
   RunningProgram program( arguments(), longest );
   ASSERT_TRUE( program.hasWritten() );
   ended( program, SIGKILL );
   auto const outcome = ostraRun( "release --all --offline --config " + config );
   EXPECT_EQ( outcome.status, 0 ) << outcome.err;
   EXPECT_EQ( outcome.out, "released swp1\nreleased swp2\nreleased swp5\n" );
   EXPECT_TRUE( lab->link( "swp1" )->isCarrying() );
   EXPECT_TRUE( lab->link( "swp5" )->isUp() );
   EXPECT_EQ(
      ostraRun( "release --all --offline --config " + config ).out,
      "nothing to release: no device is held by this host\n" );
}

TEST_F( LinuxServe, ReleasesNothingBesideAHostThatRuns ) {
   RunningProgram program( arguments(), longest );
   ASSERT_TRUE( program.hasWritten() );
   auto const outcome = ostraRun( "release --all --offline --config " + config );
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_THAT( outcome.err, HasSubstr( ": a host has it: expected none that runs" ) );
   EXPECT_TRUE( lab->isHeld( "swp1" ) );
   EXPECT_EQ( ended( program, SIGTERM ).status, 0 );
}

TEST_F( LinuxServe, ACheckWarnsOfDevicesThatCannotBeHeld ) {
   lab->addMacvlan( "swp01", "lower" );
   auto const outcome = ostraRun( "serve --check --config " + config );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ(
      outcome.err,
      "warning: device swp01: Ethernet\\1 gives no name of an interface: it is left alone\n"
      "warning: Ethernet5: device swp5 has no protodown, so that it cannot be held\n" );
   EXPECT_THAT( outcome.out, HasSubstr( ": ok, driver linux" ) );
   EXPECT_FALSE( lab->isHeld( "swp1" ) );
   configure( "adminDown", 300 );
   EXPECT_THAT(
      ostraRun( "serve --check --config " + config ).err, Not( HasSubstr( "swp5" ) ) );
}

// The kernel takes nearly every octet in a name.
TEST_F( LinuxServe, ANameThatNobodyCanPrintIsShownByItsOctets ) {
   configure( "none", 300, "", R"([sx]wp.*(\d).*)" );
   lab->addVeth( "swp6\x1b\xff", "another" );
   lab->addMacvlan( "xwp6\x1b", "lower" );
   std::string const shownName = R"(swp6\x1b\xff)";
   auto const check = ostraRun( "serve --check --config " + config );
   EXPECT_THAT( check.err, HasSubstr( "device " + shownName + " has no protodown" ) );
   EXPECT_THAT( check.err, HasSubstr( R"(device xwp6\x1b: Ethernet6 is )" + shownName ) );
   RunningProgram program( arguments(), longest );
   ASSERT_TRUE( program.hasWritten() );
   Json const port = Json::parse( show( "--format json" ) ).at( 3 );
   EXPECT_EQ( port.at( "device" ), shownName );
   EXPECT_THAT(
      port.at( "hold" ).at( "error" ).get< std::string >(), HasSubstr( shownName + ": " ) );
   // A forecast has the errors, too.
   auto const why = ostraRun( "why Ethernet6 --socket " + socket );
   EXPECT_EQ( why.status, 0 ) << why.err;
   ended( program, SIGKILL );
   configure( "adminDown", 300, "", R"([sx]wp.*(\d).*)" );
   RunningProgram next( arguments(), longest );
   ASSERT_TRUE( next.hasWritten() );
   ended( next, SIGKILL );
   EXPECT_THAT(
      ostraRun( "release --all --offline --config " + config ).out,
      HasSubstr( "released " + shownName + "\n" ) );
}

TEST_F( LinuxServe, AFileCannotSetWhatTheDevicesSay ) {
   configure( "none", 300, "  ethPhyIntfStatus: { intfStatus: { Ethernet1: {} } }\n" );
   auto const outcome = ostraRun( "serve --check --config " + config );
   EXPECT_EQ( outcome.status, 2 );
   EXPECT_THAT(
      outcome.err,
      HasSubstr( "mounts: ethPhyIntfStatus.intfStatus.Ethernet1: owned by the driver" ) );
}
