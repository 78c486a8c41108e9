// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/Owners>

#include <host/state/MountTable>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>

namespace ostra {

namespace {

constexpr std::string_view anyKey = "*";

// What the plug-in writes, with everything below it.
std::array< Path, 7 > const pluginPaths = { {
   { mount::mlagProtoStatus, "portsErrdisabled" },
   { mount::mlagProtoStatus, "portsErrdisabledWhen" },
   { mount::mlagissuCause },
   { mount::igmpsnoopingConfig },
   { mount::lacpConfig, "portChannel", std::string( anyKey ), "stayInStandby" },
   { mount::ethIntfStatusDir },
   { mount::allIntfStatusDir },
} };

bool
isBelow( Path const& path, Path const& above ) {
   return path.size() >= above.size() &&
      std::equal(
             above.begin(), above.end(), path.begin(), []( auto const& a, auto const& b ) {
                return a == anyKey || a == b;
             } );
}

bool
isOfPlugin( Path const& path ) {
   return std::any_of( pluginPaths.begin(), pluginPaths.end(), [ & ]( Path const& above ) {
      return isBelow( path, above );
   } );
}

void
addChanges( Item const& item, std::vector< Change >& changes ) {
   bool const isMap = item.node().kind() == NodeKind::map;
   if ( isMap && !item.node().isEmptyMap() ) {
      item.forEachEntry( "", [ & ]( Item const& entry ) { addChanges( entry, changes ); } );
      return;
   }
   Change::Kind const kind = isMap ? Change::Kind::addEntry
      : item.isNull()              ? Change::Kind::remove
                                   : Change::Kind::set;
   Change change{ kind, item.keys() };
   // An empty map of a whole mount or collection changes nothing.
   if ( kind != Change::Kind::addEntry || change.path.size() >= depthOfEntry ) {
      changes.push_back( std::move( change ) );
   }
}

} // namespace

std::string_view
nameOf( Owner owner ) {
   switch ( owner ) {
   case Owner::client:
      return "the clients";
   case Owner::file:
      return "the configuration file";
   case Owner::driver:
      return "the driver";
   case Owner::plugin:
      break;
   }
   return "the plug-in";
}

PatchRefusal::PatchRefusal( Kind kind, Complaint complaint )
      : std::runtime_error( fmt::format(
           "{}{}{}{}{}",
           complaint.where,
           complaint.where.empty() ? "" : ": ",
           complaint.found,
           complaint.expected.empty() ? "" : ": expected ",
           complaint.expected ) ),
        kind_( kind ),
        complaint_( std::move( complaint ) ) {}

std::vector< Change >
changesOf( Item const& patch ) {
   std::vector< Change > changes;
   addChanges( patch, changes );
   return changes;
}

bool
isRelease( Change const& change ) {
   return change.kind == Change::Kind::remove && change.path.size() == depthOfEntry &&
      change.path.front() == mount::mlagissuCause;
}

void
Owners::fileIs( std::vector< Change > const& changes ) {
   file_.clear();
   for ( Change const& change : changes ) {
      file_.insert( change.path );
   }
}

void
Owners::driverIs( std::vector< std::string > mounts ) {
   driver_ = std::move( mounts );
}

bool
Owners::isOfFile( Path const& path ) const {
   auto const found = file_.lower_bound( path );
   return found != file_.end() && isBelow( *found, path );
}

Owner
Owners::ownerOf( Path const& path ) const {
   if ( isOfPlugin( path ) ) {
      return Owner::plugin;
   }
   if (
      !path.empty() &&
      std::find( driver_.begin(), driver_.end(), path.front() ) != driver_.end() ) {
      return Owner::driver;
   }
   return isOfFile( path ) ? Owner::file : Owner::client;
}

Owner
Owners::ownerOf( Change const& change, Owner by ) const {
   Owner const owner = ownerOf( change.path );
   switch ( owner ) {
   case Owner::plugin:
      return by == Owner::client && isRelease( change ) ? by : owner;
   case Owner::file:
      // An entry that is there stays what it is, and the driver reports what it sees.
      return change.kind == Change::Kind::addEntry ? by : owner;
   default:
      return owner == Owner::client ? by : owner;
   }
}

void
Owners::check( std::vector< Change > const& changes, Owner by ) const {
   for ( Change const& change : changes ) {
      Owner const owner = ownerOf( change, by );
      if ( owner != by ) {
         throw PatchRefusal(
            PatchRefusal::Kind::notOwned,
            { fmt::format( "{}", fmt::join( change.path, "." ) ),
              fmt::format( "owned by {}", nameOf( owner ) ),
              fmt::format(
                 "what {} own{}", nameOf( by ), by == Owner::client ? "" : "s" ) } );
      }
   }
}

} // namespace ostra
