// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/account/WriteBatch>

#include <host/state/MountTable>

namespace ostra {

namespace {

using Kovel::IntfId;

HolderKind
holdKind( PortClass portClass ) {
   return portClass == PortClass::mlag ? HolderKind::mlagPort : HolderKind::nonMlagPort;
}

// Of a port-channel's LACP configuration, or of just that attribute of it.
bool
isStandby( Json const& value ) {
   return value.is_object() ? value.value( "stayInStandby", false ) : value == Json( true );
}

} // namespace

void
Changes::change( IntfId id, bool isIn ) {
   auto const [ found, isNew ] = changes_.try_emplace( id, isIn );
   if ( !isNew && found->second != isIn ) {
      changes_.erase( found );
   }
}

std::vector< IntfId >
Changes::idsWith( bool isIn ) const {
   std::vector< IntfId > ids;
   for ( auto const& [ id, in ] : changes_ ) {
      if ( in == isIn ) {
         ids.push_back( id );
      }
   }
   return ids;
}

void
WriteBatch::begin() {
   delayRan_ = delayRuns_ = facts_.isDelayRunning();
   for ( IntfId const id : facts_.keys( { mount::mlagissuCause, "intfStatus" } ) ) {
      holdPort( id, std::nullopt );
   }
   for ( IntfId const id : facts_.keys( { mount::lacpConfig, "portChannel" } ) ) {
      if ( isStandby( facts_.at( { mount::lacpConfig, "portChannel", id.string() } ) ) ) {
         hold( HolderKind::standby, id, std::nullopt );
      }
   }
}

void
WriteBatch::write( Milliseconds at, WriteRecord const& record ) {
   auto const& path = record.path;
   if ( path.size() > 2 ) {
      writeEntry( at, path, record.value );
   } else if ( path.back() == "portsErrdisabled" ) {
      delayRuns_ = record.value == Json( true );
   }
}

void
WriteBatch::writeEntry(
   Milliseconds at, std::vector< std::string > const& path, Json const& value ) {
   std::string const& name = path[ 0 ];
   IntfId const id( path[ 2 ] );
   bool const isIn = !value.is_null();
   if ( name == mount::mlagissuCause ) {
      writePort( at, id, isIn );
   } else if ( name == mount::lacpConfig ) {
      writeStandby( at, id, isStandby( value ) );
   } else if ( name == mount::igmpsnoopingConfig ) {
      forced_.change( id, isIn );
   } else if ( name == mount::ethIntfStatusDir ) {
      ethStatus_.change( id, isIn );
   } else if ( name == mount::allIntfStatusDir ) {
      allStatus_.change( id, isIn );
   }
}

void
WriteBatch::clear() {
   held_.clear();
   released_.clear();
   heldAgain_.clear();
   releasedIds_.clear();
   forced_ = {};
   ethStatus_ = {};
   allStatus_ = {};
   delayRan_ = delayRuns_;
}

std::optional< bool >
WriteBatch::delayRuns() const {
   return delayRuns_ == delayRan_ ? std::nullopt : std::optional( delayRuns_ );
}

void
WriteBatch::hold( HolderKind kind, IntfId id, HoldTime from ) {
   bool const isStandby = kind == HolderKind::standby;
   if ( isStandby ? ledger_.isInStandby( id ) : ledger_.isErrdisabled( id ) ) {
      return;
   }
   auto& held = releasedIds_.contains( { isStandby, id } ) ? heldAgain_ : held_;
   held.push_back( { id, kind, from } );
   ledger_.begin( held.back() );
}

void
WriteBatch::holdPort( IntfId id, HoldTime from ) {
   hold( holdKind( facts_.classOf( id ) ), id, from );
}

void
WriteBatch::release( std::optional< Hold > const& hold ) {
   if ( hold ) {
      released_.push_back( *hold );
      releasedIds_.insert( { hold->kind == HolderKind::standby, hold->id } );
   }
}

void
WriteBatch::writePort( Milliseconds at, IntfId id, bool held ) {
   held ? holdPort( id, at ) : release( ledger_.takeErrdisabled( id ) );
}

void
WriteBatch::writeStandby( Milliseconds at, IntfId id, bool standby ) {
   standby ? hold( HolderKind::standby, id, at ) : release( ledger_.takeStandby( id ) );
}

} // namespace ostra
