// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/HoldLedger>

#include <limits>

namespace ostra {

namespace {

constexpr long long never = std::numeric_limits< long long >::max();

} // namespace

char const*
holdNoun( HoldKind kind ) {
   switch ( kind ) {
   case HoldKind::mlagPort:
      return "MLAG port";
   case HoldKind::nonMlagPort:
      return "non-MLAG port";
   case HoldKind::standby:
      break;
   }
   return "port-channel";
}

void
HoldLedger::begin( Hold const& hold ) {
   open_.try_emplace( hold.id, hold );
}

std::optional< Hold >
HoldLedger::take( Kovel::IntfId id ) {
   auto const node = open_.extract( id );
   return node ? std::optional( node.mapped() ) : std::nullopt;
}

void
HoldLedger::close( Hold const& hold, long long to, std::string const& why ) {
   closed_[ Key{ hold.kind, hold.from, to, why } ].push_back( hold.id );
}

std::vector< Span >
HoldLedger::spans() const {
   auto all = closed_;
   for ( auto const& [ id, hold ] : open_ ) {
      all[ Key{ hold.kind, hold.from, never, "still held" } ].push_back( id );
   }
   std::vector< Span > spans;
   for ( auto const& [ key, ids ] : all ) {
      HoldTime const to = key.to == never ? std::nullopt : HoldTime( key.to );
      spans.push_back( { key.kind, key.from, to, key.why, ids } );
   }
   return spans;
}

} // namespace ostra
