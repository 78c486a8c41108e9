// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/Json>

#include <cmath>
#include <limits>

namespace ostra {

Json
toJson( double number ) {
   // Up to there every whole number is a double of its own.
   constexpr double exact = 9007199254740992.0;
   if ( std::isinf( number ) ) {
      return number > 0 ? "inf" : "-inf";
   }
   if ( std::abs( number ) < exact && number == std::trunc( number ) ) {
      return static_cast< long long >( number );
   }
   return number;
}

Json
finiteOrNull( double number ) {
   return std::isfinite( number ) ? toJson( number ) : Json();
}

double
secondsOf( Json const& value ) {
   if ( value.is_string() ) {
      return std::numeric_limits< double >::infinity();
   }
   return value.is_number() ? value.get< double >() : 0;
}

Json
jsonObject( std::size_t members ) {
   Json object = Json::object();
   object.get_ref< Json::object_t& >().reserve( members );
   return object;
}

void
appendMember( Json& object, std::string const& key, Json value ) {
   object.get_ref< Json::object_t& >().emplace_back( key, std::move( value ) );
}

Json const&
memberAt( Json const& document, std::initializer_list< std::string_view > path ) {
   static Json const null;
   Json const* found = &document;
   for ( std::string_view const key : path ) {
      auto const member = found->is_object() ? found->find( key ) : found->end();
      if ( member == found->end() ) {
         return null;
      }
      found = &*member;
   }
   return *found;
}

} // namespace ostra
