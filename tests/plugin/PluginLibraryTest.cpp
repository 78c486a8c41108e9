// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What a library says about itself, and which ones are taken into the process.

#include <plugin/LoadedPlugin>
#include <plugin/NotedFile>
#include <plugin/PatchedCopy>

#include <support/Messages>
#include <support/Refusal>

#include <Ryx/Log>
#include <Ryx/PluginLibrary>
#include <Ryx/RefusedUnit>
#include <Ryx/RyxType>
#include <Ryx/Version>

#include <gmock/gmock.h>

#include <dlfcn.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

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

bool
hasCode() {
   auto const* const type = Ryx::RyxType::type( Ryx::Name( "OstraMlag::Agent" ) );
   return type && type->code().construct;
}

std::string
versionIn( std::string const& notes, std::size_t alignment = 4 ) {
   return PluginLibrary::builtFor( NotedFile( notes, alignment ).path() );
}

std::string const owner( "Ryx", 4 );

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
   // The loader takes it for the program.
   EXPECT_EQ( loading( "" ), refused );
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

// The library that it needs, and lacks, is named.
TEST( PluginLibrary, WhoseDependencyIsMissingIsRefusedWithTheLoadersReason ) {
   std::ostringstream content;
   content << std::ifstream( OSTRA_PLUGIN, std::ios::binary ).rdbuf();
   std::string changed = content.str();
   std::string const needed = "libRyxTypes.so";
   std::string const missing = "libNowhere1.so";
   ASSERT_NE( changed.find( needed ), changed.npos );
   for ( std::size_t at = 0; ( at = changed.find( needed, at ) ) != changed.npos; ) {
      changed.replace( at, needed.size(), missing );
   }
   std::string const copy = testing::TempDir() + "needing.so";
   std::ofstream( copy, std::ios::binary ) << changed;
   EXPECT_THAT(
      loading( copy ),
      testing::MatchesRegex(
         "libNowhere1\\.so[.0-9]*: cannot open shared object file: .*" ) );
   std::filesystem::remove( copy );
}

// Each time, and nothing of what it says stays.
TEST( PluginLibrary, ThatContradictsWhatIsRegisteredIsRefused ) {
   auto const* const config = Ryx::RyxType::type( Ryx::Name( "Mlag::Config" ) );
   auto const attributes = config->attributeQ();
   support::Messages const messages;
   for ( int i = 0; i < 2; ++i ) {
      EXPECT_EQ(
         loading( OSTRA_CONTRADICTING_PLUGIN ),
         "attribute 258 \"speed\" of Mlag::Config is already registered as 258 "
         "\"enabled\"" );
   }
   EXPECT_EQ( config->attributeQ(), attributes );
   EXPECT_NE( config->code().construct, nullptr );
   EXPECT_EQ( loading( OSTRA_PLUGIN ), "" );
   EXPECT_TRUE( messages.texts().empty() );
}

// One that stays in memory registers nothing when it is loaded again.
TEST( PluginLibrary, ThatWasRefusedAndStaysInMemoryIsRefusedAgain ) {
   support::Messages const messages;
   void* const handle = dlopen( OSTRA_CONTRADICTING_PLUGIN, RTLD_NOW );
   ASSERT_NE( handle, nullptr );
   Ryx::RefusedUnit notOfALibrary;
   try {
      throw std::runtime_error( "another reason" );
   } catch ( ... ) {
      notOfALibrary.refuse( "unit" );
   }
   for ( int i = 0; i < 2; ++i ) {
      EXPECT_THAT( loading( OSTRA_CONTRADICTING_PLUGIN ), EndsWith( "\"enabled\"" ) );
      EXPECT_EQ( loading( OSTRA_PLUGIN ), "" );
   }
   dlclose( handle );
}

// Nobody else would ask for the reason.
TEST( PluginLibrary, ThatIsLoadedByOtherMeansAndIsRefusedIsLogged ) {
   // One that was refused before may still be there, and would not be loaded again.
   std::filesystem::path const copy = testing::TempDir() + "refused.so";
   std::filesystem::copy_file(
      OSTRA_CONTRADICTING_PLUGIN, copy, std::filesystem::copy_options::overwrite_existing );
   support::Messages const messages;
   void* const handle = dlopen( copy.c_str(), RTLD_NOW );
   std::filesystem::remove( copy );
   ASSERT_NE( handle, nullptr );
   dlclose( handle );
   EXPECT_THAT(
      messages.texts(),
      testing::ElementsAre(
         copy.string() +
         ": the types of its unit \"Mlag\" are not registered: attribute 258 \"speed\" of "
         "Mlag::Config is already registered as 258 \"enabled\"" ) );
}

TEST( PluginLibrary, TheVersionIsInTheNoteOfItsOwnerAndType ) {
   std::string const right = NotedFile::note( 1, owner, "1.2.3" );
   EXPECT_EQ( versionIn( right ), "1.2.3" );
   EXPECT_EQ( versionIn( "" ), "" );
   for ( std::string const& other :
         { NotedFile::note( 1, owner, "" ),
           NotedFile::note( 2, owner, "2.0.0" ),
           NotedFile::note( 1, std::string( "GNU", 4 ), "3.0.0" ),
           NotedFile::note( 1, owner + "x", "4.0.0" ),
           NotedFile::note( 7, "", "" ) } ) {
      EXPECT_EQ( versionIn( other ), "" );
      EXPECT_EQ( versionIn( other + right + other ), "1.2.3" );
   }
   EXPECT_EQ( versionIn( right + NotedFile::note( 1, owner, "9.9.9" ) ), "1.2.3" );
}

TEST( PluginLibrary, NotesOfASegmentMayBeAlignedTo8 ) {
   std::string const property =
      NotedFile::note( 5, std::string( "GNU", 4 ), std::string( 16, 'p' ), 8 );
   ASSERT_EQ( property.size(), 32u );
   for ( std::size_t length = 1; length < 10; ++length ) {
      std::string const version( length, '1' );
      std::string const own = NotedFile::note( 1, owner, version, 8 );
      EXPECT_EQ( versionIn( own, 8 ), version );
      EXPECT_EQ( versionIn( property + own, 8 ), version );
      EXPECT_EQ( versionIn( own + property, 8 ), version );
   }
}

TEST( PluginLibrary, NotesThatCannotBeReadSayNoVersion ) {
   std::string const note = NotedFile::note( 1, owner, "1.2.3" );
   for ( std::size_t size : { note.size() + 1, std::size_t{ 2 } << 20 } ) {
      EXPECT_EQ( PluginLibrary::builtFor( NotedFile( note, 4, size ).path() ), "" );
   }
   std::string const most = note + std::string( ( 1u << 20 ) - note.size(), '\0' );
   EXPECT_EQ( versionIn( most ), "1.2.3" );
   EXPECT_EQ( versionIn( most + '\0' ), "" );
   // A note that goes on behind the end of its segment.
   EXPECT_EQ( versionIn( note.substr( 0, note.size() - 4 ) ), "" );
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
