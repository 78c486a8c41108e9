// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/Duration>

#include <array>
#include <cstddef>
#include <utility>

namespace ostra {

namespace {

constexpr std::array< std::pair< std::string_view, double >, 5 > units = { {
   { "d", 86400000 },
   { "h", 3600000 },
   { "m", 60000 },
   { "s", 1000 },
   { "ms", 1 },
} };
constexpr std::size_t secondsUnit = 3;

bool
isDigit( char c ) {
   return c >= '0' && c <= '9';
}

// Reads from left to right. Numbers are doubles: what is too great for them is too great
// for the clock as well.
class Reader {
 public:
   explicit Reader( std::string_view text ) : text_( text ) {}

   bool atEnd() const { return text_.empty(); }
   std::size_t digits() const {
      std::size_t count = 0;
      while ( count < text_.size() && isDigit( text_[ count ] ) ) {
         ++count;
      }
      return count;
   }
   std::optional< double > number() {
      std::size_t const count = digits();
      double number = 0;
      for ( char const c : take( count ) ) {
         number = number * 10 + ( c - '0' );
      }
      return count == 0 ? std::nullopt : std::optional( number );
   }
   // Of as many digits, below 60.
   std::optional< double > sixtieth() {
      auto const found = digits() == 2 ? number() : std::nullopt;
      return found && *found < 60 ? found : std::nullopt;
   }
   // The milliseconds that decimals are; 0 when there are none.
   std::optional< double > decimals() {
      if ( !skip( '.' ) ) {
         return 0;
      }
      std::size_t const count = digits();
      if ( count == 0 || count > 3 ) {
         return std::nullopt;
      }
      constexpr std::array< double, 4 > weights = { 0, 100, 10, 1 };
      return *number() * weights[ count ];
   }
   bool skip( char c ) {
      bool const is = text_.starts_with( c );
      take( is ? 1 : 0 );
      return is;
   }
   // Up to the next digit or decimal point.
   std::string_view word() {
      std::size_t const end = text_.find_first_of( "0123456789." );
      return take( end == text_.npos ? text_.size() : end );
   }

 private:
   std::string_view take( std::size_t count ) {
      std::string_view const taken = text_.substr( 0, count );
      text_.remove_prefix( count );
      return taken;
   }

   std::string_view text_;
};

// "01:30:00.000"
std::optional< double >
clockMilliseconds( Reader reader ) {
   auto const hours = reader.number();
   if ( !hours || !reader.skip( ':' ) ) {
      return std::nullopt;
   }
   auto const minutes = reader.sixtieth();
   if ( !minutes || !reader.skip( ':' ) ) {
      return std::nullopt;
   }
   auto const seconds = reader.sixtieth();
   auto const decimals = reader.decimals();
   if ( !seconds || !decimals || !reader.atEnd() ) {
      return std::nullopt;
   }
   return ( ( *hours * 60 + *minutes ) * 60 + *seconds ) * 1000 + *decimals;
}

// "1h30m"
std::optional< double >
unitMilliseconds( Reader reader ) {
   double sum = 0;
   std::size_t next = 0;
   do {
      auto const number = reader.number();
      auto const decimals = reader.decimals();
      std::string_view const word = reader.word();
      while ( next < units.size() && units[ next ].first != word ) {
         ++next;
      }
      if ( !number || !decimals || next == units.size() ) {
         return std::nullopt;
      }
      if ( *decimals != 0 && next != secondsUnit ) {
         return std::nullopt;
      }
      sum += *number * units[ next ].second + *decimals;
      ++next;
   } while ( !reader.atEnd() );
   return sum;
}

} // namespace

std::optional< double >
durationSeconds( std::string_view text ) {
   Reader reader( text );
   double const sign = reader.skip( '-' ) ? -1 : 1;
   auto const clock = clockMilliseconds( reader );
   auto const milliseconds = clock ? clock : unitMilliseconds( reader );
   return milliseconds ? std::optional( sign * *milliseconds / 1000.0 ) : std::nullopt;
}

} // namespace ostra
