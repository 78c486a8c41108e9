// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The driver on devices of the kernel, with the real plug-in above it.

#include "LinuxSwitch"

#include <gmock/gmock.h>

#include <chrono>

using ostra::Json;
using ostra::LinuxDriver;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class LinuxDriverTest : public ostra::LinuxSwitch {};

} // namespace

TEST_F( LinuxDriverTest, HoldsPortsAndReleasesThemAtTheEndOfTheDelay ) {
   addPorts( 3 );
   start();
   for ( int i = 1; i <= 3; ++i ) {
      EXPECT_TRUE( lab->isHeld( port( i ) ) );
      EXPECT_EQ( enforced( "Ethernet" + std::to_string( i ) ), "held" );
   }
   EXPECT_EQ( shown( "Ethernet1" ).at( "device" ), "swp1" );
   process->pass( 29'999 );
   EXPECT_TRUE( lab->isHeld( "swp1" ) );
   process->pass( 1 );
   for ( int i = 1; i <= 3; ++i ) {
      auto const link = lab->link( port( i ) );
      EXPECT_TRUE( link->isCarrying() );
      EXPECT_FALSE( link->isProtodown );
      EXPECT_EQ( link->reasons, 0U );
   }
   EXPECT_EQ( redone(), 0U );
   EXPECT_THAT( said, IsEmpty() );
}

TEST_F( LinuxDriverTest, TellsWhatTheDevicesAre ) {
   addPorts( 1 );
   lab->addMacvlan( "swp2", "lower", false );
   start();
   settle();
   EXPECT_EQ( shown( "Ethernet1" ).at( "admin" ), 1 );
   EXPECT_EQ( shown( "Ethernet2" ).at( "admin" ), 2 );
   process->pass( 30'000 );
   EXPECT_TRUE( becomes( [ this ] { return shown( "Ethernet1" ).at( "link" ) == 2; } ) );
   lab->isUpIs( "swp2", true );
   lab->isUpIs( "swp1", false );
   settle();
   EXPECT_EQ( shown( "Ethernet1" ).at( "admin" ), 2 );
   EXPECT_EQ( shown( "Ethernet2" ).at( "admin" ), 1 );
   EXPECT_TRUE( becomes( [ this ] { return shown( "Ethernet1" ).at( "link" ) == 1; } ) );
   EXPECT_EQ( shown( "lower" ), Json() );
}

TEST_F( LinuxDriverTest, HoldsAgainWhatAFlapOfTheLinkBelowHasUndone ) {
   addPorts( 2 );
   start();
   lab->flap( "lower" );
   // The carrier is back although protodown is on, and the kernel may bring it back once more.
   EXPECT_TRUE( lab->link( "swp1" )->isCarrying() );
   EXPECT_TRUE( becomes( [ this ] { return redone() >= 2; } ) );
   EXPECT_TRUE(
      becomes( [ this ] { return lab->isHeld( "swp1" ) && lab->isHeld( "swp2" ); } ) );
   EXPECT_EQ( enforced( "Ethernet1" ), "held" );
   process->pass( 30'000 );
   EXPECT_TRUE( lab->link( "swp1" )->isCarrying() );
}

// The kernel tells nothing of what becomes of such a device.
TEST_F( LinuxDriverTest, HoldsAndReleasesADeviceThatIsDown ) {
   lab->addMacvlan( "swp1", "lower", false );
   start();
   EXPECT_TRUE( lab->isHeld( "swp1" ) );
   EXPECT_EQ( enforced( "Ethernet1" ), "held" );
   process->pass( 30'000 );
   EXPECT_EQ( lab->link( "swp1" )->reasons, 0U );
   EXPECT_FALSE( lab->link( "swp1" )->isProtodown );
   EXPECT_TRUE( process->host().reconciler().unenforced().empty() );
}

TEST_F( LinuxDriverTest, LeavesOtherAgentsTheirReasons ) {
   addPorts( 1 );
   lab->reasonIs( "swp1", 7, true );
   lab->protodownIs( "swp1", true );
   start();
   EXPECT_TRUE( lab->isHeld( "swp1", 6 ) );
   EXPECT_TRUE( lab->isHeld( "swp1", 7 ) );
   EXPECT_THAT(
      shown( "Ethernet1" ).at( "protodown" ).at( "others" ), ElementsAre( "reason 7" ) );
   process->pass( 30'000 );
   settle();
   EXPECT_FALSE( lab->isHeld( "swp1", 6 ) );
   EXPECT_TRUE( lab->isHeld( "swp1", 7 ) );
   EXPECT_TRUE( shown( "Ethernet1" ).at( "hold" ).is_null() );
   EXPECT_TRUE( process->host().reconciler().isSettled() );
   EXPECT_TRUE( process->host().reconciler().unenforced().empty() );
   lab->reasonIs( "swp1", 7, false );
   lab->protodownIs( "swp1", false );
   settle();
   EXPECT_THAT( shown( "Ethernet1" ).at( "protodown" ).at( "others" ), IsEmpty() );
   EXPECT_TRUE( lab->link( "swp1" )->isCarrying() );
}

TEST_F( LinuxDriverTest, LeavesProtodownThatWasOnWithoutAReason ) {
   addPorts( 1 );
   lab->protodownIs( "swp1", true );
   start();
   EXPECT_TRUE( lab->isHeld( "swp1" ) );
   process->pass( 30'000 );
   auto const link = lab->link( "swp1" );
   EXPECT_TRUE( link->isProtodown );
   EXPECT_EQ( link->reasons, 0U );
}

TEST_F( LinuxDriverTest, ReleasesAPortWhoseReasonSomebodyHasCleared ) {
   addPorts( 2 );
   start();
   lab->reasonIs( "swp1", 6, false );
   settle();
   EXPECT_TRUE( lab->isHeld( "swp1" ) );
   EXPECT_EQ( redone(), 1U );
   process->pass( 30'000 );
   EXPECT_FALSE( lab->link( "swp1" )->isProtodown );
   EXPECT_TRUE( lab->link( "swp1" )->isCarrying() );
}

TEST_F( LinuxDriverTest, ReleasesAPortWhoseReasonWasClearedBehindAProcessBefore ) {
   addPorts( 1 );
   start();
   start();
   lab->reasonIs( "swp1", 6, false );
   settle();
   EXPECT_TRUE( lab->isHeld( "swp1" ) );
   process->pass( 30'000 );
   EXPECT_FALSE( lab->link( "swp1" )->isProtodown );
}

TEST_F( LinuxDriverTest, SaysThatADeviceCannotBeHeldBeforeItIsToBe ) {
   lab->addVeth( "swp5", "other" );
   addPorts( 1 );
   start();
   EXPECT_EQ( enforced( "Ethernet5" ), "unsupported" );
   EXPECT_THAT(
      shown( "Ethernet5" ).at( "hold" ).at( "error" ).get< std::string >(),
      HasSubstr( "swp5" ) );
   EXPECT_TRUE( lab->isHeld( "swp1" ) );
   process->pass( 30'000 );
   EXPECT_EQ( shown( "Ethernet5" ).at( "protodown" ).at( "supported" ), false );
   EXPECT_EQ( shown( "Ethernet1" ).at( "protodown" ).at( "supported" ), true );
   EXPECT_EQ( shown( "Ethernet5" ).at( "heldBy" ), nullptr );
   EXPECT_EQ( shown( "Ethernet1" ).at( "heldBy" ), "protodown" );
}

TEST_F( LinuxDriverTest, SaysWhichDevicesCannotBeHeldThoughNobodyHoldsThem ) {
   lab->addVeth( "swp99", "other" );
   addPorts( 40 );
   start( "boot 1", "{}" );
   EXPECT_TRUE( becomes( [ this ] {
      return shown( "Ethernet99" ).at( "protodown" ).at( "supported" ) == false &&
         shown( "Ethernet9" ).at( "protodown" ).at( "supported" ) == true;
   } ) );
   EXPECT_FALSE( lab->isHeld( "swp9" ) );
}

TEST_F( LinuxDriverTest, FindsOutWhichDevicesCanBeHeldHoweverOftenOneChanges ) {
   addPorts( 1 );
   start();
   process->pass( 30'000 );
   lab->addMacvlan( "swp2", "lower" );
   settle();
   auto const isKnown = [ this ] {
      return shown( "Ethernet2" ).at( "protodown" ).at( "supported" ) == true;
   };
   auto const end = std::chrono::steady_clock::now() + std::chrono::minutes( 1 );
   for ( bool isUp = false; !isKnown() && std::chrono::steady_clock::now() < end;
         isUp = !isUp ) {
      lab->isUpIs( "swp1", isUp );
      process->turn();
   }
   EXPECT_TRUE( isKnown() );
}

TEST_F( LinuxDriverTest, HoldsBeforeItIsKnownWhichDevicesCanBeHeld ) {
   // Too many to be asked at once.
   addPorts( 40 );
   lab->addVeth( "swp99", "other" );
   start();
   EXPECT_EQ( enforced( "Ethernet9" ), "held" );
   EXPECT_EQ( enforced( "Ethernet99" ), "unsupported" );
   EXPECT_EQ( shown( "Ethernet9" ).at( "protodown" ).at( "supported" ), true );
   EXPECT_EQ( shown( "Ethernet99" ).at( "protodown" ).at( "supported" ), false );
}

TEST_F( LinuxDriverTest, HoldsAPortThatComesMeanwhileAndForgetsOneThatGoes ) {
   addPorts( 1 );
   start();
   lab->addMacvlan( "swp2", "lower" );
   lab->remove( "swp1" );
   settle();
   EXPECT_TRUE( lab->isHeld( "swp2" ) );
   EXPECT_EQ( shown( "Ethernet1" ), Json() );
   lab->addMacvlan( "swp1", "lower" );
   settle();
   EXPECT_TRUE( lab->isHeld( "swp1" ) );
   process->pass( 30'000 );
   EXPECT_TRUE( lab->link( "swp1" )->isCarrying() );
   EXPECT_TRUE( lab->link( "swp2" )->isCarrying() );
}

TEST_F( LinuxDriverTest, ADeviceInThePlaceOfAnotherIsANewPort ) {
   lab->addVeth( "swp5", "other" );
   start();
   ASSERT_EQ( enforced( "Ethernet5" ), "unsupported" );
   lab->remove( "swp5" );
   lab->addMacvlan( "swp5", "lower" );
   settle();
   EXPECT_TRUE( lab->isHeld( "swp5" ) );
   EXPECT_EQ( enforced( "Ethernet5" ), "held" );
}

TEST_F( LinuxDriverTest, APortOfThePeerLinkIsNotHeldBeforeItsBondIsThere ) {
   config.interfaces.insert(
      config.interfaces.begin(),
      { std::regex( "swp([34])" ), R"(Ethernet\1)", "Port-Channel1" } );
   addPorts( 4 );
   start();
   EXPECT_TRUE( lab->isHeld( "swp1" ) );
   EXPECT_TRUE( lab->isHeld( "swp2" ) );
   for ( char const* device : { "swp3", "swp4" } ) {
      EXPECT_TRUE( lab->link( device )->isCarrying() ) << device;
   }
   EXPECT_EQ( shown( "Ethernet3" ).at( "class" ), "peerLink" );
   EXPECT_EQ( shown( "Ethernet3" ).at( "portChannel" ), "Port-Channel1" );
   EXPECT_TRUE( process->host().reconciler().unenforced().empty() );
}

TEST_F( LinuxDriverTest, WhatGoesWrongWithAMessageLeavesTheLoopWhole ) {
   addPorts( 1 );
   hear = []( std::string const& ) { throw std::runtime_error( "nobody listens" ); };
   start();
   lab->addMacvlan( "swp01", "lower" );
   EXPECT_THROW( settle(), std::runtime_error );
   lab->remove( "swp01" );
   lab->addMacvlan( "swp2", "lower" );
   settle();
   EXPECT_TRUE( lab->isHeld( "swp2" ) );
}

TEST_F( LinuxDriverTest, ARenamedPortIsTheOneThatItsNameSays ) {
   addPorts( 2 );
   start();
   // Kernels before 6.2 rename nothing that is up.
   lab->isUpIs( "swp1", false );
   lab->rename( "swp1", "swp9" );
   lab->isUpIs( "swp9", true );
   settle();
   EXPECT_EQ( shown( "Ethernet1" ), Json() );
   EXPECT_EQ( enforced( "Ethernet9" ), "held" );
   EXPECT_TRUE( lab->isHeld( "swp9" ) );
   // What is no port any more is not held.
   lab->isUpIs( "swp2", false );
   lab->rename( "swp2", "spare" );
   lab->isUpIs( "spare", true );
   settle();
   EXPECT_TRUE( lab->link( "spare" )->isCarrying() );
   EXPECT_EQ( lab->link( "spare" )->reasons, 0U );
   EXPECT_THAT( said, Contains( HasSubstr( "device spare: held by this host" ) ) );
}

TEST_F( LinuxDriverTest, TakesAwayHoldsThatNobodyWants ) {
   addPorts( 1 );
   lab->addMacvlan( "other", "lower" );
   for ( char const* device : { "swp1", "other" } ) {
      lab->reasonIs( device, 6, true );
      lab->protodownIs( device, true );
   }
   driver.emplace( options(), say() );
   process.emplace( directory.path() + "/state", clock, *driver );
   process->start( "{}" );
   for ( char const* device : { "swp1", "other" } ) {
      EXPECT_TRUE( lab->link( device )->isCarrying() ) << device;
   }
}

TEST_F( LinuxDriverTest, GoesOnWithTheHoldsOfAProcessBefore ) {
   addPorts( 2 );
   start();
   process->pass( 10'000 );
   // While nobody looks.
   process.reset();
   lab->flap( "lower" );
   lab->remove( "swp2" );
   lab->addMacvlan( "swp3", "lower" );
   start();
   EXPECT_TRUE(
      becomes( [ this ] { return lab->isHeld( "swp1" ) && lab->isHeld( "swp3" ); } ) );
   process->pass( 19'999 );
   EXPECT_TRUE( lab->isHeld( "swp1" ) );
   process->pass( 1 );
   EXPECT_TRUE( lab->link( "swp1" )->isCarrying() );
   EXPECT_TRUE( lab->link( "swp3" )->isCarrying() );
}

TEST_F( LinuxDriverTest, ListsAllDevicesAgainWhenItHasNotHeardOfAllThatChanged ) {
   addPorts( 2 );
   start();
   unsigned const lists = driver->lists();
   driver->changes().roomIs( 2'304 );
   for ( int i = 0; i < 20; ++i ) {
      lab->flap( "lower" );
   }
   lab->remove( "swp2" );
   lab->addMacvlan( "swp4", "lower" );
   settle();
   EXPECT_GT( driver->lists(), lists );
   EXPECT_EQ( shown( "Ethernet2" ), Json() );
   // The carrier may come back a bit later than all of this.
   EXPECT_TRUE( becomes( [ this ] {
      return lab->isHeld( "swp1" ) && lab->isHeld( "swp4" ) &&
         enforced( "Ethernet4" ) == "held";
   } ) );
}

TEST_F( LinuxDriverTest, ReleasesAllForAHostThatDoesNotRun ) {
   addPorts( 2 );
   lab->reasonIs( "swp2", 7, true );
   start();
   process.reset();
   LinuxDriver offline( options(), say() );
   std::vector< std::string > devices;
   for ( auto const& [ device, error ] : offline.releaseAll() ) {
      EXPECT_EQ( error, "" );
      devices.push_back( device );
   }
   EXPECT_THAT( devices, ElementsAre( "swp1", "swp2" ) );
   EXPECT_TRUE( lab->link( "swp1" )->isCarrying() );
   EXPECT_EQ( lab->link( "swp2" )->reasons, 1U << 7U );
}
