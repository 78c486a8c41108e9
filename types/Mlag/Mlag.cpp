// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Mlag/Config>
#include <Mlag/ProtoStatus>
#include <Mlag/Status>

#include <Ryx/Registration>

template class Ryx::ValueRecord< Kovel::IntfId, Mlag::IntfConfig >;

namespace Mlag {

Config::~Config() = default;

Config::NotifieeConst::~NotifieeConst() = default;

Status::~Status() = default;

Status::NotifieeConst::~NotifieeConst() = default;

ProtoStatus::~ProtoStatus() = default;

ProtoStatus::NotifieeConst::~NotifieeConst() = default;

std::ostream&
operator<<( std::ostream& out, MlagState value ) {
   return out << Ryx::valueToStrep( value );
}

namespace {

using Unit = Ryx::UnitRegistration< MlagState, IntfConfig, Config, Status, ProtoStatus >;
[[gnu::init_priority( Ryx::unitPriority )]] Unit const unit( "Mlag" );

} // namespace

} // namespace Mlag
