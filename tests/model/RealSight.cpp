// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What the real objects say.

#include <Ryx/Activity>

#include <model/Names>
#include <model/RealSwitch>

namespace model {

namespace {

Id const&
known( Kovel::IntfId id ) {
   return Names::instance()[ id ];
}

template< class P >
Id
referenced( P const& reference ) {
   return reference ? known( reference->intfId() ) : Id();
}

int
number( auto enumerator ) {
   return static_cast< int >( enumerator );
}

} // namespace

StatusRef
RealSwitch::seen( Interface::IntfStatus const& status ) const {
   auto const& ethernet = dynamic_cast< Interface::EthIntfStatus const& >( status );
   return { std::make_shared< Status >(
      Status{ numbers_.at( &status ), number( ethernet.linkStatus() ) } ) };
}

Sight
RealSwitch::sight() const {
   Sight sight;
   seeConfig( sight.mounts );
   seePorts( sight.mounts );
   seePortChannels( sight.mounts );
   seeStatuses( sight.mounts );
   sight.hasAgent = static_cast< bool >( agent_ );
   sight.hasPeerReactor = agent_ && agent_->ethPeerIntfStatusReactor();
   if ( agent_ && agent_->mlagErrdisableSm() ) {
      sight.machine = machineState();
   }
   sight.nextWake = Ryx::activityManager()->clock()->nextTimeMin();
   return sight;
}

void
RealSwitch::seeConfig( Mounts& mounts ) const {
   MlagConfig& config = mounts.mlagConfig;
   config.enabled = mlagConfig_->enabled();
   config.domainId = mlagConfig_->domainId();
   config.localInterface = referenced( mlagConfig_->localInterface() );
   config.peerAddress = mlagConfig_->peerAddress().string();
   config.peerLinkIntf = referenced( mlagConfig_->peerLinkIntf() );
   for ( auto it = mlagConfig_->intfConfigIteratorConst(); it; ++it ) {
      config.intfConfig[ known( it.key() ) ] = it->value().mlagId;
   }
   config.reloadDelay = mlagConfig_->reloadDelay();
   config.reloadDelayNonMlagConfigured = mlagConfig_->reloadDelayNonMlagConfigured();
   config.reloadDelayNonMlag = mlagConfig_->reloadDelayNonMlag();
   config.lacpStandby = mlagConfig_->lacpStandby();
   mounts.mlagState = number( mlagStatus_->mlagState() );
   mounts.systemId = mlagStatus_->systemId().string();
   mounts.portsErrdisabled = mlagProtoStatus_->portsErrdisabled();
   mounts.portsErrdisabledWhen = mlagProtoStatus_->portsErrdisabledWhen();
   mounts.holdInSecondary = mlagProtoStatus_->holdInSecondary();
}

void
RealSwitch::seePorts( Mounts& mounts ) const {
   for ( auto it = ethPhyIntfStatus_->intfStatusIteratorConst(); it; ++it ) {
      mounts.ethPhyIntfStatus.insert( known( it.key() ) );
   }
   for ( auto it = ethPhyIntfConfig_->intfConfigIteratorConst(); it; ++it ) {
      auto const config = it->value();
      PortConfig& seen = mounts.ethPhyIntfConfig[ known( it.key() ) ];
      seen.adminEnabledStateLocal = number( config->adminEnabledStateLocal() );
      if ( config->defaultConfig() ) {
         seen.fallback = number( config->defaultConfig()->adminEnabledStateLocal() );
      }
   }
   for ( auto it = mlagissuCause_->intfStatusIteratorConst(); it; ++it ) {
      mounts.mlagissuCause[ known( it.key() ) ] = it->value().when;
   }
   for ( auto it = lagInputConfig_->phyIntfIteratorConst(); it; ++it ) {
      mounts.phyIntf[ known( it.key() ) ] = { referenced( it->value()->lag() ),
                                              number( it->value()->mode() ) };
   }
}

void
RealSwitch::seePortChannels( Mounts& mounts ) const {
   for ( auto it = lacpOverride_->lagIdConfigIteratorConst(); it; ++it ) {
      mounts.lagIdConfig[ known( it.key() ) ] = it->value().string();
   }
   for ( auto it = igmpsnoopingConfig_->forceEnabledPortsIteratorConst(); it; ++it ) {
      mounts.forceEnabledPorts.insert( known( it.key() ) );
   }
   for ( auto it = lacpConfig_->portChannelIteratorConst(); it; ++it ) {
      mounts.lacpConfig[ known( it.key() ) ] = it->value()->stayInStandby();
   }
}

void
RealSwitch::seeStatuses( Mounts& mounts ) const {
   auto const see = [ this ]( Table< StatusRef >& table, auto it ) {
      for ( ; it; ++it ) {
         table[ known( it.key() ) ] = seen( *it->value() );
      }
   };
   see( mounts.lagInputIntfStatus, lagInputIntfStatus_->intfStatusIteratorConst() );
   see( mounts.peerIntfStatus, peerIntfStatusDir_->intfStatusIteratorConst() );
   see( mounts.ethIntfStatus, ethIntfStatusDir_->intfStatusIteratorConst() );
   see( mounts.allIntfStatus, allIntfStatusDir_->intfStatusIteratorConst() );
}

MachineState
RealSwitch::machineState() const {
   using Sm = Mlag::Ostra::MlagErrdisableSm;
   Sm& sm = *agent_->mlagErrdisableSm();
   MachineState state;
   state.mlagPortsErrdisabled = sm.mlagPortsErrdisabled();
   state.nonMlagPortsErrdisabled = sm.nonMlagPortsErrdisabled();
   state.timerCount = sm.timerCount();
   state.timerCountNonMlag = sm.timerCountNonMlag();
   state.logMinTime = sm.logMinTime();
   state.initialized = sm.initialized();
   state.secondaryPrev = sm.secondaryPrev();
   sm.forEachReactor( [ & ]( auto& reactor ) {
      using R = std::remove_cvref_t< decltype( reactor ) >;
      if constexpr ( std::is_same_v< R, Sm::RyxClockMlag > ) {
         state.wakeMlag = reactor.timeMin();
      } else if constexpr ( std::is_same_v< R, Sm::RyxClockNonMlag > ) {
         state.wakeNonMlag = reactor.timeMin();
      }
   } );
   seeTables( state );
   return state;
}

void
RealSwitch::seeTables( MachineState& state ) const {
   auto const& sm = *agent_->mlagErrdisableSm();
   for ( auto it = sm.lagsInStandbyIteratorConst(); it; ++it ) {
      state.lagsInStandby[ known( it.key() ) ] = it->value();
   }
   for ( auto it = sm.intfConfigIteratorConst(); it; ++it ) {
      state.intfConfig.insert( known( it.key() ) );
   }
   for ( auto it = sm.lagIntfStatusIteratorConst(); it; ++it ) {
      state.lagIntfStatus[ known( it.key() ) ] = numbers_.at( it->notifier().ptr() );
   }
   for ( auto it = sm.portChannelToMemberIteratorConst(); it; ++it ) {
      Ids& members = state.portChannelToMember[ known( it.key() ) ];
      for ( auto member = it->memberIteratorConst(); member; ++member ) {
         members.insert( known( member.key() ) );
      }
   }
   for ( auto it = sm.memberToPortChannelIteratorConst(); it; ++it ) {
      state.memberToPortChannel[ known( it.key() ) ] = known( it->value()->intfId() );
   }
   for ( auto it = sm.portChannelTrackerIteratorConst(); it; ++it ) {
      state.portChannelTracker.insert( known( it.key() ) );
   }
}

} // namespace model
