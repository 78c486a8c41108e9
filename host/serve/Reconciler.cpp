// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/Reconciler>

#include <algorithm>
#include <cmath>

namespace ostra {

namespace {

using Result = Answer::Result;

constexpr Ryx::Seconds firstWait = 0.1;
constexpr Ryx::Seconds longestWait = 30;
constexpr Ryx::Seconds longestAnswer = 10;
constexpr unsigned mostRepeats = 10;

// Whether there is something of ours on the device.
bool
isOurs( Observed observed ) {
   return observed == Observed::held || observed == Observed::broken;
}

Ryx::Seconds
waitAfter( unsigned failures ) {
   return std::min( longestWait, firstWait * std::exp2( failures - 1 ) );
}

} // namespace

std::string_view
nameOf( Enforcement::State state ) {
   switch ( state ) {
   case Enforcement::State::held:
      return "held";
   case Enforcement::State::released:
      return "released";
   case Enforcement::State::pending:
      return "pending";
   case Enforcement::State::unsupported:
      return "unsupported";
   case Enforcement::State::failed:
      break;
   }
   return "failed";
}

Reconciler::Reconciler( Driver& driver, Report report )
      : driver_( driver ), report_( std::move( report ) ) {}

void
Reconciler::wantedIs( std::string const& interface, OrderKind kind, bool isHold ) {
   auto const found = ports_.find( interface );
   if ( found == ports_.end() ? !isHold : found->second.isWanted == isHold ) {
      return;
   }
   Port& port = ports_[ interface ];
   port.kind = kind;
   port.isWanted = isHold;
   port.result = Result::done;
   port.error.clear();
   port.attempts = 0;
   port.due = 0;
   open_.insert( interface );
}

void
Reconciler::answered( Answer const& answer ) {
   auto const found = ports_.find( answer.interface );
   if ( found == ports_.end() || found->second.order != answer.order ) {
      // Another one has replaced it.
      return;
   }
   Port& port = found->second;
   port.order = 0;
   port.result = answer.result;
   port.error = answer.error;
   if ( answer.result == Result::done ) {
      port.observed = port.orderIsHold ? Observed::held : Observed::released;
      port.settledAt = Ryx::now();
   } else if ( answer.result == Result::failed ) {
      port.due = Ryx::now() + waitAfter( ++port.attempts );
   }
   open_.insert( answer.interface );
}

void
Reconciler::observed( std::string const& interface, Observed observed ) {
   Port& port = ports_[ interface ];
   bool const isUndone = port.isWanted && port.order == 0 &&
      port.observed == Observed::held &&
      ( observed == Observed::released || observed == Observed::broken );
   port.observed = observed;
   if ( port.result == Result::unsupported ) {
      port.result = Result::done;
      port.error.clear();
   }
   if ( isUndone ) {
      ++redone_;
      port.attempts = Ryx::now() - port.settledAt < longestWait ? port.attempts + 1 : 1;
      port.due = port.attempts > mostRepeats
         ? Ryx::now() + waitAfter( port.attempts - mostRepeats )
         : 0;
      tell( interface, port );
   }
   open_.insert( interface );
}

void
Reconciler::tell( std::string const& interface, Port& port ) {
   Enforcement const now = enforcementOf( port );
   if ( now != port.told ) {
      port.told = now;
      report_( interface );
   }
}

bool
Reconciler::isToDo( Port const& port, bool isHold ) {
   bool const isAsked = port.order != 0 && port.orderIsHold == isHold;
   if (
      port.isWanted != isHold || isAsked || port.due > Ryx::now() ||
      port.result == Result::unsupported || port.observed == Observed::noDevice ) {
      return false;
   }
   bool const mayBeHeld = isOurs( port.observed ) || port.order != 0;
   return isHold ? port.observed != Observed::held || port.order != 0 : mayBeHeld;
}

void
Reconciler::expire( std::string const& interface, Port const& port ) {
   if ( port.order != 0 && port.answerBy <= Ryx::now() ) {
      answered( { port.order, interface, Result::failed, "the driver does not answer" } );
   }
}

void
Reconciler::order( bool isHold ) {
   std::vector< Order > orders;
   for ( std::string const& interface : open_ ) {
      Port& port = ports_.at( interface );
      expire( interface, port );
      if ( isToDo( port, isHold ) ) {
         port.order = ++lastOrder_;
         port.orderIsHold = isHold;
         port.answerBy = Ryx::now() + longestAnswer;
         orders.push_back( { port.order, interface, port.kind, isHold } );
      }
   }
   if ( !orders.empty() ) {
      driver_.carryOut( orders );
   }
}

void
Reconciler::orderHolds() {
   order( true );
   tellHolds();
}

void
Reconciler::tellHolds() {
   for ( std::string const& interface : open_ ) {
      Port& port = ports_.at( interface );
      if ( !isToDo( port, false ) ) {
         tell( interface, port );
      }
   }
}

void
Reconciler::orderReleases() {
   order( false );
   rest();
}

void
Reconciler::rest() {
   Ryx::Seconds next = Ryx::never;
   for ( auto it = open_.begin(); it != open_.end(); ) {
      auto const port = ports_.find( *it );
      Port& p = port->second;
      tell( *it, p );
      bool const isOpen = p.order != 0 || isToDo( p, p.isWanted ) || p.due > Ryx::now();
      if ( isOpen ) {
         next = std::min( next, p.order != 0 ? p.answerBy : p.due );
         ++it;
         continue;
      }
      if ( !p.isWanted && !isOurs( p.observed ) ) {
         ports_.erase( port );
      }
      it = open_.erase( it );
   }
   wakeUp_.timeIs( next );
}

Enforcement
Reconciler::enforcementOf( Port const& port ) {
   using State = Enforcement::State;
   if ( !port.isWanted ) {
      if ( !isOurs( port.observed ) && port.order == 0 ) {
         return { State::released };
      }
   } else if ( port.observed == Observed::held && port.order == 0 ) {
      return { State::held };
   } else if ( port.observed == Observed::noDevice ) {
      return { State::unsupported, "no device" };
   }
   switch ( port.result ) {
   case Result::done:
      break;
   case Result::unsupported:
      return { State::unsupported, port.error };
   case Result::failed:
      return { State::failed, port.error };
   }
   return { State::pending };
}

Enforcement
Reconciler::enforcement( std::string const& interface ) const {
   auto const found = ports_.find( interface );
   return found == ports_.end() ? Enforcement{ Enforcement::State::released }
                                : enforcementOf( found->second );
}

std::vector< Unenforced >
Reconciler::unenforced() const {
   using State = Enforcement::State;
   std::vector< Unenforced > unenforced;
   for ( auto const& [ interface, port ] : ports_ ) {
      Enforcement const enforcement = enforcementOf( port );
      bool const isUndone =
         enforcement.state == State::unsupported || enforcement.state == State::failed;
      if ( isUndone ) {
         unenforced.push_back( { interface, port.isWanted, enforcement } );
      }
   }
   return unenforced;
}

bool
Reconciler::isSettled() const {
   return std::none_of( open_.begin(), open_.end(), [ this ]( auto const& interface ) {
      return enforcementOf( ports_.at( interface ) ).state == Enforcement::State::pending;
   } );
}

} // namespace ostra
