// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The registration of the test types that are reached by name.

#include "Board"
#include "Supervisor"

#include <Ryx/Registration>

namespace doubles {

namespace {

using Unit = Ryx::UnitRegistration< Mode, Supply, Port, FastPort, Slot, Board, Supervisor >;
[[gnu::init_priority( Ryx::unitPriority )]] Unit const unit( "Test" );

} // namespace

} // namespace doubles
