// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Program"

#include "Laws"

#include <algorithm>
#include <ostream>
#include <string_view>

namespace laws {

namespace {

// What an operation takes: s a station, S a station or null, n a notifiee, o an owner,
// k a key, v a value, f a flag, a script follows where `taught`.
struct Shape {
   Op op;
   std::string_view name;
   std::string_view takes;
   unsigned weight;
   // What is added to it in a script: there is more to be seen of what cuts in.
   unsigned inScript = 0;
   bool taught = false;
};

constexpr Shape shapes[] = {
   { Op::stationMake, "stationMake", "s", 10 },
   { Op::stationCopy, "stationCopy", "ss", 2 },
   { Op::stationDrop, "stationDrop", "s", 12 },
   { Op::levelIs, "levelIs", "sv", 40 },
   { Op::uplinkIs, "uplinkIs", "sS", 8 },
   { Op::parentIs, "parentIs", "sS", 3 },
   { Op::heldIs, "heldIs", "sf", 4 },
   { Op::noteIs, "noteIs", "skv", 8, 8 },
   { Op::noteDel, "noteDel", "sk", 3, 12 },
   { Op::noteDelAll, "noteDelAll", "s", 2, 6 },
   { Op::peerIs, "peerIs", "skS", 10 },
   { Op::peerDel, "peerDel", "sk", 3, 32 },
   { Op::peerDelAll, "peerDelAll", "s", 10, 10 },
   { Op::hang, "hang", "snk", 24, 0, true },
   { Op::watcherMake, "watcherMake", "nf", 2 },
   { Op::watch, "watch", "nsf", 28 },
   { Op::crowd, "crowd", "s", 1 },
   { Op::notifieeCopy, "notifieeCopy", "nn", 3 },
   { Op::notifieeDrop, "notifieeDrop", "n", 7 },
   { Op::notifierIs, "notifierIs", "nS", 8 },
   { Op::registeredIs, "registeredIs", "nf", 10 },
   { Op::activeIs, "activeIs", "nf", 5 },
   { Op::zombieIs, "zombieIs", "nf", 2, 4 },
   { Op::weakIs, "weakIs", "nf", 2 },
   { Op::rescue, "rescue", "sn", 24 },
   { Op::ownerMake, "ownerMake", "o", 2 },
   { Op::ownerDrop, "ownerDrop", "o", 2, 4 },
   { Op::masterIs, "masterIs", "oS", 4 },
   { Op::masterDel, "masterDel", "o", 2, 6 },
   { Op::portIs, "portIs", "oS", 16 },
   { Op::portDel, "portDel", "ok", 4, 14 },
   { Op::portDelAll, "portDelAll", "o", 2, 6 },
   { Op::ownerZombieIs, "ownerZombieIs", "of", 2, 6 },
   { Op::ownerActiveIs, "ownerActiveIs", "of", 2 },
   { Op::masterHold, "masterHold", "no", 2 },
   { Op::portHold, "portHold", "nok", 2 },
   { Op::teach, "teach", "n", 40, 0, true },
   { Op::teachOwner, "teachOwner", "o", 28, 0, true },
   { Op::raise, "raise", "", 8, 24 },
};

constexpr unsigned
weightOf( Shape const& shape, unsigned depth ) {
   return shape.weight + ( depth == 0 ? 0 : shape.inScript );
}

constexpr unsigned
totalWeight( unsigned depth ) {
   unsigned total = 0;
   for ( Shape const& shape : shapes ) {
      total += weightOf( shape, depth );
   }
   return total;
}

// How deep scripts stand in scripts.
constexpr unsigned deepest = 4;
// How many words a program has at most, for each unit of a case's size (up to 100).
constexpr int longest = 12;

Shape const&
shapeOf( Op op ) {
   return shapes[ static_cast< std::size_t >( op ) ];
}

Shape const&
chosen( unsigned number, unsigned depth ) {
   for ( Shape const& shape : shapes ) {
      unsigned const weight = weightOf( shape, depth );
      if ( number < weight ) {
         return shape;
      }
      number -= weight;
   }
   return shapes[ 0 ];
}

unsigned
limit( char kind ) {
   switch ( kind ) {
   case 's':
      return stationSlots;
   case 'S':
      return stationSlots + 1;
   case 'n':
      return notifieeSlots;
   case 'o':
      return ownerSlots;
   case 'k':
      return keys;
   case 'v':
      return values;
   default:
      return 2;
   }
}

class Decoder {
 public:
   explicit Decoder( std::vector< std::uint32_t > const& words )
         : next_( words.begin() ), end_( words.end() ) {}

   std::vector< Action > actions( std::size_t most, unsigned depth ) {
      std::vector< Action > result;
      while ( next_ != end_ && result.size() < most ) {
         result.push_back( action( *next_++, depth ) );
      }
      return result;
   }

 private:
   Action action( std::uint32_t word, unsigned depth ) {
      Shape const* shape = &chosen( word % totalWeight( depth ), depth );
      word /= totalWeight( depth );
      bool const refused = shape->taught ? depth == deepest : depth == 0;
      if ( refused && ( shape->taught || shape->op == Op::raise ) ) {
         shape = &shapeOf( Op::levelIs );
      }
      Action result{ shape->op, {}, {} };
      for ( std::size_t i = 0; i < shape->takes.size(); ++i ) {
         unsigned const bound = limit( shape->takes[ i ] );
         // Low slots are used more: programs whose actions meet are worth more.
         result.arguments[ i ] = std::min( word % bound, word / bound % bound );
         word /= bound * bound;
      }
      if ( shape->taught ) {
         result.script = actions( 1 + word % 4, depth + 1 );
      }
      return result;
   }

   std::vector< std::uint32_t >::const_iterator next_;
   std::vector< std::uint32_t >::const_iterator end_;
};

void
print( std::ostream& stream, std::vector< Action > const& actions, unsigned depth ) {
   for ( Action const& action : actions ) {
      stream << std::string( 3 * depth, ' ' ) << text( action ) << '\n';
      print( stream, action.script, depth + 1 );
   }
}

} // namespace

std::string
name( Op op ) {
   return std::string( shapeOf( op ).name );
}

std::string
text( Action const& action ) {
   Shape const& shape = shapeOf( action.op );
   std::string result( shape.name );
   for ( std::size_t i = 0; i < shape.takes.size(); ++i ) {
      unsigned const argument = action.arguments[ i ];
      bool const null = shape.takes[ i ] == 'S' && argument == nullStation;
      result += ' ';
      result += null ? "null" : std::to_string( argument );
   }
   return result;
}

std::vector< Action >
Program::actions() const {
   return Decoder( words ).actions( words.size(), 0 );
}

std::ostream&
operator<<( std::ostream& stream, Program const& program ) {
   stream << '\n';
   print( stream, program.actions(), 1 );
   return stream;
}

rc::Gen< Program >
anyProgram() {
   return rc::gen::map( anyWords( longest ), []( std::vector< std::uint32_t > words ) {
      return Program{ std::move( words ) };
   } );
}

} // namespace laws
