// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/check/Warnings>

#include <host/account/SwitchFacts>
#include <host/base/Words>
#include <host/check/ScenarioReview>

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <span>

namespace ostra {

namespace {

using Path = std::span< std::string const >;
using Visit = std::function< void( Item const& ) >;

// Visits what stands at the path below the item, if anything does.
bool
visitAt( Item const& item, Path path, Visit const& visit ) {
   if ( path.empty() ) {
      visit( item );
      return true;
   }
   bool isFound = false;
   auto const next = [ & ]( Item const& child ) {
      isFound = visitAt( child, path.subspan( 1 ), visit );
   };
   if ( item.node().kind() == NodeKind::list ) {
      std::size_t const index = std::stoul( path.front() );
      std::size_t at = 0;
      for ( DocumentNode const node : item.node().items() ) {
         if ( at++ == index ) {
            next( Item( item, node, index ) );
         }
      }
   } else if ( item.node().kind() == NodeKind::map ) {
      item.forEachEntry( "", [ & ]( Item const& entry ) {
         if ( entry.key() == path.front() ) {
            next( entry );
         }
      } );
   }
   return isFound;
}

// The complaint that a refusal would be.
std::string
complaint( Item const& item, Doubt const& doubt ) {
   try {
      if ( doubt.isOfKey ) {
         item.refuseKey( doubt.what );
      }
      item.refuseBecause( doubt.what );
   } catch ( Failure const& failure ) {
      return failure.what();
   }
}

std::vector< std::string >
pathOf( Doubt const& doubt ) {
   std::vector< std::string > path{ "mounts" };
   if ( doubt.patch != Doubt::mounts ) {
      path = { "events", std::to_string( doubt.patch - 1 ) };
   }
   path.insert( path.end(), doubt.path.begin(), doubt.path.end() );
   return path;
}

// Events that do not happen, in one.
void
addLateEvents( Scenario const& scenario, std::vector< Doubt >& doubts ) {
   std::size_t late = 0;
   for ( Event const& event : scenario.events ) {
      late += scenario.until && event.at > *scenario.until ? 1u : 0u;
   }
   if ( late != 0 ) {
      std::string const rest = late == 1 ? ""
         : late == 2                     ? ", nor does the one behind it"
                     : fmt::format( ", nor do the {} behind it", late - 1 );
      doubts.push_back( { 1 + scenario.events.size() - late,
                          { "at" },
                          fmt::format( "does not happen: the run ends before it{}", rest ),
                          false } );
   }
}

// MLAG that is switched on and not configured as a whole is as good as off.
void
addMissingConfig( Mounts const& mounts, std::vector< Doubt >& doubts ) {
   auto const missing = SwitchFacts( mounts ).missingConfig();
   bool const isEnabled =
      std::find( missing.begin(), missing.end(), "enabled" ) == missing.end();
   if ( isEnabled && !missing.empty() ) {
      doubts.push_back(
         { Doubt::mounts,
           { mount::mlagConfig, "enabled" },
           fmt::format( "no port is held without {}", fmt::join( missing, ", " ) ),
           false } );
   }
}

void
addRemovals( Scenario const& scenario, std::vector< Doubt >& doubts ) {
   for ( std::vector< std::string > const& path : scenario.vacuousRemovals ) {
      doubts.push_back( { Doubt::mounts,
                          path,
                          "null removes it, and it is not there: expected {} to put it in",
                          true } );
   }
}

// A warning, and where it stands: behind those without a place.
struct Line {
   std::size_t place = 0;
   std::string text;
};

Line
lineOf( Document const& document, Doubt const& doubt ) {
   auto const path = pathOf( doubt );
   Line line{ 0, fmt::format( "{}: {}", fmt::join( path, "." ), doubt.what ) };
   visitAt( Item( document ), path, [ & ]( Item const& item ) {
      line = { 1 + ( doubt.isOfKey ? item.keyOffset() : item.node().offset() ),
               complaint( item, doubt ) };
   } );
   return line;
}

} // namespace

std::vector< std::string >
warnings( Document const& document, Scenario const& scenario, Mounts const& mounts ) {
   ScenarioReview review;
   review.patchIs( mounts.state() );
   for ( Event const& event : scenario.events ) {
      review.patchIs( event.patch() );
   }
   auto doubts = review.doubts();
   addLateEvents( scenario, doubts );
   addMissingConfig( mounts, doubts );
   addRemovals( scenario, doubts );
   std::vector< Line > lines;
   lines.reserve( doubts.size() );
   for ( Doubt const& doubt : doubts ) {
      lines.push_back( lineOf( document, doubt ) );
   }
   std::stable_sort( lines.begin(), lines.end(), []( Line const& a, Line const& b ) {
      return a.place < b.place;
   } );
   std::vector< std::string > texts;
   texts.reserve( lines.size() );
   for ( Line const& line : lines ) {
      texts.push_back( "warning: " + line.text );
   }
   return texts;
}

} // namespace ostra
