// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The peer interface status reactor as a host reaches it by name.

#include <OstraMlag/Inputs>

#include <gtest/gtest.h>

namespace {

using support::badIndex;
using support::constInstance;
using support::notSupported;
using support::Object;
using support::operation;
using support::refusal;
using support::valueOf;

class PeerReactorByName : public testing::Test {
 protected:
   Object read( std::string const& attribute ) const {
      return support::get( object, attribute );
   }
   std::string refused( std::string const& attribute, unsigned code ) const {
      return refusal( [ & ] { operation( object, attribute, code ); } );
   }
   // Calls an operation of the reactor.
   void call( std::string const& attribute, support::Arguments arguments ) const {
      operation( object, attribute, 0, nullptr, support::listOf( std::move( arguments ) ) );
   }
   std::string callRefused( std::string const& attribute, Object const& arguments ) const {
      return refusal( [ & ] { operation( object, attribute, 0, nullptr, arguments ); } );
   }

   Directories dirs;
   Ptr< OstraMlag::EthPeerIntfStatusReactor > reactor = dirs.makeReactor();
   Object object = support::adapted( reactor );
};

TEST_F( PeerReactorByName, IsRegisteredAsANotifieeWithItsAttributes ) {
   Ryx::RyxType const& type = support::type( "OstraMlag::EthPeerIntfStatusReactor" );
   EXPECT_FALSE( type.isEntity() );
   EXPECT_TRUE( type.hasGenericIfSupport() );
   EXPECT_EQ( type.scope(), Ryx::Name( "OstraMlag" ) );
   EXPECT_EQ( reactor->fwkType(), &type );
   EXPECT_EQ( OstraMlag::EthPeerIntfStatusReactor::_fwkType(), &type );
   Calls registered;
   for ( auto const& attr : type.attributeQ() ) {
      bool const isFunction = attr->introspectionFlags().isFunction();
      std::string text = std::to_string( attr->id() ) + " " + attr->name().string() +
         ( isFunction ? "()" : " " + attr->valueType()->name().string() );
      for ( auto const& argument : attr->arguments() ) {
         text += " " + argument.name.string() + ":" + argument.type->name().string();
      }
      registered.push_back( text );
   }
   EXPECT_EQ(
      registered,
      ( Calls{ "261 ryxFwkActivity Ryx::ActivityConfig",
               "262 ethPeerStatusDir Interface::PeerIntfStatusDir",
               "263 notifier Interface::PeerIntfStatusDir",
               "264 handleEthPeerIntf() intfId:Kovel::IntfId",
               "265 hasNotificationActiveIs() hasNotificationActiveIs:Ryx::Builtin<bool>",
               "266 ethIntfStatusDir Interface::EthIntfStatusDir",
               "267 allIntfStatusDir Interface::AllIntfStatusDir",
               "268 ryxDoZombieReactors() on:Ryx::Builtin<bool>" } ) );
}

TEST_F( PeerReactorByName, ReadsItsDirectories ) {
   EXPECT_EQ( read( "ethPeerStatusDir" )->object(), dirs.peer.ptr() );
   EXPECT_TRUE( read( "ethPeerStatusDir" )->isConst() );
   EXPECT_EQ( read( "notifier" )->object(), dirs.peer.ptr() );
   EXPECT_EQ( read( "ethIntfStatusDir" )->object(), dirs.eth.ptr() );
   EXPECT_FALSE( read( "ethIntfStatusDir" )->isConst() );
   EXPECT_EQ( read( "allIntfStatusDir" )->object(), dirs.all.ptr() );
   reactor->notifierIs( nullptr );
   EXPECT_FALSE( read( "ethPeerStatusDir" ) );
   EXPECT_FALSE( read( "notifier" ) );
}

TEST_F( PeerReactorByName, SetsItsNotifierToAPeerDirectoryOrNull ) {
   auto const other = Ryx::make< Interface::PeerIntfStatusDir >( "other" );
   support::set( object, "notifier", support::adapted( other, true ) );
   EXPECT_EQ( reactor->notifier(), other );
   support::set( object, "notifier", nullptr );
   EXPECT_FALSE( reactor->notifier() );
   support::set( object, "notifier", support::adapted( dirs.peer ) );
   EXPECT_EQ( reactor->notifier(), dirs.peer );
   EXPECT_EQ(
      refusal(
         [ & ] { support::set( object, "notifier", support::adapted( dirs.eth ) ); } ),
      support::wrongType( "notifier", "Interface::PeerIntfStatusDir" ) );
   EXPECT_EQ( reactor->notifier(), dirs.peer );
}

TEST_F( PeerReactorByName, RefusesEveryOtherOperationNamingTheAttribute ) {
   for ( char const* name : { "ethPeerStatusDir",
                              "handleEthPeerIntf",
                              "ethIntfStatusDir",
                              "allIntfStatusDir" } ) {
      for ( unsigned code : { 1u, 2u, 3u, 128u, 129u, 200u } ) {
         EXPECT_EQ( refused( name, code ), notSupported( name ) ) << code;
      }
   }
   for ( unsigned code : { 1u, 2u, 3u, 129u, 200u } ) {
      EXPECT_EQ( refused( "notifier", code ), notSupported( "notifier" ) ) << code;
   }
   EXPECT_EQ( refused( "ryxFwkActivity", 0 ), notSupported( "ryxFwkActivity" ) );
   EXPECT_EQ( reactor->notifier(), dirs.peer );
}

TEST_F( PeerReactorByName, RefusesAnIndexNamingTheAttribute ) {
   Object const index = valueOf( "Kovel::IntfId", "Ethernet1" );
   for ( char const* name : { "ethPeerStatusDir",
                              "notifier",
                              "handleEthPeerIntf",
                              "ethIntfStatusDir",
                              "allIntfStatusDir" } ) {
      for ( unsigned code : { 0u, 128u } ) {
         EXPECT_EQ(
            refusal( [ & ] { operation( object, name, code, index ); } ),
            badIndex( name ) );
      }
   }
}

TEST_F( PeerReactorByName, AConstInstanceIsReadButNotModified ) {
   Object const asConst = support::adapted( reactor, true );
   EXPECT_EQ( support::get( asConst, "notifier" )->object(), dirs.peer.ptr() );
   for ( char const* name :
         { "ethPeerStatusDir", "notifier", "ethIntfStatusDir", "allIntfStatusDir" } ) {
      EXPECT_EQ(
         refusal( [ & ] { support::set( asConst, name, nullptr ); } ), constInstance );
   }
   Object const intfId = valueOf( "Kovel::IntfId", "PeerEthernet1" );
   EXPECT_EQ(
      refusal( [ & ] {
         operation(
            asConst,
            "handleEthPeerIntf",
            0,
            nullptr,
            support::listOf( { { "intfId", intfId } } ) );
      } ),
      constInstance );
   EXPECT_EQ( reactor->notifier(), dirs.peer );
}

TEST_F( PeerReactorByName, AnUnknownAttributeIsLeftToTheBase ) {
   for ( Ryx::AttributeId id : { 0u, 5u, 260u, 269u, 9999u } ) {
      EXPECT_THROW(
         object->attributeOp( { id, 0 }, nullptr, nullptr ), Ryx::GenericIfException );
      EXPECT_EQ( object->attributeString( id ), "unknown" );
   }
}

TEST_F( PeerReactorByName, HandlesOneInterfaceWhenCalled ) {
   dirs.peerIs( "PeerEthernet1" );
   dirs.eth->intfStatusDelAll();
   call(
      "handleEthPeerIntf", { { "intfId", valueOf( "Kovel::IntfId", "PeerEthernet1" ) } } );
   EXPECT_EQ( dirs.having( "PeerEthernet1" ), ( Calls{ "eth", "all" } ) );
}

TEST_F( PeerReactorByName, RefusesOtherArgumentsOfHandleEthPeerIntf ) {
   Object const id = valueOf( "Kovel::IntfId", "PeerEthernet1" );
   EXPECT_EQ(
      callRefused( "handleEthPeerIntf", support::listOf( { { "interface", id } } ) ),
      support::unknownArgument( "handleEthPeerIntf", "interface" ) );
   EXPECT_EQ(
      callRefused( "handleEthPeerIntf", id ),
      support::wrongType( "List", "Ryx::GenericIf::List_" ) );
   EXPECT_EQ(
      callRefused( "handleEthPeerIntf", support::listOf( {} ) ),
      support::isNull( "intfId", "Kovel::IntfId" ) );
   EXPECT_EQ(
      callRefused(
         "handleEthPeerIntf",
         support::listOf( { { "intfId", valueOf( "Ryx::Name", "Ethernet1" ) } } ) ),
      support::wrongType( "intfId", "Kovel::IntfId" ) );
}

TEST_F( PeerReactorByName, SwitchesDeliveryAndTheZombieMarkWhenCalled ) {
   Object const on = valueOf( "Ryx::Builtin<bool>", "true" );
   Object const off = valueOf( "Ryx::Builtin<bool>", "false" );
   call( "hasNotificationActiveIs", { { "hasNotificationActiveIs", off } } );
   EXPECT_FALSE( reactor->hasNotificationActive() );
   call( "hasNotificationActiveIs", { { "hasNotificationActiveIs", on } } );
   EXPECT_TRUE( reactor->hasNotificationActive() );
   call( "ryxDoZombieReactors", { { "on", on } } );
   EXPECT_TRUE( reactor->ryxMarkedForDeletion() );
   call( "ryxDoZombieReactors", { { "on", off } } );
   EXPECT_FALSE( reactor->ryxMarkedForDeletion() );
}

} // namespace
