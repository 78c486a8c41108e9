// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/state/Values>

#include <gmock/gmock.h>

using ostra::construct;
using ostra::GenericPtr;
using ostra::RyxType;
using ostra::settableAttribute;
using ostra::settableAttributes;
using testing::ElementsAre;

namespace {

RyxType const&
typeOf( char const* name ) {
   return *RyxType::type( Ryx::Name( name ) );
}

} // namespace

TEST( Values, OnlyStoredAttributesOfTheTypesOwnAreSettable ) {
   std::vector< std::string > names;
   for ( auto const* attribute : settableAttributes( typeOf( "Interface::IntfConfig" ) ) ) {
      names.push_back( attribute->name().string() );
   }
   EXPECT_THAT( names, ElementsAre( "defaultConfig", "adminEnabledStateLocal" ) );
   EXPECT_FALSE( settableAttribute( typeOf( "Interface::IntfConfig" ), "mtu" ) );
   EXPECT_FALSE(
      settableAttribute( typeOf( "Interface::IntfConfig" ), "isNondestructing" ) );
}

TEST( Values, ObjectsAreBuiltFromTheirOneArgument ) {
   EXPECT_EQ( construct( typeOf( "Mlag::Config" ), "any name" )->strRep(), "any name" );
   EXPECT_EQ( construct( typeOf( "Interface::IntfConfig" ), "Vlan7" )->strRep(), "Vlan7" );
   EXPECT_THROW(
      construct( typeOf( "Interface::IntfConfig" ), "vlan7" ), Ryx::RangeException );
}

TEST( Values, ConstObjectCanBeMadeChangeable ) {
   GenericPtr const object = construct( typeOf( "Lacp::LacpPCConfig" ), "Port-Channel1" );
   RyxType const& type = *object->type();
   auto const* const attribute = settableAttribute( type, "stayInStandby" );
   GenericPtr const asConst =
      type.code().wrap( Ryx::Ptr< Ryx::PtrInterface const >( object->object() ), true );
   GenericPtr const value = attribute->valueType()->code().parse( "true" );
   EXPECT_THROW(
      ostra::write( *asConst, *attribute, nullptr, value ), Ryx::RangeException );
   ostra::write( *ostra::changeable( asConst ), *attribute, nullptr, value );
   EXPECT_EQ( ostra::objectToJson( *object ).dump(), R"({"stayInStandby":true})" );
   EXPECT_EQ( ostra::changeable( object ).ptr(), object.ptr() );
}

TEST( Values, ReferencesAndEnumerationsReadAsNamesAndNumbers ) {
   GenericPtr const object = construct( typeOf( "Lag::EthPhyIntfLagConfig" ), "Ethernet1" );
   RyxType const& type = *object->type();
   EXPECT_EQ( ostra::objectToJson( *object ).dump(), R"({"lag":null,"mode":0})" );
   auto const* const lag = settableAttribute( type, "lag" );
   ostra::write( *object, *lag, nullptr, construct( *lag->valueType(), "Port-Channel5" ) );
   auto const* const mode = settableAttribute( type, "mode" );
   ostra::write( *object, *mode, nullptr, mode->valueType()->code().parse( "lacpActive" ) );
   EXPECT_EQ(
      ostra::objectToJson( *object ).dump(), R"({"lag":"Port-Channel5","mode":2})" );
}
