// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Who is called by one change, in which order, and what the callbacks may do meanwhile.

#include "CoreDoubles"
#include "SecondThread"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

namespace {

using doubles::Calls;
using doubles::Port;
using doubles::PortWatcher;
using doubles::watch;
using Ryx::Ptr;

class DeliveryTest : public testing::Test {
 protected:
   Calls calls;
   Ptr< Port > port = Ryx::make< Port >( 1u );
   Ptr< Port > const other = Ryx::make< Port >( 2u );
   Ptr< PortWatcher > a = watch( "a", calls, port );
   Ptr< PortWatcher > b = watch( "b", calls, port );
   Ptr< PortWatcher > c = watch( "c", calls, port );
};

TEST_F( DeliveryTest, CallsInTheOrderOfRegistration ) {
   a->isRegisteredNotifieeIs( false );
   a->isRegisteredNotifieeIs( true );
   port->speedIs( 1 );
   EXPECT_EQ( calls, ( Calls{ "b speed 1", "c speed 1", "a speed 1" } ) );
}

TEST_F( DeliveryTest, AnUnchangedValueNotifiesNobody ) {
   port->speedIs( 0 );
   port->speedIs( 5 );
   calls.clear();
   port->speedIs( 5 );
   EXPECT_EQ( calls, Calls{} );
}

TEST_F( DeliveryTest, CallsTheCallbackOfTheChangedAttributeOnly ) {
   port->labelIs( "x" );
   EXPECT_EQ( calls, ( Calls{ "a label x", "b label x", "c label x" } ) );
}

TEST_F( DeliveryTest, TheValueIsStoredBeforeAnybodyIsCalled ) {
   unsigned seen = 0;
   a->action = [ & ] { seen = port->speed(); };
   port->speedIs( 7 );
   EXPECT_EQ( seen, 7u );
}

TEST_F( DeliveryTest, CallsUnderAnExpectScopeOfId0 ) {
   unsigned id = ~0u;
   a->action = [ & ] {
      id = Ryx::Expect::innermost() ? Ryx::Expect::innermost()->id() : ~0u;
   };
   port->speedIs( 1 );
   EXPECT_EQ( id, 0u );
   EXPECT_EQ( Ryx::Expect::innermost(), nullptr );
}

TEST_F( DeliveryTest, ReleasesANotifieeOutsideTheExpectScope ) {
   bool released = false;
   std::shared_ptr< void > atItsEnd( nullptr, [ & ]( void* ) {
      released = true;
      EXPECT_EQ( Ryx::Expect::innermost(), nullptr );
   } );
   b->action = [ held = std::move( atItsEnd ) ] {};
   a->action = [ & ] { b = nullptr; };
   bool open = false;
   c->action = [ & ] { open = Ryx::Expect::innermost() != nullptr; };
   port->speedIs( 1 );
   EXPECT_TRUE( released );
   EXPECT_TRUE( open );
   EXPECT_EQ( calls, ( Calls{ "a speed 1", "c speed 1" } ) );
}

TEST_F( DeliveryTest, OneThatRegistersMeanwhileHearsOfTheNextChange ) {
   Ptr< PortWatcher > late;
   a->action = [ & ] { late = watch( "late", calls, port ); };
   port->speedIs( 1 );
   EXPECT_EQ( calls, ( Calls{ "a speed 1", "b speed 1", "c speed 1" } ) );
   calls.clear();
   port->speedIs( 2 );
   EXPECT_EQ( calls, ( Calls{ "a speed 2", "b speed 2", "c speed 2", "late speed 2" } ) );
}

TEST_F( DeliveryTest, OneThatDeregistersItselfIsNotCalledAgain ) {
   a->action = [ & ] {
      a->isRegisteredNotifieeIs( false );
      port->speedIs( 2 );
   };
   port->speedIs( 1 );
   EXPECT_EQ(
      calls, ( Calls{ "a speed 1", "b speed 2", "c speed 2", "b speed 2", "c speed 2" } ) );
}

TEST_F( DeliveryTest, ALaterOneThatIsDeregisteredIsNotCalled ) {
   a->action = [ & ] { b->isRegisteredNotifieeIs( false ); };
   port->speedIs( 1 );
   EXPECT_EQ( calls, ( Calls{ "a speed 1", "c speed 1" } ) );
}

TEST_F( DeliveryTest, ALaterOneThatIsTurnedOffIsNotCalled ) {
   a->action = [ & ] { b->hasNotificationActiveIs( false ); };
   port->speedIs( 1 );
   EXPECT_EQ( calls, ( Calls{ "a speed 1", "c speed 1" } ) );
}

// Takes a later notifiee out of the list and puts it back in.
class DeliveryReentryTest : public DeliveryTest {
 protected:
   void expectToHearOfTheNextChangeOnly( std::function< void() > reentry ) {
      a->action = std::move( reentry );
      port->speedIs( 1 );
      EXPECT_EQ( calls, ( Calls{ "a speed 1", "c speed 1" } ) );
      calls.clear();
      port->speedIs( 2 );
      EXPECT_EQ( calls, ( Calls{ "a speed 2", "c speed 2", "b speed 2" } ) );
   }
};

TEST_F( DeliveryReentryTest, ByRegistrationHearsOfTheNextChangeOnly ) {
   expectToHearOfTheNextChangeOnly( [ this ] {
      b->isRegisteredNotifieeIs( false );
      b->isRegisteredNotifieeIs( true );
   } );
}

TEST_F( DeliveryReentryTest, ByTurningDeliveryOnHearsOfTheNextChangeOnly ) {
   expectToHearOfTheNextChangeOnly( [ this ] {
      b->hasNotificationActiveIs( false );
      b->hasNotificationActiveIs( true );
   } );
}

TEST_F( DeliveryReentryTest, ByPointingBackHearsOfTheNextChangeOnly ) {
   expectToHearOfTheNextChangeOnly( [ this ] {
      b->notifierIs( other );
      b->notifierIs( port );
   } );
}

TEST_F( DeliveryReentryTest, HearsOfAChangeThatIsMadeAfterItInTheSameDelivery ) {
   a->action = [ & ] {
      b->isRegisteredNotifieeIs( false );
      b->isRegisteredNotifieeIs( true );
      port->labelIs( "x" );
   };
   port->speedIs( 1 );
   EXPECT_EQ(
      calls, ( Calls{ "a speed 1", "a label x", "c label x", "b label x", "c speed 1" } ) );
}

TEST_F( DeliveryTest, AnEarlierOneThatIsTakenOutAndPutBackIsNotCalledAgain ) {
   b->action = [ & ] {
      a->isRegisteredNotifieeIs( false );
      a->isRegisteredNotifieeIs( true );
   };
   port->speedIs( 1 );
   EXPECT_EQ( calls, ( Calls{ "a speed 1", "b speed 1", "c speed 1" } ) );
}

TEST_F( DeliveryTest, ALaterOneThatIsDestroyedIsNotCalled ) {
   int const before = PortWatcher::live;
   a->action = [ & ] { b = nullptr; };
   c->action = [ & ] { EXPECT_EQ( PortWatcher::live, before - 1 ); };
   port->speedIs( 1 );
   EXPECT_EQ( calls, ( Calls{ "a speed 1", "c speed 1" } ) );
   EXPECT_EQ( port->notifieeCount(), 2u );
}

TEST_F( DeliveryTest, ALaterOneThatSomebodyElseHoldsIsCalled ) {
   auto const elsewhere = b;
   a->action = [ & ] { b = nullptr; };
   port->speedIs( 1 );
   EXPECT_EQ( calls, ( Calls{ "a speed 1", "b speed 1", "c speed 1" } ) );
}

TEST_F( DeliveryTest, OneThatIsDestroyedByItsOwnCallbackStaysUntilItReturns ) {
   int const before = PortWatcher::live;
   b->action = [ & ] {
      b = nullptr;
      EXPECT_EQ( PortWatcher::live, before );
   };
   c->action = [ & ] { EXPECT_EQ( PortWatcher::live, before - 1 ); };
   port->speedIs( 1 );
   EXPECT_EQ( calls, ( Calls{ "a speed 1", "b speed 1", "c speed 1" } ) );
}

TEST_F( DeliveryTest, ALaterOneThatIsRePointedIsNotCalled ) {
   a->action = [ & ] { b->notifierIs( other ); };
   port->speedIs( 1 );
   EXPECT_EQ( calls, ( Calls{ "a speed 1", "c speed 1" } ) );
   other->speedIs( 2 );
   EXPECT_EQ( calls.back(), "b speed 2" );
}

TEST_F( DeliveryTest, OneThatIsRePointedHereMeanwhileIsNotCalled ) {
   auto const guest = watch( "guest", calls, other );
   a->action = [ & ] { guest->notifierIs( port ); };
   port->speedIs( 1 );
   EXPECT_EQ( calls, ( Calls{ "a speed 1", "b speed 1", "c speed 1" } ) );
}

TEST_F( DeliveryTest, ASetInsideACallbackIsDeliveredWholeBeforeItGoesOn ) {
   a->action = [ & ] {
      port->speedIs( 2 );
      calls.push_back( "a goes on" );
   };
   port->speedIs( 1 );
   EXPECT_EQ(
      calls,
      ( Calls{ "a speed 1",
               "a speed 2",
               "b speed 2",
               "c speed 2",
               "a goes on",
               "b speed 2",
               "c speed 2" } ) );
}

TEST_F( DeliveryTest, ASetOfAnotherNotifierInsideACallbackIsDeliveredAtOnce ) {
   auto const far = watch( "far", calls, other );
   b->action = [ & ] { other->labelIs( "x" ); };
   port->speedIs( 1 );
   EXPECT_EQ( calls, ( Calls{ "a speed 1", "b speed 1", "far label x", "c speed 1" } ) );
}

TEST_F( DeliveryTest, ACallbackMayDestroyTheNotifier ) {
   int const before = Port::live;
   auto const weak = doubles::watchWeakly( "weak", calls, port );
   a->action = [ & ] {
      for ( auto const& watcher : { a, b, c } ) {
         watcher->notifierIs( nullptr );
      }
      Port* const last = port.release();
      last->deleteReference();
      EXPECT_EQ( Port::live, before );
   };
   port->speedIs( 1 );
   EXPECT_EQ( calls, ( Calls{ "a speed 1", "weak speed 1", "weak zero" } ) );
   EXPECT_EQ( Port::live, before - 1 );
   EXPECT_EQ( weak->notifier(), nullptr );
}

TEST_F( DeliveryTest, CallsAnyNumberInOrder ) {
   std::vector< Ptr< PortWatcher > > many;
   Calls expected;
   for ( int i = 0; i < 40; ++i ) {
      many.push_back( watch( std::to_string( i ), calls, other ) );
      expected.push_back( std::to_string( i ) + " speed 1" );
   }
   other->speedIs( 1 );
   EXPECT_EQ( calls, expected );
   calls.clear();
   many[ 0 ]->action = [ & ] { many.clear(); };
   other->speedIs( 2 );
   EXPECT_EQ( calls, Calls{ "0 speed 2" } );
   EXPECT_EQ( other->notifieeCount(), 0u );
}

TEST_F( DeliveryTest, OneThatIsDestroyedFarBehindStaysUntilItsTurn ) {
   std::vector< Ptr< PortWatcher > > many;
   for ( int i = 0; i < 40; ++i ) {
      many.push_back( watch( std::to_string( i ), calls, other ) );
   }
   int const before = PortWatcher::live;
   many[ 3 ]->action = [ & ] { many[ 30 ] = nullptr; };
   many[ 29 ]->action = [ & ] { EXPECT_EQ( PortWatcher::live, before ); };
   many[ 31 ]->action = [ & ] { EXPECT_EQ( PortWatcher::live, before - 1 ); };
   other->speedIs( 1 );
   EXPECT_EQ( calls.size(), 39u );
   EXPECT_EQ( other->notifieeCount(), 39u );
}

TEST_F( DeliveryTest, OfDeliveriesInEachOtherEachKnowsWhoLeaves ) {
   b->action = [ & ] {
      b->action = [ & ] {
         c = nullptr;
         a->isRegisteredNotifieeIs( false );
      };
      port->speedIs( 2 );
   };
   port->speedIs( 1 );
   EXPECT_EQ( calls, ( Calls{ "a speed 1", "b speed 1", "a speed 2", "b speed 2" } ) );
   EXPECT_EQ( port->notifieeCount(), 1u );
}

// Not by the end of the last reference.
TEST_F( DeliveryTest, ZeroReferencesThatAreAskedForAreToldAtOnce ) {
   Port* const raw = port.ptr();
   auto const weak = doubles::watchWeakly( "weak", calls, other );
   weak->action = [ & ] { other->zeroReferencesIs( true ); };
   a->action = [ raw ] { raw->zeroReferencesIs( true ); };
   other->speedIs( 1 );
   port->speedIs( 1 );
   EXPECT_EQ(
      calls,
      ( Calls{ "weak speed 1",
               "weak zero",
               "a speed 1",
               "a zero",
               "b zero",
               "c zero",
               "b speed 1",
               "c speed 1" } ) );
}

TEST_F( DeliveryTest, TheNotifierThatIsLetGoStaysUntilItsOutermostDeliveryEnds ) {
   int const before = Port::live;
   Ptr< Port > gone = Ryx::make< Port >( 9u );
   auto const first = doubles::watchWeakly( "first", calls, gone );
   auto const second = doubles::watchWeakly( "second", calls, gone );
   first->action = [ & ] {
      first->action = [ & ] { gone = nullptr; };
      gone->speedIs( 2 );
      EXPECT_EQ( Port::live, before + 1 );
   };
   gone->speedIs( 1 );
   EXPECT_EQ(
      calls,
      ( Calls{ "first speed 1",
               "first speed 2",
               "second speed 2",
               "second speed 2",
               "first zero",
               "second zero" } ) );
   EXPECT_EQ( Port::live, before );
}

TEST_F( DeliveryTest, ThatBeganWithASecondThreadIsTheSameWhenThatHasGone ) {
   AsWithASecondThread const scope;
   a->action = [ & ] {
      AsWithASecondThread::goes();
      a = nullptr;
      b = nullptr;
   };
   port->speedIs( 1 );
   EXPECT_EQ( calls, ( Calls{ "a speed 1", "c speed 1" } ) );
   EXPECT_EQ( port->notifieeCount(), 1u );
}

} // namespace
