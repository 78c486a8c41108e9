// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Generated from Errdisable.yaml: edit that file.
// clang-format off

#include <Errdisable/CauseIntfStatus>
#include <Errdisable/CauseStatus>

#include <Ryx/Registration>

template class Ryx::ValueRecord< Kovel::IntfId, Errdisable::CauseIntfStatus >;

namespace Errdisable {

CauseStatus::~CauseStatus() = default;

CauseStatus::NotifieeConst::~NotifieeConst() = default;

namespace {

using Unit = Ryx::UnitRegistration< CauseIntfStatus, CauseStatus >;
[[gnu::init_priority( Ryx::unitPriority )]] Unit const unit( "Errdisable" );

} // namespace

} // namespace Errdisable
