// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/run/Scenario>

#include <host/input/Instant>

#include <fmt/format.h>

#include <algorithm>

namespace ostra {

namespace {

KnownKeys const scenarioKeys = { "name",      "startTime", "until",
                                 "templates", "mounts",    "events" };

class ScenarioReader {
 public:
   ScenarioReader( Mounts& mounts, AgentTypeSource const& agentType )
         : mounts_( mounts ), agentType_( agentType ) {}

   Scenario read( Document const& document ) {
      scenario_.document = document;
      Item( document )
         .forEachEntry(
            [] { return "a map of " + listed( scenarioKeys ); },
            [ & ]( Item const& entry ) { readEntry( entry ); } );
      return std::move( scenario_ );
   }

 private:
   void readEntry( Item const& entry ) {
      std::string_view const key = entry.key();
      if ( key == "name" ) {
         scenario_.name = textOf( entry );
      } else if ( key == "startTime" ) {
         scenario_.startTime = instantOf( entry );
      } else if ( key == "until" ) {
         scenario_.until = scenarioInstantOf( entry );
      } else if ( key == "templates" ) {
         // What is in there is read where an alias says so.
         entry.forEachEntry( "a map of what aliases stand for", []( Item const& ) {} );
      } else if ( key == "mounts" ) {
         readMounts( entry );
      } else if ( key == "events" ) {
         readEvents( entry );
      } else {
         refuseUnknownKey( entry, scenarioKeys );
      }
   }

   void readMounts( Item const& entry ) {
      mounts_.apply( entry, &scenario_.vacuousRemovals );
      for ( auto& path : scenario_.vacuousRemovals ) {
         path.erase( path.begin() );
      }
   }

   static std::string_view textOf( Item const& entry ) {
      switch ( entry.node().kind() ) {
      case NodeKind::text:
      case NodeKind::number:
      case NodeKind::boolean:
         return entry.node().text();
      default:
         entry.refuse( "a text" );
      }
   }

   void readEvents( Item const& list ) {
      if ( list.node().kind() != NodeKind::list ) {
         list.refuse( "a list of events" );
      }
      std::size_t index = 0;
      for ( DocumentNode const node : list.node().items() ) {
         readEvent( Item( list, node, index++ ) );
      }
   }

   void readEvent( Item const& item ) {
      std::optional< Milliseconds > at;
      std::string_view label;
      item.forEachEntry( "a map with at and what changes then", [ & ]( Item const& entry ) {
         if ( entry.key() == timeKey ) {
            at = readTime( entry );
         } else if ( entry.key() == labelKey ) {
            label = textOf( entry );
         } else {
            checkChange( entry );
         }
      } );
      if ( !at ) {
         item.refuseBecause( "no time: expected the key at" );
      }
      scenario_.events.push_back( { *at, item.node(), std::string( label ) } );
   }

   Milliseconds readTime( Item const& entry ) const {
      Milliseconds const at = scenarioInstantOf( entry );
      if ( !scenario_.events.empty() && at < scenario_.events.back().at ) {
         entry.refuse( fmt::format(
            "at least {}, the time of the event above",
            toJson( secondsOf( scenario_.events.back().at ) ).dump() ) );
      }
      return at;
   }

   void checkChange( Item const& entry ) {
      if ( entry.key() == agentKey ) {
         readAgentPatch( entry, agentType_() );
         return;
      }
      if ( Mounts::index( entry.key() ) == mountKinds.size() ) {
         KnownKeys keys{ std::string( timeKey ),
                         std::string( labelKey ),
                         std::string( agentKey ) };
         keys.insert( keys.end(), Mounts::names().begin(), Mounts::names().end() );
         refuseUnknownKey( entry, keys );
      }
      mounts_.checkMount( entry );
   }

   Mounts& mounts_;
   AgentTypeSource const& agentType_;
   Scenario scenario_;
};

// The last line of a stream of records, where it stands; any other text as it is.
std::string
withoutEarlierRecords( std::string text ) {
   auto const last = text.find_last_not_of( "\r\n" );
   auto const before = text.rfind( '\n', last );
   if ( text.starts_with( "{\"t\":" ) && before != std::string::npos ) {
      std::size_t const begin = before + 1;
      auto const lines = std::count(
         text.begin(), text.begin() + static_cast< std::ptrdiff_t >( begin ), '\n' );
      text.replace( 0, begin, static_cast< std::size_t >( lines ), '\n' );
   }
   return text;
}

// Where the text of a run for people begins its first instant, as nothing else that is read
// does; npos for any other text.
std::size_t
reportLine( std::string_view text ) {
   constexpr std::string_view firstEntry = "\n00:00:00.000 ";
   std::size_t const found = text.find( firstEntry );
   return found == text.npos ? found : found + 1;
}

bool
isRecord( DocumentNode const& node ) {
   for ( Entry const entry : node.entries() ) {
      if ( entry.key == "type" || entry.key == "state" ) {
         return true;
      }
   }
   return false;
}

} // namespace

Json
Event::patch() const {
   Json patch = Json::object();
   forEachChange( [ &patch ]( Item const& change ) {
      appendMember( patch, std::string( change.key() ), toJson( change.node() ) );
   } );
   return patch;
}

Scenario
readScenario( Document const& document, Mounts& mounts, AgentTypeSource const& agentType ) {
   return ScenarioReader( mounts, agentType ).read( document );
}

void
readState( File file, Mounts& mounts, std::size_t maxInput ) {
   if ( std::size_t const line = reportLine( file.text ); line != std::string::npos ) {
      throw Failure(
         ExitStatus::badInput,
         fmt::format(
            "{}:{}:1: a report for people: expected that of --format ndjson, or its last "
            "line",
            file.name,
            1 +
               std::count(
                  file.text.begin(),
                  file.text.begin() + static_cast< std::ptrdiff_t >( line ),
                  '\n' ) ) );
   }
   Document const document = parseDocument(
      std::move( file.name ), withoutEarlierRecords( std::move( file.text ) ), maxInput );
   Item const root( document );
   if ( !isRecord( document.root() ) ) {
      mounts.apply( root );
      return;
   }
   bool isEnd = false;
   root.forEachEntry( "", [ & ]( Item const& entry ) {
      if ( entry.key() == "type" && entry.node().text() != "end" ) {
         entry.refuse( "the end of a run, which is the last line of its stream" );
      }
      if ( entry.key() == "state" ) {
         mounts.apply( entry );
         isEnd = true;
      }
   } );
   if ( !isEnd ) {
      root.refuseBecause( "no state: expected the key state, as in the end of a run" );
   }
}

} // namespace ostra
