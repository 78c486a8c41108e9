// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/Plugin>

#include <host/Failure>

#include <Ryx/Exception>

#include <fmt/format.h>

#include <array>
#include <filesystem>

namespace ostra {

namespace {

constexpr std::string_view agentTypeName = "OstraMlag::Agent";
constexpr std::array< std::string_view, 2 > childNames{ "ethPeerIntfStatusReactor",
                                                        "mlagErrdisableSm" };

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

[[noreturn]] void
fail( std::string const& path, std::string const& why ) {
   throw Failure( ExitStatus::badPlugin, fmt::format( "plug-in {}: {}", path, why ) );
}

Ryx::PluginLibrary
load( std::string const& path ) {
   try {
      return Ryx::PluginLibrary( path );
   } catch ( Ryx::RangeException const& refusal ) {
      fail( path, refusal.what() );
   }
}

RyxType const&
agentTypeOf( std::string const& path ) {
   RyxType const* const type = RyxType::type( Ryx::Name( agentTypeName ) );
   if ( !type || !type->code().construct ) {
      fail( path, fmt::format( "expected a library that defines {}", agentTypeName ) );
   }
   for ( std::string_view name : childNames ) {
      RyxAttr const* const child = type->attr( Ryx::Name( name ) );
      if ( !child || !child->has( Flags::isInstantiating ) ) {
         fail( path, fmt::format( "{} has no child {}", agentTypeName, name ) );
      }
   }
   return *type;
}

} // namespace

Plugin::Plugin( std::optional< std::string > const& path )
      : library_( load( path ? asPath( *path ) : defaultPath() ) ),
        agentType_( &agentTypeOf( library_.path() ) ) {}

} // namespace ostra
