// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What a reload costs at least while its state is objects that anybody may watch: for each
// port a reactor on its configuration and an entry of the cause are made, and the entry is
// removed. No rule is asked. And what it costs at least where each port's state lies in
// collections of its own: the same, and every object that the rules need is found once.

#include <reload/Reload>

#include <Errdisable/CauseStatus>
#include <Interface/AllEthPhyIntfConfigDir>
#include <Interface/AllEthPhyIntfStatusDir>
#include <Lag/EthPhyIntfLagConfig>
#include <Lag/Input/Config>
#include <Mlag/Config>
#include <Ryx/Reactor>

namespace bench {

namespace {

class ObjectsAlone {
 public:
   explicit ObjectsAlone( SwitchPlan const& plan ) {
      for ( PortPlan const& port : plan.ports ) {
         configs_->intfConfigIs( Ryx::make< Interface::IntfConfig >( port.id ) );
      }
   }

   void hold() {
      watch();
      for ( auto it = configs_->intfConfigIteratorConst(); it; ++it ) {
         cause_->intfStatusIs( it.key(), 0 );
      }
   }
   void announce() {}
   void release() {
      for ( auto it = cause_->intfStatusIteratorConst(); it; ++it ) {
         cause_->intfStatusDel( it.key() );
      }
   }

 protected:
   void watch() {
      for ( auto it = configs_->intfConfigIteratorConst(); it; ++it ) {
         watchers_.insert( Ryx::make< Watcher >( it->value(), this ) );
      }
   }

   Ryx::Ptr< Interface::AllEthPhyIntfConfigDir > configs_ =
      Ryx::make< Interface::AllEthPhyIntfConfigDir >( "configs" );
   Ryx::Ptr< Errdisable::CauseStatus > cause_ =
      Ryx::make< Errdisable::CauseStatus >( "cause" );

 private:
   using Watched = Interface::IntfConfig;
   class Watcher final
         : public Ryx::KeyedReactor< Watcher, ObjectsAlone, Watched, Kovel::IntfId > {
    public:
      using KeyedReactor::KeyedReactor;
      void handleNotifier() {}
   };

   Ryx::HashMap< Watcher, Kovel::IntfId > watchers_;
};

class ObjectsAndLookups : public ObjectsAlone {
 public:
   explicit ObjectsAndLookups( SwitchPlan const& plan ) : ObjectsAlone( plan ) {
      for ( PortPlan const& port : plan.ports ) {
         statuses_->intfStatusIs( Ryx::make< Interface::EthPhyIntfStatus >( port.id ) );
         if ( port.portChannel ) {
            auto const member = Ryx::make< Lag::EthPhyIntfLagConfig >( port.id );
            member->lagIs( Ryx::make< Interface::EthLagIntfConfig >( port.portChannel ) );
            members_->phyIntfIs( member );
         }
      }
      for ( Kovel::IntfId const id : plan.portChannels ) {
         config_->intfConfigIs( id, { "1" } );
      }
   }

   void hold() {
      watch();
      for ( auto it = statuses_->intfStatusIteratorConst(); it; ++it ) {
         Kovel::IntfId const port = it.key();
         if ( isMlagMember( port ) ) {
            enabled_ += configs_->borrowedIntfConfig( port )->adminEnabledStateLocal() ==
               Interface::IntfEnabledState::enabled;
         }
         if ( !cause_->intfStatusHas( port ) ) {
            cause_->intfStatusIs( port, 0 );
         }
      }
   }
   void announce() {}
   void release() {
      for ( bool const mlag : { true, false } ) {
         for ( auto it = cause_->intfStatusIteratorConst(); it; ++it ) {
            if ( isMlagMember( it.key() ) == mlag ) {
               cause_->intfStatusDel( it.key() );
            }
         }
      }
   }

 private:
   bool isMlagMember( Kovel::IntfId port ) const {
      auto const* const member = members_->borrowedPhyIntf( port );
      return member && !config_->intfConfig( member->lag()->intfId() ).mlagId.empty();
   }

   Ryx::Ptr< Interface::AllEthPhyIntfStatusDir > statuses_ =
      Ryx::make< Interface::AllEthPhyIntfStatusDir >( "statuses" );
   Ryx::Ptr< Lag::Input::Config > members_ = Ryx::make< Lag::Input::Config >( "members" );
   Ryx::Ptr< Mlag::Config > config_ = Ryx::make< Mlag::Config >( "config" );
   std::size_t enabled_ = 0;
};

bool const measured = measuredReload< ObjectsAlone >( "objects alone" ) &&
   measuredReload< ObjectsAndLookups >( "objects and lookups" );

} // namespace

} // namespace bench
