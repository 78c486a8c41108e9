// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/Scenario>

#include <fmt/format.h>

#include <algorithm>

namespace ostra {

namespace {

constexpr std::string_view scenarioKeys = "name, startTime, until, mounts, events";

class ScenarioReader {
 public:
   ScenarioReader( Mounts& mounts, AgentTypeSource const& agentType )
         : mounts_( mounts ), agentType_( agentType ) {}

   Scenario read( Item const& root ) {
      root.forEachEntry(
         fmt::format( "a map of {}", scenarioKeys ),
         [ & ]( Item const& entry ) { readEntry( entry ); } );
      return std::move( scenario_ );
   }

 private:
   void readEntry( Item const& entry ) {
      std::string const& key = entry.key();
      if ( key == "name" ) {
         readName( entry );
      } else if ( key == "startTime" ) {
         scenario_.startTime = momentOf( entry );
      } else if ( key == "until" ) {
         scenario_.until = scenarioMomentOf( entry );
      } else if ( key == "mounts" ) {
         scenario_.mounts = mounts_.read( entry );
      } else if ( key == "events" ) {
         readEvents( entry );
      } else {
         entry.refuseKey( fmt::format( "unknown key: expected {}", scenarioKeys ) );
      }
   }

   void readName( Item const& entry ) {
      switch ( entry.node().kind ) {
      case DocumentNode::Kind::text:
      case DocumentNode::Kind::number:
      case DocumentNode::Kind::boolean:
         scenario_.name = entry.node().text;
         return;
      default:
         entry.refuse( "a text" );
      }
   }

   void readEvents( Item const& list ) {
      if ( list.node().kind != DocumentNode::Kind::list ) {
         list.refuse( "a list of events" );
      }
      for ( std::size_t i = 0; i < list.node().items.size(); ++i ) {
         Item const item( list, i );
         readEvent( item, list.node().items[ i ] );
      }
   }

   void readEvent( Item const& item, NodePtr const& node ) {
      Event event;
      event.node = node;
      bool hasTime = false;
      item.forEachEntry( "a map with at and what changes then", [ & ]( Item const& entry ) {
         if ( entry.key() == "at" ) {
            event.at = readTime( entry );
            hasTime = true;
         } else {
            event.changes.push_back( readChange( entry ) );
         }
      } );
      if ( !hasTime ) {
         item.refuseBecause( "no time: expected the key at" );
      }
      scenario_.events.push_back( std::move( event ) );
   }

   Milliseconds readTime( Item const& entry ) const {
      Milliseconds const at = scenarioMomentOf( entry );
      if ( !scenario_.events.empty() && at < scenario_.events.back().at ) {
         entry.refuse( fmt::format(
            "at least {}, the time of the event above",
            toJson( secondsOf( scenario_.events.back().at ) ).dump() ) );
      }
      return at;
   }

   Event::Change readChange( Item const& entry ) {
      if ( entry.key() == "agent" ) {
         return readAgentPatch( entry, agentType_() );
      }
      if ( Mounts::index( entry.key() ) == mountKinds.size() ) {
         entry.refuseKey( "unknown key: expected at, agent, " + Mounts::names() );
      }
      return mounts_.readMount( entry );
   }

   Mounts& mounts_;
   AgentTypeSource const& agentType_;
   Scenario scenario_;
};

} // namespace

Json
Event::patch() const {
   Json patch = toJson( *node );
   patch.erase( "at" );
   return patch;
}

Scenario
readScenario( Document const& document, Mounts& mounts, AgentTypeSource const& agentType ) {
   return ScenarioReader( mounts, agentType ).read( Item( document ) );
}

MountsPatch
readState( Document const& document, Mounts& mounts ) {
   Item const root( document );
   auto const& entries = document.root->entries;
   auto const state =
      std::find_if( entries.begin(), entries.end(), []( Entry const& entry ) {
         return entry.key == "state";
      } );
   return mounts.read( state == entries.end() ? root : Item( root, *state ) );
}

} // namespace ostra
