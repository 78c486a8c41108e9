// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/import/LinkList>

#include <host/base/Failure>
#include <host/base/IntfRanges>
#include <host/import/ForeignItems>

#include <fmt/format.h>

#include <algorithm>
#include <map>

namespace ostra {

namespace {

struct Device {
   std::size_t index;
   DocumentNode node;
   std::string name;
   std::vector< std::string > otherNames;
   bool isUp;
   // The name of a bond or bridge; empty for none.
   std::string master;
   // "bond", "team", "bridge"; empty where the list does not say it.
   std::string kind = {};
   std::string masterKind = {};
   // As the values of Lag::LacpMode are called; empty where the list does not say it.
   std::string_view lacpMode = {};
};

bool
isOfPorts( std::string_view kind ) {
   return kind == "bond" || kind == "team";
}

std::vector< std::string >
textsIn( Item const& device, std::string_view key ) {
   std::vector< std::string > texts;
   if ( auto const list = memberOf( device, key ) ) {
      forEachItemIn( *list, "a list of texts", [ &texts ]( Item const& item ) {
         texts.push_back( textOf( item, "a text" ) );
      } );
   }
   return texts;
}

bool
hasFlag( Item const& device, std::string_view flag ) {
   auto const flags = textsIn( device, "flags" );
   return std::find( flags.begin(), flags.end(), flag ) != flags.end();
}

std::string_view
lacpModeOf( Item const& data ) {
   std::string const mode = textIn( data, "mode" );
   if ( mode != "802.3ad" && mode != "lacp" ) {
      return mode.empty() ? "" : "lacpOff";
   }
   return textIn( data, "ad_lacp_active" ) == "off" ? "lacpPassive" : "lacpActive";
}

Device
deviceOf( Item const& item, std::size_t index ) {
   Device device{ index,
                  item.node(),
                  textIn( item, "ifname" ),
                  textsIn( item, "altnames" ),
                  hasFlag( item, "UP" ),
                  textIn( item, "master" ) };
   if ( auto const info = memberOf( item, "linkinfo" ) ) {
      device.kind = textIn( *info, "info_kind" );
      device.masterKind = textIn( *info, "info_slave_kind" );
      auto const data = memberOf( *info, "info_data" );
      if ( data && isOfPorts( device.kind ) ) {
         device.lacpMode = lacpModeOf( *data );
      }
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
         devices_[ device.name ] = {
            &device, names_.add( device.name, itemOf( device ), device.otherNames )
         };
      }
      for ( Device const& device : devices ) {
         if ( Kovel::IntfId const id = devices_.at( device.name ).id ) {
            add( id, device );
         }
      }
      noteAssumedModes();
   }

 private:
   struct Known {
      // None for one that only its ports name.
      Device const* device = nullptr;
      Kovel::IntfId id = {};
   };

   // The ports of a port-channel of which the list does not say the mode.
   struct Assumed {
      std::string master;
      // Of the port-channel, or else of a port that names it.
      Device const* at;
      bool isListed;
      std::vector< Kovel::IntfId > ports = {};
   };

   Item itemOf( Device const& device ) const {
      return Item( list_, device.node, device.index );
   }

   static bool isPortChannel( Kovel::IntfId id ) {
      return id && id.kind() == Kovel::IntfId::Kind::portChannel;
   }

   void add( Kovel::IntfId id, Device const& device ) {
      if ( isPortChannel( id ) ) {
         addPortChannel( id, device );
         return;
      }
      SwitchDescription::Port port{ device.isUp, {} };
      if ( device.master.empty() ) {
         port.portChannel = names_.usualPortChannelOf( device.name );
      } else {
         join( port, id, device );
      }
      description_.ports.emplace( id, port );
   }

   void addPortChannel( Kovel::IntfId id, Device const& device ) {
      description_.portChannels.insert( id );
      if ( !device.isUp ) {
         description_.shutPortChannels.insert( id );
         names_.note(
            itemOf( device ),
            device.name,
            fmt::format( "{} is shut down, which a scenario does not say", id.string() ) );
      }
      if ( !device.master.empty() && isPortChannel( masterOf( device ).id ) ) {
         names_.remark(
            itemOf( device ),
            device.name,
            fmt::format(
               "a port-channel in {}, which is one, too", shortened( device.master ) ) );
      }
   }

   static std::string kindOfMaster( Device const& device, Known const& master ) {
      bool const isSaid = master.device && !master.device->kind.empty();
      return isSaid ? master.device->kind : device.masterKind;
   }

   // One that the list does not have is there nevertheless, unless it is a bridge or the like.
   Known masterOf( Device const& device ) {
      auto found = devices_.find( device.master );
      bool const mayBeOfPorts = device.masterKind.empty() || isOfPorts( device.masterKind );
      if ( found == devices_.end() && mayBeOfPorts ) {
         Kovel::IntfId const id = names_.add( device.master, itemOf( device ) );
         found = devices_.emplace( device.master, Known{ nullptr, id } ).first;
         if ( isPortChannel( id ) ) {
            description_.portChannels.insert( id );
         }
      }
      return found == devices_.end() ? Known() : found->second;
   }

   void join( SwitchDescription::Port& port, Kovel::IntfId id, Device const& device ) {
      Known const master = masterOf( device );
      std::string const kind = kindOfMaster( device, master );
      if ( isPortChannel( master.id ) ) {
         port.portChannel = master.id;
         port.lacpMode = master.device ? master.device->lacpMode : "";
         if ( port.lacpMode.empty() ) {
            port.lacpMode = "lacpActive";
            bool const isListed = master.device != nullptr;
            Device const* const at = isListed ? master.device : &device;
            assumed_.try_emplace( master.id, Assumed{ device.master, at, isListed } )
               .first->second.ports.push_back( id );
         }
      } else if ( kind.empty() || isOfPorts( kind ) ) {
         names_.remark(
            itemOf( device ),
            device.name,
            fmt::format(
               "its {} {} is no port-channel",
               kind.empty() ? "master" : kind,
               shortened( device.master ) ) );
      }
   }

   void noteAssumedModes() {
      for ( auto const& [ id, assumed ] : assumed_ ) {
         names_.note(
            itemOf( *assumed.at ),
            assumed.master,
            fmt::format(
               "{}: its mode is not known: {} with lacpActive is taken for {}",
               assumed.isListed ? "a port-channel by its name" : "it is not in the list",
               id.string(),
               shortened( intfRanges( assumed.ports ) ) ) );
      }
   }

   Item const& list_;
   ForeignNames& names_;
   SwitchDescription& description_;
   // By name.
   std::map< std::string, Known > devices_;
   std::map< Kovel::IntfId, Assumed > assumed_;
};

} // namespace

void
readLinkList( Item const& list, ForeignNames& names, SwitchDescription& description ) {
   Links( list, names, description ).read();
}

} // namespace ostra
