// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/input/File>

#include <host/base/Failure>
#include <host/base/Utf8>

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostra {

namespace {

[[noreturn]] void
failToRead( std::string const& name ) {
   throw Failure(
      ExitStatus::badInput,
      fmt::format( "{}: cannot be read: {}", name, std::strerror( errno ) ) );
}

// An open file, which is closed with this unless it is standard input.
class Descriptor {
 public:
   explicit Descriptor( std::string const& path )
         : number_(
              path == "-" ? STDIN_FILENO : open( path.c_str(), O_RDONLY | O_CLOEXEC ) ) {
      if ( number_ < 0 ) {
         failToRead( path );
      }
   }
   ~Descriptor() {
      if ( number_ != STDIN_FILENO ) {
         close( number_ );
      }
   }
   Descriptor( Descriptor const& ) = delete;
   Descriptor& operator=( Descriptor const& ) = delete;

   // 0 for what is no plain file.
   std::size_t size() const {
      struct stat status;
      bool const isPlain = fstat( number_, &status ) == 0 && S_ISREG( status.st_mode );
      return isPlain ? static_cast< std::size_t >( status.st_size ) : 0;
   }

   // How many octets it got: 0 at the end, less for a failure.
   ssize_t read( char* to, std::size_t most ) const {
      ssize_t count = 0;
      do {
         count = ::read( number_, to, most );
      } while ( count < 0 && errno == EINTR );
      return count;
   }

 private:
   int const number_;
};

} // namespace

std::string
tooLong( std::size_t maxInput ) {
   return fmt::format(
      "longer than {}: expected at most that, or a greater --max-input",
      maxInput % mebibyte == 0 ? fmt::format( "{} MiB", maxInput / mebibyte )
                               : fmt::format( "{} bytes", maxInput ) );
}

File
readFile( std::string const& path, std::size_t maxInput ) {
   constexpr std::size_t portion = 1 << 16;
   File file{ path == "-" ? "<stdin>" : path, {} };
   Descriptor const from( path );
   std::size_t length = 0;
   // One octet more than there is: the end is seen without more memory.
   file.text.reserve( std::min( from.size(), maxInput ) + 1 );
   for ( ssize_t count = 1; count != 0; length += static_cast< std::size_t >( count ) ) {
      if ( length > maxInput ) {
         throw Failure(
            ExitStatus::badInput, fmt::format( "{}: {}", file.name, tooLong( maxInput ) ) );
      }
      std::size_t const room = file.text.capacity() - length;
      file.text.resize( length + ( room == 0 ? portion : std::min( room, portion ) ) );
      count = from.read( file.text.data() + length, file.text.size() - length );
      if ( count < 0 ) {
         failToRead( file.name );
      }
   }
   file.text.resize( length );
   dropByteOrderMark( file.text );
   return file;
}

} // namespace ostra
