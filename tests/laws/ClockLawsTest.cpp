// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Random programs on timers and clocks, in step with the dullest thing that does the same:
// a row of wake-up times that is searched for the earliest. Timers change anything while
// they are called.

#include "Laws"

#include <Ryx/Clock>
#include <support/SimulatedTime>

#include <deque>
#include <vector>

namespace {

using support::SimulatedTime;
using Words = std::vector< std::uint32_t >;

constexpr unsigned timers = 20;
constexpr unsigned clocks = 2;

class Bench;

class Timer final : public Ryx::Clock::NotifieeConst {
 public:
   Timer( Bench& bench, unsigned number ) : bench_( bench ), number_( number ) { ++live; }
   ~Timer() override { --live; }
   void onTime() override;
   void onNotificationException( Ryx::AttributeId id ) override;

   static inline int live = 0;

 private:
   Bench& bench_;
   unsigned number_;
};

// What is expected of a timer.
struct Expected {
   unsigned clock = clocks;
   bool registered = false;
   bool unfired = true;
   Ryx::Seconds timeMin = 0;
   unsigned registration = 0;
   std::deque< Words > lessons;

   bool armed( unsigned on ) const {
      return clock == on && registered && unfired && timeMin < Ryx::never;
   }
};

struct Reached {
   unsigned programs = 0;
   unsigned firedInside = 0;
   unsigned raised = 0;
   unsigned dropped = 0;
};

class Bench {
 public:
   explicit Bench( Reached& reached ) : reached_( reached ) {
      for ( unsigned i = 0; i < timers; ++i ) {
         make( i );
         bind( i, i % clocks );
         registeredIs( i, true );
      }
   }

   void run( Words const& words ) {
      for ( std::size_t i = 0; i < words.size(); ++i ) {
         std::size_t const taught =
            std::min< std::size_t >( words[ i ] % 4, words.size() - i - 1 );
         auto const begin = words.begin() + static_cast< std::ptrdiff_t >( i + 1 );
         perform(
            words[ i ] / 4,
            Words( begin, begin + static_cast< std::ptrdiff_t >( taught ) ) );
         check();
      }
   }
   void fired( unsigned i ) {
      reached_.firedInside += inside_++ != 0;
      RC_ASSERT( !due_.empty() );
      RC_ASSERT( earliest( due_.back() ) == i );
      Expected& expected = expected_[ i ];
      expected.unfired = false;
      raised_ = false;
      if ( !expected.lessons.empty() ) {
         Words const lesson = expected.lessons.front();
         expected.lessons.pop_front();
         run( lesson );
         if ( lesson.front() % 3 == 0 ) {
            raised_ = true;
            --inside_;
            throw std::string( "no" );
         }
      }
      --inside_;
   }
   void excepted( Ryx::AttributeId id ) {
      RC_ASSERT( raised_ );
      RC_ASSERT( id == Ryx::Clock::timeAttributeId );
      raised_ = false;
      ++reached_.raised;
   }

 private:
   void make( unsigned i ) {
      reached_.dropped += timer_[ i ] && inside_ != 0;
      timer_[ i ] = Ryx::make< Timer >( *this, i );
      expected_[ i ] = Expected();
   }
   void bind( unsigned i, unsigned clock ) {
      timer_[ i ]->notifierIs( clock == clocks ? nullptr : clock_[ clock ] );
      expected_[ i ].clock = clock;
      expected_[ i ].registration = registrations_++;
   }
   void registeredIs( unsigned i, bool registered ) {
      timer_[ i ]->isRegisteredNotifieeIs( registered );
      if ( registered != expected_[ i ].registered ) {
         expected_[ i ].registered = registered;
         expected_[ i ].registration = registrations_++;
      }
   }
   void timeMinIs( unsigned i, Ryx::Seconds timeMin ) {
      timer_[ i ]->timeMinIs( timeMin );
      expected_[ i ].timeMin = timeMin;
      expected_[ i ].unfired = true;
   }
   void handleTime( unsigned clock ) {
      due_.push_back( clock );
      clock_[ clock ]->handleTime();
      due_.pop_back();
      unsigned const left = earliest( clock );
      bool const handled = left == timers || expected_[ left ].timeMin > time_.value;
      RC_ASSERT( handled );
   }
   void perform( std::uint32_t word, Words lesson ) {
      unsigned const op = word % 16;
      unsigned const i = word / 16 % timers;
      unsigned const number = word / 16 / timers;
      if ( op < 6 ) {
         timeMinIs( i, time_.value + number % 12 - 3 );
      } else if ( op == 6 ) {
         timeMinIs( i, Ryx::never );
      } else if ( op == 7 ) {
         make( i );
      } else if ( op == 8 ) {
         bind( i, number % ( clocks + 1 ) );
      } else if ( op == 9 ) {
         registeredIs( i, number % 2 );
      } else if ( op == 10 ) {
         registeredIs( i, false );
         registeredIs( i, true );
      } else if ( op < 14 ) {
         if ( !lesson.empty() ) {
            expected_[ i ].lessons.push_back( std::move( lesson ) );
         }
      } else {
         time_.value += number % 4;
         handleTime( i % clocks );
      }
   }

   bool earlier( Expected const& a, Expected const& b ) const {
      return a.timeMin != b.timeMin ? a.timeMin < b.timeMin
                                    : a.registration < b.registration;
   }
   // The timer that a clock calls first, `timers` when none is armed.
   unsigned earliest( unsigned clock ) const {
      unsigned first = timers;
      for ( unsigned i = 0; i < timers; ++i ) {
         if (
            expected_[ i ].armed( clock ) &&
            ( first == timers || earlier( expected_[ i ], expected_[ first ] ) ) ) {
            first = i;
         }
      }
      return first;
   }
   void check() const {
      for ( unsigned clock = 0; clock < clocks; ++clock ) {
         unsigned const first = earliest( clock );
         RC_ASSERT(
            clock_[ clock ]->nextTimeMin() ==
            ( first == timers ? Ryx::never : expected_[ first ].timeMin ) );
      }
   }

   Reached& reached_;
   SimulatedTime time_{ 100 };
   std::array< Ryx::Ptr< Ryx::Clock >, clocks > clock_{ Ryx::make< Ryx::Clock >(),
                                                        Ryx::make< Ryx::Clock >() };
   std::array< Ryx::Ptr< Timer >, timers > timer_;
   std::array< Expected, timers > expected_;
   unsigned registrations_ = 0;
   unsigned inside_ = 0;
   bool raised_ = false;
   // The clocks whose time is being handled, the innermost last.
   std::vector< unsigned > due_;
};

void
Timer::onTime() {
   bench_.fired( number_ );
}

void
Timer::onNotificationException( Ryx::AttributeId id ) {
   bench_.excepted( id );
}

TEST( ClockLaws, TimersFireAsARowOfWakeUpTimesSays ) {
   Reached reached;
   laws::check( [ &reached ] {
      ++reached.programs;
      Bench( reached ).run( *laws::anyWords( 2 ) );
      RC_ASSERT( Timer::live == 0 );
   } );
   if ( reached.programs < laws::enough ) {
      return;
   }
   EXPECT_GT( reached.firedInside, 0u );
   EXPECT_GT( reached.raised, 0u );
   EXPECT_GT( reached.dropped, 0u );
}

} // namespace
