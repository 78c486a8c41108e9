// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Units that contradict what is registered. Each is refused in words and leaves nothing.

#include "CoreDoubles"

#include <Ryx/Log>
#include <Ryx/Registration>

#include <gtest/gtest.h>
#include <support/Messages>

#include <optional>

namespace {

using Ryx::Name;
using Ryx::RyxType;

// A type of that name whose table is its own.
template< class Self >
class Fan : public Ryx::EntityOf< Self > {
 public:
   static constexpr std::string_view fwkTypeName = "Test::Refused::Fan";
   class NotifieeConst : public Ryx::NotifieeConstOf< Self, Ryx::Entity::NotifieeConst > {};

   unsigned speed_ = 0;
   unsigned blades_ = 0;
};

class Known : public Fan< Known > {
 public:
   static constexpr auto attributes() {
      return Ryx::AttributeList<
         Ryx::Value< "speed", &Known::speed_ >,
         Ryx::Value< "blades", &Known::blades_ > >();
   }
};

// Declares an attribute that is not there before one that is there otherwise.
class Reordered final : public Fan< Reordered > {
 public:
   static constexpr auto attributes() {
      return Ryx::AttributeList<
         Ryx::At< 300, Ryx::Value< "colour", &Reordered::speed_ > >,
         Ryx::At< 258, Ryx::Value< "blades", &Reordered::blades_ > > >();
   }
};

class Shorter final : public Fan< Shorter > {
 public:
   static constexpr auto attributes() {
      return Ryx::AttributeList< Ryx::Value< "speed", &Shorter::speed_ > >();
   }
};

class Larger final : public Fan< Larger > {
 public:
   static constexpr auto attributes() {
      return Ryx::AttributeList<
         Ryx::Value< "speed", &Larger::speed_ >,
         Ryx::Value< "blades", &Larger::blades_ > >();
   }

 private:
   [[maybe_unused]] double weight_[ 9 ] = {};
};

class Constructed final : public Fan< Constructed > {
 public:
   static constexpr auto attributes() {
      return Ryx::AttributeList<
         Ryx::Value< "speed", &Constructed::speed_ >,
         Ryx::Value< "blades", &Constructed::blades_ > >();
   }
   static constexpr auto constructor() { return Ryx::Constructor< Constructed >(); }
};

class NoEntity final : public Ryx::StateOf< NoEntity, Ryx::PtrInterface > {
 public:
   static constexpr std::string_view fwkTypeName = "Test::Refused::Fan";
   static constexpr auto attributes() {
      return Ryx::AttributeList< Ryx::Value< "speed", &NoEntity::speed_ > >();
   }

 private:
   unsigned speed_ = 0;
};

// One that has not been registered.
class Fresh : public Ryx::EntityOf< Fresh > {
 public:
   static constexpr std::string_view fwkTypeName = "Test::Refused::Fresh";
   class NotifieeConst : public Ryx::NotifieeConstOf< Fresh, Ryx::Entity::NotifieeConst > {
   };
   static constexpr auto attributes() {
      return Ryx::AttributeList< Ryx::Value< "on", &Fresh::on_ > >();
   }
   static constexpr auto constructor() {
      return Ryx::Constructor< Fresh, Ryx::Argument< "name", Name > >();
   }
   explicit Fresh( Name name ) : EntityOf( std::move( name ) ) {}

 private:
   bool on_ = false;
};

class Derived final : public Ryx::EntityOf< Derived, Known > {
 public:
   static constexpr std::string_view fwkTypeName = "Test::Refused::Derived";
   static constexpr auto attributes() {
      return Ryx::AttributeList<
         Ryx::At< 258, Ryx::Value< "colour", &Derived::colour_ > > >();
   }

 private:
   unsigned colour_ = 0;
};

// Declares its base's attribute again.
class Repeated final : public Ryx::EntityOf< Repeated, Known > {
 public:
   static constexpr std::string_view fwkTypeName = "Test::Refused::Repeated";
   static constexpr auto attributes() {
      return Ryx::AttributeList<
         Ryx::At< 258, Ryx::Value< "speed", &Repeated::speed_ > > >();
   }

 private:
   unsigned speed_ = 0;
};

// Comes behind one that is refused.
class Later final : public Ryx::EntityOf< Later > {
 public:
   static constexpr std::string_view fwkTypeName = "Test::Refused::Later";
   class NotifieeConst : public Ryx::NotifieeConstOf< Later, Ryx::Entity::NotifieeConst > {
   };
   static constexpr auto attributes() {
      return Ryx::AttributeList< Ryx::Value< "on", &Later::on_ > >();
   }

 private:
   bool on_ = false;
};

enum class Mode : unsigned char { off, on };
enum class OtherMode : unsigned char { off, on };

} // namespace

template<>
struct Ryx::ValueTraits< Mode > : Ryx::EnumTraits< Mode > {
   static constexpr std::string_view name = "Test::Refused::Mode";
   static constexpr std::array< std::string_view, 2 > enumerators{ "off", "on" };
};
template<>
struct Ryx::ValueTraits< OtherMode > : Ryx::EnumTraits< OtherMode > {
   static constexpr std::string_view name = "Test::Refused::Mode";
   static constexpr std::array< std::string_view, 2 > enumerators{ "idle", "busy" };
};

namespace {

class RefusedUnitTest : public testing::Test {
 protected:
   template< class... Types >
   static std::string refusal() {
      Ryx::UnitRegistration< Types... > const unit( "Test::Refused" );
      EXPECT_EQ( Ryx::RefusedUnit::last() != nullptr, !unit.refusal().empty() );
      return unit.refusal();
   }
   void TearDown() override {
      EXPECT_EQ( Ryx::RefusedUnit::last(), nullptr );
      EXPECT_EQ( fan.attributeQ(), attributes );
      EXPECT_EQ( fan.size(), sizeof( Known ) );
      EXPECT_EQ( fan.kind(), Ryx::ValueKind::object );
      EXPECT_TRUE( fan.isEntity() );
      EXPECT_EQ( fan.code().objectClass, &typeid( Known ) );
      EXPECT_EQ( fan.constructedType(), nullptr );
      EXPECT_TRUE( Ryx::IntrospectionReactor::global().scopes().empty() );
   }

   support::Messages messages;
   Ryx::UnitRegistration< Known, Mode > const known{ "Test::Refused" };
   RyxType& fan = *Known::_fwkType();
   RyxType::AttributeQ const attributes = fan.attributeQ();
};

TEST_F( RefusedUnitTest, TheSameAgainIsNotRefused ) {
   EXPECT_EQ( known.refusal(), "" );
   EXPECT_EQ( ( refusal< Known, Mode >() ), "" );
}

TEST_F( RefusedUnitTest, AnAttributeThatIsNotRegisteredIsRefused ) {
   EXPECT_EQ(
      refusal< Reordered >(),
      "Test::Refused::Fan is already registered without attribute 300 \"colour\"" );
}

TEST_F( RefusedUnitTest, AnAttributeThatIsMissingIsRefused ) {
   EXPECT_EQ(
      refusal< Shorter >(),
      "Test::Refused::Fan is already registered with more attributes" );
}

TEST_F( RefusedUnitTest, AnotherSizeIsRefused ) {
   EXPECT_EQ(
      refusal< Larger >(),
      "Test::Refused::Fan is already registered with a size of " +
         std::to_string( sizeof( Known ) ) + " bytes" );
}

TEST_F( RefusedUnitTest, AnotherConstructorIsRefused ) {
   EXPECT_EQ(
      refusal< Constructed >(),
      "Test::Refused::Fan is already registered with another constructor" );
}

TEST_F( RefusedUnitTest, AnotherBaseOrKindIsRefused ) {
   EXPECT_EQ(
      refusal< NoEntity >(), "Test::Refused::Fan is already registered as an entity" );
   RyxType* const mode = Ryx::describedType< Mode >();
   auto const refused = []( auto const& call ) { return support::refusal( call ); };
   EXPECT_EQ(
      refused( [ & ] { mode->shapeIs( nullptr, Ryx::ValueKind::object ); } ),
      "Test::Refused::Mode is already registered as a type of another kind" );
   EXPECT_EQ(
      refused( [ & ] { fan.shapeIs( &fan, Ryx::ValueKind::object ); } ),
      "Test::Refused::Fan is already registered with no base type" );
}

TEST_F( RefusedUnitTest, OtherEnumeratorsAreRefused ) {
   EXPECT_EQ(
      refusal< OtherMode >(),
      "Test::Refused::Mode is already registered with other enumerators" );
   EXPECT_EQ(
      Ryx::describedType< Mode >()->enumerators(), ( std::vector< Name >{ "off", "on" } ) );
}

TEST_F( RefusedUnitTest, TheIdOfABasesAttributeIsRefused ) {
   EXPECT_EQ(
      refusal< Derived >(),
      "attribute 258 \"colour\" of Test::Refused::Derived is already registered as 258 "
      "\"speed\" of Test::Refused::Fan" );
   EXPECT_TRUE( Derived::_fwkType()->attributeQ().empty() );
   EXPECT_EQ( Derived::_fwkType()->baseType(), nullptr );
}

TEST_F( RefusedUnitTest, ABasesAttributeThatIsDeclaredAgainIsRefused ) {
   EXPECT_EQ(
      refusal< Repeated >(),
      "attribute 258 \"speed\" of Test::Refused::Repeated is already registered as 258 "
      "\"speed\" of Test::Refused::Fan" );
}

TEST_F( RefusedUnitTest, TheTypesBehindTheOneThatIsRefusedAreNotRegistered ) {
   EXPECT_EQ(
      ( refusal< Shorter, Later >() ),
      "Test::Refused::Fan is already registered with more attributes" );
   EXPECT_FALSE( Later::_fwkType()->isRegistered() );
   EXPECT_EQ( refusal< Later >(), "" );
}

// The types before the one that is refused are not registered either.
TEST_F( RefusedUnitTest, TheWholeUnitIsTakenBack ) {
   EXPECT_NE( ( refusal< Fresh, Shorter >() ), "" );
   RyxType const& fresh = *Fresh::_fwkType();
   EXPECT_FALSE( fresh.isRegistered() );
   EXPECT_TRUE( fresh.attributeQ().empty() );
   EXPECT_TRUE( fresh.constructorArguments().empty() );
   EXPECT_EQ( fresh.constructedType(), nullptr );
   EXPECT_EQ( fresh.size(), 0u );
   EXPECT_EQ( fresh.kind(), Ryx::ValueKind::none );
   EXPECT_FALSE( fresh.isEntity() );
   EXPECT_EQ( fresh.code().wrap, nullptr );
   EXPECT_EQ( refusal< Fresh >(), "" );
   EXPECT_EQ( fresh.attributeQ().size(), 2u );
}

TEST_F( RefusedUnitTest, SeveralAreListedTheLastOneFirst ) {
   Ryx::UnitRegistration< Shorter > const first( "Test::Refused" );
   auto const* const before = Ryx::RefusedUnit::last();
   {
      Ryx::UnitRegistration< OtherMode > const second( "Test::Refused" );
      EXPECT_EQ( Ryx::RefusedUnit::last()->reason(), second.refusal() );
      EXPECT_EQ( Ryx::RefusedUnit::last()->before(), before );
   }
   EXPECT_EQ( Ryx::RefusedUnit::last(), before );
   EXPECT_EQ( before->reason(), first.refusal() );
   Ryx::UnitRegistration< Larger > third( "Test::Refused" );
}

TEST_F( RefusedUnitTest, TheyMayGoInAnyOrder ) {
   using Refused = std::optional< Ryx::UnitRegistration< Shorter > >;
   Refused first( "Test::Refused" );
   Refused second( "Test::Refused" );
   auto const* const last = Ryx::RefusedUnit::last();
   first.reset();
   EXPECT_EQ( Ryx::RefusedUnit::last(), last );
   EXPECT_EQ( last->before(), nullptr );
   second.reset();
   EXPECT_EQ( Ryx::RefusedUnit::last(), nullptr );
}

// Nobody asks for the reason while a program starts.
TEST_F( RefusedUnitTest, IsLoggedAsAnEmergency ) {
   static std::optional< Ryx::UnitRegistration< Shorter > > unit;
   unit.emplace( "Test::Refused" );
   unit.reset();
   EXPECT_NE( refusal< OtherMode >(), "" );
   ASSERT_EQ( messages.records.size(), 2u );
   Ryx::LogRecord const& record = messages.records.front();
   EXPECT_EQ( record.identifier, "RYX_UNIT_REFUSED" );
   EXPECT_EQ( record.severity, Ryx::LogSeverity::emergency );
   EXPECT_TRUE( record.text.ends_with(
      "test_Ryx: the types of its unit \"Test::Refused\" are not registered: "
      "Test::Refused::Fan is already registered with more attributes" ) )
      << record.text;
}

TEST_F( RefusedUnitTest, IsNotLoggedWhenSomebodyAsks ) {
   Ryx::RefusedUnit::Inquiry const inquiry;
   EXPECT_NE( refusal< Shorter >(), "" );
   EXPECT_TRUE( messages.records.empty() );
}

} // namespace
