// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "CoreDoubles"

#include <Ryx/Ptr>

#include <gtest/gtest.h>

#include <unordered_set>

namespace {

using doubles::Calls;
using doubles::refusal;
using Ryx::Ptr;

class Base : public Ryx::PtrInterface {
 public:
   int value = 1;
};

// Says when it is destroyed and what others looked like then.
class Object final : public Base {
 public:
   explicit Object( std::string name, Calls* calls = nullptr )
         : name_( std::move( name ) ), calls_( calls ) {}
   ~Object() override {
      if ( calls_ ) {
         calls_->push_back( name_ + " destroyed" );
      }
      if ( onDestroyed ) {
         onDestroyed();
      }
   }

   std::function< void() > onDestroyed;

 private:
   std::string name_;
   Calls* calls_;
};

TEST( Ptr, NullIsAValueToHoldCopyAndCompare ) {
   Ptr< Object > const null;
   Ptr< Object > const alsoNull = nullptr;
   Ptr< Object > copy = null;
   copy = alsoNull;
   EXPECT_EQ( null, alsoNull );
   EXPECT_EQ( copy, nullptr );
   EXPECT_FALSE( copy );
   EXPECT_EQ( copy.ptr(), nullptr );
   EXPECT_EQ( copy.release(), nullptr );
   Ptr< Object > const raw( static_cast< Object* >( nullptr ) );
   EXPECT_FALSE( raw );
}

TEST( Ptr, ReachingThroughNullThrows ) {
   Ptr< Base > const null;
   EXPECT_EQ( refusal( [ & ] { null->value = 2; } ), "null ValidPtr" );
   EXPECT_EQ( refusal( [ & ] { ( *null ).value = 2; } ), "null ValidPtr" );
   EXPECT_EQ( refusal( [ & ] { Ryx::validPtr( null ); } ), "null ValidPtr" );
   EXPECT_EQ(
      refusal( [] { Ryx::forcePointerAccess< Base >( nullptr ); } ), "null ValidPtr" );
}

TEST( Ptr, AValidPointerIsPassedOn ) {
   auto const object = Ryx::make< Object >( "a" );
   EXPECT_EQ( Ryx::validPtr( object ), object );
   EXPECT_EQ( Ryx::forcePointerAccess( object.ptr() ), object.ptr() );
   EXPECT_EQ( object->references(), 1u );
}

TEST( Ptr, MakingHandsTheFirstReferenceOver ) {
   auto const object = Ryx::make< Object >( "a" );
   EXPECT_EQ( object->references(), 1u );
}

TEST( Ptr, OfARawPointerTakesAReferenceOfItsOwn ) {
   auto const object = Ryx::make< Object >( "a" );
   {
      Ptr< Object > const second( object.ptr() );
      EXPECT_EQ( object->references(), 2u );
   }
   EXPECT_EQ( object->references(), 1u );
}

TEST( Ptr, AdoptingTakesTheReferenceThatIsThere ) {
   Calls calls;
   {
      auto const adopted = Ptr< Object >::adopt( new Object( "a", &calls ) );
      EXPECT_EQ( adopted->references(), 1u );
   }
   EXPECT_EQ( calls, Calls{ "a destroyed" } );
}

TEST( Ptr, ReleasingGivesTheReferenceAway ) {
   auto object = Ryx::make< Object >( "a" );
   Object* const raw = object.release();
   EXPECT_FALSE( object );
   EXPECT_EQ( raw->references(), 1u );
   raw->deleteReference();
}

TEST( Ptr, CopyingIncrementsAndDestroyingDecrements ) {
   auto const object = Ryx::make< Object >( "a" );
   {
      Ptr< Object > const copy = object;
      Ptr< Base > const asBase = copy;
      Ptr< Object const > const asConst = copy;
      EXPECT_EQ( object->references(), 4u );
      EXPECT_EQ( asBase, object );
      EXPECT_EQ( asConst, copy );
   }
   EXPECT_EQ( object->references(), 1u );
}

TEST( Ptr, MovingKeepsTheCountAndEmptiesTheSource ) {
   auto object = Ryx::make< Object >( "a" );
   Ptr< Object > moved = std::move( object );
   EXPECT_FALSE( object );
   EXPECT_EQ( moved->references(), 1u );
   Ptr< Base const > const asBase = std::move( moved );
   EXPECT_FALSE( moved );
   EXPECT_EQ( asBase->references(), 1u );
}

TEST( Ptr, ReassigningReferencesTheNewObjectBeforeItLetsTheOldOneGo ) {
   Calls calls;
   auto kept = Ryx::make< Object >( "new", &calls );
   auto pointer = Ryx::make< Object >( "old", &calls );
   pointer->onDestroyed = [ & ] {
      calls.push_back( std::to_string( kept->references() ) + " references to the new" );
   };
   pointer = kept;
   EXPECT_EQ( calls, ( Calls{ "old destroyed", "2 references to the new" } ) );
   EXPECT_EQ( pointer, kept );
}

TEST( Ptr, ReassigningWhatTheOldObjectHoldsKeepsIt ) {
   Calls calls;
   auto outer = Ryx::make< Object >( "outer", &calls );
   auto inner = Ryx::make< Object >( "inner", &calls );
   Object const* const raw = inner.ptr();
   outer->onDestroyed = [ inner = std::move( inner ) ]() mutable { inner = nullptr; };
   outer = Ptr< Object >( const_cast< Object* >( raw ) );
   EXPECT_EQ( calls, Calls{ "outer destroyed" } );
   EXPECT_EQ( outer->references(), 1u );
}

TEST( Ptr, AssigningItselfChangesNothing ) {
   auto object = Ryx::make< Object >( "a" );
   auto& same = object;
   object = same;
   EXPECT_EQ( object->references(), 1u );
}

TEST( Ptr, AssigningNullLetsGo ) {
   Calls calls;
   auto object = Ryx::make< Object >( "a", &calls );
   object = nullptr;
   EXPECT_EQ( calls, Calls{ "a destroyed" } );
}

TEST( Ptr, CastingGivesNullForAnObjectOfAnotherType ) {
   Ptr< Base > const base = Ryx::make< Base >();
   Ptr< Base > const object = Ryx::make< Object >( "a" );
   EXPECT_EQ( Ryx::ptrCast< Object >( base ), nullptr );
   EXPECT_EQ( Ryx::ptrCast< Object >( object ), object );
   EXPECT_EQ( Ryx::ptrCast< Object >( Ptr< Base >() ), nullptr );
   EXPECT_EQ( object->references(), 1u );
}

TEST( Ptr, HashesByTheObject ) {
   auto const a = Ryx::make< Object >( "a" );
   auto const b = Ryx::make< Object >( "b" );
   std::unordered_set< Ptr< Object > > const set{ a, b, a };
   EXPECT_EQ( set.size(), 2u );
   EXPECT_EQ( set.count( b ), 1u );
}

} // namespace
