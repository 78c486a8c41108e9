// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Who holds what, and how the objects of the model go.

#include "ModelRow"

#include <algorithm>

namespace laws {

namespace {

unsigned
counted( auto const& range, auto const& value ) {
   return static_cast< unsigned >( std::count( range.begin(), range.end(), value ) );
}

unsigned
countedIf( auto const& range, auto const& test ) {
   return static_cast< unsigned >( std::count_if( range.begin(), range.end(), test ) );
}

// A key by its bits in reverse order, which is what collections are sorted by.
unsigned
position( unsigned key ) {
   unsigned reversed = 0;
   for ( int bit = 0; bit < 32; ++bit ) {
      reversed = reversed << 1 | ( key >> bit & 1u );
   }
   return reversed;
}

} // namespace

Model::~Model() = default;

Model::Held::Held( Model& model, Kind kind, Serial serial )
      : model_( model ), kind_( kind ), serial_( serial ) {
   model_.held_.emplace_back( kind, serial );
}

Model::Held::~Held() {
   auto& held = model_.held_;
   held.erase( std::find( held.begin(), held.end(), std::pair( kind_, serial_ ) ) );
   model_.dropped( kind_, serial_ );
}

void
Model::Standing::on( Record record ) {
   auto& standing = model_.standing_;
   Record const left = std::exchange( record_, record );
   if ( record ) {
      standing.emplace_back( kind_, std::move( record ) );
   }
   if ( left ) {
      standing.erase(
         std::find( standing.begin(), standing.end(), std::pair( kind_, left ) ) );
      model_.dropped( kind_, left->value );
   }
}

// The first member that sorts at or after a key.
Model::Row::iterator
Model::placeOf( Row& row, unsigned key ) {
   return std::find_if( row.begin(), row.end(), [ key ]( Record const& record ) {
      return position( record->key ) >= position( key );
   } );
}

Model::Record
Model::find( Row& row, unsigned key ) {
   auto const place = placeOf( row, key );
   return place != row.end() && ( *place )->key == key ? *place : nullptr;
}

void
Model::insert( Row& row, Record record ) {
   auto const place = placeOf( row, record->key );
   row.insert( place, std::move( record ) );
}

Model::Record
Model::remove( Row& row, unsigned key ) {
   Record const found = find( row, key );
   std::erase( row, found );
   return found;
}

unsigned
Model::holders( Kind kind, Serial serial ) const {
   unsigned count = counted( held_, std::pair( kind, serial ) );
   count += countedIf( standing_, [ & ]( auto const& standing ) {
      return standing.first == kind && standing.second->value == serial;
   } );
   switch ( kind ) {
   case Kind::station:
      return count + stationHolders( serial );
   case Kind::notifiee:
      return count + notifieeHolders( serial ) + notifiees_[ serial ].snapshots;
   default:
      return count + counted( owner_, serial );
   }
}

unsigned
Model::stationHolders( Serial s ) const {
   unsigned count = counted( station_, s );
   count += countedIf( notifiees_, [ s ]( Notifiee const& notifiee ) {
      return !notifiee.weak && notifiee.notifier == s;
   } );
   for ( Station const& other : stations_ ) {
      count += other.uplink == s;
      count += other.parent == s;
      count += countedIf(
         other.peers, [ s ]( Record const& record ) { return record->value == s; } );
   }
   return count;
}

// But for snapshots.
unsigned
Model::notifieeHolders( Serial n ) const {
   unsigned count = counted( notifiee_, n );
   for ( Owner const& owner : owners_ ) {
      count += owner.master == n;
      count += countedIf(
         owner.ports, [ n ]( Record const& record ) { return record->value == n; } );
   }
   return count;
}

// Whether the object has begun to go, or there is none.
bool
Model::over( Kind kind, Serial serial ) const {
   switch ( kind ) {
   case Kind::station:
      return serial == none || stations_[ serial ].going;
   case Kind::notifiee:
      return serial == none || notifiees_[ serial ].gone;
   case Kind::owner:
      return serial == none || owners_[ serial ].going;
   default:
      return true;
   }
}

void
Model::dropped( Kind kind, Serial serial ) {
   if ( over( kind, serial ) || holders( kind, serial ) != 0 ) {
      return;
   }
   if ( kind == Kind::station && stations_[ serial ].held ) {
      ++reached_.keptByHold;
      return;
   }
   switch ( kind ) {
   case Kind::station:
      return leaveStation( serial );
   case Kind::notifiee:
      return destroyNotifiee( serial );
   default:
      return destroyOwner( serial );
   }
}

// The end of a station: its watchers are told, and it goes unless one took hold of it again.
void
Model::leaveStation( Serial s ) {
   held_.emplace_back( Kind::station, s );
   deliver( s, zeroId );
   held_.erase( std::find( held_.begin(), held_.end(), std::pair( Kind::station, s ) ) );
   if ( holders( Kind::station, s ) == 0 && !stations_[ s ].held ) {
      destroyStation( s );
   } else {
      ++reached_.rescued;
   }
}

void
Model::destroyStation( Serial s ) {
   Station& station = stations_[ s ];
   station.going = true;
   say( "s" + std::to_string( s ) + " goes" );
   removeAll( station.peers, Kind::station, []( unsigned, Serial ) {} );
   replace( Kind::station, station.uplink, none );
   replace( Kind::station, station.parent, none );
   for ( Notifiee& notifiee : notifiees_ ) {
      if ( notifiee.notifier == s ) {
         notifiee.notifier = none;
         ++reached_.weakAbandoned;
      }
   }
}

void
Model::destroyNotifiee( Serial n ) {
   notifiees_[ n ].gone = true;
   say( "n" + std::to_string( n ) + " goes" );
   bind( n, none );
}

void
Model::destroyOwner( Serial o ) {
   Owner& owner = owners_[ o ];
   owner.going = true;
   say( "o" + std::to_string( o ) + " goes" );
   zombieReactors( o, true );
   for ( Notifiee& notifiee : notifiees_ ) {
      if ( notifiee.owner == o ) {
         notifiee.owner = none;
      }
   }
   removeAll( owner.ports, Kind::notifiee, []( unsigned, Serial ) {} );
   replace( Kind::notifiee, owner.master, none );
}

// Lets a holder hold something else, before what it held is let go.
void
Model::replace( Kind kind, Serial& holder, Serial serial ) {
   Serial const left = std::exchange( holder, serial );
   dropped( kind, left );
}

// One that nobody holds goes by that.
void
Model::letGo( Serial s ) {
   stations_[ s ].held = false;
   reached_.goneWithHold += holders( Kind::station, s ) == 0;
   dropped( Kind::station, s );
}

void
Model::untangle() {
   for ( Notifiee& notifiee : notifiees_ ) {
      notifiee.lessons.clear();
   }
   for ( Owner& owner : owners_ ) {
      owner.lessons.clear();
   }
   Serial const size = stations_.size();
   for ( Serial s = 0; s < size; ++s ) {
      if ( !over( Kind::station, s ) ) {
         letGo( s );
      }
   }
   std::deque< Held > all;
   for ( Serial s = 0; s < size; ++s ) {
      all.emplace_back( *this, Kind::station, over( Kind::station, s ) ? none : s );
   }
   for ( Serial s = 0; s < size; ++s ) {
      if ( !over( Kind::station, s ) ) {
         setUplink( s, none );
         setParent( s, none );
         delAllPeers( s );
      }
   }
   while ( !all.empty() ) {
      all.pop_front();
   }
}

} // namespace laws
