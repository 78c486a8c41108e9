// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Two copies of the plug-in in one process, as during an upgrade: the same library under
// two file names.

#include <plugin/LoadedPlugin>
#include <plugin/Switch>

#include <gtest/gtest.h>

#include <filesystem>

#include <unistd.h>

namespace {

using support::get;
using support::Object;
using support::text;

// The library under a second name, as long as this exists.
class Copy {
 public:
   Copy()
         : path_(
              std::filesystem::temp_directory_path() /
              ( "upgrade-" + std::to_string( getpid() ) + ".so" ) ) {
      std::filesystem::copy_file(
         OSTRA_PLUGIN, path_, std::filesystem::copy_options::overwrite_existing );
   }
   ~Copy() { std::filesystem::remove( path_ ); }
   Copy( Copy const& ) = delete;
   Copy& operator=( Copy const& ) = delete;

   std::string path() const { return path_.string(); }

 private:
   std::filesystem::path path_;
};

void
expectCode( bool present ) {
   for ( char const* name : pluginTypes ) {
      EXPECT_EQ( support::type( name ).code().wrap != nullptr, present ) << name;
   }
   EXPECT_EQ( support::type( "OstraMlag::Agent" ).code().construct != nullptr, present );
}

class Upgrade : public testing::Test {
 protected:
   Upgrade() {
      EXPECT_EQ( old.error(), "" );
      EXPECT_EQ( upgraded.error(), "" );
      EXPECT_TRUE( LoadedPlugin::isLoaded() );
      EXPECT_TRUE( LoadedPlugin::isLoaded( copy.path() ) );
   }

   Copy const copy;
   LoadedPlugin old;
   LoadedPlugin upgraded{ copy.path() };
};

TEST_F( Upgrade, BothServe ) {
   expectCode( true );
   liveASmallLife();
}

TEST_F( Upgrade, TheNewOneServesWhenTheOldOneIsUnloaded ) {
   old.close();
   ASSERT_FALSE( LoadedPlugin::isLoaded() );
   expectCode( true );
   liveASmallLife();
   upgraded.close();
   expectCode( false );
}

TEST_F( Upgrade, TheOldOneServesWhenTheNewOneIsUnloaded ) {
   upgraded.close();
   ASSERT_FALSE( LoadedPlugin::isLoaded( copy.path() ) );
   expectCode( true );
   liveASmallLife();
   old.close();
   expectCode( false );
}

// An object is reached through the code of its own copy, whichever was loaded last.
class UpgradeOfAnAgent : public testing::Test {
 protected:
   UpgradeOfAnAgent() { device.agentIs(); }

   Copy const copy;
   LoadedPlugin const old;
   Switch device;
};

TEST_F( UpgradeOfAnAgent, AnObjectIsReachedThroughItsOwnCopy ) {
   LoadedPlugin upgraded{ copy.path() };
   Object const machine = get( device.agent(), "mlagErrdisableSm" );
   Object const reactor = get( device.agent(), "ethPeerIntfStatusReactor" );
   upgraded.close();
   ASSERT_FALSE( LoadedPlugin::isLoaded( copy.path() ) );
   EXPECT_EQ( text( get( machine, "initialized" ) ), "true" );
   EXPECT_EQ( text( get( reactor, "allIntfStatusDir" ) ), "all" );
}

} // namespace
