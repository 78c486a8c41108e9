// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/web/ReleaseAnswers>

#include <algorithm>
#include <array>

namespace ostra {

namespace {

// Null for a port that the change does not concern, too.
Json
outcomeOf( ReleaseTrial const& trial, std::string const& port ) {
   if ( !trial.releases || !trial.releases->contains( port ) ) {
      return nullptr;
   }
   return trial.releases->at( port );
}

// What the page makes of it.
Json
answerFor( Json const& releases, std::string const& port, std::string const& kind ) {
   if ( !releases.is_object() ) {
      return releases;
   }
   return releases.contains( port ) ? releases.at( port ) : releases.value( kind, Json() );
}

Json
answersOf( ReleaseTrial const& trial, HeldPorts const& held ) {
   if ( !trial.releases ) {
      return nullptr;
   }
   // Ports of each kind that are not released, and those that are.
   std::map< std::string, std::array< std::vector< std::string >, 2 > > kinds;
   for ( auto const& [ port, isReleased ] : *trial.releases ) {
      kinds[ held.at( port ) ].at( isReleased ? 1 : 0 ).push_back( port );
   }
   Json answers = Json::object();
   std::array< bool, 2 > isGiven{};
   for ( auto const& [ kind, ports ] : kinds ) {
      bool const isMost = ports[ 1 ].size() > ports[ 0 ].size();
      answers[ kind ] = isMost;
      for ( std::string const& port : ports.at( isMost ? 0 : 1 ) ) {
         answers[ port ] = !isMost;
      }
      isGiven[ 0 ] = isGiven[ 0 ] || !ports[ 0 ].empty();
      isGiven[ 1 ] = isGiven[ 1 ] || !ports[ 1 ].empty();
   }
   bool const isOfAll = trial.releases->size() == held.size();
   return isOfAll && isGiven[ 0 ] != isGiven[ 1 ] ? Json( isGiven[ 1 ] ) : answers;
}

} // namespace

std::optional< Json >
ReleaseAnswers::take(
   HeldPorts const& held, std::optional< std::vector< ReleaseTrial > > const& trials ) {
   if ( trials ? areStill( held, *trials ) : told_.is_null() ) {
      return std::nullopt;
   }
   told_ = nullptr;
   if ( trials ) {
      told_ = Json::array();
      for ( ReleaseTrial const& trial : *trials ) {
         told_.push_back(
            { { "meaning", trial.meaning }, { "releases", answersOf( trial, held ) } } );
      }
   }
   return told_;
}

bool
ReleaseAnswers::areStill(
   HeldPorts const& held, std::vector< ReleaseTrial > const& trials ) const {
   return !told_.is_null() &&
      std::equal(
         trials.begin(),
         trials.end(),
         told_.begin(),
         told_.end(),
         [ &held ]( ReleaseTrial const& trial, Json const& told ) {
            return told.at( "meaning" ) == trial.meaning &&
               std::all_of( held.begin(), held.end(), [ & ]( auto const& port ) {
                      return answerFor( told.at( "releases" ), port.first, port.second ) ==
                         outcomeOf( trial, port.first );
                   } );
         } );
}

} // namespace ostra
