// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Interface/EthIntfStatus>
#include <Interface/EthLagIntfStatus>
#include <Interface/EthPhyIntfStatus>
#include <Interface/PeerIntfStatus>

#include <Ryx/Registration>

namespace Interface {

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

std::ostream&
operator<<( std::ostream& out, LinkStatus value ) {
   return out << Ryx::valueToStrep( value );
}

namespace {

using Unit = Ryx::UnitRegistration<
   LinkStatus,
   IntfStatus,
   EthIntfStatus,
   EthPhyIntfStatus,
   PeerIntfStatus,
   EthLagIntfStatus >;
[[gnu::init_priority( Ryx::unitPriority )]] Unit const unit( "Interface" );

} // namespace

} // namespace Interface
