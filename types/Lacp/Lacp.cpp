// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Generated from Lacp.yaml: edit that file.
// clang-format off

#include <Lacp/LacpPCConfig>
#include <Lacp/Config>

#include <Ryx/Registration>

template class Ryx::ValueRecord< Kovel::IntfId, Ryx::Ptr< Lacp::LacpPCConfig > >;

namespace Lacp {

LacpPCConfig::~LacpPCConfig() = default;

LacpPCConfig::NotifieeConst::~NotifieeConst() = default;

Config::~Config() = default;

Config::NotifieeConst::~NotifieeConst() = default;

namespace {

using Unit = Ryx::UnitRegistration< LacpPCConfig, Config >;
[[gnu::init_priority( Ryx::unitPriority )]] Unit const unit( "Lacp" );

} // namespace

} // namespace Lacp
