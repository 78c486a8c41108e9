// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/http/Router>

#include <host/base/Failure>

#include <fmt/format.h>

#include <algorithm>

namespace ostra::http {

namespace {

constexpr std::string_view anySegment = "*";
constexpr std::string_view anyRest = "**";

std::vector< std::string >
segmentsOf( std::string_view pattern ) {
   std::vector< std::string > segments;
   while ( pattern.size() > 1 ) {
      pattern.remove_prefix( 1 );
      std::size_t const end = std::min( pattern.find( '/' ), pattern.size() );
      segments.emplace_back( pattern.substr( 0, end ) );
      pattern.remove_prefix( end );
   }
   return segments;
}

bool
matches(
   std::vector< std::string > const& pattern, std::vector< std::string > const& path ) {
   bool const hasRest = !pattern.empty() && pattern.back() == anyRest;
   std::size_t const fixed = pattern.size() - ( hasRest ? 1 : 0 );
   if ( path.size() < fixed || ( path.size() > fixed && !hasRest ) ) {
      return false;
   }
   for ( std::size_t i = 0; i < fixed; ++i ) {
      if ( pattern[ i ] != anySegment && pattern[ i ] != path[ i ] ) {
         return false;
      }
   }
   return true;
}

bool
answersMethod( Route const& route, std::string_view method ) {
   return route.method == method || ( method == "HEAD" && route.method == "GET" );
}

// Several routes may fit one path.
void
addMethods( Route const& route, std::vector< std::string >& methods ) {
   if ( std::find( methods.begin(), methods.end(), route.method ) != methods.end() ) {
      return;
   }
   methods.push_back( route.method );
   if ( route.method == "GET" ) {
      methods.emplace_back( "HEAD" );
   }
}

std::optional< Problem >
contentTypeProblem( Request const& request, Route const& route ) {
   std::string const* const given = request.header( "content-type" );
   std::string type = given ? given->substr( 0, given->find_first_of( "; \t" ) ) : "";
   for ( char& c : type ) {
      c = c >= 'A' && c <= 'Z' ? static_cast< char >( c + ( 'a' - 'A' ) ) : c;
   }
   auto const& known = route.contentTypes;
   if ( std::find( known.begin(), known.end(), type ) != known.end() ) {
      return std::nullopt;
   }
   return Problem{ 415,
                   "Content-Type",
                   given ? inQuotes( *given ) : "none",
                   known.empty() ? "no body"
                                 : fmt::format( "{}", fmt::join( known, " or " ) ) };
}

} // namespace

void
Router::add( Route route ) {
   auto segments = segmentsOf( route.pattern );
   routes_.push_back( { std::move( route ), std::move( segments ) } );
}

std::vector< std::pair< std::string, std::string > >
Router::requests() const {
   std::vector< std::pair< std::string, std::string > > requests;
   for ( Known const& known : routes_ ) {
      requests.emplace_back( known.route.method, known.route.pattern );
   }
   return requests;
}

std::optional< Problem >
Router::find(
   Request const& request, bool hasBody, Guard const& guard, Route const*& route ) const {
   if ( auto problem = guard.problemOf( request ) ) {
      return problem;
   }
   std::vector< std::string > allowed;
   for ( Known const& known : routes_ ) {
      if ( !matches( known.segments, request.path ) ) {
         continue;
      }
      if ( !answersMethod( known.route, request.method ) ) {
         addMethods( known.route, allowed );
         continue;
      }
      route = &known.route;
      if ( auto problem = guard.problemOf( request, known.route.access ) ) {
         return problem;
      }
      bool const wantsBody = !known.route.contentTypes.empty();
      return hasBody || wantsBody ? contentTypeProblem( request, known.route )
                                  : std::nullopt;
   }
   if ( allowed.empty() ) {
      return Problem{ 404, "path", inQuotes( request.target ), "a path that is served" };
   }
   std::string const methods = fmt::format( "{}", fmt::join( allowed, ", " ) );
   return Problem{
      405, "method", inQuotes( request.method ), methods, { { "Allow", methods } }
   };
}

} // namespace ostra::http
