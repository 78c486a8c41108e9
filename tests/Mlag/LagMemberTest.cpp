// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The members of one port-channel as an entity.

#include <Mlag/LagMember>

#include <support/ByName>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using Kovel::IntfId;
using Mlag::Ostra::LagMember;
using Ryx::GenericIf;
using Ryx::toGeneric;

IntfId const ethernet1( "Ethernet1" );
IntfId const ethernet2( "Ethernet2" );

class Observer final : public LagMember::NotifieeConst {
 public:
   explicit Observer( Ryx::Ptr< LagMember > const& watched ) {
      notifierIs( watched );
      isRegisteredNotifieeIs( true );
   }
   using NotifieeConst::onMember;
   void onIntfId() override { log.push_back( "intfId" ); }
   void onMember( IntfId key ) override {
      log.push_back( key.string() + ( notifier()->member( key ) ? " true" : " false" ) );
   }
   void onIsNondestructing() override { log.push_back( "isNondestructing" ); }

   std::vector< std::string > log;
};

class LagMemberEntity : public ::testing::Test {
 public:
   using Log = std::vector< std::string >;

   Log take() const { return std::exchange( observer->log, {} ); }

   Ryx::Ptr< LagMember > const lag = Ryx::make< LagMember >( IntfId( "Port-Channel10" ) );
   Ryx::Ptr< Observer > const observer = Ryx::make< Observer >( lag );
};

TEST_F( LagMemberEntity, IsNamedByItsPortChannel ) {
   EXPECT_EQ( lag->intfId(), IntfId( "Port-Channel10" ) );
   EXPECT_EQ( lag->name(), Ryx::Name( "Port-Channel10" ) );
   EXPECT_EQ( lag->fwkType()->name(), Ryx::Name( "Mlag::Ostra::LagMember" ) );
   EXPECT_TRUE( lag->fwkType()->isEntity() );
   EXPECT_TRUE( lag->fwkType()->hasGenericIfSupport() );
}

TEST_F( LagMemberEntity, HasItsAttributesInOrder ) {
   std::vector< std::pair< Ryx::AttributeId, std::string > > found;
   for ( auto const& attr : LagMember::_fwkType()->attributeQ() ) {
      found.emplace_back( attr->id(), attr->name().string() );
   }
   EXPECT_EQ(
      found,
      ( decltype( found ){
         { 6, "isNondestructing" }, { 258, "intfId" }, { 259, "member" } } ) );
   EXPECT_EQ( lag->attributeString( 258 ), "intfId" );
   EXPECT_EQ( lag->attributeString( 259 ), "member" );
   EXPECT_EQ( lag->attributeString( 260 ), "unknown" );
}

TEST_F( LagMemberEntity, NotifiesAMemberThatIsAddedChangedAndRemoved ) {
   lag->memberIs( ethernet1, true );
   EXPECT_EQ( take(), ( Log{ "Ethernet1 true" } ) );
   lag->memberIs( ethernet1, false );
   EXPECT_EQ( take(), ( Log{ "Ethernet1 false" } ) );
   lag->memberIs( ethernet2, false );
   EXPECT_EQ( take(), ( Log{ "Ethernet2 false" } ) );
   EXPECT_FALSE( lag->memberDel( ethernet1 ) );
   EXPECT_EQ( take(), ( Log{ "Ethernet1 false" } ) );
   lag->memberIs( ethernet2, true );
   EXPECT_TRUE( lag->memberDel( ethernet2 ) );
   EXPECT_EQ( take(), ( Log{ "Ethernet2 true", "Ethernet2 false" } ) );
}

TEST_F( LagMemberEntity, RecordingTheSameMemberTwiceNotifiesOnce ) {
   lag->memberIs( ethernet1, true );
   lag->memberIs( ethernet1, true );
   EXPECT_EQ( take(), ( Log{ "Ethernet1 true" } ) );
   EXPECT_TRUE( lag->member( ethernet1 ) );
}

TEST_F( LagMemberEntity, DeletingAnAbsentMemberNotifiesNobody ) {
   EXPECT_FALSE( lag->memberDel( ethernet1 ) );
   EXPECT_EQ( take(), Log() );
}

TEST_F( LagMemberEntity, DeletingAllNotifiesEachInOrder ) {
   for ( int i = 1; i <= 8; ++i ) {
      lag->memberIs( IntfId( "Ethernet" + std::to_string( i ) ), true );
   }
   Log expected;
   for ( auto it = lag->memberIteratorConst(); it; ++it ) {
      expected.push_back( it.key().string() + " false" );
   }
   take();
   lag->memberDelAll();
   EXPECT_EQ( take(), expected );
   EXPECT_FALSE( lag->memberIteratorConst() );
}

TEST_F( LagMemberEntity, NewRecordIsInsertedWithoutNotification ) {
   auto const* const record = lag->newMember( ethernet1, true );
   EXPECT_EQ( record->fwkKey(), ethernet1 );
   EXPECT_TRUE( lag->member( ethernet1 ) );
   EXPECT_EQ( take(), Log() );
}

TEST_F( LagMemberEntity, NewRecordUnderAPresentKeyIsRefused ) {
   lag->newMember( ethernet1, true );
   EXPECT_EQ(
      support::refusal( [ & ] { lag->newMember( ethernet1, false ); } ),
      "key Ethernet1 is present in Mlag::Ostra::LagMember::member" );
   EXPECT_TRUE( lag->member( ethernet1 ) );
   EXPECT_EQ( take(), Log() );
}

TEST_F( LagMemberEntity, NotifiesItsNondestructingState ) {
   lag->isNondestructingIs( true );
   lag->isNondestructingIs( true );
   EXPECT_EQ( take(), ( Log{ "isNondestructing" } ) );
   lag->isNondestructingIs( false );
   EXPECT_EQ( take(), ( Log{ "isNondestructing" } ) );
}

TEST_F( LagMemberEntity, ThrowingObserverDoesNotReachTheSetter ) {
   class Thrower final : public LagMember::NotifieeConst {
    public:
      explicit Thrower( Ryx::Ptr< LagMember > const& watched ) {
         notifierIs( watched );
         isRegisteredNotifieeIs( true );
      }
      using NotifieeConst::onMember;
      using NotifieeConst::onNotificationException;
      void onMember( IntfId ) override { Ryx::throwRangeException( "no" ); }
      void onNotificationException( Ryx::AttributeId id ) override { caught = id; }
      Ryx::AttributeId caught = 0;
   };
   auto const thrower = Ryx::make< Thrower >( lag );
   EXPECT_NO_THROW( lag->memberIs( ethernet1, true ) );
   EXPECT_EQ( thrower->caught, 259u );
}

class LagMemberByName : public LagMemberEntity {
 public:
   std::string operation( unsigned code, support::Object const& index = nullptr ) const {
      return support::text( support::operation( named, "member", code, index ) );
   }

   support::Object const named = support::adapted( lag );
   support::Object const first = toGeneric( ethernet1 );
   support::Object const second = toGeneric( ethernet2 );
};

TEST_F( LagMemberByName, IsRead ) {
   lag->memberIs( ethernet1, true );
   EXPECT_EQ( named->attributeId( "intfId" ), 258u );
   EXPECT_EQ( named->attributeId( "member" ), 259u );
   EXPECT_EQ( named->attributeId( "members" ), 0u );
   EXPECT_EQ( named->attributeString( 259 ), "member" );
   EXPECT_EQ( support::text( named ), "Port-Channel10" );
   EXPECT_EQ( support::text( support::get( named, "intfId" ) ), "Port-Channel10" );
   EXPECT_EQ( operation( GenericIf::get, first ), "true" );
   EXPECT_EQ( operation( GenericIf::get, second ), "false" );
   EXPECT_EQ( operation( GenericIf::has, first ), "true" );
   EXPECT_EQ( operation( GenericIf::has, second ), "false" );
   EXPECT_EQ( operation( GenericIf::size ), "1" );
   EXPECT_EQ( operation( GenericIf::defaultValue ), "false" );
}

TEST_F( LagMemberByName, ChangesNotifyLikeThoseOfTheAccessors ) {
   support::setMember( named, "member", first, toGeneric( true ) );
   support::setMember( named, "member", first, toGeneric( true ) );
   EXPECT_EQ( take(), ( Log{ "Ethernet1 true" } ) );
   EXPECT_EQ( operation( GenericIf::del, first ), "true" );
   EXPECT_EQ( operation( GenericIf::del, first ), "false" );
   EXPECT_EQ( take(), ( Log{ "Ethernet1 false" } ) );
   lag->memberIs( ethernet1, true );
   lag->memberIs( ethernet2, true );
   support::delAll( named, "member" );
   EXPECT_EQ( operation( GenericIf::size ), "0" );
   EXPECT_EQ( take().size(), 4u );
}

TEST_F( LagMemberByName, MemberIsDeletedThroughAnIterator ) {
   lag->memberIs( ethernet1, true );
   lag->memberIs( ethernet2, true );
   auto const it = named->attributeIterator( 259 );
   IntfId const gone( it->iterKey()->strRep() );
   EXPECT_EQ( support::text( it->iterObj() ), "true" );
   GenericIf::attributeIterator_iterDel( *it );
   GenericIf::attributeIterator_iterInc( *it );
   ASSERT_TRUE( GenericIf::attributeIterator_nonNull( *it ) );
   EXPECT_FALSE( lag->member( gone ) );
   EXPECT_EQ(
      GenericIf::attributeIterator_iterKey( *it )->strRep(),
      ( gone == ethernet1 ? ethernet2 : ethernet1 ).string() );
   GenericIf::attributeIterator_iterInc( *it );
   EXPECT_FALSE( it->nonNull() );
}

TEST_F( LagMemberByName, RefusesWhatItsAttributesDoNotAllow ) {
   using support::refusal;
   EXPECT_EQ(
      refusal( [ & ] { support::get( named, "intfId", first ); } ),
      support::badIndex( "intfId" ) );
   EXPECT_EQ(
      refusal( [ & ] { support::set( named, "intfId", first ); } ),
      support::notSupported( "intfId" ) );
   EXPECT_EQ(
      refusal( [ & ] { support::get( named, "member" ); } ),
      support::badIndex( "member" ) );
   EXPECT_EQ(
      refusal( [ & ] { support::del( named, "member" ); } ),
      support::badIndex( "member" ) );
   EXPECT_EQ(
      refusal( [ & ] { support::get( named, "member", toGeneric( true ) ); } ),
      support::badIndex( "member" ) );
   EXPECT_EQ(
      refusal( [ & ] { support::setMember( named, "member", first, second ); } ),
      support::wrongType( "member", "Ryx::Builtin<bool>" ) );
   EXPECT_EQ(
      refusal( [ & ] { operation( 77, first ); } ), support::notSupported( "member" ) );
   EXPECT_NE(
      refusal( [ & ] {
         named->attributeOp( { 260, GenericIf::get }, {}, {} );
      } ),
      "" );
   EXPECT_EQ( take(), Log() );
}

TEST_F( LagMemberByName, ConstInstanceIsNotChanged ) {
   lag->memberIs( ethernet1, true );
   take();
   auto const fixed = support::constOf( named );
   using support::refusal;
   EXPECT_EQ(
      refusal(
         [ & ] { support::setMember( fixed, "member", first, toGeneric( false ) ); } ),
      support::constInstance );
   EXPECT_EQ(
      refusal( [ & ] { support::del( fixed, "member", first ); } ),
      support::constInstance );
   EXPECT_EQ(
      refusal( [ & ] { support::del( fixed, "member" ); } ), support::constInstance );
   EXPECT_EQ(
      refusal( [ & ] { support::set( fixed, "intfId", first ); } ),
      support::constInstance );
   EXPECT_EQ( support::text( support::get( fixed, "member", first ) ), "true" );
   EXPECT_EQ( take(), Log() );
}

} // namespace
