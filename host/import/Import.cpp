// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/import/Import>

#include <host/base/Failure>
#include <host/check/Warnings>
#include <host/import/ConfigDatabase>
#include <host/import/ForeignItems>
#include <host/import/LinkList>
#include <host/import/ScenarioText>
#include <host/input/Foreign>

#include <Ryx/Exception>

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace ostra {

namespace {

void
readSwitch( Item const& root, ForeignNames& names, SwitchDescription& description ) {
   if ( root.node().kind() == NodeKind::list ) {
      readLinkList( root, names, description );
      return;
   }
   bool const isDatabase = root.node().kind() == NodeKind::map && memberOf( root, "PORT" );
   if ( !isDatabase ) {
      root.refuse( "the list that `ip -json -details link` writes, or a map with PORT" );
   }
   readConfigDatabase( root, names, description );
}

bool
isThere( Kovel::IntfId id, SwitchDescription const& description ) {
   return description.ports.contains( id ) || description.portChannels.contains( id );
}

// A pattern may put ports in a port-channel that the file does not have.
bool
hasPorts( Kovel::IntfId portChannel, SwitchDescription const& description ) {
   return std::any_of(
      description.ports.begin(), description.ports.end(), [ & ]( auto const& entry ) {
         return portChannel && entry.second.portChannel == portChannel;
      } );
}

Kovel::IntfId
namedInterface( std::string const& name, SwitchDescription const& description ) {
   try {
      Kovel::IntfId const id( name );
      return isThere( id, description ) || hasPorts( id, description ) ? id
                                                                       : Kovel::IntfId();
   } catch ( Ryx::RangeException const& ) {
      return {};
   }
}

void
setPeerLink(
   std::string const& name, ForeignNames const& names, SwitchDescription& description ) {
   Kovel::IntfId const found = names.find( name );
   description.mlag.peerLink =
      isThere( found, description ) ? found : namedInterface( name, description );
   if ( !description.mlag.peerLink ) {
      throw Failure(
         ExitStatus::badInput,
         fmt::format(
            "ostra import: --peer-link: {}: expected a port or port-channel of the file",
            inQuotes( name ) ) );
   }
}

// The option may name one that the file calls an interface of MLAG.
void
takePeerLinkFromInterfaces( SwitchDescription& description ) {
   SwitchDescription::Mlag& mlag = description.mlag;
   if ( mlag.interfaces.erase( mlag.peerLink ) > 0 ) {
      description.remarks.push_back(
         { mlag.domain.place,
           fmt::format(
              "{}: {} is an interface of MLAG, and is the peer link: left out of those",
              mlag.domain.text,
              mlag.peerLink.string() ) } );
   }
}

void
noteThatNothingIsThere( Item const& root, SwitchDescription& description ) {
   if ( description.ports.empty() && description.portChannels.empty() ) {
      Place const at = root.place();
      description.remarks.push_back(
         { fmt::format( "{}:{}:{}", root.node().tree().name(), at.line, at.column ),
           "no port is taken over: the scenario has none",
           false } );
   }
}

// A domain turns MLAG on only with everything that it needs.
void
noteWhatIsMissing( SwitchDescription& description ) {
   SwitchDescription::Mlag const& mlag = description.mlag;
   std::vector< std::string > missing;
   for ( auto const& [ isKnown, what ] :
         { std::pair{ bool( mlag.localInterface ),
                      "localInterface, a VLAN with source_ip" },
           std::pair{ !mlag.peerAddress.empty(), "peerAddress, the peer_ip" },
           std::pair{ bool( mlag.peerLink ), "peerLinkIntf, the peer_link" } } ) {
      if ( !isKnown ) {
         missing.push_back( what );
      }
   }
   if ( !mlag.domainId.empty() && !missing.empty() ) {
      SwitchDescription::Remark remark = mlag.domain;
      remark.text += ": MLAG is not enabled, as there is no " +
         fmt::format( "{}", fmt::join( missing, "; no " ) );
      description.remarks.push_back( std::move( remark ) );
   }
}

// What `ostra check` says of it.
std::vector< std::string >
review( std::string const& text, std::size_t maxInput ) {
   Mounts mounts;
   Scenario const scenario = readScenario(
      parseScenario( "<stdout>", text, maxInput ), mounts, []() -> RyxType const& {
         throw std::logic_error( "an imported scenario has no event" );
      } );
   return warnings( *scenario.document, scenario, mounts );
}

} // namespace

ImportedScenario
importScenario( File file, ImportOptions const& options ) {
   std::string const source = file.name;
   std::string const noJson = placeOfNoJson( file.text );
   Document const document =
      parseDocument( std::move( file.name ), std::move( file.text ), options.maxInput );
   SwitchDescription description;
   ForeignNames names( options.names, description.remarks );
   readSwitch( Item( document ), names, description );
   // The document takes more than JSON, as a comma too many.
   if ( !noJson.empty() ) {
      throw Failure(
         ExitStatus::badInput,
         fmt::format(
            "{}:{}: no JSON from here on: expected JSON throughout", source, noJson ) );
   }
   if ( options.peerLink ) {
      setPeerLink( *options.peerLink, names, description );
   }
   takePeerLinkFromInterfaces( description );
   noteWhatIsMissing( description );
   noteThatNothingIsThere( Item( document ), description );
   ImportedScenario imported{ scenarioText( description, source ), {} };
   for ( SwitchDescription::Remark const& remark : description.remarks ) {
      imported.warnings.push_back(
         fmt::format( "warning: {}: {}", remark.place, remark.text ) );
   }
   for ( std::string& line : review( imported.text, options.maxInput ) ) {
      imported.warnings.push_back( std::move( line ) );
   }
   return imported;
}

} // namespace ostra
