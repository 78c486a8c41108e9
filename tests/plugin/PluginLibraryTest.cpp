// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What a library says about itself, and which ones are taken into the process.

#include <plugin/LoadedPlugin>
#include <plugin/PatchedCopy>

#include <support/Refusal>

#include <Ryx/Log>
#include <Ryx/PluginLibrary>
#include <Ryx/RyxType>
#include <Ryx/Version>

#include <gmock/gmock.h>

#include <dlfcn.h>

#include <filesystem>

using Ryx::PluginLibrary;
using support::refusal;
using testing::EndsWith;

namespace {

std::string
loading( std::string const& path ) {
   return refusal( [ & ] { PluginLibrary const library( path ); } );
}

// The same file, but for the version that it says.
PatchedCopy
copyBuiltFor( std::string const& version ) {
   return PatchedCopy( Ryx::frameworkVersion, version );
}

// The current version without its patch.
std::string const release =
   std::string( Ryx::frameworkVersion )
      .substr( 0, std::string( Ryx::frameworkVersion ).rfind( '.' ) );

class Messages final : public Ryx::LogSink {
 public:
   Messages() { Ryx::logSinkIs( this ); }
   ~Messages() override { Ryx::logSinkIs( nullptr ); }
   Messages( Messages const& ) = delete;
   Messages& operator=( Messages const& ) = delete;

   void log( Ryx::LogRecord const& record ) override { texts.push_back( record.text ); }

   std::vector< std::string > texts;
};

bool
hasCode() {
   auto const* const type = Ryx::RyxType::type( Ryx::Name( "OstraMlag::Agent" ) );
   return type && type->code().construct;
}

} // namespace

TEST( PluginLibrary, IsInTheProcessFromConstructionToDestruction ) {
   {
      PluginLibrary const library( OSTRA_PLUGIN );
      EXPECT_EQ( library.path(), OSTRA_PLUGIN );
      EXPECT_TRUE( hasCode() );
   }
   EXPECT_FALSE( hasCode() );
   EXPECT_FALSE( LoadedPlugin::isMapped() );
}

TEST( PluginLibrary, IsFoundByNameWhereTheLoaderLooks ) {
   std::filesystem::path const file( OSTRA_PLUGIN );
   PluginLibrary const library( file.filename() );
   EXPECT_EQ( std::filesystem::canonical( library.path() ), file );
}

TEST( PluginLibrary, StandsBesideTheFramework ) {
   EXPECT_EQ(
      PluginLibrary::directory(), std::filesystem::path( OSTRA_PLUGIN ).parent_path() );
}

TEST( PluginLibrary, SaysTheVersionItWasBuiltFor ) {
   EXPECT_EQ( PluginLibrary::builtFor( OSTRA_PLUGIN ), Ryx::frameworkVersion );
   EXPECT_EQ( PluginLibrary::builtFor( copyBuiltFor( "7.8.9" ).path() ), "7.8.9" );
}

TEST( PluginLibrary, AnotherPatchIsCompatibleAndAnotherMinorVersionIsNot ) {
   std::string const version = Ryx::frameworkVersion;
   for ( std::string const& same : { version, release + ".99", release } ) {
      EXPECT_TRUE( Ryx::isCompatible( same ) ) << same;
   }
   for ( std::string const& other :
         { "9" + version, release + "0.0", release.substr( 0, 1 ), std::string() } ) {
      EXPECT_FALSE( Ryx::isCompatible( other ) ) << other;
   }
   EXPECT_EQ( loading( copyBuiltFor( release + ".9" ).path() ), "" );
}

TEST( PluginLibrary, ForAnotherVersionIsRefusedBeforeAnythingOfItRuns ) {
   std::size_t const types = Ryx::RyxType::types().size();
   EXPECT_EQ(
      loading( copyBuiltFor( "9.1.0" ).path() ),
      "built for version 9.1.0 of the framework: expected " + release );
   EXPECT_EQ( Ryx::RyxType::types().size(), types );
}

TEST( PluginLibrary, WithoutAVersionIsRefused ) {
   constexpr char refused[] =
      "no plug-in: it does not say which version of the framework it was built for";
   EXPECT_EQ( loading( "libm.so.6" ), refused );
   EXPECT_EQ( loading( PatchedCopy( "Ryx", "ryx" ).path() ), refused );
   EXPECT_EQ( PluginLibrary::builtFor( PatchedCopy( "Ryx", "ryx" ).path() ), "" );
}

TEST( PluginLibrary, ThatCannotBeLoadedIsRefusedWithTheLoadersReason ) {
   EXPECT_THAT( loading( "/nonexistent.so" ), EndsWith( "No such file or directory" ) );
   EXPECT_THAT( loading( "nonexistent.so" ), EndsWith( "No such file or directory" ) );
   EXPECT_EQ( loading( "/proc/self/comm" ), "file too short" );
   EXPECT_EQ( PluginLibrary::builtFor( "/nonexistent.so" ), "" );
   EXPECT_EQ( PluginLibrary::builtFor( "/tmp" ), "" );
}

// Each time, and nothing of what it says stays.
TEST( PluginLibrary, ThatContradictsWhatIsRegisteredIsRefused ) {
   auto const* const config = Ryx::RyxType::type( Ryx::Name( "Mlag::Config" ) );
   auto const attributes = config->attributeQ();
   Messages const messages;
   for ( int i = 0; i < 2; ++i ) {
      EXPECT_EQ(
         loading( OSTRA_CONTRADICTING_PLUGIN ),
         "attribute 258 \"speed\" of Mlag::Config is already registered as 258 "
         "\"enabled\"" );
   }
   EXPECT_EQ( config->attributeQ(), attributes );
   EXPECT_NE( config->code().construct, nullptr );
   EXPECT_EQ( loading( OSTRA_PLUGIN ), "" );
   EXPECT_TRUE( messages.texts.empty() );
}

// Nobody else would ask for the reason.
TEST( PluginLibrary, ThatIsLoadedByOtherMeansAndIsRefusedIsLogged ) {
   // One that was refused before may still be there, and would not be loaded again.
   std::filesystem::path const copy = testing::TempDir() + "refused.so";
   std::filesystem::copy_file(
      OSTRA_CONTRADICTING_PLUGIN, copy, std::filesystem::copy_options::overwrite_existing );
   Messages const messages;
   void* const handle = dlopen( copy.c_str(), RTLD_NOW );
   std::filesystem::remove( copy );
   ASSERT_NE( handle, nullptr );
   dlclose( handle );
   EXPECT_THAT(
      messages.texts,
      testing::ElementsAre(
         copy.string() +
         ": the types of its unit \"Mlag\" are not registered: attribute 258 \"speed\" of "
         "Mlag::Config is already registered as 258 \"enabled\"" ) );
}

// A broken file has a version or none; whatever it has is read from within it.
TEST( PluginLibrary, BrokenFilesSayNoVersion ) {
   PatchedCopy const copy( Ryx::frameworkVersion, Ryx::frameworkVersion );
   for ( std::size_t at = 0; at < copy.noteEnd(); at += at < 1024 ? 1 : 13 ) {
      PatchedCopy::Change const change( copy, at, char( 0xff ) );
      EXPECT_LT( PluginLibrary::builtFor( copy.path() ).size(), 64u ) << at;
   }
   EXPECT_EQ( PluginLibrary::builtFor( copy.path() ), Ryx::frameworkVersion );
   for ( std::size_t size = copy.noteEnd() + 1; size-- > 0; ) {
      std::filesystem::resize_file( copy.path(), size );
      EXPECT_LT( PluginLibrary::builtFor( copy.path() ).size(), 64u ) << size;
   }
   EXPECT_EQ( PluginLibrary::builtFor( copy.path() ), "" );
}
