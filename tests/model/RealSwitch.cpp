// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <model/RealSwitch>

#include <Ryx/Activity>

#include <model/Names>
#include <model/Observers>
#include <model/Switch>

#include <algorithm>
#include <utility>

namespace model {

namespace {

template< class T >
Ryx::Ptr< T >
mounted( char const* name ) {
   return Ryx::make< T >( Ryx::Name( name ) );
}

} // namespace

RealSwitch::RealSwitch( Mounts const& mounts, std::int64_t startMs )
      : ms_( startMs ),
        mlagConfig_( mounted< Mlag::Config >( "mlagConfig" ) ),
        mlagStatus_( mounted< Mlag::Status >( "mlagStatus" ) ),
        ethPhyIntfStatus_( mounted< Interface::AllEthPhyIntfStatusDir >( "portStatus" ) ),
        ethPhyIntfConfig_( mounted< Interface::AllEthPhyIntfConfigDir >( "portConfig" ) ),
        lagInputIntfStatus_( mounted< Interface::EthLagIntfStatusDir >( "lagStatus" ) ),
        lacpOverride_( mounted< Lag::Input::LacpOverrideDir >( "lacpOverride" ) ),
        mlagissuCause_( mounted< Errdisable::CauseStatus >( "mlag-issu" ) ),
        igmpsnoopingConfig_( mounted< Bridging::IgmpSnooping::Config >( "snooping" ) ),
        mlagProtoStatus_( mounted< Mlag::ProtoStatus >( "proto" ) ),
        lagInputConfig_( mounted< Lag::Input::Config >( "lagConfig" ) ),
        lacpConfig_( mounted< Lacp::Config >( "lacpConfig" ) ),
        peerIntfStatusDir_( mounted< Interface::PeerIntfStatusDir >( "peer" ) ),
        ethIntfStatusDir_( mounted< Interface::EthIntfStatusDir >( "eth" ) ),
        allIntfStatusDir_( mounted< Interface::AllIntfStatusDir >( "all" ) ) {
   Ryx::timeSourceIs( this );
   mount( mounts );
   observers_ = std::make_unique< Observers >(
      Outputs{ mlagProtoStatus_,
               mlagissuCause_,
               igmpsnoopingConfig_,
               lacpConfig_,
               ethIntfStatusDir_,
               allIntfStatusDir_ },
      journal_,
      [ this ]( Ryx::PtrInterface const* status ) { return numbers_.at( status ); } );
   apply( AgentStep::setAll );
}

RealSwitch::~RealSwitch() {
   observers_ = nullptr;
   agent_ = nullptr;
   Ryx::timeSourceIs( nullptr );
}

void
RealSwitch::mount( Mounts const& mounts ) {
   mountConfig( mounts.mlagConfig );
   mlagStatus_->mlagStateIs( static_cast< Mlag::MlagState >( mounts.mlagState ) );
   mlagStatus_->systemIdIs( Kovel::EthAddr( mounts.systemId ) );
   mlagProtoStatus_->portsErrdisabledIs( mounts.portsErrdisabled );
   mlagProtoStatus_->portsErrdisabledWhenIs( mounts.portsErrdisabledWhen );
   mlagProtoStatus_->holdInSecondaryIs( mounts.holdInSecondary );
   mountPorts( mounts );
   mountPortChannels( mounts );
   mountStatuses( mounts );
}

void
RealSwitch::mountPorts( Mounts const& mounts ) {
   for ( Id const& port : mounts.ethPhyIntfStatus ) {
      apply( Change{ Attribute::ethPhyIntfStatus, port } );
   }
   for ( auto const& [ port, config ] : mounts.ethPhyIntfConfig ) {
      int const own = config.adminEnabledStateLocal;
      apply( Change{ .attribute = Attribute::adminEnabledStateLocal,
                     .key = port,
                     .number = static_cast< double >( own ) } );
      if ( config.fallback ) {
         apply( Change{ .attribute = Attribute::defaultConfig,
                        .key = port,
                        .number = static_cast< double >( *config.fallback ) } );
      }
   }
   for ( auto const& [ port, when ] : mounts.mlagissuCause ) {
      mlagissuCause_->intfStatusIs( kovelId( port ), when );
   }
}

void
RealSwitch::mountPortChannels( Mounts const& mounts ) {
   for ( auto const& [ portChannel, address ] : mounts.lagIdConfig ) {
      lacpOverride_->lagIdConfigIs( kovelId( portChannel ), Kovel::EthAddr( address ) );
   }
   for ( Id const& portChannel : mounts.forceEnabledPorts ) {
      igmpsnoopingConfig_->forceEnabledPortsIs( kovelId( portChannel ), true );
   }
   for ( auto const& [ port, membership ] : mounts.phyIntf ) {
      apply( Change{ .attribute = Attribute::phyIntf,
                     .key = port,
                     .number = static_cast< double >( membership.mode ),
                     .reference = membership.lag } );
   }
   for ( auto const& [ portChannel, stays ] : mounts.lacpConfig ) {
      apply( Change{ .attribute = Attribute::lacpConfig,
                     .key = portChannel,
                     .number = static_cast< double >( stays ) } );
   }
}

void
RealSwitch::mountConfig( MlagConfig const& config ) {
   mlagConfig_->enabledIs( config.enabled );
   mlagConfig_->domainIdIs( config.domainId );
   apply( Change{ .attribute = Attribute::localInterface,
                  .reference = config.localInterface } );
   mlagConfig_->peerAddressIs( Kovel::IpAddr( config.peerAddress ) );
   apply(
      Change{ .attribute = Attribute::peerLinkIntf, .reference = config.peerLinkIntf } );
   for ( auto const& [ portChannel, mlagId ] : config.intfConfig ) {
      mlagConfig_->intfConfigIs( kovelId( portChannel ), { mlagId } );
   }
   mlagConfig_->reloadDelayIs( config.reloadDelay );
   mlagConfig_->reloadDelayNonMlagConfiguredIs( config.reloadDelayNonMlagConfigured );
   mlagConfig_->reloadDelayNonMlagIs( config.reloadDelayNonMlag );
   mlagConfig_->lacpStandbyIs( config.lacpStandby );
}

void
RealSwitch::mountStatuses( Mounts const& mounts ) {
   for ( auto const& [ key, status ] : mounts.lagInputIntfStatus ) {
      lagInputIntfStatus_->intfStatusIs(
         newStatus< Interface::EthLagIntfStatus >( key, status.object->linkStatus ) );
   }
   for ( auto const& [ key, status ] : mounts.peerIntfStatus ) {
      peerIntfStatusDir_->intfStatusIs(
         newStatus< Interface::PeerIntfStatus >( key, status.object->linkStatus ) );
   }
   for ( auto const& [ key, status ] : mounts.ethIntfStatus ) {
      ethIntfStatusDir_->intfStatusIs(
         newStatus< Interface::EthIntfStatus >( key, status.object->linkStatus ) );
   }
   for ( auto const& [ key, status ] : mounts.allIntfStatus ) {
      allIntfStatusDir_->intfStatusIs(
         newStatus< Interface::EthIntfStatus >( key, status.object->linkStatus ) );
   }
}

void
RealSwitch::apply( AgentStep step ) {
   switch ( step ) {
   case AgentStep::setAll:
      setPeerReactor();
      setMachine();
      break;
   case AgentStep::setPeerReactor:
      setPeerReactor();
      break;
   case AgentStep::setMachine:
      setMachine();
      break;
   case AgentStep::delPeerReactor:
      agent_->ethPeerIntfStatusReactorDel();
      break;
   case AgentStep::delMachine:
      agent_->mlagErrdisableSmDel();
      break;
   case AgentStep::del:
      agent_ = nullptr;
   }
}

void
RealSwitch::setPeerReactor() {
   agent_ = agent_ ? agent_ : OstraMlag::agentFactory( "agent" );
   agent_->ethPeerIntfStatusReactorIs(
      peerIntfStatusDir_, ethIntfStatusDir_, allIntfStatusDir_ );
}

void
RealSwitch::setMachine() {
   agent_ = agent_ ? agent_ : OstraMlag::agentFactory( "agent" );
   agent_->mlagErrdisableSmIs(
      mlagConfig_,
      mlagStatus_,
      ethPhyIntfStatus_,
      ethPhyIntfConfig_,
      lagInputIntfStatus_,
      lacpOverride_,
      mlagissuCause_,
      igmpsnoopingConfig_,
      mlagProtoStatus_,
      lagInputConfig_,
      lacpConfig_ );
}

void
RealSwitch::apply( Wait const& wait ) {
   auto const clock = Ryx::activityManager()->clock();
   double const last = static_cast< double >( wait.untilMs ) / 1000.0;
   for ( double due; ( due = clock->nextTimeMin() ) <= last; clock->handleTime() ) {
      ms_ = std::max( ms_, millisecondOf( due ) );
   }
   ms_ = wait.untilMs;
}

Journal
RealSwitch::take() {
   return std::exchange( journal_, {} );
}

} // namespace model
