// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/LiveSwitch>

#include <host/base/JsonLine>
#include <host/base/Words>
#include <host/input/Foreign>

#include <Ryx/Activity>
#include <Ryx/Clock>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace ostra {

namespace {

using Kind = PatchRefusal::Kind;

constexpr char notJson[] = "not JSON";

[[noreturn]] void
refuse( Failure const& failure ) {
   throw PatchRefusal( Kind::invalid, failure.complaint() );
}

// What is read takes more than JSON, and says of other texts that they are not even that.
Document
parse( std::string text ) {
   constexpr std::string_view notRead = "not YAML";
   try {
      return parseDocument( "patch", std::move( text ) );
   } catch ( Failure const& failure ) {
      Complaint complaint = failure.complaint();
      if ( complaint.found.starts_with( notRead ) ) {
         complaint.found.replace( 0, notRead.size(), notJson );
      }
      throw PatchRefusal( Kind::invalid, std::move( complaint ) );
   }
}

[[noreturn]] void
refusePath( Path const& path, std::size_t depth, std::string_view expected ) {
   throw PatchRefusal(
      Kind::notFound,
      { fmt::format(
           "{}", fmt::join( path.begin(), path.begin() + std::ptrdiff_t( depth ), "." ) ),
        inQuotes( path[ depth ] ),
        std::string( expected ) } );
}

// The row that a path lies in.
RowKey
rowOf( Path path, RyxType const& mount ) {
   if ( path.size() > 1 ) {
      RyxAttr const* const attribute = settableAttribute( mount, path[ 1 ] );
      path.resize( std::min< std::size_t >(
         path.size(), attribute && isCollection( *attribute ) ? depthOfEntry : 2 ) );
   }
   return path;
}

bool
isInterface( Path const& path ) {
   return path.size() == depthOfEntry && path.front() == mount::ethPhyIntfStatus;
}

Json
around( Path const& path, Json value ) {
   for ( auto key = path.rbegin(); key != path.rend(); ++key ) {
      Json object = Json::object();
      object[ *key ] = std::move( value );
      value = std::move( object );
   }
   return value;
}

// Of an attribute; null, which takes it out, of a member of a collection.
Json
defaultOf( Path const& path, RowKey const& row ) {
   Mounts mounts;
   if ( path.size() > depthOfEntry ) {
      Document const entry =
         parseDocument( "defaults", lineOf( around( row, Json::object() ) ) );
      mounts.apply( Item( entry ) );
   }
   return mounts.at( path );
}

// What a client changes, for those who ask afterwards; of much of it, in which mounts.
Json
changeRecord( Revision revision, Item const& root ) {
   constexpr std::size_t longestPatch = 4096;
   Json record = { { "type", "event" }, { "index", revision } };
   Json patch = toJson( root.node() );
   if ( root.node().tree().text().size() <= longestPatch ) {
      record[ "patch" ] = std::move( patch );
      return record;
   }
   record[ "mounts" ] = Json::array();
   for ( auto const& [ mount, change ] : patch.items() ) {
      record[ "mounts" ].push_back( mount );
   }
   return record;
}

} // namespace

Document
patchDocument( Path const& path, std::string const& text ) {
   // Read by itself first: the text around it must not be what closes its brackets.
   Document alone = parse( text );
   // A comment alone, for one, would stand for null.
   if ( std::string place = placeOfNoJson( text ); !place.empty() ) {
      throw PatchRefusal(
         Kind::invalid, { std::move( place ), notJson, "a value in JSON" } );
   }
   if ( path.empty() ) {
      return alone;
   }
   std::string around;
   for ( std::string const& key : path ) {
      around += fmt::format( "{{{}: ", lineOf( key ) );
   }
   return parse(
      fmt::format( "{}\n{}\n{}", around, text, std::string( path.size(), '}' ) ) );
}

LiveSwitch::LiveSwitch( RyxType const& agentType, LiveTime& time )
      : time_( time ),
        agent_( agentType, mounts_ ),
        view_( mounts_, agent_ ),
        records_( time ) {}

void
LiveSwitch::wrote( WriteRecord const& record ) {
   touch();
   records_.write( time_.instant(), record );
   std::size_t const mount = Mounts::index( record.path.front() );
   changes_.rows.insert( rowOf( record.path, *mounts_.object( mount )->type() ) );
   if ( record.path.front() == mount::mlagissuCause && !record.value.is_null() ) {
      released_.erase( record.path.back() );
   }
   writeListener_( record );
}

void
LiveSwitch::checkPath( Path const& path ) const {
   if ( path.empty() ) {
      return;
   }
   std::size_t const mount = Mounts::index( path[ 0 ] );
   if ( mount == mountKinds.size() ) {
      refusePath( path, 0, "a mount" );
   }
   RyxType const* type = mounts_.object( mount )->type();
   for ( std::size_t depth = 1; depth < path.size(); ++depth ) {
      RyxAttr const* const attribute =
         type ? settableAttribute( *type, path[ depth ] ) : nullptr;
      if ( !attribute ) {
         refusePath( path, depth, "an attribute that can be set" );
      }
      if ( isCollection( *attribute ) && ++depth < path.size() ) {
         try {
            keyOf( *attribute, path[ depth ] );
         } catch ( Ryx::RangeException const& ) {
            refusePath( path, depth, "a key" );
         }
      }
      type = hasObjects( *attribute ) ? attribute->valueType() : nullptr;
   }
}

std::vector< Change >
LiveSwitch::check( Item const& root, Owner by ) {
   try {
      root.forEachEntry(
         "a map of mounts", [ & ]( Item const& entry ) { mounts_.checkMount( entry ); } );
   } catch ( Failure const& failure ) {
      refuse( failure );
   }
   auto changes = changesOf( root );
   owners_.check( changes, by );
   return changes;
}

void
LiveSwitch::passDue() {
   Ryx::activityManager()->clock()->handleTime();
}

void
LiveSwitch::applyNow( Item const& root, std::vector< Change > const& changes, Owner by ) {
   time_.refresh();
   passDue();
   if ( by == Owner::client ) {
      ++revision_;
      records_.add( changeRecord( revision_, root ) );
   }
   for ( Change const& change : changes ) {
      if ( isRelease( change ) && by == Owner::client && state( change.path ) ) {
         records_.add( { { "type", "release" }, { "interface", change.path.back() } } );
         released_.insert( change.path.back() );
      }
      if ( change.kind == Change::Kind::remove ) {
         tellGoing( change.path );
      }
      std::size_t const mount = Mounts::index( change.path.front() );
      if ( by != Owner::driver ) {
         changes_.rows.insert( rowOf( change.path, *mounts_.object( mount )->type() ) );
      }
   }
   mounts_.apply( root );
   for ( Change const& change : changes ) {
      forgetGone( change.path );
   }
   passDue();
   touch();
}

Revision
LiveSwitch::patch( Path const& path, std::string const& text, Acknowledge acknowledge ) {
   checkPath( path );
   Document const document = patchDocument( path, text );
   Item const root( document );
   if ( document.root().kind() != NodeKind::map ) {
      try {
         root.refuse( "a map of mounts" );
      } catch ( Failure const& failure ) {
         refuse( failure );
      }
   }
   auto const changes = check( root, Owner::client );
   applyNow( root, changes, Owner::client );
   if ( acknowledge ) {
      changes_.acknowledges.push_back( std::move( acknowledge ) );
   }
   return revision_;
}

void
LiveSwitch::apply( Document const& document, Owner by ) {
   Item const root( document );
   auto const changes = check( root, by );
   applyNow( root, changes, by );
}

void
LiveSwitch::fileIs( Document const& mounts ) {
   Item const root( mounts );
   auto const changes = check( root, Owner::file );
   auto const before = owners_.file();
   owners_.fileIs( changes );
   time_.refresh();
   passDue();
   for ( Path const& path : before ) {
      rowChanged( rowOf( path, *mounts_.object( Mounts::index( path.front() ) )->type() ) );
      if ( !owners_.isOfFile( path ) ) {
         unset( path );
      }
   }
   applyNow( root, changes, Owner::file );
}

// As if nobody had ever set it: an attribute gets its default, a member of a collection goes
// unless the file still has something in it.
void
LiveSwitch::unset( Path const& path ) {
   RowKey const row =
      rowOf( path, *mounts_.object( Mounts::index( path.front() ) )->type() );
   bool const isMember = row.size() == depthOfEntry;
   bool const isEntryLeft = isMember && owners_.isOfFile( row );
   Path const& gone = isMember && !isEntryLeft ? row : path;
   if ( state( gone ) && !( isEntryLeft && path == row ) ) {
      if ( isMember && !isEntryLeft ) {
         tellGoing( gone );
      }
      merge( around( gone, defaultOf( gone, row ) ) );
      forgetGone( gone );
   }
}

// An interface that is there is about to be removed.
void
LiveSwitch::tellGoing( Path const& path ) {
   if ( isInterface( path ) && state( path ) ) {
      records_.add( { { "type", "gone" }, { "interface", path.back() } } );
   }
}

void
LiveSwitch::forgetGone( Path const& path ) {
   if ( isInterface( path ) && !state( path ) ) {
      released_.erase( path.back() );
   }
}

TurnChanges
LiveSwitch::takeChanges() {
   // Between the start and the end of an instant it may have begun and be over again.
   double const start =
      secondsOf( mounts_.at( { mount::mlagProtoStatus, "portsErrdisabledWhen" } ) );
   if ( std::isfinite( start ) ) {
      delayStart_ = start;
   }
   return std::exchange( changes_, {} );
}

} // namespace ostra
