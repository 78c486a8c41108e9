// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <OstraMlag/OstraMlag>

#include <OstraMlag/Trace>
#include <Ryx/Registration>

namespace OstraMlag {

namespace {

// An observer of the previous child's end may have removed the new one already, which must
// then stay switched off.
template< class Child >
void
switchOnStored( Ryx::Ptr< Child > const& created, Ryx::Ptr< Child > const& stored ) {
   if ( stored == created ) {
      created->hasNotificationActiveIs( true );
   }
}

// Throws if a new reactor could not make its first copy. That comes before the present reactor
// is switched off: switched on again within a delivery, it would not hear of that change.
void
requireDirectories(
   Ryx::Ptr< Interface::PeerIntfStatusDir const > const& notifier,
   Ryx::Ptr< Interface::EthIntfStatusDir > const& ethIntfStatusDir,
   Ryx::Ptr< Interface::AllIntfStatusDir > const& allIntfStatusDir ) {
   if ( notifier && notifier->intfStatusIteratorConst() ) {
      Ryx::validPtr( ethIntfStatusDir );
      Ryx::validPtr( allIntfStatusDir );
   }
}

} // namespace

Agent::NotifieeConst::~NotifieeConst() = default;

Ryx::Ptr< Agent >
agentFactory( Ryx::Name name ) {
   return Agent::AgentIs( std::move( name ) );
}

Ryx::Ptr< Agent >
Agent::AgentIs( Ryx::Name name ) {
   return Ryx::validPtr( Ryx::make< Agent >( std::move( name ) ) );
}

Ryx::Ptr< Agent >
Agent::create( Ryx::Name const& name ) {
   return agentFactory( name );
}

Agent::~Agent() {
   ethPeerIntfStatusReactorDel();
   mlagErrdisableSmDel();
}

void
Agent::isNondestructingIs( bool nondestructing ) {
   Entity::isNondestructingIs( nondestructing );
}

Ryx::Ptr< EthPeerIntfStatusReactor >
Agent::ethPeerIntfStatusReactorIs(
   Ryx::Ptr< Interface::PeerIntfStatusDir const > const& notifier,
   Ryx::Ptr< Interface::EthIntfStatusDir > const& ethIntfStatusDir,
   Ryx::Ptr< Interface::AllIntfStatusDir > const& allIntfStatusDir ) {
   // An observer of what the reactor writes may drop the agent.
   Ryx::Ptr< Agent > const alive( this );
   auto present = ethPeerIntfStatusReactor_;
   bool const isKept = present && present->allIntfStatusDir() == allIntfStatusDir &&
      present->ethIntfStatusDir() == ethIntfStatusDir;
   if ( !isKept ) {
      requireDirectories( notifier, ethIntfStatusDir, allIntfStatusDir );
   }
   auto watched = present ? present->notifier() : nullptr;
   bool const wasRegistered = present && present->isRegisteredNotifiee();
   if ( present ) {
      present->notifierIs( notifier );
   }
   if ( isKept ) {
      return present;
   }
   try {
      auto created = Ryx::validPtr(
         newEthPeerIntfStatusReactor( notifier, ethIntfStatusDir, allIntfStatusDir ) );
      // Observers of their end are told before the new one is switched on.
      watched = nullptr;
      present = nullptr;
      ethPeerIntfStatusReactor_ = created;
      switchOnStored( created, ethPeerIntfStatusReactor_ );
      return created;
   } catch ( ... ) {
      // Without another one the present one goes on as it was, if it is still present.
      if ( present && present == ethPeerIntfStatusReactor_ ) {
         present->notifierIs( watched );
         present->isRegisteredNotifieeIs( wasRegistered );
      }
      throw;
   }
}

Ryx::Ptr< EthPeerIntfStatusReactor >
Agent::newEthPeerIntfStatusReactor(
   Ryx::Ptr< Interface::PeerIntfStatusDir const > const& notifier,
   Ryx::Ptr< Interface::EthIntfStatusDir > const& ethIntfStatusDir,
   Ryx::Ptr< Interface::AllIntfStatusDir > const& allIntfStatusDir ) {
   auto created =
      Ryx::make< EthPeerIntfStatusReactor >( notifier, ethIntfStatusDir, allIntfStatusDir );
   created->hasNotificationActiveIs( true );
   return created;
}

Ryx::Ptr< EthPeerIntfStatusReactor >
Agent::ethPeerIntfStatusReactorDel() {
   auto removed = std::exchange( ethPeerIntfStatusReactor_, nullptr );
   if ( removed ) {
      removed->hasNotificationActiveIs( false );
   }
   return removed;
}

Ryx::Ptr< Agent::ErrdisableSm >
Agent::machineIs( MachineInputs const& inputs ) {
   Ryx::Ptr< Agent > const alive( this );
   if ( mlagErrdisableSm_ && mlagErrdisableSm_->inputs() == inputs ) {
      return mlagErrdisableSm_;
   }
   auto created = Ryx::validPtr( newMachine( inputs ) );
   mlagErrdisableSm_ = created;
   switchOnStored( created, mlagErrdisableSm_ );
   return created;
}

// Switched on, as all children are.
Ryx::Ptr< Agent::ErrdisableSm >
Agent::newMachine( MachineInputs const& inputs ) {
   auto created = inputs.apply( []( auto const&... input ) {
      return Mlag::Ostra::mlagErrdisableSmFactory( input... );
   } );
   created->hasNotificationActiveIs( true );
   return created;
}

Ryx::Ptr< Agent::ErrdisableSm >
Agent::mlagErrdisableSmDel() {
   auto removed = std::exchange( mlagErrdisableSm_, nullptr );
   if ( removed ) {
      removed->hasNotificationActiveIs( false );
   }
   return removed;
}

namespace {

// The handle is made by the first use and gone with the library; the channel stays.
Ryx::TraceChannel const&
traceChannel() {
   static Ryx::TraceHandle const handle( "OstraMlag", false );
   return handle.channel();
}

} // namespace

Ryx::TraceChannel const& traces = traceChannel();

namespace {

using Unit = Ryx::UnitRegistration< EthPeerIntfStatusReactor, Agent >;
[[gnu::init_priority( Ryx::unitPriority )]] Unit const unit( "OstraMlag" );

} // namespace

} // namespace OstraMlag
