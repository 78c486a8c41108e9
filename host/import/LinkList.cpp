// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/import/LinkList>

#include <host/base/Failure>
#include <host/import/ForeignItems>

#include <fmt/format.h>

#include <map>

namespace ostra {

namespace {

struct Device {
   std::size_t index;
   DocumentNode node;
   std::string name;
   bool isUp;
   // The name of a bond or bridge; empty for none.
   std::string master;
   bool isBond = false;
   bool isOfLacp = false;
};

bool
hasFlag( Item const& device, std::string_view flag ) {
   bool isFound = false;
   if ( auto const flags = memberOf( device, "flags" ) ) {
      forEachItemIn( *flags, "a list of texts", [ & ]( Item const& item ) {
         isFound = isFound || textOf( item, "a text" ) == flag;
      } );
   }
   return isFound;
}

Device
deviceOf( Item const& item, std::size_t index ) {
   Device device{ index,
                  item.node(),
                  textIn( item, "ifname" ),
                  hasFlag( item, "UP" ),
                  textIn( item, "master" ) };
   if ( auto const info = memberOf( item, "linkinfo" ) ) {
      device.isBond = textIn( *info, "info_kind" ) == "bond";
      auto const data = memberOf( *info, "info_data" );
      device.isOfLacp = device.isBond && data && textIn( *data, "mode" ) == "802.3ad";
   }
   return device;
}

std::vector< Device >
devicesIn( Item const& list ) {
   std::vector< Device > devices;
   std::size_t index = 0;
   forEachItemIn( list, "a list", [ & ]( Item const& item ) {
      // A filter of `ip` leaves empty ones.
      bool const isLeftOut = item.node().isEmptyMap();
      if ( !isLeftOut && !hasFlag( item, "LOOPBACK" ) ) {
         devices.push_back( deviceOf( item, index ) );
      }
      ++index;
   } );
   return devices;
}

class Links {
 public:
   Links( Item const& list, ForeignNames& names, SwitchDescription& description )
         : list_( list ), names_( names ), description_( description ) {}

   void read() {
      auto const devices = devicesIn( list_ );
      for ( Device const& device : devices ) {
         Item const item( list_, device.node, device.index );
         devices_[ device.name ] = { &device, names_.add( device.name, item ) };
      }
      for ( Device const& device : devices ) {
         if ( Kovel::IntfId const id = devices_.at( device.name ).id ) {
            add( id, device );
         }
      }
   }

 private:
   struct Known {
      Device const* device = nullptr;
      Kovel::IntfId id = {};
   };

   void add( Kovel::IntfId id, Device const& device ) {
      if ( id.kind() == Kovel::IntfId::Kind::portChannel ) {
         description_.portChannels.insert( id );
         return;
      }
      SwitchDescription::Port port{ device.isUp, {} };
      auto const master = devices_.find( device.master );
      bool const isInBond = master != devices_.end() && master->second.device->isBond;
      if ( isInBond ) {
         join( port, device, master->second );
      } else if ( device.master.empty() ) {
         port.portChannel = names_.usualPortChannelOf( device.name );
      }
      description_.ports.emplace( id, port );
   }

   void join( SwitchDescription::Port& port, Device const& device, Known const& bond ) {
      if ( bond.id && bond.id.kind() == Kovel::IntfId::Kind::portChannel ) {
         port.portChannel = bond.id;
         port.isOfLacp = bond.device->isOfLacp;
      } else {
         names_.remark(
            Item( list_, device.node, device.index ),
            device.name,
            fmt::format(
               "its bond {} is no port-channel", shortened( bond.device->name ) ) );
      }
   }

   Item const& list_;
   ForeignNames& names_;
   SwitchDescription& description_;
   // By name.
   std::map< std::string, Known > devices_;
};

} // namespace

void
readLinkList( Item const& list, ForeignNames& names, SwitchDescription& description ) {
   Links( list, names, description ).read();
}

} // namespace ostra
