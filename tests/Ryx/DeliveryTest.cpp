// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Who is called by one change, in which order, and what the callbacks may do meanwhile.

#include "CoreDoubles"

#include <gtest/gtest.h>
#include <support/AllocationCounter>

#include <array>
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

TEST_F( DeliveryTest, OneThatIsDestroyedByItsOwnCallbackLivesUntilItReturns ) {
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

// What a delivery asks of the memory.

class CountingWatcher final : public Port::NotifieeConst {
 public:
   void onSpeed() override { ++heard; }
   static inline unsigned heard = 0;
};

std::size_t
allocationsOfASet( std::uint32_t watchers ) {
   auto const port = Ryx::make< Port >( 1u );
   std::vector< Ptr< CountingWatcher > > all;
   for ( std::uint32_t i = 0; i < watchers; ++i ) {
      all.push_back( Ryx::make< CountingWatcher >() );
      all.back()->notifierIs( port );
      all.back()->isRegisteredNotifieeIs( true );
   }
   CountingWatcher::heard = 0;
   support::AllocationCounter const counter;
   port->speedIs( 1 );
   EXPECT_EQ( CountingWatcher::heard, watchers );
   return counter.allocations();
}

TEST( DeliveryMemory, ASetThatNobodyWatchesAllocatesNothing ) {
   EXPECT_EQ( allocationsOfASet( 0 ), 0u );
}

TEST( DeliveryMemory, UpTo16NotifieesNeedNoAllocation ) {
   EXPECT_EQ( allocationsOfASet( 1 ), 0u );
   EXPECT_EQ( allocationsOfASet( 16 ), 0u );
}

TEST( DeliveryMemory, MoreNotifieesNeedOneAllocationForAll ) {
   EXPECT_EQ( allocationsOfASet( 17 ), 1u );
   EXPECT_EQ( allocationsOfASet( 100 ), 1u );
}

// Far more watchers than a snapshot has room for without memory.
class WithoutMemory : public ::testing::Test {
 public:
   // Says in which order it was called, and does as told.
   class Caller final : public Port::NotifieeConst {
    public:
      explicit Caller( WithoutMemory* test ) : test_( test ) {}
      void onSpeed() override {
         test_->called[ test_->calls++ ] = this;
         if ( act ) {
            act();
         }
      }
      std::function< void() > act;

    private:
      WithoutMemory* test_;
   };

   static constexpr std::size_t count = 100;

   WithoutMemory() {
      for ( auto& caller : callers ) {
         caller = Ryx::make< Caller >( this );
         caller->notifierIs( port );
         caller->isRegisteredNotifieeIs( true );
      }
   }
   void setWithoutMemory( unsigned speed ) {
      support::AllocationFailure const failure;
      port->speedIs( speed );
   }
   // Each once, in the order of registration, but for those between `from` and `to`.
   void expectAllBut( std::size_t from, std::size_t to ) const {
      std::vector< Caller* > expected;
      for ( std::size_t i = 0; i < count; ++i ) {
         if ( i < from || i >= to ) {
            expected.push_back( callers[ i ].ptr() );
         }
      }
      EXPECT_EQ( std::vector< Caller* >( called.data(), called.data() + calls ), expected );
   }

   Ptr< Port > port = Ryx::make< Port >( 1u );
   std::array< Ptr< Caller >, count > callers;
   std::array< Caller*, 2 * count > called{};
   std::size_t calls = 0;
};

TEST_F( WithoutMemory, EveryNotifieeIsToldInOrder ) {
   setWithoutMemory( 1 );
   expectAllBut( 0, 0 );
   EXPECT_EQ( port->references(), 1 + count );
   EXPECT_EQ( callers.front()->references(), 1u );
   EXPECT_EQ( callers.back()->references(), 1u );
}

TEST_F( WithoutMemory, NotifieesDeregisteredMeanwhileAreNotTold ) {
   callers[ 2 ]->act = [ this ] {
      for ( std::size_t i = 10; i < 70; ++i ) {
         callers[ i ]->isRegisteredNotifieeIs( false );
      }
   };
   setWithoutMemory( 1 );
   expectAllBut( 10, 70 );
}

TEST_F( WithoutMemory, NotifieesTakenOutAndPutBackAreNotTold ) {
   callers[ 2 ]->act = [ this ] {
      for ( std::size_t i = 10; i < 70; ++i ) {
         callers[ i ]->isRegisteredNotifieeIs( false );
         callers[ i ]->isRegisteredNotifieeIs( true );
      }
   };
   setWithoutMemory( 1 );
   expectAllBut( 10, 70 );
}

TEST_F( WithoutMemory, NobodyIsToldWhenAllAreDeregisteredMeanwhile ) {
   callers[ 15 ]->act = [ this ] {
      for ( auto const& caller : callers ) {
         caller->isRegisteredNotifieeIs( false );
      }
   };
   setWithoutMemory( 1 );
   expectAllBut( 16, count );
}

TEST_F( WithoutMemory, ThoseWhoTookTheirTurnMayGo ) {
   callers[ 15 ]->act = [ this ] {
      for ( std::size_t i = 0; i < 16; ++i ) {
         callers[ i ]->isRegisteredNotifieeIs( false );
      }
   };
   setWithoutMemory( 1 );
   expectAllBut( 0, 0 );
}

TEST_F( WithoutMemory, NotifieesRegisteredMeanwhileAreNotTold ) {
   auto const late = Ryx::make< Caller >( this );
   late->notifierIs( port );
   callers[ 0 ]->act = [ & ] { late->isRegisteredNotifieeIs( true ); };
   setWithoutMemory( 1 );
   expectAllBut( 0, 0 );
}

TEST_F( WithoutMemory, ANestedSetIsDeliveredWhole ) {
   // Setting it again to the same ends the nesting.
   callers[ 20 ]->act = [ this ] { port->speedIs( 2 ); };
   setWithoutMemory( 1 );
   EXPECT_EQ( calls, 2 * count );
   EXPECT_EQ( called[ 21 ], callers.front().ptr() );
   EXPECT_EQ( called[ 20 + count ], callers.back().ptr() );
   EXPECT_EQ( called[ 2 * count - 1 ], callers.back().ptr() );
}

} // namespace
