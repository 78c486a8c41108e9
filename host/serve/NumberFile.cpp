// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/NumberFile>

#include <fmt/format.h>

#include <charconv>
#include <fstream>

#include <fcntl.h>
#include <unistd.h>

namespace ostra {

namespace {

constexpr int digits = 20;
constexpr std::int64_t greatest = std::int64_t( 1 ) << 53;

} // namespace

NumberFile::NumberFile( std::string path ) : path_( std::move( path ) ) {}

NumberFile::~NumberFile() {
   letGo();
}

void
NumberFile::letGo() {
   if ( file_ >= 0 ) {
      close( file_ );
      file_ = -1;
   }
}

std::int64_t
NumberFile::number() const {
   std::string text;
   std::ifstream in( path_ );
   std::getline( in, text );
   std::int64_t number = 0;
   std::from_chars( text.data(), text.data() + text.size(), number );
   return number > 0 && number <= greatest ? number : 0;
}

bool
NumberFile::numberIs( std::int64_t number ) {
   if ( file_ < 0 ) {
      file_ = open( path_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600 );
   }
   std::string const text = fmt::format( "{:0{}}\n", number, digits );
   return file_ >= 0 &&
      pwrite( file_, text.data(), text.size(), 0 ) == static_cast< ssize_t >( text.size() );
}

bool
NumberFile::durableNumberIs( std::int64_t number ) {
   return numberIs( number ) && fdatasync( file_ ) == 0;
}

} // namespace ostra
