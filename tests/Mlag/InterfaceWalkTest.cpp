// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Collections that an observer of the machine's writes changes while the machine walks them.

#include "HeldSwitch"

#include <algorithm>

namespace {

class InterfaceWalk : public HeldSwitch {
 public:
   // Enough that each of the walks below has interfaces on both sides of its middle.
   static constexpr int portCount = 24;

   InterfaceWalk() {
      for ( int i = 1; i <= portCount; ++i ) {
         std::string const name = "Ethernet" + std::to_string( i );
         port( name );
         order.push_back( name );
      }
      inOrder( order );
   }

   // Sorts names like a collection that has them all.
   void inOrder( Log& names ) const {
      Interface::AllEthPhyIntfStatusDir dir( Ryx::Name( "order" ) );
      for ( auto const& name : names ) {
         dir.intfStatusIs( Ryx::make< Interface::EthPhyIntfStatus >( id( name ) ) );
      }
      names.clear();
      for ( auto it = dir.intfStatusIteratorConst(); it; ++it ) {
         names.push_back( it.key().string() );
      }
   }
   // The first name with that prefix that sorts before, or else after, `place`.
   std::string placed( bool before, std::string const& place ) const {
      for ( int i = 100;; ++i ) {
         Log pair{ "Ethernet" + std::to_string( i ), place };
         std::string const name = pair.front();
         inOrder( pair );
         if ( ( pair.front() == name ) == before ) {
            return name;
         }
      }
   }
   // Runs `action` once, inside the write of that line.
   void during( std::string const& what, std::function< void() > action ) {
      onLine = [ this, what, action ]( std::string const& line ) {
         if ( line.substr( line.find( ' ' ) + 1 ) == what ) {
            onLine = nullptr;
            action();
         }
      };
   }
   Log startSteps() {
      return steps( [ & ] { start(); } );
   }
   static std::ptrdiff_t handlings( Log const& log, std::string const& name ) {
      return std::count(
         log.begin(), log.end(), called( "handleIntfStatus(Kovel::IntfId) " + name ) );
   }
   // The lines of a trace, and of that of an interface that is handled.
   static std::string traced( int level, std::string const& text ) {
      return "trace " + std::to_string( level ) + " src-includes/Mlag/MlagErrdisableSm " +
         text;
   }
   static std::string handlingOf( std::string const& name ) {
      return traced(
         8, "void Mlag::Ostra::MlagErrdisableSm::handleIntfStatus(Kovel::IntfId) " + name );
   }
   std::string const& middle() const { return order[ portCount / 2 ]; }

   Log order;
};

TEST_F( InterfaceWalk, InterfacesInsertedMeanwhileAreAllHeld ) {
   std::string const behind = placed( true, middle() );
   std::string const ahead = placed( false, middle() );
   during( "cause " + middle() + " 0", [ & ] {
      port( behind );
      port( ahead );
   } );
   Log const log = startSteps();
   // One is heard of, the other is come to as well.
   EXPECT_EQ( handlings( log, behind ), 1 );
   EXPECT_EQ( handlings( log, ahead ), 2 );
   EXPECT_EQ( std::count( log.begin(), log.end(), "cause " + ahead + " 0" ), 1 );
   order.push_back( behind );
   order.push_back( ahead );
   inOrder( order );
   EXPECT_EQ( held(), order );
}

TEST_F( InterfaceWalk, InterfacesDeletedAheadAreNotVisited ) {
   std::string const next = order[ portCount / 2 + 1 ];
   std::string const last = order.back();
   during( "cause " + middle() + " 0", [ & ] {
      absent( next );
      absent( last );
   } );
   Log const log = startSteps();
   EXPECT_EQ( handlings( log, next ), 1 );
   EXPECT_EQ( handlings( log, last ), 1 );
   EXPECT_EQ( held().size(), portCount - 2u );
}

TEST_F( InterfaceWalk, DeletingTheInterfaceBeingHandledGoesOnBehindIt ) {
   during( "cause " + middle() + " 0", [ & ] { absent( middle() ); } );
   startSteps();
   std::string const gone = middle();
   order.erase( std::find( order.begin(), order.end(), gone ) );
   EXPECT_EQ( held(), order );
}

TEST_F( InterfaceWalk, DeletingAllInterfacesEndsTheWalk ) {
   during( "cause " + middle() + " 0", [ & ] { ethPhyIntfStatus->intfStatusDelAll(); } );
   Log const log = startSteps();
   EXPECT_EQ( handlings( log, order.back() ), 1 );
   EXPECT_EQ( held(), Log() );
   EXPECT_EQ( log.back(), "8: Interface " + order.back() + " deleted" );
}

// A reader of the trace comes before the question whether the port is there.
TEST_F( InterfaceWalk, AnInterfaceThatGoesWhileItIsTracedIsForgotten ) {
   during( handlingOf( middle() ), [ & ] { absent( middle() ); } );
   Log const log = startSteps();
   EXPECT_EQ(
      std::count( log.begin(), log.end(), "8: Interface " + middle() + " deleted" ), 2 );
   std::string const gone = middle();
   order.erase( std::find( order.begin(), order.end(), gone ) );
   EXPECT_EQ( held(), order );
}

TEST_F( InterfaceWalk, AnInterfaceThatGoesAndComesWhileItIsTracedIsHeld ) {
   during( handlingOf( middle() ), [ & ] {
      absent( middle() );
      port( middle() );
      mlagissuCause->intfStatusDel( id( middle() ) );
   } );
   Log const log = startSteps();
   EXPECT_EQ( std::count( log.begin(), log.end(), "cause " + middle() + " 0" ), 2 );
   EXPECT_EQ( held(), order );
}

TEST_F( InterfaceWalk, WhatIsThereIsWhatTheMachinesDirectoryHas ) {
   auto const other = Ryx::make< Interface::AllEthPhyIntfStatusDir >( "other" );
   std::string const last = order.back();
   other->intfStatusIs( Ryx::make< Interface::EthPhyIntfStatus >( id( last ) ) );
   start();
   mlagissuCause->intfStatusDelAll();
   during( "cause " + middle() + " 0", [ & ] { sm->ethPhyIntfStatusIs( other ); } );
   sm->handleIntfStatus();
   order.erase( order.begin() + portCount / 2 + 1, order.end() - 1 );
   EXPECT_EQ( held(), order );
}

TEST_F( InterfaceWalk, EntriesMadeAndRemovedWhileAHoldIsTracedStay ) {
   std::string const name = mlagissuCause->name().string();
   during( traced( 9, "Adding " + middle() + " to errdisable cause " + name ), [ & ] {
      for ( std::string const& port : order ) {
         mlagissuCause->intfStatusDel( id( port ) );
      }
      for ( int i = 100; i < 200; ++i ) {
         mlagissuCause->intfStatusIs( id( "Ethernet" + std::to_string( i ) ), 7 );
      }
   } );
   startSteps();
   Log expected( order.begin() + portCount / 2, order.end() );
   for ( int i = 100; i < 200; ++i ) {
      expected.push_back( "Ethernet" + std::to_string( i ) );
   }
   inOrder( expected );
   EXPECT_EQ( held(), expected );
   EXPECT_EQ( mlagissuCause->intfStatus( id( middle() ) ).when, 0 );
}

TEST_F( InterfaceWalk, AnEntryMadeWhileItsHoldIsTracedHasTheTimeOfTheHold ) {
   std::string const name = mlagissuCause->name().string();
   during( traced( 9, "Adding " + middle() + " to errdisable cause " + name ), [ & ] {
      mlagissuCause->intfStatusIs( id( middle() ), 7 );
   } );
   startSteps();
   EXPECT_EQ( mlagissuCause->intfStatus( id( middle() ) ).when, 0 );
   EXPECT_EQ( held(), order );
}

TEST_F( InterfaceWalk, DirectoryThatGrowsManyfoldIsWalkedToItsEnd ) {
   during( "cause " + order.front() + " 0", [ & ] {
      for ( int i = 1000; i < 1400; ++i ) {
         port( "Ethernet" + std::to_string( i ) );
      }
   } );
   start();
   EXPECT_EQ( held().size(), portCount + 400u );
}

TEST_F( InterfaceWalk, ReleaseInTheMiddleLeavesTheRestAlone ) {
   during( "cause " + middle() + " 0", [ & ] { state( MlagState::mlagPrimary ); } );
   start();
   EXPECT_EQ( held(), Log() );
   EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
}

TEST_F( InterfaceWalk, MachineLetGoInsideItsOwnWriteEndsWhatItBegan ) {
   start();
   std::string const late = "Ethernet500";
   during( "cause " + late + " 0", [ & ] { stop(); } );
   mlagMember( late, "Port-Channel10" );
   EXPECT_FALSE( sm );
   EXPECT_TRUE( mlagissuCause->intfStatusHas( id( late ) ) );
   // Its tracker went with it.
   EXPECT_EQ( snooping(), Log() );
}

TEST_F( InterfaceWalk, PortChannelsMembersMayChangeWhileAnOverrideMovesThem ) {
   for ( auto const& name : order ) {
      member( name, "Port-Channel10" );
   }
   mlagInterface( "Port-Channel10" );
   readyForStandby();
   start();
   std::string const next = order[ portCount / 2 + 1 ];
   std::string const behind = placed( true, middle() );
   std::string const ahead = placed( false, middle() );
   during( "cause " + middle() + " -", [ & ] {
      auto const lag = sm->portChannelToMember( id( "Port-Channel10" ) );
      lag->memberDel( id( next ) );
      lag->memberDel( id( middle() ) );
      lag->memberIs( id( behind ), true );
      lag->memberIs( id( ahead ), true );
   } );
   Log const log = only(
      steps( [ & ] { lacpOverrideIs( "Port-Channel10", mlagSystemId ); } ),
      "void Mlag::Ostra::MlagErrdisableSm::handleLacpStandby" );
   auto const visited = [ & ]( std::string const& name ) {
      return std::count(
         log.begin(), log.end(), called( "handleLacpStandby(Kovel::IntfId) " + name ) );
   };
   EXPECT_EQ( visited( next ), 0 );
   EXPECT_EQ( visited( behind ), 0 );
   EXPECT_EQ( visited( ahead ), 1 );
   EXPECT_EQ( held(), ( Log{ next } ) );
}

TEST_F( InterfaceWalk, PortChannelDeletedWhileItsMembersAreWalked ) {
   for ( auto const& name : order ) {
      member( name, "Port-Channel10" );
   }
   mlagInterface( "Port-Channel10" );
   readyForStandby();
   start();
   during( "cause " + middle() + " -", [ & ] { sm->portChannelToMemberDelAll(); } );
   lacpOverrideIs( "Port-Channel10", mlagSystemId );
   // The walk has the port-channel's members to its end.
   EXPECT_EQ( held(), Log() );
   EXPECT_FALSE( sm->portChannelToMember( id( "Port-Channel10" ) ) );
}

} // namespace
