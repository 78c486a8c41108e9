// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// How a new state machine goes on where the one of the process before was.

#include <host/serve/LiveSwitch>

#include <host/base/JsonLine>
#include <host/state/MountTable>

#include <Ryx/Activity>
#include <Ryx/Clock>

namespace ostra {

namespace {

GenericPtr
booleanOf( bool value ) {
   return RyxType::type( "Ryx::Builtin<bool>" )->code().parse( value ? "true" : "false" );
}

void
setOf( GenericIf& object, std::string_view name, GenericPtr const& key, bool value ) {
   write( object, *object.type()->attr( Ryx::Name( name ) ), key, booleanOf( value ) );
}

} // namespace

void
LiveSwitch::start( Resumption const& resumption ) {
   time_.refresh();
   diagnostics_.emplace(
      records_, [ this ] { return time_.instant(); }, std::nullopt );
   watch_.emplace( mounts_, [ this ]( WriteRecord const& record ) { report_( record ); } );
   setUp( resumption );
   GenericPtr const sm = agent_.child( machineKey );
   if ( sm && resumption.wasSecondary ) {
      setOf( *sm, "secondaryPrev", nullptr, true );
   }
   if ( sm && resumption.hasStandby ) {
      adoptStandby();
   }
   Ryx::activityManager()->clock()->handleTime();
   touch();
}

void
LiveSwitch::merge( Json const& patch ) {
   Document const document = parseDocument( "state", lineOf( patch ) );
   mounts_.apply( Item( document ) );
}

void
LiveSwitch::releasedIs( std::set< std::string > released ) {
   Json ports = Json::object();
   for ( std::string const& interface : released ) {
      if ( state( { mount::mlagissuCause, "intfStatus", interface } ) ) {
         ports[ interface ] = nullptr;
      }
   }
   merge( { { mount::mlagissuCause, { { "intfStatus", ports } } } } );
   released_ = std::move( released );
}

void
LiveSwitch::setUp( Resumption const& resumption ) {
   if ( !resumption.isMlagReleased && !resumption.isNonMlagReleased ) {
      agent_.setAll();
      return;
   }
   Json before = Json::object();
   for ( char const* name :
         { "reloadDelay", "reloadDelayNonMlagConfigured", "reloadDelayNonMlag" } ) {
      before[ name ] = mounts_.at( { mount::mlagConfig, name } );
   }
   // A delay of nothing is over whatever its start, an endless one too; the other class
   // keeps its own.
   Json during = before;
   if ( resumption.isMlagReleased ) {
      during[ "reloadDelay" ] = 0;
   }
   bool const isSeparate = before[ "reloadDelayNonMlagConfigured" ] == Json( true );
   during[ "reloadDelayNonMlagConfigured" ] = true;
   during[ "reloadDelayNonMlag" ] = resumption.isNonMlagReleased ? Json( 0 )
      : isSeparate ? before[ "reloadDelayNonMlag" ]
                   : before[ "reloadDelay" ];
   merge( { { mount::mlagConfig, during } } );
   agent_.setAll();
   // No delay is changed here, so the machine must not hear of one.
   agent_.call( machineKey, "hasNotificationActiveIs", booleanOf( false ) );
   merge( { { mount::mlagConfig, before } } );
   agent_.call( machineKey, "hasNotificationActiveIs", booleanOf( true ) );
}

void
LiveSwitch::adoptStandby() {
   GenericPtr const sm = agent_.child( machineKey );
   RyxAttr const& adopted = *sm->type()->attr( "lagsInStandby" );
   for ( std::string const& key : mounts_.keys( { mount::lacpConfig, "portChannel" } ) ) {
      if (
         mounts_.at( { mount::lacpConfig, "portChannel", key, "stayInStandby" } ) ==
         Json( true ) ) {
         write( *sm, adopted, keyOf( adopted, key ), booleanOf( true ) );
      }
   }
   if ( agent_.at( Path{ machineKey, "mlagPortsErrdisabled" } ) != Json( true ) ) {
      agent_.call( machineKey, "doClearErrdisableMlagIntfStatus_" );
   }
}

} // namespace ostra
