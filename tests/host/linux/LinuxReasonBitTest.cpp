// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A configuration with another bit of the reason than the one that devices are held by.

#include "LinuxSwitch"
#include "OtherKernels"

#include <gmock/gmock.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <utility>

#include <linux/rtnetlink.h>

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class LinuxReasonBit : public ostra::LinuxSwitch {
 protected:
   // Held by the bit 6, which whoever comes behind knows.
   void holdBySix( std::string const& bootId = "boot 1" ) {
      addPorts( 2 );
      lab->reasonIs( "swp2", 7, true );
      start( bootId );
      config.reasonBit = 9;
   }
   bool isOnTheDisk() const {
      return std::filesystem::exists( directory.path() + "/state/taken-down.json" );
   }
   unsigned reasons( std::string const& device ) { return lab->link( device )->reasons; }
   static unsigned bits( std::initializer_list< unsigned > numbers ) {
      unsigned bits = 0;
      for ( unsigned const number : numbers ) {
         bits |= 1U << number;
      }
      return bits;
   }
};

// Looks at something whenever the kernel is asked to change anything.
class KernelThatLooks final : public ostra::NetlinkSocket {
 public:
   explicit KernelThatLooks( std::function< void() > look )
         : NetlinkSocket( 0 ), look_( std::move( look ) ) {}

   int send( std::span< std::byte const > octets ) override {
      ostra::forEachMessage( octets, [ this ]( nlmsghdr const& message ) {
         if ( message.nlmsg_type == RTM_SETLINK ) {
            look_();
         }
      } );
      return NetlinkSocket::send( octets );
   }

 private:
   std::function< void() > const look_;
};

} // namespace

// A process that is killed at once leaves no hold that nobody knows.
TEST_F( LinuxReasonBit, IsOnTheDiskBeforeAnythingIsHeldByIt ) {
   addPorts( 1 );
   int looks = 0;
   requests = [ & ] {
      return std::make_unique< KernelThatLooks >( [ & ] {
         ++looks;
         EXPECT_TRUE( isOnTheDisk() );
      } );
   };
   start();
   EXPECT_TRUE( lab->isHeld( "swp1" ) );
   EXPECT_GT( looks, 0 );
}

TEST_F( LinuxReasonBit, HoldsGoOnByTheOneOfNow ) {
   holdBySix();
   start();
   EXPECT_EQ( reasons( "swp1" ), bits( { 9 } ) );
   EXPECT_EQ( reasons( "swp2" ), bits( { 7, 9 } ) );
   EXPECT_TRUE( lab->isHeld( "swp1", 9 ) );
   EXPECT_EQ( enforced( "Ethernet2" ), "held" );
   EXPECT_EQ( redone(), 0U );
   EXPECT_THAT( said, IsEmpty() );
   process->pass( 30'000 );
   EXPECT_TRUE( lab->link( "swp1" )->isCarrying() );
   EXPECT_EQ( reasons( "swp2" ), bits( { 7 } ) );
}

TEST_F( LinuxReasonBit, HoldsOfTheOneBeforeAreReleasedWithoutAHost ) {
   holdBySix();
   process.reset();
   std::vector< std::string > devices;
   for ( auto const& [ device, error ] :
         ostra::LinuxDriver( options(), say() ).releaseAll() ) {
      EXPECT_EQ( error, "" );
      devices.push_back( device );
   }
   EXPECT_THAT( devices, ElementsAre( "swp1", "swp2" ) );
   EXPECT_TRUE( lab->link( "swp1" )->isCarrying() );
   EXPECT_EQ( reasons( "swp2" ), bits( { 7 } ) );
}

TEST_F( LinuxReasonBit, TheOneOfABootBeforeIsAnothers ) {
   holdBySix( "boot 0" );
   start();
   EXPECT_EQ( reasons( "swp1" ), bits( { 6, 9 } ) );
}

TEST_F( LinuxReasonBit, WhatTheKernelRefusesIsSaidAndDoneByTheNextHost ) {
   holdBySix();
   auto const asks = requests;
   bool const isRefusing = true;
   requests = [ &isRefusing ] {
      return std::make_unique< ostra::KernelThatRefuses >( isRefusing );
   };
   start();
   EXPECT_THAT(
      said,
      Contains( "device swp1: held by this host for reason 6: Operation not permitted" ) );
   EXPECT_EQ( reasons( "swp1" ), bits( { 6 } ) );
   settle();
   requests = asks;
   start();
   EXPECT_EQ( reasons( "swp1" ), bits( { 9 } ) );
}
