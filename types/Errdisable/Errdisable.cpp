// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Errdisable/CauseStatus>

#include <Ryx/Registration>

template class Ryx::ValueRecord< Kovel::IntfId, Errdisable::CauseIntfStatus >;

namespace Errdisable {

CauseStatus::~CauseStatus() = default;

CauseStatus::NotifieeConst::~NotifieeConst() = default;

namespace {

Ryx::UnitRegistration< CauseIntfStatus, CauseStatus > const unit( "Errdisable" );

} // namespace

} // namespace Errdisable
