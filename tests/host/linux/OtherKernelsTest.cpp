// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The driver with kernels that answer otherwise than the one that the tests run on.

#include "OtherKernels"
#include "LinuxSwitch"

#include <gmock/gmock.h>

#include <new>

using ostra::KernelThatRefuses;
using ostra::KernelThatThrows;
using ostra::KernelWithoutReasons;
using ostra::KernelWithoutRoom;
using ostra::LinuxDriver;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class OtherKernels : public ostra::LinuxSwitch {
 protected:
   // Takes this kernel's protodown without reasons.
   void startWithoutReasons( bool isAnsweringProbes ) {
      requests = [ isAnsweringProbes ] {
         return std::make_unique< KernelWithoutReasons >( isAnsweringProbes );
      };
      start();
   }
   void expectNothingHeld() {
      for ( int i = 1; i <= 2; ++i ) {
         EXPECT_FALSE( lab->link( port( i ) )->isProtodown );
         EXPECT_TRUE( lab->link( port( i ) )->isCarrying() );
         EXPECT_EQ( enforced( "Ethernet" + std::to_string( i ) ), "unsupported" );
      }
      EXPECT_EQ( shown( "Ethernet1" ).at( "protodown" ).at( "supported" ), false );
   }
};

} // namespace

TEST_F( OtherKernels, OneWithoutReasonsCannotHold ) {
   addPorts( 2 );
   startWithoutReasons( true );
   expectNothingHeld();
   EXPECT_TRUE( process->host().reconciler().isSettled() );
}

TEST_F( OtherKernels, OneWithoutReasonsThatNobodyKnewHoldsNothingEither ) {
   addPorts( 2 );
   startWithoutReasons( false );
   expectNothingHeld();
   settle();
   expectNothingHeld();
   process->pass( 30'000 );
   EXPECT_FALSE( lab->link( "swp1" )->isProtodown );
}

TEST_F( OtherKernels, OneWithoutReasonsLeavesProtodownThatWasOn ) {
   addPorts( 1 );
   lab->protodownIs( "swp1", true );
   startWithoutReasons( false );
   settle();
   EXPECT_EQ( enforced( "Ethernet1" ), "unsupported" );
   process->pass( 30'000 );
   EXPECT_TRUE( lab->link( "swp1" )->isProtodown );
}

TEST_F( OtherKernels, OneWithoutReasonsHoldsByTakingDown ) {
   config.fallback = ostra::Fallback::adminDown;
   addPorts( 1 );
   startWithoutReasons( false );
   EXPECT_FALSE( lab->link( "swp1" )->isUp() );
   EXPECT_FALSE( lab->link( "swp1" )->isProtodown );
   EXPECT_EQ( enforced( "Ethernet1" ), "held" ) << shown( "Ethernet1" );
   process->pass( 30'000 );
   EXPECT_TRUE( lab->link( "swp1" )->isCarrying() );
}

TEST_F( OtherKernels, TheQuestionWhatCanBeHeldChangesNothing ) {
   addPorts( 1 );
   lab->reasonIs( "swp1", 0, true );
   lab->reasonIs( "swp1", 6, true );
   lab->protodownIs( "swp1", true );
   auto const before = lab->link( "swp1" );
   ostra::LinkRequests questions;
   questions.probe( before->index );
   questions.probe( lab->link( "lower" )->index );
   ostra::NetlinkSocket socket( 0 );
   auto const answers = ostra::replies( socket, questions, [] {} );
   EXPECT_EQ( answers.at( 0 ).error, EINVAL );
   EXPECT_EQ( answers.at( 1 ).error, EOPNOTSUPP );
   // The carrier of a new device comes by itself.
   auto const after = lab->link( "swp1" );
   EXPECT_EQ( after->isProtodown, before->isProtodown );
   EXPECT_EQ( after->reasons, before->reasons );
   EXPECT_EQ( after->isUp(), before->isUp() );
}

// Nothing more is heard of the port.
TEST_F( OtherKernels, AQuestionThatThrowsIsAskedAgainLater ) {
   bool hasMemory = true;
   requests = [ &hasMemory ] { return std::make_unique< KernelThatThrows >( hasMemory ); };
   addPorts( 1 );
   start();
   process->pass( 30'000 );
   lab->addMacvlan( "swp2", "lower", false );
   settle();
   auto const isKnown = [ this ] {
      return shown( "Ethernet2" ).at( "protodown" ).at( "supported" ) == true;
   };
   hasMemory = false;
   EXPECT_THROW( becomes( isKnown ), std::bad_alloc );
   EXPECT_FALSE( isKnown() );
   hasMemory = true;
   EXPECT_TRUE( becomes( isKnown ) );
}

TEST_F( OtherKernels, OneThatRefusesDoesNotSayWhatCanBeHeld ) {
   bool const isRefusing = true;
   addPorts( 1 );
   LinuxDriver offline(
      options(), say(), std::make_unique< KernelThatRefuses >( isRefusing ) );
   EXPECT_THAT(
      offline.warnings(),
      ElementsAre(
         "linux.interfaces[1]: matches no device",
         "which devices can be held is not known: the kernel tells it to root, or with "
         "CAP_NET_ADMIN" ) );
}

// Nothing more is heard: it tries again by itself.
TEST_F( OtherKernels, AListThatFailsIsMadeAgainLater ) {
   bool hasRoom = true;
   requests = [ &hasRoom ] { return std::make_unique< KernelWithoutRoom >( hasRoom ); };
   addPorts( 1 );
   start();
   hasRoom = false;
   driver->changes().roomIs( 2'304 );
   for ( int i = 0; i < 20; ++i ) {
      lab->flap( "lower" );
   }
   lab->addMacvlan( "swp2", "lower" );
   settle();
   EXPECT_THAT( said, Contains( HasSubstr( "no list of devices" ) ) );
   EXPECT_FALSE( lab->isHeld( "swp2" ) );
   hasRoom = true;
   EXPECT_TRUE( becomes( [ this ] { return lab->isHeld( "swp2" ); } ) );
   EXPECT_THAT( said, Contains( "all devices are listed again" ) );
   EXPECT_TRUE( becomes( [ this ] { return lab->isHeld( "swp1" ); } ) );
}

TEST_F( OtherKernels, AHoldThatCouldNotBeTakenAwayIsTakenAwayLater ) {
   bool isRefusing = false;
   requests = [ &isRefusing ] {
      return std::make_unique< KernelThatRefuses >( isRefusing );
   };
   start();
   isRefusing = true;
   lab->addMacvlan( "spare", "lower" );
   lab->reasonIs( "spare", 6, true );
   lab->protodownIs( "spare", true );
   settle();
   EXPECT_THAT(
      said,
      ElementsAre( "device spare: held by this host, and no interface: Operation not "
                   "permitted" ) );
   isRefusing = false;
   EXPECT_TRUE( becomes( [ this ] { return said.size() > 1; } ) );
   EXPECT_TRUE( lab->link( "spare" )->isCarrying() );
   EXPECT_THAT( said.back(), HasSubstr( "released" ) );
}
