// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What the peer interface status reactor does to the local directories.

#include <OstraMlag/Inputs>

#include <gtest/gtest.h>

namespace {

using OstraMlag::EthPeerIntfStatusReactor;

static_assert( std::is_base_of_v<
               Interface::PeerIntfStatusDir::NotifieeConst,
               EthPeerIntfStatusReactor > );
static_assert( std::is_base_of_v<
               Interface::IntfStatusDirBase::NotifieeConst,
               EthPeerIntfStatusReactor > );

TEST( PeerReactor, CopiesEveryPeerStatusAtConstructionEthernetDirectoryFirst ) {
   Directories dirs;
   auto const first = dirs.peerIs( "PeerEthernet1" );
   auto const second = dirs.peerIs( "PeerEthernet2" );
   LocalLog log( dirs );
   auto const reactor = dirs.makeReactor();
   Calls expected;
   for ( auto it = dirs.peer->intfStatusIteratorConst(); it; ++it ) {
      expected.push_back( "eth " + it.key().string() );
      expected.push_back( "all " + it.key().string() );
   }
   EXPECT_EQ( log.take(), expected );
   EXPECT_EQ( dirs.eth->intfStatus( first->intfId() ), first );
   EXPECT_EQ( dirs.all->intfStatus( second->intfId() ), second );
}

TEST( PeerReactor, StartsActiveAndRegisteredWithTheReferenceOfItsMaker ) {
   Directories const dirs;
   auto const reactor = dirs.makeReactor();
   EXPECT_EQ( reactor->references(), 1u );
   EXPECT_TRUE( reactor->hasNotificationActive() );
   EXPECT_TRUE( reactor->isRegisteredNotifiee() );
   EXPECT_FALSE( reactor->ryxMarkedForDeletion() );
   EXPECT_EQ( reactor->notifier(), dirs.peer );
   EXPECT_EQ( reactor->ethPeerStatusDir(), dirs.peer );
   EXPECT_EQ( reactor->ethIntfStatusDir(), dirs.eth );
   EXPECT_EQ( reactor->allIntfStatusDir(), dirs.all );
   EXPECT_EQ( dirs.peer->notifieeCount(), 1u );
}

TEST( PeerReactor, WithoutAPeerDirectoryCopiesNothingAndIsRegistered ) {
   Directories dirs;
   dirs.peer = nullptr;
   LocalLog log( dirs );
   auto const reactor = dirs.makeReactor();
   EXPECT_EQ( log.take(), Calls() );
   EXPECT_FALSE( reactor->notifier() );
   EXPECT_TRUE( reactor->isRegisteredNotifiee() );
}

TEST( PeerReactor, WithoutAPeerDirectoryNoStatusCanBeHandled ) {
   Directories dirs;
   dirs.peer = nullptr;
   auto const reactor = dirs.makeReactor();
   EXPECT_EQ(
      support::refusal(
         [ & ] { reactor->handleEthPeerIntf( IntfId( "PeerEthernet1" ) ); } ),
      "null ValidPtr" );
   EXPECT_EQ( dirs.having( "PeerEthernet1" ), Calls() );
}

TEST( PeerReactor, PutsTheSameObjectIntoBothDirectoriesWhenThePeerGetsAnEntry ) {
   Directories const dirs;
   auto const reactor = dirs.makeReactor();
   LocalLog log( dirs );
   auto const status = dirs.peerIs( "PeerEthernet1" );
   EXPECT_EQ( log.take(), ( Calls{ "eth PeerEthernet1", "all PeerEthernet1" } ) );
   EXPECT_EQ( dirs.eth->intfStatus( status->intfId() ), status );
   EXPECT_EQ( dirs.all->intfStatus( status->intfId() ), status );
   status->linkStatusIs( Interface::LinkStatus::linkUp );
   EXPECT_EQ(
      dirs.eth->intfStatus( status->intfId() )->linkStatus(),
      Interface::LinkStatus::linkUp );
}

TEST( PeerReactor, ReplacesLocalEntriesWhenThePeersObjectIsReplaced ) {
   Directories const dirs;
   auto const reactor = dirs.makeReactor();
   auto const old = dirs.peerIs( "PeerEthernet1" );
   LocalLog log( dirs );
   auto const fresh = dirs.peerIs( "PeerEthernet1" );
   EXPECT_EQ( log.take(), ( Calls{ "eth PeerEthernet1", "all PeerEthernet1" } ) );
   EXPECT_EQ( dirs.all->intfStatus( fresh->intfId() ), fresh );
   EXPECT_EQ( old->references(), 1u );
}

TEST( PeerReactor, RemovesBothEntriesEthernetFirstWhenThePeersGoes ) {
   Directories const dirs;
   auto const reactor = dirs.makeReactor();
   auto const status = dirs.peerIs( "PeerEthernet1" );
   LocalLog log( dirs );
   dirs.peer->intfStatusDel( status->intfId() );
   EXPECT_EQ( log.take(), ( Calls{ "eth -PeerEthernet1", "all -PeerEthernet1" } ) );
   EXPECT_EQ( dirs.having( "PeerEthernet1" ), Calls() );
   EXPECT_EQ( status->references(), 1u );
}

TEST( PeerReactor, RemovesWhatIsNotThereWithoutHarm ) {
   Directories const dirs;
   auto const reactor = dirs.makeReactor();
   auto const status = dirs.peerIs( "PeerEthernet1" );
   dirs.eth->intfStatusDel( status->intfId() );
   dirs.all->intfStatusDel( status->intfId() );
   LocalLog log( dirs );
   dirs.peer->intfStatusDel( status->intfId() );
   EXPECT_EQ( log.take(), Calls() );
}

TEST( PeerReactor, RemovesFromEachDirectoryWhateverTheOtherHas ) {
   Directories const dirs;
   auto const reactor = dirs.makeReactor();
   LocalLog log( dirs );
   auto const goes = [ & ]( auto const& directory ) {
      auto const status = dirs.peerIs( "PeerEthernet1" );
      directory->intfStatusDel( status->intfId() );
      log.take();
      dirs.peer->intfStatusDel( status->intfId() );
      return log.take();
   };
   EXPECT_EQ( goes( dirs.eth ), Calls{ "all -PeerEthernet1" } );
   EXPECT_EQ( goes( dirs.all ), Calls{ "eth -PeerEthernet1" } );
}

TEST( PeerReactor, RemovesALocalEntryThatThePeerNeverHadWhenItIsReported ) {
   Directories const dirs;
   auto const reactor = dirs.makeReactor();
   auto const local = Ryx::make< Interface::PeerIntfStatus >( IntfId( "Ethernet9" ) );
   dirs.eth->intfStatusIs( local );
   dirs.all->intfStatusIs( local );
   LocalLog log( dirs );
   reactor->onIntfStatus( local->intfId() );
   EXPECT_EQ( log.take(), ( Calls{ "eth -Ethernet9", "all -Ethernet9" } ) );
}

TEST( PeerReactor, CopyingEverythingNeverDeletes ) {
   Directories const dirs;
   auto const reactor = dirs.makeReactor();
   dirs.eth->intfStatusIs(
      Ryx::make< Interface::PeerIntfStatus >( IntfId( "Ethernet9" ) ) );
   dirs.peerIs( "PeerEthernet1" );
   dirs.eth->intfStatusDel( IntfId( "PeerEthernet1" ) );
   LocalLog log( dirs );
   reactor->handleEthPeerIntf();
   EXPECT_EQ( log.take(), Calls{ "eth PeerEthernet1" } );
   EXPECT_EQ( dirs.having( "Ethernet9" ), Calls{ "eth" } );
}

TEST( PeerReactor, RePointedLeavesStaleEntriesAndCopiesNothingUntilEntriesChange ) {
   Directories dirs;
   auto const reactor = dirs.makeReactor();
   dirs.peerIs( "PeerEthernet1" );
   auto const old = dirs.peer;
   dirs.peer = Ryx::make< Interface::PeerIntfStatusDir >( "other" );
   dirs.peerIs( "PeerEthernet2" );
   LocalLog log( dirs );
   reactor->notifierIs( dirs.peer );
   EXPECT_EQ( log.take(), Calls() );
   EXPECT_EQ( dirs.having( "PeerEthernet1" ), ( Calls{ "eth", "all" } ) );
   EXPECT_EQ( dirs.having( "PeerEthernet2" ), Calls() );
   EXPECT_EQ( old->notifieeCount(), 0u );

   old->intfStatusDel( IntfId( "PeerEthernet1" ) );
   EXPECT_EQ( log.take(), Calls() );
   dirs.peerIs( "PeerEthernet2" );
   EXPECT_EQ( log.take(), ( Calls{ "eth PeerEthernet2", "all PeerEthernet2" } ) );
   dirs.peer->intfStatusDel( IntfId( "PeerEthernet1" ) );
   EXPECT_EQ( log.take(), Calls() );
}

TEST( PeerReactor, IgnoresPeerChangesWhileItIsAZombie ) {
   Directories const dirs;
   auto const reactor = dirs.makeReactor();
   LocalLog log( dirs );
   reactor->ryxMarkedForDeletionIs( true );
   EXPECT_TRUE( reactor->isRegisteredNotifiee() );
   dirs.peerIs( "PeerEthernet1" );
   reactor->onIntfStatus( IntfId( "PeerEthernet1" ) );
   EXPECT_EQ( log.take(), Calls() );
   reactor->ryxMarkedForDeletionIs( false );
   reactor->onIntfStatus( IntfId( "PeerEthernet1" ) );
   EXPECT_EQ( log.take(), ( Calls{ "eth PeerEthernet1", "all PeerEthernet1" } ) );
}

TEST( PeerReactor, ImmediateAndUnkeyedCallbacksDoNothing ) {
   Directories const dirs;
   auto const reactor = dirs.makeReactor();
   dirs.peerIs( "PeerEthernet1" );
   dirs.eth->intfStatusDelAll();
   LocalLog log( dirs );
   Interface::PeerIntfStatusDir::NotifieeConst& notifiee = *reactor;
   notifiee.onIntfStatusryxImmediate();
   notifiee.onIntfStatus();
   EXPECT_EQ( log.take(), Calls() );
}

TEST( PeerReactor, LeavesLocalEntriesAndItsDirectoryWhenItIsDestroyed ) {
   Directories const dirs;
   auto reactor = dirs.makeReactor();
   dirs.peerIs( "PeerEthernet1" );
   LocalLog log( dirs );
   reactor = nullptr;
   EXPECT_EQ( log.take(), Calls() );
   EXPECT_EQ( dirs.having( "PeerEthernet1" ), ( Calls{ "eth", "all" } ) );
   EXPECT_EQ( dirs.peer->notifieeCount(), 0u );
   EXPECT_EQ( dirs.peer->references(), 1u );
   dirs.peerIs( "PeerEthernet2" );
   EXPECT_EQ( log.take(), Calls() );
}

TEST( PeerReactor, ReleasesTheAllInterfacesDirectoryThenTheEthernetOneThenItsNotifier ) {
   DestructionLog log;
   auto reactor = Ryx::make< EthPeerIntfStatusReactor >(
      log.make< Interface::PeerIntfStatusDir >( "peer" ),
      log.make< Interface::EthIntfStatusDir >( "eth" ),
      log.make< Interface::AllIntfStatusDir >( "all" ) );
   reactor = nullptr;
   EXPECT_EQ( log.take(), ( Calls{ "all gone", "eth gone", "peer gone" } ) );
}

// A directory that is not able to do what it is asked for.
class FullDirectory final : public Interface::AllIntfStatusDir {
 public:
   FullDirectory() : AllIntfStatusDir( "full" ) {}
   void intfStatusIs( Ptr< Interface::IntfStatus > const& ) override { fail(); }
   Ptr< Interface::IntfStatus > intfStatusDel( IntfId ) override { fail(); }

 private:
   [[noreturn]] static void fail() { Ryx::throwRangeException( "the directory is full" ); }
};

// Counts the exceptions that the setter hands back.
class Reporting final : public EthPeerIntfStatusReactor {
 public:
   using EthPeerIntfStatusReactor::EthPeerIntfStatusReactor;
   void onNotificationException( Ryx::AttributeId id ) override {
      exceptions.push_back( id );
   }
   std::vector< Ryx::AttributeId > exceptions;
};

TEST( PeerReactor, AFailureOfTheAllInterfacesDirectoryLeavesTheEthernetOneUpdated ) {
   Directories dirs;
   dirs.all = Ryx::make< FullDirectory >();
   auto const reactor = Ryx::make< Reporting >( dirs.peer, dirs.eth, dirs.all );
   dirs.peerIs( "PeerEthernet1" );
   EXPECT_EQ( dirs.having( "PeerEthernet1" ), Calls{ "eth" } );
   auto const id = support::type( "Interface::PeerIntfStatusDir" )
                      .attr( Ryx::Name( "intfStatus" ) )
                      ->id();
   EXPECT_EQ( reactor->exceptions, std::vector< Ryx::AttributeId >{ id } );
   EXPECT_EQ(
      support::refusal(
         [ & ] { reactor->handleEthPeerIntf( IntfId( "PeerEthernet1" ) ); } ),
      "the directory is full" );
   dirs.peer->intfStatusDel( IntfId( "PeerEthernet1" ) );
   EXPECT_EQ( dirs.having( "PeerEthernet1" ), Calls() );
   EXPECT_EQ( reactor->exceptions.size(), 2u );
}

TEST( PeerReactor, WithOneDirectoryMissingTheOtherIsNotWritten ) {
   Directories dirs;
   auto const all = std::exchange( dirs.all, nullptr );
   auto const reactor = Ryx::make< Reporting >( dirs.peer, dirs.eth, dirs.all );
   dirs.peerIs( "PeerEthernet1" );
   EXPECT_FALSE( dirs.eth->intfStatus( IntfId( "PeerEthernet1" ) ) );
   dirs.all = all;
   auto const whole = dirs.makeReactor();
   whole->hasNotificationActiveIs( false );
   dirs.peer->intfStatusDel( IntfId( "PeerEthernet1" ) );
   EXPECT_EQ( dirs.having( "PeerEthernet1" ), ( Calls{ "eth", "all" } ) );
   EXPECT_EQ( reactor->exceptions.size(), 2u );
}

TEST( PeerReactor, AFailureDuringTheInitialCopyLeavesTheConstructorAndNothingBehind ) {
   Directories dirs;
   dirs.peerIs( "PeerEthernet1" );
   dirs.all = Ryx::make< FullDirectory >();
   EXPECT_EQ( support::refusal( [ & ] { dirs.makeReactor(); } ), "the directory is full" );
   EXPECT_EQ( dirs.having( "PeerEthernet1" ), Calls{ "eth" } );
   EXPECT_EQ( dirs.peer->notifieeCount(), 0u );
   EXPECT_EQ( dirs.peer->references(), 1u );
   EXPECT_EQ( dirs.all->references(), 1u );
}

// An observer that throws out the peer's entries while they are being copied.
class Emptying final : public Interface::EthIntfStatusDir::NotifieeConst {
 public:
   explicit Emptying( Directories const& dirs ) : dirs_( dirs ) {
      notifierIs( dirs.eth );
      isRegisteredNotifieeIs( true );
   }
   using NotifieeConst::onIntfStatus;
   void onIntfStatus( IntfId ) override { dirs_.peer->intfStatusDelAll(); }

 private:
   Directories const& dirs_;
};

TEST( PeerReactor, TheCopyToleratesThePeerDirectoryChangingUnderneath ) {
   Directories dirs;
   for ( char const* intf : { "PeerEthernet1", "PeerEthernet2", "PeerEthernet3" } ) {
      dirs.peerIs( intf );
   }
   LocalLog log( dirs );
   auto const emptying = Ryx::make< Emptying >( dirs );
   auto const first = dirs.peer->intfStatusIteratorConst().key().string();
   auto const reactor = dirs.makeReactor();
   EXPECT_EQ( log.take(), ( Calls{ "eth " + first, "all " + first } ) );
}

} // namespace
