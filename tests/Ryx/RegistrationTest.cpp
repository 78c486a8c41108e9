// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What is registered of types and attributes, and how it is found again.

#include "Board"
#include "Supervisor"

#include <Ryx/Registration>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using doubles::Board;
using doubles::FastPort;
using doubles::Port;
using doubles::refusal;
using doubles::Supervisor;
using Ryx::Name;
using Ryx::RyxAttr;
using Ryx::RyxType;
using Flags = RyxAttr::AttrFlags;

RyxAttr const&
attr( RyxType const& type, char const* name ) {
   return *RyxAttr::attr( type, name );
}

// "id name value-type" of each attribute that the type itself declares.
std::vector< std::string >
listed( RyxType const& type ) {
   std::vector< std::string > all;
   for ( RyxType::AttributeQIteratorConst it = type.attributeQ().begin();
         it != type.attributeQ().end();
         ++it ) {
      RyxType const* const value = ( *it )->valueType();
      all.push_back(
         std::to_string( ( *it )->id() ) + " " + ( *it )->name().string() + " " +
         ( value ? value->name().string() : "-" ) );
   }
   return all;
}

TEST( Registration, ATypeIsFoundByItsName ) {
   RyxType const* const type = RyxType::type( "Test::Port" );
   ASSERT_NE( type, nullptr );
   EXPECT_EQ( type, Port::_fwkType() );
   EXPECT_EQ( type, Ryx::make< Port >( 1u )->fwkType() );
   EXPECT_EQ( type->name(), Name( "Test::Port" ) );
   EXPECT_EQ( RyxType::type( "Test::Nothing" ), nullptr );
}

TEST( Registration, AnObjectReportsItsOwnTypeThroughItsBase ) {
   Ryx::Ptr< Port > const port = Ryx::make< FastPort >( 1u );
   EXPECT_EQ( port->fwkType(), RyxType::type( "Test::FastPort" ) );
}

TEST( Registration, TypesAreListedInTheOrderOfTheirNames ) {
   auto const types = RyxType::types();
   auto const less = []( RyxType const* a, RyxType const* b ) {
      return a->name() < b->name();
   };
   EXPECT_TRUE( std::is_sorted( types.begin(), types.end(), less ) );
   EXPECT_EQ( std::count( types.begin(), types.end(), Board::_fwkType() ), 1 );
}

TEST( Registration, ADescriptionIsPinned ) {
   RyxType* const type = Board::_fwkType();
   EXPECT_TRUE( type->isNondestructing() );
   { Ryx::Ptr< RyxType > const use( type ); }
   type->deleteReference();
   EXPECT_EQ( RyxType::type( "Test::Board" ), type );
}

TEST( Registration, ATypeIsMadeOnFirstUseAndFoundAfterwards ) {
   EXPECT_EQ( RyxType::type( "Test::Late" ), nullptr );
   RyxType* const late = RyxType::typeIs( "Test::Late" );
   EXPECT_TRUE( late->isNondestructing() );
   EXPECT_EQ( RyxType::typeIs( "Test::Late" ), late );
   EXPECT_EQ( RyxType::type( "Test::Late" ), late );
   EXPECT_FALSE( late->hasGenericIfSupport() );
   EXPECT_FALSE( late->isEntity() );
}

TEST( Registration, EntitiesAndOthersAreToldApart ) {
   EXPECT_TRUE( Port::_fwkType()->isEntity() );
   EXPECT_FALSE( Supervisor::_fwkType()->isEntity() );
   EXPECT_TRUE( Port::_fwkType()->hasGenericIfSupport() );
   EXPECT_TRUE( Supervisor::_fwkType()->hasGenericIfSupport() );
   EXPECT_TRUE( Port::_fwkType()->flags().isEntity );
   EXPECT_EQ( Port::_fwkType()->size(), sizeof( Port ) );
   EXPECT_EQ( Port::_fwkType()->kind(), Ryx::ValueKind::object );
}

TEST( Registration, TheScopeIsTheNamespace ) {
   EXPECT_EQ( Port::_fwkType()->scope(), Name( "Test" ) );
   EXPECT_EQ( RyxType::typeIs( "Test::Inner::Thing" )->scope(), Name( "Test::Inner" ) );
   EXPECT_EQ( RyxType::type( "Ryx::Builtin<bool>" )->scope(), Name( "Ryx" ) );
   EXPECT_EQ( RyxType::typeIs( "Plain" )->scope(), Name() );
}

TEST( Registration, ADerivedTypeKnowsItsBase ) {
   RyxType const* const fast = FastPort::_fwkType();
   EXPECT_EQ( fast->baseType(), Port::_fwkType() );
   EXPECT_EQ( Port::_fwkType()->baseType(), nullptr );
   EXPECT_TRUE( fast->isA( Port::_fwkType() ) );
   EXPECT_TRUE( fast->isA( fast ) );
   EXPECT_FALSE( Port::_fwkType()->isA( fast ) );
   EXPECT_FALSE( fast->isA( RyxType::type( "Ryx::Builtin<bool>" ) ) );
}

TEST( Registration, AnEntitysAttributesBeginWithIsNondestructing ) {
   EXPECT_EQ(
      listed( *Port::_fwkType() ),
      ( std::vector< std::string >{ "6 isNondestructing Ryx::Builtin<bool>",
                                    "258 intfId Ryx::Builtin<unsigned int>",
                                    "259 speed Ryx::Builtin<unsigned int>",
                                    "260 label Ryx::String8" } ) );
}

TEST( Registration, ADerivedTypeDeclaresItsOwnAttributesBehindThoseOfItsBase ) {
   RyxType const& fast = *FastPort::_fwkType();
   EXPECT_EQ(
      listed( fast ),
      ( std::vector< std::string >{ "261 lanes Ryx::Builtin<unsigned int>",
                                    "262 power Ryx::Builtin<double>" } ) );
   auto const all = fast.allAttributes();
   ASSERT_EQ( all.size(), 6u );
   EXPECT_EQ( all.front()->name(), Name( "isNondestructing" ) );
   EXPECT_EQ( all.back()->name(), Name( "power" ) );
   EXPECT_EQ( RyxAttr::attr( fast, "speed" )->owningType(), Port::_fwkType() );
}

TEST( Registration, EveryKindOfAttributeIsListedInOrder ) {
   EXPECT_EQ(
      listed( *Board::_fwkType() ),
      ( std::vector< std::string >{ "6 isNondestructing Ryx::Builtin<bool>",
                                    "258 mode Test::Mode",
                                    "259 uplink Test::Port",
                                    "260 supply Test::Supply",
                                    "261 level Ryx::Builtin<unsigned int>",
                                    "262 held Ryx::Builtin<bool>",
                                    "263 spare Test::Port",
                                    "264 port Test::Port",
                                    "265 slot Test::Slot",
                                    "266 vendor Ryx::Name",
                                    "267 sensor Ryx::Builtin<double>",
                                    "300 total Ryx::Builtin<unsigned int>",
                                    "301 sum Ryx::Builtin<unsigned int>",
                                    "302 reset -",
                                    "303 adopt Test::Port",
                                    "304 weight Ryx::Builtin<double>",
                                    "305 age Ryx::Builtin<unsigned int>",
                                    "306 fan Test::Port",
                                    "307 highest Ryx::Builtin<unsigned int>",
                                    "308 ryxFwkActivity Ryx::ActivityConfig" } ) );
}

TEST( Registration, ATypeThatIsNoEntityHasItsOwnAttributesOnly ) {
   EXPECT_EQ(
      listed( *Supervisor::_fwkType() ),
      ( std::vector< std::string >{ "258 master Test::Port",
                                    "259 backup Test::Port",
                                    "260 port Test::Port",
                                    "261 ryxDoZombieReactors -" } ) );
}

TEST( Registration, FlagsSayWhatMayBeDoneWithAnAttribute ) {
   RyxType const& board = *Board::_fwkType();
   constexpr std::uint32_t readWrite = Flags::isReadable | Flags::isWritable;
   constexpr std::uint32_t collection =
      readWrite | Flags::isDeletable | Flags::isCollection;
   auto const low = []( RyxType const& type, char const* name ) {
      return attr( type, name ).attrFlags().low;
   };
   EXPECT_EQ( low( board, "isNondestructing" ), readWrite );
   EXPECT_EQ( low( board, "mode" ), readWrite );
   EXPECT_EQ( low( board, "uplink" ), readWrite | Flags::isContained );
   EXPECT_EQ( low( board, "level" ), collection );
   EXPECT_EQ( low( board, "held" ), collection | Flags::isSet );
   EXPECT_EQ( low( board, "spare" ), collection );
   EXPECT_EQ( low( board, "port" ), collection | Flags::isSelfKeyed );
   EXPECT_EQ( low( board, "slot" ), collection | Flags::isInstantiating );
   EXPECT_EQ( low( board, "vendor" ), std::uint32_t( Flags::isInert ) );
   EXPECT_EQ(
      low( board, "sensor" ), std::uint32_t( Flags::isInert | Flags::isCollection ) );
   EXPECT_EQ( low( board, "sum" ), 0u );
   EXPECT_EQ( low( board, "weight" ), readWrite );
   EXPECT_EQ( low( board, "age" ), std::uint32_t( Flags::isReadable ) );
   EXPECT_EQ( low( board, "highest" ), std::uint32_t( Flags::isReadable ) );
   EXPECT_EQ(
      low( board, "fan" ),
      std::uint32_t(
         Flags::isReadable | Flags::isInstantiating | Flags::isDeletable |
         Flags::isContained ) );
   EXPECT_EQ( low( *Port::_fwkType(), "intfId" ), std::uint32_t( Flags::isReadable ) );
   RyxType const& supervisor = *Supervisor::_fwkType();
   EXPECT_EQ(
      low( supervisor, "master" ), readWrite | Flags::isDeletable | Flags::isConst );
   EXPECT_EQ( low( supervisor, "port" ), collection | Flags::isConst | Flags::isSelfKeyed );
}

TEST( Registration, ACollectionKnowsItsIndexType ) {
   RyxType const& board = *Board::_fwkType();
   EXPECT_EQ(
      attr( board, "level" ).indexType()->name(), Name( "Ryx::Builtin<unsigned int>" ) );
   EXPECT_EQ( attr( board, "sensor" ).indexType(), attr( board, "level" ).indexType() );
   EXPECT_EQ( attr( board, "mode" ).indexType(), nullptr );
   EXPECT_EQ(
      attr( board, "level" ).introspectionFlags().value(),
      RyxAttr::RyxAttrIntrospectionFlags::hasInternalIndex_ );
}

TEST( Registration, OperationsAreFlaggedAndKnowTheirArguments ) {
   RyxAttr const& sum = attr( *Board::_fwkType(), "sum" );
   EXPECT_TRUE( sum.introspectionFlags().isFunction() );
   ASSERT_EQ( sum.arguments().size(), 2u );
   EXPECT_EQ( sum.arguments()[ 0 ].name, Name( "first" ) );
   EXPECT_EQ( sum.arguments()[ 1 ].name, Name( "second" ) );
   EXPECT_EQ( sum.arguments()[ 1 ].type->name(), Name( "Ryx::Builtin<unsigned int>" ) );
   EXPECT_FALSE( attr( *Board::_fwkType(), "mode" ).introspectionFlags().isFunction() );
   RyxAttr const& fan = attr( *Board::_fwkType(), "fan" );
   ASSERT_EQ( fan.arguments().size(), 2u );
   EXPECT_EQ( fan.arguments()[ 1 ].type->name(), Name( "Ryx::String8" ) );
}

TEST( Registration, AConstructorsArgumentsAndResultAreKnown ) {
   RyxType const& board = *Board::_fwkType();
   ASSERT_EQ( board.constructorArguments().size(), 2u );
   EXPECT_EQ( board.constructorArguments()[ 0 ].name, Name( "name" ) );
   EXPECT_EQ( board.constructorArguments()[ 1 ].type, Port::_fwkType() );
   EXPECT_EQ( board.constructedType(), &board );
}

TEST( Registration, AConstructorIsNotInherited ) {
   EXPECT_NE( Port::_fwkType()->code().construct, nullptr );
   EXPECT_EQ( FastPort::_fwkType()->constructedType(), nullptr );
   EXPECT_EQ( FastPort::_fwkType()->code().construct, nullptr );
}

TEST( Registration, IntrospectionFlagsHaveSixBits ) {
   using Introspection = RyxAttr::RyxAttrIntrospectionFlags;
   EXPECT_EQ( Introspection( 0x3f ).value(), 0x3fu );
   EXPECT_EQ( Introspection().value(), 0u );
   for ( unsigned const value : { 0x40u, 0xffffffffu } ) {
      EXPECT_EQ(
         refusal( [ = ] { Introspection{ value }; } ),
         "RyxAttrIntrospectionFlags::value > 0x3f not allowed" );
   }
}

TEST( Registration, AnAttributeIsLookedUpByName ) {
   RyxType const& supervisor = *Supervisor::_fwkType();
   auto const found = RyxAttr::attr( supervisor, "ryxDoZombieReactors" );
   EXPECT_EQ( found->id(), 261u );
   EXPECT_EQ( RyxAttr::attr( supervisor, "nothing" ), nullptr );
   EXPECT_EQ( supervisor.attr( Ryx::AttributeId( 260 ) )->name(), Name( "port" ) );
   EXPECT_EQ( supervisor.attr( Ryx::AttributeId( 999 ) ), nullptr );
}

TEST( Registration, ValueTypesAreDescribed ) {
   for ( auto const& [ name, kind ] :
         std::vector< std::pair< char const*, Ryx::ValueKind > >{
            { "Ryx::Builtin<bool>", Ryx::ValueKind::boolean },
            { "Ryx::Builtin<double>", Ryx::ValueKind::number },
            { "Ryx::Builtin<unsigned char>", Ryx::ValueKind::number },
            { "Ryx::Builtin<unsigned int>", Ryx::ValueKind::number },
            { "Ryx::String8", Ryx::ValueKind::text },
            { "Ryx::Name", Ryx::ValueKind::text },
            { "Test::Mode", Ryx::ValueKind::enumeration },
            { "Test::Supply", Ryx::ValueKind::structure } } ) {
      RyxType const* const type = RyxType::type( name );
      ASSERT_NE( type, nullptr ) << name;
      EXPECT_EQ( type->kind(), kind ) << name;
      EXPECT_FALSE( type->isEntity() ) << name;
   }
   EXPECT_EQ(
      RyxType::type( "Test::Mode" )->enumerators(),
      ( std::vector< Name >{ "off", "slow", "fast" } ) );
   EXPECT_EQ(
      listed( *RyxType::type( "Test::Supply" ) ),
      ( std::vector< std::string >{ "258 volts Ryx::Builtin<unsigned int>",
                                    "259 source Ryx::String8" } ) );
}

} // namespace
