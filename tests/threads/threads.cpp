// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The one thing that is promised about threads: pointers to an object may be copied and
// released on any of them, by one that was started within a callback and while one of them
// pins and unpins it, too. Built with ThreadSanitizer by tests/threads/run.

#include "Threads"

int
main( int argc, char** argv ) {
   if ( argc > 1 ) {
      return threading::playScene( argv[ 1 ] ) ? 0 : 1;
   }
   threading::playScenes( argv[ 0 ] );
   threading::releaseElsewhere();
   std::puts( "pointers were released elsewhere" );
   return 0;
}
