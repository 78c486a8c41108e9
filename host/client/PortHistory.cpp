// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/client/PortHistory>

#include <host/base/JsonLine>
#include <host/base/ParsedJson>
#include <host/state/MountTable>

#include <utility>

namespace ostra {

namespace {

// As it stands in a line of JSON: names of interfaces need no escapes.
std::string
quoted( std::string const& name ) {
   return name.empty() ? name : '"' + name + '"';
}

bool
hasWord( std::string_view line, std::string_view word ) {
   return !word.empty() && line.find( word ) != line.npos;
}

// What may say why something else was written in its instant.
bool
mayBeCause( std::string_view line ) {
   return hasWord( line, R"("type":"event")" ) || hasWord( line, R"("type":"start")" ) ||
      hasWord( line, R"("type":"configuration")" );
}

std::string
wordIn( Json const& record, char const* key ) {
   Json const value = memberAt( record, { key } );
   return value.is_string() ? value.get< std::string >() : std::string();
}

} // namespace

PortHistory::PortHistory( std::string const& interface, std::string const& portChannel )
      : interface_( interface ),
        portChannel_( portChannel ),
        interfaceWord_( quoted( interface ) ),
        portChannelWord_( quoted( portChannel ) ) {}

void
PortHistory::take( std::string_view line ) {
   bool const isOfPort = hasWord( line, interfaceWord_ );
   bool const isRead =
      begin_.empty() || isOfPort || hasWord( line, portChannelWord_ ) || mayBeCause( line );
   if ( !isRead ) {
      return;
   }
   Json const record = parsedJson( std::string( line ) );
   std::string const type = wordIn( record, "type" );
   if ( begin_.empty() ) {
      begin_ = wordIn( record, "time" );
   }
   takeOfAll( type, record );
   if ( isOfPort ) {
      lastTold_ = wordIn( record, "time" );
      takeOfPort( type, record );
   }
   if ( type == "write" ) {
      takeWrite( record );
   }
}

void
PortHistory::takeOfAll( std::string const& type, Json const& record ) {
   bool const isRestart = memberAt( record, { "isRestart" } ) == Json( true );
   if ( type == "start" ) {
      // It may have come and gone while no host ran.
      goneAt_.clear();
   }
   if ( type == "event" ) {
      cause_ = { memberAt( record, { "t" } ),
                 "by a client's change, revision " +
                    memberAt( record, { "index" } ).dump() };
   } else if ( type == "configuration" ) {
      cause_ = { memberAt( record, { "t" } ), "the configuration was read again" };
   } else if ( type == "start" && isRestart ) {
      cause_ = { memberAt( record, { "t" } ), "the host started again" };
   } else if ( type == "start" ) {
      // A new boot begins without holds.
      ends( errdisable_, record, "another boot" );
      ends( standby_, record, "another boot" );
   }
}

void
PortHistory::takeOfPort( std::string const& type, Json const& record ) {
   bool const isItself = wordIn( record, "interface" ) == interface_;
   if ( type == "release" && isItself ) {
      cause_ = { memberAt( record, { "t" } ), "by hand" };
   } else if ( type == "gone" && isItself ) {
      cause_ = { memberAt( record, { "t" } ), "interface gone" };
      goneAt_ = wordIn( record, "time" );
      // Whether its port-channel waits on is nothing to it.
      ends( standby_, record, cause_.why );
   } else if ( type == "event" ) {
      Json const status =
         memberAt( record, { "patch", mount::ethPhyIntfStatus, "intfStatus", interface_ } );
      if ( status.is_object() ) {
         goneAt_.clear();
      }
   }
}

void
PortHistory::takeWrite( Json const& record ) {
   Json const path = memberAt( record, { "path" } );
   Json const value = memberAt( record, { "value" } );
   if ( path == Json{ mount::mlagissuCause, "intfStatus", interface_ } ) {
      if ( value.is_null() ) {
         errdisable_.isOpen = true;
         ends( errdisable_, record, "" );
      } else {
         begins( errdisable_, record );
         goneAt_.clear();
      }
   } else if (
      path == Json{ mount::lacpConfig, "portChannel", portChannel_, "stayInStandby" } ) {
      if ( value == Json( true ) ) {
         begins( standby_, record );
      } else {
         ends( standby_, record, "" );
      }
   }
}

void
PortHistory::begins( Holding& holding, Json const& record ) {
   if ( !holding.isOpen ) {
      holding.since = memberAt( record, { "time" } );
   }
   holding.isOpen = true;
}

void
PortHistory::ends( Holding& holding, Json const& record, std::string const& why ) {
   if ( !std::exchange( holding.isOpen, false ) ) {
      return;
   }
   bool const isCaused = why.empty() && cause_.at == memberAt( record, { "t" } );
   // What nothing else has changed a timer has.
   std::string const byWhat = isCaused ? cause_.why : why.empty() ? "delay over" : why;
   lastHold_ = { { "kind", holding.kind },
                 { "since", std::exchange( holding.since, nullptr ) },
                 { "released", memberAt( record, { "time" } ) },
                 { "reason", byWhat } };
}

PortHistory
portHistory(
   HostConnection const& host,
   std::string const& interface,
   std::string const& portChannel ) {
   PortHistory history( interface, portChannel );
   host.forEachLine( "/v1/history", [ &history ]( std::string_view line ) {
      history.take( line );
      return true;
   } );
   return history;
}

} // namespace ostra
