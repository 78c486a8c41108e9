// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/alarms/Lookout>

#include <host/account/PortStanding>
#include <host/base/JsonLine>
#include <host/state/Machine>

#include <Interface/LinkStatus>

#include <fmt/format.h>

#include <algorithm>
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

} // namespace

// What is seen of a switch at present.
class Lookout::Eye {
 public:
   using HoldsNewcomers = std::function< bool( bool isMlag ) >;

   Eye(
      StateView const& state,
      Agent const& agent,
      Circumstances const& circumstances,
      HoldsNewcomers const& holdsNewcomers )
         : state_( state ),
           facts_( state ),
           machine_( state, agent ),
           circumstances_( circumstances ),
           holds_{ machine_.isHeld( false ), machine_.isHeld( true ) },
           isEndless_{ std::isinf( machine_.delay( false ) ),
                       std::isinf( machine_.delay( true ) ) },
           holdsNewcomers_{ holds_[ false ] && holdsNewcomers( false ),
                            holds_[ true ] && holdsNewcomers( true ) } {
      auto const forced = facts_.keys( forcedPath );
      forced_ = { forced.begin(), forced.end() };
   }

   // Why a port is errdisabled, that is not asked here: of most it ends, and nobody is told.
   Sight look() {
      sight_.notEnforced = circumstances_.notEnforced;
      for ( IntfId const port : facts_.keys( causePath ) ) {
         lookAtErrdisabled( port );
      }
      for ( IntfId const portChannel : facts_.keys( portChannelsPath ) ) {
         if ( isInStandby( portChannel ) ) {
            lookAtStandby( portChannel );
         }
      }
      if ( holdsNewcomers_[ false ] || holdsNewcomers_[ true ] ) {
         for ( IntfId const port : facts_.ports() ) {
            lookAtPort( port );
         }
      }
      lookAtForced();
      return std::move( sight_ );
   }

   // Of those that are errdisabled later, the ones that were when it looked. What is asked about
   // them does not change while the switch goes on by itself.
   std::vector< Sighting > errdisabled( std::set< std::string > const& later ) const {
      std::vector< Sighting > sightings;
      for ( std::string const& name : later ) {
         IntfId const port( name );
         if ( errdisabled_.contains( port ) ) {
            sightings.push_back( { name,
                                   whyHeld( machine_.isMlag( port ) ),
                                   endingOfHold( port, facts_.portChannelOf( port ) ) } );
         }
      }
      return sightings;
   }

 private:
   void lookAtErrdisabled( IntfId port ) {
      if ( machine_.isInPeerLink( port ) ) {
         sight_.peerLink.push_back(
            { port.string(),
              "errdisabled although it is in the peer link",
              fmt::format( "`ostra release {}`", port.string() ) } );
      }
      errdisabled_.insert( port );
      if ( !forced_.empty() ) {
         withHeldMember_.insert( facts_.portChannelOf( port ) );
      }
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
      return isEndless_[ isMlag ] ? "errdisabled for a delay without an end"
                                  : "errdisabled, and no timer will end that";
   }

   // Nobody ends the forcing of IGMP snooping when a port is released by hand.
   std::string endingOfHold( IntfId port, IntfId portChannel ) const {
      std::string const name = port.string();
      std::string const others = fmt::format( "; `ostra why {}` says what else", name );
      std::string const release = fmt::format( "`ostra release {}`", name );
      if ( !isForcedFor( port, portChannel ) ) {
         return release + others;
      }
      return doneInState(
         release +
            ", then shut it down and enable it again, which ends forced IGMP snooping" +
            others,
         { adminPath( port ) } );
   }

   // Most ports are in no port-channel on which it is forced.
   bool isForcedFor( IntfId port, IntfId portChannel ) const {
      return portChannel && forced_.contains( portChannel ) &&
         machine_.isMlagMember( port ) && state_.has( adminPath( port ) ) &&
         !isShutDown( port );
   }

   // What somebody does in the state. What the file sets is not for clients to change.
   std::string doneInState( std::string doing, std::vector< Path > const& paths ) const {
      bool const isOfFile =
         std::any_of( paths.begin(), paths.end(), circumstances_.isOfFile );
      return isOfFile ? doing +
            "; what the configuration file sets is changed there, with SIGHUP after each "
            "step"
                      : doing;
   }

   void lookAtStandby( IntfId portChannel ) {
      std::string const name = portChannel.string();
      sight_.standby.push_back(
         { name,
           "in LACP standby, and nothing will end that",
           doneInState(
              fmt::format( "take lacpConfig.portChannel.{} away and set it again", name ),
              { { portChannelsPath[ 0 ], portChannelsPath[ 1 ], name } } ) } );
   }

   void lookAtPort( IntfId port ) {
      if ( errdisabled_.contains( port ) ) {
         return;
      }
      IntfId const portChannel = facts_.portChannelOf( port );
      bool const isSpared = isInStandby( portChannel ) ||
         circumstances_.released.contains( port.string() ) || isShutDown( port );
      if ( isSpared ) {
         return;
      }
      std::string const portClass = machine_.classOf( port );
      bool const isMlag = portClass == "mlag";
      if ( ( !isMlag && portClass != "nonMlag" ) || !holdsNewcomers_[ isMlag ] ) {
         return;
      }
      bool const isMeant = portChannel && facts_.isMeantForStandby( portChannel );
      sight_.notHeld.push_back(
         { port.string(),
           isMeant ? "not held: " + whyNotInStandby( facts_, portChannel )
                   : fmt::format(
                        "not held although the delay of {} ports goes on",
                        isMlag ? "MLAG" : "non-MLAG" ),
           endingOfFreedom( port, isMeant ? portChannel : IntfId() ) } );
   }

   // `meant`: the port's port-channel where that is meant for LACP standby.
   std::string endingOfFreedom( IntfId port, IntfId meant ) const {
      constexpr char comeBack[] = "take the interface away and bring it back";
      Path const status = { mount::ethPhyIntfStatus, "intfStatus", port.string() };
      if ( !meant ) {
         return doneInState( comeBack, { status } );
      }
      std::string const name = meant.string();
      return doneInState(
         fmt::format( "take lacpOverride.lagIdConfig.{} away, then {}", name, comeBack ),
         { status, { mount::lacpOverride, "lagIdConfig", name } } );
   }

   bool isInStandby( IntfId portChannel ) const {
      return portChannel &&
         state_.at( { portChannelsPath[ 0 ],
                      portChannelsPath[ 1 ],
                      portChannel.string(),
                      "stayInStandby" } ) == Json( true );
   }

   static Path adminPath( IntfId port ) {
      return {
         mount::ethPhyIntfConfig, "intfConfig", port.string(), "adminEnabledStateLocal"
      };
   }

   // As its own configuration says, otherwise the one that it falls back to.
   bool isShutDown( IntfId port ) const {
      Path path = adminPath( port );
      Json enabled = state_.at( path );
      if ( enabled == Json( 0 ) ) {
         path.insert( path.end() - 1, "defaultConfig" );
         enabled = state_.at( path );
      }
      return enabled == Json( 2 );
   }

   void lookAtForced() {
      std::set< IntfId > forced;
      for ( IntfId const portChannel : forced_ ) {
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
              found == member.end() ? endingByMlagId( portChannel )
                                    : endingByPort( found->second ) } );
      }
   }

   std::string endingByPort( IntfId port ) const {
      return doneInState(
         fmt::format( "shut {} down and enable it again", port.string() ),
         { adminPath( port ) } );
   }

   // The plug-in looks at it again when its MLAG id goes.
   std::string endingByMlagId( IntfId portChannel ) const {
      if ( !machine_.isThere() ) {
         return "nothing while the state machine, which would look at it, is not there";
      }
      std::string const name = portChannel.string();
      Path const id = { mount::mlagConfig, "intfConfig", name };
      return state_.has( id )
         ? doneInState(
              fmt::format( "take mlagConfig.intfConfig.{} away and give it back", name ),
              { id } )
         : "give it an entry in mlagConfig.intfConfig, and take that away";
   }

   StateView const& state_;
   SwitchFacts const facts_;
   Machine const machine_;
   Circumstances const& circumstances_;
   // Whether the non-MLAG ports are held, and the MLAG ports.
   std::array< bool, 2 > const holds_;
   // Whether their delays have no end.
   std::array< bool, 2 > const isEndless_;
   // Whether those would be held that came now; nobody misses a hold on others.
   std::array< bool, 2 > const holdsNewcomers_;
   // The port-channels on which IGMP snooping is forced.
   std::set< IntfId > forced_;
   Sight sight_;
   std::set< IntfId > errdisabled_;
   // The empty id stands for ports that are in no port-channel.
   std::set< IntfId > withHeldMember_;
};

namespace {

std::set< std::string >
keysAt( Mounts const& mounts, Path const& path ) {
   auto const keys = mounts.keys( path );
   return { keys.begin(), keys.end() };
}

// A port of which the switch has not heard.
std::string
newcomer( Mounts const& mounts ) {
   for ( unsigned number = 1;; ++number ) {
      std::string name = fmt::format( "Ethernet1/1/1/{}", number );
      bool const isKnown = mounts.has( { mount::ethPhyIntfStatus, "intfStatus", name } ) ||
         mounts.has( { causePath[ 0 ], causePath[ 1 ], name } ) ||
         mounts.has( { mount::lagInputConfig, "phyIntf", name } ) ||
         mounts.has( { mount::mlagConfig, "intfConfig", name } ) ||
         mounts.at( { mount::mlagConfig, "peerLinkIntf" } ) == Json( name );
      if ( !isKnown ) {
         return name;
      }
   }
}

} // namespace

Lookout::Lookout(
   Mounts& mounts, Agent const& agent, Circumstances circumstances, Take take )
      : mounts_( mounts ),
        agent_( agent ),
        circumstances_( std::move( circumstances ) ),
        take_( std::move( take ) ) {}

Lookout::~Lookout() = default;

void
Lookout::start( StartRecord const&, StateView const& state ) {
   eye_ = std::make_unique< Eye >( state, agent_, circumstances_, [ this ]( bool isMlag ) {
      return holdsNewcomers( isMlag );
   } );
   sight_ = eye_->look();
}

bool
Lookout::holdsNewcomers( bool isMlag ) {
   std::string const port = newcomer( mounts_ );
   auto const configure = [ & ]( Json const& config ) {
      if ( isMlag ) {
         merge( { { mount::mlagConfig, { { "intfConfig", { { port, config } } } } } } );
      }
   };
   auto const appear = [ & ]( Json const& status ) {
      merge( { { mount::ethPhyIntfStatus, { { "intfStatus", { { port, status } } } } } } );
   };
   configure( { { "mlagId", "1" } } );
   appear( Json::object() );
   bool const isHeld = mounts_.has( { causePath[ 0 ], causePath[ 1 ], port } );
   appear( nullptr );
   configure( nullptr );
   return isHeld;
}

void
Lookout::merge( Json const& patch ) {
   Document const document = parseDocument( "look", lineOf( patch ) );
   mounts_.apply( Item( document ) );
}

Outlook
Lookout::outlook() {
   Outlook outlook;
   outlook.errdisabled = keysAt( mounts_, causePath );
   sight_.errdisabled = eye_->errdisabled( outlook.errdisabled );
   for ( Sighting const& sighting : sight_.standby ) {
      Path const path = {
         portChannelsPath[ 0 ], portChannelsPath[ 1 ], sighting.interface, "stayInStandby"
      };
      if ( mounts_.at( path ) == Json( true ) ) {
         outlook.standby.insert( sighting.interface );
      }
   }
   if ( !sight_.forced.empty() ) {
      std::string const up = Ryx::valueToStrep( Interface::LinkStatus::linkUp );
      Json links = Json::object();
      for ( Sighting const& sighting : sight_.forced ) {
         links[ sighting.interface ] = { { "linkStatus", up } };
      }
      merge( { { mount::lagInputIntfStatus, { { "intfStatus", links } } } } );
      outlook.forced = keysAt( mounts_, forcedPath );
   }
   return outlook;
}

void
Lookout::end( Milliseconds, EndRecord const& ) {
   take_( alarmsOf( sight_, outlook() ) );
}

} // namespace ostra
