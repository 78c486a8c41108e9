// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Generated from Lag.yaml: edit that file.
// clang-format off

#include <Lag/LacpMode>
#include <Lag/EthPhyIntfLagConfig>

#include <Ryx/Registration>

namespace Lag {

std::ostream&
operator<<( std::ostream& out, LacpMode value ) {
   return out << Ryx::valueToStrep( value );
}

EthPhyIntfLagConfig::~EthPhyIntfLagConfig() = default;

EthPhyIntfLagConfig::NotifieeConst::~NotifieeConst() = default;

namespace {

using Unit = Ryx::UnitRegistration< LacpMode, EthPhyIntfLagConfig >;
[[gnu::init_priority( Ryx::unitPriority )]] Unit const unit( "Lag" );

} // namespace

} // namespace Lag
