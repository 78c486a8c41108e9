// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A change of an attribute, told to its notifiees; and notifiees that come and go.

#include <Mlag/ProtoStatus>
#include <instructions/Measure>

#include <vector>

namespace bench {

namespace {

class Listener final : public Mlag::ProtoStatus::NotifieeConst {
 public:
   explicit Listener( Ryx::Ptr< Mlag::ProtoStatus > const& status ) {
      notifierIs( status );
      isRegisteredNotifieeIs( true );
   }
   void onPortsErrdisabledWhen() override { ++heard; }

   std::size_t heard = 0;
};

struct Watched {
   explicit Watched( std::size_t listenerCount ) {
      while ( listeners.size() < listenerCount ) {
         listeners.push_back( Ryx::make< Listener >( status ) );
      }
   }
   std::size_t heard() const {
      std::size_t sum = 0;
      for ( auto const& listener : listeners ) {
         sum += listener->heard;
      }
      return sum;
   }

   Ryx::Ptr< Mlag::ProtoStatus > status = Ryx::make< Mlag::ProtoStatus >( "status" );
   std::vector< Ryx::Ptr< Listener > > listeners;
};

void
measureSet( std::size_t listeners ) {
   Watched const watched( listeners );
   std::size_t const sets = listeners < 100 ? 10'000 : 100;
   measureEach( "set/" + std::to_string( listeners ), sets, [ & ]( std::size_t i ) {
      watched.status->portsErrdisabledWhenIs( static_cast< double >( i ) );
   } );
   expect( watched.heard() == sets * listeners, "every change to be heard" );
}

void
measureSetToTheSame() {
   Watched const watched( 1 );
   measureEach( "set/same", 10'000, [ & ]( std::size_t ) {
      watched.status->portsErrdisabledWhenIs( Ryx::never );
   } );
   expect( watched.heard() == 0, "no change to be heard" );
}

void
measureConnect( std::size_t others ) {
   Watched const watched( others );
   measureEach( "connect/" + std::to_string( others ), 100, [ & ]( std::size_t ) {
      keep( Ryx::make< Listener >( watched.status ) );
   } );
}

} // namespace

} // namespace bench

void
bench::measureDelivery() {
   for ( std::size_t const listeners : { 0u, 1u, 4u, 16u, 1024u } ) {
      measureSet( listeners );
   }
   measureSetToTheSame();
   measureConnect( 1 );
   measureConnect( 1024 );
}
