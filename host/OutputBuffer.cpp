// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/OutputBuffer>

#include <cerrno>

#include <unistd.h>

namespace ostra {

OutputBuffer::OutputBuffer( int descriptor ) noexcept : descriptor_( descriptor ) {
   setp( buffer_.data(), buffer_.data() + buffer_.size() );
}

OutputBuffer::int_type
OutputBuffer::overflow( int_type c ) {
   if ( sync() != 0 ) {
      return traits_type::eof();
   }
   return traits_type::eq_int_type( c, traits_type::eof() )
      ? traits_type::not_eof( c )
      : sputc( traits_type::to_char_type( c ) );
}

int
OutputBuffer::sync() {
   char const* next = pbase();
   while ( next != pptr() && error_ == 0 ) {
      ssize_t const written =
         ::write( descriptor_, next, static_cast< std::size_t >( pptr() - next ) );
      if ( written >= 0 ) {
         next += written;
      } else if ( errno != EINTR ) {
         error_ = errno;
      }
   }
   setp( buffer_.data(), buffer_.data() + buffer_.size() );
   return error_ == 0 ? 0 : -1;
}

} // namespace ostra
