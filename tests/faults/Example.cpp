// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Example"

#include <Ryx/Activity>
#include <Ryx/Clock>

#include <algorithm>
#include <array>

namespace faults {

namespace {

using ostra::DocumentNode;
using ostra::Entry;
using ostra::NodePtr;

NodePtr
mapOf( std::vector< Entry > entries ) {
   auto node = std::make_shared< DocumentNode >();
   node->kind = DocumentNode::Kind::map;
   node->entries = std::move( entries );
   return node;
}

Entry
entryOf( Entry const& like, NodePtr value ) {
   return { like.key, like.line, like.column, std::move( value ) };
}

// Splits a map below `depth` further maps into maps of one entry each.
std::vector< NodePtr >
split( NodePtr const& node, int depth ) {
   if ( depth == 0 || node->kind != DocumentNode::Kind::map || node->entries.empty() ) {
      return { node };
   }
   std::vector< NodePtr > parts;
   for ( Entry const& entry : node->entries ) {
      for ( NodePtr const& part : split( entry.value, depth - 1 ) ) {
         parts.push_back( mapOf( { entryOf( entry, part ) } ) );
      }
   }
   return parts;
}

// Adds the events that set the mounts up, one value or member each.
void
addMountEvents( NodePtr const& mounts, DocumentNode& events ) {
   auto const zero = std::make_shared< DocumentNode >( ostra::scalarNode( "0" ) );
   for ( NodePtr const& part : split( mounts, 3 ) ) {
      Entry const& mount = part->entries.front();
      events.items.push_back(
         mapOf( { { "at", mount.line, mount.column, zero }, mount } ) );
   }
}

void
addEvents( NodePtr const& events, DocumentNode& list ) {
   for ( NodePtr const& event : events->items ) {
      auto const at = std::ranges::find( event->entries, "at", &Entry::key );
      for ( Entry const& entry : event->entries ) {
         if ( entry.key == "at" ) {
            continue;
         }
         for ( NodePtr const& part : split( entry.value, entry.key == "agent" ? 0 : 2 ) ) {
            list.items.push_back( mapOf( { *at, entryOf( entry, part ) } ) );
         }
      }
   }
}

// An observer that counts what it is told, and what it is not told for want of memory.
template< class Base >
class Counting final : public Base {
 public:
   using Base::onIntfStatus;
   void onIntfStatus( Kovel::IntfId ) override { ++told; }
   unsigned told = 0;
};

class CountingSnooping final : public Bridging::IgmpSnooping::Config::NotifieeConst {
 public:
   using NotifieeConst::onForceEnabledPorts;
   void onForceEnabledPorts( Kovel::IntfId ) override { ++told; }
   unsigned told = 0;
};

template< class Observer >
class AudienceOf final : public Audience {
 public:
   explicit AudienceOf( Ryx::Ptr< Ryx::PtrInterface const > const& notifier ) {
      for ( auto& observer : observers_ ) {
         observer = Ryx::make< Observer >();
         observer->notifierIs( notifier );
         observer->isRegisteredNotifieeIs( true );
      }
   }
   bool isUnanimous() const override {
      return std::ranges::all_of( observers_, [ this ]( auto const& observer ) {
         return observer->told == observers_.front()->told;
      } );
   }

 private:
   std::array< Ryx::Ptr< Observer >, 20 > observers_;
};

} // namespace

Audience::~Audience() = default;

Script
readExample( std::string const& name ) {
   ostra::Document document = ostra::readDocument( OSTRA_EXAMPLES "/" + name + ".yaml" );
   auto root = std::make_shared< DocumentNode >( *document.root );
   auto const take = [ &root ]( std::string const& key ) {
      auto const entry = std::ranges::find( root->entries, key, &Entry::key );
      NodePtr const value = entry->value;
      root->entries.erase( entry );
      return value;
   };
   auto events = std::make_shared< DocumentNode >();
   events->kind = DocumentNode::Kind::list;
   addMountEvents( take( "mounts" ), *events );
   std::size_t const mountEvents = events->items.size();
   addEvents( take( "events" ), *events );
   root->entries.push_back( { "events", 1, 1, events } );
   document.root = root;
   return { document, mountEvents };
}

Example::Example( Script const& script )
      : mountEvents_( script.mountEvents ),
        scenario_( ostra::readScenario(
           script.document,
           mounts_,
           []() -> Ryx::RyxType const& {
              return *Ryx::RyxType::type( Ryx::Name( "OstraMlag::Agent" ) );
           } ) ),
        time_( scenario_.startTime ),
        agentType_( *Ryx::RyxType::type( Ryx::Name( "OstraMlag::Agent" ) ) ),
        children_( ostra::agentChildren( agentType_ ) ) {
   audiences_.push_back(
      std::make_unique< AudienceOf< Counting< Errdisable::CauseStatus::NotifieeConst > > >(
         mounted< Errdisable::CauseStatus >() ) );
   audiences_.push_back( std::make_unique< AudienceOf< CountingSnooping > >(
      mounted< Bridging::IgmpSnooping::Config >() ) );
}

Example::~Example() = default;

template< class T >
Ryx::Ptr< T >
Example::mounted() const {
   auto const object = mounts_.objectOf( *T::_fwkType() );
   return Ryx::Ptr< T >( const_cast< T* >( dynamic_cast< T const* >( object->object() ) ) );
}

std::vector< Ryx::Ptr< Ryx::Entity const > >
Example::objects() const {
   std::vector< Ryx::Ptr< Ryx::Entity const > > all;
   for ( std::size_t i = 0; i < ostra::mountKinds.size(); ++i ) {
      all.emplace_back(
         dynamic_cast< Ryx::Entity const* >( mounts_.object( i )->object() ) );
   }
   auto const lacp = mounted< Lacp::Config >();
   for ( auto it = lacp->portChannelIterator(); it; ++it ) {
      all.emplace_back( it->value() );
   }
   return all;
}

void
Example::stepIs( std::string step, std::function< void() > act, bool setsChild ) {
   step_ = std::move( step );
   act_ = std::move( act );
   setsChild_ = setsChild;
}

void
Example::mount() {
   while ( event_ < mountEvents_ && advance() ) {
      act();
   }
}

bool
Example::advance() {
   do {
      if ( event_ < mountEvents_ ) {
         return changeStep();
      }
      if ( childrenSet_ < children_.size() ) {
         childStep( *children_[ childrenSet_++ ], true );
         return true;
      }
      if ( !agentChanges_.empty() ) {
         auto const change = agentChanges_.front();
         agentChanges_.erase( agentChanges_.begin() );
         childStep( *change.attribute, change.isSet );
         return true;
      }
      auto const clock = Ryx::activityManager()->clock();
      if ( clock->nextTimeMin() <= time_.now() ) {
         stepIs( "time", [ clock ] { clock->handleTime(); } );
         return true;
      }
      if (
         event_ < scenario_.events.size() &&
         scenario_.events[ event_ ].at == time_.moment() ) {
         if ( changeStep() ) {
            return true;
         }
         continue;
      }
      if ( !passTime() ) {
         return false;
      }
   } while ( true );
}

bool
Example::changeStep() {
   auto const& change = scenario_.events[ event_++ ].changes.front();
   if ( auto const* const patch = std::get_if< ostra::MountPatch >( &change ) ) {
      stepIs( "event " + std::to_string( event_ ), [ this, patch ] {
         mounts_.apply( *patch );
      } );
      return true;
   }
   auto const& agent = std::get< ostra::AgentPatch >( change );
   agentChanges_ = agent.children;
   if ( agent.removesAgent ) {
      stepIs( "no agent", [ this ] { agent_ = nullptr; } );
   }
   return agent.removesAgent;
}

void
Example::childStep( Ryx::RyxAttr const& child, bool isSet ) {
   stepIs(
      ( isSet ? "set " : "delete " ) + child.name().string(),
      [ this, &child, isSet ] {
         if ( isSet ) {
            set( child );
         } else if ( agent_ ) {
            agent_->attributeOp( { child.id(), Ryx::GenericIf::del }, nullptr, nullptr );
         }
      },
      isSet );
}

void
Example::set( Ryx::RyxAttr const& child ) {
   if ( !agent_ ) {
      agent_ = ostra::construct( agentType_, "ostra" );
   }
   auto const list = Ryx::make< Ryx::GenericIfList >();
   for ( auto const& argument : child.arguments() ) {
      list->argumentIs( argument.name.string(), mounts_.objectOf( *argument.type ) );
   }
   agent_->attributeOp( { child.id(), Ryx::GenericIf::set }, nullptr, list );
}

bool
Example::passTime() {
   auto next = time_.momentOf( Ryx::activityManager()->clock()->nextTimeMin() );
   if ( event_ < scenario_.events.size() ) {
      auto const event = scenario_.events[ event_ ].at;
      next = next ? std::min( *next, event ) : event;
   }
   if ( !next || ( scenario_.until && *next > *scenario_.until ) ) {
      return false;
   }
   time_.momentIs( *next );
   return true;
}

MlagErrdisableSm*
Example::machine() const {
   if ( !agent_ ) {
      return nullptr;
   }
   auto const* const child = agentType_.attr( Ryx::Name( "mlagErrdisableSm" ) );
   auto const adapter =
      agent_->attributeOp( { child->id(), Ryx::GenericIf::get }, nullptr, nullptr );
   return adapter ? const_cast< MlagErrdisableSm* >(
                       dynamic_cast< MlagErrdisableSm const* >( adapter->object() ) )
                  : nullptr;
}

bool
Example::audiencesAreUnanimous() const {
   return std::ranges::all_of(
      audiences_, []( auto const& audience ) { return audience->isUnanimous(); } );
}

std::string
Example::outage() const {
   MlagErrdisableSm const* const sm = machine();
   auto const cause = mounted< Errdisable::CauseStatus >();
   if ( !sm ) {
      return {};
   }
   bool const held = sm->mlagPortsErrdisabled() || sm->nonMlagPortsErrdisabled();
   if ( !held && cause->intfStatusIterator() ) {
      return "released, but " + cause->intfStatusIterator().key().string() + " is held";
   }
   if ( held != mounted< Mlag::ProtoStatus >()->portsErrdisabled() ) {
      return "portsErrdisabled is not what it is";
   }
   // Both timers and whatever else is armed: enough for the classes that wait for one.
   bool const waits = ( sm->mlagPortsErrdisabled() &&
                        !Ryx::isInfinite( mounted< Mlag::Config >()->reloadDelay() ) ) ||
      ( sm->nonMlagPortsErrdisabled() && !Ryx::isInfinite( sm->reloadDelayNonMlag() ) );
   if ( waits && Ryx::isInfinite( Ryx::activityManager()->clock()->nextTimeMin() ) ) {
      return "held, and no timer runs";
   }
   auto const lacp = mounted< Lacp::Config >();
   for ( auto it = lacp->portChannelIterator(); it; ++it ) {
      if ( it->value()->stayInStandby() && !sm->lagsInStandby( it.key() ) ) {
         return it.key().string() + " is in standby unrecorded";
      }
   }
   return {};
}

} // namespace faults
