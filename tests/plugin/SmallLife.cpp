// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <plugin/Switch>

#include <gtest/gtest.h>

using support::get;
using support::text;

void
liveASmallLife() {
   Switch device;
   device.peerIs( "PeerEthernet1" );
   device.agentIs();
   EXPECT_EQ( device.held(), "2" );
   EXPECT_EQ( device.size( "igmpsnoopingConfig", "forceEnabledPorts" ), "1" );
   EXPECT_EQ(
      text( get( device.mounted( "mlagProtoStatus" ), "portsErrdisabled" ) ), "true" );
   device.peerIs( "PeerEthernet2" );
   EXPECT_EQ( device.size( "ethIntfStatusDir", "intfStatus" ), "2" );
   device.peerDel( "PeerEthernet1" );
   EXPECT_EQ( device.size( "allIntfStatusDir", "intfStatus" ), "1" );
   device.timeIs( 15 );
   EXPECT_EQ( device.held(), "2" );
   EXPECT_EQ(
      device.messages(),
      std::vector< std::string >{ "Mlag reload-delay period will end in 5 seconds" } );
   device.timeIs( 20 );
   EXPECT_EQ( device.held(), "0" );
   EXPECT_EQ( device.size( "igmpsnoopingConfig", "forceEnabledPorts" ), "0" );
   EXPECT_EQ(
      text( get( device.mounted( "mlagProtoStatus" ), "portsErrdisabled" ) ), "false" );
   device.agentDel();
}
