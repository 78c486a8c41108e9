// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Generated from Mlag.yaml: edit that file.
// clang-format off

#include <Mlag/MlagState>
#include <Mlag/IntfConfig>
#include <Mlag/Config>
#include <Mlag/Status>
#include <Mlag/ProtoStatus>

#include <Ryx/Registration>

template class Ryx::ValueRecord< Kovel::IntfId, Mlag::IntfConfig >;

namespace Mlag {

std::ostream&
operator<<( std::ostream& out, MlagState value ) {
   return out << Ryx::valueToStrep( value );
}

Config::~Config() = default;

Config::NotifieeConst::~NotifieeConst() = default;

Status::~Status() = default;

Status::NotifieeConst::~NotifieeConst() = default;

ProtoStatus::~ProtoStatus() = default;

ProtoStatus::NotifieeConst::~NotifieeConst() = default;

namespace {

using Unit = Ryx::UnitRegistration< MlagState, IntfConfig, Config, Status, ProtoStatus >;
[[gnu::init_priority( Ryx::unitPriority )]] Unit const unit( "Mlag" );

} // namespace

} // namespace Mlag
