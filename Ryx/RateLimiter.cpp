// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/RateLimiter>

#include <algorithm>

namespace Ryx {

namespace {

// Of the order of ten thousand years: stands in for a longer interval, so that the times
// that are counted from it stay finite.
constexpr Seconds longestInterval = 3e11;

// The part of an interval by which a token may come early, so that rounding refuses none.
constexpr double slack = 1e-3;

} // namespace

RateLimiter::RateLimiter( Seconds interval, double burst ) noexcept
      : interval_( std::min( interval, longestInterval ) ),
        refill_( interval_ * std::max( 1.0, burst ) ) {}

bool
RateLimiter::take( unsigned key ) {
   if ( !( interval_ > 0 ) ) {
      return true;
   }
   Seconds const now = Ryx::now();
   if ( fullAt_.size() >= forgetAbove_ ) {
      forgetFull( now );
   }
   auto const [ place, added ] = fullAt_.try_emplace( key, now );
   // A bucket that takes longer to fill than an empty one is from before the time was set
   // back: it counts as empty.
   Seconds const fullAt = std::clamp( place->second, now, now + refill_ );
   bool const passes = fullAt - now <= refill_ - interval_ * ( 1 - slack );
   place->second = passes ? fullAt + interval_ : fullAt;
   return passes;
}

void
RateLimiter::forgetFull( Seconds now ) {
   std::erase_if( fullAt_, [ & ]( auto const& bucket ) {
      return bucket.second <= now || bucket.second > now + refill_;
   } );
   forgetAbove_ = std::max< std::size_t >( 64, 2 * fullAt_.size() );
}

} // namespace Ryx
