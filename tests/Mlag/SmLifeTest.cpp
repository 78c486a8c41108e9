// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Delivery switched off and on, tear-down, and observers that misbehave. Ethernet1 is in no
// port-channel, Ethernet2 and Ethernet3 are in MLAG port-channels of their own.

#include "SmReach"

#include <Ryx/Activity>

#include <array>
#include <stdexcept>

namespace {

// A switch whose machine has reactors of every kind once it has started.
class Switch : public SwitchFixture {
 public:
   Switch() {
      configureMlag();
      port( "Ethernet1" );
      for ( std::string const number : { "2", "3" } ) {
         port( "Ethernet" + number );
         member( "Ethernet" + number, "Port-Channel" + number );
         mlagInterface( "Port-Channel" + number );
         lagStatus( "Port-Channel" + number, LinkStatus::linkDown );
      }
   }

   using Counts = std::vector< std::uint32_t >;
   template< class Visit >
   void forEachInput( Visit const& visit ) const {
      visit( *Ryx::activityManager()->clock() );
      visit( *mlagConfig );
      visit( *mlagStatus );
      visit( *ethPhyIntfStatus );
      visit( *ethPhyIntfConfig );
      visit( *lagInputIntfStatus );
      visit( *lacpOverride );
      for ( auto it = ethPhyIntfConfig->intfConfigIteratorConst(); it; ++it ) {
         visit( *it->value() );
      }
      for ( auto it = lagInputIntfStatus->intfStatusIteratorConst(); it; ++it ) {
         visit( *it->value() );
      }
      visit( *mlagissuCause );
      visit( *igmpsnoopingConfig );
      visit( *mlagProtoStatus );
      visit( *lagInputConfig );
      visit( *lacpConfig );
   }
   Counts notifiees() const {
      Counts counts;
      forEachInput( [ & ]( auto& input ) { counts.push_back( input.notifieeCount() ); } );
      return counts;
   }
   Counts references() const {
      Counts counts;
      forEachInput( [ & ]( auto& input ) { counts.push_back( input.references() ); } );
      return counts;
   }
};

using SmLife = Switch;

// The kinds of reactors in the order in which the machine goes through them, one character
// each.
std::string
forwardingOrder( Sm& sm ) {
   std::string order;
   sm.forEachReactor( [ & ]( auto& reactor ) {
      using R = std::remove_cvref_t< decltype( reactor ) >;
      constexpr std::array< bool, 10 > is{ std::is_same_v< R, Sm::RyxClockMlag >,
                                           std::is_same_v< R, Sm::RyxClockNonMlag >,
                                           std::is_same_v< R, Sm::RyxMlagConfig >,
                                           std::is_same_v< R, Sm::RyxMlagStatus >,
                                           std::is_same_v< R, Sm::RyxEthPhyIntfStatus >,
                                           std::is_same_v< R, Sm::RyxEthPhyIntfConfig >,
                                           std::is_same_v< R, Sm::RyxLagInputIntfStatus >,
                                           std::is_same_v< R, Sm::RyxLacpOverride >,
                                           std::is_same_v< R, Sm::RyxIntfConfig >,
                                           std::is_same_v< R, Sm::RyxLagIntfStatus > };
      for ( std::size_t i = 0; i < is.size(); ++i ) {
         order += is[ i ] ? std::to_string( i ) : "";
      }
   } );
   return order;
}

TEST_F( SmLife, GoesThroughTheInputsThenPortsThenPortChannels ) {
   start();
   sm->doClearErrdisableMlagIntfStatus();
   EXPECT_EQ( forwardingOrder( *sm ), "0123456788899" );
   sm->mlagStatusDel();
   sm->clockMlagDel();
   EXPECT_EQ( forwardingOrder( *sm ), "12456788899" );
}

TEST_F( SmLife, SwitchedOffNoReactorHearsAnything ) {
   Counts const before = notifiees();
   start();
   sm->doClearErrdisableMlagIntfStatus();
   sm->hasNotificationActiveIs( true );
   Counts const running = notifiees();
   take();
   sm->hasNotificationActiveIs( false );
   EXPECT_EQ( notifiees(), before );
   sm->forEachReactor( []( auto& reactor ) {
      EXPECT_FALSE( reactor.hasNotificationActive() );
      EXPECT_FALSE( reactor.ryxMarkedForDeletion() );
   } );
   mlagConfig->enabledIs( false );
   state( MlagState::mlagPrimary );
   present( "Ethernet9" );
   moveTo( 1000 );
   EXPECT_EQ( take(), Log() );
   sm->hasNotificationActiveIs( true );
   EXPECT_EQ( notifiees(), running );
   EXPECT_EQ( take(), Log() );
   moveTo( 1000 );
   EXPECT_EQ( only( take(), "cause" ), ( Log{ "1000 cause Ethernet1 -" } ) );
}

TEST_F( SmLife, AMachineFromTheFactoryIsOnAndCanBeSwitchedOff ) {
   start();
   EXPECT_TRUE( sm->hasNotificationActive() );
   take();
   sm->hasNotificationActiveIs( false );
   state( MlagState::mlagPrimary );
   EXPECT_EQ( take(), Log() );
}

TEST_F( SmLife, SwitchedToWhatItIsChangesNoReactor ) {
   start();
   sm->hasNotificationActiveIs( true );
   auto const reactor = reactorOf< Sm::RyxMlagStatus >( *sm );
   reactor->hasNotificationActiveIs( false );
   sm->hasNotificationActiveIs( true );
   EXPECT_FALSE( reactor->hasNotificationActive() );
   sm->hasNotificationActiveIs( false );
   reactor->hasNotificationActiveIs( true );
   sm->hasNotificationActiveIs( false );
   EXPECT_TRUE( reactor->hasNotificationActive() );
}

TEST_F( SmLife, SwitchedOnAgainTheTimersKeepTheirOrder ) {
   start();
   sm->hasNotificationActiveIs( true );
   sm->hasNotificationActiveIs( false );
   sm->hasNotificationActiveIs( true );
   moveTo( 299 );
   take();
   moveTo( 300 );
   Log const log = only( take(), "cause" );
   ASSERT_EQ( log.size(), 3u );
   EXPECT_EQ( log.back(), "300 cause Ethernet1 -" );
}

TEST_F( SmLife, ZombiesAreTheMachineAndAllItsReactorsAndCanBeRevived ) {
   Counts const before = notifiees();
   start();
   sm->doClearErrdisableMlagIntfStatus();
   Counts const running = notifiees();
   take();
   sm->ryxDoZombieReactors( true );
   EXPECT_TRUE( sm->ryxMarkedForDeletion() );
   sm->forEachReactor( []( auto& reactor ) {
      EXPECT_TRUE( reactor.ryxMarkedForDeletion() );
      EXPECT_FALSE( reactor.hasNotificationActive() );
   } );
   EXPECT_EQ( notifiees(), before );
   state( MlagState::mlagPrimary );
   EXPECT_EQ( take(), Log() );
   sm->ryxDoZombieReactors( false );
   EXPECT_FALSE( sm->ryxMarkedForDeletion() );
   EXPECT_EQ( notifiees(), running );
   state( MlagState::mlagUnknown );
   state( MlagState::mlagPrimary );
   EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
}

TEST_F( SmLife, DestructionLeavesTheOutputsAndGivesEveryInputBack ) {
   Counts const notifieesBefore = notifiees();
   Counts const referencesBefore = references();
   start();
   take();
   auto const cause = held();
   stop();
   EXPECT_EQ( notifiees(), notifieesBefore );
   EXPECT_EQ( references(), referencesBefore );
   EXPECT_EQ( held(), cause );
   EXPECT_TRUE( mlagProtoStatus->portsErrdisabled() );
   EXPECT_EQ( mlagProtoStatus->portsErrdisabledWhen(), 0 );
}

TEST_F( SmLife, DestructionWritesNothingButTheTrackersCleanUpInTheirOrder ) {
   start();
   Log expected;
   for ( auto it = sm->portChannelTrackerIteratorConst(); it; ++it ) {
      expected.push_back( "snooping " + std::string( it.key().string() ) + " -" );
   }
   take();
   stop();
   EXPECT_EQ( takeUntimed(), expected );
   EXPECT_EQ( expected.size(), 2u );
}

TEST_F( SmLife, DestructionAfterAReleaseWatchedByPortChannelsGivesEverythingBack ) {
   Counts const notifieesBefore = notifiees();
   Counts const referencesBefore = references();
   start();
   state( MlagState::mlagPrimary );
   EXPECT_TRUE( sm->lagIntfStatus( id( "Port-Channel2" ) ) );
   // Dropped directly: nothing is switched off before it.
   sm = nullptr;
   EXPECT_EQ( notifiees(), notifieesBefore );
   EXPECT_EQ( references(), referencesBefore );
}

TEST_F( SmLife, DestructionUnbindsReactorsThatSomebodyElseHolds ) {
   start();
   auto const clock = reactorOf< Sm::RyxClockMlag >( *sm );
   auto const config = sm->intfConfig( id( "Ethernet1" ) );
   stop();
   take();
   EXPECT_EQ( clock->mlagErrdisableSm(), nullptr );
   EXPECT_EQ( config->mlagErrdisableSm(), nullptr );
   clock->onTime();
   config->onAdminEnabledStateLocal();
   EXPECT_EQ( take(), Log() );
}

TEST_F( SmLife, RevivedReactorsOfADestroyedMachineStayHarmless ) {
   start();
   auto const status = reactorOf< Sm::RyxMlagStatus >( *sm );
   auto const config = sm->intfConfig( id( "Ethernet1" ) );
   stop();
   take();
   status->ryxDoZombieReactors( false );
   config->ryxDoZombieReactors( false );
   state( MlagState::mlagPrimary );
   admin( "Ethernet1", IntfEnabledState::shutdown );
   EXPECT_EQ( take(), Log() );
}

TEST_F( SmLife, AThousandMachinesLeaveNothingRegistered ) {
   Counts const before = notifiees();
   for ( int i = 0; i < 1000; ++i ) {
      start();
      stop();
   }
   EXPECT_EQ( notifiees(), before );
   EXPECT_EQ( Ryx::activityManager()->clock()->nextTimeMin(), Ryx::never );
}

TEST_F( SmLife, ObserversThatThrowStopNothing ) {
   onLine = []( std::string const& logged ) {
      if ( logged.find( " log " ) == std::string::npos ) {
         throw std::runtime_error( "observer" );
      }
   };
   start();
   EXPECT_EQ( held().size(), 3u );
   moveTo( 300 );
   EXPECT_EQ( held(), std::vector< std::string >() );
   EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
   EXPECT_EQ( mlagProtoStatus->portsErrdisabledWhen(), Ryx::never );
}

TEST_F( SmLife, AnObserverThatThrowsAtEveryWriteOfAnEarlyReleaseStopsNothing ) {
   start();
   onLine = []( std::string const& ) { throw std::runtime_error( "observer" ); };
   mlagConfig->enabledIs( false );
   EXPECT_EQ( held(), std::vector< std::string >() );
   EXPECT_FALSE( sm->mlagPortsErrdisabled() );
   EXPECT_FALSE( sm->nonMlagPortsErrdisabled() );
   EXPECT_EQ( wakeTime( true ), Ryx::never );
}

TEST_F( SmLife, AnObserverMayReleaseEverythingInTheMiddleOfARelease ) {
   for ( int i = 10; i < 40; ++i ) {
      port( "Ethernet" + std::to_string( i ) );
   }
   start();
   take();
   onLine = [ & ]( std::string const& logged ) {
      if ( logged.find( "cause" ) != std::string::npos ) {
         onLine = nullptr;
         state( MlagState::mlagPrimary );
      }
   };
   mlagConfig->enabledIs( false );
   EXPECT_EQ( only( take(), "proto" ).size(), 2u );
   EXPECT_EQ( held(), std::vector< std::string >() );
}

} // namespace
