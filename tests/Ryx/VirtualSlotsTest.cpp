// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The order of the virtual operations, which libraries built apart from each other agree
// on. The place of an operation in its table is read out of a pointer to the member.

#include "Board"
#include "Supervisor"

#include <gtest/gtest.h>

#include <cstring>

#if defined( __GXX_ABI_VERSION ) && defined( __x86_64__ )

namespace {

using doubles::Board;
using doubles::Supervisor;
using Ryx::ActivityConfig;
using Ryx::AttributeId;
using Ryx::Entity;
using Ryx::PtrInterface;
using Slots = std::vector< std::size_t >;
using NotifieeConst = PtrInterface::NotifieeConst;

// One past the offset in the table, followed by an adjustment of the object.
template< class F >
std::size_t
slotOf( F operation ) {
   std::ptrdiff_t words[ 2 ];
   static_assert( sizeof words == sizeof operation );
   std::memcpy( words, &operation, sizeof words );
   EXPECT_EQ( words[ 0 ] % 2, 1 ) << "not virtual";
   EXPECT_EQ( words[ 1 ], 0 ) << "not in the first table";
   return static_cast< std::size_t >( words[ 0 ] - 1 ) / sizeof( void* );
}

Slots
slotsFrom( std::size_t first, std::size_t count ) {
   Slots slots;
   for ( std::size_t i = 0; i < count; ++i ) {
      slots.push_back( first + i );
   }
   return slots;
}

// The two entries of the destructor follow.
constexpr std::size_t rootSlots = 8;

TEST( VirtualSlots, OfTheRootStandInOrder ) {
   Slots const slots{
      slotOf( &PtrInterface::hasNotificationActiveIs ),
      slotOf( &PtrInterface::ryxAuditErrors ),
      slotOf( &PtrInterface::auditErrors ),
      slotOf( &PtrInterface::isNondestructingIs ),
      slotOf( &PtrInterface::zeroReferencesIs ),
      slotOf( &PtrInterface::fwkType ),
   };
   EXPECT_EQ( slots, slotsFrom( 0, rootSlots - 2 ) );
}

TEST( VirtualSlots, OfANotifieeFollowTheDestructor ) {
   Slots const slots{
      slotOf( &NotifieeConst::ryxReactor ),
      slotOf( &NotifieeConst::ryxRawReactor ),
      slotOf( &NotifieeConst::isStreamAdapter ),
      slotOf( &NotifieeConst::isRegisteredNotifieeIs ),
      slotOf( &NotifieeConst::ryx_bitSetIs ),
      slotOf( &NotifieeConst::name ),
      slotOf( &NotifieeConst::notifierIs ),
      slotOf( &NotifieeConst::handleNotification ),
      slotOf( &NotifieeConst::handleDefault ),
      slotOf( &NotifieeConst::onAttribute ),
      slotOf( &NotifieeConst::onNotification ),
      slotOf( &NotifieeConst::onCollectionNotification ),
      slotOf< void ( NotifieeConst::* )() >( &NotifieeConst::onNotificationException ),
      slotOf< void ( NotifieeConst::* )( AttributeId ) >(
         &NotifieeConst::onNotificationException ),
      slotOf< void ( NotifieeConst::* )( AttributeId ) >(
         &NotifieeConst::handleNotificationException ),
      slotOf< void ( NotifieeConst::* )() >( &NotifieeConst::handleNotificationException ),
      slotOf( &NotifieeConst::onZeroReferences ),
      slotOf( &NotifieeConst::activityPtr ),
      slotOf< ActivityConfig* (NotifieeConst::*)() >( &NotifieeConst::ryxFwkActivity ),
      slotOf< ActivityConfig const* (NotifieeConst::*)() const >(
         &NotifieeConst::ryxFwkActivity ),
      slotOf( &NotifieeConst::actsm ),
   };
   EXPECT_EQ( slots, slotsFrom( rootSlots, 21 ) );
}

TEST( VirtualSlots, OfAnEntitysNotifieeFollowThoseOfTheRoots ) {
   Slots const slots{
      slotOf( &Entity::NotifieeConst::onParent ),
      slotOf( &Entity::NotifieeConst::onVersion ),
      slotOf( &Entity::NotifieeConst::onIsNondestructing ),
   };
   EXPECT_EQ( slots, slotsFrom( rootSlots + 21, 3 ) );
}

TEST( VirtualSlots, OfATypesCallbacksStandInTheOrderOfItsAttributes ) {
   using N = Board::NotifieeConst;
   using Keyed = void ( N::* )( unsigned );
   using Any = void ( N::* )();
   Slots const slots{
      slotOf( &N::onMode ),
      slotOf( &N::onUplink ),
      slotOf( &N::onSupply ),
      slotOf< Keyed >( &N::onLevel ),
      slotOf( &N::onLevelryxImmediate ),
      slotOf< Any >( &N::onLevel ),
      slotOf< Keyed >( &N::onHeld ),
      slotOf( &N::onHeldryxImmediate ),
      slotOf< Any >( &N::onHeld ),
   };
   EXPECT_EQ( slots, slotsFrom( rootSlots + 24, 9 ) );
}

TEST( VirtualSlots, OfAnEntityFollowTheDestructor ) {
   Slots const slots{
      slotOf( &Entity::name ),
      slotOf< Ryx::Ptr< Entity const > ( Entity::* )() const >( &Entity::parent ),
      slotOf< Ryx::Ptr< Entity > ( Entity::* )() >( &Entity::parent ),
      slotOf( &Entity::parentIs ),
      slotOf( &Entity::parentAttr ),
      slotOf( &Entity::parentAttrId ),
      slotOf( &Entity::parentAttrIdIs ),
      slotOf( &Entity::uriPath ),
      slotOf( &Entity::fullName ),
      slotOf( &Entity::attributeString ),
      slotOf( &Entity::ryxNotifieeAdapterIs ),
      slotOf( &Entity::handleParent ),
      slotOf( &Entity::ryxNboAttrLogSa ),
   };
   EXPECT_EQ( slots, slotsFrom( rootSlots, 13 ) );
}

// What a class adds behind everything that its base has.
class AfterMaster : public Ryx::Reactor< AfterMaster, Supervisor, doubles::Port > {
 public:
   using Reactor::Reactor;
   virtual void added() {}
};

TEST( VirtualSlots, TheZombieOperationIsTheLastOneOfAReactor ) {
   std::size_t const lastCallback = slotOf( &doubles::Port::NotifieeConst::onLabel );
   EXPECT_EQ( slotOf( &Supervisor::RyxMaster::ryxDoZombieReactors ), lastCallback + 1 );
   EXPECT_EQ( slotOf( &Supervisor::RyxPort::ryxDoZombieReactors ), lastCallback + 1 );
   EXPECT_EQ( slotOf( &AfterMaster::added ), lastCallback + 2 );
}

TEST( VirtualSlots, AnOwnerThatIsNoEntityAddsTheZombieOperation ) {
   EXPECT_EQ( slotOf( &Supervisor::ryxDoZombieReactors ), rootSlots );
}

} // namespace

#endif
