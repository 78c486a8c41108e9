// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/PortsText>

#include <host/account/HoldWait>
#include <host/base/Json>

#include <algorithm>
#include <cmath>
#include <tuple>

namespace ostra {

namespace {

std::string
placeText( double end, bool isWhole, double now ) {
   double const left = remainingSeconds( end, now );
   return std::isfinite( left ) ? toJson( isWhole ? std::ceil( left ) : left ).dump()
                                : "null";
}

} // namespace

std::string
PortsText::at( double now ) const {
   // The ports of a class have one end.
   std::vector< std::tuple< double, bool, std::string > > known;
   auto const textOf = [ & ]( Place const& place ) -> std::string const& {
      for ( auto const& [ end, isWhole, text ] : known ) {
         if ( end == place.end && isWhole == place.isWhole ) {
            return text;
         }
      }
      known.emplace_back(
         place.end, place.isWhole, placeText( place.end, place.isWhole, now ) );
      return std::get< 2 >( known.back() );
   };
   constexpr std::size_t longestPlace = 20;
   std::string text;
   text.reserve( text_.size() + longestPlace * places_.size() );
   std::size_t begin = 0;
   for ( Place const& place : places_ ) {
      text.append( text_, begin, place.offset - begin );
      text += textOf( place );
      begin = place.offset;
   }
   return text.append( text_, begin, text_.npos );
}

} // namespace ostra
