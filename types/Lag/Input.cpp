// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Generated from Lag.Input.yaml: edit that file.
// clang-format off

#include <Lag/Input/Config>
#include <Lag/Input/LacpOverrideDir>

#include <Ryx/Registration>

template class Ryx::ValueRecord< Kovel::IntfId, Ryx::Ptr< Lag::EthPhyIntfLagConfig > >;
template class Ryx::ValueRecord< Kovel::IntfId, Kovel::EthAddr >;

namespace Lag::Input {

Config::~Config() = default;

Config::NotifieeConst::~NotifieeConst() = default;

LacpOverrideDir::~LacpOverrideDir() = default;

LacpOverrideDir::NotifieeConst::~NotifieeConst() = default;

namespace {

using Unit = Ryx::UnitRegistration< Config, LacpOverrideDir >;
[[gnu::init_priority( Ryx::unitPriority )]] Unit const unit( "Lag::Input" );

} // namespace

} // namespace Lag::Input
