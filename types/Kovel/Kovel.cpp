// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Kovel/Traits>

#include <Ryx/Registration>

template class Ryx::ValueRecord< Kovel::IntfId, bool >;

namespace Kovel {

Ryx::RyxType*
IntfId::_fwkType() {
   return Ryx::describedType< IntfId >();
}

Ryx::RyxType*
EthAddr::_fwkType() {
   return Ryx::describedType< EthAddr >();
}

Ryx::RyxType*
IpAddr::_fwkType() {
   return Ryx::describedType< IpAddr >();
}

namespace {

using Unit = Ryx::UnitRegistration< IntfId, EthAddr, IpAddr >;
[[gnu::init_priority( Ryx::unitPriority )]] Unit const unit( "Kovel" );

} // namespace

} // namespace Kovel
