// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Interface/AllEthPhyIntfConfigDir>
#include <Interface/EthLagIntfConfig>
#include <Interface/VlanIntfConfig>

#include <Ryx/Registration>

template class Ryx::ValueRecord< Kovel::IntfId, Ryx::Ptr< Interface::IntfConfig > >;

namespace Interface {

IntfConfig::~IntfConfig() = default;

IntfConfig::NotifieeConst::~NotifieeConst() = default;

EthLagIntfConfig::~EthLagIntfConfig() = default;

EthLagIntfConfig::NotifieeConst::~NotifieeConst() = default;

VlanIntfConfig::~VlanIntfConfig() = default;

VlanIntfConfig::NotifieeConst::~NotifieeConst() = default;

IntfConfigDirBase::~IntfConfigDirBase() = default;

IntfConfigDirBase::NotifieeConst::~NotifieeConst() = default;

AllEthPhyIntfConfigDir::~AllEthPhyIntfConfigDir() = default;

AllEthPhyIntfConfigDir::NotifieeConst::~NotifieeConst() = default;

std::ostream&
operator<<( std::ostream& out, IntfEnabledState value ) {
   return out << Ryx::valueToStrep( value );
}

namespace {

using Unit = Ryx::UnitRegistration<
   IntfEnabledState,
   IntfConfig,
   EthLagIntfConfig,
   VlanIntfConfig,
   IntfConfigDirBase,
   AllEthPhyIntfConfigDir >;
[[gnu::init_priority( Ryx::unitPriority )]] Unit const unit( "Interface" );

} // namespace

} // namespace Interface
