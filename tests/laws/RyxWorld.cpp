// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "RyxWorld"

namespace laws {

namespace {

using AnyNotifiee = Ryx::PtrInterface::NotifieeConst;

// The notifier of any notifiee of the world.
Ryx::Notifier const*
notifierOf( AnyNotifiee const& notifiee ) {
   if ( auto const* const watcher = dynamic_cast< Watcher const* >( &notifiee ) ) {
      return watcher->at();
   }
   if ( auto const* const master = dynamic_cast< Owner::RyxMaster const* >( &notifiee ) ) {
      return master->at();
   }
   return dynamic_cast< Owner::RyxPort const& >( notifiee ).at();
}

// Turns the framework's refusal into the world's.
template< class Mutate >
void
refusing( Mutate mutate ) {
   try {
      mutate();
   } catch ( Ryx::RangeException const& refusal ) {
      throw Refused{ refusal.what() };
   }
}

} // namespace

RyxWorld::~RyxWorld() = default;

Ryx::Ptr< Station >
RyxWorld::given( unsigned s ) const {
   return station_[ s ];
}

void
RyxWorld::stationMake( unsigned s ) {
   Serial const serial = stationsMade_++;
   auto const made = Ryx::make< Station >( *this, serial );
   stations_[ serial ] = made.ptr();
   serials_[ made.ptr() ] = serial;
   station_[ s ] = made;
}

void
RyxWorld::stationCopy( unsigned s, unsigned from ) {
   station_[ s ] = station_[ from ];
}

void
RyxWorld::stationDrop( unsigned s ) {
   station_[ s ] = nullptr;
}

void
RyxWorld::levelIs( unsigned s, unsigned v ) {
   station_[ s ]->levelIs( v );
}

void
RyxWorld::uplinkIs( unsigned s, unsigned to ) {
   station_[ s ]->uplinkIs( given( to ) );
}

void
RyxWorld::parentIs( unsigned s, unsigned to ) {
   refusing( [ this, s, to ] { station_[ s ]->parentIs( given( to ) ); } );
}

void
RyxWorld::heldIs( unsigned s, bool held ) {
   station_[ s ]->ryxHeldIs( held );
}

void
RyxWorld::noteIs( unsigned s, unsigned k, unsigned v ) {
   station_[ s ]->noteIs( k, v );
}

void
RyxWorld::noteDel( unsigned s, unsigned k ) {
   station_[ s ]->noteDel( k );
}

void
RyxWorld::noteDelAll( unsigned s ) {
   station_[ s ]->noteDelAll();
}

void
RyxWorld::peerIs( unsigned s, unsigned k, unsigned to ) {
   station_[ s ]->peerIs( k, given( to ) );
}

void
RyxWorld::peerDel( unsigned s, unsigned k ) {
   station_[ s ]->peerDel( k );
}

void
RyxWorld::peerDelAll( unsigned s ) {
   station_[ s ]->peerDelAll();
}

void
RyxWorld::watcherMake( unsigned n, bool weak ) {
   Serial const serial = notifieesMade_++;
   auto const made = Ryx::make< Watcher >( *this, serial );
   made->isWeakReferenceIs( weak );
   notifiees_[ serial ] = made.ptr();
   serials_[ made.ptr() ] = serial;
   notifiee_[ n ] = made;
}

void
RyxWorld::notifieeCopy( unsigned n, unsigned from ) {
   notifiee_[ n ] = notifiee_[ from ];
}

void
RyxWorld::notifieeDrop( unsigned n ) {
   notifiee_[ n ] = nullptr;
}

void
RyxWorld::notifierIs( unsigned n, unsigned s ) {
   notifiee_[ n ]->notifierIs( given( s ) );
}

void
RyxWorld::registeredIs( unsigned n, bool registered ) {
   notifiee_[ n ]->isRegisteredNotifieeIs( registered );
}

void
RyxWorld::activeIs( unsigned n, bool active ) {
   notifiee_[ n ]->hasNotificationActiveIs( active );
}

void
RyxWorld::zombieIs( unsigned n, bool zombie ) {
   AnyNotifiee& notifiee = *notifiee_[ n ];
   if ( auto* const master = dynamic_cast< Owner::RyxMaster* >( &notifiee ) ) {
      master->ryxDoZombieReactors( zombie );
   } else if ( auto* const port = dynamic_cast< Owner::RyxPort* >( &notifiee ) ) {
      port->ryxDoZombieReactors( zombie );
   } else {
      notifiee.ryxMarkedForDeletionIs( zombie );
   }
}

void
RyxWorld::weakIs( unsigned n, bool weak ) {
   auto const watcher = Ryx::ptrCast< Watcher >( notifiee_[ n ] );
   if ( watcher && !watcher->at() ) {
      watcher->isWeakReferenceIs( weak );
   }
}

void
RyxWorld::rescue( unsigned s, unsigned n ) {
   auto const alive = stations_.find( serialOf( notifierOf( *notifiee_[ n ] ) ) );
   if ( alive != stations_.end() ) {
      station_[ s ] = Ryx::Ptr< Station >( alive->second );
   }
}

void
RyxWorld::ownerMake( unsigned o ) {
   Serial const serial = ownersMade_++;
   auto const made = Ryx::make< Owner >( *this, serial );
   owners_[ serial ] = made.ptr();
   owner_[ o ] = made;
}

void
RyxWorld::ownerDrop( unsigned o ) {
   owner_[ o ] = nullptr;
}

void
RyxWorld::masterIs( unsigned o, unsigned s ) {
   refusing( [ this, o, s ] { owner_[ o ]->masterIs( given( s ) ); } );
}

void
RyxWorld::masterDel( unsigned o ) {
   owner_[ o ]->masterDel();
}

void
RyxWorld::portIs( unsigned o, unsigned s ) {
   refusing( [ this, o, s ] { owner_[ o ]->portIs( given( s ) ); } );
}

void
RyxWorld::portDel( unsigned o, unsigned k ) {
   owner_[ o ]->portDel( k );
}

void
RyxWorld::portDelAll( unsigned o ) {
   owner_[ o ]->portDelAll();
}

void
RyxWorld::ownerZombieIs( unsigned o, bool zombie ) {
   owner_[ o ]->ryxDoZombieReactors( zombie );
}

void
RyxWorld::ownerActiveIs( unsigned o, bool active ) {
   owner_[ o ]->hasNotificationActiveIs( active );
}

void
RyxWorld::masterHold( unsigned n, unsigned o ) {
   notifiee_[ n ] = owner_[ o ]->master();
}

void
RyxWorld::portHold( unsigned n, unsigned o, unsigned k ) {
   notifiee_[ n ] = Notifiee( owner_[ o ]->ports().find( k ) );
}

Lessons*
RyxWorld::watcherLessons( unsigned n ) {
   auto const watcher = Ryx::ptrCast< Watcher >( notifiee_[ n ] );
   return watcher ? &watcher->lessons() : nullptr;
}

Lessons*
RyxWorld::ownerLessons( unsigned o ) {
   return &owner_[ o ]->lessons();
}

Serial
RyxWorld::reactorMade( AnyNotifiee const& reactor ) {
   Serial const serial = notifieesMade_++;
   notifiees_[ serial ] = &reactor;
   serials_[ &reactor ] = serial;
   return serial;
}

void
RyxWorld::gone( Station const& station ) {
   say( "s" + std::to_string( station.serial() ) + " goes" );
   stations_.erase( station.serial() );
}

void
RyxWorld::gone( AnyNotifiee const&, Serial serial ) {
   say( "n" + std::to_string( serial ) + " goes" );
   notifiees_.erase( serial );
}

void
RyxWorld::gone( Owner const& owner ) {
   say( "o" + std::to_string( owner.serial() ) + " goes" );
   owners_.erase( owner.serial() );
}

bool
RyxWorld::hasStation( unsigned s ) const {
   return static_cast< bool >( station_[ s ] );
}

bool
RyxWorld::hasNotifiee( unsigned n ) const {
   return static_cast< bool >( notifiee_[ n ] );
}

bool
RyxWorld::hasOwner( unsigned o ) const {
   return static_cast< bool >( owner_[ o ] );
}

Serial
RyxWorld::serialOf( Ryx::PtrInterface const* object ) const {
   return object ? serials_.at( object ) : none;
}

NotifieeView
RyxWorld::notifieeView( AnyNotifiee const& notifiee ) const {
   return { serialOf( &notifiee ),
            serialOf( notifierOf( notifiee ) ),
            notifiee.isWeakReference(),
            notifiee.isRegisteredNotifiee(),
            notifiee.hasNotificationActive(),
            notifiee.ryxMarkedForDeletion(),
            notifiee.references() };
}

View
RyxWorld::view() const {
   View seen;
   for ( unsigned s = 0; s < stationSlots; ++s ) {
      seen.slots.push_back( serialOf( station_[ s ].ptr() ) );
   }
   for ( auto const& notifiee : notifiee_ ) {
      seen.slots.push_back( serialOf( notifiee.ptr() ) );
   }
   for ( auto const& owner : owner_ ) {
      seen.slots.push_back( owner ? owner->serial() : none );
   }
   for ( auto const& [ serial, station ] : stations_ ) {
      Serial const parent = serialOf( station->parent().ptr() );
      StationView one{ serial,
                       station->level(),
                       serialOf( station->uplink().ptr() ),
                       parent,
                       {},
                       {},
                       station->notifieeCount(),
                       station->notifieeModifications(),
                       station->references() };
      for ( Station::NoteStorage::Map::IteratorConst it( station->notes() ); it; ++it ) {
         one.notes.emplace_back( it.key(), it->value() );
      }
      for ( Station::PeerStorage::Map::IteratorConst it( station->peers() ); it; ++it ) {
         one.peers.emplace_back( it.key(), serialOf( it->value().ptr() ) );
      }
      seen.stations.push_back( std::move( one ) );
   }
   for ( auto const& entry : notifiees_ ) {
      seen.notifiees.push_back( notifieeView( *entry.second ) );
   }
   for ( auto const& [ serial, owner ] : owners_ ) {
      OwnerView one{ serial,
                     owner->hasNotificationActive(),
                     owner->ryxMarkedForDeletion(),
                     serialOf( owner->master().ptr() ),
                     {},
                     owner->references() };
      for ( Owner::PortStorage::Map::IteratorConst it( owner->ports() ); it; ++it ) {
         one.ports.emplace_back( it.key(), serialOf( &*it ) );
      }
      seen.owners.push_back( std::move( one ) );
   }
   return seen;
}

void
RyxWorld::untangle() {
   for ( auto const& entry : notifiees_ ) {
      if ( auto const* const watcher = dynamic_cast< Watcher const* >( entry.second ) ) {
         watcher->lessons().clear();
      }
   }
   for ( auto const& entry : owners_ ) {
      entry.second->lessons().clear();
   }
   for ( Serial s = 0; s < stationsMade_; ++s ) {
      if ( auto const alive = stations_.find( s ); alive != stations_.end() ) {
         alive->second->ryxHeldIs( false );
      }
   }
   std::vector< Ryx::Ptr< Station > > all;
   for ( auto const& entry : stations_ ) {
      all.emplace_back( entry.second );
   }
   for ( auto const& station : all ) {
      station->uplinkIs( nullptr );
      station->parentIs( nullptr );
      station->peerDelAll();
   }
   for ( auto& station : all ) {
      station = nullptr;
   }
}

} // namespace laws
