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

TEST_F( UnitRegistrationTest, TheCodeOfAUnitThatIsStillLoadedServes ) {
   RyxType const* const lamp = RyxType::type( "Test::Unit::Lamp" );
   RyxType const* const colour = RyxType::type( "Test::Unit::Colour" );
   std::optional< Unit > second( std::in_place, "Test::Unit" );
   unit.reset();
   EXPECT_NE( lamp->code().construct, nullptr );
   EXPECT_EQ( colour->code().parse( "green" )->strRep(), "green" );
   unit.emplace( "Test::Unit" );
   unit.reset();
   EXPECT_EQ( lamp->code().construct( {} )->type(), lamp );
   second.reset();
   EXPECT_EQ( lamp->code().construct, nullptr );
   EXPECT_EQ( colour->code().parse, nullptr );
}

// Another version of the lamp.
class OtherLamp final : public Ryx::EntityOf< OtherLamp > {
 public:
   static constexpr std::string_view fwkTypeName = Lamp::fwkTypeName;
   class NotifieeConst
         : public Ryx::NotifieeConstOf< OtherLamp, Ryx::Entity::NotifieeConst > {};
   static constexpr auto attributes() {
      return Ryx::AttributeList<
         Ryx::Fixed< "brightness", &OtherLamp::brightness_ >,
         Ryx::Fixed< "maker", &OtherLamp::maker_ > >();
   }

 private:
   double brightness_ = 1;
   Ryx::String8 maker_;
};

TEST_F( UnitRegistrationTest, AUnitThatDescribesATypeOtherwiseIsRefused ) {
   RyxType const* const lamp = RyxType::type( "Test::Unit::Lamp" );
   RyxType const* const colour = RyxType::type( "Test::Unit::Colour" );
   auto const size = lamp->size();
   using OtherUnit = Ryx::UnitRegistration< Colour, OtherLamp >;
   {
      Ryx::RefusedUnit::Inquiry const inquiry;
      OtherUnit const other( "Test::Unit" );
      EXPECT_EQ(
         other.refusal(),
         "attribute 258 \"brightness\" of Test::Unit::Lamp is already registered as 258 "
         "\"colour\"" );
      EXPECT_NE( Ryx::RefusedUnit::last(), nullptr );
   }
   EXPECT_EQ( Ryx::RefusedUnit::last(), nullptr );
   EXPECT_EQ( unit->refusal(), "" );
   EXPECT_EQ( lamp->size(), size );
   EXPECT_EQ( lamp->attributeQ().size(), 2u );
   EXPECT_TRUE( Ryx::IntrospectionReactor::global().scopes().empty() );
   unit.reset();
   EXPECT_EQ( lamp->code().wrap, nullptr );
   EXPECT_EQ( colour->code().parse, nullptr );
}

TEST_F( UnitRegistrationTest, AValueWhoseTypeIsNotLoadedCannotBeRead ) {
   auto const shown = Ryx::wrapObject( Ryx::make< Lamp >(), false );
   auto const read = [ & ] {
      return shown->attributeOp( { 258, Ryx::GenericIf::get }, nullptr, nullptr );
   };
   EXPECT_EQ( read()->strRep(), "red" );
   unit.reset();
   EXPECT_EQ(
      support::refusal< Ryx::GenericIfException >( [ & ] { read(); } ),
      "Test::Unit::Colour is not loaded" );
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

class AttributeRegistrationTest : public testing::Test {
 protected:
   // What is registered of an attribute.
   struct Facts {
      Ryx::AttributeId id = 258;
      char const* name = "on";
      RyxType* valueType = Ryx::describedType< bool >();
      RyxType* indexType = nullptr;
      std::vector< Ryx::RyxArgument > arguments = {};
      Ryx::RyxAttr::AttrFlags flags = {};
      Ryx::RyxAttr::RyxAttrIntrospectionFlags introspection{};
   };

   Ryx::Ptr< Ryx::RyxAttr > define( Facts const& facts ) const {
      return Ryx::IntrospectionReactor::global().defNoninstantiatingAttr(
         type,
         facts.name,
         facts.valueType,
         facts.indexType,
         facts.arguments,
         facts.flags,
         facts.introspection,
         facts.id );
   }
   void expectRefused( Facts const& facts, std::string const& as ) const {
      EXPECT_EQ(
         support::refusal( [ & ] { define( facts ); } ),
         "attribute " + std::to_string( facts.id ) + " \"" + facts.name +
            "\" of Test::Unit::ByHand is already registered " + as );
      EXPECT_EQ( type->attributeQ(), RyxType::AttributeQ{ first } );
      EXPECT_EQ( Ryx::IntrospectionReactor::global().attrContext(), nullptr );
   }

   RyxType* const type = RyxType::typeIs( "Test::Unit::ByHand" );
   Ryx::Ptr< Ryx::RyxAttr > const first = define( {} );
};

TEST_F( AttributeRegistrationTest, AnAttributeIsDefinedOnce ) {
   EXPECT_EQ( first->name(), Name( "on" ) );
   EXPECT_EQ( first->owningType(), type );
   EXPECT_EQ( define( {} ), first );
   EXPECT_EQ( type->attributeQ().size(), 1u );
   EXPECT_EQ( Ryx::IntrospectionReactor::global().attrContext(), nullptr );
}

TEST_F( AttributeRegistrationTest, AKnownIdUnderAnotherNameIsRefused ) {
   expectRefused( { .name = "off" }, "as 258 \"on\"" );
}

TEST_F( AttributeRegistrationTest, AKnownNameUnderAnotherIdIsRefused ) {
   expectRefused( { .id = 259 }, "as 258 \"on\"" );
}

TEST_F( AttributeRegistrationTest, AKnownAttributeOfAnotherKindIsRefused ) {
   RyxType* const number = Ryx::describedType< double >();
   using Flags = Ryx::RyxAttr::AttrFlags;
   using Introspection = Ryx::RyxAttr::RyxAttrIntrospectionFlags;
   expectRefused( { .valueType = number }, "with value type Ryx::Builtin<bool>" );
   expectRefused( { .valueType = nullptr }, "with value type Ryx::Builtin<bool>" );
   expectRefused( { .indexType = number }, "with no index type" );
   expectRefused( { .arguments = { { "x", number } } }, "with other arguments" );
   expectRefused( { .flags = { Flags::isReadable, 0 } }, "with other flags" );
   expectRefused(
      { .introspection = Introspection( Introspection::isFunction_ ) },
      "with other flags" );
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
