// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Generated from Interface.yaml: edit that file.
// clang-format off

#include <Interface/IntfEnabledState>
#include <Interface/IntfConfig>
#include <Interface/EthLagIntfConfig>
#include <Interface/VlanIntfConfig>
#include <Interface/IntfConfigRequest>
#include <Interface/IntfConfigDirBase>
#include <Interface/AllEthPhyIntfConfigDir>
#include <Interface/LinkStatus>
#include <Interface/IntfStatus>
#include <Interface/EthIntfStatus>
#include <Interface/EthPhyIntfStatus>
#include <Interface/PeerIntfStatus>
#include <Interface/EthLagIntfStatus>
#include <Interface/IntfStatusDirBase>
#include <Interface/AllEthPhyIntfStatusDir>
#include <Interface/EthLagIntfStatusDir>
#include <Interface/PeerIntfStatusDir>
#include <Interface/EthIntfStatusDir>
#include <Interface/AllIntfStatusDir>

#include <Ryx/Registration>

template class Ryx::ValueRecord< Kovel::IntfId, Ryx::Ptr< Interface::IntfConfig > >;
template class Ryx::ValueRecord< Kovel::IntfId, Ryx::Ptr< Interface::EthPhyIntfStatus > >;
template class Ryx::ValueRecord< Kovel::IntfId, Ryx::Ptr< Interface::EthLagIntfStatus > >;
template class Ryx::ValueRecord< Kovel::IntfId, Ryx::Ptr< Interface::PeerIntfStatus > >;
template class Ryx::ValueRecord< Kovel::IntfId, Ryx::Ptr< Interface::EthIntfStatus > >;
template class Ryx::ValueRecord< Kovel::IntfId, Ryx::Ptr< Interface::IntfStatus > >;

namespace Interface {

std::ostream&
operator<<( std::ostream& out, IntfEnabledState value ) {
   return out << Ryx::valueToStrep( value );
}

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
operator<<( std::ostream& out, LinkStatus value ) {
   return out << Ryx::valueToStrep( value );
}

IntfStatus::~IntfStatus() = default;

IntfStatus::NotifieeConst::~NotifieeConst() = default;

EthIntfStatus::~EthIntfStatus() = default;

EthIntfStatus::NotifieeConst::~NotifieeConst() = default;

EthPhyIntfStatus::~EthPhyIntfStatus() = default;

EthPhyIntfStatus::NotifieeConst::~NotifieeConst() = default;

PeerIntfStatus::~PeerIntfStatus() = default;

PeerIntfStatus::NotifieeConst::~NotifieeConst() = default;

EthLagIntfStatus::~EthLagIntfStatus() = default;

EthLagIntfStatus::NotifieeConst::~NotifieeConst() = default;

IntfStatusDirBase::~IntfStatusDirBase() = default;

IntfStatusDirBase::NotifieeConst::~NotifieeConst() = default;

AllEthPhyIntfStatusDir::~AllEthPhyIntfStatusDir() = default;

AllEthPhyIntfStatusDir::NotifieeConst::~NotifieeConst() = default;

EthLagIntfStatusDir::~EthLagIntfStatusDir() = default;

EthLagIntfStatusDir::NotifieeConst::~NotifieeConst() = default;

PeerIntfStatusDir::~PeerIntfStatusDir() = default;

PeerIntfStatusDir::NotifieeConst::~NotifieeConst() = default;

EthIntfStatusDir::~EthIntfStatusDir() = default;

EthIntfStatusDir::NotifieeConst::~NotifieeConst() = default;

AllIntfStatusDir::~AllIntfStatusDir() = default;

AllIntfStatusDir::NotifieeConst::~NotifieeConst() = default;

namespace {

using Unit = Ryx::UnitRegistration<
   IntfEnabledState,
   IntfConfig,
   EthLagIntfConfig,
   VlanIntfConfig,
   IntfConfigDirBase,
   AllEthPhyIntfConfigDir,
   LinkStatus,
   IntfStatus,
   EthIntfStatus,
   EthPhyIntfStatus,
   PeerIntfStatus,
   EthLagIntfStatus,
   IntfStatusDirBase,
   AllEthPhyIntfStatusDir,
   EthLagIntfStatusDir,
   PeerIntfStatusDir,
   EthIntfStatusDir,
   AllIntfStatusDir >;
[[gnu::init_priority( Ryx::unitPriority )]] Unit const unit( "Interface" );

} // namespace

} // namespace Interface
