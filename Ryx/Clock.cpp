// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Clock>

#include <Ryx/Activity>

#include <algorithm>

namespace Ryx {

Clock::Clock( Name name ) : EntityOf( std::move( name ) ) {}

Clock::~Clock() {
   for ( NotifieeConst* notifiee : armed_ ) {
      notifiee->place_ = NotifieeConst::nowhere;
   }
}

void
Clock::dispatch( NotifieeConst& notifiee, AttributeId id, bool all ) {
   if ( all || id == timeAttributeId ) {
      notifiee.onTime();
   }
}

Seconds
Clock::nextTimeMin() const noexcept {
   if ( armed_.empty() ) {
      return never;
   }
   return armed_.front()->timeMin_;
}

unsigned
Clock::handleTime() {
   Ptr< Clock const > const alive( this );
   unsigned calls = 0;
   while ( !armed_.empty() && armed_.front()->timeMin_ <= now() ) {
      Ptr< NotifieeConst > const due( armed_.front() );
      due->wake();
      ++calls;
   }
   return calls;
}

// Makes room for one more.
void
Clock::watcherIs() const {
   if ( watchers_ == armed_.capacity() ) {
      armed_.reserve( std::max< std::size_t >( 4, 2 * watchers_ ) );
   }
   ++watchers_;
}

void
Clock::arm( NotifieeConst* notifiee ) const noexcept {
   armed_.push_back( notifiee );
   settle( notifiee, armed_.size() - 1 );
}

void
Clock::disarm( NotifieeConst* notifiee ) const noexcept {
   std::size_t const place = std::exchange( notifiee->place_, NotifieeConst::nowhere );
   NotifieeConst* const last = armed_.back();
   armed_.pop_back();
   if ( last != notifiee ) {
      settle( last, place );
   }
}

// Puts a notifiee where it belongs, coming from `place`: towards the root past later ones,
// or away from it past earlier ones.
void
Clock::settle( NotifieeConst* notifiee, std::size_t place ) const noexcept {
   while ( place > 0 && !earlier( ( place - 1 ) / 2, notifiee ) ) {
      placeIs( place, armed_[ ( place - 1 ) / 2 ] );
      place = ( place - 1 ) / 2;
   }
   for ( std::size_t child = 2 * place + 1; child < armed_.size(); child = 2 * place + 1 ) {
      if ( child + 1 < armed_.size() && earlier( child + 1, armed_[ child ] ) ) {
         ++child;
      }
      if ( !earlier( child, notifiee ) ) {
         break;
      }
      placeIs( place, armed_[ child ] );
      place = child;
   }
   placeIs( place, notifiee );
}

void
Clock::placeIs( std::size_t place, NotifieeConst* notifiee ) const noexcept {
   armed_[ place ] = notifiee;
   notifiee->place_ = place;
}

bool
Clock::earlier( std::size_t place, NotifieeConst const* notifiee ) const noexcept {
   NotifieeConst const* const other = armed_[ place ];
   return other->timeMin_ != notifiee->timeMin_
      ? other->timeMin_ < notifiee->timeMin_
      : other->registration_ < notifiee->registration_;
}

Clock::NotifieeConst::~NotifieeConst() {
   bind( nullptr );
}

void
Clock::NotifieeConst::isRegisteredNotifieeIs( bool registered ) const {
   if ( registered == isRegisteredNotifiee() ) {
      return;
   }
   leave();
   Entity::NotifieeConst::isRegisteredNotifieeIs( registered );
   arrive();
}

void
Clock::NotifieeConst::notifierIs( Ptr< PtrInterface const > const& notifier ) {
   bind( dynamic_cast< Clock const* >( notifier.ptr() ) );
}

void
Clock::NotifieeConst::bind( Notifier const* notifier ) const {
   if ( auto const* const clock = static_cast< Clock const* >( notifier ) ) {
      clock->watcherIs();
   }
   // Let go last: the old clock's last word may destroy or re-point this notifiee.
   Ptr< Clock const > const old( isWeakReference() ? nullptr : watched() );
   leave();
   if ( watched() ) {
      --watched()->watchers_;
   }
   Entity::NotifieeConst::bind( notifier );
   arrive();
}

// A deferred onTime comes on its own: the pending attribute id is of what the clock told
// as a notifier.
void
Clock::NotifieeConst::handleNotification( ActivityConfig* activity ) {
   bool const time = std::exchange( timePending_, false );
   if ( pendingAttributeId() != 0 ) {
      Entity::NotifieeConst::handleNotification( activity );
   }
   if ( time ) {
      callExpecting( *this, timeAttributeId, [ & ] {
         handleDefault( activity, timeAttributeId, false );
      } );
   }
}

void
Clock::NotifieeConst::onTime() {}

void
Clock::NotifieeConst::timeMinIs( Seconds const& timeMin ) noexcept {
   timeMin_ = timeMin;
   unfired_ = true;
   rearm();
}

void
Clock::NotifieeConst::arrive() const noexcept {
   if ( isRegisteredNotifiee() && watched() ) {
      registration_ = watched()->registrations_++;
      rearm();
   }
}

void
Clock::NotifieeConst::leave() const noexcept {
   if ( place_ != nowhere ) {
      watched()->disarm( const_cast< NotifieeConst* >( this ) );
   }
}

// Brings the clock's heap up to date with the notifiee.
void
Clock::NotifieeConst::rearm() const noexcept {
   bool const due = unfired_ && timeMin_ < never && isRegisteredNotifiee() && watched();
   if ( !due ) {
      leave();
   } else if ( place_ == nowhere ) {
      watched()->arm( const_cast< NotifieeConst* >( this ) );
   } else {
      watched()->settle( const_cast< NotifieeConst* >( this ), place_ );
   }
}

void
Clock::NotifieeConst::wake() {
   ActivityConfig* const activity = ryxFwkActivity();
   if ( activity ) {
      activity->notifieeIs( Ptr< PtrInterface::NotifieeConst >( this ) );
   }
   leave();
   unfired_ = false;
   if ( activity ) {
      timePending_ = true;
   } else {
      callExpecting( *this, timeAttributeId, [ this ] { onTime(); } );
   }
}

} // namespace Ryx
