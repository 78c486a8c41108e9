// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Out of memory, and sinks that throw, while something is traced, logged or registered.

#include "Sweep"

#include <Ryx/Log>
#include <Ryx/Registration>
#include <Ryx/Strep>
#include <Ryx/Trace>

#include <stdexcept>

namespace faults {

namespace {

class Sink final : public Ryx::TraceSink, public Ryx::LogSink {
 public:
   Sink() {
      Ryx::traceSinkIs( this );
      Ryx::logSinkIs( this );
   }
   ~Sink() override {
      Ryx::logSinkIs( nullptr );
      Ryx::traceSinkIs( nullptr );
      Ryx::traceConfigReset();
   }
   Sink( Sink const& ) = delete;
   Sink& operator=( Sink const& ) = delete;
   void trace( Ryx::TraceRecord const& record ) override { take( record.text ); }
   void log( Ryx::LogRecord const& record ) override { take( record.text ); }

   std::string text;
   bool throws = false;

 private:
   void take( std::string const& line ) {
      if ( throws ) {
         throw std::runtime_error( "no room" );
      }
      text += line;
   }
};

struct Traced {
   static constexpr bool mayMiss = true;
   Traced() { Ryx::traceEnabledIs( "faults", true ); }
   void act() { Ryx::trace( handle, "file", 8, longText, " and ", 1 ); }
   std::string state() const { return sink.text; }
   Sink sink;
   Ryx::TraceHandle handle{ "faults", false };
};

TEST( TraceFaults, ATraceIsWrittenOrLost ) {
   sweep< Traced >();
   EXPECT_NO_THROW( {
      Traced scene;
      support::AllocationFailure const failure;
      scene.act();
   } );
}

TEST( TraceFaults, WhatASinkThrowsIsLost ) {
   Traced scene;
   scene.sink.throws = true;
   EXPECT_NO_THROW( scene.act() );
   scene.sink.throws = false;
   scene.act();
   EXPECT_EQ( scene.state(), longText + " and 1" );
}

struct TraceSetting {
   void act() { Ryx::traceLevelIs( longText, 8, false ); }
   std::string state() const { return handle.isEnabled( 8 ) ? "on" : "off"; }
   Sink sink;
   Ryx::TraceHandle handle{ longText, true };
};

TEST( TraceFaults, ASettingIsMadeOrNot ) {
   sweep< TraceSetting >();
}

struct Logged {
   static constexpr bool mayMiss = true;
   void act() { Ryx::log( handle, longText.c_str(), 1.5 ); }
   std::string state() const { return sink.text; }
   Sink sink;
   Ryx::LogHandle handle{
      "FAULTS", Ryx::LogSeverity::info, "%s for %s s", "none", "none", 60.0, 10.0, 1
   };
};

TEST( LogFaults, AMessageIsWrittenOrLost ) {
   sweep< Logged >();
   EXPECT_NO_THROW( {
      Logged scene;
      support::AllocationFailure const failure;
      scene.act();
   } );
}

TEST( LogFaults, WhatASinkThrowsIsLost ) {
   Logged scene;
   scene.sink.throws = true;
   EXPECT_NO_THROW( scene.act() );
}

// Types that nobody else registers, twice: to be registered with and without faults.
enum class Colour { red, green };
struct Clean {
   static constexpr std::string_view name = "Faults::ALampWithALongNameOfItsOwn1";
};
struct Faulty {
   static constexpr std::string_view name = "Faults::ALampWithALongNameOfItsOwn2";
};

} // namespace

} // namespace faults

template<>
struct Ryx::ValueTraits< faults::Colour > : Ryx::EnumTraits< faults::Colour > {
   static constexpr std::string_view name = "Faults::Colour";
   static constexpr std::array< std::string_view, 2 > enumerators{ "red", "green" };
};

namespace faults {

namespace {

template< class Which >
class Lamp : public Ryx::EntityOf< Lamp< Which > > {
 public:
   static constexpr std::string_view fwkTypeName = Which::name;
   class NotifieeConst : public Ryx::NotifieeConstOf< Lamp, Ryx::Entity::NotifieeConst > {};
   static constexpr auto attributes() {
      return Ryx::AttributeList<
         Ryx::Value< "anAttributeWithALongName", &Lamp::on_ >,
         Ryx::Value< "colour", &Lamp::colour_ > >();
   }
   static constexpr auto constructor() {
      return Ryx::Constructor< Lamp, Ryx::Argument< "name", Ryx::Name > >();
   }
   explicit Lamp( Ryx::Name name ) : Ryx::EntityOf< Lamp >( std::move( name ) ) {}

 private:
   bool on_ = false;
   Colour colour_ = Colour::red;
};

template< class... Types >
void
registerUnit() {
   Ryx::UnitRegistration< Types... > const unit( "Faults" );
   if ( !unit.refusal().empty() ) {
      EXPECT_EQ( unit.refusal(), "out of memory" );
      throw std::bad_alloc();
   }
}

void
expectRegistered( std::string_view name ) {
   Ryx::RyxType const* const type = Ryx::RyxType::type( Ryx::Name( name ) );
   ASSERT_TRUE( type );
   ASSERT_EQ( type->attributeQ().size(), 3u );
   EXPECT_EQ( type->attributeQ()[ 1 ]->name().string(), "anAttributeWithALongName" );
   EXPECT_EQ( type->attributeQ()[ 2 ]->valueType()->enumerators().size(), 2u );
   EXPECT_EQ( type->constructorArguments().size(), 1u );
   EXPECT_TRUE( type->isNondestructing() );
}

// What a refused unit has said of its types is taken back.
template< class... Types >
void
registerWithFaults() {
   bool refused = true;
   for ( std::size_t nth = 1; refused; ++nth ) {
      support::AllocationFailure const failure( nth, support::AllocationFailure::Of::one );
      bool const threw = throwsFor( registerUnit< Types... > );
      refused = failure.refused();
      EXPECT_EQ( threw, refused );
   }
}

TEST( RegistrationFaults, AUnitThatCouldNotBeRegisteredIsRegisteredTheNextTime ) {
   registerWithFaults< Colour >();
   std::size_t const first = support::liveAllocations();
   registerUnit< Lamp< Clean > >();
   expectRegistered( Clean::name );
   std::size_t const second = support::liveAllocations();
   registerWithFaults< Lamp< Faulty > >();
   expectRegistered( Faulty::name );
   EXPECT_EQ( support::liveAllocations() - second, second - first );
}

} // namespace

} // namespace faults
