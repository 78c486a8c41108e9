// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/state/Plugin>

#include <host/base/Failure>
#include <host/state/MountTable>

#include <Ryx/Exception>

#include <fmt/format.h>

#include <array>
#include <filesystem>

namespace ostra {

namespace {

constexpr std::string_view agentTypeName = "OstraMlag::Agent";
constexpr std::array< std::string_view, 2 > agentChildren{ peerReactorKey, machineKey };

// One that was copied may stand next to the program; otherwise it is where the libraries
// are.
std::string
defaultPath() {
   std::error_code error;
   auto const program = std::filesystem::read_symlink( "/proc/self/exe", error );
   for ( std::filesystem::path const& directory :
         { program.parent_path(),
           std::filesystem::path( Ryx::PluginLibrary::directory() ) } ) {
      auto const candidate = directory / OSTRA_PLUGIN_FILE;
      if ( !directory.empty() && std::filesystem::exists( candidate, error ) ) {
         return candidate.string();
      }
   }
   return OSTRA_PLUGIN_FILE;
}

// A name without a slash would be looked for along the loader's path.
std::string
asPath( std::string const& path ) {
   return path.find( '/' ) == std::string::npos ? "./" + path : path;
}

// `name`: the plug-in as the user knows it.
[[noreturn]] void
fail( std::string const& name, std::string const& why, std::string const& expected ) {
   throw Failure(
      ExitStatus::badPlugin,
      fmt::format( "plug-in {}: {}: expected {}", name, why, expected ) );
}

std::string
expectedLibrary() {
   return fmt::format( "a library that defines {}", agentTypeName );
}

// Opening anything else could wait without end.
void
checkIsFile( std::string const& name, std::string const& path ) {
   std::error_code error;
   auto const status = std::filesystem::status( path, error );
   if ( std::filesystem::exists( status ) && !std::filesystem::is_regular_file( status ) ) {
      fail( name, "no regular file", expectedLibrary() );
   }
}

Ryx::PluginLibrary
load( std::string const& name, std::string const& path ) {
   checkIsFile( name, path );
   try {
      return Ryx::PluginLibrary( path );
   } catch ( Ryx::RangeException const& refusal ) {
      std::string const why = refusal.what();
      std::string const separator = ": expected ";
      std::size_t const end = why.find( separator );
      fail(
         name,
         why.substr( 0, end ),
         end == why.npos ? expectedLibrary() : why.substr( end + separator.size() ) );
   }
}

RyxType const&
agentTypeOf( std::string const& name ) {
   RyxType const* const type = RyxType::type( Ryx::Name( agentTypeName ) );
   if ( !type || !type->code().construct ) {
      fail( name, "no such plug-in", expectedLibrary() );
   }
   for ( std::string_view childName : agentChildren ) {
      RyxAttr const* const child = type->attr( Ryx::Name( childName ) );
      if ( !child || !child->has( Flags::isInstantiating ) ) {
         fail(
            name,
            fmt::format( "{} has no child {}", agentTypeName, childName ),
            fmt::format( "{}", fmt::join( agentChildren, " and " ) ) );
      }
   }
   return *type;
}

} // namespace

Plugin::Plugin( std::optional< std::string > const& path )
      : library_(
           path ? load( *path, asPath( *path ) )
                : load( OSTRA_PLUGIN_FILE, defaultPath() ) ),
        agentType_( &agentTypeOf( path ? *path : library_.path() ) ) {}

} // namespace ostra
