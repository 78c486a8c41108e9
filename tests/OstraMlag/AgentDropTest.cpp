// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// An agent that goes while it sets a child: whoever hears of what the child writes may be
// the last to have held it.

#include <OstraMlag/Inputs>

#include <gtest/gtest.h>

#include <functional>

namespace {

// Does something at the first change of an entity.
class AtFirstChange final : public Ryx::Entity::NotifieeConst {
 public:
   AtFirstChange( Ptr< Ryx::Entity const > const& entity, std::function< void() > action )
         : action_( std::move( action ) ) {
      notifierIs( entity );
      isRegisteredNotifieeIs( true );
   }
   bool isStreamAdapter() const override { return true; }
   void onAttribute( Ryx::AttributeId ) override { act(); }
   void onCollectionNotification( Ryx::String8 ) override { act(); }

 private:
   void act() {
      if ( action_ ) {
         std::exchange( action_, nullptr )();
      }
   }

   std::function< void() > action_;
};

TEST( AgentDrop, MayBeWhileThePeerReactorCopies ) {
   Directories dirs;
   dirs.peerIs( "PeerEthernet1" );
   auto* const agent = OstraMlag::agentFactory( "agent" ).release();
   auto const watch =
      Ryx::make< AtFirstChange >( dirs.eth, [ agent ] { agent->deleteReference(); } );
   auto const reactor = agent->ethPeerIntfStatusReactorIs( dirs.peer, dirs.eth, dirs.all );
   EXPECT_FALSE( reactor->hasNotificationActive() );
   EXPECT_EQ( dirs.having( "PeerEthernet1" ), ( Calls{ "eth", "all" } ) );
}

TEST( AgentDrop, MayBeWhileTheMachineStarts ) {
   MachineInputs inputs;
   auto* const agent = OstraMlag::agentFactory( "agent" ).release();
   auto const watch = Ryx::make< AtFirstChange >(
      inputs.mlagProtoStatus, [ agent ] { agent->deleteReference(); } );
   auto const machine = inputs.setIn( *agent );
   EXPECT_TRUE( machine->initialized() );
   EXPECT_FALSE( machine->hasNotificationActive() );
}

} // namespace
