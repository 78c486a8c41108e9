// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A machine that goes while one of its own handlers runs: whoever hears of its writes,
// traces or messages may be the last to have held it.

#include "SmReach"

#include <Ryx/Activity>

namespace {

// A switch that goes through all that makes a machine act. Trace lines count as lines.
class BusySwitch final : public SwitchFixture {
 public:
   BusySwitch() {
      configureMlag();
      mlagConfig->lacpStandbyIs( true );
      mlagProtoStatus->holdInSecondaryIs( true );
      systemId( "02:00:00:00:00:01" );
      state( MlagState::mlagSecondary );
      for ( std::string const number : { "1", "2", "3" } ) {
         port( "Ethernet" + number );
         member( "Ethernet" + number, "Port-Channel" + number );
         mlagInterface( "Port-Channel" + number );
         lagStatus( "Port-Channel" + number, LinkStatus::linkDown );
         lacp( "Port-Channel" + number );
      }
      port( "Ethernet4" );
   }
   void TestBody() override {}

   // Lets the machine go in line number `line` of what follows its start; returns the
   // number of lines.
   int play( int dropAt, bool announced ) {
      start();
      tracingIs( true );
      int lines = 0;
      onLine = [ &, dropAt, announced ]( std::string const& ) {
         if ( lines++ == dropAt ) {
            announced ? stop() : void( sm = nullptr );
         }
      };
      act();
      onLine = nullptr;
      return lines;
   }
   std::uint32_t notifiees() const {
      return Ryx::activityManager()->clock()->notifieeCount() +
         mlagConfig->notifieeCount() + mlagStatus->notifieeCount() +
         ethPhyIntfStatus->notifieeCount() + ethPhyIntfConfig->notifieeCount() +
         lagInputIntfStatus->notifieeCount() + lacpOverride->notifieeCount() +
         ethPhyIntfConfig->intfConfig( id( "Ethernet1" ) )->notifieeCount() +
         lagInputIntfStatus->intfStatus( id( "Port-Channel2" ) )->notifieeCount();
   }

 private:
   void act() {
      port( "Ethernet5" );
      lacpOverrideIs( "Port-Channel1", "02:00:00:00:00:01" );
      lacpOverrideIs( "Port-Channel9", "02:00:00:00:00:01" );
      admin( "Ethernet2", IntfEnabledState::shutdown );
      admin( "Ethernet2", IntfEnabledState::enabled );
      present( "Ethernet2" );
      absent( "Ethernet3" );
      mlagConfig->reloadDelayNonMlagIs( 7 );
      mlagConfig->reloadDelayIs( 400 );
      noMlagInterface( "Port-Channel3" );
      moveTo( 1000 );
      lagStatus( "Port-Channel2", LinkStatus::linkUp );
      state( MlagState::mlagInactive );
      mlagConfig->enabledIs( false );
   }
};

TEST( SmDrop, MachineMayGoInEveryLineThatItWrites ) {
   int const lines = BusySwitch().play( -1, false );
   ASSERT_GT( lines, 80 );
   for ( int i = 0; i < lines; ++i ) {
      BusySwitch busy;
      busy.play( i, false );
      EXPECT_FALSE( busy.sm ) << i;
      EXPECT_EQ( busy.notifiees(), 0u ) << i;
   }
}

TEST( SmDrop, MachineMayBeTornDownInEveryLineThatItWrites ) {
   int const lines = BusySwitch().play( -1, true );
   for ( int i = 0; i < lines; ++i ) {
      BusySwitch busy;
      busy.play( i, true );
      EXPECT_FALSE( busy.sm ) << i;
      EXPECT_EQ( busy.notifiees(), 0u ) << i;
   }
}

// Hears of an input before the machine does.
class EarlyListener final : public Mlag::Config::NotifieeConst {
 public:
   EarlyListener( SwitchFixture& fixture ) : fixture_( fixture ) {
      notifierIs( fixture.mlagConfig );
      isRegisteredNotifieeIs( true );
   }
   void onEnabled() override { fixture_.stop(); }
   void onReloadDelay() override { fixture_.sm = nullptr; }

 private:
   SwitchFixture& fixture_;
};

class SmDropped : public SwitchFixture {
 public:
   SmDropped() : listener( Ryx::make< EarlyListener >( *this ) ) {
      configureMlag();
      port( "Ethernet1" );
      start();
      take();
   }

   Ryx::Ptr< EarlyListener > listener;
};

TEST_F( SmDropped, BySomebodyWhoHearsOfTheInputFirstItIsNotCalled ) {
   mlagConfig->reloadDelayIs( 0 );
   EXPECT_FALSE( sm );
   EXPECT_EQ( take(), Log() );
   EXPECT_EQ( mlagConfig->notifieeCount(), 1u );
}

TEST_F( SmDropped, AfterItsTearDownBySomebodyElseItIsNotCalled ) {
   mlagConfig->enabledIs( false );
   EXPECT_FALSE( sm );
   EXPECT_EQ( take(), Log() );
   EXPECT_EQ( mlagConfig->notifieeCount(), 1u );
}

TEST_F( SmDropped, ByTheFirstPortReleasedTheReleaseIsStillCompleted ) {
   onLine = [ & ]( std::string const& ) { sm = nullptr; };
   state( MlagState::mlagPrimary );
   EXPECT_EQ(
      take(),
      ( Log{ "0 cause Ethernet1 -",
             "0 proto portsErrdisabled false",
             "0 proto portsErrdisabledWhen inf" } ) );
}

TEST_F( SmDropped, ByTheEndingMessageNoTimerIsLeft ) {
   onLine = [ & ]( std::string const& ) { sm = nullptr; };
   moveTo( 225 );
   EXPECT_EQ( take(), ( Log{ at( 225, ending( 75 ) ) } ) );
   EXPECT_EQ( Ryx::activityManager()->clock()->notifieeCount(), 0u );
   EXPECT_EQ( Ryx::activityManager()->clock()->nextTimeMin(), Ryx::never );
   EXPECT_TRUE( mlagProtoStatus->portsErrdisabled() );
}

// Ports in MLAG port-channels of their own, and a machine that goes in the first line
// with a certain text.
class SmDroppedByAReactor : public SwitchFixture {
 public:
   SmDroppedByAReactor() {
      configureMlag();
      for ( std::string const number : { "1", "2", "3" } ) {
         port( "Ethernet" + number );
         member( "Ethernet" + number, "Port-Channel" + number );
         mlagInterface( "Port-Channel" + number );
         lagStatus( "Port-Channel" + number, LinkStatus::linkDown );
      }
      start();
   }
   // The number of the port-channel that the machine's own end reaches last.
   std::string last() const {
      std::string name;
      for ( auto it = sm->portChannelTrackerIteratorConst(); it; ++it ) {
         name = it.key().string();
      }
      return name.substr( name.size() - 1 );
   }
   void dropIn( std::string const& text ) {
      take();
      tracingIs( true );
      onLine = [ this, text ]( std::string const& logged ) {
         if ( logged.find( text ) != std::string::npos ) {
            sm = nullptr;
         }
      };
   }
   // The first port-channel that was taken out of forceEnabledPorts.
   std::string first() { return only( take(), "snooping" ).at( 0 ); }
};

TEST_F( SmDroppedByAReactor, OfAPortTheHandlerIsStillCompletedFirst ) {
   std::string const number = last();
   dropIn( "handleAdminEnabledStateLocal" );
   admin( "Ethernet" + number, IntfEnabledState::shutdown );
   EXPECT_FALSE( sm );
   EXPECT_EQ( first(), "0 snooping Port-Channel" + number + " -" );
}

TEST_F( SmDroppedByAReactor, OfAPortChannelTheHandlerIsStillCompletedFirst ) {
   std::string const number = last();
   state( MlagState::mlagPrimary );
   dropIn( "handleLagLinkStatus" );
   lagInputIntfStatus->intfStatus( id( "Port-Channel" + number ) )
      ->linkStatusIs( LinkStatus::linkUp );
   EXPECT_FALSE( sm );
   EXPECT_EQ( first(), "0 snooping Port-Channel" + number + " -" );
}

class SmReactorRemoved : public SwitchFixture {};

TEST_F( SmReactorRemoved, MayBeWhileItTraces ) {
   configureMlag();
   port( "Ethernet1" );
   member( "Ethernet1", "Port-Channel1" );
   mlagInterface( "Port-Channel1" );
   start();
   tracingIs( true );
   onLine = [ & ]( std::string const& line ) {
      if ( line.find( "handleAdminEnabledStateLocal" ) != std::string::npos ) {
         sm->intfConfigDel( id( "Ethernet1" ) );
      }
   };
   ethPhyIntfConfig->intfConfig( id( "Ethernet1" ) )
      ->adminEnabledStateLocalIs( Interface::IntfEnabledState::shutdown );
   onLine = nullptr;
   EXPECT_FALSE( igmpsnoopingConfig->forceEnabledPorts( id( "Port-Channel1" ) ) );
}

} // namespace
