// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "World"

#include <algorithm>
#include <sstream>

namespace laws {

namespace {

std::string
numbered( char kind, Serial serial ) {
   return serial == none ? "-" : kind + std::to_string( serial );
}

template< class Members, class Print >
std::string
listed( Members const& members, Print print ) {
   std::string result = " {";
   for ( auto const& [ key, value ] : members ) {
      result += ' ' + std::to_string( key ) + ':' + print( value );
   }
   return result + " }";
}

std::string
station( Serial serial ) {
   return numbered( 's', serial );
}

std::string
notifiee( Serial serial ) {
   return numbered( 'n', serial );
}

std::string
lineOf( StationView const& view ) {
   return station( view.serial ) + " level " + std::to_string( view.level ) + " uplink " +
      station( view.uplink ) + " parent " + station( view.parent ) + " note" +
      listed( view.notes, []( unsigned v ) { return std::to_string( v ); } ) + " peer" +
      listed( view.peers, station ) + " notifiees " + std::to_string( view.notifiees ) +
      " changes " + std::to_string( view.modifications );
}

std::string
lineOf( NotifieeView const& view ) {
   std::string result = notifiee( view.serial ) + " at " + station( view.notifier );
   result += view.weak ? " weak" : "";
   result += view.registered ? " registered" : "";
   result += view.active ? "" : " off";
   return result + ( view.zombie ? " zombie" : "" );
}

std::string
lineOf( OwnerView const& view ) {
   return numbered( 'o', view.serial ) + ( view.active ? "" : " off" ) +
      ( view.zombie ? " zombie" : "" ) + " master " + notifiee( view.master ) + " port" +
      listed( view.ports, notifiee );
}

std::vector< std::string >
linesOf( std::string const& log ) {
   std::vector< std::string > lines;
   std::istringstream stream( log );
   for ( std::string line; std::getline( stream, line ); ) {
      lines.push_back( line );
   }
   return lines;
}

} // namespace

void
World::run( std::vector< Action > const& program ) {
   start();
   runAll( program );
   end();
}

void
World::runAll( std::vector< Action > const& actions ) {
   for ( Action const& action : actions ) {
      perform( action );
   }
}

void
World::say( std::string const& what ) {
   log_.append( 3 * depth_, ' ' ).append( what ).push_back( '\n' );
}

void
World::heard( std::string const& what, Lessons& lessons ) {
   say( what );
   if ( lessons.empty() ) {
      return;
   }
   auto const* const script = lessons.front();
   lessons.pop_front();
   ++depth_;
   try {
      runAll( *script );
   } catch ( Raised const& ) {
      --depth_;
      throw;
   }
   --depth_;
}

void
World::start() {
   for ( unsigned s = 0; s < 2; ++s ) {
      stationMake( s );
   }
   for ( unsigned n = 0; n < 5; ++n ) {
      watch( n, n / 3, n >= 2 );
   }
   ownerMake( 0 );
}

// A new watcher that is registered with a station.
void
World::watch( unsigned n, unsigned s, bool weak ) {
   watcherMake( n, weak );
   if ( hasNotifiee( n ) ) {
      notifierIs( n, s );
   }
   if ( hasNotifiee( n ) ) {
      registeredIs( n, true );
   }
}

void
World::crowd( unsigned s ) {
   for ( unsigned n = notifieeSlots; n < allNotifieeSlots; ++n ) {
      watch( n, s, n % 2 == 0 );
   }
}

// A station that nobody but another one holds, and a watcher that hears of its end.
void
World::hang( unsigned s, unsigned n, unsigned k ) {
   stationMake( spareStation );
   watch( n, spareStation, true );
   if ( hasStation( s ) ) {
      peerIs( s, k, spareStation );
   }
   stationDrop( spareStation );
}

void
World::end() {
   untangle();
   for ( unsigned o = 0; o < ownerSlots; ++o ) {
      ownerDrop( o );
   }
   for ( unsigned n = 0; n < allNotifieeSlots; ++n ) {
      notifieeDrop( n );
   }
   for ( unsigned s = 0; s < allStationSlots; ++s ) {
      stationDrop( s );
   }
   describe();
}

void
World::perform( Action const& action ) {
   say( "> " + text( action ) );
   if ( !possible( action ) ) {
      return;
   }
   try {
      dispatch( action );
   } catch ( Raised const& ) {
      if ( action.op == Op::raise ) {
         throw;
      }
      say( "came out" );
   } catch ( Refused const& refused ) {
      say( refused.text );
   }
   describe();
}

// Whether there is an object to operate on.
bool
World::possible( Action const& action ) const {
   auto const& x = action.arguments;
   switch ( action.op ) {
   case Op::stationMake:
   case Op::stationCopy:
   case Op::stationDrop:
   case Op::watcherMake:
   case Op::watch:
   case Op::crowd:
   case Op::notifieeCopy:
   case Op::notifieeDrop:
   case Op::ownerMake:
   case Op::ownerDrop:
   case Op::raise:
      return true;
   case Op::rescue:
   case Op::masterHold:
   case Op::portHold:
      return action.op == Op::rescue ? hasNotifiee( x[ 1 ] ) : hasOwner( x[ 1 ] );
   case Op::notifierIs:
   case Op::registeredIs:
   case Op::activeIs:
   case Op::zombieIs:
   case Op::weakIs:
   case Op::teach:
      return hasNotifiee( x[ 0 ] );
   default:
      return action.op < Op::watcherMake ? hasStation( x[ 0 ] ) : hasOwner( x[ 0 ] );
   }
}

void
World::dispatch( Action const& action ) {
   auto const [ a, b, c ] = action.arguments;
   auto const teach = [ &action ]( Lessons* lessons ) {
      if ( lessons ) {
         lessons->push_back( &action.script );
      }
   };
   switch ( action.op ) {
   case Op::stationMake:
      return stationMake( a );
   case Op::stationCopy:
      return stationCopy( a, b );
   case Op::stationDrop:
      return stationDrop( a );
   case Op::levelIs:
      return levelIs( a, b );
   case Op::uplinkIs:
      return uplinkIs( a, b );
   case Op::parentIs:
      return parentIs( a, b );
   case Op::heldIs:
      return heldIs( a, b != 0 );
   case Op::noteIs:
      return noteIs( a, b, c );
   case Op::noteDel:
      return noteDel( a, b );
   case Op::noteDelAll:
      return noteDelAll( a );
   case Op::peerIs:
      return peerIs( a, b, c );
   case Op::peerDel:
      return peerDel( a, b );
   case Op::peerDelAll:
      return peerDelAll( a );
   case Op::hang:
      hang( a, b, c );
      return teach( hasNotifiee( b ) ? watcherLessons( b ) : nullptr );
   case Op::watcherMake:
      return watcherMake( a, b != 0 );
   case Op::watch:
      return watch( a, b, c != 0 );
   case Op::crowd:
      return crowd( a );
   case Op::notifieeCopy:
      return notifieeCopy( a, b );
   case Op::notifieeDrop:
      return notifieeDrop( a );
   case Op::notifierIs:
      return notifierIs( a, b );
   case Op::registeredIs:
      return registeredIs( a, b != 0 );
   case Op::activeIs:
      return activeIs( a, b != 0 );
   case Op::zombieIs:
      return zombieIs( a, b != 0 );
   case Op::weakIs:
      return weakIs( a, b != 0 );
   case Op::rescue:
      return rescue( a, b );
   case Op::ownerMake:
      return ownerMake( a );
   case Op::ownerDrop:
      return ownerDrop( a );
   case Op::masterIs:
      return masterIs( a, b );
   case Op::masterDel:
      return masterDel( a );
   case Op::portIs:
      return portIs( a, b );
   case Op::portDel:
      return portDel( a, b );
   case Op::portDelAll:
      return portDelAll( a );
   case Op::ownerZombieIs:
      return ownerZombieIs( a, b != 0 );
   case Op::ownerActiveIs:
      return ownerActiveIs( a, b != 0 );
   case Op::masterHold:
      return masterHold( a, b );
   case Op::portHold:
      return portHold( a, b, c );
   case Op::teach:
      return teach( watcherLessons( a ) );
   case Op::teachOwner:
      return teach( ownerLessons( a ) );
   case Op::raise:
      throw Raised();
   }
}

// Writes down what the world looks like.
void
World::describe() {
   View const seen = view();
   auto const describeAll = [ this ]( auto const& views ) {
      for ( auto const& one : views ) {
         bool const quiet = depth_ == 0;
         say(
            "  " + lineOf( one ) +
            ( quiet ? " references " + std::to_string( one.references ) : "" ) );
      }
   };
   std::string slots = "  slots";
   for ( Serial const serial : seen.slots ) {
      slots += ' ' + ( serial == none ? "-" : std::to_string( serial ) );
   }
   say( slots );
   describeAll( seen.stations );
   describeAll( seen.notifiees );
   describeAll( seen.owners );
}

std::string
difference( std::string const& framework, std::string const& model ) {
   auto const ours = linesOf( framework );
   auto const theirs = linesOf( model );
   auto const [ a, b ] =
      std::mismatch( ours.begin(), ours.end(), theirs.begin(), theirs.end() );
   if ( a == ours.end() && b == theirs.end() ) {
      return "";
   }
   std::string result;
   for ( auto it = a - std::min< std::ptrdiff_t >( a - ours.begin(), 25 ); it != a; ++it ) {
      result += *it + '\n';
   }
   auto const shown = []( auto it, auto end ) {
      std::string lines;
      for ( int i = 0; it != end && i < 4; ++i ) {
         lines += *it++ + '\n';
      }
      return lines;
   };
   return result + "--- framework\n" + shown( a, ours.end() ) + "--- model\n" +
      shown( b, theirs.end() );
}

} // namespace laws
