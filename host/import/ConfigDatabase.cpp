// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/import/ConfigDatabase>

#include <host/base/Failure>
#include <host/base/Words>
#include <host/import/ForeignItems>

#include <Kovel/EthAddr>
#include <Kovel/IpAddr>
#include <Ryx/Exception>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <map>
#include <utility>

namespace ostra {

namespace {

using Kovel::IntfId;

// "1|PortChannel7" is the row of both; without a bar there is no second one.
std::pair< std::string, std::string >
partsOf( std::string_view key ) {
   std::size_t const bar = std::min( key.find( '|' ), key.size() );
   std::string_view const rest = key.substr( std::min( bar + 1, key.size() ) );
   return { std::string( key.substr( 0, bar ) ), std::string( rest ) };
}

bool
isPortChannel( IntfId id ) {
   return id.kind() == IntfId::Kind::portChannel;
}

constexpr std::array< std::string_view, 7 > readTables = {
   "DEVICE_METADATA", "PORT",         "PORTCHANNEL",    "PORTCHANNEL_MEMBER",
   "VLAN_INTERFACE",  "MCLAG_DOMAIN", "MCLAG_INTERFACE"
};

class Tables {
 public:
   Tables( Item const& root, ForeignNames& names, SwitchDescription& description )
         : root_( root ), names_( names ), description_( description ) {}

   void read() {
      readName();
      forEachRow( "PORT", [ this ]( Item const& row ) { addPort( row ); } );
      forEachRow( "PORTCHANNEL", [ this ]( Item const& row ) { addPortChannel( row ); } );
      forEachRow( "PORTCHANNEL_MEMBER", [ this ]( Item const& row ) { addMember( row ); } );
      forEachRow( "MCLAG_DOMAIN", [ this ]( Item const& row ) { addDomain( row ); } );
      forEachRow( "MCLAG_INTERFACE", [ this ]( Item const& row ) { addInterface( row ); } );
      readLocalInterface();
      remarkOtherTables();
   }

 private:
   template< class Visit >
   void forEachRow( std::string_view table, Visit visit ) {
      if ( auto const rows = memberOf( root_, table ) ) {
         rows->forEachEntry( "a map of rows", visit );
      }
   }

   void remark( Item const& at, std::string const& why ) {
      names_.remark( at, std::string( at.key() ), why );
   }

   void note( Item const& at, std::string const& what ) {
      names_.note( at, std::string( at.key() ), what );
   }

   // What is neither of them is noted, and means `no`.
   bool isSaid(
      Item const& row,
      std::string_view key,
      std::string_view yes,
      std::string_view no,
      bool isWithout ) {
      auto const item = memberOf( row, key );
      if ( !item ) {
         return isWithout;
      }
      std::string const text = textOf( *item, "a text" );
      if ( text != yes && text != no ) {
         note(
            *item,
            fmt::format(
               "{}: expected {} or {}: taken as {}", inQuotes( text ), yes, no, no ) );
      }
      return text == yes;
   }

   // In one line: most of what a switch has is of no matter to a reload.
   void remarkOtherTables() {
      std::vector< std::string > others;
      root_.forEachEntry( "a map of tables", [ &others ]( Item const& table ) {
         bool const isRead =
            std::find( readTables.begin(), readTables.end(), table.key() ) !=
            readTables.end();
         if ( !isRead && !table.isNull() && !table.node().isEmptyMap() ) {
            others.push_back( shortened( table.key() ) );
         }
      } );
      if ( !others.empty() ) {
         Place const at = root_.place();
         description_.remarks.push_back(
            { fmt::format( "{}:{}:{}", root_.node().tree().name(), at.line, at.column ),
              fmt::format(
                 "{}, of which a scenario has nothing: {}: left out",
                 counted( others.size(), "table" ),
                 fmt::join( others, ", " ) ) } );
      }
   }

   void readName() {
      if ( auto const metadata = memberOf( root_, "DEVICE_METADATA" ) ) {
         if ( auto const host = memberOf( *metadata, "localhost" ) ) {
            description_.name = textIn( *host, "hostname" );
         }
      }
   }

   // A port that says nothing is shut down there.
   void addPort( Item const& row ) {
      IntfId const id =
         names_.add( std::string( row.key() ), row, { textIn( row, "alias" ) } );
      bool const isEnabled = isSaid( row, "admin_status", "up", "down", false );
      if ( id && isPortChannel( id ) ) {
         remark( row, fmt::format( "{} is no port", id.string() ) );
      } else if ( id ) {
         description_.ports.emplace( id, SwitchDescription::Port{ isEnabled, {} } );
      }
   }

   void addPortChannel( Item const& row ) {
      IntfId const id = names_.add( std::string( row.key() ), row );
      bool const isStatic = isSaid( row, "static", "true", "false", false );
      bool const isUp = isSaid( row, "admin_status", "up", "down", true );
      if ( id && !isPortChannel( id ) ) {
         remark( row, fmt::format( "{} is no port-channel", id.string() ) );
      } else if ( id ) {
         description_.portChannels.insert( id );
         isStatic_[ id ] = isStatic;
         if ( !isUp ) {
            description_.shutPortChannels.insert( id );
            note(
               row,
               fmt::format(
                  "{} is shut down, which a scenario does not say", id.string() ) );
         }
      }
   }

   void addMember( Item const& row ) {
      auto const [ portChannelName, portName ] = partsOf( row.key() );
      IntfId const portChannel = names_.find( portChannelName );
      auto const port = description_.ports.find( names_.find( portName ) );
      if ( !description_.portChannels.contains( portChannel ) ) {
         remark( row, noneOf( "port-channel", portChannelName ) );
      } else if ( port == description_.ports.end() ) {
         remark( row, noneOf( "port", portName ) );
      } else if ( port->second.portChannel ) {
         remark(
            row,
            fmt::format(
               "{} is in {} already",
               shortened( portName ),
               port->second.portChannel.string() ) );
      } else {
         port->second.portChannel = portChannel;
         port->second.lacpMode = isStatic_.at( portChannel ) ? "lacpOff" : "lacpActive";
      }
   }

   void addDomain( Item const& row ) {
      SwitchDescription::Mlag& mlag = description_.mlag;
      if ( row.key().empty() ) {
         remark( row, "a domain without an id" );
         return;
      }
      if ( !mlag.domainId.empty() ) {
         remark( row, "a second domain" );
         return;
      }
      mlag.domainId = row.key();
      mlag.domain = domainOf( row );
      mlag.peerAddress = addressIn< Kovel::IpAddr >( row, "peer_ip", "an IP address" );
      mlag.systemId =
         addressIn< Kovel::EthAddr >( row, "mclag_system_id", "an Ethernet address" );
      sourceAddress_ =
         Kovel::IpAddr( addressIn< Kovel::IpAddr >( row, "source_ip", "an IP address" ) );
      if ( auto const delay = memberOf( row, "delay_restore" ) ) {
         mlag.reloadDelay = secondsIn( *delay );
      }
      if ( auto const link = memberOf( row, "peer_link" ) ) {
         std::string const name = textOf( *link, "the name of a port or port-channel" );
         mlag.peerLink = names_.find( name );
         if ( !mlag.peerLink ) {
            remark( *link, noneOf( "port or port-channel", name ) );
         }
      }
   }

   template< class Address >
   static std::string
   addressIn( Item const& row, std::string_view key, std::string_view expected ) {
      auto const item = memberOf( row, key );
      std::string const text = item ? textOf( *item, expected ) : "";
      try {
         return text.empty() ? "" : std::string( Address( text ).string() );
      } catch ( Ryx::RangeException const& ) {
         item->refuse( expected );
      }
   }

   static double secondsIn( Item const& delay ) {
      constexpr std::string_view expected = "a number of seconds, at most 4294967295";
      std::string const text = textOf( delay, expected );
      std::uint32_t seconds = 0;
      char const* const end = text.data() + text.size();
      auto const [ rest, error ] = std::from_chars( text.data(), end, seconds );
      if ( error != std::errc() || rest != end ) {
         delay.refuse( expected );
      }
      return seconds;
   }

   void addInterface( Item const& row ) {
      auto const [ domain, name ] = partsOf( row.key() );
      IntfId const id = names_.find( name );
      if ( domain != description_.mlag.domainId ) {
         remark( row, noneOf( "domain", domain ) );
      } else if ( !id ) {
         remark( row, noneOf( "port or port-channel", name ) );
      } else if ( id == description_.mlag.peerLink ) {
         remark( row, "the peer link is no interface of MLAG" );
      } else {
         description_.mlag.interfaces.insert( id );
      }
   }

   static SwitchDescription::Remark domainOf( Item const& row ) {
      Place const at = row.keyPlace();
      return { fmt::format( "{}:{}:{}", row.node().tree().name(), at.line, at.column ),
               row.path(),
               false };
   }

   // The VLAN that has MLAG's own address.
   void readLocalInterface() {
      if ( !sourceAddress_ ) {
         return;
      }
      forEachRow( "VLAN_INTERFACE", [ this ]( Item const& row ) {
         auto const [ name, prefix ] = partsOf( row.key() );
         if ( !isSourceAddress( row, prefix.substr( 0, prefix.find( '/' ) ) ) ) {
            return;
         }
         IntfId& localInterface = description_.mlag.localInterface;
         try {
            IntfId const id( name );
            if ( localInterface && localInterface != id ) {
               remark(
                  row,
                  fmt::format( "{} has the source_ip already", localInterface.string() ) );
               return;
            }
            localInterface = id;
         } catch ( Ryx::RangeException const& ) {
            remark( row, noneOf( "VLAN", name ) );
         }
      } );
   }

   bool isSourceAddress( Item const& row, std::string const& address ) {
      try {
         return !address.empty() && Kovel::IpAddr( address ) == sourceAddress_;
      } catch ( Ryx::RangeException const& ) {
         remark( row, inQuotes( address ) + " is no IP address" );
         return false;
      }
   }

   static std::string noneOf( std::string_view kind, std::string const& name ) {
      return fmt::format( "{} is no {} that is known", inQuotes( name ), kind );
   }

   Item const& root_;
   ForeignNames& names_;
   SwitchDescription& description_;
   std::map< IntfId, bool > isStatic_;
   Kovel::IpAddr sourceAddress_;
};

} // namespace

void
readConfigDatabase(
   Item const& tables, ForeignNames& names, SwitchDescription& description ) {
   Tables( tables, names, description ).read();
}

} // namespace ostra
