// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/Milliseconds>

#include <fmt/format.h>

#include <cmath>

namespace ostra {

namespace {

constexpr std::string_view expectedMoment = "a number of seconds, in whole milliseconds";

std::optional< Milliseconds >
moment( DocumentNode const& node ) {
   return node.kind == DocumentNode::Kind::number ? exactMoment( node.number )
                                                  : std::nullopt;
}

std::optional< Milliseconds >
scenarioMoment( DocumentNode const& node ) {
   auto const found = moment( node );
   return found && *found >= 0 ? found : std::nullopt;
}

} // namespace

std::optional< Milliseconds >
firstMomentAt( double seconds ) noexcept {
   if ( !( seconds <= secondsOf( lastMoment ) ) ) {
      return std::nullopt;
   }
   if ( seconds <= secondsOf( -lastMoment ) ) {
      return -lastMoment;
   }
   auto moment = static_cast< Milliseconds >( std::ceil( seconds * 1000.0 ) );
   // The product is rounded: the true first one may be a neighbour.
   while ( secondsOf( moment - 1 ) >= seconds ) {
      --moment;
   }
   while ( secondsOf( moment ) < seconds ) {
      ++moment;
   }
   return moment;
}

std::optional< Milliseconds >
exactMoment( double seconds ) noexcept {
   constexpr double most = secondsOf( lastMoment / 4 );
   if ( !( std::abs( seconds ) <= most ) ) {
      return std::nullopt;
   }
   Milliseconds const moment = std::llround( seconds * 1000.0 );
   return secondsOf( moment ) == seconds ? std::optional( moment ) : std::nullopt;
}

Milliseconds
momentOf( Item const& item ) {
   auto const found = moment( item.node() );
   if ( !found ) {
      item.refuse( expectedMoment );
   }
   return *found;
}

Milliseconds
scenarioMomentOf( Item const& item ) {
   auto const found = scenarioMoment( item.node() );
   if ( !found ) {
      item.refuse( expectedScenarioMoment );
   }
   return *found;
}

std::optional< Milliseconds >
scenarioMoment( std::string const& text ) {
   return scenarioMoment( scalarNode( text ) );
}

} // namespace ostra
