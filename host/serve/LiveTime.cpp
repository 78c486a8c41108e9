// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/LiveTime>

#include <host/base/Failure>

#include <fmt/format.h>

#include <cerrno>
#include <chrono>
#include <cstring>

#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>

namespace ostra {

namespace {

Milliseconds
read( clockid_t clock ) {
   timespec now{};
   clock_gettime( clock, &now );
   return Milliseconds( now.tv_sec ) * 1000 + now.tv_nsec / 1'000'000;
}

// The time of a timer that is due at once; one of zero would never be.
constexpr timespec atOnce{ 0, 1 };

} // namespace

BootClock::BootClock()
      : timer_( timerfd_create( CLOCK_BOOTTIME, TFD_CLOEXEC | TFD_NONBLOCK ) ) {
   if ( timer_ < 0 ) {
      throw Failure(
         ExitStatus::failed, fmt::format( "ostra: no timer: {}", std::strerror( errno ) ) );
   }
}

BootClock::~BootClock() {
   close( timer_ );
}

Milliseconds
BootClock::sinceBoot() const {
   return read( CLOCK_BOOTTIME );
}

Milliseconds
BootClock::date() const {
   return read( CLOCK_REALTIME );
}

void
BootClock::wakeUpIs( Ryx::Seconds wakeUp ) {
   itimerspec timer{};
   if ( auto const moment = firstMomentAt( wakeUp ) ) {
      timer.it_value = *moment > 0
         ? timespec{ static_cast< time_t >( *moment / 1000 ),
                     static_cast< long >( *moment % 1000 * 1'000'000 ) }
         : atOnce;
   }
   timerfd_settime( timer_, TFD_TIMER_ABSTIME, &timer, nullptr );
}

LiveTime::LiveTime( LiveClock& clock ) : clock_( clock ), moment_( clock.sinceBoot() ) {
   Ryx::timeSourceIs( this );
}

LiveTime::~LiveTime() {
   Ryx::timeSourceIs( nullptr );
}

std::string
dateText( Milliseconds date ) {
   using namespace std::chrono;
   sys_time< milliseconds > const time{ milliseconds( date ) };
   auto const day = floor< days >( time );
   year_month_day const ymd( day );
   hh_mm_ss const clock( time - day );
   return fmt::format(
      "{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z",
      int( ymd.year() ),
      unsigned( ymd.month() ),
      unsigned( ymd.day() ),
      clock.hours().count(),
      clock.minutes().count(),
      clock.seconds().count(),
      clock.subseconds().count() );
}

} // namespace ostra
