// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The reload-delay timers: arming, intermediate wake-ups and messages.

#include <Mlag/MlagErrdisableSm>
#include <Mlag/ReloadPeriod>
#include <Mlag/SmDiagnostics>

#include <cmath>

namespace Mlag::Ostra {

Ryx::Seconds
MlagErrdisableSm::reloadDelayNonMlag() const {
   trace( 8, __PRETTY_FUNCTION__ );
   auto const& config = inputHere< &Sm::mlagConfig_ >();
   return config.reloadDelayNonMlagConfigured() ? config.reloadDelayNonMlag()
                                                : config.reloadDelay();
}

Ryx::Seconds
MlagErrdisableSm::delayOf( bool mlag ) const {
   return mlag ? inputHere< &Sm::mlagConfig_ >().reloadDelay() : reloadDelayNonMlag();
}

// A timer whose clock was taken away is null: it has no wake-up.
Ryx::Clock::NotifieeConst*
MlagErrdisableSm::timerOf( bool mlag ) const {
   if ( mlag ) {
      return clockMlag_.reactor.ptr();
   }
   return clockNonMlag_.reactor.ptr();
}

Ryx::Seconds
MlagErrdisableSm::wakeTime( bool mlag ) const {
   Ryx::Clock::NotifieeConst const* const timer = timerOf( mlag );
   return timer ? timer->timeMin() : Ryx::never;
}

void
MlagErrdisableSm::wakeTimeIs( bool mlag, Ryx::Seconds wake ) {
   if ( Ryx::Clock::NotifieeConst* const timer = timerOf( mlag ) ) {
      timer->timeMinIs( wake );
   }
}

void
MlagErrdisableSm::releaseClass( bool mlag ) {
   if ( mlag ) {
      doClearErrdisableMlagIntfStatus();
   } else {
      doClearErrdisableNonMlagIntfStatus();
   }
}

void
MlagErrdisableSm::handleReloadDelay() {
   trace( 8, __PRETTY_FUNCTION__ );
   handleReloadDelayMlag();
   if ( !mlagConfig()->reloadDelayNonMlagConfigured() ) {
      handleReloadDelayNonMlag();
   }
}

void
MlagErrdisableSm::handleReloadDelayMlag() {
   trace( 8, __PRETTY_FUNCTION__ );
   handleReloadDelay_( true );
}

void
MlagErrdisableSm::handleReloadDelayNonMlag() {
   trace( 8, __PRETTY_FUNCTION__ );
   handleReloadDelay_( false );
}

void
MlagErrdisableSm::handleReloadDelay_( bool mlag ) {
   if ( !( mlag ? mlagPortsErrdisabled_ : nonMlagPortsErrdisabled_ ) ) {
      return;
   }
   unsigned char& count = mlag ? timerCount_ : timerCountNonMlag_;
   Ryx::Seconds const delay = delayOf( mlag );
   Ryx::Seconds const start = mlagProtoStatus_->portsErrdisabledWhen();
   if ( initialized_ ) {
      count = 0;
   }
   Ryx::Seconds wake = Ryx::never;
   if ( Ryx::isInfinite( delay ) ) {
      // Held without a timer.
   } else if ( delay > logMinTime_ && count < periodPointCount ) {
      wake = delay * static_cast< double >( periodPoints[ count++ ] ) + start;
   } else {
      wake = delay + start;
   }
   // An intermediate point that has passed ends the period too: a delay that is changed
   // late in the new period releases the class at once.
   if ( Ryx::now() >= wake ) {
      releaseClass( mlag );
   } else {
      wakeTimeIs( mlag, wake );
   }
}

void
MlagErrdisableSm::handleClockMlag() {
   handleClock_( true );
}

void
MlagErrdisableSm::handleClockNonMlag() {
   handleClock_( false );
}

void
MlagErrdisableSm::handleClock_( bool mlag ) {
   if ( !initialized_ ) {
      return;
   }
   trace( 8, __PRETTY_FUNCTION__ );
   unsigned char& count = mlag ? timerCount_ : timerCountNonMlag_;
   Ryx::Seconds const now = Ryx::now();
   Ryx::Seconds const start = mlagProtoStatus_->portsErrdisabledWhen();
   Ryx::Seconds const delay = delayOf( mlag );
   double const fraction =
      count < periodPointCount ? static_cast< double >( periodPoints[ count++ ] ) : 1.0;
   Ryx::Seconds const next = fraction * delay + start;
   Ryx::Seconds const end = delay + start;
   bool const isAhead = next > now;
   if ( !isAhead && end <= now ) {
      releaseClass( mlag );
      return;
   }
   announceEnd( mlag, std::ceil( end - Ryx::now() ) );
   wakeTimeIs( mlag, isAhead ? next : end );
}

void
MlagErrdisableSm::announceEnd( bool mlag, Ryx::Seconds left ) {
   auto const config = mlagConfig();
   if ( mlag ) {
      Ryx::log( reloadDelayEnding(), " ", left );
   } else if (
      config->reloadDelayNonMlagConfigured() &&
      config->reloadDelayNonMlag() != config->reloadDelay() ) {
      Ryx::log( reloadDelayEnding(), " for non MLAG interfaces ", left );
   }
}

} // namespace Mlag::Ostra
