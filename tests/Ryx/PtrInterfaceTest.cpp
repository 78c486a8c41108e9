// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Ptr>

#include <gtest/gtest.h>

#include <functional>
#include <thread>

namespace {

using Ryx::Ptr;

// An object whose reference word shows.
class Object final : public Ryx::PtrInterface {
 public:
   explicit Object( std::uint32_t word = 0 ) : PtrInterface( word ) { ++live; }
   ~Object() override { --live; }

   using PtrInterface::word;
   void zeroReferencesIs( bool zero ) override {
      zeroReferences += zero ? 1 : 1000;
      if ( atZero ) {
         std::exchange( atZero, nullptr )();
      }
   }

   std::function< void() > atZero;

   static inline int live = 0;
   static inline int zeroReferences = 0;
};

class PtrInterfaceTest : public testing::Test {
 protected:
   PtrInterfaceTest() { Object::zeroReferences = 0; }
   ~PtrInterfaceTest() override {
      object = nullptr;
      EXPECT_EQ( Object::live, 0 );
   }

   Ptr< Object > object = Ryx::make< Object >();
};

TEST_F( PtrInterfaceTest, StartsWithOneReferenceAndNoFlags ) {
   EXPECT_EQ( object->word(), 1u );
}

TEST_F( PtrInterfaceTest, CountsReferences ) {
   object->newReference();
   object->newReference();
   EXPECT_EQ( object->word(), 3u );
   EXPECT_EQ( object->references(), 3u );
   object->deleteReference();
   object->deleteReference();
   EXPECT_EQ( object->word(), 1u );
}

TEST_F( PtrInterfaceTest, CountsReferencesOfSeveralThreads ) {
   constexpr int each = 20000;
   auto const use = [ this ] {
      for ( int i = 0; i < each; ++i ) {
         object->newReference();
         object->newReference();
         object->deleteReference();
      }
   };
   std::thread other( use );
   use();
   other.join();
   EXPECT_EQ( object->references(), 1u + 2 * each );
   for ( int i = 0; i < 2 * each; ++i ) {
      object->deleteReference();
   }
}

TEST_F( PtrInterfaceTest, Bit29SaysThatDeliveryIsActive ) {
   object->hasNotificationActiveIs( true );
   EXPECT_EQ( object->word(), 0x20000001u );
   EXPECT_TRUE( object->hasNotificationActive() );
   object->hasNotificationActiveIs( false );
   EXPECT_EQ( object->word(), 1u );
   EXPECT_FALSE( object->hasNotificationActive() );
}

TEST_F( PtrInterfaceTest, Bit30SaysThatTheObjectIsHeld ) {
   object->ryxHeldIs( true );
   EXPECT_EQ( object->word(), 0x40000001u );
   object->ryxHeldIs( false );
   EXPECT_EQ( object->word(), 1u );
}

TEST_F( PtrInterfaceTest, Bit31SaysThatTheObjectIsMarkedForDeletion ) {
   object->ryxMarkedForDeletionIs( true );
   EXPECT_EQ( object->word(), 0x80000001u );
   EXPECT_TRUE( object->ryxMarkedForDeletion() );
   object->ryxMarkedForDeletionIs( false );
   EXPECT_EQ( object->word(), 1u );
   EXPECT_FALSE( object->ryxMarkedForDeletion() );
}

TEST_F( PtrInterfaceTest, FlagsAndCountLeaveEachOtherAlone ) {
   object->hasNotificationActiveIs( true );
   object->ryxMarkedForDeletionIs( true );
   object->newReference();
   EXPECT_EQ( object->word(), 0xa0000002u );
   object->ryxHeldIs( true );
   object->hasNotificationActiveIs( false );
   object->deleteReference();
   EXPECT_EQ( object->word(), 0xc0000001u );
   object->ryxHeldIs( false );
}

TEST_F( PtrInterfaceTest, PinningMakesTheTopByte1f ) {
   object->newReference();
   object->isNondestructingIs( true );
   EXPECT_EQ( object->word(), 0x1f000002u );
   EXPECT_TRUE( object->isNondestructing() );
   object->isNondestructingIs( false );
   object->deleteReference();
}

TEST_F( PtrInterfaceTest, NothingChangesThePinnedWord ) {
   object->isNondestructingIs( true );
   object->newReference();
   EXPECT_EQ( object->word(), 0x1f000001u );
   object->hasNotificationActiveIs( true );
   object->ryxMarkedForDeletionIs( true );
   object->ryxHeldIs( true );
   EXPECT_EQ( object->word(), 0x1f000001u );
   object->ryxHeldIs( false );
   object->deleteReference();
   object->deleteReference();
   EXPECT_EQ( object->word(), 0x1f000001u );
   EXPECT_EQ( Object::live, 1 );
   object->newReference();
   object->isNondestructingIs( false );
}

TEST_F( PtrInterfaceTest, UnpinningGoesOnWithTheReferencesThatThereAre ) {
   object->newReference();
   object->isNondestructingIs( true );
   object->newReference();
   object->isNondestructingIs( true );
   object->isNondestructingIs( false );
   EXPECT_EQ( object->word(), 3u );
   EXPECT_FALSE( object->isNondestructing() );
   object->isNondestructingIs( false );
   object->deleteReference();
   object->deleteReference();
   EXPECT_EQ( object->word(), 1u );
}

TEST_F( PtrInterfaceTest, AWordIsPinnedWhenItsTopByteIsExactly1f ) {
   for ( std::uint32_t const top :
         { 0x3f000000u, 0x5f000000u, 0x9f000000u, 0x1e000000u } ) {
      auto* const counted = new Object( top );
      EXPECT_FALSE( counted->isNondestructing() );
      counted->newReference();
      EXPECT_EQ( counted->word(), top + 2 );
      delete counted;
   }
   auto* const pinned = new Object( 0x1f000000u );
   EXPECT_TRUE( pinned->isNondestructing() );
   delete pinned;
}

TEST_F( PtrInterfaceTest, ACountThatReachesThePinnedByteStaysThere ) {
   auto* const popular = new Object( 0x1effffffu );
   popular->newReference();
   EXPECT_EQ( popular->word(), 0x1f000000u );
   popular->newReference();
   popular->deleteReference();
   popular->deleteReference();
   EXPECT_EQ( popular->word(), 0x1f000000u );
   delete popular;
}

TEST_F( PtrInterfaceTest, TheLastReferenceReleasesTheObjectAfterTellingIt ) {
   auto last = Ryx::make< Object >();
   last->ryxMarkedForDeletionIs( true );
   last->hasNotificationActiveIs( true );
   last = nullptr;
   EXPECT_EQ( Object::zeroReferences, 1 );
   EXPECT_EQ( Object::live, 1 );
}

TEST_F( PtrInterfaceTest, HeldObjectSurvivesTheLastReference ) {
   Object* const held = Ryx::make< Object >().release();
   held->ryxHeldIs( true );
   held->deleteReference();
   EXPECT_EQ( Object::zeroReferences, 0 );
   EXPECT_EQ( held->word(), 0x40000000u );
   { Ptr< Object > const again( held ); }
   EXPECT_EQ( Object::live, 2 );
   held->ryxHeldIs( false );
   EXPECT_EQ( Object::zeroReferences, 1 );
   EXPECT_EQ( Object::live, 1 );
}

TEST_F( PtrInterfaceTest, LettingGoOfAHeldObjectThatIsReferencedReleasesNothing ) {
   object->ryxHeldIs( true );
   object->ryxHeldIs( false );
   EXPECT_EQ( Object::zeroReferences, 0 );
   EXPECT_EQ( object->word(), 1u );
}

TEST_F( PtrInterfaceTest, AReferenceTakenAtZeroKeepsTheObjectAlive ) {
   Ptr< Object > kept;
   auto* const dying = Ryx::make< Object >().release();
   dying->atZero = [ & ] { kept = Ptr< Object >( dying ); };
   dying->deleteReference();
   ASSERT_EQ( Object::live, 2 );
   EXPECT_EQ( kept->word(), 1u );
   EXPECT_EQ( Object::zeroReferences, 1 );
   kept = nullptr;
   EXPECT_EQ( Object::zeroReferences, 2 );
   EXPECT_EQ( Object::live, 1 );
}

TEST_F( PtrInterfaceTest, ReferencesThatComeAndGoAtZeroReleaseItOnce ) {
   auto* const dying = Ryx::make< Object >().release();
   dying->atZero = [ & ] {
      dying->newReference();
      dying->deleteReference();
   };
   dying->deleteReference();
   EXPECT_EQ( Object::zeroReferences, 1 );
   EXPECT_EQ( Object::live, 1 );
}

TEST_F( PtrInterfaceTest, AFlagThatIsSetAtZeroKeepsNothing ) {
   auto* const dying = Ryx::make< Object >().release();
   dying->atZero = [ & ] { dying->ryxMarkedForDeletionIs( true ); };
   dying->deleteReference();
   EXPECT_EQ( Object::zeroReferences, 1 );
   EXPECT_EQ( Object::live, 1 );
}

TEST_F( PtrInterfaceTest, AnObjectPinnedAtZeroStays ) {
   auto* const dying = Ryx::make< Object >().release();
   dying->atZero = [ & ] { dying->isNondestructingIs( true ); };
   dying->deleteReference();
   ASSERT_EQ( Object::live, 2 );
   EXPECT_EQ( dying->references(), 0u );
   dying->isNondestructingIs( false );
   EXPECT_EQ( Object::live, 1 );
}

TEST_F( PtrInterfaceTest, HandleZeroRefOfAReferencedObjectReleasesNothing ) {
   object->handleZeroRef();
   EXPECT_EQ( object->word(), 1u );
   EXPECT_EQ( Object::live, 1 );
}

TEST_F( PtrInterfaceTest, HasNoTypeAndNoErrorsByDefault ) {
   EXPECT_EQ( object->fwkType(), nullptr );
   EXPECT_EQ( object->auditErrors( 10 ), 0u );
   EXPECT_EQ( object->ryxAuditErrors( 10 ), 0u );
}

TEST( Memory, RawStorageComesAndGoesBySize ) {
   auto* const bytes = static_cast< char* >( Ryx::memNew( 5 ) );
   std::fill_n( bytes, 5, 'x' );
   EXPECT_EQ(
      reinterpret_cast< std::uintptr_t >( bytes ) % alignof( std::max_align_t ), 0u );
   Ryx::memDel( bytes, 5 );
}

TEST( Memory, SmallRecordsComeFromThePool ) {
   struct Small : Ryx::RyxMemPool {
      int value = 7;
   };
   Small const* const small = new Small;
   EXPECT_EQ( small->value, 7 );
   delete small;
}

} // namespace
