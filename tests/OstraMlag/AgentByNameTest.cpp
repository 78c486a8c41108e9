// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The agent as a host reaches it: everything by name.

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

constexpr char const* children[]{ "ethPeerIntfStatusReactor", "mlagErrdisableSm" };

// "name:type" of each.
Calls
described( std::vector< Ryx::RyxArgument > const& arguments ) {
   Calls texts;
   for ( auto const& argument : arguments ) {
      texts.push_back( argument.name.string() + ":" + argument.type->name().string() );
   }
   return texts;
}

class AgentByName : public testing::Test {
 protected:
   Object reactorArguments() const {
      return support::listOf( {
         { "notifier", support::adapted( dirs.peer, true ) },
         { "ethIntfStatusDir", support::adapted( dirs.eth ) },
         { "allIntfStatusDir", support::adapted( dirs.all ) },
      } );
   }
   // Out of their order: the names count.
   Object machineArguments() const {
      return support::listOf( {
         { "lacpConfig", support::adapted( inputs.lacpConfig ) },
         { "lagInputConfig", support::adapted( inputs.lagInputConfig, true ) },
         { "mlagProtoStatus", support::adapted( inputs.mlagProtoStatus ) },
         { "igmpsnoopingConfig", support::adapted( inputs.igmpsnoopingConfig ) },
         { "mlagissuCause", support::adapted( inputs.mlagissuCause ) },
         { "lacpOverride", support::adapted( inputs.lacpOverride, true ) },
         { "lagInputIntfStatus", support::adapted( inputs.lagInputIntfStatus, true ) },
         { "ethPhyIntfConfig", support::adapted( inputs.ethPhyIntfConfig, true ) },
         { "ethPhyIntfStatus", support::adapted( inputs.ethPhyIntfStatus, true ) },
         { "mlagStatus", support::adapted( inputs.mlagStatus, true ) },
         { "mlagConfig", support::adapted( inputs.mlagConfig, true ) },
      } );
   }
   // The same with one of them replaced.
   static Object
   with( Object const& arguments, std::string const& name, Object const& value ) {
      auto list = static_cast< Ryx::GenericIfList const& >( *arguments ).arguments();
      for ( auto& [ known, old ] : list ) {
         old = known == name ? value : old;
      }
      return support::listOf( list );
   }
   std::string setRefused( std::string const& child, Object const& value ) const {
      return refusal< Ryx::GenericIfException >(
         [ & ] { support::set( object, child, value ); } );
   }
   void expectNoChildren() const {
      EXPECT_FALSE( agent->ethPeerIntfStatusReactor() );
      EXPECT_FALSE( agent->mlagErrdisableSm() );
   }

   Object object = support::constructed(
      "OstraMlag::Agent", { { "name", valueOf( "Ryx::Name", "agent" ) } } );
   OstraMlag::Agent* agent = support::as< OstraMlag::Agent >( object );
   Directories dirs;
   MachineInputs inputs;
};

TEST_F( AgentByName, IsRegisteredAsAnEntityInTheUnitsNamespace ) {
   Ryx::RyxType const& type = support::type( "OstraMlag::Agent" );
   EXPECT_TRUE( type.isEntity() );
   EXPECT_TRUE( type.hasGenericIfSupport() );
   EXPECT_EQ( type.scope(), Ryx::Name( "OstraMlag" ) );
   EXPECT_EQ( agent->fwkType(), &type );
   EXPECT_EQ( OstraMlag::Agent::_fwkType(), &type );
   Calls attributes;
   for ( auto const& attr : type.attributeQ() ) {
      attributes.push_back( std::to_string( attr->id() ) + " " + attr->name().string() );
   }
   EXPECT_EQ(
      attributes,
      ( Calls{
         "6 isNondestructing", "258 ethPeerIntfStatusReactor", "259 mlagErrdisableSm" } ) );
   for ( char const* child : children ) {
      auto const* const attr = type.attr( Ryx::Name( child ) );
      EXPECT_TRUE( attr->has( Ryx::RyxAttr::AttrFlags::isInstantiating ) ) << child;
   }
}

TEST_F( AgentByName, DescribesTheArgumentsOfItsChildrenInTheirOrder ) {
   Ryx::RyxType const& type = support::type( "OstraMlag::Agent" );
   EXPECT_EQ(
      described( type.attr( 258 )->arguments() ),
      ( Calls{ "notifier:Interface::PeerIntfStatusDir",
               "ethIntfStatusDir:Interface::EthIntfStatusDir",
               "allIntfStatusDir:Interface::AllIntfStatusDir" } ) );
   EXPECT_EQ(
      described( type.attr( 259 )->arguments() ),
      ( Calls{ "mlagConfig:Mlag::Config",
               "mlagStatus:Mlag::Status",
               "ethPhyIntfStatus:Interface::AllEthPhyIntfStatusDir",
               "ethPhyIntfConfig:Interface::AllEthPhyIntfConfigDir",
               "lagInputIntfStatus:Interface::EthLagIntfStatusDir",
               "lacpOverride:Lag::Input::LacpOverrideDir",
               "mlagissuCause:Errdisable::CauseStatus",
               "igmpsnoopingConfig:Bridging::IgmpSnooping::Config",
               "mlagProtoStatus:Mlag::ProtoStatus",
               "lagInputConfig:Lag::Input::Config",
               "lacpConfig:Lacp::Config" } ) );
   EXPECT_EQ( described( type.constructorArguments() ), Calls{ "name:Ryx::Name" } );
}

TEST_F( AgentByName, IsConstructedUnderItsNameAndRefusesOtherArguments ) {
   ASSERT_TRUE( agent );
   EXPECT_EQ( agent->name(), Ryx::Name( "agent" ) );
   expectNoChildren();
   Object const name = valueOf( "Ryx::Name", "agent" );
   EXPECT_EQ(
      refusal( [ & ] {
         support::constructed( "OstraMlag::Agent", { { "title", name } } );
      } ),
      support::unknownArgument( "Agent", "title" ) );
   EXPECT_EQ(
      refusal( [] {
         support::constructed(
            "OstraMlag::Agent", { { "name", valueOf( "Ryx::Builtin<bool>", "true" ) } } );
      } ),
      support::wrongType( "name", "Ryx::Name" ) );
}

TEST_F( AgentByName, InstantiatesReadsAndDeletesThePeerReactor ) {
   EXPECT_FALSE( support::get( object, children[ 0 ] ) );
   EXPECT_FALSE( support::del( object, children[ 0 ] ) );
   Object const made =
      operation( object, children[ 0 ], Ryx::GenericIf::set, nullptr, reactorArguments() );
   auto const reactor = agent->ethPeerIntfStatusReactor();
   ASSERT_TRUE( reactor );
   EXPECT_EQ( made->object(), reactor.ptr() );
   EXPECT_EQ( reactor->notifier(), dirs.peer );
   EXPECT_EQ( reactor->ethIntfStatusDir(), dirs.eth );
   EXPECT_EQ( reactor->allIntfStatusDir(), dirs.all );
   EXPECT_EQ( support::get( object, children[ 0 ] )->object(), reactor.ptr() );
   support::set( object, children[ 0 ], reactorArguments() );
   EXPECT_EQ( agent->ethPeerIntfStatusReactor(), reactor );
   EXPECT_EQ( support::del( object, children[ 0 ] )->object(), reactor.ptr() );
   EXPECT_FALSE( reactor->hasNotificationActive() );
   expectNoChildren();
}

TEST_F( AgentByName, InstantiatesReadsAndDeletesTheMachine ) {
   support::set( object, children[ 1 ], machineArguments() );
   auto const machine = agent->mlagErrdisableSm();
   ASSERT_TRUE( machine );
   EXPECT_EQ( machine->mlagConfig(), inputs.mlagConfig );
   EXPECT_EQ( machine->lacpConfig(), inputs.lacpConfig );
   EXPECT_EQ( support::get( object, children[ 1 ] )->object(), machine.ptr() );
   support::set( object, children[ 1 ], machineArguments() );
   EXPECT_EQ( agent->mlagErrdisableSm(), machine );
   EXPECT_EQ( support::del( object, children[ 1 ] )->object(), machine.ptr() );
   EXPECT_FALSE( machine->hasNotificationActive() );
   EXPECT_FALSE( support::del( object, children[ 1 ] ) );
}

TEST_F( AgentByName, RefusesEveryOperationButThreeNamingTheAttribute ) {
   for ( char const* child : children ) {
      for ( unsigned code : { 1u, 2u, 3u, 4u, 127u, 130u, 255u } ) {
         EXPECT_EQ(
            refusal( [ & ] { operation( object, child, code ); } ), notSupported( child ) )
            << code;
      }
   }
   expectNoChildren();
}

TEST_F( AgentByName, RefusesAnIndexNamingTheAttribute ) {
   Object const index = valueOf( "Kovel::IntfId", "Ethernet1" );
   for ( char const* child : children ) {
      for ( unsigned code : { 0u, 3u, 128u, 129u } ) {
         EXPECT_EQ(
            refusal( [ & ] { operation( object, child, code, index ); } ),
            badIndex( child ) );
      }
   }
   expectNoChildren();
}

TEST_F( AgentByName, RefusesArgumentsThatAreNoList ) {
   std::string const expected = "\"List\" is not of type \"Ryx::GenericIf::List_\"";
   for ( char const* child : children ) {
      EXPECT_EQ( setRefused( child, valueOf( "Ryx::Name", "list" ) ), expected );
      EXPECT_EQ( setRefused( child, nullptr ), expected );
   }
   expectNoChildren();
}

TEST_F( AgentByName, RefusesAnUnknownArgumentNamingTheAttribute ) {
   for ( char const* child : children ) {
      Object const list =
         support::listOf( { { "peerDir", support::adapted( dirs.peer ) } } );
      EXPECT_EQ( setRefused( child, list ), support::unknownArgument( child, "peerDir" ) );
   }
   expectNoChildren();
}

TEST_F( AgentByName, RefusesAnArgumentOfAnotherTypeNamingIt ) {
   Object const wrong = support::adapted( dirs.eth );
   EXPECT_EQ(
      setRefused( children[ 0 ], with( reactorArguments(), "notifier", wrong ) ),
      support::wrongType( "notifier", "Interface::PeerIntfStatusDir" ) );
   EXPECT_EQ(
      setRefused( children[ 1 ], with( machineArguments(), "lacpConfig", wrong ) ),
      support::wrongType( "lacpConfig", "Lacp::Config" ) );
   expectNoChildren();
}

TEST_F( AgentByName, RefusesAConstObjectWhereItIsGoingToBeWritten ) {
   for ( char const* name : { "ethIntfStatusDir", "allIntfStatusDir" } ) {
      Object const list = reactorArguments();
      auto const given = static_cast< Ryx::GenericIfList const& >( *list ).argument( name );
      EXPECT_EQ(
         setRefused( children[ 0 ], with( list, name, support::constOf( given ) ) ),
         constInstance );
   }
   for ( char const* name :
         { "mlagissuCause", "igmpsnoopingConfig", "mlagProtoStatus", "lacpConfig" } ) {
      Object const list = machineArguments();
      auto const given = static_cast< Ryx::GenericIfList const& >( *list ).argument( name );
      EXPECT_EQ(
         setRefused( children[ 1 ], with( list, name, support::constOf( given ) ) ),
         constInstance );
   }
   expectNoChildren();
}

TEST_F( AgentByName, AMissingRequiredInputIsANullValidPtrAndNothingIsStored ) {
   for ( char const* name : { "mlagConfig", "mlagStatus", "mlagProtoStatus" } ) {
      EXPECT_EQ(
         setRefused( children[ 1 ], with( machineArguments(), name, nullptr ) ),
         "null ValidPtr" );
   }
   EXPECT_EQ( setRefused( children[ 1 ], support::listOf( {} ) ), "null ValidPtr" );
   expectNoChildren();
}

TEST_F( AgentByName, AMissingLocalDirectoryLeavesTheOtherAsItWas ) {
   dirs.peerIs( "PeerEthernet1" );
   for ( char const* name : { "ethIntfStatusDir", "allIntfStatusDir" } ) {
      EXPECT_EQ(
         setRefused( children[ 0 ], with( reactorArguments(), name, nullptr ) ),
         "null ValidPtr" );
      EXPECT_EQ( dirs.having( "PeerEthernet1" ), Calls() ) << name;
   }
   expectNoChildren();
}

TEST_F( AgentByName, ARefusedReplacementLeavesTheChildAsItWas ) {
   support::set( object, children[ 0 ], reactorArguments() );
   auto const reactor = agent->ethPeerIntfStatusReactor();
   dirs.peerIs( "PeerEthernet1" );
   for ( bool const isOn : { true, false } ) {
      reactor->hasNotificationActiveIs( isOn );
      EXPECT_EQ(
         setRefused(
            children[ 0 ], with( reactorArguments(), "allIntfStatusDir", nullptr ) ),
         "null ValidPtr" );
      EXPECT_EQ( agent->ethPeerIntfStatusReactor(), reactor );
      EXPECT_EQ( reactor->notifier(), dirs.peer );
      EXPECT_EQ( reactor->hasNotificationActive(), isOn );
      EXPECT_EQ( reactor->isRegisteredNotifiee(), isOn );
   }
}

TEST_F( AgentByName, ARefusedReplacementLeavesTheMachineAsItWas ) {
   support::set( object, children[ 1 ], machineArguments() );
   auto const machine = agent->mlagErrdisableSm();
   for ( bool const isOn : { true, false } ) {
      machine->hasNotificationActiveIs( isOn );
      EXPECT_EQ(
         setRefused( children[ 1 ], with( machineArguments(), "mlagStatus", nullptr ) ),
         "null ValidPtr" );
      EXPECT_EQ( agent->mlagErrdisableSm(), machine );
      EXPECT_EQ( machine->hasNotificationActive(), isOn );
   }
}

TEST_F( AgentByName, AConstInstanceIsReadButNotModified ) {
   support::set( object, children[ 0 ], reactorArguments() );
   Object const asConst = support::constOf( object );
   EXPECT_TRUE( support::get( asConst, children[ 0 ] )->isConst() );
   for ( char const* child : children ) {
      for ( unsigned code : { 128u, 129u, 130u, 200u, 255u } ) {
         EXPECT_EQ(
            refusal(
               [ & ] { operation( asConst, child, code, nullptr, reactorArguments() ); } ),
            constInstance )
            << code;
      }
   }
   EXPECT_TRUE( agent->ethPeerIntfStatusReactor() );
}

TEST_F( AgentByName, EveryOtherAttributeIsLeftToTheEntity ) {
   EXPECT_EQ( support::text( support::get( object, "isNondestructing" ) ), "false" );
   EXPECT_EQ( object->attributeId( "isNondestructing" ), 6u );
   EXPECT_EQ( object->attributeString( 259 ), "mlagErrdisableSm" );
   EXPECT_EQ(
      refusal( [ & ] {
         object->attributeOp( { 260, 0 }, nullptr, nullptr );
      } ),
      "OstraMlag::Agent has no attribute 260" );
   EXPECT_EQ( object->strRep(), "agent" );
}

} // namespace
