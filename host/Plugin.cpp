// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/Plugin>

#include <host/Failure>

#include <dlfcn.h>
#include <fmt/format.h>

#include <filesystem>

namespace ostra {

namespace {

constexpr char agentTypeName[] = "OstraMlag::Agent";

// The build tree and an installed one have the plug-in in lib beside bin; a copied one may
// stand next to the program.
std::string
defaultPath() {
   std::error_code error;
   auto const program = std::filesystem::read_symlink( "/proc/self/exe", error );
   if ( !error ) {
      auto const directory = program.parent_path();
      for ( auto const& candidate :
            { directory / OSTRA_PLUGIN_FILE,
              directory.parent_path() / "lib" / OSTRA_PLUGIN_FILE } ) {
         if ( std::filesystem::exists( candidate, error ) ) {
            return candidate.string();
         }
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

// The loader's reason, which mostly begins with the path once more.
std::string
loaderError( std::string const& path ) {
   char const* const text = dlerror();
   std::string error = text ? text : "cannot be loaded";
   std::string const prefix = path + ": ";
   if ( error.starts_with( prefix ) ) {
      error.erase( 0, prefix.size() );
   }
   return error;
}

} // namespace

void
Plugin::Close::operator()( void* library ) const noexcept {
   dlclose( library );
}

Plugin::Plugin( std::optional< std::string > const& path )
      : path_( path ? asPath( *path ) : defaultPath() ),
        library_( dlopen( path_.c_str(), RTLD_NOW | RTLD_LOCAL ) ) {
   if ( !library_ ) {
      fail( path_, loaderError( path_ ) );
   }
   agentType_ = RyxType::type( Ryx::Name( agentTypeName ) );
   if ( !agentType_ || !agentType_->code().construct ) {
      fail( path_, fmt::format( "expected a library that defines {}", agentTypeName ) );
   }
}

} // namespace ostra
