// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <model/Names>

#include <algorithm>

namespace model {

namespace {

std::uint32_t
reversedBits( std::uint32_t bits ) {
   std::uint32_t reversed = 0;
   for ( unsigned i = 0; i < 32; ++i, bits >>= 1 ) {
      reversed = reversed << 1 | ( bits & 1 );
   }
   return reversed;
}

} // namespace

Names const&
Names::instance() {
   static Names const names;
   return names;
}

Names::Names() {
   std::vector< Id > others;
   add( others, { "", "Vlan4094", "Vlan4093" } );
   add(
      ports,
      { "Ethernet1",
        "Ethernet2",
        "Ethernet3",
        "Ethernet4",
        "Ethernet5",
        "Ethernet6",
        "Ethernet7",
        "Ethernet8",
        "Ethernet9/1",
        "Management1",
        "Internal1",
        "Recirc1" } );
   add(
      portChannels,
      { "Port-Channel10", "Port-Channel20", "Port-Channel30", "Port-Channel1000" } );
   add( peerPorts, { "PeerEthernet1", "PeerEthernet2", "PeerEthernet3", "PeerEthernet4" } );
   rank();
}

void
Names::add( std::vector< Id >& group, std::vector< std::string > const& names ) {
   for ( std::string const& name : names ) {
      Kovel::IntfId const id( name );
      group.push_back( { reversedBits( id.hash() ), 0, name } );
      ids_[ id ] = group.back();
   }
}

void
Names::rank() {
   std::vector< Kovel::IntfId > order;
   for ( auto const& [ id, known ] : ids_ ) {
      order.push_back( id );
   }
   std::sort( order.begin(), order.end() );
   for ( unsigned i = 0; i < order.size(); ++i ) {
      ids_.at( order[ i ] ).rank = i;
   }
   for ( auto* group : { &ports, &portChannels, &peerPorts } ) {
      for ( Id& id : *group ) {
         id = ids_.at( kovelId( id ) );
      }
   }
}

Id const&
Names::operator[]( std::string_view name ) const {
   return ids_.at( Kovel::IntfId( name ) );
}

} // namespace model
