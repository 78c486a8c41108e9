// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The machine's attributes and operations: what it registers, and its accessors.

#include "SmReach"

#include <support/Refusal>

#include <Ryx/RyxType>

using support::refusal;

namespace {

class SmModel : public SwitchFixture {
 public:
   SmModel() {
      configureMlag();
      start();
      take();
   }
};

std::string
refused( std::string const& attribute ) {
   return "null _" + attribute +
      " parameter to mutator for Mlag::Ostra::MlagErrdisableSm::" + attribute +
      " not allowed\"";
}

std::vector< std::string >
registered( bool operations ) {
   std::vector< std::string > names;
   for ( auto const& attr : Sm::_fwkType()->attributeQ() ) {
      if ( attr->introspectionFlags().isFunction() == operations ) {
         names.push_back( std::string( attr->name().string() ) );
      }
   }
   return names;
}

TEST_F( SmModel, RegistersItsAttributesInTableOrder ) {
   EXPECT_EQ(
      registered( false ),
      ( std::vector< std::string >{ "ryxFwkActivity",       "clockMlag",
                                    "clockNonMlag",         "mlagConfig",
                                    "mlagStatus",           "ethPhyIntfStatus",
                                    "ethPhyIntfConfig",     "lagInputIntfStatus",
                                    "lacpOverride",         "mlagissuCause",
                                    "igmpsnoopingConfig",   "mlagProtoStatus",
                                    "lagInputConfig",       "lacpConfig",
                                    "lagsInStandby",        "intfConfig",
                                    "lagIntfStatus",        "portChannelToMember",
                                    "memberToPortChannel",  "portChannelTracker",
                                    "mlagPortsErrdisabled", "nonMlagPortsErrdisabled",
                                    "timerCount",           "timerCountNonMlag",
                                    "logMinTime",           "logMinTimeDefault",
                                    "initialized",          "secondaryPrev" } ) );
}

TEST_F( SmModel, RegistersItsOperationsAfterTheAttributesInTableOrder ) {
   EXPECT_EQ(
      registered( true ),
      ( std::vector< std::string >{ "handleClock_",
                                    "handleClockMlag",
                                    "handleClockNonMlag",
                                    "isLacpStandby",
                                    "isLacpOverride",
                                    "setLacpStandby",
                                    "handleLacpStandby",
                                    "maybeTrackIntfStatus",
                                    "handleIntfStatus",
                                    "handleLagIdConfig",
                                    "handleMlagConfig",
                                    "handleMlagIntfConfig",
                                    "handleMlagState",
                                    "handleReloadDelay",
                                    "handleReloadDelay_",
                                    "handleReloadDelayMlag",
                                    "handleReloadDelayNonMlag",
                                    "doCheckErrdisable",
                                    "doClearErrdisableIntfStatus",
                                    "doClearErrdisableMlagIntfStatus_",
                                    "doClearErrdisableMlagIntfStatus",
                                    "doClearErrdisableNonMlagIntfStatus",
                                    "reloadDelayNonMlag",
                                    "inPeerLink",
                                    "mlagPortChannelByMember",
                                    "mlagLink",
                                    "handleInitialized",
                                    "hasNotificationActiveIs",
                                    "ryxDoZombieReactors" } ) );
   auto const& all = Sm::_fwkType()->attributeQ();
   EXPECT_EQ( all[ 27 ]->name().string(), "secondaryPrev" );
   EXPECT_EQ( all[ 28 ]->name().string(), "handleClock_" );
}

TEST_F( SmModel, IsNoEntityAndHasTheGenericInterface ) {
   auto* const type = Ryx::RyxType::type( "Mlag::Ostra::MlagErrdisableSm" );
   ASSERT_TRUE( type );
   EXPECT_FALSE( type->isEntity() );
   EXPECT_TRUE( type->hasGenericIfSupport() );
   EXPECT_EQ( sm->fwkType(), type );
   EXPECT_FALSE( (std::is_base_of_v< Ryx::Entity, Sm >));
}

TEST_F( SmModel, StartsWithTheValuesOfTheTable ) {
   EXPECT_EQ( sm->logMinTime(), 10.0 );
   EXPECT_EQ( Sm::logMinTimeDefault, 10.0 );
   EXPECT_FALSE( sm->secondaryPrev() );
   EXPECT_FALSE( sm->lagsInStandbyIteratorConst() );
   EXPECT_FALSE( sm->intfConfigIteratorConst() );
   EXPECT_FALSE( sm->lagIntfStatusIteratorConst() );
   EXPECT_FALSE( sm->portChannelToMemberIteratorConst() );
   EXPECT_FALSE( sm->memberToPortChannelIteratorConst() );
   EXPECT_FALSE( sm->portChannelTrackerIteratorConst() );
}

TEST_F( SmModel, SettersStoreAndDoNothingElse ) {
   sm->mlagPortsErrdisabledIs( false );
   sm->nonMlagPortsErrdisabledIs( false );
   sm->timerCountIs( 7 );
   sm->timerCountNonMlagIs( 8 );
   sm->logMinTimeIs( 99.5 );
   sm->initializedIs( false );
   sm->secondaryPrevIs( true );
   EXPECT_FALSE( sm->mlagPortsErrdisabled() );
   EXPECT_FALSE( sm->nonMlagPortsErrdisabled() );
   EXPECT_EQ( sm->timerCount(), 7 );
   EXPECT_EQ( sm->timerCountNonMlag(), 8 );
   EXPECT_EQ( sm->logMinTime(), 99.5 );
   EXPECT_FALSE( sm->initialized() );
   EXPECT_TRUE( sm->secondaryPrev() );
   EXPECT_EQ( take(), Log() );
   EXPECT_EQ( wakeTime( true ), 225 );
}

TEST_F( SmModel, CountersAddModulo256AndReturnTheSum ) {
   sm->timerCountIs( 250 );
   EXPECT_EQ( sm->timerCountInc( 5 ), 255 );
   EXPECT_EQ( sm->timerCountInc( 3 ), 2 );
   EXPECT_EQ( sm->timerCount(), 2 );
   sm->timerCountNonMlagIs( 200 );
   EXPECT_EQ( sm->timerCountNonMlagInc( 200 ), 144 );
   EXPECT_EQ( sm->timerCountNonMlag(), 144 );
   EXPECT_EQ( sm->timerCount(), 2 );
}

TEST_F( SmModel, CollectionMutatorsRefuseNullByName ) {
   EXPECT_EQ( refusal( [ & ] { sm->intfConfigIs( nullptr ); } ), refused( "intfConfig" ) );
   EXPECT_EQ(
      refusal( [ & ] { sm->lagIntfStatusIs( nullptr ); } ), refused( "lagIntfStatus" ) );
   EXPECT_EQ(
      refusal( [ & ] { sm->portChannelTrackerIs( nullptr ); } ),
      refused( "portChannelTracker" ) );
   EXPECT_FALSE( sm->intfConfigIteratorConst() );
   EXPECT_FALSE( sm->lagIntfStatusIteratorConst() );
   EXPECT_FALSE( sm->portChannelTrackerIteratorConst() );
}

TEST_F( SmModel, InputMutatorsRefuseNullByNameAndKeepTheInput ) {
   EXPECT_EQ( refusal( [ & ] { sm->mlagConfigIs( nullptr ); } ), refused( "mlagConfig" ) );
   EXPECT_EQ( refusal( [ & ] { sm->mlagStatusIs( nullptr ); } ), refused( "mlagStatus" ) );
   EXPECT_EQ( refusal( [ & ] { sm->clockMlagIs( nullptr ); } ), refused( "clockMlag" ) );
   EXPECT_EQ(
      refusal( [ & ] { sm->lacpOverrideIs( nullptr ); } ), refused( "lacpOverride" ) );
   EXPECT_EQ( sm->mlagConfig(), mlagConfig );
   EXPECT_EQ( sm->lacpOverride(), lacpOverride );
}

TEST_F( SmModel, LagsInStandbyHasTheFamilyOfAValueCollection ) {
   sm->lagsInStandbyIs( id( "Port-Channel10" ), true );
   sm->lagsInStandbyIs( id( "Port-Channel20" ), true );
   EXPECT_TRUE( sm->lagsInStandby( id( "Port-Channel10" ) ) );
   EXPECT_FALSE( sm->lagsInStandby( id( "Port-Channel30" ) ) );
   EXPECT_TRUE( sm->lagsInStandbyDel( id( "Port-Channel10" ) ) );
   EXPECT_FALSE( sm->lagsInStandbyDel( id( "Port-Channel10" ) ) );
   sm->newLagsInStandby( id( "Port-Channel40" ), true );
   sm->lagsInStandbyDelAll();
   EXPECT_FALSE( sm->lagsInStandbyIterator() );
}

TEST_F( SmModel, IntfConfigKeepsTheReactorForTheSameInput ) {
   auto const config = Ryx::make< Interface::IntfConfig >( id( "Ethernet1" ) );
   sm->intfConfigIs( config );
   auto const reactor = sm->intfConfig( id( "Ethernet1" ) );
   ASSERT_TRUE( reactor );
   EXPECT_EQ( reactor->notifier(), config );
   EXPECT_EQ( reactor->mlagErrdisableSm(), sm.ptr() );
   sm->intfConfigIs( config );
   EXPECT_EQ( sm->intfConfig( id( "Ethernet1" ) ), reactor );
   EXPECT_EQ( config->notifieeCount(), 1u );
}

TEST_F( SmModel, IntfConfigRepointsTheReactorToAnotherInputOfThatName ) {
   auto const first = Ryx::make< Interface::IntfConfig >( id( "Ethernet1" ) );
   auto const second = Ryx::make< Interface::IntfConfig >( id( "Ethernet1" ) );
   sm->intfConfigIs( first );
   auto const reactor = sm->intfConfig( id( "Ethernet1" ) );
   tracingIs( true );
   sm->intfConfigIs( second );
   EXPECT_EQ( sm->intfConfig( id( "Ethernet1" ) ), reactor );
   EXPECT_EQ( reactor->notifier(), second );
   EXPECT_EQ( first->notifieeCount(), 0u );
   EXPECT_EQ( second->notifieeCount(), 1u );
   EXPECT_EQ(
      takeUntimed(),
      ( Log{ tracedCall(
         "RyxIntfConfig::handleAdminEnabledStateLocal()", " for Ethernet1" ) } ) );
}

TEST_F( SmModel, IntfConfigDelRetiresTheReactorAndReturnsItsInput ) {
   auto const config = Ryx::make< Interface::IntfConfig >( id( "Ethernet1" ) );
   sm->intfConfigIs( config );
   auto const reactor = sm->intfConfig( id( "Ethernet1" ) );
   EXPECT_EQ( sm->intfConfigDel( id( "Ethernet1" ) ), config );
   EXPECT_EQ( sm->intfConfigDel( id( "Ethernet1" ) ), nullptr );
   EXPECT_TRUE( reactor->ryxMarkedForDeletion() );
   EXPECT_EQ( reactor->mlagErrdisableSm(), nullptr );
   EXPECT_FALSE( reactor->hasNotificationActive() );
   EXPECT_EQ( config->notifieeCount(), 0u );
}

TEST_F( SmModel, DeleteAllRetiresEveryReactor ) {
   auto const config = Ryx::make< Interface::IntfConfig >( id( "Ethernet1" ) );
   auto const status = Ryx::make< Interface::EthLagIntfStatus >( id( "Port-Channel10" ) );
   sm->newIntfConfig( config );
   sm->newLagIntfStatus( status );
   auto const reactor = sm->intfConfig( id( "Ethernet1" ) );
   sm->intfConfigDelAll();
   sm->lagIntfStatusDelAll();
   EXPECT_TRUE( reactor->ryxMarkedForDeletion() );
   EXPECT_EQ( reactor->mlagErrdisableSm(), nullptr );
   EXPECT_EQ( config->notifieeCount(), 0u );
   EXPECT_EQ( status->notifieeCount(), 0u );
   EXPECT_FALSE( sm->intfConfigIterator() );
   EXPECT_FALSE( sm->lagIntfStatusIterator() );
}

} // namespace
