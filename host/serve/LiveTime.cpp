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
   return std::chrono::floor< Milliseconds >(
      std::chrono::seconds( now.tv_sec ) + std::chrono::nanoseconds( now.tv_nsec ) );
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
   if ( auto const instant = firstInstantAt( wakeUp ) ) {
      auto const seconds = std::chrono::floor< std::chrono::seconds >( *instant );
      timer.it_value = *instant > Milliseconds( 0 )
         ? timespec{ seconds.count(),
                     std::chrono::nanoseconds( *instant - seconds ).count() }
         : atOnce;
   }
   timerfd_settime( timer_, TFD_TIMER_ABSTIME, &timer, nullptr );
}

LiveTime::LiveTime( LiveClock& clock ) : clock_( clock ), instant_( clock.sinceBoot() ) {
   Ryx::timeSourceIs( this );
}

LiveTime::~LiveTime() {
   Ryx::timeSourceIs( nullptr );
}

std::string
dateText( Milliseconds date ) {
   using namespace std::chrono;
   sys_time< Milliseconds > const time{ date };
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
