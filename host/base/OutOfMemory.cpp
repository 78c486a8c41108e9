// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/OutOfMemory>

#include <host/base/Failure>

#include <new>
#include <string_view>

#include <unistd.h>

namespace ostra {

namespace {

OutputBuffer* written = nullptr;

// Allocates nothing and destroys nothing.
[[noreturn]] void
end() {
   constexpr std::string_view line = "ostra: out of memory\n";
   written->pubsync();
   // There is nobody left to tell that this cannot be written either.
   static_cast< void >( !::write( STDERR_FILENO, line.data(), line.size() ) );
   _exit( static_cast< int >( ExitStatus::failed ) );
}

} // namespace

OutOfMemory::OutOfMemory( OutputBuffer& output ) noexcept {
   written = &output;
   std::set_new_handler( end );
}

OutOfMemory::~OutOfMemory() {
   std::set_new_handler( nullptr );
   written = nullptr;
}

} // namespace ostra
