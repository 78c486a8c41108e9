// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What the model looks like from outside.

#include "Model"

namespace laws {

View
Model::view() const {
   View seen;
   seen.slots.assign( station_.begin(), station_.begin() + stationSlots );
   seen.slots.insert( seen.slots.end(), notifiee_.begin(), notifiee_.end() );
   seen.slots.insert( seen.slots.end(), owner_.begin(), owner_.end() );
   for ( Serial s = 0; s < stations_.size(); ++s ) {
      if ( over( Kind::station, s ) ) {
         continue;
      }
      Station const& station = stations_[ s ];
      StationView one{ s,
                       station.level,
                       station.uplink,
                       station.parent,
                       {},
                       {},
                       static_cast< unsigned >( station.list.size() ),
                       station.modifications,
                       holders( Kind::station, s ) };
      for ( Record const& record : station.notes ) {
         one.notes.emplace_back( record->key, static_cast< unsigned >( record->value ) );
      }
      for ( Record const& record : station.peers ) {
         one.peers.emplace_back( record->key, record->value );
      }
      seen.stations.push_back( std::move( one ) );
   }
   for ( Serial n = 0; n < notifiees_.size(); ++n ) {
      Notifiee const& x = notifiees_[ n ];
      if ( !x.gone ) {
         seen.notifiees.push_back( { n,
                                     x.notifier,
                                     x.weak,
                                     x.registered,
                                     x.active,
                                     x.zombie,
                                     holders( Kind::notifiee, n ) } );
      }
   }
   for ( Serial o = 0; o < owners_.size(); ++o ) {
      Owner const& owner = owners_[ o ];
      if ( owner.going ) {
         continue;
      }
      OwnerView one{
         o, owner.active, owner.zombie, owner.master, {}, holders( Kind::owner, o )
      };
      for ( Record const& record : owner.ports ) {
         one.ports.emplace_back( record->key, record->value );
      }
      seen.owners.push_back( std::move( one ) );
   }
   return seen;
}

} // namespace laws
