// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The reader of HTTP requests. An input is what a client sends: its first octet says in what
// pieces the rest of it comes.
//
//  1. However it is divided, the same requests are read and the same one is refused.
//  2. Each piece is taken whole, up to the end of a request or its refusal.
//  3. A request keeps within the limits; a refusal has a status for errors, a place, what was
//     found and what was expected, and can be answered as JSON.

#include <fuzz/Require>

#include <host/http/RequestParser>

#include <algorithm>
#include <cstdint>

namespace {

using fuzz::require;
using ostra::http::Limits;
using ostra::http::Problem;
using ostra::http::Request;
using ostra::http::RequestParser;
using Progress = RequestParser::Progress;

// So small that inputs reach them.
Limits
smallLimits() {
   Limits limits;
   limits.target = 64;
   limits.head = 256;
   limits.body = 64;
   limits.headers = 6;
   return limits;
}

Limits const limits = smallLimits();

// With its length, so that different requests never read alike.
void
tell( std::string& told, std::string_view part ) {
   told += std::to_string( part.size() ) + ':';
   told += part;
}

void
tell( std::string& told, Request const& request ) {
   tell( told, request.method );
   tell( told, request.target );
   tell( told, request.host );
   for ( auto const& part : request.path ) {
      tell( told, part );
   }
   for ( auto const& [ name, value ] : request.query ) {
      tell( told, name );
      tell( told, value );
   }
   for ( auto const& [ name, value ] : request.headers ) {
      tell( told, name );
      tell( told, value );
   }
   tell( told, request.body );
   told += request.isPersistent ? 'p' : '-';
   told += request.hasChunks ? 'c' : '-';
}

void
check( Request const& request ) {
   require( !request.method.empty() && !request.host.empty(), "an empty part" );
   require( request.target.size() <= limits.target, "target: ", request.target );
   require( request.body.size() <= limits.body, "body: ", request.body );
   require( request.headers.size() <= limits.headers, "headers" );
   for ( auto const& [ name, value ] : request.headers ) {
      bool const isLowerCase = std::none_of(
         name.begin(), name.end(), []( char c ) { return c >= 'A' && c <= 'Z'; } );
      require( isLowerCase && !name.empty(), "header: ", name );
      require( value.find_first_of( "\r\n" ) == std::string::npos, "value: ", value );
   }
}

void
check( Problem const& problem ) {
   require( problem.status >= 400 && problem.status < 600, "status: ", problem.status );
   require( !problem.where.empty() && !problem.expected.empty(), "no reason" );
   auto const answer = ostra::http::problemResponse( problem );
   require( ostra::Json::accept( *answer.body ), "answer: ", *answer.body );
}

// What a client says, one request behind the other.
class Conversation {
 public:
   // Whether there may be more.
   bool take( std::string_view piece ) {
      while ( !isOver_ && !piece.empty() ) {
         takeSome( piece );
      }
      return !isOver_;
   }
   std::string const& told() {
      if ( !isOver_ ) {
         told_ += parser_->hasBegun() ? "begun" : "idle";
         isOver_ = true;
      }
      return told_;
   }

 private:
   void takeSome( std::string_view& piece ) {
      switch ( parser_->take( piece ) ) {
      case Progress::more:
         require( piece.empty(), "left: ", piece );
         break;
      case Progress::head:
         require( !hasHead_, "two heads" );
         hasHead_ = true;
         break;
      case Progress::complete:
         check( parser_->request() );
         tell( told_, parser_->request() );
         parser_.emplace( limits );
         hasHead_ = false;
         break;
      case Progress::refused:
         check( parser_->problem() );
         told_ += std::to_string( parser_->problem().status );
         tell( told_, parser_->problem().where );
         isOver_ = true;
         break;
      }
   }

   std::optional< RequestParser > parser_{ limits };
   std::string told_;
   bool hasHead_ = false;
   bool isOver_ = false;
};

std::string
toldInPieces( std::string_view text, std::size_t size ) {
   Conversation conversation;
   while ( !text.empty() && conversation.take( text.substr( 0, size ) ) ) {
      text.remove_prefix( std::min( size, text.size() ) );
   }
   return conversation.told();
}

} // namespace

extern "C" int
LLVMFuzzerTestOneInput( std::uint8_t const* data, std::size_t size ) {
   if ( size == 0 ) {
      return 0;
   }
   std::string const text( data + 1, data + size );
   std::string const whole = toldInPieces( text, text.size() );
   std::size_t const piece = data[ 0 ] % 16 + 1U;
   std::string const divided = toldInPieces( text, piece );
   require( whole == divided, whole, "\nin pieces of ", piece, ": ", divided );
   return 0;
}
