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

// The last line of a stream of records, where it stands; any other text as it is.
std::string
withoutEarlierRecords( std::string const& text ) {
   auto const last = text.find_last_not_of( "\r\n" );
   auto const before = text.rfind( '\n', last );
   if ( !text.starts_with( "{\"t\":" ) || before == std::string::npos ) {
      return text;
   }
   auto const begin = text.begin() + static_cast< std::ptrdiff_t >( before ) + 1;
   auto const lines = std::count( text.begin(), begin, '\n' );
   return std::string( static_cast< std::size_t >( lines ), '\n' )
      .append( begin, text.end() );
}

bool
isRecord( DocumentNode const& node ) {
   return std::any_of( node.entries.begin(), node.entries.end(), []( Entry const& entry ) {
      return entry.key == "type" || entry.key == "state";
   } );
}

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
readState( File const& file, Mounts& mounts ) {
   Document const document = parseDocument( file.name, withoutEarlierRecords( file.text ) );
   Item const root( document );
   if ( !isRecord( *document.root ) ) {
      return mounts.read( root );
   }
   MountsPatch state;
   bool isEnd = false;
   root.forEachEntry( "", [ & ]( Item const& entry ) {
      if ( entry.key() == "type" && entry.node().text != "end" ) {
         entry.refuse( "the end of a run, which is the last line of its stream" );
      }
      if ( entry.key() == "state" ) {
         state = mounts.read( entry );
         isEnd = true;
      }
   } );
   if ( !isEnd ) {
      root.refuseBecause( "no state: expected the key state, as in the end of a run" );
   }
   return state;
}

} // namespace ostra
