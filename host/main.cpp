// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/Cli>

int
main( int argc, char** argv ) {
   return ostra::runCommandLine( argc, argv );
}
