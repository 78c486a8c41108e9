// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Which devices were taken down is on the disk, also on one that is full.

#include "LinuxSwitch"
#include "SmallDisk"

#include <host/base/Failure>
#include <host/base/Json>
#include <host/linux/TakenDown>

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include <sys/wait.h>
#include <unistd.h>

using ostra::Json;
using ostra::SmallDisk;
using ostra::TakenDown;
using testing::IsEmpty;

namespace {

class TakenDownTest : public ostra::LinuxSwitch {
 protected:
   std::string state() const { return directory.path() + "/state"; }
   std::string file() const { return state() + "/taken-down.json"; }
   Json content() const {
      std::ifstream in( file() );
      return Json::parse( in );
   }
   std::set< int > onTheDisk() {
      TakenDown behind( file(), "boot 1" );
      behind.read( say() );
      return behind.indexes();
   }
   static ostra::Link link( int index ) {
      ostra::Link link;
      link.index = index;
      link.name = port( index );
      return link;
   }
   static void add( TakenDown& to, int first, int end ) {
      for ( int i = first; i < end; ++i ) {
         to.add( link( i ) );
      }
   }
};

} // namespace

TEST_F( TakenDownTest, IsForgottenOnADiskThatIsFull ) {
   SmallDisk const disk( state(), 256 );
   if ( !disk.problem().empty() ) {
      GTEST_SKIP() << disk.problem();
   }
   TakenDown taken( file(), "boot 1" );
   taken.reasonBitIs( 6 );
   taken.write();
   // More than a page of the disk.
   add( taken, 1, 1001 );
   taken.write();
   disk.fill();
   ASSERT_EQ( disk.freeKibibytes(), 0U );
   for ( int left = 1000; left > 0; left /= 3 ) {
      for ( int i = left / 3 + 1; i <= left; ++i ) {
         taken.remove( i );
      }
      taken.write();
      EXPECT_EQ( onTheDisk(), taken.indexes() );
   }
   EXPECT_THAT( onTheDisk(), IsEmpty() );
   EXPECT_EQ( content().at( "reasonBit" ), 6 );
   EXPECT_THAT( said, IsEmpty() );
}

TEST_F( TakenDownTest, IsNotWrittenWithoutRoomForForgettingIt ) {
   SmallDisk const disk( state(), 256 );
   if ( !disk.problem().empty() ) {
      GTEST_SKIP() << disk.problem();
   }
   TakenDown taken( file(), "boot 1" );
   add( taken, 1, 101 );
   taken.write();
   disk.fill( 40 );
   // Of about 28 kB, for which there is room once.
   add( taken, 101, 1001 );
   try {
      taken.write();
      ADD_FAILURE();
   } catch ( ostra::Failure const& failure ) {
      EXPECT_EQ( failure.what(), file() + ": cannot be written: No space left on device" );
   }
   for ( int i = 101; i < 1001; ++i ) {
      taken.remove( i );
   }
   disk.fill();
   taken.write();
   EXPECT_EQ( onTheDisk(), taken.indexes() );
   disk.clear();
   add( taken, 101, 1001 );
   taken.write();
   EXPECT_EQ( onTheDisk().size(), 1000U );
}

TEST_F(
   TakenDownTest, APortThatIsReleasedWithoutAHostIsTheOperatorsAlsoWhenTheDiskIsFull ) {
   SmallDisk const disk( state(), 256 );
   if ( !disk.problem().empty() ) {
      GTEST_SKIP() << disk.problem();
   }
   config.fallback = ostra::Fallback::adminDown;
   lab->addVeth( "swp5", "other" );
   start();
   ASSERT_FALSE( lab->link( "swp5" )->isUp() );
   process.reset();
   driver.reset();
   disk.fill();
   {
      ostra::LinuxDriver offline( options(), say() );
      offline.releaseAll();
      EXPECT_NO_THROW( offline.remember() );
   }
   EXPECT_TRUE( lab->link( "swp5" )->isUp() );
   EXPECT_THAT( content().at( "devices" ), IsEmpty() );
   lab->isUpIs( "swp5", false );
   ostra::LinuxDriver( options(), say() ).releaseAll();
   EXPECT_FALSE( lab->link( "swp5" )->isUp() );
   EXPECT_THAT( said, IsEmpty() );
}

// The service is another user, to whom the directory belongs; who releases without a host is
// root.
TEST_F( TakenDownTest, IsWrittenWhereRootHasWrittenBefore ) {
   constexpr uid_t service = 65534;
   if ( geteuid() != 0 ) {
      GTEST_SKIP() << "only root may be another user";
   }
   for ( std::string const& path : { directory.path(), state() } ) {
      std::filesystem::create_directories( path );
      std::filesystem::permissions( path, std::filesystem::perms( 0755 ) );
   }
   for ( char const* suffix : { "", ".new" } ) {
      std::filesystem::remove( file() );
      std::filesystem::remove( file() + ".new" );
      std::ofstream( file() + suffix ) << R"({"boot":"boot 1","devices":[]})" << '\n';
      std::filesystem::permissions( file() + suffix, std::filesystem::perms( 0644 ) );
      ASSERT_EQ( chown( state().c_str(), service, service ), 0 );
      pid_t const child = fork();
      if ( child == 0 ) {
         int status = setuid( service ) == 0 ? 0 : 1;
         try {
            TakenDown taken( file(), "boot 1" );
            for ( int i = 1; i <= 3 && status == 0; ++i ) {
               add( taken, i, i + 1 );
               taken.write();
            }
         } catch ( ostra::Failure const& ) {
            status = 2;
         }
         _exit( status );
      }
      int status = 0;
      ASSERT_EQ( waitpid( child, &status, 0 ), child );
      EXPECT_EQ( status, 0 ) << file() << suffix;
      EXPECT_THAT( onTheDisk(), testing::ElementsAre( 1, 2, 3 ) );
   }
}

TEST_F( TakenDownTest, ThatStillNamesReleasedPortsIsSaid ) {
   config.fallback = ostra::Fallback::adminDown;
   lab->addVeth( "swp5", "other" );
   start();
   process.reset();
   driver.reset();
   std::filesystem::remove( file() + ".new" );
   std::filesystem::create_directory( file() + ".new" );
   ostra::LinuxDriver offline( options(), say() );
   offline.releaseAll();
   try {
      offline.remember();
      ADD_FAILURE();
   } catch ( ostra::Failure const& failure ) {
      EXPECT_EQ(
         failure.what(),
         file() +
            ": cannot be written: Is a directory: it names ports that are released: "
            "expected room for it, and the same command again" );
   }
   std::filesystem::remove( file() + ".new" );
   ostra::LinuxDriver again( options(), say() );
   again.releaseAll();
   again.remember();
   EXPECT_THAT( content().at( "devices" ), IsEmpty() );
}
