// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Kovel/Traits>

#include <Ryx/Registration>

template class Ryx::ValueRecord< Kovel::IntfId, bool >;

namespace Kovel {

namespace {

Ryx::UnitRegistration< IntfId, EthAddr, IpAddr > const unit( "Kovel" );

} // namespace

} // namespace Kovel
