// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Lag/EthPhyIntfLagConfig>

#include <Ryx/Registration>

namespace Lag {

EthPhyIntfLagConfig::~EthPhyIntfLagConfig() = default;

EthPhyIntfLagConfig::NotifieeConst::~NotifieeConst() = default;

std::ostream&
operator<<( std::ostream& out, LacpMode value ) {
   return out << Ryx::valueToStrep( value );
}

namespace {

using Unit = Ryx::UnitRegistration< LacpMode, EthPhyIntfLagConfig >;
[[gnu::init_priority( Ryx::unitPriority )]] Unit const unit( "Lag" );

} // namespace

} // namespace Lag
