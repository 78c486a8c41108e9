// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The reactors on interface configurations: one for each entry of the directory.

#include "HeldSwitch"
#include "SmReach"

#include <support/ByName>

namespace {

using Interface::AllEthPhyIntfConfigDir;
using Interface::IntfConfig;
using RyxEthPhyIntfConfig = MlagErrdisableSm::RyxEthPhyIntfConfig;

class IntfConfigReactor : public HeldSwitch {
 public:
   IntfConfigReactor() {
      mlagMember( "Ethernet1", "Port-Channel10" );
      start();
   }

   auto reactor( std::string_view name ) const { return sm->intfConfig( id( name ) ); }
   std::size_t reactors() const {
      std::size_t count = 0;
      for ( auto it = sm->intfConfigIteratorConst(); it; ++it ) {
         ++count;
      }
      return count;
   }
   static Ryx::Ptr< IntfConfig > config( std::string_view name, IntfEnabledState state ) {
      auto const made = Ryx::make< IntfConfig >( id( name ) );
      made->adminEnabledStateLocalIs( state );
      return made;
   }
   static std::string handled( std::string const& name ) {
      return called( "RyxIntfConfig::handleAdminEnabledStateLocal() for " + name );
   }
};

TEST_F( IntfConfigReactor, EachConfigurationHasOneFromConstructionOn ) {
   EXPECT_EQ( reactors(), 1u );
   EXPECT_EQ(
      reactor( "Ethernet1" )->notifier().ptr(),
      ethPhyIntfConfig->intfConfig( id( "Ethernet1" ) ).ptr() );
   EXPECT_EQ( reactor( "Ethernet1" )->owner(), sm.ptr() );
}

TEST_F( IntfConfigReactor, ConfigurationThatAppearsGetsOneWithoutAHandlerRun ) {
   auto const added = config( "Ethernet2", IntfEnabledState::shutdown );
   EXPECT_EQ( steps( [ & ] { ethPhyIntfConfig->intfConfigIs( added ); } ), Log() );
   EXPECT_EQ( reactor( "Ethernet2" )->notifier().ptr(), added.ptr() );
}

TEST_F( IntfConfigReactor, CreatorRefusesAPresentKey ) {
   auto const kept = reactor( "Ethernet1" );
   auto const another = config( "Ethernet1", IntfEnabledState::shutdown );
   EXPECT_EQ(
      support::refusal( [ & ] { sm->newIntfConfig( another ); } ),
      "key Ethernet1 is present in Mlag::Ostra::MlagErrdisableSm::intfConfig" );
   EXPECT_EQ( reactor( "Ethernet1" ), kept );
   EXPECT_EQ( another->notifieeModifications(), 0u );
}

TEST_F( IntfConfigReactor, ConfigurationThatGoesLosesIts ) {
   auto const removed = ethPhyIntfConfig->intfConfig( id( "Ethernet1" ) );
   auto const kept = reactor( "Ethernet1" );
   ethPhyIntfConfig->intfConfigDel( id( "Ethernet1" ) );
   EXPECT_FALSE( reactor( "Ethernet1" ) );
   EXPECT_TRUE( kept->ryxMarkedForDeletion() );
   EXPECT_FALSE( kept->hasNotificationActive() );
   EXPECT_EQ( kept->owner(), nullptr );
   EXPECT_EQ( removed->notifieeCount(), 0u );
   EXPECT_EQ(
      steps( [ & ] {
         removed->adminEnabledStateLocalIs( IntfEnabledState::shutdown );
         kept->onAdminEnabledStateLocal();
      } ),
      Log() );
}

TEST_F( IntfConfigReactor, ShutdownEndsTheForcingOfThePortChannel ) {
   EXPECT_EQ(
      steps( [ & ] { admin( "Ethernet1", IntfEnabledState::shutdown ); } ),
      ( Log{ handled( "Ethernet1" ), "snooping Port-Channel10 -" } ) );
   EXPECT_EQ( held(), ( Log{ "Ethernet1" } ) );
   EXPECT_EQ( recorded(), ( Log{ "Ethernet1 in Port-Channel10" } ) );
}

TEST_F( IntfConfigReactor, OtherStatesChangeNothing ) {
   EXPECT_EQ(
      steps( [ & ] { admin( "Ethernet1", IntfEnabledState::unknownEnabledState ); } ),
      ( Log{ handled( "Ethernet1" ) } ) );
   EXPECT_EQ(
      steps( [ & ] { admin( "Ethernet1", IntfEnabledState::enabled ); } ),
      ( Log{ handled( "Ethernet1" ) } ) );
   EXPECT_EQ( snooping(), ( Log{ "Port-Channel10" } ) );
}

TEST_F( IntfConfigReactor, UnsetStateIsTakenFromTheDefaultConfiguration ) {
   auto const own = ethPhyIntfConfig->intfConfig( id( "Ethernet1" ) );
   own->defaultConfigIs( config( "Ethernet1", IntfEnabledState::shutdown ) );
   EXPECT_EQ( snooping(), ( Log{ "Port-Channel10" } ) );
   EXPECT_EQ(
      steps( [ & ] { admin( "Ethernet1", IntfEnabledState::unknownEnabledState ); } ),
      ( Log{ handled( "Ethernet1" ), "snooping Port-Channel10 -" } ) );
}

TEST_F( IntfConfigReactor, ShutdownOfAPortInNoMlagPortChannelWritesNothing ) {
   port( "Ethernet2" );
   EXPECT_EQ(
      steps( [ & ] { admin( "Ethernet2", IntfEnabledState::shutdown ); } ),
      ( Log{ handled( "Ethernet2" ) } ) );
}

TEST_F( IntfConfigReactor, ManagementInterfaceEndsNoForcing ) {
   member( "Management1", "Port-Channel10" );
   port( "Management1" );
   EXPECT_EQ(
      steps( [ & ] { admin( "Management1", IntfEnabledState::shutdown ); } ),
      ( Log{ handled( "Management1" ) } ) );
   EXPECT_EQ( snooping(), ( Log{ "Port-Channel10" } ) );
}

TEST_F( IntfConfigReactor, ReplacedConfigurationRepointsItAndRunsItsHandler ) {
   auto const old = ethPhyIntfConfig->intfConfig( id( "Ethernet1" ) );
   auto const present = reactor( "Ethernet1" );
   auto const replacement = config( "Ethernet1", IntfEnabledState::shutdown );
   EXPECT_EQ(
      steps( [ & ] { ethPhyIntfConfig->intfConfigIs( replacement ); } ),
      ( Log{ handled( "Ethernet1" ), "snooping Port-Channel10 -" } ) );
   EXPECT_EQ( reactor( "Ethernet1" ), present );
   EXPECT_EQ( reactors(), 1u );
   EXPECT_EQ( present->notifier().ptr(), replacement.ptr() );
   EXPECT_EQ( old->notifieeCount(), 0u );
   EXPECT_EQ( replacement->notifieeCount(), 1u );
   EXPECT_EQ(
      steps( [ & ] { old->adminEnabledStateLocalIs( IntfEnabledState::shutdown ); } ),
      Log() );
   EXPECT_EQ(
      steps(
         [ & ] { replacement->adminEnabledStateLocalIs( IntfEnabledState::enabled ); } ),
      ( Log{ handled( "Ethernet1" ) } ) );
}

TEST_F( IntfConfigReactor, SameConfigurationAgainChangesNothing ) {
   auto const same = ethPhyIntfConfig->intfConfig( id( "Ethernet1" ) );
   same->adminEnabledStateLocalIs( IntfEnabledState::shutdown );
   auto const present = reactor( "Ethernet1" );
   auto const modifications = same->notifieeModifications();
   EXPECT_EQ( steps( [ & ] { sm->intfConfigIs( same ); } ), Log() );
   EXPECT_EQ( reactor( "Ethernet1" ), present );
   EXPECT_EQ( same->notifieeModifications(), modifications );
}

TEST_F( IntfConfigReactor, NullConfigurationIsRefused ) {
   EXPECT_EQ(
      support::refusal( [ & ] { sm->intfConfigIs( nullptr ); } ),
      "null _intfConfig parameter to mutator for "
      "Mlag::Ostra::MlagErrdisableSm::intfConfig not allowed\"" );
   EXPECT_EQ( reactors(), 1u );
}

TEST_F( IntfConfigReactor, ReactorWithoutAConfigurationSpeaksOfNoInterface ) {
   auto const kept = reactor( "Ethernet1" );
   kept->notifierIs( nullptr );
   EXPECT_EQ(
      steps( [ & ] { kept->onAdminEnabledStateLocal(); } ), ( Log{ handled( "" ) } ) );
}

TEST_F( IntfConfigReactor, RepointedDirectoryAddsItsConfigurations ) {
   auto const directory = Ryx::make< AllEthPhyIntfConfigDir >( "other" );
   directory->intfConfigIs( config( "Ethernet1", IntfEnabledState::shutdown ) );
   directory->intfConfigIs( config( "Ethernet2", IntfEnabledState::shutdown ) );
   EXPECT_EQ(
      steps( [ & ] {
         reactorOf< RyxEthPhyIntfConfig >( *sm )->notifierIs(
            Ryx::Ptr< Ryx::PtrInterface const >( directory ) );
      } ),
      ( Log{ handled( "Ethernet1" ), "snooping Port-Channel10 -" } ) );
   EXPECT_EQ( reactors(), 2u );
   EXPECT_EQ( ethPhyIntfConfig->notifieeCount(), 0u );
}

TEST_F( IntfConfigReactor, ImmediateNotificationWalksAllConfigurations ) {
   sm->intfConfigDelAll();
   EXPECT_EQ( reactors(), 0u );
   admin( "Ethernet2", IntfEnabledState::enabled );
   reactorOf< RyxEthPhyIntfConfig >( *sm )->onIntfConfigryxImmediate();
   EXPECT_EQ( reactors(), 2u );
   EXPECT_TRUE( reactor( "Ethernet1" ) );
}

TEST_F( IntfConfigReactor, DirectoryReactorWithoutDirectoryOrMachineDoesNothing ) {
   auto const directory = reactorOf< RyxEthPhyIntfConfig >( *sm );
   directory->notifierIs( nullptr );
   directory->onIntfConfig( id( "Ethernet1" ) );
   EXPECT_NO_THROW( directory->onIntfConfigryxImmediate() );
   EXPECT_EQ( reactors(), 1u );

   sm->ethPhyIntfConfigDel();
   ethPhyIntfConfig->intfConfigDel( id( "Ethernet1" ) );
   directory->onIntfConfig( id( "Ethernet1" ) );
   EXPECT_EQ( reactors(), 1u );
}

TEST_F( IntfConfigReactor, MachineMarkedForDeletionMakesZombies ) {
   sm->ryxDoZombieReactors( true );
   auto const added = config( "Ethernet2", IntfEnabledState::enabled );
   sm->intfConfigIs( added );
   EXPECT_TRUE( reactor( "Ethernet2" )->ryxMarkedForDeletion() );
   EXPECT_EQ(
      steps( [ & ] { added->adminEnabledStateLocalIs( IntfEnabledState::shutdown ); } ),
      Log() );
}

} // namespace
