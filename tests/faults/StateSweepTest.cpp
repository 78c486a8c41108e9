// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Out of memory in the setters of state objects, called directly and by name.

#include "Sweep"

#include <support/ByName>

#include <Errdisable/CauseStatus>
#include <Interface/EthIntfStatusDir>
#include <Interface/EthLagIntfStatusDir>
#include <Mlag/Config>

#include <array>

namespace faults {

namespace {

using Kovel::IntfId;
using Ryx::Ptr;

// Counts what it is told of a configuration.
class ConfigWatcher final : public Mlag::Config::NotifieeConst {
 public:
   using NotifieeConst::onIntfConfig;
   void onDomainId() override { ++told; }
   void onIntfConfig( IntfId ) override { ++told; }
   void onIsNondestructing() override { ++told; }
   void onParent() override { ++told; }
   unsigned told = 0;
};

// A configuration with more watchers than a delivery has room for without memory.
struct WatchedConfig {
   WatchedConfig() {
      for ( auto& watcher : watchers ) {
         watcher = Ryx::make< ConfigWatcher >();
         watcher->notifierIs( config );
         watcher->isRegisteredNotifieeIs( true );
      }
   }
   ~WatchedConfig() { config->isNondestructingIs( false ); }

   std::string state() const {
      std::string text = config->domainId() + ( config->parent() ? " child" : "" ) +
         ( config->isNondestructing() ? " for ever" : "" );
      for ( auto it = config->intfConfigIteratorConst(); it; ++it ) {
         text += " " + it.key().string() + "=" + it->value().mlagId;
      }
      // All of them are told, once.
      for ( auto const& watcher : watchers ) {
         text += std::to_string( watcher->told );
      }
      return text;
   }

   IntfId const lag{ "Port-Channel10" };
   Ptr< Mlag::Config > config = Ryx::make< Mlag::Config >( "config" );
   std::array< Ptr< ConfigWatcher >, 20 > watchers;
};

struct SetText : WatchedConfig {
   void act() { config->domainIdIs( longText ); }
};
struct InsertMember : WatchedConfig {
   void act() { config->intfConfigIs( lag, { longText } ); }
};
struct ChangeMember : WatchedConfig {
   ChangeMember() { config->intfConfigIs( lag, { "10" } ); }
   void act() { config->intfConfigIs( lag, { longText } ); }
};
struct RemoveMember : WatchedConfig {
   RemoveMember() { config->intfConfigIs( lag, { longText } ); }
   void act() { config->intfConfigDel( lag ); }
};
struct RemoveAllMembers : WatchedConfig {
   RemoveAllMembers() { config->intfConfigIs( lag, { longText } ); }
   void act() { config->intfConfigDelAll(); }
};
struct Pin : WatchedConfig {
   void act() { config->isNondestructingIs( true ); }
};
struct Adopt : WatchedConfig {
   void act() { config->parentIs( owner ); }
   Ptr< Ryx::Entity > const owner = Ryx::make< Mlag::Config >( "owner" );
};

TEST( SetterFaults, ATextIsSetAndToldOrNot ) {
   sweep< SetText >();
}

TEST( SetterFaults, AMemberIsInsertedAndToldOrNot ) {
   sweep< InsertMember >();
}

TEST( SetterFaults, AMemberIsChangedAndToldOrNot ) {
   sweep< ChangeMember >();
}

TEST( SetterFaults, ARemovalIsToldEvenWhenTheValueCannotBeGivenBack ) {
   sweep< RemoveMember >();
}

TEST( SetterFaults, AllMembersAreRemovedAndTold ) {
   sweepWithoutMemory< RemoveAllMembers >();
}

TEST( SetterFaults, PinningIsTold ) {
   sweep< Pin >();
}

TEST( SetterFaults, AParentIsTold ) {
   sweepWithoutMemory< Adopt >();
}

// A table that grows and shrinks.
struct GrowTable {
   // So many that a table on the way back is no small one, which needs no memory.
   static constexpr unsigned count = 200;

   void act() {
      for ( unsigned i = held(); i < count; ++i ) {
         cause->intfStatusIs( id( i ), 1.0 );
      }
      EXPECT_EQ( held(), count );
   }
   unsigned held() const {
      unsigned n = 0;
      while ( n < count && cause->intfStatusHas( id( n ) ) ) {
         ++n;
      }
      return n;
   }
   static IntfId id( unsigned i ) { return IntfId( "Ethernet" + std::to_string( i + 1 ) ); }
   // Each insertion is one of its own: what counts is that the first ones are there.
   std::string state() const {
      for ( unsigned i = held(); i < count; ++i ) {
         EXPECT_FALSE( cause->intfStatusHas( id( i ) ) );
      }
      return "";
   }
   Ptr< Errdisable::CauseStatus > cause = Ryx::make< Errdisable::CauseStatus >( "cause" );
};

struct ShrinkTable : GrowTable {
   ShrinkTable() { GrowTable::act(); }
   void act() {
      for ( unsigned i = 0; i < count; ++i ) {
         cause->intfStatusDel( id( i ) );
      }
   }
   std::string state() const {
      return cause->intfStatusIteratorConst() ? "members" : "empty";
   }
};

TEST( TableFaults, MembersAreInsertedOneByOne ) {
   sweep< GrowTable >();
}

TEST( TableFaults, MembersAreRemovedWithoutMemory ) {
   sweep< ShrinkTable >();
}

// Objects of a directory.
struct InsertObject {
   void act() { directory->intfStatusIs( status ); }
   std::string state() const {
      return directory->intfStatus( status->intfId() ) == status ? "there" : "not there";
   }
   Ptr< Interface::EthIntfStatusDir > directory =
      Ryx::make< Interface::EthIntfStatusDir >( "dir" );
   Ptr< Interface::EthIntfStatus > status =
      Ryx::make< Interface::EthIntfStatus >( IntfId( "Ethernet1" ) );
};
struct ReplaceObject : InsertObject {
   ReplaceObject() {
      directory->intfStatusIs(
         Ryx::make< Interface::EthIntfStatus >( IntfId( "Ethernet1" ) ) );
   }
};

TEST( DirectoryFaults, AnObjectIsThereOrNot ) {
   sweep< InsertObject >();
}

TEST( DirectoryFaults, AnObjectIsReplacedWithoutMemory ) {
   sweepWithoutMemory< ReplaceObject >();
}

// The same by name.
struct ByName : WatchedConfig {
   static constexpr bool isAllOrNothing = true;
   support::Object adapter = support::adapted( config );
   support::Object key = support::valueOf( "Kovel::IntfId", "Port-Channel10" );
};
struct SetTextByName : ByName {
   void act() { support::set( adapter, "domainId", text ); }
   support::Object text = support::valueOf( "Ryx::String8", longText );
};
struct SetMemberByName : ByName {
   void act() {
      auto const value = support::get( adapter, "intfConfig", key );
      support::set( value, "mlagId", support::valueOf( "Ryx::String8", longText ) );
      support::setMember( adapter, "intfConfig", key, value );
   }
};
struct RemoveMemberByName : ByName {
   RemoveMemberByName() { config->intfConfigIs( lag, { longText } ); }
   void act() { support::del( adapter, "intfConfig", key ); }
};
struct ReadByName : ByName {
   ReadByName() {
      config->intfConfigIs( lag, { longText } );
      config->domainIdIs( longText );
   }
   void act() const {
      EXPECT_EQ( support::text( support::get( adapter, "domainId" ) ), longText );
      auto const id = adapter->attributeId( "intfConfig" );
      for ( auto it = adapter->attributeIterator( id ); it->nonNull(); it->iterInc() ) {
         EXPECT_EQ( it->iterClone()->iterKey()->strRep(), "Port-Channel10" );
         EXPECT_EQ( it->iterObj()->strRep(), longText );
      }
   }
};
struct ConstructByName {
   void act() {
      made = support::constructed(
         "Interface::EthLagIntfStatus",
         { { "intfId", support::valueOf( "Kovel::IntfId", "Port-Channel10" ) } } );
   }
   std::string state() const { return made ? made->type()->name().string() : ""; }
   support::Object made;
};

TEST( ByNameFaults, ATextIsSetOrNot ) {
   sweep< SetTextByName >();
}

TEST( ByNameFaults, AStructureIsSetAsAWhole ) {
   sweep< SetMemberByName >();
}

TEST( ByNameFaults, AMemberIsRemovedOrNot ) {
   sweep< RemoveMemberByName >();
}

TEST( ByNameFaults, ReadingChangesNothing ) {
   sweep< ReadByName >();
}

TEST( ByNameFaults, AnObjectIsConstructedOrNot ) {
   sweep< ConstructByName >();
}

} // namespace

} // namespace faults
