// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Exception>

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace Ryx {

Expect const* Expect::innermost_ = nullptr;

Exception::Exception( String8 message, IdBitArray ids, bool retryable )
      : message_( std::move( message ) ), ids_( ids ), retryable_( retryable ) {}

Exception::~Exception() = default;

RangeException::~RangeException() = default;

void
throwRangeException( char const* message ) {
   throw RangeException( message );
}

void
throwRangeException( String8 const& message ) {
   throw RangeException( message );
}

void
assertFailed( char const* expression, char const* file, int line, char const* function ) {
   std::fprintf(
      stderr, "%s:%d: %s: Assertion `%s' failed.\n", file, line, function, expression );
   std::abort();
}

} // namespace Ryx
