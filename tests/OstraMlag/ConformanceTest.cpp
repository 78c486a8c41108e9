// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The conformance tests over the types of the plug-in.

#include <OstraMlag/Inputs>
#include <support/ConformanceTests>

#include <Ryx/Clock>

namespace {

using Mlag::Ostra::LagMember;
using Mlag::Ostra::PortChannelTracker;

bool
isOfThePlugin( Ryx::RyxType const& type ) {
   std::string const scope = type.scope().string();
   return scope == "OstraMlag" || scope == "Mlag::Ostra";
}

auto const pluginTypes = support::typesThat( isOfThePlugin );

INSTANTIATE_TEST_SUITE_P( Plugin, TypeConformance, pluginTypes, support::typeName );
INSTANTIATE_TEST_SUITE_P( Plugin, ObjectConformance, pluginTypes, support::typeName );
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST( ValueConformance );

// What has no constructor by name.
[[maybe_unused]] bool const samples[]{
   support::sampleMakerIs(
      "Ryx::Clock",
      []( std::string const& ) { return support::adapted( Ryx::make< Ryx::Clock >() ); } ),
   support::sampleMakerIs(
      "OstraMlag::EthPeerIntfStatusReactor",
      []( std::string const& ) {
         return support::adapted( Directories().makeReactor() );
      } ),
   support::sampleMakerIs(
      "Mlag::Ostra::MlagErrdisableSm",
      []( std::string const& ) {
         return support::adapted( MachineInputs().makeMachine() );
      } ),
   support::sampleMakerIs(
      "Mlag::Ostra::PortChannelTracker",
      []( std::string const& key ) {
         return support::adapted( PortChannelTracker::PortChannelTrackerIs(
            IntfId( key ), MachineInputs::made< Bridging::IgmpSnooping::Config >() ) );
      } ),
};

[[maybe_unused]] bool const oneShot =
   support::oneShotIs( "Mlag::Ostra::MlagErrdisableSm::lagIntfStatus" );

class LagMemberObserver final : public LagMember::NotifieeConst {
 public:
   explicit LagMemberObserver( Calls& calls ) : calls_( calls ) {}
   using NotifieeConst::onMember;
   void onMember( IntfId key ) override {
      calls_.push_back( "typed member/" + key.string() );
   }

 private:
   Calls& calls_;
};

[[maybe_unused]] bool const observer =
   support::observerMakerIs( "Mlag::Ostra::LagMember", []( Calls& calls ) {
      return support::Observer( Ryx::make< LagMemberObserver >( calls ) );
   } );

TEST( PluginTypes, AreRegisteredUnderTheirNames ) {
   Calls names;
   for ( Ryx::RyxType const* type : Ryx::RyxType::types() ) {
      if ( isOfThePlugin( *type ) ) {
         names.push_back( type->name().string() );
      }
   }
   EXPECT_EQ(
      names,
      ( Calls{ "Mlag::Ostra::LagMember",
               "Mlag::Ostra::MlagErrdisableSm",
               "Mlag::Ostra::PortChannelTracker",
               "OstraMlag::Agent",
               "OstraMlag::EthPeerIntfStatusReactor" } ) );
}

// "258 intfId"
Calls
idsAndNames( std::string const& typeName ) {
   Calls all;
   for ( auto const& attr : support::type( typeName ).attributeQ() ) {
      all.push_back( std::to_string( attr->id() ) + " " + attr->name().string() );
   }
   return all;
}

TEST( PluginTypes, LagMemberAndTrackerHaveTheirAttributesUnderTheirIds ) {
   EXPECT_EQ(
      idsAndNames( "Mlag::Ostra::LagMember" ),
      ( Calls{ "6 isNondestructing", "258 intfId", "259 member" } ) );
   EXPECT_EQ(
      idsAndNames( "Mlag::Ostra::PortChannelTracker" ),
      ( Calls{ "6 isNondestructing",
               "258 intfId",
               "259 igmpsnoopingConfig",
               "260 handleDestroyed" } ) );
   EXPECT_TRUE( support::type( "Mlag::Ostra::PortChannelTracker" )
                   .attr( 260 )
                   ->introspectionFlags()
                   .isFunction() );
}

TEST( PluginTypes, AttributesThatTheUnitNeedsAreFoundByName ) {
   for ( char const* name :
         { "Mlag::Ostra::MlagErrdisableSm", "OstraMlag::EthPeerIntfStatusReactor" } ) {
      auto const attr =
         Ryx::RyxAttr::attr( support::type( name ), Ryx::Name( "ryxDoZombieReactors" ) );
      ASSERT_TRUE( attr ) << name;
      EXPECT_TRUE( attr->introspectionFlags().isFunction() );
   }
}

} // namespace
