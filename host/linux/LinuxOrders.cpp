// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// How the driver carries out what is ordered, and how it answers.

#include <host/linux/LinuxDriver>

#include <event2/event.h>
#include <fmt/format.h>

#include <algorithm>

namespace ostra {

bool
LinuxDriver::isWanted( std::string const& interface ) const {
   Link const* const link = devices_.linkOf( interface );
   return errdisabled_.contains( interface ) ||
      ( link && standby_.contains( devices_.portChannelOf( *link ) ) );
}

Observed
LinuxDriver::observed( std::string const& interface ) const {
   Link const* const link = devices_.linkOf( interface );
   if ( !link ) {
      return Observed::noDevice;
   }
   if ( !isPortChannel( interface ) ) {
      bool const isOfStandby = isWanted( interface ) && !errdisabled_.contains( interface );
      return isOfStandby ? Observed::released : holds_.observed( *link );
   }
   if ( !standby_.contains( interface ) ) {
      return Observed::released;
   }
   auto const members = devices_.membersOf( interface );
   bool const isHeld =
      std::all_of( members.begin(), members.end(), [ this ]( auto const& member ) {
         return holds_.observed( *devices_.linkOf( member ) ) == Observed::held;
      } );
   return isHeld ? Observed::held : Observed::broken;
}

std::vector< std::string >
LinuxDriver::portsOf( Order const& order ) const {
   return order.kind == OrderKind::errdisable ? std::vector{ order.interface }
                                              : devices_.membersOf( order.interface );
}

void
LinuxDriver::take( Order const& order ) {
   auto& held = order.kind == OrderKind::errdisable ? errdisabled_ : standby_;
   if ( order.isHold ) {
      held.insert( order.interface );
   } else {
      held.erase( order.interface );
   }
}

// The kernel does not tell everything: nothing of a device that is down, nor that our reason
// has gone when it refuses to clear protodown for others. What is not as it was to be is asked
// for.
void
LinuxDriver::lookAgain( Holds::Work const& work ) {
   std::vector< int > indexes;
   for ( Link const& held : work.hold ) {
      Link const* const link = devices_.link( held.index );
      if ( link && holds_.observed( *link ) != Observed::held ) {
         indexes.push_back( held.index );
      }
   }
   for ( Link const& released : work.release ) {
      Link const* const link = devices_.link( released.index );
      if ( link && holds_.isOurs( *link ) ) {
         indexes.push_back( released.index );
      }
   }
   for ( Link const& link : linksOf( *requests_, indexes ) ) {
      devices_.apply( { false, link } );
   }
}

void
LinuxDriver::carryOut( std::vector< Order > const& orders ) {
   std::set< std::string > ports;
   for ( Order const& order : orders ) {
      take( order );
      for ( std::string const& port : portsOf( order ) ) {
         ports.insert( port );
      }
   }
   Holds::Work work;
   for ( std::string const& port : ports ) {
      Link const* const link = devices_.linkOf( port );
      if ( link && isWanted( port ) ) {
         work.hold.push_back( *link );
      } else if ( link && holds_.isOurs( *link ) ) {
         work.release.push_back( *link );
      }
   }
   auto const replies = holds_.carryOut( work, [ this ] { catchUp( mostAtATime ); } );
   catchUp( untilNothing );
   lookAgain( work );
   for ( Order const& order : orders ) {
      Answer const answer = answerTo( order, replies );
      if ( answer.result == Answer::Result::done ) {
         told_[ order.interface ] = order.isHold ? Observed::held : Observed::released;
      }
      listener_->answered( answer );
   }
   if ( devices_.hasChanged() ) {
      // What was heard meanwhile is told within the next turn.
      event_active( event_.get(), EV_READ, 0 );
   }
}

Answer
LinuxDriver::answerTo( Order const& order, std::map< int, Reply > const& replies ) const {
   using Result = Answer::Result;
   if ( !devices_.linkOf( order.interface ) ) {
      return { order.id,
               order.interface,
               order.isHold ? Result::unsupported : Result::done,
               order.isHold ? "no device" : "" };
   }
   for ( std::string const& port : portsOf( order ) ) {
      std::string const problem = problemOf( port, order.isHold, replies );
      if ( !problem.empty() ) {
         bool const canBe = !holds_.isHopeless( devices_.linkOf( port )->index );
         return {
            order.id, order.interface, canBe ? Result::failed : Result::unsupported, problem
         };
      }
   }
   return { order.id, order.interface, Result::done };
}

// By what the device says of itself; what the kernel has answered says why.
std::string
LinuxDriver::problemOf(
   std::string const& port, bool isHold, std::map< int, Reply > const& replies ) const {
   Link const& link = *devices_.linkOf( port );
   bool const isDone = isHold ? holds_.observed( link ) == Observed::held
                              : isWanted( port ) || !holds_.isOurs( link );
   if ( isDone ) {
      return {};
   }
   auto const found = replies.find( link.index );
   bool const isRefused = found != replies.end() && found->second.error != 0;
   return fmt::format(
      "{}: {}",
      nameOf( link.index ),
      isRefused   ? wordsOf( found->second )
         : isHold ? "it carries traffic although protodown is on"
                  : "it stays held" );
}

} // namespace ostra
