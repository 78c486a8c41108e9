// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Kovel/IntfId>
#include <OstraMlag/OstraMlag>

#include <iostream>

int
main() {
   Ryx::Ptr< OstraMlag::Agent > agent = OstraMlag::agentFactory( "consumer" );
   std::cout << Kovel::IntfId( "Ethernet1" ) << '\n';
   return agent ? 0 : 1;
}
