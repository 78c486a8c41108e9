// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/check/ScenarioReview>

#include <host/account/SwitchFacts>
#include <host/base/IntfRanges>
#include <host/check/IntfKinds>
#include <host/state/MountTable>

#include <fmt/format.h>

#include <utility>

namespace ostra {

namespace {

constexpr char portKind[] = "port";
constexpr char portChannelKind[] = "port-channel";
constexpr char linkKind[] = "port-channel or port";

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
   OddKeys odd;
   for ( auto const& [ key, value ] : values.items() ) {
      if ( value.is_null() || value == false ) {
         addRemoval( collection, Id( key ), odd );
      } else {
         addMember( collection, key, value, odd );
      }
   }
   doubtAll(
      collection,
      odd.strangers,
      fmt::format( "is no {}", keys.kind ),
      fmt::format( "is a {}", keys.kind ) );
   doubtAll(
      collection, odd.absent, "is not there to be removed", "is there to be removed" );
}

void
ScenarioReview::addMember(
   Collection collection, std::string const& key, Json const& value, OddKeys& odd ) {
   Keys const& keys = collections[ collection ];
   Id const id( key );
   bool const isPutIn = present_[ collection ].insert( id ).second;
   bool const isNew = seen_[ collection ].emplace( id, patches_ ).second;
   if ( isNew && !keys.takes( id ) ) {
      odd.strangers.push_back( id );
   }
   checkMemberReference( collection, key, value, isPutIn );
   if ( collection == lagConfigs ) {
      addLag( key, value );
   } else if ( collection == mlags ) {
      addMlagId( key, value, isPutIn );
   }
}

void
ScenarioReview::addRemoval( Collection collection, Id id, OddKeys& odd ) {
   referring_[ collection ].erase( id );
   if ( !present_[ collection ].erase( id ) && collections[ collection ].isInput ) {
      odd.absent.push_back( id );
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

void
ScenarioReview::doubt( std::size_t patch, Path path, std::string what, bool isOfKey ) {
   doubts_.push_back( { patch, std::move( path ), std::move( what ), isOfKey } );
}

void
ScenarioReview::doubtAll(
   Collection collection,
   std::vector< Id > const& ids,
   std::string const& one,
   std::string const& none ) {
   if ( !ids.empty() ) {
      std::string const names = intfRanges( ids );
      doubtKey(
         patches_,
         collection,
         ids.front(),
         ids.size() == 1 ? fmt::format( "{} {}", names, one )
                         : fmt::format( "none of {} {}", names, none ) );
   }
}

void
ScenarioReview::doubtKey(
   std::size_t patch, Collection collection, Id id, std::string const& what ) {
   Keys const& keys = collections[ collection ];
   doubt( patch, { keys.mount, keys.name, id.string() }, what, true );
}

} // namespace ostra
