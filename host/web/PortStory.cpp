// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/web/PortStory>

#include <host/state/MountTable>

#include <Ryx/Time>

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

namespace ostra {

namespace {

using Kovel::IntfId;
using Kind = PortStanding::Kind;

// Those that say nothing of where a port stands, and those whose entries say it of the port, or
// of the members of the port-channel, alone. A change of any other may be one of all ports.
constexpr std::array< std::string_view, 4 > mountsOfNoPort = {
   mount::igmpsnoopingConfig,
   mount::ethIntfStatusDir,
   mount::allIntfStatusDir,
   mount::peerIntfStatusDir,
};
constexpr std::array< std::string_view, 5 > mountsOfOnePort = {
   mount::ethPhyIntfStatus, mount::ethPhyIntfConfig, mount::lagInputIntfStatus,
   mount::mlagissuCause,    mount::lacpConfig,
};

// Mount, attribute, key.
constexpr std::size_t keyIndex = 2;

template< class Names >
bool
contains( Names const& names, std::string_view name ) {
   return std::find( names.begin(), names.end(), name ) != names.end();
}

std::string
roleOf( Kind kind ) {
   return kind == Kind::internal ? "an internal port"
      : kind == Kind::management ? "a management port"
      : kind == Kind::peerLink   ? "in the peer link"
                                 : "";
}

} // namespace

PortStory::PortStory( StateView const& state, Tell tell )
      : facts_( state ),
        tell_( std::move( tell ) ),
        zero_( Ryx::now() ),
        batch_( facts_, ledger_ ) {
   batch_.begin();
}

void
PortStory::write( Milliseconds at, WriteRecord const& record ) {
   batch_.write( at, record );
   touch( record.path );
}

void
PortStory::event( Milliseconds at, Json patch ) {
   event_ = std::move( patch );
   eventAt_ = at;
   for ( auto const& [ mount, attributes ] : event_.items() ) {
      touch( { mount }, attributes );
   }
}

void
PortStory::touch( Path path, Json const& patch ) {
   bool const isDeeper = path.size() <= keyIndex && patch.is_object() && !patch.empty();
   if ( !isDeeper ) {
      touch( path );
      return;
   }
   path.emplace_back();
   for ( auto const& [ key, value ] : patch.items() ) {
      path.back() = key;
      touch( path, value );
   }
}

void
PortStory::touch( Path const& path ) {
   std::string const& mount = path.front();
   if ( contains( mountsOfNoPort, mount ) ) {
      return;
   }
   if ( contains( mountsOfOnePort, mount ) && path.size() > keyIndex ) {
      touched_.emplace( path[ keyIndex ] );
   } else {
      isAllTouched_ = true;
      isToAsk_ = true;
   }
}

void
PortStory::tell() {
   Milliseconds const at( std::llround( ( Ryx::now() - zero_ ) * 1000 ) );
   if ( at != eventAt_ ) {
      event_ = nullptr;
   }
   // A class may be released without a write when none of its ports was held.
   if ( tellPeriods( at ) ) {
      isAllTouched_ = true;
      isToAsk_ = true;
   }
   if ( isAllTouched_ || !touched_.empty() ) {
      tellPorts( at );
   }
   batch_.clear();
   toldAt_ = at;
}

std::optional< Milliseconds >
PortStory::takeChange() {
   if ( !std::exchange( isToAsk_, false ) ) {
      return std::nullopt;
   }
   asked_ = held_;
   return toldAt_;
}

void
PortStory::tellPorts( Milliseconds at ) {
   bool const isFirst = std::exchange( isFirst_, false );
   Standings const standings( facts_, ledger_, isFirst );
   ReleaseReason const reason( facts_, ledger_, event_, isFirst );
   Json changed = Json::array();
   for ( IntfId const id : isAllTouched_ ? allPorts() : touchedPorts() ) {
      Known& known = ports_[ id ];
      Json port = portJson( standings.of( id ), reason, id, known );
      if ( IntfId const portChannel = facts_.portChannelOf( id ) ) {
         members_[ portChannel ].insert( id );
      }
      if ( port != known.told ) {
         keepHeld( port );
         changed.push_back( port );
         known.told = std::move( port );
      }
   }
   // Why nothing is held is said in other words once the start is over.
   isAllTouched_ = isFirst;
   touched_.clear();
   if ( !changed.empty() ) {
      tell_( at, "ports", { { "ports", std::move( changed ) } } );
   }
}

void
PortStory::keepHeld( Json const& port ) {
   std::string const& name = port.at( "interface" ).get_ref< std::string const& >();
   std::string const& state = port.at( "state" ).get_ref< std::string const& >();
   if ( state == stateName( Kind::notHeld ) ) {
      held_.erase( name );
   } else {
      HolderKind const kind =
         state == stateName( Kind::standby ) ? HolderKind::standby : HolderKind::mlagPort;
      std::string const way =
         port.at( "class" ).get< std::string >() + " " + holdName( kind );
      isToAsk_ = isToAsk_ || std::exchange( asked_[ name ], way ) != way;
      held_[ name ] = way;
   }
}

// Those that are or were there, or are held all the same.
PortStory::Ids
PortStory::allPorts() {
   members_.clear();
   Ids ids;
   for ( auto const& [ id, known ] : ports_ ) {
      ids.insert( id );
   }
   for ( IntfId const id : facts_.ports() ) {
      ids.insert( id );
   }
   for ( Hold const& hold : ledger_.open() ) {
      if ( hold.kind != HolderKind::standby ) {
         ids.insert( hold.id );
      }
   }
   return ids;
}

// What happens to a port may show in those that share its port-channel.
PortStory::Ids
PortStory::touchedPorts() {
   Ids ids;
   Ids portChannels;
   for ( IntfId const id : touched_ ) {
      portChannels.insert( id );
      portChannels.insert( facts_.portChannelOf( id ) );
      if (
         ports_.contains( id ) || facts_.isPresent( id ) || ledger_.isErrdisabled( id ) ) {
         ids.insert( id );
      }
   }
   for ( IntfId const id : portChannels ) {
      if ( auto const found = members_.find( id ); found != members_.end() ) {
         ids.insert( found->second.begin(), found->second.end() );
      }
   }
   return ids;
}

Json
PortStory::portJson(
   PortStanding const& standing,
   ReleaseReason const& reason,
   IntfId id,
   Known& known ) const {
   std::string const name = id.string();
   IntfId const portChannel = facts_.portChannelOf( id );
   std::string const portClass = className( facts_, standing, id );
   bool const isPresent = facts_.isPresent( id );
   // What waits in standby is the port-channel, whether the port is there or not.
   bool const isGone = standing.kind == Kind::standby && !isPresent;
   std::string const state = stateName( isGone ? Kind::notHeld : standing.kind );
   std::string why = isGone ? "not there" : roleOf( standing.kind );
   bool const wasHeld = !known.told.is_null() && known.told.at( "state" ) == "held";
   // It is the reason as long as the port is the same.
   known.isReleased = state == "notHeld" &&
      ( wasHeld ||
        ( known.isReleased && known.told.at( "isPresent" ) == isPresent &&
          known.told.at( "class" ) == portClass ) );
   if ( known.isReleased && wasHeld ) {
      HolderKind const kind = facts_.classOf( id ) == PortClass::mlag
         ? HolderKind::mlagPort
         : HolderKind::nonMlagPort;
      why = reason.of( { id, kind, std::nullopt } );
   } else if ( known.isReleased ) {
      why = known.told.at( "why" );
   } else if ( why.empty() ) {
      why = standing.why;
   }
   return {
      { "interface", name },
      { "class", portClass },
      { "portChannel", portChannel ? Json( portChannel.string() ) : Json() },
      { "isPresent", isPresent },
      { "admin",
        facts_.at(
           { mount::ethPhyIntfConfig, "intfConfig", name, "adminEnabledStateLocal" } ) },
      { "link",
        facts_.at( { mount::ethPhyIntfStatus, "intfStatus", name, "linkStatus" } ) },
      { "state", state },
      { "why", why }
   };
}

// Whether that has changed.
bool
PortStory::tellPeriods( Milliseconds at ) {
   Json periods = { { "mlag", period( PortClass::mlag ) },
                    { "nonMlag", period( PortClass::nonMlag ) } };
   if ( periods == periods_ ) {
      return false;
   }
   tell_( at, "periods", periods );
   periods_ = std::move( periods );
   return true;
}

// In scenario time.
Json
PortStory::period( PortClass portClass ) {
   bool const isHeld = facts_.isHeld( portClass );
   bool& wasHeld = wasHeld_[ portClass == PortClass::mlag ? 0 : 1 ];
   wasHeld = wasHeld || isHeld;
   double const start =
      secondsOf( facts_.at( { mount::mlagProtoStatus, "portsErrdisabledWhen" } ) ) - zero_;
   return { { "state",
              isHeld       ? "held"
                 : wasHeld ? "released"
                           : "idle" },
            { "start", isHeld ? finiteOrNull( start ) : Json() },
            { "end",
              isHeld ? finiteOrNull( start + facts_.delay( portClass ) ) : Json() } };
}

} // namespace ostra
