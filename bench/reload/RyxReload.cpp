// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <reload/RyxReload>

#include <Ryx/Activity>

#include <algorithm>

namespace bench {

namespace {

// When the next life begins.
Ryx::Seconds nextLife = 0;

template< class Iterator >
std::vector< Kovel::IntfId >
sortedKeys( Iterator it ) {
   std::vector< Kovel::IntfId > keys;
   for ( ; it; ++it ) {
      keys.push_back( it.key() );
   }
   std::sort( keys.begin(), keys.end() );
   return keys;
}

} // namespace

RyxReload::RyxReload( SwitchPlan const& plan )
      : plan_( plan ),
        now_( nextLife ),
        mlagConfig_( Ryx::make< Mlag::Config >( "config" ) ),
        mlagStatus_( Ryx::make< Mlag::Status >( "status" ) ),
        ethPhyIntfStatus_( Ryx::make< Interface::AllEthPhyIntfStatusDir >( "phyStatus" ) ),
        ethPhyIntfConfig_( Ryx::make< Interface::AllEthPhyIntfConfigDir >( "phyConfig" ) ),
        lagInputIntfStatus_( Ryx::make< Interface::EthLagIntfStatusDir >( "lagStatus" ) ),
        lacpOverride_( Ryx::make< Lag::Input::LacpOverrideDir >( "override" ) ),
        lagInputConfig_( Ryx::make< Lag::Input::Config >( "lag" ) ),
        mounts_{ mlagConfig_,
                 mlagStatus_,
                 ethPhyIntfStatus_,
                 ethPhyIntfConfig_,
                 lagInputIntfStatus_,
                 lacpOverride_,
                 Ryx::make< Errdisable::CauseStatus >( "mlag-issu" ),
                 Ryx::make< Bridging::IgmpSnooping::Config >( "snooping" ),
                 Ryx::make< Mlag::ProtoStatus >( "proto" ),
                 lagInputConfig_,
                 Ryx::make< Lacp::Config >( "lacp" ) } {
   nextLife += 2 * SwitchPlan::reloadDelay;
   Ryx::timeSourceIs( this );
   Ryx::logSinkIs( this );
   configure();
   for ( PortPlan const& port : plan.ports ) {
      addPort( port );
   }
   for ( std::size_t i = 0; i < plan.portChannels.size(); ++i ) {
      addPortChannel( plan.portChannels[ i ], std::to_string( i + 1 ) );
   }
   for ( Kovel::IntfId const id : plan.overridden ) {
      lacpOverride_->lagIdConfigIs( id, plan.systemId );
   }
   pluggable_ = ethPhyIntfStatus_->intfStatus( plan.pluggable()->id );
}

RyxReload::~RyxReload() {
   if ( machine_ ) {
      machine_->ryxDoZombieReactors( true );
      machine_ = nullptr;
   }
   Ryx::logSinkIs( nullptr );
   Ryx::timeSourceIs( nullptr );
}

void
RyxReload::configure() {
   mlagConfig_->domainIdIs( "domain" );
   mlagConfig_->localInterfaceIs(
      Ryx::make< Interface::VlanIntfConfig >( Kovel::IntfId( "Vlan4094" ) ) );
   mlagConfig_->peerAddressIs( Kovel::IpAddr( "10.0.0.2" ) );
   mlagConfig_->peerLinkIntfIs( Ryx::make< Interface::IntfConfig >( plan_.peerLink ) );
   mlagConfig_->reloadDelayIs( SwitchPlan::reloadDelay );
   mlagConfig_->lacpStandbyIs( true );
   mlagConfig_->enabledIs( true );
   mlagStatus_->mlagStateIs( Mlag::MlagState::mlagSecondary );
   mlagStatus_->systemIdIs( plan_.systemId );
   mounts_.mlagProtoStatus->holdInSecondaryIs( true );
}

void
RyxReload::addPort( PortPlan const& port ) {
   ethPhyIntfStatus_->intfStatusIs( Ryx::make< Interface::EthPhyIntfStatus >( port.id ) );
   auto const config = Ryx::make< Interface::IntfConfig >( port.id );
   config->adminEnabledStateLocalIs( Interface::IntfEnabledState::enabled );
   ethPhyIntfConfig_->intfConfigIs( config );
   if ( port.portChannel ) {
      auto const member = Ryx::make< Lag::EthPhyIntfLagConfig >( port.id );
      member->lagIs( Ryx::make< Interface::EthLagIntfConfig >( port.portChannel ) );
      member->modeIs( Lag::LacpMode::lacpActive );
      lagInputConfig_->phyIntfIs( member );
   }
}

void
RyxReload::addPortChannel( Kovel::IntfId id, std::string const& mlagId ) {
   mlagConfig_->intfConfigIs( id, { mlagId } );
   auto const status = Ryx::make< Interface::EthLagIntfStatus >( id );
   status->linkStatusIs( Interface::LinkStatus::linkDown );
   lagInputIntfStatus_->intfStatusIs( status );
   mounts_.lacpConfig->portChannelIs( Ryx::make< Lacp::LacpPCConfig >( id ) );
}

void
RyxReload::hold() {
   machine_ = mounts_.apply( []( auto const&... mount ) {
      return Mlag::Ostra::mlagErrdisableSmFactory( mount... );
   } );
}

void
RyxReload::announce() {
   moveTo( 0.75 * SwitchPlan::reloadDelay );
   moveTo( 0.95 * SwitchPlan::reloadDelay );
}

void
RyxReload::release() {
   moveTo( SwitchPlan::reloadDelay );
}

void
RyxReload::moveTo( Ryx::Seconds t ) {
   now_ = nextLife - 2 * SwitchPlan::reloadDelay + t;
   Ryx::activityManager()->clock()->handleTime();
}

void
RyxReload::disappear() {
   ethPhyIntfStatus_->intfStatusDel( pluggable_->intfId() );
}

void
RyxReload::appear() {
   ethPhyIntfStatus_->intfStatusIs( pluggable_ );
}

void
RyxReload::log( Ryx::LogRecord const& record ) {
   announced_.push_back( record.text );
}

Written
RyxReload::written() const {
   Ryx::Seconds const start = nextLife - 2 * SwitchPlan::reloadDelay;
   Written result;
   for ( auto it = mounts_.mlagissuCause->intfStatusIteratorConst(); it; ++it ) {
      result.held.push_back( { it.key(), it->value().when - start } );
   }
   std::sort( result.held.begin(), result.held.end(), []( auto const& a, auto const& b ) {
      return a.id < b.id;
   } );
   result.forceEnabled =
      sortedKeys( mounts_.igmpsnoopingConfig->forceEnabledPortsIteratorConst() );
   for ( Kovel::IntfId const id : plan_.portChannels ) {
      if ( mounts_.lacpConfig->portChannel( id )->stayInStandby() ) {
         result.inStandby.push_back( id );
      }
   }
   result.announced = announced_;
   result.portsErrdisabled = mounts_.mlagProtoStatus->portsErrdisabled();
   result.portsErrdisabledWhen = mounts_.mlagProtoStatus->portsErrdisabledWhen() - start;
   return result;
}

} // namespace bench
