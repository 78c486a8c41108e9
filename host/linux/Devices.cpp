// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/linux/Devices>

#include <host/base/Failure>

#include <Kovel/IntfId>

#include <fmt/format.h>

#include <algorithm>

namespace ostra {

namespace {

std::string const noInterface;

} // namespace

bool
isPortChannel( std::string const& interface ) {
   return interface.starts_with( "Port-Channel" );
}

Devices::Devices( std::vector< InterfaceRule > rules, Say say )
      : rules_( std::move( rules ) ),
        say_( std::move( say ) ),
        hasPortChannels_( std::any_of(
           rules_.begin(),
           rules_.end(),
           []( auto const& rule ) { return isPortChannel( rule.interface ); } ) ),
        hasMembership_(
           hasPortChannels_ ||
           std::any_of( rules_.begin(), rules_.end(), []( auto const& rule ) {
              return !rule.portChannel.empty();
           } ) ) {}

InterfaceRule const*
Devices::ruleOf( std::string const& device ) const {
   auto const found =
      std::find_if( rules_.begin(), rules_.end(), [ & ]( auto const& rule ) {
         return std::regex_match( device, rule.device );
      } );
   return found == rules_.end() ? nullptr : &*found;
}

std::string
Devices::nameOf( InterfaceRule const& rule, std::string const& device ) const {
   auto interface = rule.interfaceOf( device );
   if ( !interface ) {
      say_( fmt::format(
         "device {}: {} gives no name of an interface: it is left alone",
         oneLine( device ),
         rule.interface ) );
   }
   return interface.value_or( "" );
}

void
Devices::isNamed( Device& device ) {
   std::string const& name = device.link.name;
   InterfaceRule const* const rule = ruleOf( name );
   device.interface = rule ? nameOf( *rule, name ) : "";
   auto expected = rule ? rule->portChannelOf( name ) : std::nullopt;
   if ( rule && !rule->portChannel.empty() && !expected ) {
      say_( fmt::format(
         "device {}: {} gives no name of a port-channel",
         oneLine( name ),
         rule->portChannel ) );
   }
   device.expectedPortChannel = std::move( expected ).value_or( "" );
}

std::vector< std::size_t >
Devices::withoutDevice() const {
   std::set< InterfaceRule const* > used;
   for ( auto const& [ index, device ] : devices_ ) {
      used.insert( ruleOf( device.link.name ) );
   }
   std::vector< std::size_t > unused;
   for ( std::size_t i = 0; i < rules_.size(); ++i ) {
      if ( !used.contains( &rules_[ i ] ) ) {
         unused.push_back( i );
      }
   }
   return unused;
}

Link const*
Devices::link( int index ) const {
   auto const found = devices_.find( index );
   return found == devices_.end() ? nullptr : &found->second.link;
}

Link const*
Devices::linkOf( std::string const& interface ) const {
   auto const found = claims_.find( interface );
   return found == claims_.end() ? nullptr : link( found->second.front() );
}

std::string const&
Devices::interfaceOf( int index ) const {
   auto const found = devices_.find( index );
   if ( found == devices_.end() || found->second.interface.empty() ) {
      return noInterface;
   }
   std::string const& interface = found->second.interface;
   return claims_.at( interface ).front() == index ? interface : noInterface;
}

std::string const&
Devices::portChannelOf( Link const& link ) const {
   auto const found = devices_.find( link.master );
   bool const isIn =
      hasPortChannels_ && found != devices_.end() && found->second.link.isBond();
   std::string const& interface = isIn ? interfaceOf( link.master ) : noInterface;
   return isPortChannel( interface ) ? interface : noInterface;
}

std::string const&
Devices::expectedPortChannelOf( Link const& link ) const {
   auto const found = devices_.find( link.index );
   bool const isUnsaid = link.master == 0 || !hasPortChannels_;
   return isUnsaid && found != devices_.end() ? found->second.expectedPortChannel
                                              : noInterface;
}

std::vector< std::string >
Devices::membersOf( std::string const& portChannel ) const {
   std::vector< std::string > members;
   Link const* const bond = linkOf( portChannel );
   auto const found =
      bond && bond->isBond() ? members_.find( bond->index ) : members_.end();
   if ( found != members_.end() ) {
      for ( int const index : found->second ) {
         if ( std::string const& interface = interfaceOf( index ); !interface.empty() ) {
            members.push_back( interface );
         }
      }
   }
   return members;
}

void
Devices::changed( int index ) {
   std::string const& interface = interfaceOf( index );
   if ( interface.empty() ) {
      changes_.others.insert( index );
   } else {
      changes_.interfaces.insert( interface );
   }
}

void
Devices::membersChanged( int master ) {
   auto const found = members_.find( master );
   if ( found != members_.end() ) {
      for ( int const index : found->second ) {
         changed( index );
      }
   }
}

// 0 is nobody's number.
void
Devices::masterIs( Device& device, int master ) {
   int const before = std::exchange( device.link.master, master );
   if ( before == master ) {
      return;
   }
   if ( auto const found = members_.find( before ); found != members_.end() ) {
      found->second.erase( device.link.index );
      if ( found->second.empty() ) {
         members_.erase( found );
      }
   }
   if ( master != 0 ) {
      members_[ master ].insert( device.link.index );
   }
}

void
Devices::claim( std::string const& interface, int index ) {
   if ( interface.empty() ) {
      return;
   }
   std::vector< int >& claims = claims_[ interface ];
   claims.push_back( index );
   if ( claims.size() > 1 ) {
      say_( fmt::format(
         "device {}: {} is {} already: it is left alone",
         oneLine( devices_.at( index ).link.name ),
         interface,
         oneLine( devices_.at( claims.front() ).link.name ) ) );
   }
}

void
Devices::giveUp( std::string const& interface, int index ) {
   if ( interface.empty() ) {
      return;
   }
   changes_.interfaces.insert( interface );
   auto const found = claims_.find( interface );
   if ( found->second.front() == index ) {
      changes_.left.insert( interface );
   }
   std::erase( found->second, index );
   if ( found->second.empty() ) {
      claims_.erase( found );
   } else {
      changes_.others.erase( found->second.front() );
      membersChanged( found->second.front() );
   }
}

void
Devices::isGone( int index ) {
   auto const found = devices_.find( index );
   if ( found == devices_.end() ) {
      return;
   }
   std::string const interface = std::move( found->second.interface );
   found->second.interface.clear();
   giveUp( interface, index );
   masterIs( found->second, 0 );
   devices_.erase( found );
   changes_.others.erase( index );
   membersChanged( index );
}

void
Devices::is( Link const& link ) {
   auto const [ found, isNew ] = devices_.try_emplace( link.index );
   Device& device = found->second;
   if ( !isNew && device.link == link ) {
      return;
   }
   bool const isRenamed = device.link.name != link.name;
   // What its members are said to be in depends on it.
   bool const isOther =
      isRenamed || device.link.kind != link.kind || device.link.bondMode != link.bondMode;
   device.link.index = link.index;
   masterIs( device, link.master );
   device.link = link;
   if ( isRenamed ) {
      std::string const before = std::exchange( device.interface, "" );
      giveUp( before, link.index );
      isNamed( device );
      claim( device.interface, link.index );
   }
   changed( link.index );
   if ( isOther ) {
      membersChanged( link.index );
   }
}

void
Devices::apply( LinkMessage const& message ) {
   if ( message.isGone ) {
      isGone( message.link.index );
   } else {
      is( message.link );
   }
}

void
Devices::allAre( std::vector< Link > const& links ) {
   std::set< int > gone;
   for ( auto const& [ index, device ] : devices_ ) {
      gone.insert( gone.end(), index );
   }
   for ( Link const& link : links ) {
      gone.erase( link.index );
   }
   // First: what comes may have the name of what is gone.
   for ( int const index : gone ) {
      isGone( index );
   }
   for ( Link const& link : links ) {
      is( link );
   }
}

Devices::Changes
Devices::takeChanges() {
   return std::exchange( changes_, {} );
}

} // namespace ostra
