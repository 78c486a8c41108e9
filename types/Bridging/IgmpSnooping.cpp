// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Generated from Bridging.IgmpSnooping.yaml: edit that file.
// clang-format off

#include <Bridging/IgmpSnooping/Config>

#include <Ryx/Registration>

namespace Bridging::IgmpSnooping {

Config::~Config() = default;

Config::NotifieeConst::~NotifieeConst() = default;

namespace {

using Unit = Ryx::UnitRegistration< Config >;
[[gnu::init_priority( Ryx::unitPriority )]] Unit const unit( "Bridging::IgmpSnooping" );

} // namespace

} // namespace Bridging::IgmpSnooping
