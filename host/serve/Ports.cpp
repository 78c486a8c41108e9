// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/Ports>

#include <host/base/Words>
#include <host/serve/WakeUp>
#include <host/state/MountTable>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

namespace ostra {

namespace {

using Kovel::IntfId;

constexpr double never = std::numeric_limits< double >::infinity();

// Null for one that never comes.
Json
timeJson( double seconds ) {
   return std::isfinite( seconds ) ? toJson( seconds ) : Json();
}

// Whole milliseconds.
Json
remaining( double end, double now ) {
   return std::isfinite( end )
      ? toJson( std::max( 0.0, std::round( ( end - now ) * 1000 ) / 1000 ) )
      : Json();
}

std::string
text( Json const& value ) {
   return value.is_string() ? value.get< std::string >() : std::string();
}

// Why the port is as it is, for people.
std::string
reasonOf( std::string const& portClass, Json const& hold ) {
   if ( hold.is_null() ) {
      return portClass == "peerLink" ? "never held: it is in the peer link"
         : portClass == "management" ? "never held: it is a management port"
         : portClass == "internal"   ? "never held: it is an internal port"
                                     : "not held";
   }
   std::string const kind = hold.at( "kind" ) == "errdisable"
      ? "errdisabled for the MLAG reload delay"
      : "its port-channel waits in LACP standby for the MLAG reload delay";
   return hold.at( "until" ).is_null()
      ? kind + ", which no timer ends"
      : fmt::format(
           "{}, {} s left",
           kind,
           toJson( std::ceil( secondsOf( hold.at( "remaining" ) ) ) ).dump() );
}

} // namespace

std::vector< IntfId >
Ports::ids() const {
   std::vector< IntfId > ids;
   for ( Path const& path : { Path{ mount::ethPhyIntfStatus, "intfStatus" },
                              Path{ mount::mlagissuCause, "intfStatus" } } ) {
      for ( std::string const& key : live_.view().keys( path ) ) {
         ids.emplace_back( key );
      }
   }
   std::sort( ids.begin(), ids.end() );
   ids.erase( std::unique( ids.begin(), ids.end() ), ids.end() );
   return ids;
}

Ports::Class
Ports::classState( bool isMlag ) const {
   if ( !machine_.isHeld( isMlag ) ) {
      return { false, never };
   }
   return { true,
            secondsOf(
               live_.view().at( { mount::mlagProtoStatus, "portsErrdisabledWhen" } ) ) +
               machine_.delay( isMlag ) };
}

Json
Ports::hold(
   OrderKind kind, Json since, Class const& portClass, std::string const& enforced ) const {
   Enforcement const enforcement = reconciler_.enforcement( enforced );
   return { { "kind", kind == OrderKind::errdisable ? "errdisable" : "lacpStandby" },
            { "since", std::move( since ) },
            { "until", timeJson( portClass.end ) },
            { "remaining", remaining( portClass.end, live_.time().now() ) },
            { "enforced", nameOf( enforcement.state ) },
            { "error", enforcement.error.empty() ? Json() : Json( enforcement.error ) } };
}

Json
Ports::holdOf(
   IntfId id, std::string const& portChannel, bool isMlag, Classes const& classes ) const {
   auto const since = live_.state( { mount::mlagissuCause, "intfStatus", id.string() } );
   if ( since ) {
      Class const& portClass = isMlag ? classes.mlag : classes.nonMlag;
      return hold( OrderKind::errdisable, *since, portClass, id.string() );
   }
   bool const isHeldBack = !portChannel.empty() && isStandby( portChannel );
   return isHeldBack ? hold(
                          OrderKind::lacpStandby,
                          numberAt( { mount::mlagProtoStatus, "portsErrdisabledWhen" } ),
                          classes.mlag,
                          portChannel )
                     : Json();
}

Json
Ports::numberAt( Path const& path ) const {
   return timeJson( secondsOf( live_.view().at( path ) ) );
}

Json
Ports::portJson( IntfId id, Classes const& classes ) const {
   std::string const name = id.string();
   std::string const portClass = machine_.classOf( id );
   Json const portChannel =
      live_.view().at( { mount::lagInputConfig, "phyIntf", name, "lag" } );
   auto const device = driver_.deviceOf( name );
   Json held = holdOf( id, text( portChannel ), portClass == "mlag", classes );
   std::string reason = reasonOf( portClass, held );
   return {
      { "interface", name },
      { "device", device ? Json( *device ) : Json() },
      { "class", portClass },
      { "portChannel", portChannel },
      { "admin",
        live_.view().at(
           { mount::ethPhyIntfConfig, "intfConfig", name, "adminEnabledStateLocal" } ) },
      { "link",
        live_.view().at( { mount::ethPhyIntfStatus, "intfStatus", name, "linkStatus" } ) },
      { "hold", std::move( held ) },
      { "reason", std::move( reason ) }
   };
}

Json
Ports::all() const {
   Json ports = Json::array();
   Classes const classes{ classState( true ), classState( false ) };
   for ( IntfId const id : ids() ) {
      ports.push_back( portJson( id, classes ) );
   }
   return ports;
}

std::optional< Json >
Ports::port( std::string const& name ) const {
   bool const isThere = live_.state( { mount::ethPhyIntfStatus, "intfStatus", name } ) ||
      live_.state( { mount::mlagissuCause, "intfStatus", name } );
   return isThere ? std::optional( portJson(
                       IntfId( name ), { classState( true ), classState( false ) } ) )
                  : std::nullopt;
}

Json
Ports::classJson( bool isMlag ) const {
   Class const portClass = classState( isMlag );
   auto const start = live_.delayStart();
   char const* const state = portClass.isHeld ? "held" : start ? "released" : "idle";
   return { { "state", state },
            { "start", start ? toJson( *start ) : Json() },
            { "end", timeJson( portClass.end ) },
            { "remaining", remaining( portClass.end, live_.time().now() ) } };
}

Json
Ports::summary() const {
   bool const isRunning = machine_.isHeld( true ) || machine_.isHeld( false );
   return { { "mlag", classJson( true ) },
            { "nonMlag", classJson( false ) },
            { "nextAnnouncement", isRunning ? timeJson( WakeUp::nextOfOthers() ) : Json() },
            { "counts", counts() } };
}

// Without what costs most of telling each of them.
Json
Ports::counts() const {
   auto const keysOf = [ this ]( Path const& path ) {
      auto const keys = live_.view().keys( path );
      return std::set< std::string >( keys.begin(), keys.end() );
   };
   auto const errdisabled = keysOf( { mount::mlagissuCause, "intfStatus" } );
   auto ports = keysOf( { mount::ethPhyIntfStatus, "intfStatus" } );
   ports.insert( errdisabled.begin(), errdisabled.end() );
   auto standby = keysOf( { mount::lacpConfig, "portChannel" } );
   std::erase_if(
      standby, [ this ]( std::string const& key ) { return !isStandby( key ); } );
   std::size_t const lacpStandby = standby.empty()
      ? 0
      : static_cast< std::size_t >(
           std::count_if( ports.begin(), ports.end(), [ & ]( std::string const& port ) {
              return !errdisabled.contains( port ) &&
                 standby.contains( portChannelOf( port ) );
           } ) );
   return { { "ports", ports.size() },
            { "errdisabled", errdisabled.size() },
            { "lacpStandby", lacpStandby } };
}

bool
Ports::isStandby( std::string const& portChannel ) const {
   return live_.state(
             { mount::lacpConfig, "portChannel", portChannel, "stayInStandby" } ) ==
      Json( true );
}

std::string
Ports::portChannelOf( std::string const& port ) const {
   return text( live_.view().at( { mount::lagInputConfig, "phyIntf", port, "lag" } ) );
}

} // namespace ostra
