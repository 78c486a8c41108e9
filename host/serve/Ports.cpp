// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/Ports>

#include <host/account/HoldWait>
#include <host/account/HoldWords>
#include <host/account/PortStanding>
#include <host/base/JsonLine>
#include <host/base/Words>
#include <host/serve/WakeUp>
#include <host/state/MountTable>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <unordered_set>
#include <utility>

namespace ostra {

namespace {

using Kovel::IntfId;

Path
presentPorts() {
   return { mount::ethPhyIntfStatus, "intfStatus" };
}

Path
heldPorts() {
   return { mount::mlagissuCause, "intfStatus" };
}

constexpr double never = std::numeric_limits< double >::infinity();

std::string
textOf( Json const& value ) {
   return value.is_string() ? value.get< std::string >() : std::string();
}

// Of an enumerator, which is no number where nothing stands.
std::string
numberText( Json const& value ) {
   auto const* const number = value.get_ptr< std::int64_t const* >();
   return number ? fmt::format_int( *number ).str() : value.dump();
}

std::string
protodownText( std::optional< Device > const& device ) {
   if ( !device || !device->protodown ) {
      return "null";
   }
   Protodown const& protodown = *device->protodown;
   return lineOf( Json{
      { "supported", protodown.isSupported ? Json( *protodown.isSupported ) : Json() },
      { "on", protodown.isOn },
      { "others", protodown.others },
   } );
}

} // namespace

std::vector< IntfId >
Ports::ids() const {
   std::vector< IntfId > ids;
   for ( Path const& path : { presentPorts(), heldPorts() } ) {
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
      return { false, never, finiteOrNull( never ).dump() };
   }
   double const end =
      secondsOf( live_.view().at( { mount::mlagProtoStatus, "portsErrdisabledWhen" } ) ) +
      machine_.delay( isMlag );
   return { true, end, finiteOrNull( end ).dump() };
}

std::string
Ports::whyNotHeld(
   std::string const& name,
   std::string_view portClass,
   std::string const& portChannel,
   Classes const& classes ) const {
   if ( std::string_view const exemption = exemptionOf( portClass ); !exemption.empty() ) {
      return std::string( exemption );
   }
   bool const isClassHeld = ( portClass == "mlag" ? classes.mlag : classes.nonMlag ).isHeld;
   if ( isClassHeld && live_.released().contains( name ) ) {
      return "not held: released by hand";
   }
   SwitchFacts const facts( live_.view() );
   IntfId const id( portChannel );
   return isClassHeld && id && facts.isMeantForStandby( id )
      ? "not held: " + whyNotInStandby( facts, id )
      : "not held";
}

void
Ports::tellHold( PortsText& text, Hold const& hold ) const {
   Enforcement const enforcement = reconciler_.enforcement( hold.enforced );
   bool const isErrdisable = hold.kind == OrderKind::errdisable;
   text.add( R"("hold":{"kind":)" );
   text.add( isErrdisable ? R"("errdisable")" : R"("lacpStandby")" );
   text.add( R"(,"since":)" );
   text.add( hold.since );
   text.add( R"(,"until":)" );
   text.add( hold.until );
   text.add( R"(,"remaining":)" );
   text.addRemaining( hold.end );
   text.add( R"(,"enforced":")" );
   text.add( nameOf( enforcement.state ) );
   text.add( R"(","error":)" );
   text.add( enforcement.error.empty() ? "null" : lineOfText( enforcement.error ) );
   text.add( R"(},"reason":")" );
   text.add( isErrdisable ? errdisabledWords : standbyWords );
   text.add( ", " );
   if ( std::isfinite( hold.end ) ) {
      text.addSecondsLeft( hold.end );
      text.add( " s left\"" );
   } else {
      text.add( endlessWords );
      text.add( "\"" );
   }
}

Ports::Hold
Ports::holdOf(
   std::string const& name,
   std::string const& portChannel,
   bool isMlag,
   Classes const& classes ) const {
   auto const since = live_.state( { mount::mlagissuCause, "intfStatus", name } );
   if ( since ) {
      Class const& portClass = isMlag ? classes.mlag : classes.nonMlag;
      return { OrderKind::errdisable, since->dump(), portClass.end, portClass.until, name };
   }
   bool const isHeldBack = !portChannel.empty() && isStandby( portChannel );
   return isHeldBack
      ? Hold{ OrderKind::lacpStandby,
              numberAt( { mount::mlagProtoStatus, "portsErrdisabledWhen" } ).dump(),
              classes.mlag.end,
              classes.mlag.until,
              portChannel }
      : Hold{};
}

Json
Ports::numberAt( Path const& path ) const {
   return finiteOrNull( secondsOf( live_.view().at( path ) ) );
}

void
Ports::tell( PortsText& text, IntfId id, Classes const& classes ) const {
   std::string const name = id.string();
   std::string const portClass = machine_.classOf( id );
   Json const portChannel =
      live_.view().at( { mount::lagInputConfig, "phyIntf", name, "lag" } );
   auto const device = driver_.deviceOf( name );
   Json const admin = live_.view().at(
      { mount::ethPhyIntfConfig, "intfConfig", name, "adminEnabledStateLocal" } );
   Json const link =
      live_.view().at( { mount::ethPhyIntfStatus, "intfStatus", name, "linkStatus" } );
   text.add( R"({"interface":)" );
   text.add( lineOfText( name ) );
   text.add( R"(,"device":)" );
   text.add( device ? lineOfText( device->name ) : "null" );
   text.add( R"(,"protodown":)" );
   text.add( protodownText( device ) );
   text.add( R"(,"heldBy":)" );
   text.add( device && device->heldBy ? lineOfText( nameOf( *device->heldBy ) ) : "null" );
   text.add( R"(,"class":")" );
   text.add( portClass );
   text.add( R"(","portChannel":)" );
   text.add( lineOf( portChannel ) );
   text.add( R"(,"admin":)" );
   text.add( numberText( admin ) );
   text.add( R"(,"link":)" );
   text.add( numberText( link ) );
   text.add( "," );
   // A held port may have come to be of those that are never held.
   bool const isMlag =
      portClass == "mlag" || ( portClass != "nonMlag" && machine_.isMlag( id ) );
   Hold const hold = holdOf( name, textOf( portChannel ), isMlag, classes );
   if ( hold.since.empty() ) {
      text.add( R"("hold":null,"reason":)" );
      text.add(
         lineOfText( whyNotHeld( name, portClass, textOf( portChannel ), classes ) ) );
   } else {
      tellHold( text, hold );
   }
   text.add( "}" );
}

PortsText
Ports::text() const {
   PortsText text;
   Classes const classes{ classState( true ), classState( false ) };
   text.add( "[" );
   std::string_view between;
   for ( IntfId const id : ids() ) {
      text.add( between );
      tell( text, id, classes );
      between = ",";
   }
   text.add( "]" );
   return text;
}

std::optional< Json >
Ports::port( std::string const& name ) const {
   bool const isThere = live_.state( { mount::ethPhyIntfStatus, "intfStatus", name } ) ||
      live_.state( { mount::mlagissuCause, "intfStatus", name } );
   if ( !isThere ) {
      return std::nullopt;
   }
   PortsText text;
   tell( text, IntfId( name ), { classState( true ), classState( false ) } );
   return Json::parse( text.at( live_.time().now() ) );
}

Json
Ports::classJson( bool isMlag ) const {
   Class const portClass = classState( isMlag );
   auto const start = live_.delayStart();
   char const* const state = portClass.isHeld ? "held" : start ? "released" : "idle";
   return { { "state", state },
            { "start", start ? toJson( *start ) : Json() },
            { "end", finiteOrNull( portClass.end ) },
            { "remaining",
              finiteOrNull( remainingSeconds( portClass.end, live_.time().now() ) ) } };
}

Json
Ports::summary() const {
   bool const isRunning = machine_.isHeld( true ) || machine_.isHeld( false );
   return { { "mlag", classJson( true ) },
            { "nonMlag", classJson( false ) },
            { "nextAnnouncement",
              isRunning ? finiteOrNull( WakeUp::nextOfOthers() ) : Json() },
            { "counts", counts() } };
}

std::size_t
Ports::size() const {
   return std::max( live_.size( presentPorts() ), live_.size( heldPorts() ) );
}

Json const&
Ports::counts() const {
   if ( countsVersion_ != live_.version() ) {
      counts_ = countNow();
      countsVersion_ = live_.version();
   }
   return counts_;
}

// Without what costs most of telling each of them.
Json
Ports::countNow() const {
   std::size_t const errdisabled = live_.size( heldPorts() );
   return { { "ports",
              live_.size( presentPorts() ) +
                 live_.sizeWithout( heldPorts(), presentPorts() ) },
            { "errdisabled", errdisabled },
            { "lacpStandby", countStandby() } };
}

// Those that are errdisabled do not count.
std::size_t
Ports::countStandby() const {
   std::unordered_set< std::string > standby;
   for ( std::string& portChannel :
         live_.view().keys( { mount::lacpConfig, "portChannel" } ) ) {
      if ( isStandby( portChannel ) ) {
         standby.insert( std::move( portChannel ) );
      }
   }
   if ( standby.empty() ) {
      return 0;
   }
   auto const ports = live_.view().keys( presentPorts() );
   return static_cast< std::size_t >(
      std::count_if( ports.begin(), ports.end(), [ & ]( std::string const& port ) {
         return standby.contains( portChannelOf( port ) ) &&
            !live_.state( { mount::mlagissuCause, "intfStatus", port } );
      } ) );
}

bool
Ports::isStandby( std::string const& portChannel ) const {
   return live_.state(
             { mount::lacpConfig, "portChannel", portChannel, "stayInStandby" } ) ==
      Json( true );
}

std::string
Ports::portChannelOf( std::string const& port ) const {
   return textOf( live_.view().at( { mount::lagInputConfig, "phyIntf", port, "lag" } ) );
}

} // namespace ostra
