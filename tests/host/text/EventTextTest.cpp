// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/text/EventText>

#include "JsonState"

#include <gtest/gtest.h>

namespace ostra {
namespace {

std::string
textOf( char const* patch, char const* mounts = "{}" ) {
   return eventText( Json::parse( patch ), JsonState( Json::parse( mounts ) ) );
}

TEST( EventText, AnAttributeIsWrittenWithItsPath ) {
   EXPECT_EQ(
      textOf( R"({"mlagConfig":{"reloadDelay":120}})" ), "mlagConfig.reloadDelay = 120" );
   EXPECT_EQ(
      textOf( R"({"mlagConfig":{"peerLinkIntf":null}})" ),
      "mlagConfig.peerLinkIntf = null" );
}

TEST( EventText, AnMlagStateHasItsName ) {
   EXPECT_EQ(
      textOf( R"({"mlagStatus":{"mlagState":3}})" ), "mlagStatus.mlagState = 3 (primary)" );
   EXPECT_EQ(
      textOf( R"({"mlagStatus":{"mlagState":"mlagPrimary"}})" ),
      "mlagStatus.mlagState = mlagPrimary" );
   EXPECT_EQ(
      textOf( R"({"mlagStatus":{"mlagState":9}})" ), "mlagStatus.mlagState = 9 (9)" );
}

TEST( EventText, ChangesOfOneEventStandSideBySideInTheirOrder ) {
   EXPECT_EQ(
      textOf(
         R"({"mlagStatus":{"mlagState":2},"mlagConfig":{"domainId":"a","enabled":true}})" ),
      "mlagStatus.mlagState = 2 (inactive); mlagConfig.domainId = a; "
      "mlagConfig.enabled = true" );
}

TEST( EventText, InterfacesAppearAndDisappear ) {
   EXPECT_EQ(
      textOf( R"({"ethPhyIntfStatus":{"intfStatus":{"Ethernet3":{}}}})" ),
      "Ethernet3 appears" );
   EXPECT_EQ(
      textOf(
         R"({"ethPhyIntfStatus":{"intfStatus":{"Ethernet3":null,"Ethernet4":null}}})" ),
      "Ethernet3-4 disappear" );
   EXPECT_EQ(
      textOf(
         R"({"peerIntfStatusDir":{"intfStatus":{"PeerEthernet1":{"linkStatus":2}}}})" ),
      "PeerEthernet1 appears in peerIntfStatusDir with { linkStatus: 2 }" );
}

TEST( EventText, AnInterfaceThatIsThereChanges ) {
   EXPECT_EQ(
      textOf(
         R"({"lagInputIntfStatus":{"intfStatus":{"Port-Channel1":{"linkStatus":2}}}})",
         R"({"lagInputIntfStatus":{"intfStatus":{"Port-Channel1":{"linkStatus":1}}}})" ),
      "lagInputIntfStatus.intfStatus.Port-Channel1.linkStatus = 2" );
}

TEST( EventText, EntriesThatAreTreatedAlikeAreTakenTogether ) {
   EXPECT_EQ(
      textOf( R"({"lagInputConfig":{"phyIntf":{
         "Ethernet1":{"lag":"Port-Channel1","mode":2},
         "Ethernet3":{"lag":null},
         "Ethernet2":{"lag":"Port-Channel1","mode":2},
         "Ethernet4":null}}})" ),
      "lagInputConfig.phyIntf.Ethernet1-2 = { lag: Port-Channel1, mode: 2 }; "
      "lagInputConfig.phyIntf.Ethernet3.lag = null; "
      "lagInputConfig.phyIntf.Ethernet4 removed" );
}

TEST( EventText, TooManyDifferentChangesAreCounted ) {
   Json phyIntf = Json::object();
   for ( int i = 1; i <= 11; ++i ) {
      phyIntf[ "Ethernet" + std::to_string( i ) ] = { { "mode", i } };
   }
   Json patch;
   patch[ "lagInputConfig" ][ "phyIntf" ] = phyIntf;
   std::string const text = eventText( patch, JsonState( Json::object() ) );
   EXPECT_TRUE( text.ends_with( "Ethernet8.mode = 8; and 3 more changes" ) ) << text;
}

TEST( EventText, TheAgentIsToldInWords ) {
   EXPECT_EQ( textOf( R"({"agent":null})" ), "the agent is torn down" );
   EXPECT_EQ( textOf( R"({"agent":{}})" ), "the agent is set up" );
   EXPECT_EQ(
      textOf( R"({"agent":{"mlagErrdisableSm":null,"ethPeerIntfStatusReactor":{}}})" ),
      "the agent's mlagErrdisableSm is deleted; "
      "the agent's ethPeerIntfStatusReactor is set again" );
}

TEST( EventText, AnEventThatDoesNothingSaysSo ) {
   EXPECT_EQ( textOf( "{}" ), "nothing" );
}

} // namespace
} // namespace ostra
