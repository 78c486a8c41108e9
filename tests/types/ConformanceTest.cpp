// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The conformance tests over the types of the framework and of the state: every one that is
// registered, found by asking the registry.

#include <support/ConformanceTests>

#include <types/TypedObservers>

#include <Ryx/Activity>
#include <Ryx/Clock>

namespace {

using support::isAny;
using support::isObject;
using support::typesThat;

// An opaque address is a value that has no text to be read from.
bool
isReadable( Ryx::RyxType const& type ) {
   return support::isValue( type ) && type.name().string() != "Ryx::Builtin<void*>";
}

auto const name = support::typeName;

INSTANTIATE_TEST_SUITE_P( Type, TypeConformance, typesThat( isAny ), name );
INSTANTIATE_TEST_SUITE_P( Type, ValueConformance, typesThat( isReadable ), name );
INSTANTIATE_TEST_SUITE_P( Type, ObjectConformance, typesThat( isObject ), name );

// The event loop's own objects have no constructor by name.
template< class T >
bool
isMadeByTheTest() {
   return support::sampleMakerIs( std::string( T::fwkTypeName ), []( std::string const& ) {
      return support::adapted( Ryx::make< T >() );
   } );
}

[[maybe_unused]] bool const made[]{
   isMadeByTheTest< Ryx::Clock >(),
   isMadeByTheTest< Ryx::ActivityConfig >(),
};

[[maybe_unused]] bool const observers = types::observersAreMade();

TEST( ConformanceTest, EveryTypeWithSettableAttributesIsObservedByATypedNotifiee ) {
   for ( Ryx::RyxType const* type : Ryx::RyxType::types() ) {
      unsigned settable = 0;
      for ( auto use :
            { support::Use::scalar, support::Use::reference, support::Use::collection } ) {
         support::forEachAttribute(
            *type, use, [ & ]( Ryx::RyxAttr const& ) { ++settable; } );
      }
      if ( type->isEntity() && settable != 0 ) {
         EXPECT_TRUE( support::hasObserver( *type ) ) << type->name();
      }
   }
}

} // namespace
