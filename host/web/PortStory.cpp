// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/web/PortStory>

#include <host/account/WriteBatch>
#include <host/state/MountTable>

#include <Ryx/Time>

#include <cmath>
#include <utility>

namespace ostra {

namespace {

using Kovel::IntfId;
using Kind = PortStanding::Kind;

std::string
roleOf( Kind kind ) {
   return kind == Kind::internal ? "an internal port"
      : kind == Kind::management ? "a management port"
      : kind == Kind::peerLink   ? "in the peer link"
                                 : "";
}

} // namespace

PortStory::PortStory( StateView const& state, Tell tell )
      : facts_( state ), tell_( std::move( tell ) ), zero_( Ryx::now() ) {}

void
PortStory::event( Milliseconds at, Json patch ) {
   event_ = std::move( patch );
   eventAt_ = at;
   changed();
}

void
PortStory::tell() {
   Milliseconds const at( std::llround( ( Ryx::now() - zero_ ) * 1000 ) );
   if ( at != eventAt_ ) {
      event_ = nullptr;
   }
   // A class may be released without a write when none of its ports was held.
   bool const isOver = tellPeriods( at );
   if ( std::exchange( isChanged_, false ) || isOver ) {
      tellPorts( at );
   }
}

void
PortStory::tellPorts( Milliseconds at ) {
   HoldLedger ledger;
   WriteBatch( facts_, ledger ).begin();
   bool const isFirst = std::exchange( isFirst_, false );
   Standings const standings( facts_, ledger, isFirst );
   ReleaseReason const reason( facts_, ledger, event_, isFirst );
   for ( IntfId const id : facts_.ports() ) {
      ports_.try_emplace( id );
   }
   for ( Hold const& hold : ledger.open() ) {
      if ( hold.kind != HolderKind::standby ) {
         ports_.try_emplace( hold.id );
      }
   }
   Json changed = Json::array();
   for ( auto& [ id, known ] : ports_ ) {
      Json port = portJson( standings.of( id ), reason, id, known );
      if ( port != known.told ) {
         changed.push_back( port );
         known.told = std::move( port );
      }
   }
   if ( !changed.empty() ) {
      tell_( at, "ports", { { "ports", std::move( changed ) } } );
   }
}

Json
PortStory::portJson(
   PortStanding const& standing,
   ReleaseReason const& reason,
   IntfId id,
   Known& known ) const {
   std::string const name = id.string();
   IntfId const portChannel = facts_.portChannelOf( id );
   std::string const state = stateName( standing.kind );
   std::string const portClass = className( facts_, standing, id );
   bool const isPresent = facts_.isPresent( id );
   std::string why = roleOf( standing.kind );
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
