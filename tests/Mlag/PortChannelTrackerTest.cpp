// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The guard of a port-channel's entry in forceEnabledPorts.

#include "HeldSwitch"

#include <Mlag/PortChannelTracker>
#include <Mlag/RecordedMembers>

#include <support/ByName>

namespace {

using Mlag::Ostra::PortChannelTracker;
using Ryx::GenericIf;
using Ryx::toGeneric;

class Watcher final : public PortChannelTracker::NotifieeConst {
 public:
   explicit Watcher( Ryx::Ptr< PortChannelTracker > const& watched, bool weak = false ) {
      isWeakReferenceIs( weak );
      notifierIs( watched );
      isRegisteredNotifieeIs( true );
   }
   void onIsNondestructing() override { log.push_back( "isNondestructing" ); }
   void onZeroReferences() override { log.push_back( "zeroReferences" ); }

   std::vector< std::string > log;
};

class PortChannelTrackerEntity : public HeldSwitch {
 public:
   PortChannelTrackerEntity()
         : tracker( PortChannelTracker::PortChannelTrackerIs( pc10, igmpsnoopingConfig ) ) {
      force();
   }
   using Attributes = std::vector< std::pair< Ryx::AttributeId, std::string > >;

   void force() { igmpsnoopingConfig->forceEnabledPortsIs( pc10, true ); }

   static std::string destroyed() {
      return "8: void Mlag::Ostra::PortChannelTracker::handleDestroyed() for "
             "Port-Channel10";
   }

   IntfId const pc10 = id( "Port-Channel10" );
   Ryx::Ptr< PortChannelTracker > tracker;
};

TEST_F( PortChannelTrackerEntity, IsMadeByItsFactoryForOnePortChannel ) {
   EXPECT_EQ( tracker->intfId(), pc10 );
   EXPECT_EQ( tracker->igmpsnoopingConfig(), igmpsnoopingConfig );
   EXPECT_EQ( tracker->references(), 1u );
   EXPECT_EQ( tracker->name(), Ryx::Name( "Port-Channel10" ) );
   EXPECT_EQ( snooping(), ( Log{ "Port-Channel10" } ) );
}

TEST_F( PortChannelTrackerEntity, HasItsAttributesInOrder ) {
   Attributes found;
   for ( auto const& attr : tracker->fwkType()->attributeQ() ) {
      found.emplace_back( attr->id(), attr->name().string() );
   }
   EXPECT_EQ(
      found,
      ( Attributes{ { 6, "isNondestructing" },
                    { 258, "intfId" },
                    { 259, "igmpsnoopingConfig" },
                    { 260, "handleDestroyed" } } ) );
   EXPECT_EQ( tracker->attributeString( 260 ), "handleDestroyed" );
   EXPECT_EQ( tracker->attributeString( 261 ), "unknown" );
   EXPECT_EQ( tracker->fwkType()->name(), Ryx::Name( "Mlag::Ostra::PortChannelTracker" ) );
   EXPECT_TRUE( tracker->fwkType()->attr( 260 )->introspectionFlags().isFunction() );
   EXPECT_FALSE( tracker->fwkType()->attr( 259 )->introspectionFlags().isFunction() );
}

TEST_F( PortChannelTrackerEntity, LastPointerThatGoesEndsTheForcing ) {
   auto other = tracker;
   EXPECT_EQ( steps( [ & ] { tracker = nullptr; } ), Log() );
   EXPECT_EQ(
      steps( [ & ] { other = nullptr; } ),
      ( Log{ destroyed(), "snooping Port-Channel10 -" } ) );
}

TEST_F( PortChannelTrackerEntity, DestructionWithNothingForcedWritesNothing ) {
   igmpsnoopingConfig->forceEnabledPortsDel( pc10 );
   EXPECT_EQ( steps( [ & ] { tracker = nullptr; } ), ( Log{ destroyed() } ) );
}

TEST_F( PortChannelTrackerEntity, CleansUpBeforeItLetsGoOfNotifieesAndConfiguration ) {
   auto const watcher = Ryx::make< Watcher >( tracker, true );
   auto const* const borrowed = tracker.ptr();
   std::uint32_t watchers = 0;
   std::uint32_t references = 0;
   onLine = [ & ]( std::string const& line ) {
      if ( line == "0 snooping Port-Channel10 -" ) {
         watchers = borrowed->notifieeCount();
         references = igmpsnoopingConfig->references();
      }
   };
   auto const before = igmpsnoopingConfig->references();
   tracker = nullptr;
   EXPECT_EQ( watchers, 1u );
   EXPECT_GE( references, before );
   EXPECT_EQ( igmpsnoopingConfig->references(), before - 1 );
   EXPECT_FALSE( watcher->notifier() );
}

TEST_F( PortChannelTrackerEntity, HandleDestroyedCleansUpAndLeavesTheTracker ) {
   Log const cleanUp{ destroyed(), "snooping Port-Channel10 -" };
   EXPECT_EQ( steps( [ & ] { tracker->handleDestroyed(); } ), cleanUp );
   EXPECT_EQ( steps( [ & ] { tracker->handleDestroyed(); } ), ( Log{ destroyed() } ) );
   force();
   EXPECT_EQ( steps( [ & ] { tracker = nullptr; } ), cleanUp );
}

TEST_F( PortChannelTrackerEntity, WithoutASnoopingConfigurationItOnlyTraces ) {
   auto bare = PortChannelTracker::PortChannelTrackerIs( pc10, nullptr );
   EXPECT_EQ( steps( [ & ] { bare->handleDestroyed(); } ), ( Log{ destroyed() } ) );
   EXPECT_EQ( steps( [ & ] { bare = nullptr; } ), ( Log{ destroyed() } ) );
   EXPECT_EQ( snooping(), ( Log{ "Port-Channel10" } ) );
}

TEST_F( PortChannelTrackerEntity, NotifiesWhatEveryEntityDoes ) {
   auto const watcher = Ryx::make< Watcher >( tracker, true );
   tracker->isNondestructingIs( true );
   tracker->isNondestructingIs( true );
   tracker->isNondestructingIs( false );
   EXPECT_EQ( watcher->log, ( Log{ "isNondestructing", "isNondestructing" } ) );
   watcher->log.clear();
   tracker->handleDestroyed();
   tracker = nullptr;
   EXPECT_EQ( watcher->log, ( Log{ "zeroReferences" } ) );
}

class PortChannelTrackerByName : public PortChannelTrackerEntity {
 public:
   support::Object named = support::adapted( tracker );
};

TEST_F( PortChannelTrackerByName, IsRead ) {
   EXPECT_EQ( named->attributeId( "intfId" ), 258u );
   EXPECT_EQ( named->attributeId( "igmpsnoopingConfig" ), 259u );
   EXPECT_EQ( named->attributeId( "handleDestroyed" ), 260u );
   EXPECT_EQ( support::text( named ), "Port-Channel10" );
   EXPECT_EQ( support::text( support::get( named, "intfId" ) ), "Port-Channel10" );
   EXPECT_EQ(
      support::get( named, "igmpsnoopingConfig" )->object(), igmpsnoopingConfig.ptr() );
}

TEST_F( PortChannelTrackerByName, HandleDestroyedIsCalled ) {
   Log const cleanUp{ destroyed(), "snooping Port-Channel10 -" };
   EXPECT_EQ(
      steps( [ & ] { EXPECT_FALSE( support::get( named, "handleDestroyed" ) ); } ),
      cleanUp );
   force();
   EXPECT_EQ(
      steps( [ & ] {
         support::operation(
            named, "handleDestroyed", GenericIf::get, nullptr, support::listOf( {} ) );
      } ),
      cleanUp );
}

TEST_F( PortChannelTrackerByName, TrackerOfTheMachineIsReached ) {
   mlagMember( "Ethernet1", "Port-Channel10" );
   start();
   auto const found = support::get(
      support::adapted( sm ), "memberToPortChannel", toGeneric( id( "Ethernet1" ) ) );
   EXPECT_EQ( found->object(), sm->portChannelTracker( pc10 ).ptr() );
   EXPECT_EQ(
      writes( [ & ] { support::get( found, "handleDestroyed" ); } ),
      ( Log{ "snooping Port-Channel10 -" } ) );
   EXPECT_EQ( tracked(), ( Log{ "Port-Channel10" } ) );
   // The next handling forces it again.
   EXPECT_EQ(
      writes( [ & ] { handle( "Ethernet1" ); } ),
      ( Log{ "snooping Port-Channel10 true" } ) );
}

TEST_F( PortChannelTrackerByName, RefusesWhatItsAttributesDoNotAllow ) {
   using support::refusal;
   auto const value = toGeneric( id( "Port-Channel20" ) );
   for ( std::string const attribute :
         { "intfId", "igmpsnoopingConfig", "handleDestroyed" } ) {
      EXPECT_EQ(
         refusal( [ & ] { support::get( named, attribute, value ); } ),
         support::badIndex( attribute ) );
      EXPECT_EQ(
         refusal( [ & ] { support::set( named, attribute, value ); } ),
         support::notSupported( attribute ) );
      EXPECT_EQ(
         refusal( [ & ] { support::del( named, attribute ); } ),
         support::notSupported( attribute ) );
   }
   EXPECT_EQ(
      refusal( [ & ] {
         support::operation(
            named,
            "handleDestroyed",
            GenericIf::get,
            nullptr,
            support::listOf( { { "intfId", value } } ) );
      } ),
      support::unknownArgument( "handleDestroyed", "intfId" ) );
   EXPECT_NE(
      refusal( [ & ] {
         named->attributeOp( { 261, GenericIf::get }, {}, {} );
      } ),
      "" );
   EXPECT_EQ( snooping(), ( Log{ "Port-Channel10" } ) );
}

TEST_F( PortChannelTrackerByName, ConstInstanceIsNotChanged ) {
   auto const fixed = support::constOf( named );
   EXPECT_EQ(
      support::refusal( [ & ] { support::get( fixed, "handleDestroyed" ); } ),
      support::constInstance );
   EXPECT_EQ(
      support::refusal( [ & ] { support::set( fixed, "intfId", nullptr ); } ),
      support::constInstance );
   EXPECT_EQ( support::text( support::get( fixed, "intfId" ) ), "Port-Channel10" );
   EXPECT_EQ( snooping(), ( Log{ "Port-Channel10" } ) );
}

TEST( RecordedMembers, AMemberUnderNoTrackerCountsNowhere ) {
   Kovel::IntfId const member( "Ethernet1" );
   auto const tracker = PortChannelTracker::PortChannelTrackerIs(
      Kovel::IntfId( "Port-Channel10" ), nullptr );
   Mlag::Ostra::RecordedMembers members;
   EXPECT_TRUE( members.newRecord( member, nullptr ) );
   EXPECT_FALSE( members.value( member ) );
   EXPECT_TRUE( members.valueIs( member, tracker ) );
   EXPECT_EQ( tracker->members(), 1u );
   EXPECT_TRUE( members.valueIs( member, nullptr ) );
   EXPECT_EQ( tracker->members(), 0u );
}

} // namespace
