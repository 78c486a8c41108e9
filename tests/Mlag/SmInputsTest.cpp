// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The machine's inputs: setting, replacing, removing.

#include "SmReach"

#include <Ryx/Activity>
#include <support/ByName>
#include <support/Refusal>

namespace {

// An input by its reactor and its accessors.
template< class R, auto get, auto is, auto make, auto del >
struct InputOf {
   using Reactor = R;
   using Watched = typename R::NotifierType;
   static auto read( Sm& sm ) { return ( sm.*get )(); }
   static void set( Sm& sm, Ryx::Ptr< Watched const > const& v ) { ( sm.*is )( v ); }
   static auto create( Sm& sm, Ryx::Ptr< Watched const > const& v ) {
      return ( sm.*make )( v );
   }
   static auto remove( Sm& sm ) { return ( sm.*del )(); }
};

template< class Input >
class SmInput : public SwitchFixture {
 public:
   SmInput() {
      configureMlag();
      port( "Ethernet1" );
      start();
      take();
      tracingIs( true );
   }

   static auto another() {
      return Ryx::Ptr< typename Input::Watched const >(
         Ryx::make< typename Input::Watched >( "another" ) );
   }
};

using Inputs = ::testing::Types<
   InputOf<
      Sm::RyxClockMlag,
      &Sm::clockMlag,
      &Sm::clockMlagIs,
      &Sm::newClockMlag,
      &Sm::clockMlagDel >,
   InputOf<
      Sm::RyxClockNonMlag,
      &Sm::clockNonMlag,
      &Sm::clockNonMlagIs,
      &Sm::newClockNonMlag,
      &Sm::clockNonMlagDel >,
   InputOf<
      Sm::RyxMlagConfig,
      &Sm::mlagConfig,
      &Sm::mlagConfigIs,
      &Sm::newMlagConfig,
      &Sm::mlagConfigDel >,
   InputOf<
      Sm::RyxMlagStatus,
      &Sm::mlagStatus,
      &Sm::mlagStatusIs,
      &Sm::newMlagStatus,
      &Sm::mlagStatusDel >,
   InputOf<
      Sm::RyxEthPhyIntfStatus,
      &Sm::ethPhyIntfStatus,
      &Sm::ethPhyIntfStatusIs,
      &Sm::newEthPhyIntfStatus,
      &Sm::ethPhyIntfStatusDel >,
   InputOf<
      Sm::RyxEthPhyIntfConfig,
      &Sm::ethPhyIntfConfig,
      &Sm::ethPhyIntfConfigIs,
      &Sm::newEthPhyIntfConfig,
      &Sm::ethPhyIntfConfigDel >,
   InputOf<
      Sm::RyxLagInputIntfStatus,
      &Sm::lagInputIntfStatus,
      &Sm::lagInputIntfStatusIs,
      &Sm::newLagInputIntfStatus,
      &Sm::lagInputIntfStatusDel >,
   InputOf<
      Sm::RyxLacpOverride,
      &Sm::lacpOverride,
      &Sm::lacpOverrideIs,
      &Sm::newLacpOverride,
      &Sm::lacpOverrideDel > >;

TYPED_TEST_SUITE( SmInput, Inputs );

TYPED_TEST( SmInput, IsWatchedByItsReactor ) {
   auto const input = TypeParam::read( *this->sm );
   auto const reactor = reactorOf< typename TypeParam::Reactor >( *this->sm );
   ASSERT_TRUE( input && reactor );
   EXPECT_EQ( reactor->notifier(), input );
   EXPECT_EQ( reactor->mlagErrdisableSm(), this->sm.ptr() );
   EXPECT_TRUE( reactor->hasNotificationActive() );
   EXPECT_TRUE( reactor->isRegisteredNotifiee() );
   EXPECT_EQ( reactor->ryxFwkActivity(), nullptr );
}

TYPED_TEST( SmInput, SetToTheSameObjectKeepsItsReactor ) {
   auto const input = TypeParam::read( *this->sm );
   auto const reactor = reactorOf< typename TypeParam::Reactor >( *this->sm );
   auto const modifications = input->notifieeModifications();
   TypeParam::set( *this->sm, input );
   EXPECT_EQ( reactorOf< typename TypeParam::Reactor >( *this->sm ), reactor );
   EXPECT_EQ( input->notifieeModifications(), modifications );
   EXPECT_EQ( this->take(), SwitchFixture::Log() );
}

TYPED_TEST( SmInput, SetToAnotherObjectGetsANewReactorWithoutRunningHandlers ) {
   auto const before = TypeParam::read( *this->sm );
   auto const reactor = reactorOf< typename TypeParam::Reactor >( *this->sm );
   auto const notifiees = before->notifieeCount();
   auto const input = this->another();
   TypeParam::set( *this->sm, input );
   auto const replacement = reactorOf< typename TypeParam::Reactor >( *this->sm );
   EXPECT_NE( replacement, reactor );
   EXPECT_EQ( replacement->notifier(), input );
   EXPECT_EQ( TypeParam::read( *this->sm ), input );
   EXPECT_EQ( input->notifieeCount(), 1u );
   EXPECT_EQ( before->notifieeCount(), notifiees - 1 );
   EXPECT_TRUE( reactor->ryxMarkedForDeletion() );
   EXPECT_EQ( reactor->mlagErrdisableSm(), nullptr );
   EXPECT_EQ( this->take(), SwitchFixture::Log() );
}

TYPED_TEST( SmInput, RemovedReturnsTheObjectAndRetiresTheReactor ) {
   auto const input = TypeParam::read( *this->sm );
   auto const reactor = reactorOf< typename TypeParam::Reactor >( *this->sm );
   auto const notifiees = input->notifieeCount();
   EXPECT_EQ( TypeParam::remove( *this->sm ), input );
   EXPECT_EQ( TypeParam::remove( *this->sm ), nullptr );
   EXPECT_EQ( TypeParam::read( *this->sm ), nullptr );
   EXPECT_EQ( reactorOf< typename TypeParam::Reactor >( *this->sm ), nullptr );
   EXPECT_TRUE( reactor->ryxMarkedForDeletion() );
   EXPECT_EQ( reactor->mlagErrdisableSm(), nullptr );
   EXPECT_FALSE( reactor->hasNotificationActive() );
   EXPECT_EQ( input->notifieeCount(), notifiees - 1 );
   EXPECT_EQ( this->take(), SwitchFixture::Log() );
}

TYPED_TEST( SmInput, ReactorHasTheMachineThatItIsGiven ) {
   auto const reactor = reactorOf< typename TypeParam::Reactor >( *this->sm );
   reactor->mlagErrdisableSmIs( nullptr );
   EXPECT_EQ( reactor->mlagErrdisableSm(), nullptr );
   reactor->mlagErrdisableSmIs( this->sm.ptr() );
   EXPECT_EQ( reactor->mlagErrdisableSm(), this->sm.ptr() );
}

TYPED_TEST( SmInput, CreatorMakesAnActiveReactorThatIsNotStored ) {
   auto const reactor = reactorOf< typename TypeParam::Reactor >( *this->sm );
   auto const input = this->another();
   auto const made = TypeParam::create( *this->sm, input );
   EXPECT_EQ( made->notifier(), input );
   EXPECT_EQ( made->mlagErrdisableSm(), this->sm.ptr() );
   EXPECT_TRUE( made->hasNotificationActive() );
   EXPECT_EQ( made->references(), 1u );
   EXPECT_EQ( reactorOf< typename TypeParam::Reactor >( *this->sm ), reactor );
   EXPECT_EQ( this->take(), SwitchFixture::Log() );
}

TYPED_TEST( SmInput, CreatorRefusesNull ) {
   std::string const refused =
      support::refusal( [ this ] { TypeParam::create( *this->sm, nullptr ); } );
   EXPECT_EQ( refused.rfind( "null _", 0 ), 0u ) << refused;
   EXPECT_NE(
      refused.find( " parameter to mutator for Mlag::Ostra::MlagErrdisableSm::" ),
      std::string::npos )
      << refused;
}

TYPED_TEST( SmInput, SetDuringTearDownGetsAReactorThatIsAZombieFromTheStart ) {
   this->sm->ryxDoZombieReactors( true );
   auto const input = this->another();
   TypeParam::set( *this->sm, input );
   auto const reactor = reactorOf< typename TypeParam::Reactor >( *this->sm );
   EXPECT_TRUE( reactor->ryxMarkedForDeletion() );
   EXPECT_EQ( input->notifieeCount(), 0u );
}

class SmInputs : public SwitchFixture {
 public:
   SmInputs() {
      configureMlag();
      port( "Ethernet1" );
      start();
      take();
   }
};

TEST_F( SmInputs, BothTimersWatchTheLoopsClock ) {
   EXPECT_EQ( sm->clockMlag(), Ryx::activityManager()->clock() );
   EXPECT_EQ( sm->clockNonMlag(), Ryx::activityManager()->clock() );
   EXPECT_EQ( Ryx::activityManager()->clock()->notifieeCount(), 2u );
}

// The input that no reactor watches.
class LagInputConfig : public SmInputs {
 public:
   // One in which Ethernet1 is in an MLAG port-channel.
   static Ryx::Ptr< Lag::Input::Config > another() {
      auto const config = made< Lag::Input::Config >();
      auto const member = Ryx::make< Lag::EthPhyIntfLagConfig >( id( "Ethernet1" ) );
      member->lagIs( Ryx::make< Interface::EthLagIntfConfig >( id( "Port-Channel10" ) ) );
      config->phyIntfIs( member );
      return config;
   }
};

TEST_F( LagInputConfig, IsReadFromTheObjectThatWasSetAndRunsNoHandler ) {
   mlagInterface( "Port-Channel10" );
   auto const config = another();
   tracingIs( true );
   sm->lagInputConfigIs( config );
   EXPECT_EQ( take(), Log() );
   EXPECT_EQ( sm->lagInputConfig(), config );
   EXPECT_EQ( sm->inputs().lagInputConfig, config );
   EXPECT_EQ( config->notifieeCount(), 0u );
   EXPECT_EQ( lagInputConfig->references(), 1u );
   EXPECT_TRUE( sm->mlagLink( id( "Ethernet1" ) ) );
}

TEST_F( LagInputConfig, DeletedReturnsTheObjectAndLeavesNoMember ) {
   mlagInterface( "Port-Channel10" );
   sm->lagInputConfigIs( another() );
   auto const config = sm->lagInputConfig();
   EXPECT_EQ( sm->lagInputConfigDel(), config );
   EXPECT_EQ( sm->lagInputConfigDel(), nullptr );
   EXPECT_EQ( sm->lagInputConfig(), nullptr );
   EXPECT_EQ( config->references(), 1u );
   EXPECT_FALSE( sm->mlagLink( id( "Ethernet1" ) ) );
}

TEST_F( LagInputConfig, RefusesNullByNameAndIsKept ) {
   EXPECT_EQ(
      support::refusal( [ & ] { sm->lagInputConfigIs( nullptr ); } ),
      "null _lagInputConfig parameter to mutator for "
      "Mlag::Ostra::MlagErrdisableSm::lagInputConfig not allowed\"" );
   EXPECT_EQ( sm->lagInputConfig(), lagInputConfig );
}

TEST_F( LagInputConfig, IsReadSetAndDeletedByName ) {
   auto const named = support::adapted( sm );
   auto const config = another();
   support::set( named, "lagInputConfig", Ryx::toGeneric( config ) );
   EXPECT_EQ( sm->lagInputConfig(), config );
   auto const read = support::get( named, "lagInputConfig" );
   EXPECT_EQ( read->object(), config.ptr() );
   EXPECT_TRUE( read->isConst() );
   EXPECT_EQ( support::del( named, "lagInputConfig" )->object(), config.ptr() );
   EXPECT_EQ( sm->lagInputConfig(), nullptr );
}

TEST_F( LagInputConfig, MayDropTheMachineAsTheOldObjectGoes ) {
   class Last final : public Lag::Input::Config {
    public:
      explicit Last( Ryx::Ptr< Sm >& machine )
            : Config( Ryx::Name( "last" ) ), machine_( machine ) {}
      ~Last() override { machine_ = nullptr; }

    private:
      Ryx::Ptr< Sm >& machine_;
   };
   sm->lagInputConfigIs( Ryx::make< Last >( sm ) );
   sm->lagInputConfigIs( another() );
   EXPECT_EQ( sm, nullptr );
}

TEST_F( SmInputs, OutputsAreTheObjectsGiven ) {
   EXPECT_EQ( sm->mlagissuCause(), mlagissuCause );
   EXPECT_EQ( sm->igmpsnoopingConfig(), igmpsnoopingConfig );
   EXPECT_EQ( sm->mlagProtoStatus(), mlagProtoStatus );
   EXPECT_EQ( sm->lacpConfig(), lacpConfig );
}

TEST_F( SmInputs, AReplacedInputIsNotHeardAnyMore ) {
   auto const other = Ryx::make< Mlag::Config >( "other" );
   sm->mlagConfigIs( other );
   mlagConfig->enabledIs( false );
   EXPECT_EQ( take(), Log() );
   other->enabledIs( true );
   EXPECT_EQ(
      take(),
      ( Log{ "0 cause Ethernet1 -",
             "0 proto portsErrdisabled false",
             "0 proto portsErrdisabledWhen inf" } ) );
}

TEST_F( SmInputs, WithoutItsConfigurationTheMachineFailsWithNullValidPtr ) {
   sm->mlagConfigDel();
   EXPECT_THROW( sm->handleMlagConfig(), Ryx::RangeException );
   EXPECT_THROW( sm->handleReloadDelayMlag(), Ryx::RangeException );
   sm->mlagStatusDel();
   EXPECT_THROW( sm->handleMlagState(), Ryx::RangeException );
   EXPECT_EQ( take(), Log() );
}

} // namespace
