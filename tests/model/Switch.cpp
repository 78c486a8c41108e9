// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <model/Switch>

#include <algorithm>
#include <cmath>
#include <utility>

namespace model {

std::int64_t
millisecondOf( double wake ) {
   auto ms = static_cast< std::int64_t >( std::floor( wake * 1000.0 ) ) - 1;
   while ( static_cast< double >( ms ) / 1000.0 < wake ) {
      ++ms;
   }
   return ms;
}

Mounts
rebooted( Mounts const& mounts ) {
   Mounts fresh = mounts;
   unsigned number = 0;
   for ( auto* dir : { &fresh.lagInputIntfStatus,
                       &fresh.peerIntfStatus,
                       &fresh.ethIntfStatus,
                       &fresh.allIntfStatus } ) {
      for ( auto& [ key, status ] : *dir ) {
         int const link = status.object->linkStatus;
         status.object = std::make_shared< Status >( Status{ ++number, link } );
      }
   }
   return fresh;
}

Switch::Switch( Mounts const& mounts, std::int64_t startMs, Plugin plugin )
      : env_( rebooted( mounts ), startMs ) {
   for ( auto const* dir : { &env_.mounts.lagInputIntfStatus,
                             &env_.mounts.peerIntfStatus,
                             &env_.mounts.ethIntfStatus,
                             &env_.mounts.allIntfStatus } ) {
      statuses_ += static_cast< unsigned >( dir->size() );
   }
   if ( plugin == Plugin::loaded ) {
      apply( AgentStep::setAll );
   }
}

StatusRef
Switch::newStatus( int linkStatus ) {
   return { std::make_shared< Status >( Status{ ++statuses_, linkStatus } ) };
}

void
Switch::apply( AgentStep step ) {
   bool const sets = step == AgentStep::setAll || step == AgentStep::setPeerReactor ||
      step == AgentStep::setMachine;
   hasAgent_ = step != AgentStep::del && ( sets || hasAgent_ );
   // What is set again on the same mounts is the one kept.
   if ( ( step == AgentStep::setAll || step == AgentStep::setPeerReactor ) && !peer_ ) {
      peer_.emplace( env_ );
   }
   if ( ( step == AgentStep::setAll || step == AgentStep::setMachine ) && !machine_ ) {
      machine_.emplace( env_ );
   }
   if ( step == AgentStep::del || step == AgentStep::delPeerReactor ) {
      peer_.reset();
   }
   if ( step == AgentStep::del || step == AgentStep::delMachine ) {
      delMachine();
   }
}

void
Switch::delMachine() {
   if ( machine_ ) {
      machine_->destroy();
      machine_.reset();
   }
}

void
Switch::apply( Wait const& wait ) {
   double const last = static_cast< double >( wait.untilMs ) / 1000.0;
   while ( machine_ && machine_->nextWake() <= last ) {
      env_.ms = std::max( env_.ms, millisecondOf( machine_->nextWake() ) );
      machine_->wakeUp();
   }
   env_.ms = wait.untilMs;
}

Sight
Switch::sight() const {
   Sight sight;
   sight.mounts = env_.mounts;
   sight.hasAgent = hasAgent_;
   sight.hasPeerReactor = peer_.has_value();
   if ( machine_ ) {
      sight.machine = machine_->state();
      sight.nextWake = machine_->nextWake();
   }
   return sight;
}

Journal
Switch::take() {
   return std::exchange( env_.journal, {} );
}

Peer::Peer( Environment& environment ) : env_( environment ) {
   for ( auto const& [ key, status ] : env_.mounts.peerIntfStatus ) {
      insert( key, status );
   }
}

void
Peer::insert( Id const& key, StatusRef const& status ) {
   env_.ethIntfStatusIs( key, status );
   env_.allIntfStatusIs( key, status );
}

void
Peer::onIntfStatus( Id const& key ) {
   auto const it = env_.mounts.peerIntfStatus.find( key );
   if ( it != env_.mounts.peerIntfStatus.end() ) {
      insert( key, it->second );
   } else {
      env_.ethIntfStatusDel( key );
      env_.allIntfStatusDel( key );
   }
}

} // namespace model
