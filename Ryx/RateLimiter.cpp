// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/RateLimiter>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Ryx {

namespace {

// Of the order of ten thousand years: stands in for a longer interval, so that the times
// that are counted from it stay finite.
constexpr Seconds longestInterval = 3e11;

// How early a token of a burst may come for rounding, as a part of the time.
constexpr double rounding = 4 * std::numeric_limits< double >::epsilon();

} // namespace

RateLimiter::RateLimiter( Seconds interval, double burst ) noexcept
      : interval_( std::min( interval, longestInterval ) ),
        burst_( std::max( 1.0, burst ) ),
        refill_( interval_ * burst_ ) {}

bool
RateLimiter::take( unsigned key ) {
   if ( !( interval_ > 0 ) ) {
      return true;
   }
   Seconds const now = Ryx::now();
   if ( buckets_.size() >= forgetAbove_ ) {
      forgetFull( now );
   }
   Bucket& bucket = buckets_.try_emplace( key, Bucket{ now, 0 } ).first->second;
   bringUpTo( now, bucket );
   return takeFrom( bucket, now );
}

// A bucket that takes longer to fill than an empty one is from before the time was set
// back: it counts as empty.
void
RateLimiter::bringUpTo( Seconds now, Bucket& bucket ) const noexcept {
   if ( fullAt( bucket ) <= now ) {
      bucket = { now, 0 };
   } else if ( fullAt( bucket ) > now + refill_ ) {
      bucket = { now, burst_ };
   }
}

bool
RateLimiter::takeFrom( Bucket& bucket, Seconds now ) const noexcept {
   double const missing = bucket.taken - burst_ + 1;
   if ( missing <= 0 ) {
      ++bucket.taken;
      return true;
   }
   Seconds const due = bucket.since + missing * interval_;
   Seconds const slack = burst_ > 1 ? rounding * std::abs( due ) : 0;
   if ( now < due - slack ) {
      return false;
   }
   ++bucket.taken;
   if ( now <= due + slack ) {
      // Right on time: the bucket is empty now. What follows is counted from here, so that
      // no rounding adds up.
      bucket = { now, burst_ };
   }
   return true;
}

void
RateLimiter::forgetFull( Seconds now ) {
   std::erase_if( buckets_, [ & ]( auto const& entry ) {
      Seconds const full = fullAt( entry.second );
      return full <= now || full > now + refill_;
   } );
   forgetAbove_ = std::max< std::size_t >( 64, 2 * buckets_.size() );
}

} // namespace Ryx
