// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <plugin/LoadedPlugin>

#include <dlfcn.h>

#include <filesystem>
#include <fstream>

LoadedPlugin::LoadedPlugin( std::string const& path )
      : handle_( dlopen( path.c_str(), RTLD_NOW | RTLD_LOCAL ) ) {
   if ( !handle_ ) {
      error_ = dlerror();
   }
}

void
LoadedPlugin::close() {
   if ( handle_ ) {
      dlclose( handle_ );
      handle_ = nullptr;
   }
}

bool
LoadedPlugin::isLoaded( std::string const& path ) {
   void* const handle = dlopen( path.c_str(), RTLD_NOW | RTLD_NOLOAD );
   if ( handle ) {
      dlclose( handle );
   }
   return handle != nullptr;
}

bool
LoadedPlugin::isMapped() {
   std::string const file = std::filesystem::path( OSTRA_PLUGIN ).filename().string();
   std::ifstream maps( "/proc/self/maps" );
   for ( std::string line; std::getline( maps, line ); ) {
      if ( line.find( file ) != std::string::npos ) {
         return true;
      }
   }
   return false;
}
