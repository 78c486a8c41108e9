// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <fuzz/plugin/Invariants>

#include <fuzz/Require>

#include <cmath>

namespace fuzz {

class Invariants::CauseWatch final : public Errdisable::CauseStatus::NotifieeConst {
 public:
   CauseWatch( Switch const& sw, Invariants& invariants ) : invariants_( invariants ) {
      notifierIs( sw.mlagissuCause );
      isRegisteredNotifieeIs( true );
   }
   using Errdisable::CauseStatus::NotifieeConst::onIntfStatus;
   void onIntfStatus( Kovel::IntfId id ) override {
      if ( notifier()->intfStatusHas( id ) ) {
         invariants_.caused( id );
      }
   }

 private:
   Invariants& invariants_;
};

Invariants::Invariants( Switch& sw )
      : sw_( sw ), watch_( Ryx::make< CauseWatch >( sw, *this ) ) {
   Ryx::logSinkIs( this );
}

Invariants::~Invariants() {
   Ryx::logSinkIs( nullptr );
}

void
Invariants::caused( Kovel::IntfId id ) {
   auto const machine = sw_.machine();
   if ( !machine && !sw_.starting ) {
      return;
   }
   bool const mlag = sw_.isMlag( id );
   require( sw_.mlagissuCause->intfStatus( id ).when == sw_.now(), id, " not held now" );
   require( cause_.count( id ) == 0, id, " held again" );
   require( sw_.isPresent( id ), id, " held, not present" );
   require( !Switch::isExempt( id ), id, " held, exempt" );
   require( !sw_.isPeerLink( id ), id, " held, peer link" );
   require(
      sw_.starting || isInfinite( sw_.delay( mlag ) ) || Switch::isHeld( *machine, mlag ),
      id,
      " held after its class" );
}

void
Invariants::log( Ryx::LogRecord const& record ) {
   bool const mlag = record.text.find( "non MLAG" ) == std::string::npos;
   auto const machine = sw_.machine();
   require( machine && Switch::isHeld( *machine, mlag ), "not held: ", record.text );
   if ( !mlag && sw_.nonMlagTimerIsOld ) {
      return;
   }
   auto const digits = record.text.find_first_of( "0123456789" );
   require( digits != std::string::npos, "no number: ", record.text );
   double const left = std::stod( record.text.substr( digits ) );
   double const delay = sw_.delay( mlag );
   require( left >= 1, "nothing left: ", record.text );
   // Differences of times are not exact, and what is left is rounded up.
   require(
      left <= std::ceil( delay * 0.25 + 1e-6 ), "more than a quarter: ", record.text );
   require( delay > 10, "short: ", record.text );
   require( ++classes_[ mlag ].messages <= 2, "third message: ", record.text );
}

void
Invariants::check() {
   auto const machine = sw_.machine();
   if ( machine ) {
      checkMachine( *machine );
   }
   if ( machine || generation_ != sw_.generation ) {
      checkSnooping( machine.ptr() );
   }
   checkPeers();
   remember( machine.ptr() );
}

void
Invariants::checkMachine( Machine& machine ) {
   auto const& status = *sw_.mlagProtoStatus;
   bool const held = Switch::isHeld( machine, true ) || Switch::isHeld( machine, false );
   require( status.portsErrdisabled() == held, "portsErrdisabled is not ", held );
   require( isInfinite( status.portsErrdisabledWhen() ) != held, "the start of a period" );
   bool const isNew = generation_ != sw_.generation;
   for ( bool mlag : { true, false } ) {
      bool const wasHeld = isNew || classes_[ mlag ].held;
      require( wasHeld || !Switch::isHeld( machine, mlag ), "held again: ", mlag );
      checkPeriod( machine, mlag );
      if ( wasHeld && !Switch::isHeld( machine, mlag ) ) {
         checkRelease( machine, mlag );
      }
   }
   checkCause( isNew );
   if ( isNew && held ) {
      for ( Kovel::IntfId id : keys( sw_.ethPhyIntfStatus->intfStatusIteratorConst() ) ) {
         checkHeld( machine, id );
      }
   } else if ( sw_.appeared ) {
      checkHeld( machine, sw_.appeared );
   }
}

void
Invariants::checkPeriod( Machine& machine, bool mlag ) {
   Ryx::Seconds const wake = Switch::wakeTime( machine, mlag );
   if ( !Switch::isHeld( machine, mlag ) ) {
      require( isInfinite( wake ), "released, but a timer runs: ", mlag );
      return;
   }
   if ( !mlag && sw_.nonMlagTimerIsOld ) {
      return;
   }
   Ryx::Seconds const delay = sw_.delay( mlag );
   require( isInfinite( wake ) == isInfinite( delay ), "timer ", wake, " of ", delay );
   if ( !isInfinite( delay ) ) {
      require( wake > sw_.now(), "timer in the past: ", wake );
      require(
         wake <= delay + sw_.mlagProtoStatus->portsErrdisabledWhen(), "late: ", wake );
   }
}

void
Invariants::checkRelease( Machine& machine, bool mlag ) {
   for ( Kovel::IntfId id : keys( sw_.mlagissuCause->intfStatusIteratorConst() ) ) {
      require( sw_.isMlag( id ) != mlag, id, " left in the cause" );
   }
   if ( !mlag ) {
      return;
   }
   require( keys( machine.lagsInStandbyIteratorConst() ).empty(), "standby is left" );
   // What an earlier machine held in standby stays there.
   for ( Kovel::IntfId id : generation_ == sw_.generation ? standby_ : Ids() ) {
      auto const config = sw_.lacpConfig->portChannel( id );
      require( !config || !config->stayInStandby(), id, " left in standby" );
   }
}

void
Invariants::checkCause( bool isNew ) {
   for ( auto it = sw_.mlagissuCause->intfStatusIteratorConst(); it; ++it ) {
      Kovel::IntfId const id = it.key();
      bool const own = foreignCause_.count( id ) == 0;
      require( !own || sw_.isPresent( id ), id, " is gone but held" );
      auto const before = cause_.find( id );
      require(
         isNew || before == cause_.end() ||
            before->second == sw_.mlagissuCause->intfStatus( id ).when,
         id,
         " has another time" );
   }
}

void
Invariants::checkHeld( Machine& machine, Kovel::IntfId id ) const {
   bool const mlag = sw_.isMlag( id );
   bool const holds =
      isInfinite( sw_.delay( mlag ) ) || !isInfinite( Switch::wakeTime( machine, mlag ) );
   bool const eligible = holds && !Switch::isExempt( id ) && !sw_.isPeerLink( id ) &&
      !sw_.mlagConfig->lacpStandby();
   require( !eligible || sw_.mlagissuCause->intfStatusHas( id ), id, " is not held" );
}

void
Invariants::checkSnooping( Machine* machine ) const {
   for ( Kovel::IntfId id :
         keys( sw_.igmpsnoopingConfig->forceEnabledPortsIteratorConst() ) ) {
      bool const tracked = machine && machine->portChannelTracker( id );
      require( tracked || foreignSnooping_.count( id ) != 0, id, " has no tracker" );
   }
   if ( !machine ) {
      return;
   }
   for ( auto it = machine->memberToPortChannelIteratorConst(); it; ++it ) {
      auto const tracker = machine->memberToPortChannel( it.key() );
      require( sw_.isPresent( it.key() ), it.key(), " is gone, its tracker not" );
      require(
         machine->portChannelTracker( tracker->intfId() ) == tracker,
         it.key(),
         " has a tracker of its own" );
   }
}

void
Invariants::checkPeers() const {
   if ( !sw_.agent || !sw_.agent->ethPeerIntfStatusReactor() ) {
      return;
   }
   for ( auto it = sw_.peerIntfStatusDir->intfStatusIteratorConst(); it; ++it ) {
      Ryx::PtrInterface const* const own =
         sw_.peerIntfStatusDir->intfStatus( it.key() ).ptr();
      require( sw_.ethIntfStatusDir->intfStatus( it.key() ).ptr() == own, it.key() );
      require( sw_.allIntfStatusDir->intfStatus( it.key() ).ptr() == own, it.key() );
   }
   for ( Kovel::IntfId id : keys( sw_.ethIntfStatusDir->intfStatusIteratorConst() ) ) {
      bool const known =
         sw_.peerIntfStatusDir->intfStatus( id ) || sw_.stalePeers.count( id );
      require( known, id, " is no peer's any more" );
   }
}

void
Invariants::remember( Machine* machine ) {
   bool const isNew = generation_ != sw_.generation;
   generation_ = sw_.generation;
   cause_.clear();
   Ids held;
   for ( auto it = sw_.mlagissuCause->intfStatusIteratorConst(); it; ++it ) {
      cause_[ it.key() ] = sw_.mlagissuCause->intfStatus( it.key() ).when;
      if ( !machine || foreignCause_.count( it.key() ) != 0 ) {
         held.insert( it.key() );
      }
   }
   foreignCause_ = held;
   if ( !machine ) {
      foreignSnooping_ = keys( sw_.igmpsnoopingConfig->forceEnabledPortsIteratorConst() );
   }
   standby_ = machine ? keys( machine->lagsInStandbyIteratorConst() ) : Ids();
   for ( bool mlag : { true, false } ) {
      Class const now{ machine && Switch::isHeld( *machine, mlag ),
                       sw_.delay( mlag ),
                       sw_.mlagProtoStatus->portsErrdisabledWhen(),
                       0 };
      Class& before = classes_[ mlag ];
      bool const samePeriod =
         !isNew && before.delay == now.delay && before.start == now.start;
      unsigned const messages = samePeriod ? before.messages : 0;
      before = now;
      before.messages = messages;
   }
}

} // namespace fuzz
