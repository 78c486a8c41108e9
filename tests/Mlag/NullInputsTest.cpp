// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A machine that is given null for one of its eleven objects.

#include "SmReach"

#include <Ryx/Activity>

namespace {

// Tells where it is before its construction begins.
class StartingMachine final : public Sm {
 public:
   template< class First, class... Others >
   StartingMachine( Sm*& self, First const& first, Others const&... others )
         : Sm( ( self = this, first ), others... ) {}
};

class NullInputs : public SwitchFixture {
 public:
   NullInputs() {
      configureMlag();
      port( "Ethernet1" );
      member( "Ethernet1", "Port-Channel10" );
      mlagInterface( "Port-Channel10" );
   }

   // What the factory throws, "" when it makes a machine.
   std::string starting() {
      try {
         start();
      } catch ( Ryx::RangeException const& e ) {
         return std::string( e.what() );
      }
      return "";
   }
   Ryx::Ptr< Sm > makeStarting( Sm*& self ) const {
      return apply( [ &self ]( auto const&... input ) {
         return Ryx::make< StartingMachine >( self, input... );
      } );
   }
   // The notifiees of all that is left of the machine's surroundings.
   unsigned notifiees() const {
      unsigned count = Ryx::activityManager()->clock()->notifieeCount();
      auto const add = [ & ]( auto const& input ) {
         count += input ? input->notifieeCount() : 0;
      };
      add( mlagConfig );
      add( mlagStatus );
      add( ethPhyIntfStatus );
      add( ethPhyIntfConfig );
      add( lagInputIntfStatus );
      add( lacpOverride );
      if ( ethPhyIntfConfig ) {
         add( ethPhyIntfConfig->intfConfig( id( "Ethernet1" ) ) );
      }
      return count;
   }
   // Nothing is begun, as the absence of traces shows.
   void expectRefused() {
      auto const before = notifiees();
      tracingIs( true );
      take();
      EXPECT_EQ( starting(), "null ValidPtr" );
      EXPECT_EQ( sm, nullptr );
      EXPECT_EQ( take(), Log() );
      EXPECT_EQ( notifiees(), before );
   }
   // Start-up gets as far as to the object that is missing.
   void expectFailure() {
      auto const before = notifiees();
      EXPECT_EQ( starting(), "null ValidPtr" );
      EXPECT_EQ( sm, nullptr );
      EXPECT_EQ( notifiees(), before );
   }
};

TEST_F( NullInputs, WithoutMlagConfigurationThereIsNoMachineAndNothingIsWritten ) {
   mlagConfig = nullptr;
   expectRefused();
}

TEST_F( NullInputs, WithoutMlagStatusThereIsNoMachineAndNothingIsWritten ) {
   mlagStatus = nullptr;
   expectRefused();
}

TEST_F( NullInputs, WithoutProtoStatusThereIsNoMachineAndNothingIsWritten ) {
   mlagProtoStatus = nullptr;
   expectRefused();
}

TEST_F( NullInputs, WithoutStatusDirectoryNoPortIsThereToBeHeld ) {
   ethPhyIntfStatus = nullptr;
   EXPECT_EQ( starting(), "" );
   EXPECT_EQ( held(), std::vector< std::string >() );
   EXPECT_TRUE( mlagProtoStatus->portsErrdisabled() );
   moveTo( 300 );
   EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
}

TEST_F( NullInputs, WithoutConfigurationDirectoryPortsAreHeldAndNoPortChannelIsForced ) {
   ethPhyIntfConfig = nullptr;
   EXPECT_EQ( starting(), "" );
   EXPECT_EQ( held(), ( std::vector< std::string >{ "Ethernet1" } ) );
   EXPECT_FALSE( igmpsnoopingConfig->forceEnabledPorts( id( "Port-Channel10" ) ) );
   moveTo( 300 );
   EXPECT_EQ( held(), std::vector< std::string >() );
}

TEST_F( NullInputs, WithoutCauseTheFailureComesWithTheFirstPortToHold ) {
   mlagissuCause = nullptr;
   expectFailure();
}

TEST_F( NullInputs, AFailedStartTakesBackItsHoldsAndThenWhatItSaidOfThem ) {
   igmpsnoopingConfig = nullptr;
   take();
   EXPECT_EQ( starting(), "null ValidPtr" );
   EXPECT_EQ(
      take(),
      ( Log{ "0 proto portsErrdisabled true",
             "0 proto portsErrdisabledWhen 0",
             "0 cause Ethernet1 0",
             "0 cause Ethernet1 -",
             "0 proto portsErrdisabled false",
             "0 proto portsErrdisabledWhen inf" } ) );
}

TEST_F( NullInputs, AFailedStartLeavesAStandbyThatIsNotItsOwn ) {
   mlagConfig->lacpStandbyIs( true );
   mlagProtoStatus->holdInSecondaryIs( true );
   systemId( "02:00:00:00:00:01" );
   lacpOverrideIs( "Port-Channel10", "02:00:00:00:00:01" );
   state( MlagState::mlagSecondary );
   auto const portChannel = lacp( "Port-Channel10" );
   portChannel->stayInStandbyIs( true );
   igmpsnoopingConfig = nullptr;
   EXPECT_EQ( starting(), "null ValidPtr" );
   EXPECT_EQ( held(), std::vector< std::string >() );
   EXPECT_TRUE( portChannel->stayInStandby() );
}

TEST_F( NullInputs, AFailedStartLeavesWhatIsHeldSinceTheSameMoment ) {
   mlagissuCause->intfStatusIs( id( "Ethernet9" ), Ryx::now() );
   igmpsnoopingConfig = nullptr;
   EXPECT_EQ( starting(), "null ValidPtr" );
   EXPECT_EQ( held(), std::vector< std::string >{ "Ethernet9" } );
}

TEST_F( NullInputs, WithoutLacpConfigurationAPortChannelInStandbyIsOnlyRecorded ) {
   lacpConfig = nullptr;
   EXPECT_EQ( starting(), "" );
   sm->setLacpStandby( id( "Port-Channel10" ) );
   EXPECT_TRUE( sm->lagsInStandby( id( "Port-Channel10" ) ) );
   moveTo( 300 );
   EXPECT_FALSE( sm->lagsInStandby( id( "Port-Channel10" ) ) );
   EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
}

// The port-channel is in standby when the start fails at a port that is to be held.
class FailureAfterStandby : public NullInputs {
 public:
   FailureAfterStandby() {
      mlagConfig->lacpStandbyIs( true );
      mlagProtoStatus->holdInSecondaryIs( true );
      systemId( "02:00:00:00:00:01" );
      lacpOverrideIs( "Port-Channel10", "02:00:00:00:00:01" );
      state( MlagState::mlagSecondary );
      port( portVisitedAfter( "Ethernet1" ) );
      mlagissuCause = nullptr;
   }

   Ryx::Ptr< Lacp::LacpPCConfig > portChannel = lacp( "Port-Channel10" );
};

TEST_F( FailureAfterStandby, TakesTheStandbyBack ) {
   take();
   EXPECT_EQ( starting(), "null ValidPtr" );
   EXPECT_EQ(
      take(),
      ( Log{ "0 proto portsErrdisabled true",
             "0 proto portsErrdisabledWhen 0",
             "0 lacp Port-Channel10 true",
             "0 lacp Port-Channel10 false",
             "0 proto portsErrdisabled false",
             "0 proto portsErrdisabledWhen inf" } ) );
   EXPECT_FALSE( portChannel->stayInStandby() );
}

TEST_F( FailureAfterStandby, LeavesAStandbyThatWasThereBefore ) {
   portChannel->stayInStandbyIs( true );
   EXPECT_EQ( starting(), "null ValidPtr" );
   EXPECT_TRUE( portChannel->stayInStandby() );
}

TEST_F( NullInputs, AFailedStartWithoutCauseTakesBackWhatItSaid ) {
   mlagissuCause = nullptr;
   EXPECT_EQ( starting(), "null ValidPtr" );
   EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
   EXPECT_EQ( mlagProtoStatus->portsErrdisabledWhen(), Ryx::never );
}

TEST_F( NullInputs, AReactorThatOutlivesAFailedStartIsAZombieWithoutMachine ) {
   Sm* machine = nullptr;
   Ryx::Ptr< Sm::RyxMlagConfig > kept;
   onLine = [ & ]( std::string const& ) {
      if ( machine && !kept ) {
         kept = reactorOf< Sm::RyxMlagConfig >( *machine );
      }
   };
   mlagissuCause = nullptr;
   EXPECT_THROW( makeStarting( machine ), Ryx::RangeException );
   onLine = nullptr;
   ASSERT_TRUE( kept );
   EXPECT_TRUE( kept->ryxMarkedForDeletion() );
   EXPECT_EQ( kept->mlagErrdisableSm(), nullptr );
   mlagConfig->enabledIs( false );
}

TEST_F( NullInputs, WithNoneMissingAMachineBeginsWithNothingHeldAndNoPointCounted ) {
   Sm* machine = nullptr;
   std::vector< unsigned > begun;
   onLine = [ & ]( std::string const& ) {
      if ( machine && begun.empty() ) {
         begun = { machine->mlagPortsErrdisabled(),
                   machine->nonMlagPortsErrdisabled(),
                   machine->timerCount(),
                   machine->timerCountNonMlag() };
      }
   };
   sm = makeStarting( machine );
   EXPECT_EQ( begun, ( std::vector< unsigned >{ 0, 0, 0, 0 } ) );
}

TEST_F( NullInputs, WithoutSnoopingConfigurationTheFailureComesWithAnMlagMember ) {
   igmpsnoopingConfig = nullptr;
   expectFailure();
}

TEST_F( NullInputs, WithoutStatusesAPortThatIsLookedAtCountsAsDeleted ) {
   ethPhyIntfStatus = nullptr;
   EXPECT_EQ( starting(), "" );
   mlagissuCause->intfStatusIs( id( "Ethernet1" ), 0 );
   sm->handleIntfStatus( id( "Ethernet1" ) );
   EXPECT_EQ( held(), std::vector< std::string >() );
}

TEST_F( NullInputs, WithoutLagConfigurationEveryPortIsANonMlagOne ) {
   lagInputConfig = nullptr;
   EXPECT_EQ( starting(), "" );
   EXPECT_EQ( held(), ( std::vector< std::string >{ "Ethernet1" } ) );
   EXPECT_FALSE( sm->mlagLink( id( "Ethernet1" ) ) );
   moveTo( 300 );
   EXPECT_EQ( held(), std::vector< std::string >() );
}

TEST_F( NullInputs, WithoutOverridesNoPortGoesIntoStandby ) {
   lacpOverride = nullptr;
   mlagConfig->lacpStandbyIs( true );
   mlagProtoStatus->holdInSecondaryIs( true );
   state( MlagState::mlagSecondary );
   EXPECT_EQ( starting(), "" );
   EXPECT_EQ( held(), ( std::vector< std::string >{ "Ethernet1" } ) );
}

TEST_F( NullInputs, WithoutOverridesPortsAreHeldAsUsual ) {
   lacpOverride = nullptr;
   EXPECT_EQ( starting(), "" );
   EXPECT_EQ( reactorOf< Sm::RyxLacpOverride >( *sm ), nullptr );
   EXPECT_EQ( held(), ( std::vector< std::string >{ "Ethernet1" } ) );
}

TEST_F( NullInputs, WithoutPortChannelStatusesTheReleaseEndsTheForcing ) {
   lagInputIntfStatus = nullptr;
   EXPECT_EQ( starting(), "" );
   EXPECT_EQ( reactorOf< Sm::RyxLagInputIntfStatus >( *sm ), nullptr );
   EXPECT_EQ( held(), ( std::vector< std::string >{ "Ethernet1" } ) );
   EXPECT_TRUE( igmpsnoopingConfig->forceEnabledPorts( id( "Port-Channel10" ) ) );
   moveTo( 300 );
   EXPECT_EQ( held(), std::vector< std::string >() );
   EXPECT_FALSE( igmpsnoopingConfig->forceEnabledPorts( id( "Port-Channel10" ) ) );
   EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
}

TEST_F( NullInputs, AClockThatIsTakenAwayKeepsNoPortHeld ) {
   EXPECT_EQ( starting(), "" );
   sm->clockMlagDel();
   sm->clockNonMlagDel();
   state( MlagState::mlagPrimary );
   EXPECT_EQ( held(), std::vector< std::string >() );
   EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
}

TEST_F( NullInputs, WithoutLacpConfigurationPortsAreHeldAndReleased ) {
   lacpConfig = nullptr;
   EXPECT_EQ( starting(), "" );
   moveTo( 300 );
   EXPECT_EQ( held(), std::vector< std::string >() );
   EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
}

TEST_F( NullInputs, WithoutMlagConfiguredOnlyTheCauseIsNeeded ) {
   mlagConfig->enabledIs( false );
   ethPhyIntfStatus = nullptr;
   ethPhyIntfConfig = nullptr;
   lagInputIntfStatus = nullptr;
   lacpOverride = nullptr;
   igmpsnoopingConfig = nullptr;
   lagInputConfig = nullptr;
   lacpConfig = nullptr;
   EXPECT_EQ( starting(), "" );
   ASSERT_TRUE( sm );
   EXPECT_TRUE( sm->initialized() );
   EXPECT_FALSE( sm->ethPhyIntfStatus() );
   EXPECT_FALSE( sm->ethPhyIntfConfig() );
   EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
}

TEST_F( NullInputs, AMachineIsMadeOnceTheMissingObjectIsThere ) {
   auto const config = std::exchange( mlagConfig, nullptr );
   EXPECT_EQ( starting(), "null ValidPtr" );
   mlagConfig = config;
   EXPECT_EQ( starting(), "" );
   EXPECT_EQ( held(), ( std::vector< std::string >{ "Ethernet1" } ) );
}

} // namespace
