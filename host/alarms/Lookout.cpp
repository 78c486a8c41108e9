// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/alarms/Lookout>

#include <host/account/PortStanding>
#include <host/base/JsonLine>
#include <host/state/Machine>

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <map>
#include <utility>

namespace ostra {

namespace {

using Kovel::IntfId;

Path const causePath = { mount::mlagissuCause, "intfStatus" };
Path const portChannelsPath = { mount::lacpConfig, "portChannel" };
Path const forcedPath = { mount::igmpsnoopingConfig, "forceEnabledPorts" };

// What is seen of a switch at present.
class Eye {
 public:
   Eye( StateView const& state, Agent const& agent, Circumstances const& circumstances )
         : state_( state ),
           facts_( state ),
           machine_( state, agent ),
           circumstances_( circumstances ),
           holds_{ machine_.isHeld( false ), machine_.isHeld( true ) } {}

   Sight look() {
      sight_.notEnforced = circumstances_.notEnforced;
      for ( IntfId const port : facts_.keys( causePath ) ) {
         lookAtErrdisabled( port );
      }
      for ( IntfId const portChannel : facts_.keys( portChannelsPath ) ) {
         if ( isInStandby( portChannel ) ) {
            sight_.standby.push_back( portChannel.string() );
         }
      }
      if ( holds_[ false ] || holds_[ true ] ) {
         for ( IntfId const port : facts_.ports() ) {
            lookAtPort( port );
         }
      }
      lookAtForced();
      return std::move( sight_ );
   }

 private:
   void lookAtErrdisabled( IntfId port ) {
      sight_.errdisabled.push_back( { port.string(), whyHeld( machine_.isMlag( port ) ) } );
      if ( machine_.isInPeerLink( port ) ) {
         sight_.peerLink.push_back( port.string() );
      }
      errdisabled_.insert( port );
      withHeldMember_.insert( facts_.portChannelOf( port ) );
   }

   // That nothing releases it shows later.
   std::string whyHeld( bool isMlag ) const {
      if ( !machine_.isThere() ) {
         return "errdisabled, and the state machine that would release it is not there";
      }
      if ( !holds_[ isMlag ] ) {
         return fmt::format(
            "errdisabled although the delay of {} ports is over, and no timer ends that",
            isMlag ? "MLAG" : "non-MLAG" );
      }
      return std::isinf( machine_.delay( isMlag ) )
         ? "errdisabled for a delay without an end"
         : "errdisabled, and no timer will end that";
   }

   void lookAtPort( IntfId port ) {
      IntfId const portChannel = facts_.portChannelOf( port );
      bool const isSpared = errdisabled_.contains( port ) || isInStandby( portChannel ) ||
         circumstances_.released.contains( port.string() ) || isShutDown( port );
      if ( isSpared ) {
         return;
      }
      std::string const portClass = machine_.classOf( port );
      bool const isMlag = portClass == "mlag";
      if ( ( !isMlag && portClass != "nonMlag" ) || !holds_[ isMlag ] ) {
         return;
      }
      bool const isMeant = portChannel && facts_.isMeantForStandby( portChannel );
      sight_.notHeld.push_back(
         { port.string(),
           isMeant ? "not held: " + whyNotInStandby( facts_, portChannel )
                   : fmt::format(
                        "not held although the delay of {} ports goes on",
                        isMlag ? "MLAG" : "non-MLAG" ),
           isMeant
              ? fmt::format(
                   "take lacpOverride.lagIdConfig.{} away, then take the interface away "
                   "and bring it back",
                   portChannel.string() )
              : std::string( "take the interface away and bring it back" ) } );
   }

   bool isInStandby( IntfId portChannel ) const {
      return portChannel &&
         state_.at( { portChannelsPath[ 0 ],
                      portChannelsPath[ 1 ],
                      portChannel.string(),
                      "stayInStandby" } ) == Json( true );
   }

   // As its own configuration says, otherwise the one that it falls back to.
   bool isShutDown( IntfId port ) const {
      constexpr char attribute[] = "adminEnabledStateLocal";
      Path path = { mount::ethPhyIntfConfig, "intfConfig", port.string(), attribute };
      Json enabled = state_.at( path );
      if ( enabled == Json( 0 ) ) {
         path.insert( path.end() - 1, "defaultConfig" );
         enabled = state_.at( path );
      }
      return enabled == Json( 2 );
   }

   void lookAtForced() {
      std::set< IntfId > forced;
      for ( IntfId const portChannel : facts_.keys( forcedPath ) ) {
         if ( !withHeldMember_.contains( portChannel ) ) {
            forced.insert( portChannel );
         }
      }
      if ( forced.empty() ) {
         return;
      }
      std::map< IntfId, IntfId > member;
      for ( IntfId const port : facts_.keys( { mount::ethPhyIntfConfig, "intfConfig" } ) ) {
         IntfId const portChannel = facts_.portChannelOf( port );
         if (
            forced.contains( portChannel ) && !member.contains( portChannel ) &&
            !isShutDown( port ) && machine_.isMlagMember( port ) ) {
            member.emplace( portChannel, port );
         }
      }
      for ( IntfId const portChannel : forced ) {
         auto const found = member.find( portChannel );
         sight_.forced.push_back(
            { portChannel.string(),
              "IGMP snooping is forced, no member is held, and its link will not end that",
              found == member.end()
                 ? endingByMlagId( portChannel )
                 : fmt::format(
                      "shut {} down and enable it again", found->second.string() ) } );
      }
   }

   // The plug-in looks at it again when its MLAG id goes.
   std::string endingByMlagId( IntfId portChannel ) const {
      std::string const name = portChannel.string();
      bool const hasId = !state_.at( { mount::mlagConfig, "intfConfig", name } ).is_null();
      return hasId
         ? fmt::format( "take mlagConfig.intfConfig.{} away and give it back", name )
         : "give it an entry in mlagConfig.intfConfig, and take that away";
   }

   StateView const& state_;
   SwitchFacts const facts_;
   Machine const machine_;
   Circumstances const& circumstances_;
   // Whether the non-MLAG ports are held, and the MLAG ports.
   std::array< bool, 2 > const holds_;
   Sight sight_;
   std::set< IntfId > errdisabled_;
   // The empty id stands for ports that are in no port-channel.
   std::set< IntfId > withHeldMember_;
};

std::set< std::string >
keysAt( Mounts const& mounts, Path const& path ) {
   auto const keys = mounts.keys( path );
   return { keys.begin(), keys.end() };
}

} // namespace

Lookout::Lookout(
   Mounts& mounts, Agent const& agent, Circumstances circumstances, Take take )
      : mounts_( mounts ),
        agent_( agent ),
        circumstances_( std::move( circumstances ) ),
        take_( std::move( take ) ) {}

void
Lookout::start( StartRecord const&, StateView const& state ) {
   sight_ = Eye( state, agent_, circumstances_ ).look();
}

Outlook
Lookout::outlook() {
   Outlook outlook;
   outlook.errdisabled = keysAt( mounts_, causePath );
   for ( std::string const& portChannel : sight_.standby ) {
      Path const path = {
         portChannelsPath[ 0 ], portChannelsPath[ 1 ], portChannel, "stayInStandby"
      };
      if ( mounts_.at( path ) == Json( true ) ) {
         outlook.standby.insert( portChannel );
      }
   }
   if ( !sight_.forced.empty() ) {
      Json links = Json::object();
      for ( Sighting const& sighting : sight_.forced ) {
         links[ sighting.interface ] = { { "linkStatus", "linkUp" } };
      }
      Json const patch = { { mount::lagInputIntfStatus, { { "intfStatus", links } } } };
      Document const document = parseDocument( "links", lineOf( patch ) );
      mounts_.apply( Item( document ) );
      outlook.forced = keysAt( mounts_, forcedPath );
   }
   return outlook;
}

void
Lookout::end( Milliseconds, EndRecord const& ) {
   take_( alarmsOf( sight_, outlook() ) );
}

} // namespace ostra
