// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Says where a program has its objects that leaves that to the framework.

#include <Ryx/Ptr>
#include <Ryx/Slabs>
#include <tests/support/AddressSpace>

#include <cstddef>
#include <cstdlib>
#include <iostream>

int
main() {
   if ( support::isAddressSpaceLimited() ) {
      std::cout << "skipped: the address space is limited\n";
      return 0;
   }
   unsetenv( "RYX_SLABS" );
   Ryx::Slabs const* const slabs = Ryx::objectSlabs();
   auto const inSlabs = [ slabs ] { return slabs ? slabs->bytes() : 0; };
   struct Object : Ryx::PtrInterface {};
   // The library has objects, too.
   std::size_t const before = inSlabs();
   auto const object = Ryx::make< Object >();
   bool const isIn = inSlabs() == before + sizeof( Object );
   std::cout << "objects are " << ( isIn ? "in slabs" : "elsewhere" ) << "\n";
}
