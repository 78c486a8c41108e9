// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Example"

#include <Ryx/Activity>
#include <Ryx/Clock>

#include <algorithm>
#include <array>

namespace faults {

namespace {

Json
objectOf( std::string const& key, Json value ) {
   Json object = Json::object();
   object[ key ] = std::move( value );
   return object;
}

// Splits an object below `depth` further objects into objects of one member each.
std::vector< Json >
split( Json const& json, int depth ) {
   if ( depth == 0 || !json.is_object() || json.empty() ) {
      return { json };
   }
   std::vector< Json > parts;
   for ( auto const& [ key, value ] : json.items() ) {
      for ( Json& part : split( value, depth - 1 ) ) {
         parts.push_back( objectOf( key, std::move( part ) ) );
      }
   }
   return parts;
}

// Adds the events of that time that make a change, one value or member each.
void
addEvents( Json const& at, Json const& change, Json& events ) {
   for ( auto const& [ name, value ] : change.items() ) {
      for ( Json& part : split( value, name == ostra::agentKey ? 0 : 2 ) ) {
         Json event = objectOf( std::string( ostra::timeKey ), at );
         event[ name ] = std::move( part );
         events.push_back( std::move( event ) );
      }
   }
}

// An observer that counts what it is told, and what it is not told when memory is out.
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
   ostra::File const file = ostra::readFile( OSTRA_EXAMPLES "/" + name + ".yaml" );
   Json scenario = toJson( ostra::parseDocument( file.name, file.text ).root() );
   Json events = Json::array();
   addEvents( 0, scenario.at( "mounts" ), events );
   std::size_t const mountEvents = events.size();
   std::string const timeKey( ostra::timeKey );
   for ( Json event : scenario.at( "events" ) ) {
      Json const at = event.at( timeKey );
      event.erase( timeKey );
      addEvents( at, event, events );
   }
   scenario.erase( "mounts" );
   scenario[ "events" ] = std::move( events );
   return { ostra::parseDocument( name, scenario.dump() ), mountEvents };
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
         scenario_.events[ event_ ].at == time_.instant() ) {
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
   ostra::Event const& event = scenario_.events[ event_++ ];
   bool isStep = true;
   event.forEachChange( [ & ]( ostra::Item const& change ) {
      if ( change.key() == ostra::agentKey ) {
         isStep = agentStep( readAgentPatch( change, agentType_ ) );
      } else {
         stepIs( "event " + std::to_string( event_ ), [ this, &event ] {
            event.forEachChange(
               [ this ]( ostra::Item const& mount ) { mounts_.applyMount( mount ); } );
         } );
      }
   } );
   return isStep;
}

bool
Example::agentStep( ostra::AgentPatch const& patch ) {
   agentChanges_ = patch.children;
   if ( patch.removesAgent ) {
      stepIs( "no agent", [ this ] { agent_ = nullptr; } );
   }
   return patch.removesAgent;
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
   auto next = time_.instantOf( Ryx::activityManager()->clock()->nextTimeMin() );
   if ( event_ < scenario_.events.size() ) {
      auto const event = scenario_.events[ event_ ].at;
      next = next ? std::min( *next, event ) : event;
   }
   if ( !next || ( scenario_.until && *next > *scenario_.until ) ) {
      return false;
   }
   time_.instantIs( *next );
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
