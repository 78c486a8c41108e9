// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Who is called, in which order; and what notifiees and reactors do.

#include "ModelRow"

namespace laws {

namespace {

std::string
named( char kind, Serial serial ) {
   return serial == none ? "-" : kind + std::to_string( serial );
}

} // namespace

void
Model::deliver( Serial s, unsigned attribute, unsigned key ) {
   auto const snapshot = stations_[ s ].list;
   if ( snapshot.empty() ) {
      return;
   }
   Held const notifier( *this, Kind::station, s );
   reached_.nested += deliveries_++ != 0;
   reached_.crowded += snapshot.size() > 16;
   for ( Serial const n : snapshot ) {
      ++notifiees_[ n ].snapshots;
   }
   unsigned const began = stations_[ s ].modifications;
   for ( Serial const n : snapshot ) {
      // Somebody other than deliveries has it.
      bool const isHeld = holders( Kind::notifiee, n ) != notifiees_[ n ].snapshots;
      if ( isHeld && registeredBefore( n, s, began ) ) {
         call( n, attribute, key );
      } else {
         count( n, s, began );
      }
      --notifiees_[ n ].snapshots;
      dropped( Kind::notifiee, n );
   }
   --deliveries_;
   reached_.notifierGoneMeanwhile += holders( Kind::station, s ) == 1;
}

// Registered here, without a break since the list had changed so many times.
bool
Model::registeredBefore( Serial n, Serial s, unsigned modifications ) const {
   Notifiee const& notifiee = notifiees_[ n ];
   return notifiee.registered && notifiee.notifier == s &&
      notifiee.registration <= modifications;
}

void
Model::count( Serial n, Serial s, unsigned modifications ) {
   Notifiee const& notifiee = notifiees_[ n ];
   bool const isHere = notifiee.registered && notifiee.notifier == s;
   bool const isDestroyed = registeredBefore( n, s, modifications );
   reached_.deregisteredMeanwhile += !notifiee.registered;
   reached_.movedMeanwhile += notifiee.registered && !isHere;
   reached_.destroyedMeanwhile += isDestroyed;
   reached_.reenteredMeanwhile += isHere && !isDestroyed;
}

void
Model::call( Serial n, unsigned attribute, unsigned key ) {
   try {
      callback( n, attribute, key );
   } catch ( Raised const& ) {
      ++reached_.raised;
      std::string const what =
         named( 'n', n ) + " exception " + std::to_string( attribute );
      if ( notifiees_[ n ].reactor ) {
         say( what );
         return;
      }
      try {
         heard( what, notifiees_[ n ].lessons );
      } catch ( Raised const& ) {
         ++reached_.raisedAboutRaised;
      }
   }
}

void
Model::callback( Serial n, unsigned attribute, unsigned key ) {
   Notifiee& notifiee = notifiees_[ n ];
   if ( !notifiee.reactor ) {
      heard(
         named( 'n', n ) + " " + told( notifiee.notifier, attribute, key ),
         notifiee.lessons );
   } else if ( attribute == levelId && !notifiee.zombie && notifiee.owner != none ) {
      handle( n );
   }
}

std::string
Model::told( Serial s, unsigned attribute, unsigned key ) const {
   Station station = stations_[ s ];
   std::string const here = named( 's', s ) + " ";
   std::string const member = here + std::to_string( key ) + " ";
   Record record;
   switch ( attribute ) {
   case zeroId:
      return "zero " + named( 's', s );
   case parentId:
      return "parent " + here + named( 's', station.parent );
   case levelId:
      return "level " + here + std::to_string( station.level );
   case uplinkId:
      return "uplink " + here + named( 's', station.uplink );
   case noteId:
      record = find( station.notes, key );
      return "note " + member + ( record ? std::to_string( record->value ) : "-" );
   default:
      record = find( station.peers, key );
      return "peer " + member + named( 's', record ? record->value : none );
   }
}

void
Model::handle( Serial n ) {
   Notifiee& reactor = notifiees_[ n ];
   Held const owner( *this, Kind::owner, reactor.owner );
   Held const input( *this, Kind::station, reactor.notifier );
   std::string const what = named( 'n', n ) + " handles " + named( 's', reactor.notifier ) +
      " " + std::to_string( stations_[ reactor.notifier ].level );
   Serial const o = reactor.owner;
   if ( o == none ) {
      say( what + " without an owner" );
      return;
   }
   heard( what, owners_[ o ].lessons );
   reached_.ownerGoneInHandler += holders( Kind::owner, o ) == 1;
}

void
Model::link( Serial n ) {
   Notifiee& notifiee = notifiees_[ n ];
   if ( notifiee.registered && notifiee.notifier != none ) {
      Station& station = stations_[ notifiee.notifier ];
      station.list.push_back( n );
      notifiee.registration = ++station.modifications;
   }
}

void
Model::unlink( Serial n ) {
   Notifiee const& notifiee = notifiees_[ n ];
   if ( notifiee.registered && notifiee.notifier != none ) {
      Station& station = stations_[ notifiee.notifier ];
      std::erase( station.list, n );
      ++station.modifications;
   }
}

void
Model::bind( Serial n, Serial s ) {
   Notifiee& notifiee = notifiees_[ n ];
   unlink( n );
   Serial const left = std::exchange( notifiee.notifier, s );
   link( n );
   if ( !notifiee.weak ) {
      dropped( Kind::station, left );
   }
}

void
Model::registerIs( Serial n, bool registered ) {
   Notifiee& notifiee = notifiees_[ n ];
   if ( notifiee.registered == registered ) {
      return;
   }
   unlink( n );
   notifiee.registered = registered;
   link( n );
}

void
Model::activate( Serial n, bool active ) {
   Notifiee& notifiee = notifiees_[ n ];
   if ( notifiee.active == active ) {
      return;
   }
   notifiee.active = active;
   if ( !active ) {
      notifiee.registeredWhenActive = notifiee.registered;
      registerIs( n, false );
   } else if ( notifiee.registeredWhenActive ) {
      registerIs( n, true );
   }
}

void
Model::doZombie( Serial n, bool zombie ) {
   Notifiee& reactor = notifiees_[ n ];
   if ( reactor.zombie == zombie ) {
      return;
   }
   if ( reactor.notifier != none ) {
      activate( n, !zombie );
   }
   reactor.zombie = zombie;
}

// The new input is handled at once, by a reactor that is no zombie; one that is removed by that
// stays removed.
void
Model::repoint( Serial n, Serial s ) {
   Notifiee& reactor = notifiees_[ n ];
   if ( reactor.notifier == s ) {
      return;
   }
   Held const alive( *this, Kind::notifiee, n );
   bool const wasZombie = reactor.zombie;
   ++reached_.repointed;
   bind( n, s );
   if ( reactor.notifier != none && !reactor.zombie ) {
      handle( n );
   }
   if ( reactor.zombie && !wasZombie ) {
      ++reached_.handlerRemovedReactor;
      return;
   }
   registerIs( n, true );
}

void
Model::retire( Serial n ) {
   doZombie( n, true );
   notifiees_[ n ].owner = none;
   activate( n, false );
}

Serial
Model::newReactor( Serial o, Serial s ) {
   Serial const n = notifiees_.size();
   Notifiee& reactor = notifiees_.emplace_back();
   reactor.reactor = true;
   reactor.owner = o;
   bind( n, s );
   registerIs( n, true );
   reached_.bornZombie += owners_[ o ].zombie;
   return n;
}

void
Model::zombieReactors( Serial o, bool zombie ) {
   Owner& owner = owners_[ o ];
   owner.zombie = zombie;
   if ( owner.master != none ) {
      doZombie( owner.master, zombie );
   }
   for ( Record const& record : owner.ports ) {
      doZombie( record->value, zombie );
   }
}

} // namespace laws
