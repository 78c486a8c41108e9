// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Out of memory in timers and in deferred delivery.

#include "Sweep"

#include <Mlag/Config>
#include <Ryx/Activity>
#include <Ryx/Clock>
#include <support/SimulatedTime>

#include <array>

namespace faults {

namespace {

using Ryx::Ptr;

class Timer final : public Ryx::Clock::NotifieeConst {
 public:
   void onTime() override { ++fired; }
   Ryx::ActivityConfig* ryxFwkActivity() override { return activity.ptr(); }
   unsigned fired = 0;
   Ptr< Ryx::ActivityConfig > activity;
};

struct OneTimer {
   OneTimer() { timer->timeMinIs( 200 ); }
   std::string state() const {
      return std::to_string( clock->nextTimeMin() ) + " " +
         std::to_string( clock->references() ) + " " + std::to_string( timer->fired );
   }
   support::SimulatedTime time{ 100 };
   Ptr< Ryx::Clock > clock = Ryx::make< Ryx::Clock >( "clock" );
   Ptr< Timer > timer = Ryx::make< Timer >();
};
struct Bind : OneTimer {
   void act() {
      timer->isRegisteredNotifieeIs( true );
      timer->notifierIs( clock );
   }
};

TEST( TimerFaults, ATimerIsArmedWhenItIsBoundOrNotBound ) {
   sweep< Bind >();
}

// Bound timers come and go without memory.
struct Arm : OneTimer {
   Arm() {
      for ( auto& other : others ) {
         other = Ryx::make< Timer >();
         other->notifierIs( clock );
      }
   }
   void act() {
      for ( auto const& other : others ) {
         other->timeMinIs( 150 );
         other->isRegisteredNotifieeIs( true );
         other->hasNotificationActiveIs( false );
         other->hasNotificationActiveIs( true );
      }
   }
   std::array< Ptr< Timer >, 40 > others;
};

TEST( TimerFaults, ABoundTimerIsArmedWithoutMemory ) {
   sweepWithoutMemory< Arm >();
   Arm scene;
   support::AllocationCounter const counter;
   scene.act();
   EXPECT_EQ( counter.allocations(), 0u );
   EXPECT_EQ( scene.clock->nextTimeMin(), 150 );
}

struct FireDeferred : OneTimer {
   FireDeferred() {
      timer->activity = activity;
      timer->notifierIs( clock );
      timer->isRegisteredNotifieeIs( true );
      timer->timeMinIs( 50 );
   }
   void act() {
      clock->handleTime();
      activity->handleActivity();
   }
   Ptr< Ryx::ActivityConfig > activity = Ryx::make< Ryx::ActivityConfig >();
};

TEST( TimerFaults, AWakeUpIsQueuedWithoutMemory ) {
   sweepWithoutMemory< FireDeferred >();
}

// The first time, and bound to a clock.
struct RegisterDeferred : OneTimer {
   RegisterDeferred() {
      timer->activity = Ryx::make< Ryx::ActivityConfig >();
      timer->notifierIs( clock );
   }
   void act() { timer->isRegisteredNotifieeIs( true ); }
};

struct BindDeferred : OneTimer {
   BindDeferred() {
      timer->activity = Ryx::make< Ryx::ActivityConfig >();
      timer->isRegisteredNotifieeIs( true );
   }
   void act() { timer->notifierIs( clock ); }
};

TEST( TimerFaults, ADeferredTimerIsRegisteredOrNot ) {
   sweep< RegisterDeferred >();
   sweep< BindDeferred >();
}

// Deferred delivery.
class Deferred final : public Mlag::Config::NotifieeConst {
 public:
   void onEnabled() override { ++told; }
   Ryx::ActivityConfig* ryxFwkActivity() override { return activity.ptr(); }
   unsigned told = 0;
   Ptr< Ryx::ActivityConfig > activity;
};

struct Defer {
   Defer() {
      for ( auto& observer : observers ) {
         observer = Ryx::make< Deferred >();
         observer->activity = activity;
         observer->notifierIs( config );
         observer->isRegisteredNotifieeIs( true );
      }
   }
   void act() {
      config->enabledIs( true );
      activity->handleActivity();
   }
   std::string state() const {
      std::string text;
      for ( auto const& observer : observers ) {
         text += std::to_string( observer->told );
      }
      return text + ( config->enabled() ? " on" : " off" );
   }
   Ptr< Mlag::Config > config = Ryx::make< Mlag::Config >( "config" );
   Ptr< Ryx::ActivityConfig > activity = Ryx::make< Ryx::ActivityConfig >();
   std::array< Ptr< Deferred >, 20 > observers;
};

TEST( DeferredFaults, ANotifieeIsQueuedAndToldWithoutMemory ) {
   sweepWithoutMemory< Defer >();
}

struct RegisterForAnActivity : Defer {
   RegisterForAnActivity() {
      for ( auto& observer : observers ) {
         observer = Ryx::make< Deferred >();
         observer->activity = activity;
         observer->notifierIs( config );
      }
   }
   void act() {
      for ( auto const& observer : observers ) {
         observer->isRegisteredNotifieeIs( true );
      }
      if ( config->notifieeCount() == observers.size() ) {
         Defer::act();
      }
   }
};

TEST( DeferredFaults, ANotifieeIsRegisteredOrNot ) {
   sweep< RegisterForAnActivity >();
}

// A notifiee that is not registered at its turn goes on waiting, whatever happens.
struct Wait : Defer {
   Wait() {
      config->enabledIs( true );
      observers.front()->isRegisteredNotifieeIs( false );
   }
   ~Wait() { observers.front()->activity = nullptr; }
   void act() { activity->handleActivity(); }
   std::string state() const {
      return Defer::state() + " " + std::to_string( activity->pending() );
   }
};

TEST( DeferredFaults, WaitingNeedsNoMemory ) {
   sweepWithoutMemory< Wait >();
}

} // namespace

} // namespace faults
