// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/Records>

#include <utility>

namespace ostra {

ObjectLine
Records::head( Milliseconds at ) {
   Milliseconds const date = time_.date();
   if ( !moment_ || moment_->at != at || moment_->date != date ) {
      moment_ = { at, date, {} };
      moment_->members.add( "t", toJson( secondsOf( at ) ) );
      moment_->members.add( "time", dateText( date ) );
   }
   ObjectLine line;
   line.add( "seq", nextId_ );
   line.add( moment_->members );
   return line;
}

void
Records::put( std::string line ) {
   pending_.push_back( { nextId_++, moment_->date, std::move( line ) } );
}

void
Records::add( Json const& members ) {
   ObjectLine line;
   line.add( members );
   add( line );
}

void
Records::add( ObjectLine const& members ) {
   ObjectLine line = head( time_.instant() );
   line.add( members );
   put( line.take() );
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
