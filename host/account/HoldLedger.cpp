// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/account/HoldLedger>

namespace ostra {

namespace {

constexpr Milliseconds never = Milliseconds::max();

} // namespace

char const*
holdNoun( HolderKind kind ) {
   switch ( kind ) {
   case HolderKind::mlagPort:
      return "MLAG port";
   case HolderKind::nonMlagPort:
      return "non-MLAG port";
   case HolderKind::standby:
      break;
   }
   return "port-channel";
}

void
HoldLedger::begin( Hold const& hold ) {
   open_[ hold.kind == HolderKind::standby ].try_emplace( hold.id, hold );
}

std::optional< Hold >
HoldLedger::take( std::size_t standby, Kovel::IntfId id ) {
   auto const node = open_[ standby ].extract( id );
   return node ? std::optional( node.mapped() ) : std::nullopt;
}

void
HoldLedger::close( Hold const& hold, Milliseconds to, std::string const& why ) {
   closed_[ Key{ hold.kind, hold.from, to, why } ].push_back( hold.id );
}

std::vector< Hold >
HoldLedger::open() const {
   std::vector< Hold > holds;
   for ( Open const& some : open_ ) {
      for ( auto const& [ id, hold ] : some ) {
         holds.push_back( hold );
      }
   }
   return holds;
}

std::vector< Span >
HoldLedger::spans() const {
   auto all = closed_;
   for ( Hold const& hold : open() ) {
      all[ Key{ hold.kind, hold.from, never, "still held" } ].push_back( hold.id );
   }
   std::vector< Span > spans;
   for ( auto const& [ key, ids ] : all ) {
      HoldTime const to = key.to == never ? std::nullopt : HoldTime( key.to );
      spans.push_back( { key.kind, key.from, to, key.why, ids } );
   }
   return spans;
}

} // namespace ostra
