// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/linux/Holds>

#include <host/base/Failure>

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace ostra {

Observed
Holds::observed( Link const& link ) const {
   if ( watched_.contains( link.index ) || takenDown_.contains( link.index ) ) {
      return link.isUp() ? Observed::broken : Observed::held;
   }
   if ( !isOurs( link ) ) {
      return Observed::released;
   }
   bool const isHeld = link.has( reasonBit_ ) && link.isProtodown && !link.isCarrying();
   return isHeld ? Observed::held : Observed::broken;
}

std::optional< bool >
Holds::isSupported( int index ) const {
   auto const found = isSupported_.find( index );
   return found == isSupported_.end() ? std::nullopt : std::optional( found->second );
}

std::optional< HoldMeans >
Holds::meansFor( int index ) const {
   bool const isWithout = watched_.contains( index ) || takenDown_.contains( index );
   if ( isWithout || isByDown( index ) ) {
      return HoldMeans::adminDown;
   }
   return isSupported( index ) == true ? std::optional( HoldMeans::protodown )
                                       : std::nullopt;
}

std::map< int, Reply >
Holds::takeOver( int tries ) {
   std::map< int, Reply > refused;
   auto const before = takenDown_.reasonBit();
   if ( before && *before != reasonBit_ ) {
      std::vector< int > indexes;
      LinkRequests requests;
      for ( Link const& link : allLinks( socket_, tries ) ) {
         if ( link.has( *before ) ) {
            indexes.push_back( link.index );
            requests.moveReason( link.index, *before, reasonBit_ );
         }
      }
      auto const answers = replies( socket_, requests, [] {} );
      for ( std::size_t i = 0; i < answers.size(); ++i ) {
         if ( answers[ i ].error != 0 && answers[ i ].error != ENODEV ) {
            refused.emplace( indexes[ i ], answers[ i ] );
         }
      }
   }
   if ( refused.empty() ) {
      takenDown_.reasonBitIs( reasonBit_ );
   }
   return refused;
}

// What is not on the disk is not taken down: a port that nobody brings up again is an outage.
// Gives those with the reason.
std::map< int, Reply >
Holds::remember( std::vector< Link > const& links ) {
   std::vector< int > added;
   for ( Link const& link : links ) {
      bool const isToGoDown =
         isByDown( link.index ) && link.isUp() && !takenDown_.contains( link.index );
      if ( isToGoDown ) {
         takenDown_.add( link );
         added.push_back( link.index );
      }
   }
   std::map< int, Reply > refused;
   if ( added.empty() ) {
      return refused;
   }
   try {
      takenDown_.write();
   } catch ( Failure const& failure ) {
      for ( int const index : added ) {
         takenDown_.remove( index );
         refused[ index ] = { EIO, failure.what() };
      }
      try {
         // It may have been written but for the room to forget them.
         takenDown_.write();
      } catch ( Failure const& ) {
         // Said already.
      }
   }
   return refused;
}

void
Holds::forget( std::vector< Link > const& links, std::map< int, Reply > const& replies ) {
   for ( Link const& link : links ) {
      auto const reply = replies.find( link.index );
      if ( reply != replies.end() ) {
         isReleased( link.index, reply->second );
      }
   }
   try {
      takenDown_.write();
   } catch ( Failure const& ) {
      // It is up, which a process behind this one sees; and it is written later.
   }
}

// The kernel keeps protodown for others when it says that it is busy.
void
Holds::isReleased( int index, Reply const& reply ) {
   if ( reply.error == 0 ) {
      takenDown_.remove( index );
   }
   if ( reply.error == 0 || reply.error == EBUSY ) {
      held_.erase( index );
      ofOthers_.erase( index );
   }
}

void
Holds::addHold( Link const& link, Requests& to ) {
   if ( !isByDown( link.index ) ) {
      if ( held_.insert( link.index ).second && link.isProtodown && link.reasons == 0 ) {
         ofOthers_.insert( link.index );
      }
      to.requests.hold( link.index, reasonBit_ );
      to.of.push_back( { link.index, true } );
      return;
   }
   watched_.insert( link.index );
   if ( link.isUp() ) {
      to.requests.isUpIs( link.index, false );
      to.of.push_back( { link.index, false } );
   }
}

void
Holds::addRelease( Link const& link, Requests& to ) {
   watched_.erase( link.index );
   if ( link.has( reasonBit_ ) || held_.contains( link.index ) ) {
      to.requests.release( link.index, reasonBit_, ofOthers_.contains( link.index ) );
      to.of.push_back( { link.index, true } );
   }
   if ( takenDown_.contains( link.index ) ) {
      to.requests.isUpIs( link.index, true );
      to.of.push_back( { link.index, false } );
   }
}

void
Holds::learn( int index, Reply const& reply ) {
   if ( reply.error == 0 || reply.error == EBUSY ) {
      isSupported_[ index ] = true;
   } else if ( reply.error == EOPNOTSUPP ) {
      isSupported_[ index ] = false;
   }
}

void
Holds::perform(
   Requests const& requests,
   std::function< void() > const& between,
   std::map< int, Reply >& result ) {
   auto answers = replies( socket_, requests.requests, between );
   for ( std::size_t i = 0; i < answers.size(); ++i ) {
      auto const [ index, isProtodown ] = requests.of[ i ];
      if ( isProtodown ) {
         learn( index, answers[ i ] );
      }
      // Of two requests the one that went wrong counts.
      Reply& reply = result[ index ];
      if ( reply.error == 0 || reply.error == EBUSY ) {
         reply = std::move( answers[ i ] );
      }
   }
}

// The kernel has done it for these: one of them is as good as all.
bool
Holds::hasShownReasons( std::vector< int > const& indexes ) {
   if ( !knowsReasons_ && !indexes.empty() ) {
      for ( Link const& link : linksOf( socket_, { indexes.front() } ) ) {
         sees( link );
      }
   }
   return knowsReasons_;
}

// The kernel did what it was asked for, and has no reason to show for it.
void
Holds::takeBack(
   std::vector< int > const& indexes,
   std::function< void() > const& between,
   std::map< int, Reply >& result ) {
   std::vector< int > taken;
   LinkRequests requests;
   for ( Link const& link : linksOf( socket_, indexes ) ) {
      if ( !link.isProtodown || link.has( reasonBit_ ) ) {
         continue;
      }
      result[ link.index ] = { EOPNOTSUPP, "it has no protodown with reasons" };
      isSupported_[ link.index ] = false;
      if ( ofOthers_.contains( link.index ) ) {
         isReleased( link.index, {} );
      } else {
         taken.push_back( link.index );
         requests.protodownIs( link.index, false );
      }
   }
   // What cannot be taken back just now stays ours, and is released like any other.
   auto const answers = replies( socket_, requests, between );
   for ( std::size_t i = 0; i < answers.size(); ++i ) {
      isReleased( taken[ i ], answers[ i ] );
   }
}

// Of those that have turned out to have no protodown.
void
Holds::takeDownInstead(
   std::vector< Link > const& links,
   std::function< void() > const& between,
   std::map< int, Reply >& result ) {
   Work late;
   std::copy_if(
      links.begin(),
      links.end(),
      std::back_inserter( late.hold ),
      [ this ]( Link const& link ) { return isByDown( link.index ); } );
   if ( !late.hold.empty() ) {
      auto answers = carryOut( late, between );
      for ( Link const& link : late.hold ) {
         result[ link.index ] = std::move( answers[ link.index ] );
      }
   }
}

std::map< int, Reply >
Holds::carryOut( Work const& work, std::function< void() > const& between ) {
   auto result = remember( work.hold );
   Requests requests;
   std::vector< Link > unproved;
   for ( Link const& link : work.hold ) {
      if ( isHopeless( link.index ) ) {
         result[ link.index ] = { EOPNOTSUPP, "it has no protodown with reasons" };
      } else if ( !result.contains( link.index ) ) {
         if ( !isSupported( link.index ) ) {
            unproved.push_back( link );
         }
         addHold( link, requests );
      }
   }
   for ( Link const& link : work.release ) {
      addRelease( link, requests );
   }
   perform( requests, between, result );
   std::vector< int > done;
   for ( Link const& link : unproved ) {
      if ( result[ link.index ].error == 0 ) {
         done.push_back( link.index );
      }
   }
   if ( !hasShownReasons( done ) ) {
      takeBack( done, between, result );
   }
   takeDownInstead( unproved, between, result );
   forget( work.release, result );
   return result;
}

bool
Holds::probe( std::vector< Link > const& links, std::function< void() > const& between ) {
   std::vector< int > indexes;
   LinkRequests requests;
   for ( Link const& link : links ) {
      if ( link.reasons != 0 ) {
         knowsReasons_ = true;
         isSupported_[ link.index ] = true;
      } else {
         indexes.push_back( link.index );
         requests.probe( link.index );
      }
   }
   bool isTold = true;
   auto const answers = replies( socket_, requests, between );
   for ( std::size_t i = 0; i < answers.size(); ++i ) {
      int const error = answers[ i ].error;
      isTold &= error != EPERM;
      knowsReasons_ |= error == EINVAL;
      if ( error == EINVAL || error == EOPNOTSUPP || error == 0 ) {
         isSupported_[ indexes[ i ] ] = error == EINVAL;
      }
   }
   return isTold;
}

void
Holds::sees( Link const& link ) {
   knowsReasons_ |= link.reasons != 0;
   if ( link.has( reasonBit_ ) ) {
      held_.insert( link.index );
   } else if ( !link.isProtodown ) {
      held_.erase( link.index );
   }
}

void
Holds::allAre( std::vector< Link > const& links ) {
   std::set< int > there;
   for ( Link const& link : links ) {
      there.insert( link.index );
   }
   std::set< int > gone = takenDown_.indexes();
   gone.insert( held_.begin(), held_.end() );
   gone.insert( watched_.begin(), watched_.end() );
   for ( auto const& [ index, isSupported ] : isSupported_ ) {
      gone.insert( index );
   }
   for ( int const index : there ) {
      gone.erase( index );
   }
   for ( int const index : gone ) {
      isGone( index );
   }
}

void
Holds::isGone( int index ) {
   isSupported_.erase( index );
   held_.erase( index );
   ofOthers_.erase( index );
   watched_.erase( index );
   takenDown_.remove( index );
}

} // namespace ostra
