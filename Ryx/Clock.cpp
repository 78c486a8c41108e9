// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Clock>

#include <Ryx/Activity>

#include <algorithm>
#include <atomic>

namespace Ryx {

Clock::Clock( Name name ) : EntityOf( std::move( name ) ) {}

Clock::~Clock() {
   for ( Armed const& armed : armed_ ) {
      armed.notifiee->place_ = NotifieeConst::nowhere;
   }
}

void
Clock::dispatch( NotifieeConst& notifiee, AttributeId id, bool ) {
   if ( id == timeAttributeId ) {
      notifiee.onTime();
   }
}

Seconds
Clock::nextTimeMin() const noexcept {
   if ( armed_.empty() ) {
      return never;
   }
   return armed_.front().time;
}

// Makes room for one more. A new-handler may arm and disarm others meanwhile, and bind some:
// the heap is moved once there is memory. Timers that are not registered end on any thread.
void
Clock::watcherIs() const {
   std::atomic_ref const watchers( watchers_ );
   while ( watchers >= armed_.capacity() ) {
      std::vector< Armed > roomier;
      roomier.reserve( std::max< std::size_t >( 4, 2 * watchers ) );
      if ( roomier.capacity() > armed_.capacity() ) {
         roomier.assign( armed_.begin(), armed_.end() );
         armed_.swap( roomier );
      }
   }
   ++watchers;
}

inline bool
Clock::earlier( Armed const& a, Armed const& b ) noexcept {
   if ( a.time == b.time ) {
      return a.notifiee->registration_ < b.notifiee->registration_;
   }
   return a.time < b.time;
}

inline void
Clock::placeIs( std::size_t place, Armed const& armed ) const noexcept {
   armed_[ place ] = armed;
   armed.notifiee->place_ = place;
}

// Each place has so many below it.
constexpr std::size_t arity = 4;

constexpr std::size_t
above( std::size_t place ) {
   return ( place - 1 ) / arity;
}

constexpr std::size_t
firstBelow( std::size_t place ) {
   return arity * place + 1;
}

inline std::size_t
Clock::rise( Armed const& armed, std::size_t place ) const noexcept {
   while ( place > 0 && earlier( armed, armed_[ above( place ) ] ) ) {
      placeIs( place, armed_[ above( place ) ] );
      place = above( place );
   }
   return place;
}

inline std::size_t
Clock::earliestChild( std::size_t place ) const noexcept {
   std::size_t const first = firstBelow( place );
   std::size_t const end = std::min( first + arity, armed_.size() );
   std::size_t earliest = first;
   Seconds time = armed_[ first ].time;
   bool tied = false;
   // Steps without a branch: no processor can predict which is the earliest.
   for ( std::size_t child = first + 1; child < end; ++child ) {
      Seconds const other = armed_[ child ].time;
      tied |= other == time;
      earliest = other < time ? child : earliest;
      time = std::min( time, other );
   }
   if ( tied ) [[unlikely]] {
      for ( std::size_t child = first; child < end; ++child ) {
         earliest = earlier( armed_[ child ], armed_[ earliest ] ) ? child : earliest;
      }
   }
   return earliest;
}

inline std::size_t
Clock::sink( Armed const& armed, std::size_t place ) const noexcept {
   while ( firstBelow( place ) < armed_.size() ) {
      std::size_t const child = earliestChild( place );
      if ( !earlier( armed_[ child ], armed ) ) {
         break;
      }
      placeIs( place, armed_[ child ] );
      place = child;
   }
   return place;
}

// Puts a notifiee where it belongs, coming from `place`: towards the root past later ones,
// or away from it past earlier ones.
inline void
Clock::settle( Armed const& armed, std::size_t place ) const noexcept {
   placeIs( sink( armed, rise( armed, place ) ), armed );
}

inline void
Clock::arm( NotifieeConst* notifiee ) const noexcept {
   Armed const armed{ notifiee->timeMin_, notifiee };
   armed_.push_back( armed );
   placeIs( rise( armed, armed_.size() - 1 ), armed );
}

inline void
Clock::disarm( NotifieeConst* notifiee ) const noexcept {
   std::size_t const place = std::exchange( notifiee->place_, NotifieeConst::nowhere );
   Armed const last = armed_.back();
   armed_.pop_back();
   if ( last.notifiee != notifiee ) {
      settle( last, place );
   }
}

unsigned
Clock::handleTime() {
   unsigned calls = 0;
   if ( !isDue() ) {
      return calls;
   }
   Delivery delivery( *this );
   do {
      NotifieeConst& due = *armed_.front().notifiee;
      if ( due.isEnding() ) [[unlikely]] {
         due.leave();
         continue;
      }
      Delivery::Turn const turn( delivery, due );
      if ( due.isDeferred() ) [[unlikely]] {
         calls += fireDeferred( due, delivery ) ? 1 : 0;
      } else {
         fire( due, delivery );
         ++calls;
      }
   } while ( isDue() );
   return calls;
}

inline void
Clock::fire( NotifieeConst& due, Delivery const& delivery ) {
   due.fired();
   try {
      due.onTime();
   } catch ( ... ) {
      delivery.handleException( due, timeAttributeId );
   }
}

// False if it is not the next one any more when it has been asked for its activity.
bool
Clock::fireDeferred( NotifieeConst& due, Delivery const& delivery ) {
   ActivityConfig* activity = nullptr;
   try {
      activity = delivery.activityOf( due );
   } catch ( ... ) {
      bool const fires = isNext( due );
      if ( fires ) {
         due.fired();
      }
      delivery.handleException( due, timeAttributeId );
      return fires;
   }
   if ( !isNext( due ) ) {
      return false;
   }
   if ( activity ) {
      due.queueAt( *activity );
   } else {
      // It has lost its activity since it registered.
      fire( due, delivery );
   }
   return true;
}

Clock::NotifieeConst::~NotifieeConst() {
   bind( nullptr );
}

void
Clock::NotifieeConst::isRegisteredNotifieeIs( bool registered ) const {
   if ( registered == isRegisteredNotifiee() ) {
      return;
   }
   withdraw();
   Entity::NotifieeConst::isRegisteredNotifieeIs( registered );
   arrive();
}

void
Clock::NotifieeConst::notifierIs( Ptr< PtrInterface const > const& notifier ) {
   bind( dynamic_cast< Clock const* >( notifier.ptr() ) );
}

void
Clock::NotifieeConst::bind( Notifier const* notifier ) const {
   // It may be let go of when the notifiee is asked for its activity, and by a new-handler.
   Ptr< Notifier const > const alive( notifier );
   bool const deferred = notifier && isRegisteredNotifiee() && isToBeDeferred();
   if ( auto const* const clock = static_cast< Clock const* >( notifier ) ) {
      clock->watcherIs();
   }
   // Let go of at the end: the old clock's onZeroReferences may destroy or re-point this
   // notifiee.
   Ptr< Clock const > const old( isWeakReference() ? nullptr : watched() );
   withdraw();
   if ( watched() ) {
      --std::atomic_ref( watched()->watchers_ );
   }
   bindAs( deferred, notifier );
   arrive();
}

// A deferred onTime is told apart from the pending attribute id, which is of what the clock
// told as a notifier. A callback of the latter may take the time back.
void
Clock::NotifieeConst::handleNotification( ActivityConfig* activity ) {
   if ( !timePending_ ) {
      Entity::NotifieeConst::handleNotification( activity );
      return;
   }
   if ( AttributeId const id = pendingAttributeId() ) {
      callExpecting(
         *this, id, [ & ] { Entity::NotifieeConst::handleNotification( activity ); } );
   }
   if ( timePending_ && watched() ) {
      timeDropped();
      callExpecting( *this, timeAttributeId, [ & ] {
         handleDefault( activity, timeAttributeId, false );
      } );
   }
}

void
Clock::NotifieeConst::onTime() {}

void
Clock::NotifieeConst::timeMinIs( Seconds const& timeMin ) noexcept {
   timeDropped();
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

// Leaves the heap, and takes back a queued onTime: it has not fired.
void
Clock::NotifieeConst::withdraw() const noexcept {
   leave();
   unfired_ = unfired_ || timePending_;
   timeDropped();
}

void
Clock::NotifieeConst::timeDropped() const noexcept {
   if ( timePending_ ) [[unlikely]] {
      timePending_ = false;
      waitsNoMore();
   }
}

// The activity with the queued onTime has gone: the timer is due again.
void
Clock::NotifieeConst::activityLost() const noexcept {
   withdraw();
   rearm();
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
      watched()->settle( { timeMin_, const_cast< NotifieeConst* >( this ) }, place_ );
   }
}

void
Clock::NotifieeConst::fired() const noexcept {
   leave();
   unfired_ = false;
}

void
Clock::NotifieeConst::queueAt( ActivityConfig& activity ) {
   fired();
   timePending_ = true;
   activity.notifieeIs( Ptr< PtrInterface::NotifieeConst >( this ) );
}

void
Clock::NotifieeConst::zeroReferencesIs( bool zero ) {
   hasBeenLetGo_ = true;
   Entity::NotifieeConst::zeroReferencesIs( zero );
}

// There is no reference while the destructors run. A notifiee that is merely held has none
// either; zeroReferencesIs is not called for one that was held before its last reference
// went.
bool
Clock::NotifieeConst::isEnding() const noexcept {
   return hasBeenLetGo_ && !Delivery::isHeld( *this );
}

} // namespace Ryx
