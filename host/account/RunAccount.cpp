// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/account/RunAccount>

#include <host/state/MountTable>

#include <Ryx/Time>

#include <cmath>
#include <utility>

namespace ostra {

RunAccount::RunAccount( StateView const& state, TakeBatch take )
      : zero_( Ryx::now() ),
        facts_( state ),
        take_( std::move( take ) ),
        roll_( facts_, ledger_ ),
        batch_( facts_, ledger_ ) {
   batch_.begin();
   auto const ids = facts_.keys( { mount::igmpsnoopingConfig, "forceEnabledPorts" } );
   forced_.insert( ids.begin(), ids.end() );
}

void
RunAccount::reach( Milliseconds at ) {
   if ( at != at_ ) {
      if ( isOpen_ ) {
         settle();
      }
      at_ = at;
      event_ = nullptr;
   }
}

void
RunAccount::write( Milliseconds at, WriteRecord const& record ) {
   reach( at );
   isOpen_ = true;
   batch_.write( at, record );
}

void
RunAccount::event( Milliseconds at, Json patch ) {
   reach( at );
   settle();
   event_ = std::move( patch );
   roll_.event( at, event_ );
   isOpen_ = true;
}

void
RunAccount::settle() {
   isOpen_ = false;
   bool const isFirst = std::exchange( isFirst_, false );
   ReleaseReason const reason( facts_, ledger_, event_, isFirst );
   for ( auto const* holds : { &batch_.held(), &batch_.released(), &batch_.heldAgain() } ) {
      for ( Hold const& hold : *holds ) {
         roll_.hold( hold );
      }
   }
   PortCensus const census = roll_.call( isFirst );
   take_( { at_, isFirst, batch_, reason, census } );
   keep( reason, isFirst );
   batch_.clear();
}

void
RunAccount::keep( ReleaseReason const& reason, bool isFirst ) {
   for ( Hold const& hold : batch_.released() ) {
      ledger_.close( hold, at_, reason.of( hold ) );
   }
   if ( !batch_.released().empty() || ( isFirst && batch_.held().empty() ) ) {
      wasConfigMissing_ = !facts_.missingConfig().empty();
   }
   for ( Kovel::IntfId const id : batch_.forced().begun() ) {
      forced_.insert( id );
   }
   for ( Kovel::IntfId const id : batch_.forced().ended() ) {
      forced_.erase( id );
   }
   follow( PortClass::mlag );
   follow( PortClass::nonMlag );
}

// A class of which no port is held is released without a record: the clock says when.
void
RunAccount::follow( PortClass portClass ) {
   auto& periods = periods_[ portClass == PortClass::mlag ? 0 : 1 ];
   bool const isOpen = !periods.empty() && !periods.back().to;
   bool const isHeld = facts_.isHeld( portClass );
   Milliseconds const now( std::llround( ( Ryx::now() - zero_ ) * 1000 ) );
   if ( isHeld && !isOpen ) {
      periods.push_back( { now, std::nullopt } );
   } else if ( !isHeld && isOpen ) {
      periods.back().to = now;
   }
}

std::vector< Kovel::IntfId >
RunAccount::forced() const {
   return { forced_.begin(), forced_.end() };
}

} // namespace ostra
