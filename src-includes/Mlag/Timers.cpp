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
MlagErrdisableSm::delayOf( PortClass ports ) const {
   return ports == PortClass::mlag ? inputHere< &Sm::mlagConfig_ >().reloadDelay()
                                   : reloadDelayNonMlag();
}

bool
MlagErrdisableSm::isHeld( PortClass ports ) const {
   return ports == PortClass::mlag ? mlagPortsErrdisabled_ : nonMlagPortsErrdisabled_;
}

// The number of the period's next point.
unsigned char&
MlagErrdisableSm::pointCount( PortClass ports ) {
   return ports == PortClass::mlag ? timerCount_ : timerCountNonMlag_;
}

// A timer whose clock was taken away is null: it has no wake-up.
Ryx::Clock::NotifieeConst*
MlagErrdisableSm::timerOf( PortClass ports ) const {
   if ( ports == PortClass::mlag ) {
      return clockMlag_.reactor.ptr();
   }
   return clockNonMlag_.reactor.ptr();
}

Ryx::Seconds
MlagErrdisableSm::wakeTime( PortClass ports ) const {
   Ryx::Clock::NotifieeConst const* const timer = timerOf( ports );
   return timer ? timer->timeMin() : Ryx::never;
}

void
MlagErrdisableSm::wakeTimeIs( PortClass ports, Ryx::Seconds wake ) {
   if ( Ryx::Clock::NotifieeConst* const timer = timerOf( ports ) ) {
      timer->timeMinIs( wake );
   }
}

bool
MlagErrdisableSm::periodOver( PortClass ports ) const {
   return !Ryx::isInfinite( delayOf( ports ) ) && Ryx::isInfinite( wakeTime( ports ) );
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
   PortClass const ports = portClass( mlag );
   if ( !isHeld( ports ) ) {
      return;
   }
   unsigned char& count = pointCount( ports );
   Ryx::Seconds const delay = delayOf( ports );
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
      releaseClass( ports );
   } else {
      wakeTimeIs( ports, wake );
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
   PortClass const ports = portClass( mlag );
   unsigned char& count = pointCount( ports );
   Ryx::Seconds const now = Ryx::now();
   Ryx::Seconds const start = mlagProtoStatus_->portsErrdisabledWhen();
   Ryx::Seconds const delay = delayOf( ports );
   double const fraction =
      count < periodPointCount ? static_cast< double >( periodPoints[ count++ ] ) : 1.0;
   Ryx::Seconds const next = fraction * delay + start;
   Ryx::Seconds const end = delay + start;
   bool const isAhead = next > now;
   if ( !isAhead && end <= now ) {
      releaseClass( ports );
      return;
   }
   announceEnd( ports, std::ceil( end - Ryx::now() ) );
   wakeTimeIs( ports, isAhead ? next : end );
}

void
MlagErrdisableSm::announceEnd( PortClass ports, Ryx::Seconds left ) {
   Ryx::LogHandle* const message = reloadDelayEnding();
   if ( !message ) {
      return;
   }
   auto const config = mlagConfig();
   if ( ports == PortClass::mlag ) {
      Ryx::log( *message, " ", left );
   } else if (
      config->reloadDelayNonMlagConfigured() &&
      config->reloadDelayNonMlag() != config->reloadDelay() ) {
      Ryx::log( *message, " for non MLAG interfaces ", left );
   }
}

} // namespace Mlag::Ostra
