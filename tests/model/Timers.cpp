// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The two reload-delay periods.

#include <model/Machine>

#include <cmath>
#include <sstream>

namespace model {

namespace {

float const fractions[] = { 0.75F, 0.95F };
double const logMinTime = 10.0;

} // namespace

double
Machine::delayOf( bool mlag ) const {
   auto const& config = env_.mounts.mlagConfig;
   bool const separate = !mlag && config.reloadDelayNonMlagConfigured;
   return separate ? config.reloadDelayNonMlag : config.reloadDelay;
}

void
Machine::resume( double start ) {
   double const now = env_.now();
   if ( start > now + delayOf( true ) || start > now + delayOf( false ) ) {
      start = now;
   }
   env_.portsErrdisabledWhenIs( start );
   for ( bool const mlag : { true, false } ) {
      double const elapsed = now - start;
      unsigned i = 0;
      while ( i < 2 && !( fractions[ i ] * delayOf( mlag ) > elapsed ) ) {
         ++i;
      }
      classOf( mlag ).count = i;
   }
}

void
Machine::arm( bool mlag ) {
   Class& ports = classOf( mlag );
   if ( !ports.held ) {
      return;
   }
   double const delay = delayOf( mlag );
   double const start = env_.mounts.portsErrdisabledWhen;
   if ( initialized_ ) {
      ports.count = 0;
   }
   double wake = delay + start;
   if ( isNever( delay ) ) {
      wake = never;
   } else if ( delay > logMinTime && ports.count <= 1 ) {
      wake = delay * fractions[ ports.count ] + start;
      ++ports.count;
   }
   if ( env_.now() >= wake ) {
      release( mlag );
   } else {
      ports.timer.wakeIs( wake );
   }
}

void
Machine::onReloadDelay() {
   arm( true );
   if ( !env_.mounts.mlagConfig.reloadDelayNonMlagConfigured ) {
      arm( false );
   }
}

void
Machine::onReloadDelayNonMlag() {
   arm( false );
}

void
Machine::clock( bool mlag ) {
   if ( !initialized_ ) {
      return;
   }
   Class& ports = classOf( mlag );
   double const now = env_.now();
   double const start = env_.mounts.portsErrdisabledWhen;
   double const delay = delayOf( mlag );
   double const fraction = ports.count > 1 ? 1.0 : fractions[ ports.count++ ];
   double const next = fraction * delay + start;
   double const end = delay + start;
   if ( !( next > now ) && end <= now ) {
      release( mlag );
      return;
   }
   announce( mlag, end );
   ports.timer.wakeIs( next > now ? next : end );
}

void
Machine::announce( bool mlag, double end ) {
   auto const& config = env_.mounts.mlagConfig;
   if (
      !mlag &&
      !( config.reloadDelayNonMlagConfigured &&
         config.reloadDelayNonMlag != config.reloadDelay ) ) {
      return;
   }
   std::ostringstream text;
   text << "Mlag reload-delay period" << ( mlag ? " " : " for non MLAG interfaces " )
        << "will end in " << std::ceil( end - env_.now() ) << " seconds";
   env_.log( text.str() );
}

bool
Machine::periodOver( bool mlag ) const {
   return !isNever( delayOf( mlag ) ) && isNever( ( mlag ? mlag_ : nonMlag_ ).timer.wake );
}

double
Machine::nextWake() const {
   double next = never;
   for ( Timer const* timer : { &mlag_.timer, &nonMlag_.timer } ) {
      if ( timer->isArmed() && timer->wake < next ) {
         next = timer->wake;
      }
   }
   return next;
}

void
Machine::wakeUp() {
   for ( double due; ( due = nextWake() ) <= env_.now(); ) {
      bool const mlag = mlag_.timer.isArmed() && mlag_.timer.wake == due;
      classOf( mlag ).timer.isPending = false;
      clock( mlag );
   }
}

} // namespace model
