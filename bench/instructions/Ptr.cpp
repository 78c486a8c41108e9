// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The strong pointer, in a process with one thread.

#include <Ryx/Entity>
#include <instructions/Measure>

namespace bench {

namespace {

class Object final : public Ryx::PtrInterface {};

} // namespace

} // namespace bench

void
bench::measurePtr() {
   Ryx::Ptr< Object > const object = Ryx::make< Object >();
   expect( Ryx::singleThreaded(), "one thread" );
   measureEach( "ptr/copy-release", 10'000, [ & ]( std::size_t ) {
      Ryx::Ptr< Object > const copy = object;
      keep( copy );
   } );
   measureEach(
      "ptr/make-release", 10'000, []( std::size_t ) { keep( Ryx::make< Object >() ); } );
}
