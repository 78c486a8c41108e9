// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Interface/AllEthPhyIntfStatusDir>
#include <Interface/AllIntfStatusDir>
#include <Interface/EthIntfStatusDir>
#include <Interface/EthLagIntfStatusDir>
#include <Interface/PeerIntfStatusDir>

#include <Ryx/Registration>

template class Ryx::ValueRecord< Kovel::IntfId, Ryx::Ptr< Interface::IntfStatus > >;
template class Ryx::ValueRecord< Kovel::IntfId, Ryx::Ptr< Interface::PeerIntfStatus > >;
template class Ryx::ValueRecord< Kovel::IntfId, Ryx::Ptr< Interface::EthPhyIntfStatus > >;
template class Ryx::ValueRecord< Kovel::IntfId, Ryx::Ptr< Interface::EthIntfStatus > >;
template class Ryx::ValueRecord< Kovel::IntfId, Ryx::Ptr< Interface::EthLagIntfStatus > >;

namespace Interface {

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
   IntfStatusDirBase,
   AllEthPhyIntfStatusDir,
   EthLagIntfStatusDir,
   PeerIntfStatusDir,
   EthIntfStatusDir,
   AllIntfStatusDir >;
[[gnu::init_priority( Ryx::unitPriority )]] Unit const unit( "Interface" );

} // namespace

} // namespace Interface
