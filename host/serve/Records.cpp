// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/Records>

#include <host/base/JsonLine>

#include <utility>

namespace ostra {

namespace {

// Of a record; there may be more.
constexpr std::size_t mostMembers = 10;

} // namespace

Json
Records::head( Milliseconds at ) const {
   Json json = jsonObject( mostMembers );
   appendMember( json, "seq", nextId_ );
   appendMember( json, "t", toJson( secondsOf( at ) ) );
   appendMember( json, "time", dateText( time_.date() ) );
   return json;
}

void
Records::put( Json const& json ) {
   pending_.push_back( { nextId_++, time_.date(), lineOf( json ) } );
}

void
Records::add( Json const& json ) {
   Json all = head( time_.instant() );
   for ( auto const& [ key, value ] : json.items() ) {
      appendMember( all, key, value );
   }
   put( all );
}

void
Records::publish() {
   auto const records = std::exchange( pending_, {} );
   isPublishing_ = true;
   for ( LiveRecord const& record : records ) {
      for ( Subscriber const& subscriber : subscribers_ ) {
         if ( !subscriber.isGone && record.id >= subscriber.from ) {
            subscriber.listener( record );
         }
      }
   }
   isPublishing_ = false;
   std::erase_if( subscribers_, []( Subscriber const& s ) { return s.isGone; } );
}

Records::Subscription
Records::subscribe( RecordListener listener ) {
   std::int64_t const from = pending_.empty() ? nextId_ : pending_.front().id;
   subscribers_.push_back( { ++lastSubscription_, from, std::move( listener ) } );
   return lastSubscription_;
}

void
Records::unsubscribe( Subscription subscription ) {
   for ( Subscriber& subscriber : subscribers_ ) {
      subscriber.isGone |= subscriber.subscription == subscription;
   }
   if ( !isPublishing_ ) {
      std::erase_if( subscribers_, []( Subscriber const& s ) { return s.isGone; } );
   }
}

} // namespace ostra
