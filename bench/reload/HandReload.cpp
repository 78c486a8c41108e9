// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <reload/HandReload>

#include <Kovel/InternalIntfId>
#include <Kovel/MgmtIntfId>

#include <cmath>

namespace bench {

using Interface::IntfEnabledState;
using Mlag::MlagState;

template< class Tables >
HandReload< Tables >::HandReload( SwitchPlan const& plan )
      : peerLink_( plan.peerLink ),
        systemId_( plan.systemId ),
        pluggable_( plan.pluggable()->id ) {
   for ( PortPlan const& port : plan.ports ) {
      present_.push_back( port.id );
      portConfigs_.push_back(
         { port.id, IntfEnabledState::enabled, IntfEnabledState::unknownEnabledState } );
      if ( port.portChannel ) {
         members_.push_back( { port.id, port.portChannel, Lag::LacpMode::lacpActive } );
      }
   }
   for ( IntfId const id : plan.portChannels ) {
      mlagInterfaces_.push_back( { id, std::to_string( mlagInterfaces_.size() + 1 ) } );
      lagStatuses_.push_back( { id, Interface::LinkStatus::linkDown } );
      lacp_.push_back( { id, false } );
   }
   for ( IntfId const id : plan.overridden ) {
      overrides_.push_back( { id, plan.systemId } );
   }
}

template< class Tables >
typename HandReload< Tables >::Class
HandReload< Tables >::classOf( IntfId id ) const {
   Member const* const member = found( members_, id );
   return { member, found( mlagInterfaces_, member ? member->portChannel : id ) };
}

template< class Tables >
bool
HandReload< Tables >::mlagConfigured() const {
   return !domainId_.empty() && localInterface_ && peerAddress_ != 0 && peerLink_ &&
      mlagEnabled_;
}

// A machine that starts has not been secondary before.
template< class Tables >
bool
HandReload< Tables >::stateFrees() const {
   return mlagState_ == MlagState::mlagPrimary ||
      ( mlagState_ == MlagState::mlagSecondary && !holdInSecondary_ );
}

template< class Tables >
bool
HandReload< Tables >::inPeerLink( IntfId id, Class const& c ) const {
   return peerLink_ &&
      ( id == peerLink_ || ( c.member && c.member->portChannel == peerLink_ ) );
}

template< class Tables >
bool
HandReload< Tables >::belongsInStandby( Class const& c ) const {
   if (
      !lacpStandby_ || mlagState_ != MlagState::mlagSecondary || !holdInSecondary_ ||
      !c.inMlagPortChannel() || c.member->mode != Lag::LacpMode::lacpActive ) {
      return false;
   }
   Override const* const override_ = found( overrides_, c.member->portChannel );
   return override_ && override_->systemId == systemId_ && systemId_ != Kovel::EthAddr();
}

template< class Tables >
bool
HandReload< Tables >::enabled( IntfId id ) const {
   PortConfig const* const config = found( portConfigs_, id );
   return config &&
      ( config->state == IntfEnabledState::unknownEnabledState
           ? config->fallback
           : config->state ) != IntfEnabledState::shutdown;
}

template< class Tables >
void
HandReload< Tables >::hold() {
   portsErrdisabled_ = true;
   portsErrdisabledWhen_ = now_;
   if ( !mlagConfigured() || stateFrees() ) {
      releaseClass( true );
      releaseClass( false );
      return;
   }
   arm( mlagTimer_ );
   arm( otherTimer_ );
   held_.reserve( present_.size() );
   for ( IntfId const id : present_ ) {
      handlePort( id );
   }
   for ( Member const& member : members_ ) {
      startMembers_.push_back( { member.portChannel, member.id } );
   }
}

template< class Tables >
void
HandReload< Tables >::handlePort( IntfId id ) {
   if (
      Kovel::InternalIntfId::isInternalIntfId( id ) ||
      Kovel::MgmtIntfId::isMgmtIntfId( id ) ) {
      return;
   }
   Class const c = classOf( id );
   Timer const& timer = c.mlag ? mlagTimer_ : otherTimer_;
   bool const over = !Ryx::isInfinite( reloadDelay_ ) && Ryx::isInfinite( timer.wake );
   if ( over || inPeerLink( id, c ) ) {
      return;
   }
   if ( belongsInStandby( c ) ) {
      standby( c.member->portChannel );
      return;
   }
   added( held_, { id, now_ } );
   if ( c.inMlagPortChannel() ) {
      settleSnooping( id, c.member->portChannel );
   }
}

template< class Tables >
void
HandReload< Tables >::forgetPort( IntfId id ) {
   removed( held_, id );
   RecordedMember const* const member = found( recordedMembers_, id );
   if ( !member ) {
      return;
   }
   Tracker& tracker = *found( trackers_, member->portChannel );
   if ( --tracker.members == 0 ) {
      removed( watchedLags_, tracker.id );
      removed( forceEnabled_, tracker.id );
      removed( trackers_, tracker.id );
   }
   removed( recordedMembers_, id );
}

template< class Tables >
void
HandReload< Tables >::standby( IntfId portChannel ) {
   removed( forceEnabled_, portChannel );
   if ( found( inStandby_, portChannel ) ) {
      return;
   }
   if ( LacpConfig* const lacp = found( lacp_, portChannel ) ) {
      lacp->stayInStandby = true;
   }
   added( inStandby_, portChannel );
}

template< class Tables >
void
HandReload< Tables >::settleSnooping( IntfId id, IntfId portChannel ) {
   if ( !enabled( id ) ) {
      removed( forceEnabled_, portChannel );
      return;
   }
   added( forceEnabled_, portChannel );
   if ( !found( recordedMembers_, id ) ) {
      added( recordedMembers_, { id, portChannel } );
      ++added( trackers_, { portChannel, 0 } ).members;
   }
}

template< class Tables >
void
HandReload< Tables >::arm( Timer& timer ) {
   constexpr float points[] = { 0.75f, 0.95f };
   double const fraction = timer.point < 2 && reloadDelay_ > 10
      ? static_cast< double >( points[ timer.point++ ] )
      : 1.0;
   timer.wake = reloadDelay_ * fraction + portsErrdisabledWhen_;
}

template< class Tables >
void
HandReload< Tables >::wake( Timer& timer, bool mlag ) {
   Ryx::Seconds const end = portsErrdisabledWhen_ + reloadDelay_;
   if ( end <= now_ ) {
      releaseClass( mlag );
      return;
   }
   if ( mlag ) {
      auto const left = static_cast< int >( std::ceil( end - now_ ) );
      announced_.push_back(
         "Mlag reload-delay period will end in " + std::to_string( left ) + " seconds" );
   }
   arm( timer );
}

template< class Tables >
void
HandReload< Tables >::moveTo( Ryx::Seconds t ) {
   now_ = t;
   if ( mlagTimer_.wake <= now_ ) {
      wake( mlagTimer_, true );
   }
   if ( otherTimer_.wake <= now_ ) {
      wake( otherTimer_, false );
   }
}

template< class Tables >
void
HandReload< Tables >::announce() {
   moveTo( 0.75 * SwitchPlan::reloadDelay );
   moveTo( 0.95 * SwitchPlan::reloadDelay );
}

template< class Tables >
void
HandReload< Tables >::release() {
   moveTo( SwitchPlan::reloadDelay );
}

template< class Tables >
void
HandReload< Tables >::releaseClass( bool mlag ) {
   removedIf( held_, [ this, mlag ]( Written::Hold const& hold ) {
      Class const c = classOf( hold.id );
      bool const released = ( c.mlag != nullptr ) == mlag;
      if ( released ) {
         track( hold.id, c );
      }
      return released;
   } );
   if ( mlag ) {
      for ( IntfId const id : inStandby_ ) {
         if ( LacpConfig* const lacp = found( lacp_, id ) ) {
            lacp->stayInStandby = false;
         }
      }
      inStandby_.clear();
   }
   Timer& timer = mlag ? mlagTimer_ : otherTimer_;
   timer.wake = Ryx::never;
   timer.held = false;
   if ( !mlagTimer_.held && !otherTimer_.held ) {
      portsErrdisabled_ = false;
      portsErrdisabledWhen_ = Ryx::never;
   }
}

template< class Tables >
void
HandReload< Tables >::track( IntfId id, Class const& c ) {
   if ( !enabled( id ) || !c.inMlagPortChannel() ) {
      return;
   }
   if ( found( lagStatuses_, c.member->portChannel ) ) {
      added( watchedLags_, c.member->portChannel );
   } else {
      removed( forceEnabled_, c.member->portChannel );
   }
}

template< class Tables >
void
HandReload< Tables >::disappear() {
   removed( present_, pluggable_ );
   forgetPort( pluggable_ );
}

template< class Tables >
void
HandReload< Tables >::appear() {
   added( present_, pluggable_ );
   handlePort( pluggable_ );
}

template< class Tables >
Written
HandReload< Tables >::written() const {
   Written result{ sorted( held_ ), sorted( forceEnabled_ ), {},
                   announced_,      portsErrdisabled_,       portsErrdisabledWhen_ };
   for ( LacpConfig const& lacp : sorted( lacp_ ) ) {
      if ( lacp.stayInStandby ) {
         result.inStandby.push_back( lacp.id );
      }
   }
   return result;
}

template class HandReload< SortedVectors >;
template class HandReload< HashTables >;

} // namespace bench
