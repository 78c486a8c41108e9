// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Random scenarios, played as a file and, event by event, over HTTP on a live
// switch: both tell the same.

#include "LiveApi"

#include <model/AnyLife>
#include <model/History>

#include <algorithm>

namespace ostra {

namespace {

using Kind = model::Command::Kind;

// Whether a client may do it: the rest is the plug-in's own, or the process's.
bool
isForClients( model::Command const& command ) {
   static constexpr std::array others = { Kind::othersCause, Kind::othersSnooping,
                                          Kind::othersHold,  Kind::ethStatus,
                                          Kind::allStatus,   Kind::agent,
                                          Kind::machine,     Kind::peerReactor,
                                          Kind::restart };
   return std::find( others.begin(), others.end(), command.kind ) == others.end();
}

// A client makes an entry of lacpConfig, what is in it is the plug-in's.
std::optional< model::Step >
stepOfClient( model::Step step, model::Mounts const& mounts ) {
   auto* const change = std::get_if< model::Change >( &step );
   if ( change && change->attribute == model::Attribute::lacpConfig && !change->removes ) {
      if ( mounts.lacpConfig.contains( change->key ) ) {
         return std::nullopt;
      }
      change->number = 0;
   }
   return step;
}

Json
withoutStandby( Json scenario ) {
   for ( Json& event : scenario[ "events" ] ) {
      if ( event.contains( "lacpConfig" ) ) {
         for ( Json& entry : event[ "lacpConfig" ][ "portChannel" ] ) {
            entry = entry.is_null() ? Json() : Json::object();
         }
      }
   }
   return scenario;
}

// Random scenario number `seed`, without what clients cannot do.
Json
scenarioOfLife( unsigned seed ) {
   model::Life const life =
      model::anyLife()( rc::Random( seed ), rc::kNominalSize ).value();
   model::Switch played( model::bootMounts( life ), model::bootMs( life ) );
   model::History history;
   history.boot = model::rebooted( model::bootMounts( life ) );
   history.bootMs = played.ms();
   for ( model::Command const& command : life.events ) {
      auto step = model::resolve( command, played.sight(), played.ms() );
      if ( step && isForClients( command ) ) {
         step = stepOfClient( *step, played.mounts() );
      } else {
         step.reset();
      }
      if ( !step ) {
         continue;
      }
      if ( auto const* wait = std::get_if< model::Wait >( &*step ) ) {
         played.apply( *wait );
      } else {
         history.events.push_back( { played.ms(), *step } );
         played.apply( std::get< model::Change >( *step ) );
      }
   }
   history.endMs = played.ms();
   return withoutStandby( model::scenarioOf( history ) );
}

std::vector< Json >
playLive( Json const& scenario ) {
   auto const instant = [ & ]( Json const& at ) {
      return *firstInstantAt( scenario.at( "startTime" ).get< double >() ) +
         *firstInstantAt( at.get< double >() );
   };
   LiveApi live( scenario.at( "mounts" ).dump(), instant( 0 ) );
   for ( Json event : scenario.at( "events" ) ) {
      live.passTo( instant( event.at( "at" ) ) );
      event.erase( "at" );
      std::string const answer = live.patch( "/v1/state", event.dump() );
      EXPECT_EQ( http::statusOf( answer ), 200 ) << event << answer;
   }
   live.passTo( instant( scenario.at( "until" ) ) );
   std::vector< Json > records;
   for ( LiveRecord const& record : live.stored ) {
      records.push_back( Json::parse( record.line ) );
   }
   return records;
}

} // namespace

TEST( RandomScenariosApi, TellTheSameAsARun ) {
   std::size_t changes = 0;
   for ( unsigned seed = 0; seed < 60; ++seed ) {
      Json const scenario = scenarioOfLife( seed );
      auto const start = *firstInstantAt( scenario.at( "startTime" ).get< double >() );
      auto const records = playLive( scenario );
      EXPECT_EQ( told( records, start ), told( play( scenario.dump() ), {} ) ) << scenario;
      changes += scenario.at( "events" ).size();
      if ( testing::Test::HasFailure() ) {
         return;
      }
   }
   EXPECT_GT( changes, 600U );
}

} // namespace ostra
