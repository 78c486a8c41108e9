// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What the state machine's unit does when the library is loaded.

#include <Mlag/MlagErrdisableSm>
#include <Mlag/SmTrace>
#include <Ryx/Registration>

namespace Mlag::Ostra {

Ryx::TraceHandle&
smTraceHandle() {
   static Ryx::TraceHandle handle( "MlagErrdisableSm", false );
   return handle;
}

namespace {

Ryx::UnitRegistration< PortChannelTracker, LagMember, MlagErrdisableSm > const
   unit( "Mlag::Ostra" );

} // namespace

} // namespace Mlag::Ostra
