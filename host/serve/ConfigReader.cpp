// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/Config>

#include <host/base/JsonLine>
#include <host/input/UnknownKey>
#include <host/state/Mounts>

#include <Kovel/IntfId>
#include <Ryx/Exception>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <utility>

namespace ostra {

namespace {

std::string
textOf( Item const& item, std::string_view expected ) {
   if ( item.node().kind() != NodeKind::text || item.node().text().empty() ) {
      item.refuse( expected );
   }
   return std::string( item.node().text() );
}

std::string
pathOf( Item const& item ) {
   std::string path = textOf( item, "an absolute path" );
   if ( path.front() != '/' ) {
      item.refuse( "an absolute path" );
   }
   return path;
}

std::int64_t
wholeNumberOf( Item const& item, std::int64_t least, std::int64_t greatest ) {
   double const number = item.node().kind() == NodeKind::number ? item.node().number() : -1;
   bool const isWhole = std::trunc( number ) == number;
   if (
      !isWhole || number < static_cast< double >( least ) ||
      number > static_cast< double >( greatest ) ) {
      item.refuse( fmt::format( "a whole number from {} to {}", least, greatest ) );
   }
   return static_cast< std::int64_t >( number );
}

template< class E >
E
choiceOf(
   Item const& item, std::vector< std::pair< std::string_view, E > > const& choices ) {
   std::string words;
   for ( auto const& [ word, value ] : choices ) {
      if ( item.node().kind() == NodeKind::text && item.node().text() == word ) {
         return value;
      }
      words += fmt::format( "{}{}", words.empty() ? "" : " or ", word );
   }
   item.refuse( words );
}

// Octal, as in chmod.
mode_t
modeOf( Item const& item ) {
   constexpr std::string_view expected = "octal digits, as \"0660\"";
   std::string const text = textOf( item, expected );
   unsigned mode = 0;
   char const* const end = text.data() + text.size();
   auto const [ rest, error ] = std::from_chars( text.data(), end, mode, 8 );
   if ( error != std::errc() || rest != end || mode > 0777 ) {
      item.refuse( expected );
   }
   return static_cast< mode_t >( mode );
}

template< class Visit >
void
forEachItem( Item const& list, std::string_view expected, Visit visit ) {
   if ( list.node().kind() != NodeKind::list ) {
      list.refuse( expected );
   }
   std::size_t index = 0;
   for ( DocumentNode const node : list.node().items() ) {
      visit( Item( list, node, index++ ) );
   }
}

// Calls `read( key, item )` for each entry; it answers whether the key is one.
template< class Read >
void
forEachKey( Item const& map, KnownKeys const& keys, Read read ) {
   map.forEachEntry(
      [ &keys ] { return "a map of " + listed( keys ); },
      [ & ]( Item const& entry ) {
         if ( !read( entry.key(), entry ) ) {
            refuseUnknownKey( entry, keys );
         }
      } );
}

// What fits into the address of a socket.
constexpr std::size_t longestSocketPath = 107;

NamedGroup
readGroup( Item const& item ) {
   Place const place = item.place();
   return {
      textOf( item, "the name of a group" ),
      fmt::format(
         "{}:{}:{}: {}", item.node().tree().name(), place.line, place.column, item.path() )
   };
}

ListenEndpoint
readEndpoint( Item const& item, std::vector< NamedGroup >& groups ) {
   static KnownKeys const keys = { "unix", "mode", "group", "tcp" };
   UnixEndpoint unixEndpoint;
   std::optional< TcpEndpoint > tcp;
   bool isOfUnix = false;
   forEachKey( item, keys, [ & ]( std::string_view key, Item const& entry ) {
      isOfUnix |= key == "mode" || key == "group";
      if ( key == "unix" ) {
         unixEndpoint.path = pathOf( entry );
         if ( unixEndpoint.path.size() > longestSocketPath ) {
            entry.refuse( fmt::format( "a path of at most {} octets", longestSocketPath ) );
         }
      } else if ( key == "mode" ) {
         unixEndpoint.mode = modeOf( entry );
      } else if ( key == "group" ) {
         groups.push_back( readGroup( entry ) );
         unixEndpoint.group = groups.back().name;
      } else if ( key == "tcp" ) {
         constexpr std::string_view expected = "an address and a port, as 127.0.0.1:8440";
         tcp = tcpEndpoint( textOf( entry, expected ) );
         if ( !tcp ) {
            entry.refuse( expected );
         }
      } else {
         return false;
      }
      return true;
   } );
   if ( tcp.has_value() == !unixEndpoint.path.empty() ) {
      item.refuse( "either unix or tcp" );
   }
   if ( tcp && isOfUnix ) {
      item.refuse( "mode and group beside unix only" );
   }
   if ( tcp ) {
      return *tcp;
   }
   return unixEndpoint;
}

bool
isSame( ListenEndpoint const& a, ListenEndpoint const& b ) {
   auto const* const tcp = std::get_if< TcpEndpoint >( &a );
   auto const* const unixSocket = std::get_if< UnixEndpoint >( &a );
   // With port 0 each gets one of its own.
   return tcp ? a == b && tcp->port != 0
              : std::holds_alternative< UnixEndpoint >( b ) &&
         unixSocket->path == std::get< UnixEndpoint >( b ).path;
}

// Without one nobody could ask the host anything.
void
readListen( Item const& item, Config& config ) {
   config.listen.clear();
   forEachItem( item, "a list of unix and tcp", [ & ]( Item const& entry ) {
      ListenEndpoint endpoint = readEndpoint( entry, config.groups );
      for ( ListenEndpoint const& other : config.listen ) {
         if ( isSame( endpoint, other ) ) {
            entry.refuseBecause( "the same as one before: expected another" );
         }
      }
      config.listen.push_back( std::move( endpoint ) );
   } );
   if ( config.listen.empty() ) {
      item.refuse( "at least one of unix and tcp" );
   }
}

constexpr std::string_view expectedInterface =
   "the name of a port or port-channel, as Ethernet\\1";

// Devices are ports and port-channels, and no other interfaces.
bool
canBeDevice( Kovel::IntfId const& id ) {
   using Kind = Kovel::IntfId::Kind;
   constexpr std::array kinds = {
      Kind::ethernet, Kind::internal, Kind::management, Kind::portChannel, Kind::recirc
   };
   return std::find( kinds.begin(), kinds.end(), id.kind() ) != kinds.end();
}

constexpr std::string_view expectedPortChannel =
   "the name of a port-channel, as Port-Channel\\1";

bool
isPortChannel( Kovel::IntfId const& id ) {
   return id.kind() == Kovel::IntfId::Kind::portChannel;
}

using IsKind = bool ( * )( Kovel::IntfId const& id );

// Whether every group that the text names is one, and it gives the name of an interface of
// that kind where they are numbers.
void
checkInterface(
   Item const& item,
   std::string_view text,
   std::size_t groups,
   std::string_view expected,
   IsKind isKind ) {
   std::string example;
   for ( std::size_t i = 0; i < text.size(); ++i ) {
      if ( text[ i ] != '\\' ) {
         example += text[ i ];
         continue;
      }
      char const digit = ++i < text.size() ? text[ i ] : '0';
      bool const isGroup = digit >= '1' && digit <= '9' &&
         static_cast< std::size_t >( digit - '0' ) <= groups;
      if ( !isGroup ) {
         item.refuse(
            groups == 0 ? "no \\, as device has no groups"
                        : fmt::format( "a group of device from \\1 to \\{}", groups ) );
      }
      example += '1';
   }
   try {
      if ( !isKind( Kovel::IntfId( example ) ) ) {
         item.refuse( expected );
      }
   } catch ( Ryx::RangeException const& ) {
      item.refuse( expected );
   }
}

// The library takes stack for each character of a pattern, and adds up the digits of a number
// in it, however many there are.
bool
isReadable( std::string const& pattern ) {
   constexpr std::size_t longest = 256;
   static std::regex const longNumber( R"([\\{,]\d{5})" );
   return pattern.size() <= longest && !std::regex_search( pattern, longNumber );
}

std::regex
readDevice( Item const& item ) {
   constexpr std::string_view expected = "a regular expression";
   std::string const text = textOf( item, expected );
   if ( !isReadable( text ) ) {
      item.refuse(
         "a regular expression of at most 256 octets, with numbers of at most 4 digits" );
   }
   try {
      return std::regex( text );
   } catch ( std::regex_error const& ) {
      item.refuse( expected );
   }
}

InterfaceRule
readRule( Item const& item ) {
   static KnownKeys const keys = { "device", "interface", "portChannel" };
   std::optional< std::regex > device;
   forEachKey( item, keys, [ & ]( std::string_view key, Item const& entry ) {
      if ( key == "device" ) {
         device = readDevice( entry );
      }
      return key == "device" || key == "interface" || key == "portChannel";
   } );
   if ( !device ) {
      item.refuseBecause( "no device: expected the key device" );
   }
   InterfaceRule rule{ std::move( *device ), {} };
   std::size_t const groups = rule.device.mark_count();
   forEachKey( item, keys, [ & ]( std::string_view key, Item const& entry ) {
      if ( key == "interface" ) {
         rule.interface = textOf( entry, expectedInterface );
         checkInterface( entry, rule.interface, groups, expectedInterface, canBeDevice );
      } else if ( key == "portChannel" ) {
         rule.portChannel = textOf( entry, expectedPortChannel );
         checkInterface(
            entry, rule.portChannel, groups, expectedPortChannel, isPortChannel );
      }
      return true;
   } );
   if ( rule.interface.empty() ) {
      item.refuseBecause( "no interface: expected the key interface" );
   }
   if ( !rule.portChannel.empty() && rule.interface.starts_with( "Port-Channel" ) ) {
      item.refuseBecause( "a port-channel is in no other: expected no key portChannel" );
   }
   return rule;
}

LinuxConfig
readLinux( Item const& item ) {
   static KnownKeys const keys = { "interfaces", "reasonBit", "fallback" };
   LinuxConfig config;
   forEachKey( item, keys, [ & ]( std::string_view key, Item const& entry ) {
      if ( key == "interfaces" ) {
         forEachItem( entry, "a list of device and interface", [ & ]( Item const& rule ) {
            config.interfaces.push_back( readRule( rule ) );
         } );
      } else if ( key == "reasonBit" ) {
         config.reasonBit = static_cast< unsigned >( wholeNumberOf( entry, 0, 31 ) );
      } else if ( key == "fallback" ) {
         config.fallback = choiceOf< Fallback >(
            entry, { { "none", Fallback::none }, { "adminDown", Fallback::adminDown } } );
      } else {
         return false;
      }
      return true;
   } );
   return config;
}

void
readHistory( Item const& item, Config& config ) {
   static KnownKeys const keys = { "records", "days" };
   constexpr std::int64_t most = 1'000'000'000;
   forEachKey( item, keys, [ & ]( std::string_view key, Item const& entry ) {
      if ( key == "records" ) {
         config.historyRecords = wholeNumberOf( entry, 0, most );
      } else if ( key == "days" ) {
         config.historyDays = wholeNumberOf( entry, 0, most );
      } else {
         return false;
      }
      return true;
   } );
}

// The same as a document of its own, all of which can be applied.
Document
readMounts( Item const& item ) {
   Mounts mounts;
   item.forEachEntry(
      [] { return "a map of " + listed( Mounts::names() ); },
      [ &mounts ]( Item const& entry ) { mounts.checkMount( entry ); } );
   return parseDocument( item.node().tree().name(), lineOf( toJson( item.node() ) ) );
}

bool
readEntry( std::string_view key, Item const& entry, Config& config ) {
   if ( key == "driver" ) {
      config.driver = choiceOf< DriverKind >(
         entry, { { "none", DriverKind::none }, { "linux", DriverKind::linux } } );
   } else if ( key == "state" ) {
      config.state = pathOf( entry );
   } else if ( key == "bootId" ) {
      config.bootId = pathOf( entry );
   } else if ( key == "listen" ) {
      readListen( entry, config );
   } else if ( key == "tokenFile" ) {
      config.tokenFile = pathOf( entry );
   } else if ( key == "mounts" ) {
      config.mounts = readMounts( entry );
   } else if ( key == "linux" ) {
      config.linux = readLinux( entry );
      config.linuxText = lineOf( toJson( entry.node() ) );
   } else if ( key == "history" ) {
      readHistory( entry, config );
   } else {
      return false;
   }
   return true;
}

} // namespace

Config
readConfig( Document const& document, Surroundings const& surroundings ) {
   static KnownKeys const keys = { "driver",    "state",  "bootId", "listen",
                                   "tokenFile", "mounts", "linux",  "history" };
   Config config = defaultConfig( surroundings );
   Item const root( document );
   config.name = document.root().tree().name();
   config.isEmpty = root.isNull();
   if ( !config.isEmpty ) {
      forEachKey( root, keys, [ &config ]( std::string_view key, Item const& entry ) {
         return readEntry( key, entry, config );
      } );
   }
   return config;
}

} // namespace ostra
