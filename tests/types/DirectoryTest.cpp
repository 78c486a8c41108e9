// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The interface directories.

#include <types/AttributeLists>

#include <Interface/AllEthPhyIntfConfigDir>
#include <Interface/AllEthPhyIntfStatusDir>
#include <Interface/AllIntfStatusDir>
#include <Interface/EthIntfStatusDir>
#include <Interface/EthLagIntfStatusDir>
#include <Interface/PeerIntfStatusDir>

#include <gtest/gtest.h>

namespace {

using types::Names;
using types::slots;
using types::operator+;

TEST( InterfaceIntfStatusDirBase, DeclaresItsAttributesAndCallbacksInOrder ) {
   EXPECT_EQ(
      types::ownAttributes( "Interface::IntfStatusDirBase" ),
      ( Names{ "isNondestructing", "genIdMarker", "counterDirPath" } ) );
   using N = Interface::IntfStatusDirBase::NotifieeConst;
   auto const callbacks = slots( &N::onGenIdMarker ) + slots( &N::onCounterDirPath );
   EXPECT_EQ( callbacks, support::slotsFrom( types::firstSlot(), 2 ) );
   EXPECT_EQ( callbacks, types::tableSlots< Interface::IntfStatusDirBase >() );
}

TEST( InterfaceIntfConfigDirBase, DeclaresItsAttributesAndCallbacksInOrder ) {
   EXPECT_EQ(
      types::ownAttributes( "Interface::IntfConfigDirBase" ),
      ( Names{ "isNondestructing", "intfConfigRequest" } ) );
   using N = Interface::IntfConfigDirBase::NotifieeConst;
   auto const callbacks = slots(
      &N::onIntfConfigRequest,
      &N::onIntfConfigRequestryxImmediate,
      &N::onIntfConfigRequest );
   EXPECT_EQ( callbacks, support::slotsFrom( types::firstSlot(), 3 ) );
   auto const* const attr = support::type( "Interface::IntfConfigDirBase" )
                               .attr( Ryx::Name( "intfConfigRequest" ) );
   ASSERT_TRUE( attr );
   EXPECT_EQ( attr->indexType()->name().string(), "Interface::IntfConfigRequest" );
}

// A status directory adds its collection to the base.
template< class Dir >
class InterfaceStatusDir : public testing::Test {};

using StatusDirs = testing::Types<
   Interface::AllEthPhyIntfStatusDir,
   Interface::EthLagIntfStatusDir,
   Interface::PeerIntfStatusDir,
   Interface::EthIntfStatusDir,
   Interface::AllIntfStatusDir >;
TYPED_TEST_SUITE( InterfaceStatusDir, StatusDirs );

TYPED_TEST( InterfaceStatusDir, AddsIntfStatusToItsBase ) {
   std::string const name( TypeParam::fwkTypeName );
   EXPECT_EQ( types::ownAttributes( name ), Names{ "intfStatus" } );
   EXPECT_EQ(
      types::inheritedAttributes( name ),
      types::ownAttributes( "Interface::IntfStatusDirBase" ) );
   EXPECT_EQ( support::type( name ).attr( Ryx::Name( "intfStatus" ) )->id(), 260u );
   using Base = Interface::IntfStatusDirBase::NotifieeConst;
   using N = typename TypeParam::NotifieeConst;
   auto const callbacks =
      slots( &N::onIntfStatus, &N::onIntfStatusryxImmediate, &N::onIntfStatus );
   EXPECT_EQ(
      callbacks, support::slotsFrom( support::slotOf( &Base::onCounterDirPath ) + 1, 3 ) );
   EXPECT_EQ( callbacks, types::tableSlots< TypeParam >() );
}

TYPED_TEST( InterfaceStatusDir, KeepsElementsUnderTheirOwnInterfaceId ) {
   using Element = typename TypeParam::IntfStatusStorage::Element;
   // A base element is abstract by use: what stands in the directory of all is derived.
   using Made = std::conditional_t<
      std::is_same_v< Element, Interface::IntfStatus >,
      Interface::PeerIntfStatus,
      Element >;
   Kovel::IntfId const id( "Ethernet1" );
   auto const dir = Ryx::make< TypeParam >( "dir" );
   auto const first = Ryx::make< Made >( id );
   auto const second = Ryx::make< Made >( id );
   EXPECT_FALSE( dir->intfStatus( id ) );
   dir->intfStatusIs( first );
   EXPECT_EQ( dir->intfStatus( id ), first );
   dir->intfStatusIs( second );
   EXPECT_EQ( dir->intfStatus( id ), second );
   EXPECT_EQ( first->references(), 1u );
   EXPECT_EQ( dir->intfStatusDel( id ), second );
   EXPECT_FALSE( dir->intfStatusDel( id ) );
   dir->intfStatusIs( first );
   dir->intfStatusDelAll();
   EXPECT_FALSE( dir->intfStatusIterator() );
}

TYPED_TEST( InterfaceStatusDir, RefusesANullElementByTheMutatorsName ) {
   auto const dir = Ryx::make< TypeParam >( "dir" );
   EXPECT_EQ(
      support::refusal( [ & ] { dir->intfStatusIs( nullptr ); } ),
      "null _intfStatus parameter to mutator for " + std::string( TypeParam::fwkTypeName ) +
         "::intfStatus not allowed\"" );
}

TEST( InterfaceAllEthPhyIntfConfigDir, AddsIntfConfigToItsBase ) {
   std::string const name = "Interface::AllEthPhyIntfConfigDir";
   EXPECT_EQ( types::ownAttributes( name ), Names{ "intfConfig" } );
   EXPECT_EQ(
      types::inheritedAttributes( name ),
      types::ownAttributes( "Interface::IntfConfigDirBase" ) );
   using Base = Interface::IntfConfigDirBase::NotifieeConst;
   using N = Interface::AllEthPhyIntfConfigDir::NotifieeConst;
   void ( Base::*const last )() = &Base::onIntfConfigRequest;
   auto const callbacks =
      slots( &N::onIntfConfig, &N::onIntfConfigryxImmediate, &N::onIntfConfig );
   EXPECT_EQ( callbacks, support::slotsFrom( support::slotOf( last ) + 1, 3 ) );
   EXPECT_EQ( callbacks, types::tableSlots< Interface::AllEthPhyIntfConfigDir >() );
}

} // namespace
