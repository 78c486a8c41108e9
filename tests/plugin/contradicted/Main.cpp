// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What a program can do whose own types were refused: run, with the library's.

#include <Mlag/Status>
#include <Ryx/RefusedUnit>
#include <Ryx/RyxType>

#include <cstdio>

int
main() {
   auto const status = Ryx::make< Mlag::Status >( Ryx::Name( "status" ) );
   if ( !Ryx::RefusedUnit::last() || !status->fwkType()->isRegistered() ) {
      return 1;
   }
   std::puts( "runs" );
   return 0;
}
