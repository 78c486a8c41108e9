// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/PluginLibrary>

#include <Ryx/Exception>
#include <Ryx/RefusedUnit>
#include <Ryx/VersionNote>

#include <bit>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <vector>

#include <dlfcn.h>
#include <elf.h>
#include <link.h>

namespace Ryx {

namespace {

using FileHeader = ElfW( Ehdr );
using Segment = ElfW( Phdr );
// The same in files for 32 and 64 bits.
using NoteHeader = Elf64_Nhdr;

constexpr auto nativeClass = sizeof( void* ) == 8 ? ELFCLASS64 : ELFCLASS32;
constexpr auto nativeOrder =
   std::endian::native == std::endian::little ? ELFDATA2LSB : ELFDATA2MSB;
// In octets. Longer ones are those of a broken file.
constexpr std::uint64_t longestNotes = 1u << 20;

// The notes of a library's file. Whatever the file has in it, nothing but the file is read.
class LibraryFile {
 public:
   explicit LibraryFile( String8 const& path ) : file_( path, std::ios::binary ) {
      isReadable_ = read( 0, &header_, sizeof( header_ ) ) &&
         std::memcmp( header_.e_ident, ELFMAG, SELFMAG ) == 0 &&
         header_.e_ident[ EI_CLASS ] == nativeClass &&
         header_.e_ident[ EI_DATA ] == nativeOrder &&
         header_.e_phentsize == sizeof( Segment );
   }

   // Whether it begins like a library for this machine.
   bool isReadable() const { return isReadable_; }

   String8 frameworkVersion() {
      for ( unsigned i = 0; isReadable_ && i < header_.e_phnum; ++i ) {
         Segment segment;
         if ( !read(
                 header_.e_phoff + i * sizeof( segment ), &segment, sizeof( segment ) ) ) {
            break;
         }
         if ( segment.p_type != PT_NOTE || segment.p_filesz > longestNotes ) {
            continue;
         }
         std::vector< char > notes( segment.p_filesz );
         if ( read( segment.p_offset, notes.data(), notes.size() ) ) {
            if ( auto const version = versionIn( notes, segment.p_align ) ) {
               return *version;
            }
         }
      }
      return {};
   }

 private:
   bool read( std::uint64_t offset, void* to, std::size_t size ) {
      file_.clear();
      file_.seekg( static_cast< std::streamoff >( offset ) );
      file_.read( static_cast< char* >( to ), static_cast< std::streamsize >( size ) );
      return file_.good();
   }

   static std::uint64_t padded( std::uint64_t size, std::uint64_t alignment ) {
      return ( size + alignment - 1 ) / alignment * alignment;
   }

   static std::optional< String8 >
   versionIn( std::vector< char > const& notes, std::uint64_t alignment ) {
      std::uint64_t const step = alignment == 8 ? 8 : 4;
      std::uint64_t at = 0;
      while ( notes.size() - at >= sizeof( NoteHeader ) ) {
         NoteHeader note;
         std::memcpy( &note, notes.data() + at, sizeof( note ) );
         std::uint64_t const owner = at + sizeof( note );
         std::uint64_t const text = at + padded( sizeof( note ) + note.n_namesz, step );
         std::uint64_t const end = text + padded( note.n_descsz, step );
         if ( end > notes.size() ) {
            break;
         }
         if ( isVersion( note, notes.data() + owner ) ) {
            char const* const version = notes.data() + text;
            return String8( version, strnlen( version, note.n_descsz ) );
         }
         at = end;
      }
      return std::nullopt;
   }

   static bool isVersion( NoteHeader const& note, char const* owner ) {
      return note.n_type == detail::versionNoteType && note.n_descsz != 0 &&
         note.n_namesz == sizeof( detail::versionNoteOwner ) &&
         std::memcmp( owner, detail::versionNoteOwner, note.n_namesz ) == 0;
   }

   std::ifstream file_;
   FileHeader header_{};
   bool isReadable_;
};

// Major and minor.
std::string_view
release( std::string_view version ) {
   return version.substr( 0, version.find( '.', version.find( '.' ) + 1 ) );
}

void
checkVersion( String8 const& version ) {
   if ( version.empty() ) {
      throwRangeException(
         "no plug-in: it does not say which version of the framework it was built for" );
   }
   if ( !isCompatible( version ) ) {
      throwRangeException(
         "built for version " + version + " of the framework: expected " +
         String8( release( frameworkVersion ) ) );
   }
}

// The loader's reason, which mostly begins with the path.
[[noreturn]] void
throwLoaderError( String8 const& path ) {
   char const* const text = dlerror();
   String8 error = text ? text : "cannot be loaded";
   String8 const prefix = path + ": ";
   if ( error.starts_with( prefix ) ) {
      error.erase( 0, prefix.size() );
   }
   throwRangeException( error );
}

// What the loader knows of a library.
link_map const&
mapOf( void* handle ) {
   link_map const* map = nullptr;
   if ( dlinfo( handle, RTLD_DI_LINKMAP, &map ) != 0 || !map ) {
      throwRangeException( "the loader does not know it" );
   }
   return *map;
}

// Where in memory the library with that address begins; null if no library has it.
void const*
loadedAt( void const* address ) {
   Dl_info info;
   return dladdr( address, &info ) ? info.dli_fbase : nullptr;
}

// Throws the reason of the first unit that was refused after `known`, or in the library: one
// that stayed in memory when it was refused before has no other chance.
void
checkRegistration( link_map const& library, RefusedUnit const* known ) {
   RefusedUnit const* first = nullptr;
   bool isNew = true;
   for ( auto const* unit = RefusedUnit::last(); unit; unit = unit->before() ) {
      isNew = isNew && unit != known;
      if ( isNew || loadedAt( unit ) == loadedAt( library.l_ld ) ) {
         first = unit;
      }
   }
   if ( first ) {
      throwRangeException( first->reason() );
   }
}

bool
hasPath( String8 const& name ) {
   return name.find( '/' ) != String8::npos;
}

} // namespace

bool
isCompatible( std::string_view version ) noexcept {
   return release( version ) == release( frameworkVersion );
}

PluginLibrary::PluginLibrary( String8 const& path ) {
   // What cannot be read the loader refuses, too, and says why.
   if ( LibraryFile file( path ); hasPath( path ) && file.isReadable() ) {
      checkVersion( file.frameworkVersion() );
   }
   RefusedUnit::Inquiry const inquiry;
   RefusedUnit const* const refusedBefore = RefusedUnit::last();
   handle_ = dlopen( path.c_str(), RTLD_NOW | RTLD_LOCAL );
   if ( !handle_ ) {
      throwLoaderError( path );
   }
   try {
      link_map const& library = mapOf( handle_ );
      // The loader has no name for the program itself.
      path_ = *library.l_name ? library.l_name : path;
      checkVersion( builtFor( path_ ) );
      checkRegistration( library, refusedBefore );
   } catch ( ... ) {
      dlclose( handle_ );
      throw;
   }
}

PluginLibrary::~PluginLibrary() {
   dlclose( handle_ );
}

String8
PluginLibrary::builtFor( String8 const& path ) {
   return LibraryFile( path ).frameworkVersion();
}

String8
PluginLibrary::directory() {
   Dl_info info;
   if ( !dladdr( reinterpret_cast< void const* >( &isCompatible ), &info ) ) {
      return {};
   }
   std::error_code error;
   auto const directory = std::filesystem::path( info.dli_fname ).parent_path();
   auto const plain = std::filesystem::canonical( directory, error );
   return error ? directory.string() : plain.string();
}

} // namespace Ryx
