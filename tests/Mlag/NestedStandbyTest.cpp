// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Port-channels that come to standby, or leave it, within the writes that put one into it.

#include "HeldSwitch"

#include <support/AllocationCounter>

#include <new>
#include <optional>
#include <utility>

namespace {

class NestedStandby : public HeldSwitch {
 public:
   NestedStandby() {
      readyForStandby();
      mlagMember( "Ethernet1", "Port-Channel10" );
      mlagMember( "Ethernet2", "Port-Channel20" );
   }

   // Calls `action` once, within the write of `line` at 0.
   void within( std::string const& line, std::function< void() > action ) {
      actions_.emplace_back( "0 " + line, std::move( action ) );
      onLine = [ this ]( std::string const& written ) {
         for ( auto& [ awaited, act ] : actions_ ) {
            if ( awaited == written ) {
               std::exchange( act, [] {} )();
            }
         }
      };
   }
   void recordItself( std::string_view portChannel ) {
      sm->lagsInStandbyIs( id( portChannel ), true );
   }
   // Keys and values of the record, in the collection's order.
   Log inStandby() const {
      Log log;
      for ( auto it = sm->lagsInStandbyIteratorConst(); it; ++it ) {
         log.push_back( it.key().string() + ( it->value() ? " true" : " false" ) );
      }
      return log;
   }
   void setStandby() { sm->setLacpStandby( id( "Port-Channel10" ) ); }

 private:
   std::vector< std::pair< std::string, std::function< void() > > > actions_;
};

TEST_F( NestedStandby, PortChannelPutIntoStandbyWithinItsOwnWriteIsRecordedOnce ) {
   auto const config = lacp( "Port-Channel10" );
   start();
   within( "lacp Port-Channel10 true", [ this ] { setStandby(); } );
   EXPECT_EQ(
      writes( [ this ] { setStandby(); } ),
      ( Log{ "snooping Port-Channel10 -", "lacp Port-Channel10 true" } ) );
   EXPECT_EQ( inStandby(), Log{ "Port-Channel10 true" } );
   EXPECT_TRUE( config->stayInStandby() );
}

TEST_F( NestedStandby, RecordThatWasNotNeededServesNoOtherPortChannel ) {
   auto const config = lacp( "Port-Channel20" );
   start();
   lacpOverrideIs( "Port-Channel20", otherSystemId );
   within( "cause Ethernet1 -", [ this ] { recordItself( "Port-Channel10" ); } );
   EXPECT_EQ(
      writes( [ this ] { lacpOverrideIs( "Port-Channel10", mlagSystemId ); } ),
      ( Log{ "cause Ethernet1 -", "snooping Port-Channel10 -" } ) );
   EXPECT_EQ(
      writes( [ this ] { lacpOverrideIs( "Port-Channel20", mlagSystemId ); } ),
      ( Log{
         "cause Ethernet2 -", "snooping Port-Channel20 -", "lacp Port-Channel20 true" } ) );
   sm->lagsInStandbyDel( id( "Port-Channel10" ) );
   EXPECT_EQ( inStandby(), Log{ "Port-Channel20 true" } );
}

TEST_F( NestedStandby, OnePortChannelWithinTheWriteOfAnother ) {
   lacp( "Port-Channel10" );
   start();
   within( "lacp Port-Channel10 true", [ this ] {
      lacpOverrideIs( "Port-Channel20", mlagSystemId );
   } );
   within( "cause Ethernet2 -", [ this ] { recordItself( "Port-Channel20" ); } );
   EXPECT_EQ(
      writes( [ this ] { lacpOverrideIs( "Port-Channel10", mlagSystemId ); } ),
      ( Log{ "cause Ethernet1 -",
             "snooping Port-Channel10 -",
             "lacp Port-Channel10 true",
             "cause Ethernet2 -",
             "snooping Port-Channel20 -" } ) );
   EXPECT_TRUE( standby( "Port-Channel10" ) );
   EXPECT_TRUE( standby( "Port-Channel20" ) );
}

// The other one takes what was prepared for the first; then memory runs out.
TEST_F( NestedStandby, PortChannelThatCannotBeRecordedIsNotPutIntoStandby ) {
   auto const config = lacp( "Port-Channel10" );
   lacp( "Port-Channel20" );
   start();
   std::optional< support::AllocationFailure > failure;
   within( "snooping Port-Channel10 -", [ & ] {
      lacpOverrideIs( "Port-Channel20", mlagSystemId );
      failure.emplace();
   } );
   EXPECT_THROW( setStandby(), std::bad_alloc );
   failure.reset();
   EXPECT_EQ( inStandby(), Log{ "Port-Channel20 true" } );
   EXPECT_FALSE( config->stayInStandby() );
}

TEST_F( NestedStandby, MlagConfiguredAwayWithinAStartEndsTheStandbyOfThatStart ) {
   auto const config = lacp( "Port-Channel10" );
   lacpOverrideIs( "Port-Channel10", mlagSystemId );
   std::string const later = portVisitedAfter( "Ethernet1" );
   port( later );
   within( "cause " + later + " 0", [ this ] { mlagConfig->enabledIs( false ); } );
   take();
   start();
   EXPECT_EQ(
      only( take(), "lacp" ),
      ( Log{ "0 lacp Port-Channel10 true", "0 lacp Port-Channel10 false" } ) );
   EXPECT_FALSE( config->stayInStandby() );
   EXPECT_EQ( held(), Log() );
   EXPECT_EQ( inStandby(), Log() );
   EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
}

} // namespace
