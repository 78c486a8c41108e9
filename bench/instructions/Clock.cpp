// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The clock: timers that are set to another time, and timers that are due.

#include <Ryx/Clock>
#include <instructions/Measure>
#include <instructions/SetTime>

#include <vector>

namespace bench {

namespace {

constexpr std::size_t size = 1024;
constexpr Ryx::Seconds latest = 65'536;

class Timer final : public Ryx::Clock::NotifieeConst {
 public:
   explicit Timer( Ryx::Ptr< Ryx::Clock > const& clock ) {
      notifierIs( clock );
      isRegisteredNotifieeIs( true );
   }
   void onTime() override { ++fired; }

   std::size_t fired = 0;
};

// Times up to `latest`, in no order.
Ryx::Seconds
timeOf( std::size_t i ) {
   return static_cast< Ryx::Seconds >( i * 40'503 % 65'536 + 1 );
}

} // namespace

} // namespace bench

void
bench::measureClock() {
   SetTime time( 0 );
   auto const clock = Ryx::make< Ryx::Clock >();
   std::vector< Ryx::Ptr< Timer > > timers;
   while ( timers.size() < size ) {
      timers.push_back( Ryx::make< Timer >( clock ) );
   }
   clock->handleTime();
   measureEach( "clock/arm", size, [ & ]( std::size_t i ) {
      timers[ i ]->timeMinIs( timeOf( i ) );
   } );
   measureEach( "clock/re-arm", size, [ & ]( std::size_t i ) {
      timers[ i * 37 % size ]->timeMinIs( timeOf( size + i ) );
   } );
   time.nowIs( latest );
   std::size_t fired = 0;
   measure( "clock/fire", size, [ & ] { fired = clock->handleTime(); } );
   expect( fired == size && timers.front()->fired == 2, "every timer to fire once" );
}
