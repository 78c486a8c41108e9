// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <fuzz/plugin/Moves>

namespace fuzz {

namespace {

using Kovel::IntfId;

constexpr std::int64_t waits[] = { 0,      1,      100,    500,    2500,  7500,
                                   9999,   10000,  15000,  30000,  60000, 75000,
                                   225000, 285000, 300000, 1000000 };
constexpr Ryx::Seconds delays[] = { 300, 0,   0.5, 5,   9.999,      10,  10.001, 20,
                                    40,  100, 120, 600, Ryx::never, 1e9, -5,     330 };
char const* const ports[] = { "Ethernet1", "Ethernet2", "Ethernet3",   "Ethernet4",
                              "Ethernet5", "Ethernet6", "Management1", "Recirc1" };
char const* const portChannels[] = {
   "Port-Channel1", "Port-Channel2", "Port-Channel3", "Port-Channel1000"
};
char const* const peers[] = { "PeerEthernet1", "PeerEthernet2", "PeerEthernet3" };
char const* const addresses[] = { "00:00:00:00:00:00",
                                  "02:00:00:00:00:01",
                                  "02:00:00:00:00:02" };

template< std::size_t size >
IntfId
idOf( char const* const ( &names )[ size ], Bytes& bytes ) {
   return IntfId( bytes.pick( names ) );
}

template< class T >
Ryx::Ptr< T >
orNone( Ryx::Ptr< T > const& object, Bytes& bytes ) {
   return bytes.below( 4 ) == 3 ? nullptr : object;
}

void
pass( Switch& sw, Bytes& bytes ) {
   sw.advance( bytes.pick( waits ) );
}

// The ports.

void
portIs( Switch& sw, Bytes& bytes ) {
   sw.appeared = idOf( ports, bytes );
   sw.ethPhyIntfStatus->intfStatusIs(
      Ryx::make< Interface::EthPhyIntfStatus >( sw.appeared ) );
}

void
portDel( Switch& sw, Bytes& bytes ) {
   sw.ethPhyIntfStatus->intfStatusDel( idOf( ports, bytes ) );
}

void
adminIs( Switch& sw, Bytes& bytes ) {
   IntfId const id = idOf( ports, bytes );
   auto const state = Interface::IntfEnabledState( bytes.below( 3 ) );
   auto const config = sw.ethPhyIntfConfig->intfConfig( id );
   if ( config && bytes.below( 4 ) != 3 ) {
      config->adminEnabledStateLocalIs( state );
      return;
   }
   auto const made = Ryx::make< Interface::IntfConfig >( id );
   made->adminEnabledStateLocalIs( state );
   sw.ethPhyIntfConfig->intfConfigIs( made );
}

void
adminDel( Switch& sw, Bytes& bytes ) {
   sw.ethPhyIntfConfig->intfConfigDel( idOf( ports, bytes ) );
}

void
defaultAdminIs( Switch& sw, Bytes& bytes ) {
   auto const config = sw.ethPhyIntfConfig->intfConfig( idOf( ports, bytes ) );
   if ( config ) {
      auto const base = Ryx::make< Interface::IntfConfig >( config->intfId() );
      base->adminEnabledStateLocalIs( Interface::IntfEnabledState( bytes.below( 3 ) ) );
      config->defaultConfigIs( orNone( base, bytes ) );
   }
}

// The port-channels.

void
memberIs( Switch& sw, Bytes& bytes ) {
   auto const config = Ryx::make< Lag::EthPhyIntfLagConfig >( idOf( ports, bytes ) );
   config->modeIs(
      bytes.below( 4 ) == 3 ? Lag::LacpMode::lacpOff : Lag::LacpMode::lacpActive );
   config->lagIs( orNone(
      Ryx::make< Interface::EthLagIntfConfig >( idOf( portChannels, bytes ) ), bytes ) );
   sw.lagInputConfig->phyIntfIs( config );
}

void
memberDel( Switch& sw, Bytes& bytes ) {
   sw.lagInputConfig->phyIntfDel( idOf( ports, bytes ) );
}

void
mlagIntfIs( Switch& sw, Bytes& bytes ) {
   IntfId const id =
      bytes.below( 8 ) == 7 ? idOf( ports, bytes ) : idOf( portChannels, bytes );
   sw.mlagConfig->intfConfigIs( id, { bytes.below( 8 ) == 7 ? "" : "10" } );
}

void
mlagIntfDel( Switch& sw, Bytes& bytes ) {
   sw.mlagConfig->intfConfigDel( idOf( portChannels, bytes ) );
}

void
lagStatusIs( Switch& sw, Bytes& bytes ) {
   IntfId const id = idOf( portChannels, bytes );
   auto const link = Interface::LinkStatus( bytes.below( 3 ) );
   auto const status = sw.lagInputIntfStatus->intfStatus( id );
   if ( status && bytes.below( 4 ) != 3 ) {
      status->linkStatusIs( link );
      return;
   }
   auto const made = Ryx::make< Interface::EthLagIntfStatus >( id );
   made->linkStatusIs( link );
   sw.lagInputIntfStatus->intfStatusIs( made );
}

void
lagStatusDel( Switch& sw, Bytes& bytes ) {
   sw.lagInputIntfStatus->intfStatusDel( idOf( portChannels, bytes ) );
}

void
lacpIs( Switch& sw, Bytes& bytes ) {
   IntfId const id = idOf( portChannels, bytes );
   if ( bytes.below( 4 ) == 3 ) {
      sw.lacpConfig->portChannelDel( id );
   } else {
      sw.lacpConfig->portChannelIs( Ryx::make< Lacp::LacpPCConfig >( id ) );
   }
}

void
overrideIs( Switch& sw, Bytes& bytes ) {
   IntfId const id = idOf( portChannels, bytes );
   sw.lacpOverride->lagIdConfigIs( id, Kovel::EthAddr( bytes.pick( addresses ) ) );
}

void
overrideDel( Switch& sw, Bytes& bytes ) {
   sw.lacpOverride->lagIdConfigDel( idOf( portChannels, bytes ) );
}

void
systemIdIs( Switch& sw, Bytes& bytes ) {
   sw.mlagStatus->systemIdIs( Kovel::EthAddr( bytes.pick( addresses ) ) );
}

// MLAG.

void
stateIs( Switch& sw, Bytes& bytes ) {
   sw.mlagStatus->mlagStateIs( Mlag::MlagState( bytes.below( 5 ) ) );
}

void
holdInSecondaryIs( Switch& sw, Bytes& bytes ) {
   sw.mlagProtoStatus->holdInSecondaryIs( bytes.coin() );
}

void
lacpStandbyIs( Switch& sw, Bytes& bytes ) {
   sw.mlagConfig->lacpStandbyIs( bytes.coin() );
}

void
delayIs( Switch& sw, Bytes& bytes ) {
   auto const delay = bytes.pick( delays );
   bool const rearmsBoth = !sw.mlagConfig->reloadDelayNonMlagConfigured();
   if ( delay != sw.mlagConfig->reloadDelay() && rearmsBoth ) {
      sw.nonMlagTimerIsOld = false;
   }
   sw.mlagConfig->reloadDelayIs( delay );
}

void
nonMlagDelayIs( Switch& sw, Bytes& bytes ) {
   auto const delay = bytes.pick( delays );
   if ( delay != sw.mlagConfig->reloadDelayNonMlag() ) {
      sw.nonMlagTimerIsOld = false;
   }
   sw.mlagConfig->reloadDelayNonMlagIs( delay );
}

void
nonMlagConfiguredIs( Switch& sw, Bytes& bytes ) {
   auto const before = sw.delay( false );
   sw.mlagConfig->reloadDelayNonMlagConfiguredIs( bytes.coin() );
   sw.nonMlagTimerIsOld = sw.nonMlagTimerIsOld || sw.delay( false ) != before;
}

// Sets or clears one of what MLAG needs.
void
configureOne( Switch& sw, Bytes& bytes ) {
   auto const& config = sw.mlagConfig;
   switch ( bytes.below( 5 ) ) {
   case 0:
      config->enabledIs( bytes.below( 4 ) != 3 );
      break;
   case 1:
      config->domainIdIs( bytes.below( 4 ) == 3 ? "" : "pod1" );
      break;
   case 2:
      config->localInterfaceIs(
         orNone( Ryx::make< Interface::VlanIntfConfig >( IntfId( "Vlan4094" ) ), bytes ) );
      break;
   case 3:
      config->peerAddressIs( Kovel::IpAddr( bytes.below( 4 ) == 3 ? "" : "10.0.0.2" ) );
      break;
   default:
      config->peerLinkIntfIs( orNone(
         Ryx::make< Interface::IntfConfig >( idOf( portChannels, bytes ) ), bytes ) );
   }
}

void
configureAll( Switch& sw ) {
   sw.mlagConfig->domainIdIs( "pod1" );
   sw.mlagConfig->localInterfaceIs(
      Ryx::make< Interface::VlanIntfConfig >( IntfId( "Vlan4094" ) ) );
   sw.mlagConfig->peerAddressIs( Kovel::IpAddr( "10.0.0.2" ) );
   sw.mlagConfig->peerLinkIntfIs(
      Ryx::make< Interface::IntfConfig >( IntfId( "Port-Channel1000" ) ) );
   sw.mlagConfig->enabledIs( true );
}

void
configureAgain( Switch& sw, Bytes& ) {
   configureAll( sw );
}

void
peerLinkIsPort( Switch& sw, Bytes& bytes ) {
   sw.mlagConfig->peerLinkIntfIs(
      Ryx::make< Interface::IntfConfig >( idOf( ports, bytes ) ) );
}

// The agent.

void
machineIs( Switch& sw, Bytes& ) {
   sw.startMachine();
}

void
machineDel( Switch& sw, Bytes& ) {
   sw.stopMachine();
}

// The next machine is another one.
void
replaceInput( Switch& sw, Bytes& ) {
   sw.lacpOverride = Ryx::make< Lag::Input::LacpOverrideDir >( "override" );
}

void
peerReactorIs( Switch& sw, Bytes& ) {
   sw.startPeerReactor();
}

void
peerReactorDel( Switch& sw, Bytes& ) {
   if ( sw.agent ) {
      sw.agent->ethPeerIntfStatusReactorDel();
   }
}

void
agentDel( Switch& sw, Bytes& ) {
   sw.stopAgent();
}

void
peerIs( Switch& sw, Bytes& bytes ) {
   IntfId const id = idOf( peers, bytes );
   sw.stalePeers.erase( id );
   sw.peerIntfStatusDir->intfStatusIs( Ryx::make< Interface::PeerIntfStatus >( id ) );
}

void
peerDel( Switch& sw, Bytes& bytes ) {
   IntfId const id = idOf( peers, bytes );
   if ( !sw.agent || !sw.agent->ethPeerIntfStatusReactor() ) {
      sw.stalePeers.insert( id );
   }
   sw.peerIntfStatusDir->intfStatusDel( id );
}

// What an earlier process may have left.

void
leaveCause( Switch& sw, Bytes& bytes ) {
   if ( !sw.machine() ) {
      sw.mlagissuCause->intfStatusIs( idOf( ports, bytes ), sw.now() - bytes.byte() );
   }
}

void
leaveSnooping( Switch& sw, Bytes& bytes ) {
   if ( !sw.machine() ) {
      sw.igmpsnoopingConfig->forceEnabledPortsIs( idOf( portChannels, bytes ), true );
   }
}

void
leavePeriod( Switch& sw, Bytes& bytes ) {
   constexpr Ryx::Seconds ages[] = { 0, 0.001, 30, 225, 226, 285, 300, 1e6, -100, -1e6 };
   if ( !sw.machine() ) {
      sw.mlagProtoStatus->portsErrdisabledWhenIs( sw.now() - bytes.pick( ages ) );
   }
}

void
bootPort( Switch& sw, char const* name, char const* portChannel ) {
   IntfId const id( name );
   sw.ethPhyIntfStatus->intfStatusIs( Ryx::make< Interface::EthPhyIntfStatus >( id ) );
   sw.ethPhyIntfConfig->intfConfigIs( Ryx::make< Interface::IntfConfig >( id ) );
   auto const config = Ryx::make< Lag::EthPhyIntfLagConfig >( id );
   config->modeIs( Lag::LacpMode::lacpActive );
   config->lagIs(
      *portChannel ? Ryx::make< Interface::EthLagIntfConfig >( IntfId( portChannel ) )
                   : nullptr );
   sw.lagInputConfig->phyIntfIs( config );
}

void
allowStandby( Switch& sw, IntfId portChannel ) {
   Kovel::EthAddr const systemId( addresses[ 1 ] );
   sw.mlagConfig->lacpStandbyIs( true );
   sw.mlagStatus->systemIdIs( systemId );
   sw.lacpOverride->lagIdConfigIs( portChannel, systemId );
   sw.lacpConfig->portChannelIs( Ryx::make< Lacp::LacpPCConfig >( portChannel ) );
}

using Move = void ( * )( Switch&, Bytes& );

// Frequent ones stand here more than once.
constexpr Move moves[] = {
   pass,           pass,           pass,           portIs,
   portIs,         portDel,        adminIs,        adminIs,
   adminDel,       defaultAdminIs, memberIs,       memberIs,
   memberDel,      mlagIntfIs,     mlagIntfDel,    lagStatusIs,
   lagStatusDel,   lacpIs,         overrideIs,     overrideDel,
   systemIdIs,     stateIs,        stateIs,        holdInSecondaryIs,
   lacpStandbyIs,  delayIs,        nonMlagDelayIs, nonMlagConfiguredIs,
   configureOne,   configureAgain, peerLinkIsPort, machineIs,
   machineIs,      machineDel,     replaceInput,   peerReactorIs,
   peerReactorDel, agentDel,       peerIs,         peerDel,
   leaveCause,     leaveSnooping,  leavePeriod,
};

} // namespace

void
configure( Switch& sw, bool standby ) {
   configureAll( sw );
   sw.mlagConfig->reloadDelayIs( 300 );
   sw.mlagStatus->mlagStateIs( Mlag::MlagState::mlagSecondary );
   sw.mlagProtoStatus->holdInSecondaryIs( true );
   for ( std::size_t i = 0; i < 6; ++i ) {
      char const* const ofPeerLink = portChannels[ 3 ];
      bootPort( sw, ports[ i ], i < 4 ? portChannels[ i / 2 ] : i < 5 ? ofPeerLink : "" );
   }
   for ( std::size_t i = 0; i < 2; ++i ) {
      sw.mlagConfig->intfConfigIs( IntfId( portChannels[ i ] ), { "10" } );
   }
   if ( standby ) {
      allowStandby( sw, IntfId( portChannels[ 0 ] ) );
   }
}

void
move( Switch& sw, Bytes& bytes ) {
   sw.appeared = IntfId();
   bytes.pick( moves )( sw, bytes );
}

} // namespace fuzz
