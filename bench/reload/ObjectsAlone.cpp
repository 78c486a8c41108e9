// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What a reload costs at least while its state is objects that anybody may watch: for each
// port a reactor on its configuration and an entry of the cause are made, and the entry is
// removed. No rule is asked.

#include <reload/Reload>

#include <Errdisable/CauseStatus>
#include <Interface/AllEthPhyIntfConfigDir>
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
      for ( auto it = configs_->intfConfigIteratorConst(); it; ++it ) {
         watchers_.insert( Ryx::make< Watcher >( it->value(), this ) );
      }
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

 private:
   class Watcher final
         : public Ryx::
              KeyedReactor< Watcher, ObjectsAlone, Interface::IntfConfig, Kovel::IntfId > {
    public:
      using KeyedReactor::KeyedReactor;
      void handleNotifier() {}
   };

   Ryx::Ptr< Interface::AllEthPhyIntfConfigDir > configs_ =
      Ryx::make< Interface::AllEthPhyIntfConfigDir >( "configs" );
   Ryx::Ptr< Errdisable::CauseStatus > cause_ =
      Ryx::make< Errdisable::CauseStatus >( "cause" );
   Ryx::HashMap< Watcher, Kovel::IntfId > watchers_;
};

bool const measured = measuredReload< ObjectsAlone >( "objects alone" );

} // namespace

} // namespace bench
