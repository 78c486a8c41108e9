// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The operations of a program on the model.

#include "ModelRow"

#include <algorithm>

namespace laws {

namespace {

std::string
nullRefused( std::string const& attribute ) {
   return "null _" + attribute + " parameter to mutator for Laws::Owner::" + attribute +
      " not allowed\"";
}

} // namespace

void
Model::stationMake( unsigned s ) {
   Serial const serial = stations_.size();
   stations_.emplace_back();
   Held const made( *this, Kind::station, serial );
   replace( Kind::station, station_[ s ], serial );
}

void
Model::stationCopy( unsigned s, unsigned from ) {
   replace( Kind::station, station_[ s ], station_[ from ] );
}

void
Model::stationDrop( unsigned s ) {
   replace( Kind::station, station_[ s ], none );
}

void
Model::levelIs( unsigned s, unsigned v ) {
   Serial const station = station_[ s ];
   if ( std::exchange( stations_[ station ].level, v ) != v ) {
      deliver( station, levelId );
   }
}

void
Model::uplinkIs( unsigned s, unsigned to ) {
   setUplink( station_[ s ], station_[ to ] );
}

void
Model::setUplink( Serial s, Serial to ) {
   Held const given( *this, Kind::station, to );
   if ( stations_[ s ].uplink != to ) {
      Held const self( *this, Kind::station, s );
      replace( Kind::station, stations_[ s ].uplink, to );
      deliver( s, uplinkId );
   }
}

void
Model::parentIs( unsigned s, unsigned to ) {
   Serial const child = station_[ s ];
   Serial const parent = station_[ to ];
   if ( stations_[ child ].parent != parent && isAbove( child, parent ) ) {
      ++reached_.ancestorRefused;
      throw Refused{ pathOf( child ) + " cannot have " + pathOf( parent ) +
                     " for its parent: it would be its own ancestor" };
   }
   setParent( child, parent );
}

bool
Model::isAbove( Serial s, Serial below ) const {
   while ( below != none && below != s ) {
      below = stations_[ below ].parent;
   }
   return below != none;
}

// Stations have no names.
std::string
Model::pathOf( Serial s ) const {
   return s == none ? "" : pathOf( stations_[ s ].parent ) + "/";
}

void
Model::setParent( Serial s, Serial to ) {
   Held const given( *this, Kind::station, to );
   if ( stations_[ s ].parent != to ) {
      Held const self( *this, Kind::station, s );
      replace( Kind::station, stations_[ s ].parent, to );
      deliver( s, parentId );
   }
}

void
Model::heldIs( unsigned s, bool held ) {
   stations_[ station_[ s ] ].held = held;
}

void
Model::noteIs( unsigned s, unsigned k, unsigned v ) {
   Serial const station = station_[ s ];
   Row& notes = stations_[ station ].notes;
   Record const record = find( notes, k );
   if ( record && std::exchange( record->value, v ) == v ) {
      return;
   }
   if ( !record ) {
      insert( notes, std::make_shared< Member >( k, v ) );
   }
   deliver( station, noteId, k );
}

void
Model::noteDel( unsigned s, unsigned k ) {
   Serial const station = station_[ s ];
   if ( remove( stations_[ station ].notes, k ) ) {
      deliver( station, noteId, k );
   }
}

void
Model::noteDelAll( unsigned s ) {
   Serial const station = station_[ s ];
   Held const self( *this, Kind::station, station );
   removeAll(
      stations_[ station ].notes, Kind::number, [ this, station ]( unsigned k, Serial ) {
         deliver( station, noteId, k );
      } );
}

void
Model::peerIs( unsigned s, unsigned k, unsigned to ) {
   Serial const station = station_[ s ];
   Serial const value = station_[ to ];
   Held const given( *this, Kind::station, value );
   if ( value == none ) {
      return delPeer( station, k );
   }
   Held const self( *this, Kind::station, station );
   Row& peers = stations_[ station ].peers;
   Record const record = find( peers, k );
   if ( record && record->value == value ) {
      return;
   }
   if ( record ) {
      replace( Kind::station, record->value, value );
   } else {
      insert( peers, std::make_shared< Member >( k, value ) );
   }
   deliver( station, peerId, k );
}

void
Model::peerDel( unsigned s, unsigned k ) {
   delPeer( station_[ s ], k );
}

void
Model::delPeer( Serial s, unsigned k ) {
   Record const record = remove( stations_[ s ].peers, k );
   if ( record ) {
      Held const removed( *this, Kind::station, record->value );
      deliver( s, peerId, k );
   }
}

void
Model::peerDelAll( unsigned s ) {
   delAllPeers( station_[ s ] );
}

void
Model::delAllPeers( Serial s ) {
   Held const self( *this, Kind::station, s );
   removeAll( stations_[ s ].peers, Kind::station, [ this, s ]( unsigned k, Serial ) {
      deliver( s, peerId, k );
   } );
}

void
Model::watcherMake( unsigned n, bool weak ) {
   Serial const serial = notifiees_.size();
   notifiees_.emplace_back().weak = weak;
   Held const made( *this, Kind::notifiee, serial );
   replace( Kind::notifiee, notifiee_[ n ], serial );
}

void
Model::notifieeCopy( unsigned n, unsigned from ) {
   replace( Kind::notifiee, notifiee_[ n ], notifiee_[ from ] );
}

void
Model::notifieeDrop( unsigned n ) {
   replace( Kind::notifiee, notifiee_[ n ], none );
}

void
Model::notifierIs( unsigned n, unsigned s ) {
   Serial const notifiee = notifiee_[ n ];
   Held const given( *this, Kind::station, station_[ s ] );
   if ( notifiees_[ notifiee ].reactor ) {
      repoint( notifiee, station_[ s ] );
   } else {
      bind( notifiee, station_[ s ] );
   }
}

void
Model::registeredIs( unsigned n, bool registered ) {
   registerIs( notifiee_[ n ], registered );
}

void
Model::activeIs( unsigned n, bool active ) {
   activate( notifiee_[ n ], active );
}

void
Model::zombieIs( unsigned n, bool zombie ) {
   Notifiee& notifiee = notifiees_[ notifiee_[ n ] ];
   if ( notifiee.reactor ) {
      doZombie( notifiee_[ n ], zombie );
   } else {
      notifiee.zombie = zombie;
   }
}

void
Model::weakIs( unsigned n, bool weak ) {
   Notifiee& notifiee = notifiees_[ notifiee_[ n ] ];
   if ( !notifiee.reactor && notifiee.notifier == none ) {
      notifiee.weak = weak;
   }
}

void
Model::rescue( unsigned s, unsigned n ) {
   Serial const notifier = notifiees_[ notifiee_[ n ] ].notifier;
   if ( !over( Kind::station, notifier ) ) {
      replace( Kind::station, station_[ s ], notifier );
   }
}

void
Model::ownerMake( unsigned o ) {
   Serial const serial = owners_.size();
   owners_.emplace_back();
   Held const made( *this, Kind::owner, serial );
   replace( Kind::owner, owner_[ o ], serial );
}

void
Model::ownerDrop( unsigned o ) {
   replace( Kind::owner, owner_[ o ], none );
}

void
Model::masterIs( unsigned o, unsigned s ) {
   Serial const self = owner_[ o ];
   Serial const input = station_[ s ];
   if ( input == none ) {
      throw Refused{ nullRefused( "master" ) };
   }
   Held const given( *this, Kind::station, input );
   Held const alive( *this, Kind::owner, self );
   Owner& owner = owners_[ self ];
   if ( owner.master != none && notifiees_[ owner.master ].notifier == input ) {
      return doZombie( owner.master, owner.zombie );
   }
   Serial const reactor = newReactor( self, input );
   Held const made( *this, Kind::notifiee, reactor );
   Serial const old = std::exchange( owner.master, reactor );
   if ( old != none ) {
      Held const replaced( *this, Kind::notifiee, old );
      retire( old );
   }
   if ( owner.master == reactor ) {
      doZombie( reactor, owner.zombie );
   }
}

void
Model::masterDel( unsigned o ) {
   Serial const removed = std::exchange( owners_[ owner_[ o ] ].master, none );
   if ( removed != none ) {
      Held const input( *this, Kind::station, notifiees_[ removed ].notifier );
      Held const reactor( *this, Kind::notifiee, removed );
      retire( removed );
   }
}

void
Model::portIs( unsigned o, unsigned s ) {
   Serial const self = owner_[ o ];
   Serial const input = station_[ s ];
   if ( input == none ) {
      throw Refused{ nullRefused( "port" ) };
   }
   Held const given( *this, Kind::station, input );
   Held const alive( *this, Kind::owner, self );
   Owner& owner = owners_[ self ];
   unsigned const key = static_cast< unsigned >( input % 2 );
   Record record = find( owner.ports, key );
   Serial const reactor = record ? record->value : newReactor( self, input );
   Held const member( *this, Kind::notifiee, reactor );
   if ( record ) {
      repoint( reactor, input );
   } else {
      insert( owner.ports, std::make_shared< Member >( key, reactor ) );
   }
   record = find( owner.ports, key );
   if ( record && record->value == reactor ) {
      doZombie( reactor, owner.zombie );
   }
}

void
Model::portDel( unsigned o, unsigned k ) {
   Record const record = remove( owners_[ owner_[ o ] ].ports, k );
   if ( record ) {
      Held const input( *this, Kind::station, notifiees_[ record->value ].notifier );
      Held const reactor( *this, Kind::notifiee, record->value );
      retire( record->value );
   }
}

void
Model::portDelAll( unsigned o ) {
   Serial const self = owner_[ o ];
   Held const alive( *this, Kind::owner, self );
   removeAll( owners_[ self ].ports, Kind::notifiee, [ this ]( unsigned, Serial reactor ) {
      doZombie( reactor, true );
      notifiees_[ reactor ].owner = none;
   } );
}

void
Model::ownerZombieIs( unsigned o, bool zombie ) {
   zombieReactors( owner_[ o ], zombie );
}

void
Model::ownerActiveIs( unsigned o, bool active ) {
   Owner& owner = owners_[ owner_[ o ] ];
   if ( owner.active == active ) {
      return;
   }
   owner.active = active;
   if ( owner.master != none ) {
      activate( owner.master, active );
   }
   for ( Record const& record : owner.ports ) {
      activate( record->value, active );
   }
}

void
Model::masterHold( unsigned n, unsigned o ) {
   replace( Kind::notifiee, notifiee_[ n ], owners_[ owner_[ o ] ].master );
}

void
Model::portHold( unsigned n, unsigned o, unsigned k ) {
   Record const record = find( owners_[ owner_[ o ] ].ports, k );
   replace( Kind::notifiee, notifiee_[ n ], record ? record->value : none );
}

Lessons*
Model::watcherLessons( unsigned n ) {
   Notifiee& notifiee = notifiees_[ notifiee_[ n ] ];
   return notifiee.reactor ? nullptr : &notifiee.lessons;
}

Lessons*
Model::ownerLessons( unsigned o ) {
   return &owners_[ owner_[ o ] ].lessons;
}

} // namespace laws
