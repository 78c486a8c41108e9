// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What a setter call on the mounts changes, and who hears of it.

#include <model/Switch>

namespace model {

namespace {

// Whether it was another value.
template< class T >
bool
set( T& stored, T const& value ) {
   bool const changes = !( stored == value );
   stored = value;
   return changes;
}

// Whether the entry was not there, or had another value.
template< class T >
bool
setEntry( Table< T >& table, Id const& key, T const& value ) {
   auto const [ it, added ] = table.try_emplace( key, value );
   return added || set( it->second, value );
}

} // namespace

void
Switch::apply( Change const& change ) {
   if ( change.attribute <= Attribute::peerLinkIntf ) {
      applyMlagCondition( change );
   } else if ( change.attribute <= Attribute::lacpStandby ) {
      applyMlagConfig( change );
   } else if ( change.attribute <= Attribute::systemId ) {
      applyMlagState( change );
   } else if ( change.attribute <= Attribute::holdInSecondary ) {
      applyProtoStatus( change );
   } else if ( change.attribute <= Attribute::lagInputIntfStatus ) {
      applyInterfaces( change );
   } else if ( change.attribute <= Attribute::lacpConfig ) {
      applyPortChannels( change );
   } else {
      applyStatuses( change );
   }
}

void
Switch::applyMlagCondition( Change const& change ) {
   MlagConfig& config = env_.mounts.mlagConfig;
   bool changes = false;
   switch ( change.attribute ) {
   case Attribute::enabled:
      changes = set( config.enabled, change.flag() );
      break;
   case Attribute::domainId:
      changes = set( config.domainId, change.text );
      break;
   case Attribute::localInterface:
      changes = set( config.localInterface, change.reference );
      break;
   case Attribute::peerAddress:
      changes = set( config.peerAddress, change.text );
      break;
   default:
      changes = set( config.peerLinkIntf, change.reference );
   }
   if ( changes && machine_ ) {
      machine_->onMlagConfig();
   }
}

void
Switch::applyMlagConfig( Change const& change ) {
   MlagConfig& config = env_.mounts.mlagConfig;
   switch ( change.attribute ) {
   case Attribute::reloadDelay:
      if ( set( config.reloadDelay, change.number ) && machine_ ) {
         machine_->onReloadDelay();
      }
      break;
   case Attribute::reloadDelayNonMlag:
      if ( set( config.reloadDelayNonMlag, change.number ) && machine_ ) {
         machine_->onReloadDelayNonMlag();
      }
      break;
   case Attribute::reloadDelayNonMlagConfigured:
      config.reloadDelayNonMlagConfigured = change.flag();
      break;
   case Attribute::lacpStandby:
      config.lacpStandby = change.flag();
      break;
   default: // an MLAG interface
      if (
         ( change.removes ? config.intfConfig.erase( change.key ) > 0
                          : setEntry( config.intfConfig, change.key, change.text ) ) &&
         machine_ ) {
         machine_->onMlagIntfConfig( change.key );
      }
   }
}

void
Switch::applyMlagState( Change const& change ) {
   if ( change.attribute == Attribute::systemId ) {
      env_.mounts.systemId = change.text;
   } else if ( set( env_.mounts.mlagState, change.integer() ) && machine_ ) {
      machine_->onMlagState();
   }
}

void
Switch::applyProtoStatus( Change const& change ) {
   if ( change.attribute == Attribute::portsErrdisabled ) {
      env_.portsErrdisabledIs( change.flag() );
   } else if ( change.attribute == Attribute::portsErrdisabledWhen ) {
      env_.portsErrdisabledWhenIs( change.number );
   } else {
      env_.holdInSecondaryIs( change.flag() );
   }
}

void
Switch::applyInterfaces( Change const& change ) {
   if ( change.attribute == Attribute::ethPhyIntfStatus ) {
      Ids& ports = env_.mounts.ethPhyIntfStatus;
      if (
         ( change.removes ? ports.erase( change.key ) > 0
                          : ports.insert( change.key ).second ) &&
         machine_ ) {
         machine_->onIntfStatus( change.key );
      }
   } else if ( change.attribute == Attribute::lagInputIntfStatus ) {
      applyLinkStatus( change );
   } else {
      applyPortConfig( change );
   }
}

void
Switch::applyPortConfig( Change const& change ) {
   Table< PortConfig >& configs = env_.mounts.ethPhyIntfConfig;
   bool const isOwn = change.attribute == Attribute::adminEnabledStateLocal;
   bool comesOrGoes = false;
   bool changes = false;
   if ( isOwn && change.removes ) {
      comesOrGoes = configs.erase( change.key ) > 0;
   } else {
      comesOrGoes = !configs.contains( change.key );
      PortConfig& config = configs[ change.key ];
      if ( isOwn ) {
         changes = set( config.adminEnabledStateLocal, change.integer() );
      } else {
         config.fallback =
            change.removes ? std::nullopt : std::optional( change.integer() );
      }
   }
   if ( machine_ && comesOrGoes ) {
      machine_->onIntfConfig( change.key );
   } else if ( machine_ && changes ) {
      machine_->onAdminEnabledStateLocal( change.key );
   }
}

void
Switch::applyLinkStatus( Change const& change ) {
   Table< StatusRef >& dir = env_.mounts.lagInputIntfStatus;
   if ( change.removes ) {
      dir.erase( change.key );
      return;
   }
   auto const it = dir.find( change.key );
   if ( it == dir.end() ) {
      dir[ change.key ] = newStatus( change.integer() );
   } else if ( set( it->second.object->linkStatus, change.integer() ) && machine_ ) {
      machine_->onLinkStatus( *it->second.object, change.key );
   }
}

void
Switch::applyPortChannels( Change const& change ) {
   Mounts& mounts = env_.mounts;
   switch ( change.attribute ) {
   case Attribute::lagIdConfig:
      if (
         ( change.removes ? mounts.lagIdConfig.erase( change.key ) > 0
                          : setEntry( mounts.lagIdConfig, change.key, change.text ) ) &&
         machine_ ) {
         machine_->onLagIdConfig( change.key );
      }
      break;
   case Attribute::mlagissuCause:
      if ( change.removes ) {
         env_.causeDel( change.key );
      } else {
         env_.causeIs( change.key, change.number );
      }
      break;
   case Attribute::forceEnabledPorts:
      if ( change.removes ) {
         env_.forceEnabledPortsDel( change.key );
      } else {
         env_.forceEnabledPortsIs( change.key );
      }
      break;
   case Attribute::phyIntf:
      if ( change.removes ) {
         mounts.phyIntf.erase( change.key );
      } else {
         mounts.phyIntf[ change.key ] = { change.reference, change.integer() };
      }
      break;
   default:
      applyLacpConfig( change );
   }
}

void
Switch::applyLacpConfig( Change const& change ) {
   if ( change.removes ) {
      env_.portChannelDel( change.key );
   } else if ( env_.mounts.lacpConfig.contains( change.key ) ) {
      env_.stayInStandbyIs( change.key, change.flag() );
   } else {
      env_.portChannelIs( change.key, change.flag() );
   }
}

void
Switch::applyStatuses( Change const& change ) {
   Mounts& mounts = env_.mounts;
   if ( change.attribute == Attribute::peerIntfStatus ) {
      applyPeerStatus( change );
   } else if ( change.attribute == Attribute::ethIntfStatus ) {
      auto const it = mounts.ethIntfStatus.find( change.key );
      if ( change.removes ) {
         env_.ethIntfStatusDel( change.key );
      } else if ( it == mounts.ethIntfStatus.end() ) {
         env_.ethIntfStatusIs( change.key, newStatus( change.integer() ) );
      } else {
         it->second.object->linkStatus = change.integer();
      }
   } else if ( change.removes ) {
      env_.allIntfStatusDel( change.key );
   } else if ( !mounts.allIntfStatus.contains( change.key ) ) {
      env_.allIntfStatusIs( change.key, newStatus( 0 ) );
   }
}

void
Switch::applyPeerStatus( Change const& change ) {
   Table< StatusRef >& dir = env_.mounts.peerIntfStatus;
   auto const it = dir.find( change.key );
   if ( !change.removes && it != dir.end() ) {
      it->second.object->linkStatus = change.integer();
      return;
   }
   if ( change.removes && it == dir.end() ) {
      return;
   }
   if ( change.removes ) {
      dir.erase( it );
   } else {
      dir[ change.key ] = newStatus( change.integer() );
   }
   if ( peer_ ) {
      peer_->onIntfStatus( change.key );
   }
}

} // namespace model
