// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A reload: a state machine that holds the ports of a switch, and what happens until it has
// released them.

#include <instructions/Measure>
#include <reload/RyxReload>

namespace bench {

namespace {

using Interface::IntfEnabledState;

constexpr std::size_t portCount = 1024;

// What concerns one port while all are held. It must not depend on how many there are.
void
measureChanges( RyxReload& reload, SwitchPlan const& plan ) {
   std::size_t const held = reload.written().held.size();
   measureEach( "reload/replug", portCount, [ & ]( std::size_t ) {
      reload.disappear();
      reload.appear();
   } );
   std::vector< Ryx::Ptr< Interface::IntfConfig > > configs;
   for ( PortPlan const& port : plan.ports ) {
      configs.push_back( reload.intfConfig( port.id ) );
   }
   measureEach( "reload/shut", portCount, [ & ]( std::size_t i ) {
      configs[ i ]->adminEnabledStateLocalIs( IntfEnabledState::shutdown );
   } );
   expect( reload.written().forceEnabled.empty(), "nothing to be forced for shut ports" );
   measureEach( "reload/enable", portCount, [ & ]( std::size_t i ) {
      configs[ i ]->adminEnabledStateLocalIs( IntfEnabledState::enabled );
   } );
   expect( reload.written().held.size() == held, "every port to be held again" );
}

} // namespace

} // namespace bench

void
bench::measureReload() {
   SwitchPlan const plan( portCount );
   RyxReload reload( plan );
   measure( "reload/hold", portCount, [ & ] { reload.hold(); } );
   expect( reload.written().held.size() > portCount / 2, "ports to be held" );
   measureChanges( reload, plan );
   measure( "reload/announce", 2, [ & ] { reload.announce(); } );
   expect( reload.written().announced.size() == 2, "the end to be announced" );
   measure( "reload/release", portCount, [ & ] { reload.release(); } );
   expect( reload.written().held.empty(), "every port to be released" );
}
