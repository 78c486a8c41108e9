// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Mlag/MlagErrdisableSm>
#include <Mlag/SmWrites>

#include <new>
#include <utility>

namespace Mlag::Ostra {

void
SmWrites::start( void ( MlagErrdisableSm::*step )() ) {
   auto const& status = *sm_.mlagProtoStatus_;
   StartChanges changes{ status.portsErrdisabled(), status.portsErrdisabledWhen() };
   changes_ = &changes;
   try {
      ( sm_.*step )();
   } catch ( ... ) {
      changes_ = nullptr;
      takeBack( changes );
      throw;
   }
   changes_ = nullptr;
}

// This machine will not exist to release what it has held; what it has released may belong
// to another machine, which goes on.
void
SmWrites::takeBack( StartChanges& changes ) {
   auto& cause = sm_.mlagissuCause_;
   auto& snooping = sm_.igmpsnoopingConfig_;
   for ( Kovel::IntfId const portChannel : changes.standby ) {
      stayInStandbyIs( portChannel, false );
   }
   for ( Kovel::IntfId const intfId : changes.cause.added ) {
      cause->intfStatusDel( intfId );
   }
   changes.cause.restore(
      [ & ]( auto record ) { cause->intfStatusPut( std::move( record ) ); } );
   for ( Kovel::IntfId const portChannel : changes.snooping.added ) {
      snooping->forceEnabledPortsDel( portChannel );
   }
   changes.snooping.restore(
      [ & ]( auto record ) { snooping->forceEnabledPortsPut( std::move( record ) ); } );
   for ( auto it = sm_.portChannelTrackerIteratorConst(); it; ++it ) {
      it->value()->release();
   }
   sm_.mlagProtoStatus_->portsErrdisabledIs( changes.portsErrdisabled );
   sm_.mlagProtoStatus_->portsErrdisabledWhenIs( changes.portsErrdisabledWhen );
}

void
SmWrites::hold(
   Errdisable::CauseStatus::IntfStatusSpot const& spot, Kovel::IntfId intfId ) {
   if ( changes_ ) {
      changes_->cause.add( intfId );
   }
   sm_.mlagissuCause_->intfStatusIs( spot, intfId, Ryx::now() );
}

void
SmWrites::release( Kovel::IntfId intfId ) {
   auto record = sm_.mlagissuCause_->intfStatusTake( intfId );
   if ( changes_ ) {
      changes_->cause.remove( std::move( record ) );
   }
}

void
SmWrites::force( Kovel::IntfId intfId, Kovel::IntfId portChannel ) {
   auto const& snooping = sm_.igmpsnoopingConfig_;
   bool const wasForced = sm_.portChannelTracker_.borrowed( portChannel ) ||
      snooping->forceEnabledPorts( portChannel );
   if ( changes_ && !wasForced ) {
      changes_->snooping.add( portChannel );
   }
   snooping->forceEnabledPortsIs( portChannel, true );
   try {
      recordMember( intfId, portChannel, wasForced );
   } catch ( ... ) {
      // Without a recorded member nobody would ever end the forcing.
      if ( !wasForced && !sm_.portChannelTracker_.borrowed( portChannel ) ) {
         snooping->forceEnabledPortsDel( portChannel );
      }
      throw;
   }
}

void
SmWrites::recordMember( Kovel::IntfId intfId, Kovel::IntfId portChannel, bool wasForced ) {
   if ( auto const present = sm_.portChannelTracker( portChannel ) ) {
      sm_.memberToPortChannelIs( intfId, present );
      return;
   }
   auto const tracker =
      PortChannelTracker::PortChannelTrackerIs( portChannel, sm_.igmpsnoopingConfig_ );
   try {
      sm_.portChannelTrackerIs( tracker );
      sm_.memberToPortChannelIs( intfId, tracker );
   } catch ( ... ) {
      sm_.portChannelTrackerDel( portChannel );
      if ( wasForced ) {
         tracker->release();
      }
      throw;
   }
}

void
SmWrites::endForcing( Kovel::IntfId portChannel ) {
   auto record = sm_.igmpsnoopingConfig_->forceEnabledPortsTake( portChannel );
   if ( changes_ ) {
      changes_->snooping.remove( std::move( record ) );
   }
}

bool
SmWrites::track( Ryx::Ptr< Interface::EthLagIntfStatus const > const& status ) {
   try {
      sm_.lagIntfStatusIs( status );
      return true;
   } catch ( std::bad_alloc const& ) {
      return false;
   }
}

void
SmWrites::stayInStandbyIs( Kovel::IntfId portChannel, bool stay ) {
   auto const& config = sm_.lacpConfig_;
   auto const lacp = config ? config->portChannel( portChannel ) : nullptr;
   if ( !lacp ) {
      return;
   }
   if ( changes_ && stay && !lacp->stayInStandby() ) {
      changes_->standby.push_back( portChannel );
   }
   lacp->stayInStandbyIs( stay );
}

void
SmWrites::prepareStandby( Kovel::IntfId portChannel ) {
   bool const isPrepared = standbyRecord_ && standbyRecord_->key() == portChannel;
   if ( !isPrepared && !sm_.lagsInStandby( portChannel ) ) {
      standbyRecord_ = Ryx::make< MlagErrdisableSm::RyxLagsInStandby >( portChannel, true );
   }
}

void
SmWrites::beginStandby( Kovel::IntfId portChannel ) {
   prepareStandby( portChannel );
   // Observers of the write may make the machine prepare another port-channel.
   auto record = std::exchange( standbyRecord_, nullptr );
   stayInStandbyIs( portChannel, true );
   if ( auto& lags = sm_.lagsInStandby_.map; lags.contains( portChannel ) ) {
      sm_.lagsInStandbyIs( portChannel, true );
   } else {
      lags.insert( std::move( record ) );
   }
}

void
SmWrites::endStandby( Kovel::IntfId portChannel ) {
   stayInStandbyIs( portChannel, false );
   sm_.lagsInStandbyDel( portChannel );
}

} // namespace Mlag::Ostra
