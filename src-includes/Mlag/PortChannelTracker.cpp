// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Mlag/PortChannelTracker>
#include <Mlag/SmDiagnostics>

namespace Mlag::Ostra {

PortChannelTracker::NotifieeConst::~NotifieeConst() = default;

Ryx::Ptr< PortChannelTracker >
PortChannelTracker::PortChannelTrackerIs(
   Kovel::IntfId intfId, Ryx::Ptr< IgmpSnoopingConfig > const& igmpsnoopingConfig ) {
   return Ryx::validPtr( Ryx::make< PortChannelTracker >( intfId, igmpsnoopingConfig ) );
}

PortChannelTracker::~PortChannelTracker() {
   handleDestroyed();
}

void
PortChannelTracker::handleDestroyed() {
   trace( 8, __PRETTY_FUNCTION__, " for ", intfId_ );
   if ( igmpsnoopingConfig_ && isGuard_ ) {
      igmpsnoopingConfig_->forceEnabledPortsDel( intfId_ );
   }
}

} // namespace Mlag::Ostra
