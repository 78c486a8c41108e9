// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Ryx: notifiees of a clock.

#include <Ryx/Clock>
#include <clock/Timers>

namespace {

class Time final : public Ryx::TimeSource {
 public:
   Ryx::Seconds now() const override { return value; }

   Ryx::Seconds value = 0;
};

Time&
time() {
   static Time time;
   return time;
}

class Timer final : public Ryx::Clock::NotifieeConst {
 public:
   explicit Timer( Ryx::Ptr< Ryx::Clock > const& clock ) {
      notifierIs( clock );
      isRegisteredNotifieeIs( true );
   }
   void onTime() override { ++fired; }

   unsigned fired = 0;
};

class Subject {
 public:
   explicit Subject( std::size_t timers ) {
      Ryx::timeSourceIs( &time() );
      while ( timers_.size() < timers ) {
         timers_.push_back( Ryx::make< Timer >( clock_ ) );
      }
   }
   void arm( std::size_t timer, Ryx::Seconds when ) { timers_[ timer ]->timeMinIs( when ); }
   void fireAll() {
      time().value = bench::latest;
      clock_->handleTime();
      time().value = 0;
   }
   unsigned fired() const {
      unsigned fired = 0;
      for ( auto const& timer : timers_ ) {
         fired += timer->fired;
      }
      return fired;
   }

 private:
   Ryx::Ptr< Ryx::Clock > clock_ = Ryx::make< Ryx::Clock >();
   std::vector< Ryx::Ptr< Timer > > timers_;
};

bool const measured = bench::measured< Subject >( "Ryx" );

} // namespace
