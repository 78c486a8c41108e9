// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A unit that is loaded, unloaded and loaded again.

#include "CoreDoubles"

#include <Ryx/Registration>

#include <gtest/gtest.h>

#include <optional>

namespace {

using Ryx::Name;
using Ryx::RyxType;

enum class Colour : unsigned char { red, green };

class Lamp final : public Ryx::EntityOf< Lamp > {
 public:
   static constexpr std::string_view fwkTypeName = "Test::Unit::Lamp";
   class NotifieeConst : public Ryx::NotifieeConstOf< Lamp, Ryx::Entity::NotifieeConst > {
    public:
      virtual void onColour() {}
   };
   static constexpr auto attributes() {
      return Ryx::AttributeList<
         Ryx::Value< "colour", &Lamp::colour_, &NotifieeConst::onColour > >();
   }
   static constexpr auto constructor() { return Ryx::Constructor< Lamp >(); }
   Lamp() : EntityOf( "lamp" ) {}

 private:
   Colour colour_ = Colour::red;
};

} // namespace

template<>
struct Ryx::ValueTraits< Colour > : Ryx::EnumTraits< Colour > {
   static constexpr std::string_view name = "Test::Unit::Colour";
   static constexpr std::array< std::string_view, 2 > enumerators{ "red", "green" };
};

namespace {

class UnitRegistrationTest : public testing::Test {
 protected:
   using Unit = Ryx::UnitRegistration< Colour, Lamp >;

   std::optional< Unit > unit{ std::in_place, "Test::Unit" };
};

TEST_F( UnitRegistrationTest, LoadingGivesTheTypesTheirCode ) {
   RyxType const* const lamp = RyxType::type( "Test::Unit::Lamp" );
   ASSERT_NE( lamp, nullptr );
   EXPECT_NE( lamp->code().wrap, nullptr );
   EXPECT_NE( lamp->code().construct, nullptr );
   RyxType const* const colour = RyxType::type( "Test::Unit::Colour" );
   EXPECT_NE( colour->code().parse, nullptr );
   EXPECT_NE( colour->code().defaultValue, nullptr );
}

TEST_F( UnitRegistrationTest, UnloadingTakesTheCodeOutAndKeepsTheDescriptions ) {
   unit.reset();
   RyxType const* const lamp = RyxType::type( "Test::Unit::Lamp" );
   ASSERT_NE( lamp, nullptr );
   EXPECT_EQ( lamp->code().wrap, nullptr );
   EXPECT_EQ( lamp->code().construct, nullptr );
   EXPECT_EQ( lamp->attr( Name( "colour" ) )->id(), 258u );
   RyxType const* const colour = RyxType::type( "Test::Unit::Colour" );
   EXPECT_EQ( colour->code().parse, nullptr );
   EXPECT_EQ( colour->code().defaultValue, nullptr );
}

TEST_F( UnitRegistrationTest, LoadingAgainFindsTheDescriptionsAndChangesNothing ) {
   RyxType const* const lamp = RyxType::type( "Test::Unit::Lamp" );
   auto const attributes = lamp->attributeQ();
   std::size_t const types = RyxType::types().size();
   for ( int i = 0; i < 3; ++i ) {
      unit.reset();
      unit.emplace( "Test::Unit" );
   }
   EXPECT_EQ( RyxType::type( "Test::Unit::Lamp" ), lamp );
   EXPECT_EQ( lamp->attributeQ(), attributes );
   EXPECT_EQ( RyxType::types().size(), types );
   EXPECT_EQ( RyxType::type( "Test::Unit::Colour" )->enumerators().size(), 2u );
   EXPECT_NE( lamp->code().wrap, nullptr );
}

TEST_F( UnitRegistrationTest, AnObjectOfAnUnloadedUnitIsStillShown ) {
   auto const lamp = Ryx::make< Lamp >();
   unit.reset();
   auto const shown = Ryx::wrapObject( lamp, false );
   EXPECT_EQ( shown->type(), Lamp::_fwkType() );
   EXPECT_EQ( shown->attributeId( "colour" ), 258u );
   EXPECT_EQ( shown->strRep(), "Test::Unit::Lamp" );
}

// What the introspection reactor is told.

TEST_F( UnitRegistrationTest, NamespacesOpenAndClose ) {
   auto& introspection = Ryx::IntrospectionReactor::global();
   EXPECT_TRUE( introspection.scopes().empty() );
   introspection.handleNameSpace( "Outer" );
   introspection.handleNameSpace( "Inner" );
   EXPECT_EQ( introspection.scopes(), ( std::vector< Name >{ "Outer", "Inner" } ) );
   introspection.handleScopeExit();
   EXPECT_EQ( introspection.scopes(), std::vector< Name >{ "Outer" } );
   introspection.handleScopeExit();
}

TEST_F( UnitRegistrationTest, AnAttributeIsDefinedOnce ) {
   auto& introspection = Ryx::IntrospectionReactor::global();
   RyxType* const type = RyxType::typeIs( "Test::Unit::ByHand" );
   auto const define = [ & ]( char const* name ) {
      return introspection.defNoninstantiatingAttr(
         type,
         name,
         Ryx::describedType< bool >(),
         nullptr,
         {},
         {},
         Ryx::RyxAttr::RyxAttrIntrospectionFlags(),
         258 );
   };
   auto const first = define( "on" );
   EXPECT_EQ( first->name(), Name( "on" ) );
   EXPECT_EQ( first->owningType(), type );
   EXPECT_EQ( define( "off" ), first );
   EXPECT_EQ( type->attributeQ().size(), 1u );
   EXPECT_EQ( introspection.attrContext(), nullptr );
}

TEST_F( UnitRegistrationTest, AnAttributesContextIsOpenUntilItIsLeft ) {
   auto& introspection = Ryx::IntrospectionReactor::global();
   auto const colour = Ryx::RyxAttr::attr( *Lamp::_fwkType(), "colour" );
   introspection.handleAttr( *colour );
   EXPECT_EQ( introspection.attrContext(), colour.ptr() );
   introspection.handleAttrContextExit();
   EXPECT_EQ( introspection.attrContext(), nullptr );
}

TEST( IntrospectionDeathTest, AScopeThatWasNotEnteredCannotBeLeft ) {
   EXPECT_DEATH(
      Ryx::IntrospectionReactor::global().handleScopeExit(), "!scopes_.empty\\(\\)" );
}

} // namespace
