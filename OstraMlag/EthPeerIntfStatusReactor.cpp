// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <OstraMlag/EthPeerIntfStatusReactor>

#include <OstraMlag/Trace>

namespace OstraMlag {

EthPeerIntfStatusReactor::EthPeerIntfStatusReactor(
   PeerDir const& notifier, EthDir const& ethIntfStatusDir, AllDir const& allIntfStatusDir )
      : ethIntfStatusDir_( ethIntfStatusDir ), allIntfStatusDir_( allIntfStatusDir ) {
   bind( notifier.ptr() );
   if ( notifier ) {
      handleEthPeerIntf();
   }
   isRegisteredNotifieeIs( true );
}

EthPeerIntfStatusReactor::~EthPeerIntfStatusReactor() {
   EthPeerIntfStatusReactor::ryxDoZombieReactors( true );
}

void
EthPeerIntfStatusReactor::handleEthPeerIntf() {
   trace( { 8, copyAllLine }, "EthPeerIntfStatusReactor::handleEthPeerIntf" );
   auto const directory = notifier();
   for ( auto it = directory->intfStatusIteratorConst(); it; ++it ) {
      localEntryIs( it->value() );
   }
}

void
EthPeerIntfStatusReactor::handleEthPeerIntf( Kovel::IntfId intfId ) {
   trace(
      { 8, handleOneLine }, "EthPeerIntfStatusReactor::handleEthPeerIntf(", intfId, ")" );
   if ( auto const status = notifier()->intfStatus( intfId ) ) {
      localEntryIs( status );
      return;
   }
   trace( { 8, deleteOneLine }, "Deleting ", intfId );
   EthDir const eth = Ryx::validPtr( ethIntfStatusDir_ );
   AllDir const all = Ryx::validPtr( allIntfStatusDir_ );
   eth->intfStatusDel( intfId );
   all->intfStatusDel( intfId );
}

void
EthPeerIntfStatusReactor::localEntryIs(
   Ryx::Ptr< Interface::PeerIntfStatus const > const& status ) {
   // The local directories share the object; only its owner changes it.
   Ryx::Ptr< Interface::PeerIntfStatus > const shared(
      const_cast< Interface::PeerIntfStatus* >( status.ptr() ) );
   EthDir const eth = Ryx::validPtr( ethIntfStatusDir_ );
   AllDir const all = Ryx::validPtr( allIntfStatusDir_ );
   eth->intfStatusIs( shared );
   all->intfStatusIs( shared );
}

void
EthPeerIntfStatusReactor::onIntfStatus( Kovel::IntfId intfId ) {
   if ( !ryxMarkedForDeletion() ) {
      handleEthPeerIntf( intfId );
   }
}

void
EthPeerIntfStatusReactor::notifierIs(
   Ryx::Ptr< Ryx::PtrInterface const > const& notifier ) {
   auto const* const directory =
      dynamic_cast< Interface::PeerIntfStatusDir const* >( notifier.ptr() );
   if ( directory == watched() ) {
      return;
   }
   bind( directory );
   isRegisteredNotifieeIs( true );
}

void
EthPeerIntfStatusReactor::hasNotificationActiveIs( bool active ) {
   if ( active != hasNotificationActive() ) {
      NotifieeConst::hasNotificationActiveIs( active );
   }
}

void
EthPeerIntfStatusReactor::handleNotification( Ryx::ActivityConfig* activity ) {
   NotifieeConst::handleNotification( activity );
}

void
EthPeerIntfStatusReactor::ryxDoZombieReactors( bool on ) {
   if ( on == ryxMarkedForDeletion() ) {
      return;
   }
   if ( watched() ) {
      hasNotificationActiveIs( !on );
   }
   ryxMarkedForDeletionIs( on );
}

} // namespace OstraMlag
