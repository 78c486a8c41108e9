// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <types/TypedObservers>

#include <support/Samples>

#include <Bridging/IgmpSnooping/Config>
#include <Errdisable/CauseStatus>
#include <Interface/AllEthPhyIntfConfigDir>
#include <Interface/AllEthPhyIntfStatusDir>
#include <Interface/AllIntfStatusDir>
#include <Interface/EthIntfStatusDir>
#include <Interface/EthLagIntfConfig>
#include <Interface/EthLagIntfStatusDir>
#include <Interface/PeerIntfStatusDir>
#include <Lacp/Config>
#include <Lag/Input/Config>
#include <Lag/Input/LacpOverrideDir>
#include <Mlag/Config>
#include <Mlag/ProtoStatus>
#include <Mlag/Status>

namespace types {

namespace {

using Kovel::IntfId;
using support::Calls;

// `N` is the NotifieeConst of the observed type.
template< class N >
class Observer : public N {
 public:
   explicit Observer( Calls& calls ) : calls_( calls ) {}

 protected:
   void said( std::string const& attribute ) { calls_.push_back( "typed " + attribute ); }
   void said( std::string const& attribute, IntfId key ) {
      said( attribute + "/" + key.string() );
   }

 private:
   Calls& calls_;
};

class MlagConfigObserver final : public Observer< Mlag::Config::NotifieeConst > {
 public:
   using NotifieeConst::onIntfConfig;
   using Observer::Observer;
   void onEnabled() override { said( "enabled" ); }
   void onDomainId() override { said( "domainId" ); }
   void onLocalInterface() override { said( "localInterface" ); }
   void onPeerAddress() override { said( "peerAddress" ); }
   void onPeerLinkIntf() override { said( "peerLinkIntf" ); }
   void onIntfConfig( IntfId key ) override { said( "intfConfig", key ); }
   void onReloadDelay() override { said( "reloadDelay" ); }
   void onReloadDelayNonMlagConfigured() override {
      said( "reloadDelayNonMlagConfigured" );
   }
   void onReloadDelayNonMlag() override { said( "reloadDelayNonMlag" ); }
   void onLacpStandby() override { said( "lacpStandby" ); }
};

class MlagStatusObserver final : public Observer< Mlag::Status::NotifieeConst > {
 public:
   using Observer::Observer;
   void onMlagState() override { said( "mlagState" ); }
   void onSystemId() override { said( "systemId" ); }
};

class ProtoStatusObserver final : public Observer< Mlag::ProtoStatus::NotifieeConst > {
 public:
   using Observer::Observer;
   void onPortsErrdisabled() override { said( "portsErrdisabled" ); }
   void onPortsErrdisabledWhen() override { said( "portsErrdisabledWhen" ); }
   void onHoldInSecondary() override { said( "holdInSecondary" ); }
};

// The base of the configurations is observed through each derived type.
template< class N >
class IntfConfigObserver final : public Observer< N > {
 public:
   using Observer< N >::Observer;
   void onDefaultConfig() override { this->said( "defaultConfig" ); }
   void onAdminEnabledStateLocal() override { this->said( "adminEnabledStateLocal" ); }
};

template< class N >
class EthIntfStatusObserver final : public Observer< N > {
 public:
   using Observer< N >::Observer;
   void onLinkStatus() override { this->said( "linkStatus" ); }
};

// All the status directories have their collection under one name.
template< class N >
class IntfStatusObserver final : public Observer< N > {
 public:
   using Observer< N >::Observer;
   using N::onIntfStatus;
   void onIntfStatus( IntfId key ) override { this->said( "intfStatus", key ); }
};

class ConfigDirObserver final
      : public Observer< Interface::AllEthPhyIntfConfigDir::NotifieeConst > {
 public:
   using NotifieeConst::onIntfConfig;
   using Observer::Observer;
   void onIntfConfig( IntfId key ) override { said( "intfConfig", key ); }
};

class LacpConfigObserver final : public Observer< Lacp::Config::NotifieeConst > {
 public:
   using NotifieeConst::onPortChannel;
   using Observer::Observer;
   void onPortChannel( IntfId key ) override { said( "portChannel", key ); }
};

class LacpPCConfigObserver final : public Observer< Lacp::LacpPCConfig::NotifieeConst > {
 public:
   using Observer::Observer;
   void onStayInStandby() override { said( "stayInStandby" ); }
};

class LagConfigObserver final : public Observer< Lag::EthPhyIntfLagConfig::NotifieeConst > {
 public:
   using Observer::Observer;
   void onLag() override { said( "lag" ); }
   void onMode() override { said( "mode" ); }
};

class LagInputConfigObserver final : public Observer< Lag::Input::Config::NotifieeConst > {
 public:
   using NotifieeConst::onPhyIntf;
   using Observer::Observer;
   void onPhyIntf( IntfId key ) override { said( "phyIntf", key ); }
};

class LacpOverrideDirObserver final
      : public Observer< Lag::Input::LacpOverrideDir::NotifieeConst > {
 public:
   using NotifieeConst::onLagIdConfig;
   using Observer::Observer;
   void onLagIdConfig( IntfId key ) override { said( "lagIdConfig", key ); }
};

class SnoopingObserver final
      : public Observer< Bridging::IgmpSnooping::Config::NotifieeConst > {
 public:
   using NotifieeConst::onForceEnabledPorts;
   using Observer::Observer;
   void onForceEnabledPorts( IntfId key ) override { said( "forceEnabledPorts", key ); }
};

template< class T, class O >
void
observerIs() {
   support::observerMakerIs( std::string( T::fwkTypeName ), []( Calls& calls ) {
      return support::Observer( Ryx::make< O >( calls ) );
   } );
}

// An observer that is a template over what it observes.
template< class T, template< class > class O >
void
observerIs() {
   observerIs< T, O< typename T::NotifieeConst > >();
}

} // namespace

bool
observersAreMade() {
   observerIs< Mlag::Config, MlagConfigObserver >();
   observerIs< Mlag::Status, MlagStatusObserver >();
   observerIs< Mlag::ProtoStatus, ProtoStatusObserver >();
   observerIs< Interface::IntfConfig, IntfConfigObserver >();
   observerIs< Interface::EthLagIntfConfig, IntfConfigObserver >();
   observerIs< Interface::VlanIntfConfig, IntfConfigObserver >();
   observerIs< Interface::EthIntfStatus, EthIntfStatusObserver >();
   observerIs< Interface::EthPhyIntfStatus, EthIntfStatusObserver >();
   observerIs< Interface::EthLagIntfStatus, EthIntfStatusObserver >();
   observerIs< Interface::PeerIntfStatus, EthIntfStatusObserver >();
   observerIs< Interface::AllEthPhyIntfConfigDir, ConfigDirObserver >();
   observerIs< Interface::AllEthPhyIntfStatusDir, IntfStatusObserver >();
   observerIs< Interface::EthLagIntfStatusDir, IntfStatusObserver >();
   observerIs< Interface::PeerIntfStatusDir, IntfStatusObserver >();
   observerIs< Interface::EthIntfStatusDir, IntfStatusObserver >();
   observerIs< Interface::AllIntfStatusDir, IntfStatusObserver >();
   observerIs< Errdisable::CauseStatus, IntfStatusObserver >();
   observerIs< Lacp::Config, LacpConfigObserver >();
   observerIs< Lacp::LacpPCConfig, LacpPCConfigObserver >();
   observerIs< Lag::EthPhyIntfLagConfig, LagConfigObserver >();
   observerIs< Lag::Input::Config, LagInputConfigObserver >();
   observerIs< Lag::Input::LacpOverrideDir, LacpOverrideDirObserver >();
   observerIs< Bridging::IgmpSnooping::Config, SnoopingObserver >();
   return true;
}

} // namespace types
