// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The clock against the dullest thing that does the same: a map sorted by wake-up time and
// registration.

#include "SimulatedTime"

#include <Ryx/Clock>

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <vector>

namespace {

using Calls = std::vector< std::size_t >;

class Timer final : public Ryx::Clock::NotifieeConst {
 public:
   Timer( std::size_t number, Calls& calls ) : number_( number ), calls_( calls ) {}
   void onTime() override { calls_.push_back( number_ ); }

 private:
   std::size_t number_;
   Calls& calls_;
};

// Timers on a clock, and what they are expected to do.
class ClockAndModel {
 public:
   ClockAndModel() {
      for ( std::size_t i = 0; i < size; ++i ) {
         timers_.push_back( Ryx::make< Timer >( i, calls_ ) );
         timers_[ i ]->notifierIs( clock_ );
         timers_[ i ]->timeMinIs( Ryx::never );
         registerAgain( i );
      }
   }

   void registerAgain( std::size_t i ) {
      bool const armed = model_.erase( keys_[ i ] ) != 0;
      timers_[ i ]->isRegisteredNotifieeIs( false );
      timers_[ i ]->isRegisteredNotifieeIs( true );
      keys_[ i ].second = registrations_++;
      if ( armed ) {
         model_[ keys_[ i ] ] = i;
      }
   }
   void timeMinIs( std::size_t i, Ryx::Seconds timeMin ) {
      model_.erase( keys_[ i ] );
      timers_[ i ]->timeMinIs( timeMin );
      keys_[ i ].first = timeMin;
      if ( timeMin != Ryx::never ) {
         model_[ keys_[ i ] ] = i;
      }
   }
   void handleTimeAt( Ryx::Seconds when ) {
      Calls expected;
      while ( !model_.empty() && model_.begin()->first.first <= when ) {
         expected.push_back( model_.begin()->second );
         model_.erase( model_.begin() );
      }
      calls_.clear();
      time_.value = when;
      EXPECT_EQ( clock_->handleTime(), expected.size() );
      EXPECT_EQ( calls_, expected );
   }
   void checkNext() const {
      EXPECT_EQ(
         clock_->nextTimeMin(), model_.empty() ? Ryx::never : model_.begin()->first.first );
   }

   static constexpr std::size_t size = 40;

 private:
   using Key = std::pair< Ryx::Seconds, unsigned >;

   SimulatedTime time_;
   Calls calls_;
   Ryx::Ptr< Ryx::Clock > clock_ = Ryx::make< Ryx::Clock >();
   std::vector< Ryx::Ptr< Timer > > timers_;
   std::vector< Key > keys_ = std::vector< Key >( size );
   unsigned registrations_ = 0;
   std::map< Key, std::size_t > model_;
};

TEST( ClockRandom, FiresAsASortedMapDoes ) {
   unsigned const seed = std::random_device()();
   SCOPED_TRACE( "seed " + std::to_string( seed ) );
   std::mt19937 random( seed );
   auto below = [ & ]( int limit ) {
      return std::uniform_int_distribution( 0, limit - 1 )( random );
   };
   ClockAndModel clocks;
   for ( int step = 0; step < 20000 && !testing::Test::HasFailure(); ++step ) {
      auto const i = static_cast< std::size_t >( below( ClockAndModel::size ) );
      switch ( below( 16 ) ) {
      case 0:
         clocks.handleTimeAt( below( 25 ) );
         break;
      case 1:
      case 2:
         clocks.registerAgain( i );
         break;
      case 3:
         clocks.timeMinIs( i, Ryx::never );
         break;
      default:
         clocks.timeMinIs( i, below( 30 ) );
      }
      clocks.checkNext();
   }
}

} // namespace
