// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Devices without protodown are taken down, and brought up again.

#include "LinuxSwitch"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class LinuxFallback : public ostra::LinuxSwitch {
 protected:
   LinuxFallback() { config.fallback = ostra::Fallback::adminDown; }
};

} // namespace

TEST_F( LinuxFallback, APortThatWasDownAlreadyIsForgottenAtTheEnd ) {
   lab->addVeth( "swp5", "other" );
   lab->isUpIs( "swp5", false );
   addPorts( 1 );
   start();
   EXPECT_EQ( enforced( "Ethernet5" ), "held" );
   process->pass( 30'000 );
   lab->isUpIs( "swp5", true );
   settle();
   EXPECT_TRUE( lab->link( "swp5" )->isUp() );
   EXPECT_TRUE( shown( "Ethernet5" ).at( "hold" ).is_null() );
   EXPECT_TRUE( process->host().reconciler().isSettled() );
   lab->isUpIs( "swp5", false );
   settle();
   EXPECT_FALSE( lab->link( "swp5" )->isUp() );
}

TEST_F( LinuxFallback, TakesDownWhatCannotBeHeldOtherwiseWhenThatIsAskedFor ) {
   lab->addVeth( "swp5", "other" );
   lab->addVeth( "swp6", "another" );
   lab->isUpIs( "swp6", false );
   addPorts( 1 );
   start();
   EXPECT_TRUE( lab->isHeld( "swp1" ) );
   EXPECT_FALSE( lab->link( "swp5" )->isUp() );
   EXPECT_EQ( enforced( "Ethernet5" ), "held" );
   EXPECT_EQ( enforced( "Ethernet6" ), "held" );
   settle();
   // What it does itself is no configuration.
   EXPECT_EQ( shown( "Ethernet5" ).at( "admin" ), 1 );
   EXPECT_EQ( shown( "Ethernet6" ).at( "admin" ), 2 );
   process->pass( 30'000 );
   settle();
   EXPECT_TRUE( lab->link( "swp5" )->isUp() );
   EXPECT_FALSE( lab->link( "swp6" )->isUp() );
   EXPECT_EQ( shown( "Ethernet5" ).at( "admin" ), 1 );
   EXPECT_EQ( shown( "Ethernet6" ).at( "admin" ), 2 );
   lab->isUpIs( "swp5", false );
   settle();
   EXPECT_EQ( shown( "Ethernet5" ).at( "admin" ), 2 );
}

TEST_F( LinuxFallback, TakesDownAgainWhatComesUpMeanwhileAndBringsItUpAtTheEnd ) {
   lab->addVeth( "swp5", "other" );
   lab->addVeth( "swp6", "another" );
   lab->isUpIs( "swp6", false );
   start();
   for ( char const* device : { "swp5", "swp6" } ) {
      lab->isUpIs( device, true );
   }
   settle();
   for ( char const* device : { "swp5", "swp6" } ) {
      EXPECT_FALSE( lab->link( device )->isUp() ) << device;
   }
   EXPECT_EQ( shown( "Ethernet6" ).at( "admin" ), 1 );
   process->pass( 30'000 );
   for ( char const* device : { "swp5", "swp6" } ) {
      EXPECT_TRUE( lab->link( device )->isUp() ) << device;
   }
}

TEST_F( LinuxFallback, TakesDownAtOnceWhatOnlyTheHoldShowsToBeWithoutProtodown ) {
   // Too many to be asked at once.
   addPorts( 40 );
   lab->addVeth( "swp99", "other" );
   start();
   EXPECT_FALSE( lab->link( "swp99" )->isUp() );
   EXPECT_EQ( enforced( "Ethernet99" ), "held" );
   process->pass( 30'000 );
   EXPECT_TRUE( lab->link( "swp99" )->isUp() );
}

TEST_F( LinuxFallback, IsToldOfBeforeWhileAndAfterItHolds ) {
   lab->addVeth( "swp5", "other" );
   addPorts( 1 );
   start();
   for ( int passed = 0; passed < 2; ++passed ) {
      EXPECT_EQ( shown( "Ethernet1" ).at( "heldBy" ), "protodown" );
      EXPECT_EQ( shown( "Ethernet5" ).at( "heldBy" ), "adminDown" );
      EXPECT_EQ( shown( "Ethernet5" ).at( "protodown" ).at( "supported" ), false );
      process->pass( 30'000 );
      settle();
   }
}

TEST_F( LinuxFallback, IsToldOfWhereItHoldsOnAfterNobodyAsksForItAnyMore ) {
   lab->addVeth( "swp5", "other" );
   start();
   config.fallback = ostra::Fallback::none;
   start();
   EXPECT_EQ( shown( "Ethernet5" ).at( "heldBy" ), "adminDown" );
   process->pass( 30'000 );
   EXPECT_EQ( shown( "Ethernet5" ).at( "heldBy" ), nullptr );
}

TEST_F( LinuxFallback, KnowsWhatAProcessBeforeHasTakenDown ) {
   lab->addVeth( "swp5", "other" );
   lab->addVeth( "swp6", "another" );
   lab->isUpIs( "swp6", false );
   start();
   start();
   settle();
   EXPECT_EQ( shown( "Ethernet5" ).at( "admin" ), 1 );
   EXPECT_EQ( enforced( "Ethernet5" ), "held" );
   // Also when nobody asks for that any more.
   config.fallback = ostra::Fallback::none;
   start();
   EXPECT_FALSE( lab->link( "swp5" )->isUp() );
   process->pass( 30'000 );
   EXPECT_TRUE( lab->link( "swp5" )->isUp() );
   EXPECT_FALSE( lab->link( "swp6" )->isUp() );
}

TEST_F( LinuxFallback, BringsUpNothingThatABootBeforeHasTakenDown ) {
   lab->addVeth( "swp5", "other" );
   start();
   EXPECT_FALSE( lab->link( "swp5" )->isUp() );
   start( "boot 2" );
   process->pass( 30'000 );
   EXPECT_FALSE( lab->link( "swp5" )->isUp() );
}

TEST_F( LinuxFallback, ADamagedMemoryIsSetAsideAndSaid ) {
   addPorts( 1 );
   std::string const state = directory.path() + "/state";
   std::filesystem::create_directories( state );
   for ( char const* text : { "",
                              "{",
                              "[]",
                              R"({"boot":"boot 1","devices":[{}]})",
                              R"({"boot":1,"devices":[]})",
                              R"({"boot":"boot 1","devices":[],"reasonBit":32})" } ) {
      std::ofstream( state + "/taken-down.json" ) << text;
      said.clear();
      start();
      EXPECT_TRUE( lab->isHeld( "swp1" ) ) << text;
      ASSERT_THAT( said, Contains( HasSubstr( "taken-down.json: not what" ) ) ) << text;
   }
   std::filesystem::remove( state + "/taken-down.json" );
   std::filesystem::create_directory( state + "/taken-down.json" );
   said.clear();
   start();
   EXPECT_THAT( said, Contains( HasSubstr( "it is now " ) ) );
   int aside = 0;
   for ( auto const& file : std::filesystem::directory_iterator( state ) ) {
      aside += file.path().filename().string().starts_with( "taken-down.json.aside-" );
   }
   EXPECT_EQ( aside, 7 );
   // What is of another boot is not damaged.
   std::ofstream( state + "/taken-down.json" ) << R"({"boot":"boot 0","devices":[]})";
   said.clear();
   start();
   EXPECT_THAT( said, IsEmpty() );
}

TEST_F( LinuxFallback, TakesNothingDownThatItCannotRemember ) {
   lab->addVeth( "swp5", "other" );
   std::filesystem::create_directories( directory.path() + "/state/taken-down.json.new" );
   start();
   EXPECT_TRUE( lab->link( "swp5" )->isUp() );
   EXPECT_EQ( enforced( "Ethernet5" ), "failed" );
   std::filesystem::remove( directory.path() + "/state/taken-down.json.new" );
   process->pass( 1'000 );
   EXPECT_FALSE( lab->link( "swp5" )->isUp() );
   EXPECT_EQ( enforced( "Ethernet5" ), "held" );
}
