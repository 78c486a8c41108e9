// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Callbacks that throw, notifiees whose type does not know an attribute, and notifiees
// that are called by the event loop.

#include "CoreDoubles"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using doubles::Calls;
using doubles::EntityWatcher;
using doubles::FastPort;
using doubles::FastPortWatcher;
using doubles::Port;
using doubles::PortWatcher;
using doubles::watch;
using doubles::Watcher;
using Ryx::Ptr;

class DeliveryExceptionTest : public testing::Test {
 protected:
   Calls calls;
   Ptr< FastPort > const port = Ryx::make< FastPort >( 1u );
   Ptr< FastPortWatcher > const a = watch< FastPortWatcher >( "a", calls, port );
   Ptr< PortWatcher > const b = watch( "b", calls, port );
};

TEST_F( DeliveryExceptionTest, ItGoesToTheNotifieeItCameFromAndTheOthersAreCalled ) {
   a->action = [] { throw std::runtime_error( "no" ); };
   EXPECT_NO_THROW( port->speedIs( 1 ) );
   EXPECT_EQ( calls, ( Calls{ "a speed 1", "a exception 259", "b speed 1" } ) );
   EXPECT_EQ( port->speed(), 1u );
}

TEST_F( DeliveryExceptionTest, AnExceptionOfAnyTypeIsCaught ) {
   a->action = [] { throw 7; };
   b->action = [] { Ryx::throwRangeException( "no" ); };
   EXPECT_NO_THROW( port->labelIs( "x" ) );
   EXPECT_EQ(
      calls, ( Calls{ "a label x", "a exception 260", "b label x", "b exception 260" } ) );
}

TEST_F( DeliveryExceptionTest, CarriesTheIdOfACollection ) {
   a->action = [] { throw 7; };
   port->powerIs( 4, 1.5 );
   EXPECT_EQ( calls, ( Calls{ "a power 4", "a exception 262" } ) );
}

TEST_F( DeliveryExceptionTest, OneThatIsThrownAboutAnExceptionGoesNoFarther ) {
   a->action = [ & ] {
      a->action = [] { throw std::runtime_error( "again" ); };
      throw std::runtime_error( "no" );
   };
   EXPECT_NO_THROW( port->speedIs( 1 ) );
   EXPECT_EQ( calls, ( Calls{ "a speed 1", "a exception 259", "b speed 1" } ) );
   a->action = [ & ] {
      a->action = [] { throw 8; };
      throw 7;
   };
   EXPECT_NO_THROW( port->speedIs( 2 ) );
}

TEST_F( DeliveryExceptionTest, LeavesNoExpectScopeOpen ) {
   a->action = [ & ] {
      a->action = [] { EXPECT_EQ( Ryx::Expect::innermost(), nullptr ); };
      throw 7;
   };
   port->speedIs( 1 );
   EXPECT_EQ( Ryx::Expect::innermost(), nullptr );
}

TEST_F( DeliveryExceptionTest, DeliveryIsTheSameTheNextTime ) {
   a->action = [] { throw 7; };
   port->speedIs( 1 );
   calls.clear();
   port->speedIs( 2 );
   EXPECT_EQ( calls, ( Calls{ "a speed 2", "b speed 2" } ) );
   EXPECT_EQ( a->references(), 1u );
}

TEST_F( DeliveryExceptionTest, OfZeroReferencesCarriesTheirId ) {
   auto gone = Ryx::make< Port >( 9u );
   auto const weak = doubles::watchWeakly( "weak", calls, gone );
   weak->action = [] { throw 7; };
   gone = nullptr;
   EXPECT_EQ( calls, ( Calls{ "weak zero", "weak exception 5" } ) );
   EXPECT_EQ( weak->notifier(), nullptr );
}

// A notifiee hears of the attributes that its own type knows.

class LevelTest : public testing::Test {
 protected:
   Calls calls;
   Ptr< FastPort > const port = Ryx::make< FastPort >( 1u );
};

TEST_F( LevelTest, ANotifieeOfTheBaseHearsWhatTheBaseDeclares ) {
   auto const base = watch( "base", calls, port );
   auto const derived = watch< FastPortWatcher >( "derived", calls, port );
   port->lanesIs( 4 );
   port->powerIs( 2, 1.5 );
   port->speedIs( 1 );
   EXPECT_EQ(
      calls,
      ( Calls{ "derived lanes", "derived power 2", "base speed 1", "derived speed 1" } ) );
}

TEST_F( LevelTest, ANotifieeOfEveryEntityHearsTheLifeCycleOnly ) {
   auto const entity = watch< EntityWatcher >( "entity", calls, port );
   port->speedIs( 1 );
   port->lanesIs( 4 );
   port->isNondestructingIs( true );
   port->isNondestructingIs( false );
   EXPECT_EQ( calls, ( Calls{ "entity nondestructing", "entity nondestructing" } ) );
}

TEST_F( LevelTest, ANotifieeOfTheRootHearsOfZeroReferencesOnly ) {
   Ptr< Port > gone = Ryx::make< Port >( 2u );
   auto const plain = doubles::watchWeakly< Watcher >( "plain", calls, gone );
   gone->speedIs( 1 );
   gone->isNondestructingIs( true );
   gone->isNondestructingIs( false );
   gone = nullptr;
   EXPECT_EQ( calls, Calls{ "plain zero" } );
}

TEST_F( LevelTest, ANotifieeOfTheDerivedTypeCannotWatchTheBase ) {
   auto const derived =
      watch< FastPortWatcher >( "derived", calls, Ryx::make< Port >( 2u ) );
   EXPECT_EQ( derived->notifier(), nullptr );
}

TEST_F( LevelTest, AStreamAdapterHearsOfWhatItsTypeDoesNotKnowById ) {
   auto const adapter = watch( "adapter", calls, port );
   adapter->isAdapter = true;
   port->lanesIs( 4 );
   port->powerIs( 12, 1.5 );
   port->speedIs( 1 );
   EXPECT_EQ(
      calls, ( Calls{ "adapter attribute 261", "adapter power/12", "adapter speed 1" } ) );
}

TEST_F( LevelTest, AStreamAdapterOfTheRootHearsEverything ) {
   auto const adapter = watch< Watcher >( "adapter", calls, port );
   adapter->isAdapter = true;
   port->isNondestructingIs( true );
   port->isNondestructingIs( false );
   port->parentIs( Ryx::make< Port >( 2u ) );
   port->speedIs( 1 );
   port->powerIs( 12, 1.5 );
   EXPECT_EQ(
      calls,
      ( Calls{ "adapter attribute 6",
               "adapter attribute 6",
               "adapter attribute 256",
               "adapter attribute 259",
               "adapter power/12" } ) );
}

TEST_F( LevelTest, ANotifieeIsAskedOnceWhetherItIsAStreamAdapter ) {
   class Undecided final : public Ryx::PtrInterface::NotifieeConst {
    public:
      bool isStreamAdapter() const override { return ++asked == 1; }
      void onCollectionNotification( Ryx::String8 member ) override { heard = member; }
      mutable unsigned asked = 0;
      Ryx::String8 heard;
   };
   auto const adapter = Ryx::make< Undecided >();
   adapter->notifierIs( port );
   adapter->isRegisteredNotifieeIs( true );
   port->powerIs( 12, 1.5 );
   EXPECT_EQ( adapter->asked, 1u );
   EXPECT_EQ( adapter->heard, "power/12" );
}

TEST_F( LevelTest, AnExceptionOfAStreamAdapterIsCaughtToo ) {
   auto const adapter = watch( "adapter", calls, port );
   adapter->isAdapter = true;
   adapter->action = [] { throw 7; };
   EXPECT_NO_THROW( port->lanesIs( 4 ) );
   EXPECT_EQ( calls, ( Calls{ "adapter attribute 261", "adapter exception 261" } ) );
}

// Notifiees with an activity are called by the event loop.

class DeferredDeliveryTest : public testing::Test {
 protected:
   template< class W = FastPortWatcher >
   Ptr< W > defer( std::string name ) {
      auto watcher = Ryx::make< W >( std::move( name ), calls );
      watcher->activity = activity;
      watcher->notifierIs( port );
      watcher->isRegisteredNotifieeIs( true );
      return watcher;
   }

   Calls calls;
   Ptr< Ryx::ActivityConfig > const activity = Ryx::make< Ryx::ActivityConfig >();
   Ptr< FastPort > const port = Ryx::make< FastPort >( 1u );
};

TEST_F( DeferredDeliveryTest, CallsTheChangedAttributesCallbackInTheEventLoop ) {
   auto const later = defer( "later" );
   auto const now = watch( "now", calls, port );
   port->speedIs( 1 );
   EXPECT_EQ( calls, Calls{ "now speed 1" } );
   EXPECT_EQ( later->pendingAttributeId(), 259u );
   EXPECT_EQ( later->activityPtr(), activity );
   EXPECT_EQ( activity->pending(), 1u );
   EXPECT_EQ( activity->handleActivity(), 1u );
   EXPECT_EQ( calls, ( Calls{ "now speed 1", "later speed 1" } ) );
   EXPECT_EQ( later->pendingAttributeId(), 0u );
}

TEST_F( DeferredDeliveryTest, ACollectionIsCalledWithoutAKey ) {
   auto const later = defer( "later" );
   port->powerIs( 3, 1 );
   port->powerIs( 4, 1 );
   EXPECT_EQ( later->pendingAttributeId(), 262u );
   activity->handleActivity();
   EXPECT_EQ( calls, Calls{ "later power" } );
}

TEST_F( DeferredDeliveryTest, SeveralAttributesAreCalledAllInOrder ) {
   auto const later = defer( "later" );
   port->speedIs( 1 );
   port->lanesIs( 2 );
   EXPECT_EQ( later->pendingAttributeId(), Ryx::allAttributesId );
   activity->handleActivity();
   EXPECT_EQ(
      calls,
      ( Calls{ "later parent",
               "later version",
               "later nondestructing",
               "later intfId",
               "later speed 1",
               "later label ",
               "later lanes",
               "later power" } ) );
}

TEST_F( DeferredDeliveryTest, ANotifieeOfTheBaseIsNotCalledForWhatItDoesNotKnow ) {
   auto const later = defer< PortWatcher >( "later" );
   port->lanesIs( 2 );
   activity->handleActivity();
   EXPECT_EQ( calls, Calls{} );
}

TEST_F( DeferredDeliveryTest, OneThatHasLostItsActivityIsCalledAtOnce ) {
   auto const later = defer( "later" );
   later->activity = nullptr;
   port->lanesIs( 2 );
   EXPECT_EQ( calls, Calls{ "later lanes" } );
   EXPECT_EQ( later->pendingAttributeId(), 0u );
}

TEST_F( DeferredDeliveryTest, ZeroReferencesAreKnownByTheirIdToo ) {
   auto const later = defer( "later" );
   later->handleDefault( activity.ptr(), Ryx::zeroReferencesAttributeId, false );
   EXPECT_EQ( calls, Calls{ "later zero" } );
}

// A change of a notifier that is no longer watched is not told.

TEST_F( DeferredDeliveryTest, OneThatIsRePointedDoesNotHearOfTheOldNotifier ) {
   auto const next = Ryx::make< FastPort >( 2u );
   auto const later = defer( "later" );
   auto const other = defer( "other" );
   port->speedIs( 1 );
   later->notifierIs( next );
   EXPECT_EQ( later->pendingAttributeId(), 0u );
   EXPECT_EQ( activity->handleActivity(), 1u );
   EXPECT_EQ( calls, Calls{ "other speed 1" } );
   next->speedIs( 7 );
   EXPECT_EQ( activity->handleActivity(), 1u );
   EXPECT_EQ( calls.back(), "later speed 7" );
}

TEST_F( DeferredDeliveryTest, OneThatIsRePointedIsQueuedAnew ) {
   auto const next = Ryx::make< FastPort >( 2u );
   auto const later = defer( "later" );
   auto const other = defer( "other" );
   port->speedIs( 1 );
   later->notifierIs( next );
   next->speedIs( 7 );
   EXPECT_EQ( activity->handleActivity(), 2u );
   EXPECT_EQ( calls, ( Calls{ "other speed 1", "later speed 7" } ) );
}

TEST_F( DeferredDeliveryTest, OneThatIsRePointedIsCalledByTheActivityItHasNow ) {
   auto const next = Ryx::make< FastPort >( 2u );
   auto const later = defer( "later" );
   port->speedIs( 1 );
   auto const now = Ryx::make< Ryx::ActivityConfig >();
   later->activity = now;
   later->notifierIs( next );
   next->speedIs( 7 );
   EXPECT_EQ( activity->handleActivity(), 0u );
   EXPECT_EQ( now->handleActivity(), 1u );
   EXPECT_EQ( calls, Calls{ "later speed 7" } );
}

TEST_F( DeferredDeliveryTest, OneThatIsUnboundIsNotCalled ) {
   auto const later = defer( "later" );
   port->lanesIs( 2 );
   later->notifierIs( nullptr );
   EXPECT_EQ( activity->handleActivity(), 0u );
   EXPECT_EQ( calls, Calls{} );
}

TEST_F( DeferredDeliveryTest, OneThatIsBoundToTheSameNotifierHearsOfItsChange ) {
   auto const later = defer( "later" );
   port->lanesIs( 2 );
   later->notifierIs( port );
   EXPECT_EQ( activity->handleActivity(), 1u );
   EXPECT_EQ( calls, Calls{ "later lanes" } );
}

TEST_F( DeferredDeliveryTest, AWeakOneIsNotCalledOnceItsNotifierHasGone ) {
   auto gone = Ryx::make< FastPort >( 9u );
   std::vector< Ptr< FastPortWatcher > > weak;
   for ( char const* name : { "registered", "deregistered" } ) {
      weak.push_back( Ryx::make< FastPortWatcher >( name, calls ) );
      weak.back()->activity = activity;
      weak.back()->isWeakReferenceIs( true );
      weak.back()->notifierIs( gone );
      weak.back()->isRegisteredNotifieeIs( true );
   }
   gone->speedIs( 1 );
   weak.back()->isRegisteredNotifieeIs( false );
   gone = nullptr;
   weak.back()->isRegisteredNotifieeIs( true );
   EXPECT_EQ( activity->handleActivity(), 0u );
   for ( auto const& watcher : weak ) {
      watcher->notifierIs( port );
   }
   port->lanesIs( 2 );
   EXPECT_EQ( activity->handleActivity(), 2u );
   EXPECT_EQ( calls, ( Calls{ "registered lanes", "deregistered lanes" } ) );
}

TEST_F( DeferredDeliveryTest, WhatAnActivityTookAlongIsToldWithTheNextChange ) {
   auto const later = defer( "later" );
   later->activity = Ryx::make< Ryx::ActivityConfig >();
   port->lanesIs( 2 );
   later->activity = activity;
   port->lanesIs( 3 );
   EXPECT_EQ( activity->handleActivity(), 1u );
   EXPECT_EQ( calls, Calls{ "later lanes" } );
}

TEST_F( DeferredDeliveryTest, ItsExceptionCarriesThePendingId ) {
   auto const later = defer( "later" );
   later->action = [] { throw 7; };
   port->lanesIs( 2 );
   activity->handleActivity();
   EXPECT_EQ( calls, ( Calls{ "later lanes", "later exception 261" } ) );
}

} // namespace
