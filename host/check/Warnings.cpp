// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/check/Warnings>

#include <host/account/SwitchFacts>
#include <host/base/Words>
#include <host/check/ScenarioReview>

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <map>
#include <string_view>
#include <utility>

namespace ostra {

namespace {

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

// What there is to say of a document, by place: everything is found in one walk.
class Annotations {
 public:
   explicit Annotations( std::vector< Doubt > doubts )
         : doubts_( std::move( doubts ) ), isPlaced_( doubts_.size() ) {
      for ( std::size_t i = 0; i < doubts_.size(); ++i ) {
         Place* place = &root_;
         for ( std::string const& key : pathOf( doubts_[ i ] ) ) {
            place = &place->below[ key ];
         }
         place->doubts.push_back( i );
      }
   }

   std::vector< Line > lines( Document const& document ) {
      visit( Item( document ), &root_ );
      addUnplaced();
      return std::move( lines_ );
   }

 private:
   struct Place {
      std::map< std::string, Place, std::less<> > below;
      std::vector< std::size_t > doubts;
   };

   // `place`: null where there is no doubt, there or below.
   void visit( Item const& item, Place const* place ) {
      if ( place ) {
         for ( std::size_t const i : place->doubts ) {
            Doubt const& doubt = doubts_[ i ];
            auto const offset = doubt.isOfKey ? item.keyOffset() : item.node().offset();
            lines_.push_back( { 1 + offset, complaint( item, doubt ) } );
            isPlaced_[ i ] = true;
         }
      }
      addStrayQuote( item );
      addStrayNumber( item );
      visitBelow( item, place );
   }

   void visitBelow( Item const& item, Place const* place ) {
      auto const placeOf = [ place ]( std::string_view key ) -> Place const* {
         if ( !place ) {
            return nullptr;
         }
         auto const found = place->below.find( key );
         return found == place->below.end() ? nullptr : &found->second;
      };
      if ( item.node().kind() == NodeKind::map ) {
         item.forEachEntry( "", [ & ]( Item const& entry ) {
            // What templates are is known where an alias stands for them.
            if ( entry.key() != "templates" ) {
               visit( entry, placeOf( entry.key() ) );
            }
         } );
      }
      std::size_t index = 0;
      for ( DocumentNode const node : item.node().items() ) {
         visit( Item( item, node, index ), placeOf( std::to_string( index ) ) );
         ++index;
      }
   }

   // A quote at the end of a text that does not begin with one is part of the text.
   void addStrayQuote( Item const& item ) {
      DocumentNode const& node = item.node();
      std::string_view const text = node.text();
      bool const isStray = node.kind() == NodeKind::text && node.isPlain() &&
         ( text.ends_with( '"' ) || text.ends_with( '\'' ) ) && item.key() != "name";
      if ( isStray ) {
         add( item, "ends with a quote that nothing opens" );
      }
   }

   // Below a range, the numbers of the interface stand there by now.
   void addStrayNumber( Item const& item ) {
      DocumentNode const& node = item.node();
      bool const isText =
         node.kind() == NodeKind::text && item.key() != "name" && item.key() != labelKey;
      std::string_view const text = isText ? node.text() : std::string_view();
      std::size_t const dollar = text.find( '$' );
      std::string_view const number =
         dollar == text.npos ? std::string_view() : text.substr( dollar, 2 );
      if ( number.find_first_of( "0123456789" ) == 1 ) {
         add(
            item,
            fmt::format(
               "{} is a text here: the numbers of an interface are $1 to $4, below a range",
               number ) );
      }
   }

   void add( Item const& item, std::string what ) {
      Doubt const doubt{ 0, {}, std::move( what ), false };
      lines_.push_back( { 1 + item.node().offset(), complaint( item, doubt ) } );
   }

   // What the document does not have: it comes from an earlier state.
   void addUnplaced() {
      for ( std::size_t i = 0; i < doubts_.size(); ++i ) {
         if ( !isPlaced_[ i ] ) {
            auto const path = pathOf( doubts_[ i ] );
            lines_.push_back(
               { 0, fmt::format( "{}: {}", fmt::join( path, "." ), doubts_[ i ].what ) } );
         }
      }
   }

   std::vector< Doubt > const doubts_;
   std::vector< bool > isPlaced_;
   Place root_;
   std::vector< Line > lines_;
};

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
   auto lines = Annotations( std::move( doubts ) ).lines( document );
   std::stable_sort( lines.begin(), lines.end(), []( Line const& a, Line const& b ) {
      return a.place < b.place;
   } );
   // Of the interfaces of a range the same is odd.
   lines.erase(
      std::unique(
         lines.begin(),
         lines.end(),
         []( Line const& a, Line const& b ) {
            return a.place == b.place && a.text == b.text;
         } ),
      lines.end() );
   std::vector< std::string > texts;
   texts.reserve( lines.size() );
   for ( Line const& line : lines ) {
      texts.push_back( "warning: " + line.text );
   }
   return texts;
}

} // namespace ostra
