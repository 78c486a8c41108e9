// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/check/ScenarioReview>

#include <host/account/SwitchFacts>
#include <host/base/IntfRanges>
#include <host/state/MountTable>

#include <Kovel/InternalIntfId>
#include <Kovel/MgmtIntfId>

#include <fmt/format.h>

#include <utility>

namespace ostra {

namespace {

using Kovel::IntfId;
using Kind = IntfId::Kind;

// Never held, and in need of nothing.
bool
isSpecial( IntfId id ) {
   return Kovel::MgmtIntfId::isMgmtIntfId( id ) ||
      Kovel::InternalIntfId::isInternalIntfId( id );
}

bool
isPort( IntfId id ) {
   return id.kind() == Kind::ethernet || isSpecial( id );
}

bool
isPortChannel( IntfId id ) {
   return id.kind() == Kind::portChannel;
}

bool
isLink( IntfId id ) {
   return isPortChannel( id ) || id.kind() == Kind::ethernet;
}

bool
isVlan( IntfId id ) {
   return id.kind() == Kind::vlan;
}

bool
isAny( IntfId ) {
   return true;
}

constexpr char portKind[] = "port";
constexpr char portChannelKind[] = "port-channel";
constexpr char linkKind[] = "port-channel or port";

constexpr char absence[] = "no status in {}: {}";
constexpr char nothingToRemove[] = "{} is not there to be removed";

} // namespace

std::array<
   ScenarioReview::Keys,
   ScenarioReview::collectionCount > const ScenarioReview::collections{ {
   { mount::ethPhyIntfStatus, "intfStatus", isPort, portKind, true, false },
   { mount::ethPhyIntfConfig, "intfConfig", isPort, portKind, true, false },
   { mount::lagInputConfig, "phyIntf", isPort, portKind, true, false },
   { mount::lagInputIntfStatus, "intfStatus", isPortChannel, portChannelKind, true, false },
   { mount::mlagConfig, "intfConfig", isLink, linkKind, true, true },
   { mount::lacpOverride, "lagIdConfig", isPortChannel, portChannelKind, true, true },
   { mount::lacpConfig, "portChannel", isPortChannel, portChannelKind, false, true },
   { mount::igmpsnoopingConfig,
     "forceEnabledPorts",
     isPortChannel,
     portChannelKind,
     false,
     true },
   { mount::mlagissuCause, "intfStatus", isPort, portKind, false, false },
   { mount::peerIntfStatusDir, "intfStatus", isAny, "interface", true, false },
} };

void
ScenarioReview::patchIs( Json const& patch ) {
   for ( int i = 0; i < collectionCount; ++i ) {
      addMembers( Collection( i ), patch );
   }
   addMlagConfig( memberAt( patch, { mount::mlagConfig } ) );
   addAgent( patch );
   ++patches_;
}

void
ScenarioReview::addMembers( Collection collection, Json const& patch ) {
   Keys const& keys = collections[ collection ];
   Json const& values = memberAt( patch, { keys.mount, keys.name } );
   for ( auto const& [ key, value ] : values.items() ) {
      if ( value.is_null() || value == false ) {
         addRemoval( collection, key );
      } else {
         addMember( collection, key, value );
      }
   }
}

void
ScenarioReview::addMember(
   Collection collection, std::string const& key, Json const& value ) {
   Keys const& keys = collections[ collection ];
   Id const id( key );
   bool const isPutIn = present_[ collection ].insert( id ).second;
   bool const isNew = seen_[ collection ].emplace( id, patches_ ).second;
   if ( isNew && !keys.takes( id ) ) {
      doubtKey( patches_, collection, id, fmt::format( "{} is no {}", key, keys.kind ) );
   }
   checkMemberReference( collection, key, value, isPutIn );
   if ( collection == lagConfigs ) {
      addLag( key, value );
   } else if ( collection == mlags ) {
      addMlagId( key, value, isPutIn );
   }
}

void
ScenarioReview::addRemoval( Collection collection, std::string const& key ) {
   Id const id( key );
   referring_[ collection ].erase( id );
   if ( !present_[ collection ].erase( id ) && collections[ collection ].isInput ) {
      doubtKey( patches_, collection, id, fmt::format( nothingToRemove, key ) );
   }
}

void
ScenarioReview::addAgent( Json const& patch ) {
   auto const agent = patch.find( agentKey );
   if ( agent == patch.end() ) {
      return;
   }
   if ( agent->is_null() && !hasAgent_ ) {
      doubt( patches_, { agentKey }, fmt::format( nothingToRemove, "the agent" ), true );
   }
   hasAgent_ = !agent->is_null();
   if ( agent->empty() ) {
      hasAllChildren_ = hasAgent_;
      otherChildren_.clear();
      return;
   }
   for ( auto const& [ child, value ] : agent->items() ) {
      bool const isThere = otherChildren_.count( child ) == ( hasAllChildren_ ? 0 : 1 );
      if ( value.is_null() && !isThere ) {
         doubt(
            patches_, { agentKey, child }, fmt::format( nothingToRemove, child ), true );
      }
      if ( value.is_null() == hasAllChildren_ ) {
         otherChildren_.insert( child );
      } else {
         otherChildren_.erase( child );
      }
   }
}

void
ScenarioReview::addLag( std::string const& port, Json const& config ) {
   Id const id = intfIdOf( memberAt( config, { "lag" } ) );
   if ( !id ) {
      return;
   }
   joined_.emplace( id, patches_ );
   if ( !isPortChannel( id ) ) {
      doubt(
         patches_,
         { mount::lagInputConfig, "phyIntf", port, "lag" },
         fmt::format( "{} is no port-channel", id.string() ) );
   }
}

void
ScenarioReview::addMlagConfig( Json const& config ) {
   checkReference( "localInterface", config, isVlan, "VLAN" );
   checkReference( "peerLinkIntf", config, isLink, linkKind );
   if ( Id const peerLink = intfIdOf( memberAt( config, { "peerLinkIntf" } ) ) ) {
      peerLinks_.emplace( peerLink, patches_ );
   }
   checkDelay( "reloadDelay", config );
   checkDelay( "reloadDelayNonMlag", config );
   nonMlagConfigured_ |= memberAt( config, { "reloadDelayNonMlagConfigured" } ) == true;
   Json const& nonMlag = memberAt( config, { "reloadDelayNonMlag" } );
   if ( !nonMlag.is_null() && nonMlag != 0 ) {
      nonMlagDelays_.push_back( patches_ );
   }
}

void
ScenarioReview::addMlagId( std::string const& key, Json const& config, bool isNew ) {
   Json const& id = memberAt( config, { "mlagId" } );
   bool const isEmpty = id.is_string() && id.get_ref< std::string const& >().empty();
   if ( isEmpty || ( isNew && id.is_null() ) ) {
      doubtKey( patches_, mlags, Id( key ), "an empty mlagId is no MLAG configuration" );
   } else if ( patches_ == Doubt::mounts ) {
      mlagIds_[ id.get< std::string >() ].insert( Id( key ) );
   }
}

void
ScenarioReview::checkReference(
   char const* name, Json const& config, bool ( *takes )( Id ), char const* kind ) {
   bool const isSet = references_.count( name ) != 0;
   if ( checkClearing( { mount::mlagConfig, name }, config, isSet ) ) {
      references_.insert( name );
   } else {
      references_.erase( name );
   }
   Id const id = intfIdOf( memberAt( config, { name } ) );
   if ( id && !takes( id ) ) {
      doubt(
         patches_,
         { mount::mlagConfig, name },
         fmt::format( "{} is no {}", id.string(), kind ) );
   }
}

void
ScenarioReview::checkMemberReference(
   Collection collection, std::string const& key, Json const& config, bool isNew ) {
   char const* const name = collection == lagConfigs ? "lag"
      : collection == portConfigs                    ? "defaultConfig"
                                                     : nullptr;
   if ( !name ) {
      return;
   }
   Id const id( key );
   Keys const& keys = collections[ collection ];
   // One that is put in says that it has none, if it likes.
   bool const isSet = isNew || referring_[ collection ].count( id ) != 0;
   bool const has = checkClearing( { keys.mount, keys.name, key, name }, config, isSet );
   if ( has && !( isNew && memberAt( config, { name } ).is_null() ) ) {
      referring_[ collection ].insert( id );
   } else {
      referring_[ collection ].erase( id );
   }
}

bool
ScenarioReview::checkClearing( Path const& path, Json const& owner, bool isSet ) {
   auto const found = owner.is_object() ? owner.find( path.back() ) : owner.end();
   if ( found == owner.end() ) {
      return isSet;
   }
   if ( found->is_null() && !isSet && patches_ != Doubt::mounts ) {
      doubt( patches_, path, "there is none to be cleared" );
   }
   return !found->is_null();
}

void
ScenarioReview::checkDelay( char const* name, Json const& config ) {
   Json const& value = memberAt( config, { name } );
   if ( value.is_number() && value < 0 ) {
      doubt( patches_, { mount::mlagConfig, name }, "a negative delay is over at once" );
   }
}

std::vector< Doubt >
ScenarioReview::doubts() {
   checkSettings();
   checkStatuses();
   checkPeerLinks();
   checkConfigurations();
   checkPresence();
   checkMlagIds();
   checkNonMlagDelay();
   return std::move( doubts_ );
}

bool
ScenarioReview::exists( Id id ) const {
   return joined_.count( id ) || peerLinks_.count( id ) || isSeen( lags, id ) ||
      isSeen( ports, id );
}

void
ScenarioReview::checkSettings() {
   for ( int i = 0; i < collectionCount; ++i ) {
      Keys const& keys = collections[ std::size_t( i ) ];
      for ( auto const& [ id, patch ] : seen_[ std::size_t( i ) ] ) {
         if ( keys.isSetting && keys.takes( id ) && !exists( id ) ) {
            doubtKey(
               patch,
               Collection( i ),
               id,
               isPortChannel( id )
                  ? fmt::format(
                       "no port is a member of {}, and {} does not have it",
                       id.string(),
                       mount::lagInputIntfStatus )
                  : fmt::format( "{} is never present", id.string() ) );
         }
      }
   }
}

void
ScenarioReview::checkStatuses() {
   for ( auto const& [ id, patch ] : seen_[ lags ] ) {
      bool const isNamed = joined_.count( id ) || peerLinks_.count( id ) ||
         isSeen( mlags, id ) || isSeen( overrides, id ) || isSeen( lacps, id ) ||
         isSeen( snooped, id );
      if ( !isNamed && isPortChannel( id ) ) {
         doubtKey(
            patch,
            lags,
            id,
            fmt::format(
               "no port is a member of {}, and nothing else has it", id.string() ) );
      }
   }
}

// A port-channel that has members and no MLAG id may be the one that was meant.
void
ScenarioReview::checkPeerLinks() {
   std::vector< Id > likely;
   for ( auto const& [ id, patch ] : joined_ ) {
      if ( isPortChannel( id ) && !isSeen( mlags, id ) && !peerLinks_.count( id ) ) {
         likely.push_back( id );
      }
   }
   for ( auto const& [ id, patch ] : peerLinks_ ) {
      Path const path{ mount::mlagConfig, "peerLinkIntf" };
      if ( isSeen( mlags, id ) ) {
         doubt( patch, path, fmt::format( "{} has an MLAG id, too", id.string() ) );
      }
      if ( isPortChannel( id ) && !joined_.count( id ) && !likely.empty() ) {
         doubt(
            patch,
            path,
            fmt::format(
               "no port is a member of {}; with members and without an MLAG id: {}",
               id.string(),
               intfRanges( likely ) ) );
      }
   }
}

void
ScenarioReview::checkConfigurations() {
   std::vector< Id > without;
   for ( auto const& [ id, patch ] : seen_[ ports ] ) {
      if ( id.kind() == Kind::ethernet && !isSeen( portConfigs, id ) ) {
         without.push_back( id );
      }
   }
   if ( !without.empty() ) {
      Id const first = without.front();
      doubtKey(
         seen_[ ports ].at( first ),
         ports,
         first,
         fmt::format(
            "no configuration in {}: {}",
            mount::ethPhyIntfConfig,
            intfRanges( std::move( without ) ) ) );
   }
}

// Ports that are named and never become present, in one for each place where they are.
void
ScenarioReview::checkPresence() {
   for ( Collection const collection : { portConfigs, lagConfigs, causes } ) {
      std::vector< Id > without;
      for ( auto const& [ id, patch ] : seen_[ collection ] ) {
         if ( isPort( id ) && !isSeen( ports, id ) ) {
            without.push_back( id );
         }
      }
      if ( !without.empty() ) {
         Id const first = without.front();
         doubtKey(
            seen_[ collection ].at( first ),
            collection,
            first,
            fmt::format(
               absence, mount::ethPhyIntfStatus, intfRanges( std::move( without ) ) ) );
      }
   }
   for ( auto const& [ id, patch ] : peerLinks_ ) {
      if ( isPort( id ) && !isSeen( ports, id ) ) {
         doubt(
            patch,
            { mount::mlagConfig, "peerLinkIntf" },
            fmt::format( absence, mount::ethPhyIntfStatus, id.string() ) );
      }
   }
}

// An id pairs one port-channel here with one of the peer.
void
ScenarioReview::checkMlagIds() {
   for ( auto const& [ mlagId, ids ] : mlagIds_ ) {
      for ( Id const id : ids ) {
         if ( id != *ids.begin() ) {
            doubt(
               Doubt::mounts,
               { mount::mlagConfig, "intfConfig", id.string(), "mlagId" },
               fmt::format( "{} has the same MLAG id", ids.begin()->string() ) );
         }
      }
   }
}

void
ScenarioReview::checkNonMlagDelay() {
   if ( !nonMlagConfigured_ && !nonMlagDelays_.empty() ) {
      doubt(
         nonMlagDelays_.front(),
         { mount::mlagConfig, "reloadDelayNonMlag" },
         "has no effect without reloadDelayNonMlagConfigured" );
   }
}

void
ScenarioReview::doubt( std::size_t patch, Path path, std::string what, bool isOfKey ) {
   doubts_.push_back( { patch, std::move( path ), std::move( what ), isOfKey } );
}

void
ScenarioReview::doubtKey(
   std::size_t patch, Collection collection, Id id, std::string const& what ) {
   Keys const& keys = collections[ collection ];
   doubt( patch, { keys.mount, keys.name, id.string() }, what, true );
}

} // namespace ostra
