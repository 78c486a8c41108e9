// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Setter calls on the real mounts.

#include <model/Names>
#include <model/RealSwitch>

namespace model {

void
RealSwitch::apply( Change const& change ) {
   if ( change.attribute <= Attribute::peerLinkIntf ) {
      applyMlagCondition( change );
   } else if ( change.attribute <= Attribute::lacpStandby ) {
      applyMlagConfig( change );
   } else if ( change.attribute == Attribute::mlagState ) {
      mlagStatus_->mlagStateIs( static_cast< Mlag::MlagState >( change.integer() ) );
   } else if ( change.attribute == Attribute::systemId ) {
      mlagStatus_->systemIdIs( Kovel::EthAddr( change.text ) );
   } else if ( change.attribute <= Attribute::holdInSecondary ) {
      applyProtoStatus( change );
   } else if ( change.attribute <= Attribute::defaultConfig ) {
      applyInterfaces( change );
   } else if (
      change.attribute == Attribute::lagInputIntfStatus ||
      change.attribute >= Attribute::peerIntfStatus ) {
      applyStatuses( change );
   } else {
      applyPortChannels( change );
   }
}

// References keep the name that they have: a new object only for another name.
void
RealSwitch::applyMlagCondition( Change const& change ) {
   auto const reference = kovelId( change.reference );
   auto const& local = mlagConfig_->localInterface();
   auto const& peerLink = mlagConfig_->peerLinkIntf();
   switch ( change.attribute ) {
   case Attribute::enabled:
      mlagConfig_->enabledIs( change.flag() );
      break;
   case Attribute::domainId:
      mlagConfig_->domainIdIs( change.text );
      break;
   case Attribute::peerAddress:
      mlagConfig_->peerAddressIs( Kovel::IpAddr( change.text ) );
      break;
   case Attribute::localInterface:
      if ( reference != ( local ? local->intfId() : Kovel::IntfId() ) ) {
         mlagConfig_->localInterfaceIs(
            reference ? Ryx::make< Interface::VlanIntfConfig >( reference ) : nullptr );
      }
      break;
   default:
      if ( reference != ( peerLink ? peerLink->intfId() : Kovel::IntfId() ) ) {
         mlagConfig_->peerLinkIntfIs(
            reference ? Ryx::make< Interface::IntfConfig >( reference ) : nullptr );
      }
   }
}

void
RealSwitch::applyMlagConfig( Change const& change ) {
   switch ( change.attribute ) {
   case Attribute::reloadDelay:
      mlagConfig_->reloadDelayIs( change.number );
      break;
   case Attribute::reloadDelayNonMlagConfigured:
      mlagConfig_->reloadDelayNonMlagConfiguredIs( change.flag() );
      break;
   case Attribute::reloadDelayNonMlag:
      mlagConfig_->reloadDelayNonMlagIs( change.number );
      break;
   case Attribute::lacpStandby:
      mlagConfig_->lacpStandbyIs( change.flag() );
      break;
   default:
      if ( change.removes ) {
         mlagConfig_->intfConfigDel( kovelId( change.key ) );
      } else {
         mlagConfig_->intfConfigIs( kovelId( change.key ), { change.text } );
      }
   }
}

void
RealSwitch::applyProtoStatus( Change const& change ) {
   if ( change.attribute == Attribute::portsErrdisabled ) {
      mlagProtoStatus_->portsErrdisabledIs( change.flag() );
   } else if ( change.attribute == Attribute::portsErrdisabledWhen ) {
      mlagProtoStatus_->portsErrdisabledWhenIs( change.number );
   } else {
      mlagProtoStatus_->holdInSecondaryIs( change.flag() );
   }
}

void
RealSwitch::applyInterfaces( Change const& change ) {
   auto const key = kovelId( change.key );
   if ( change.attribute != Attribute::ethPhyIntfStatus ) {
      applyPortConfig( change );
   } else if ( change.removes ) {
      ethPhyIntfStatus_->intfStatusDel( key );
   } else if ( !ethPhyIntfStatus_->intfStatus( key ) ) {
      ethPhyIntfStatus_->intfStatusIs( Ryx::make< Interface::EthPhyIntfStatus >( key ) );
   }
}

void
RealSwitch::applyPortConfig( Change const& change ) {
   auto const key = kovelId( change.key );
   bool const isOwn = change.attribute == Attribute::adminEnabledStateLocal;
   if ( isOwn && change.removes ) {
      ethPhyIntfConfig_->intfConfigDel( key );
      return;
   }
   auto const present = ethPhyIntfConfig_->intfConfig( key );
   auto const config = present ? present : Ryx::make< Interface::IntfConfig >( key );
   auto const state = static_cast< Interface::IntfEnabledState >( change.integer() );
   if ( isOwn ) {
      config->adminEnabledStateLocalIs( state );
   } else if ( change.removes ) {
      config->defaultConfigIs( nullptr );
   } else if ( config->defaultConfig() ) {
      config->defaultConfig()->adminEnabledStateLocalIs( state );
   } else {
      auto const fallback = Ryx::make< Interface::IntfConfig >( Kovel::IntfId() );
      fallback->adminEnabledStateLocalIs( state );
      config->defaultConfigIs( fallback );
   }
   if ( !present ) {
      ethPhyIntfConfig_->intfConfigIs( config );
   }
}

void
RealSwitch::applyPortChannels( Change const& change ) {
   auto const key = kovelId( change.key );
   switch ( change.attribute ) {
   case Attribute::lagIdConfig:
      if ( change.removes ) {
         lacpOverride_->lagIdConfigDel( key );
      } else {
         lacpOverride_->lagIdConfigIs( key, Kovel::EthAddr( change.text ) );
      }
      break;
   case Attribute::mlagissuCause:
      if ( change.removes ) {
         mlagissuCause_->intfStatusDel( key );
      } else {
         mlagissuCause_->intfStatusIs( key, change.number );
      }
      break;
   case Attribute::forceEnabledPorts:
      igmpsnoopingConfig_->forceEnabledPortsIs( key, !change.removes );
      break;
   default:
      applyLacpConfig( change );
   }
}

void
RealSwitch::applyLacpConfig( Change const& change ) {
   auto const key = kovelId( change.key );
   bool const isMember = change.attribute == Attribute::phyIntf;
   if ( change.removes && isMember ) {
      lagInputConfig_->phyIntfDel( key );
   } else if ( change.removes ) {
      lacpConfig_->portChannelDel( key );
   } else if ( isMember ) {
      auto const present = lagInputConfig_->phyIntf( key );
      auto const member = present ? present : Ryx::make< Lag::EthPhyIntfLagConfig >( key );
      member->lagIs(
         change.reference
            ? Ryx::make< Interface::EthLagIntfConfig >( kovelId( change.reference ) )
            : nullptr );
      member->modeIs( static_cast< Lag::LacpMode >( change.integer() ) );
      lagInputConfig_->phyIntfIs( member );
   } else {
      auto const present = lacpConfig_->portChannel( key );
      auto const config = present ? present : Ryx::make< Lacp::LacpPCConfig >( key );
      config->stayInStandbyIs( change.flag() );
      lacpConfig_->portChannelIs( config );
   }
}

template< class S, class Dir >
void
RealSwitch::applyStatus( Ryx::Ptr< Dir > const& dir, Change const& change ) {
   auto const key = kovelId( change.key );
   if ( change.removes ) {
      dir->intfStatusDel( key );
   } else if ( auto const present = dir->intfStatus( key ) ) {
      present->linkStatusIs( static_cast< Interface::LinkStatus >( change.integer() ) );
   } else {
      dir->intfStatusIs( newStatus< S >( change.key, change.integer() ) );
   }
}

void
RealSwitch::applyStatuses( Change const& change ) {
   auto const key = kovelId( change.key );
   if ( change.attribute == Attribute::lagInputIntfStatus ) {
      applyStatus< Interface::EthLagIntfStatus >( lagInputIntfStatus_, change );
   } else if ( change.attribute == Attribute::peerIntfStatus ) {
      applyStatus< Interface::PeerIntfStatus >( peerIntfStatusDir_, change );
   } else if ( change.attribute == Attribute::ethIntfStatus ) {
      applyStatus< Interface::EthIntfStatus >( ethIntfStatusDir_, change );
   } else if ( change.removes ) {
      allIntfStatusDir_->intfStatusDel( key );
   } else if ( !allIntfStatusDir_->intfStatus( key ) ) {
      allIntfStatusDir_->intfStatusIs(
         newStatus< Interface::EthIntfStatus >( change.key, 0 ) );
   }
}

} // namespace model
