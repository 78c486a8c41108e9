// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Activity>
#include <Ryx/Clock>
#include <Ryx/Entity>

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Ryx::Ptr;
using Calls = std::vector< std::string >;

class Box final : public Ryx::Entity {
 public:
   Box() : Entity( "box" ) {}
};

class Deferring final : public Ryx::Entity::NotifieeConst {
 public:
   Deferring( std::string name, Calls& calls, Ptr< Ryx::ActivityConfig > activity )
         : name_( std::move( name ) ),
           calls_( calls ),
           activity_( std::move( activity ) ) {}

   void onIsNondestructing() override {
      said( "nondestructing" );
      expected = Ryx::Expect::innermost() ? Ryx::Expect::innermost()->id() : ~0u;
   }
   void onParent() override { said( "parent" ); }
   void onNotificationException( Ryx::AttributeId id ) override {
      said( "exception " + std::to_string( id ) );
      throw std::runtime_error( "again" );
   }
   Ryx::ActivityConfig* ryxFwkActivity() override { return activity_.ptr(); }

   std::function< void() > action;
   unsigned expected = ~0u;

 private:
   void said( std::string const& what ) {
      calls_.push_back( name_ + " " + what );
      if ( action ) {
         std::exchange( action, nullptr )();
      }
   }

   std::string name_;
   Calls& calls_;
   Ptr< Ryx::ActivityConfig > activity_;
};

class ActivityTest : public testing::Test {
 protected:
   Ptr< Deferring > observer( std::string const& name ) {
      auto notifiee = Ryx::make< Deferring >( name, calls, activity );
      notifiee->notifierIs( box );
      notifiee->isRegisteredNotifieeIs( true );
      return notifiee;
   }

   Calls calls;
   Ptr< Box > box = Ryx::make< Box >();
   Ptr< Ryx::ActivityConfig > activity = Ryx::make< Ryx::ActivityConfig >();
};

TEST_F( ActivityTest, ADeferredNotifieeIsCalledByTheEventLoop ) {
   auto const a = observer( "a" );
   box->parentIs( Ryx::make< Box >() );
   EXPECT_EQ( calls, Calls() );
   EXPECT_EQ( activity->pending(), 1u );
   EXPECT_EQ( a->pendingAttributeId(), Ryx::parentAttributeId );
   EXPECT_EQ( activity->handleActivity(), 1u );
   EXPECT_EQ( calls, Calls{ "a parent" } );
   EXPECT_EQ( a->pendingAttributeId(), 0u );
   EXPECT_EQ( activity->handleActivity(), 0u );
}

TEST_F( ActivityTest, DeliversInTheOrderOfQueuing ) {
   auto const a = observer( "a" );
   auto const b = observer( "b" );
   box->parentIs( Ryx::make< Box >() );
   box->parentIs( nullptr );
   EXPECT_EQ( activity->handleActivity(), 2u );
   EXPECT_EQ( calls, ( Calls{ "a parent", "b parent" } ) );
}

TEST_F( ActivityTest, ANotifieeThatWaitsKeepsItsPlaceWhenItIsQueuedAgain ) {
   auto const a = observer( "a" );
   auto const b = observer( "b" );
   box->parentIs( Ryx::make< Box >() );
   activity->notifieeIs( a );
   EXPECT_EQ( activity->pending(), 2u );
   EXPECT_EQ( activity->handleActivity(), 2u );
   EXPECT_EQ( calls, ( Calls{ "a parent", "b parent" } ) );
}

TEST_F( ActivityTest, SeveralChangedAttributesAreDeliveredAsAll ) {
   auto const a = observer( "a" );
   box->parentIs( Ryx::make< Box >() );
   box->isNondestructingIs( true );
   box->isNondestructingIs( false );
   EXPECT_EQ( a->pendingAttributeId(), Ryx::allAttributesId );
   activity->handleActivity();
   EXPECT_EQ( calls, ( Calls{ "a parent", "a nondestructing" } ) );
}

TEST_F( ActivityTest, CallsUnderAnExpectScope ) {
   auto const a = observer( "a" );
   box->isNondestructingIs( true );
   box->isNondestructingIs( false );
   activity->handleActivity();
   EXPECT_EQ( a->expected, 0u );
   EXPECT_EQ( Ryx::Expect::innermost(), nullptr );
}

TEST_F( ActivityTest, WhatIsQueuedMeanwhileWaitsForTheNextTurn ) {
   auto const a = observer( "a" );
   a->action = [ & ] { box->parentIs( nullptr ); };
   box->parentIs( Ryx::make< Box >() );
   EXPECT_EQ( activity->handleActivity(), 1u );
   EXPECT_EQ( activity->pending(), 1u );
   EXPECT_EQ( activity->handleActivity(), 1u );
   EXPECT_EQ( calls, ( Calls{ "a parent", "a parent" } ) );
}

TEST_F( ActivityTest, AnExceptionGoesToItsNotifieeAndTheOthersAreCalled ) {
   auto const a = observer( "a" );
   auto const b = observer( "b" );
   a->action = [] { throw std::runtime_error( "a" ); };
   box->parentIs( Ryx::make< Box >() );
   EXPECT_EQ( activity->handleActivity(), 2u );
   EXPECT_EQ( calls, ( Calls{ "a parent", "a exception 256", "b parent" } ) );
}

TEST_F( ActivityTest, ADeregisteredNotifieeIsCalledOnceItIsRegisteredAgain ) {
   auto const a = observer( "a" );
   box->parentIs( Ryx::make< Box >() );
   a->isRegisteredNotifieeIs( false );
   EXPECT_EQ( activity->handleActivity(), 0u );
   EXPECT_EQ( calls, Calls() );
   a->isRegisteredNotifieeIs( true );
   EXPECT_EQ( activity->handleActivity(), 1u );
   EXPECT_EQ( calls, Calls{ "a parent" } );
}

TEST_F( ActivityTest, ANotifieeThatAnEarlierCallbackDroppedIsNotCalled ) {
   auto const a = observer( "a" );
   auto b = observer( "b" );
   a->action = [ & ] { b = nullptr; };
   box->parentIs( Ryx::make< Box >() );
   EXPECT_EQ( activity->handleActivity(), 1u );
   EXPECT_EQ( calls, Calls{ "a parent" } );
   EXPECT_EQ( box->notifieeCount(), 1u );
}

TEST_F( ActivityTest, APinnedNotifieeThatNobodyReferencesIsCalled ) {
   auto a = observer( "a" );
   Deferring* const raw = a.ptr();
   raw->isNondestructingIs( true );
   box->parentIs( Ryx::make< Box >() );
   a = nullptr;
   EXPECT_EQ( activity->handleActivity(), 1u );
   box->parentIs( nullptr );
   EXPECT_EQ( activity->handleActivity(), 1u );
   EXPECT_EQ( calls, ( Calls{ "a parent", "a parent" } ) );
   raw->isNondestructingIs( false );
   EXPECT_EQ( box->notifieeCount(), 0u );
}

TEST_F( ActivityTest, AHeldNotifieeThatNobodyReferencesIsCalled ) {
   auto a = observer( "a" );
   Deferring* const raw = a.ptr();
   raw->ryxHeldIs( true );
   box->parentIs( Ryx::make< Box >() );
   a = nullptr;
   EXPECT_EQ( activity->handleActivity(), 1u );
   EXPECT_EQ( calls, Calls{ "a parent" } );
   raw->ryxHeldIs( false );
   EXPECT_EQ( box->notifieeCount(), 0u );
}

TEST_F( ActivityTest, ANotifieeThatOnlyASnapshotHoldsIsNotCalled ) {
   Ptr< Ryx::ActivityConfig > const queue = std::exchange( activity, nullptr );
   auto const atOnce = observer( "at once" );
   activity = queue;
   auto queued = observer( "queued" );
   activity = nullptr;
   auto const leaving = observer( "leaving" );
   box->parentIs( Ryx::make< Box >() );
   atOnce->action = [ & ] {
      leaving->isRegisteredNotifieeIs( false );
      queued = nullptr;
      EXPECT_EQ( queue->handleActivity(), 0u );
   };
   box->parentIs( nullptr );
   EXPECT_EQ( calls, ( Calls{ "at once parent", "leaving parent", "at once parent" } ) );
   EXPECT_EQ( box->notifieeCount(), 1u );
}

TEST_F( ActivityTest, ANotifieeThatOnlyItsOwnCallHoldsIsNotCalled ) {
   auto a = observer( "a" );
   box->parentIs( Ryx::make< Box >() );
   a->action = [ & ] {
      box->parentIs( nullptr );
      a = nullptr;
      EXPECT_EQ( activity->handleActivity(), 0u );
   };
   EXPECT_EQ( activity->handleActivity(), 1u );
   EXPECT_EQ( calls, Calls{ "a parent" } );
   EXPECT_EQ( box->notifieeCount(), 0u );
}

TEST_F( ActivityTest, ACallbackMayLetGoOfTheActivity ) {
   {
      auto const a = observer( "a" );
      a->action = [ & ] { activity = nullptr; };
      box->parentIs( Ryx::make< Box >() );
      Ryx::ActivityConfig* const borrowed = activity.ptr();
      EXPECT_EQ( borrowed->handleActivity(), 1u );
   }
   EXPECT_EQ( calls, Calls{ "a parent" } );
}

TEST( ActivityManager, IsOneAndHasOneClock ) {
   auto const manager = Ryx::activityManager();
   EXPECT_EQ( manager, Ryx::activityManager() );
   ASSERT_TRUE( manager->clock() );
   EXPECT_EQ( manager->clock(), Ryx::activityManager()->clock() );
}

TEST( Notifiee, HearsNothingIfNothingIsPending ) {
   Calls calls;
   auto const notifiee = Ryx::make< Deferring >( "a", calls, nullptr );
   notifiee->notifierIs( Ryx::make< Box >() );
   notifiee->isRegisteredNotifieeIs( true );
   notifiee->handleNotification( nullptr );
   EXPECT_EQ( calls, Calls{} );
}

TEST( Notifiee, DefersNothingUnlessItHasAnActivity ) {
   class Plain final : public Ryx::Entity::NotifieeConst {};
   auto const plain = Ryx::make< Plain >();
   EXPECT_EQ( plain->ryxFwkActivity(), nullptr );
   EXPECT_EQ( std::as_const( *plain ).ryxFwkActivity(), nullptr );
   EXPECT_FALSE( plain->activityPtr() );
}

} // namespace
