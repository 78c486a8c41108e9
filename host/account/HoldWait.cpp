// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/account/HoldWait>

#include <host/base/Words>

#include <algorithm>
#include <cmath>

namespace ostra {

Waits::Waits( SwitchFacts const& facts )
      : facts_( facts ),
        mlag_( ofClass( PortClass::mlag ) ),
        nonMlag_( ofClass( PortClass::nonMlag ) ) {
   if ( !facts.isMachineThere() ) {
      common_ = { "with nothing there to release" };
   } else if ( !facts.isDelayRunning() ) {
      common_ = { "although the reload delay is over",
                  mlag_.hasTimer || nonMlag_.hasTimer };
   }
}

Wait
Waits::ofClass( PortClass portClass ) const {
   if ( facts_.isHeld( portClass ) ) {
      double const delay = facts_.delay( portClass );
      return std::isfinite( delay )
         ? Wait{ "until the delay of " + delayText( delay ) + " is over", true }
         : Wait{ "waiting without end" };
   }
   return { portClass == PortClass::mlag ? "although the delay of MLAG ports is over"
                                         : "although the delay of non-MLAG ports is over" };
}

Wait
Waits::of( Hold const& hold ) const {
   if ( common_ ) {
      return *common_;
   }
   if ( hold.kind == HolderKind::standby ) {
      return facts_.isMeantForStandby( hold.id )
         ? mlag_
         : Wait{ "not put in standby by this state machine" };
   }
   bool const isMlag = mlag_ == nonMlag_ || facts_.classOf( hold.id ) == PortClass::mlag;
   return isMlag ? mlag_ : nonMlag_;
}

double
remainingSeconds( double end, double now ) {
   return std::isfinite( end ) ? std::max( 0.0, std::round( ( end - now ) * 1000 ) / 1000 )
                               : end;
}

} // namespace ostra
