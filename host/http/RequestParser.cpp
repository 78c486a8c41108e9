// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/http/RequestParser>

#include <host/base/Failure>
#include <host/http/Target>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>

namespace ostra::http {

namespace {

// A line that says how long a chunk is.
constexpr std::size_t longestChunkLine = 256;

// Two readers of a request that has two of them could take either. Those that say where the
// request is for, and how long it is, are looked at where they are read.
constexpr std::array< std::string_view, 7 > singleHeaders = {
   "authorization", "content-type",   "expect",        "last-event-id",
   "origin",        "sec-fetch-mode", "sec-fetch-site"
};

bool
isTokenCharacter( char c ) {
   constexpr std::string_view others = "!#$%&'*+-.^_`|~";
   return ( c >= '0' && c <= '9' ) || ( c >= 'a' && c <= 'z' ) ||
      ( c >= 'A' && c <= 'Z' ) || others.find( c ) != others.npos;
}

bool
isToken( std::string_view text ) {
   return !text.empty() && std::all_of( text.begin(), text.end(), isTokenCharacter );
}

bool
isPrintable( char c ) {
   return c > 0x20 && c < 0x7f;
}

// What a header's value may have in it.
bool
isFieldCharacter( char c ) {
   return c == '\t' || ( static_cast< unsigned char >( c ) >= 0x20 && c != 0x7f );
}

std::string
inLowerCase( std::string_view text ) {
   std::string lower( text );
   for ( char& c : lower ) {
      c = c >= 'A' && c <= 'Z' ? static_cast< char >( c + ( 'a' - 'A' ) ) : c;
   }
   return lower;
}

std::string_view
trimmed( std::string_view text ) {
   std::size_t const begin = text.find_first_not_of( " \t" );
   if ( begin == text.npos ) {
      return {};
   }
   return text.substr( begin, text.find_last_not_of( " \t" ) - begin + 1 );
}

// Digits of that base and nothing else.
std::optional< std::size_t >
wholeNumber( std::string_view text, int base ) {
   std::size_t number = 0;
   char const* const end = text.data() + text.size();
   auto const [ rest, error ] = std::from_chars( text.data(), end, number, base );
   return error == std::errc() && rest == end ? std::optional( number ) : std::nullopt;
}

} // namespace

void
RequestParser::refuse(
   int status, std::string_view where, std::string found, std::string_view expected ) {
   if ( !problem_ ) {
      problem_ = {
         status, std::string( where ), std::move( found ), std::string( expected )
      };
   }
}

RequestParser::Progress
RequestParser::take( std::string_view& text ) {
   while ( !problem_ && phase_ != Phase::complete ) {
      if ( phase_ == Phase::body || phase_ == Phase::chunk ) {
         if ( !hasHead_ ) {
            hasHead_ = true;
            return Progress::head;
         }
         if ( text.empty() ) {
            return Progress::more;
         }
         takeBody( text );
      } else if ( phase_ == Phase::chunkSize && !hasHead_ ) {
         hasHead_ = true;
         return Progress::head;
      } else if ( auto const line = takeLine( text ) ) {
         takeLineOf( *line );
      } else if ( !problem_ ) {
         return Progress::more;
      }
   }
   return problem_ ? Progress::refused : Progress::complete;
}

std::optional< std::string >
RequestParser::takeLine( std::string_view& text ) {
   if ( phase_ == Phase::first && !text.empty() ) {
      phase_ = Phase::requestLine;
   }
   std::size_t const end = text.find( '\n' );
   std::size_t const taken = end == text.npos ? text.size() : end + 1;
   bool const isOfHead = phase_ != Phase::chunkSize && phase_ != Phase::chunkEnd;
   line_ += text.substr( 0, taken );
   text.remove_prefix( taken );
   headSize_ += isOfHead ? taken : 0;
   if ( phase_ == Phase::requestLine && line_.size() > limits_.target + longestChunkLine ) {
      refuse(
         414,
         "request line",
         "a longer one",
         fmt::format( "a target of at most {} octets", limits_.target ) );
   } else if ( headSize_ > limits_.head ) {
      refuse( 431, "headers", "more", fmt::format( "at most {} octets", limits_.head ) );
   } else if ( !isOfHead && line_.size() > longestChunkLine ) {
      refuse( 400, "chunk", "a long line", "the chunk's size" );
   }
   if ( end == std::string_view::npos || problem_ ) {
      return std::nullopt;
   }
   if ( !line_.ends_with( "\r\n" ) ) {
      refuse( 400, "line", inQuotes( line_ ), "an end of CR and LF" );
      return std::nullopt;
   }
   line_.resize( line_.size() - 2 );
   return std::exchange( line_, {} );
}

void
RequestParser::takeLineOf( std::string const& line ) {
   switch ( phase_ ) {
   case Phase::requestLine:
      // Some clients send an empty line behind a body that its length does not count.
      if ( !line.empty() ) {
         readRequestLine( line );
      }
      break;
   case Phase::headers:
      if ( line.empty() ) {
         endHeaders();
      } else {
         readHeader( line );
      }
      break;
   case Phase::chunkSize:
      readChunkSize( line );
      break;
   case Phase::chunkEnd:
      if ( !line.empty() ) {
         refuse( 400, "chunk", inQuotes( line ), "the end of the line behind a chunk" );
      }
      phase_ = Phase::chunkSize;
      break;
   default:
      if ( line.empty() ) {
         phase_ = Phase::complete;
      }
      break;
   }
}

void
RequestParser::takeBody( std::string_view& text ) {
   std::size_t const taken = std::min( text.size(), missing_ );
   request_.body += text.substr( 0, taken );
   text.remove_prefix( taken );
   missing_ -= taken;
   if ( missing_ == 0 ) {
      announced_.reset();
      phase_ = phase_ == Phase::chunk ? Phase::chunkEnd : Phase::complete;
   }
}

void
RequestParser::readRequestLine( std::string_view line ) {
   std::size_t const first = line.find( ' ' );
   std::size_t const last = line.rfind( ' ' );
   std::string_view const method = line.substr( 0, first );
   if ( first == line.npos || first == last || !isToken( method ) ) {
      refuse( 400, "request line", inQuotes( line ), "a method, a path and HTTP/1.1" );
      return;
   }
   std::string_view const target = line.substr( first + 1, last - first - 1 );
   readVersion( line.substr( last + 1 ) );
   if ( target.size() > limits_.target ) {
      refuse(
         414,
         "request line",
         fmt::format( "a target of {} octets", target.size() ),
         fmt::format( "at most {}", limits_.target ) );
   } else if ( !std::all_of( target.begin(), target.end(), isPrintable ) ) {
      refuse(
         400,
         "request line",
         inQuotes( target ),
         "a path of printable ASCII, all else as %XX" );
   }
   if ( problem_ ) {
      return;
   }
   request_.method = method;
   problem_ = readTarget( target, request_ );
   phase_ = Phase::headers;
}

void
RequestParser::readVersion( std::string_view version ) {
   if ( version == "HTTP/1.1" ) {
      return;
   }
   request_.isPersistent = false;
   request_.hasChunks = false;
   if ( version == "HTTP/1.0" ) {
      return;
   }
   bool const isOther = version.size() == 8 && version.starts_with( "HTTP/" );
   refuse( isOther ? 505 : 400, "request line", inQuotes( version ), "HTTP/1.1" );
}

void
RequestParser::readHeader( std::string_view line ) {
   std::size_t const colon = line.find( ':' );
   std::string_view const name = line.substr( 0, colon );
   if ( colon == line.npos || !isToken( name ) ) {
      refuse( 400, "headers", inQuotes( line ), "a name, a colon and a value" );
      return;
   }
   std::string_view const value = trimmed( line.substr( colon + 1 ) );
   if ( !std::all_of( value.begin(), value.end(), isFieldCharacter ) ) {
      refuse( 400, name, inQuotes( value ), "no control characters" );
      return;
   }
   if ( request_.headers.size() == limits_.headers ) {
      refuse( 431, "headers", "more", fmt::format( "at most {}", limits_.headers ) );
      return;
   }
   request_.headers.emplace_back( inLowerCase( name ), value );
}

std::string const*
RequestParser::onlyHeader( std::string_view name ) {
   auto const count = std::count_if(
      request_.headers.begin(), request_.headers.end(), [ name ]( Header const& header ) {
         return header.first == name;
      } );
   if ( count > 1 ) {
      refuse( 400, name, fmt::format( "{} of them", count ), "one" );
   }
   return request_.header( name );
}

void
RequestParser::endHeaders() {
   for ( std::string_view const name : singleHeaders ) {
      onlyHeader( name );
   }
   readHost();
   readConnection();
   readExpectation();
   std::string const* const coding = onlyHeader( "transfer-encoding" );
   if ( coding ) {
      readCoding( *coding );
   } else {
      readLength();
   }
}

void
RequestParser::readHost() {
   std::string const* const host = onlyHeader( "host" );
   if ( !host || host->empty() ) {
      refuse( 400, "Host", "none", "the server's name" );
   } else if ( request_.host.empty() ) {
      request_.host = *host;
   }
}

void
RequestParser::readConnection() {
   // A list, which may stand in several headers.
   std::string wishes;
   for ( auto const& [ name, value ] : request_.headers ) {
      if ( name == "connection" ) {
         wishes += inLowerCase( value ) + ',';
      }
   }
   if ( wishes.find( "close" ) != wishes.npos ) {
      request_.isPersistent = false;
   } else if ( wishes.find( "keep-alive" ) != wishes.npos ) {
      request_.isPersistent = true;
   }
}

void
RequestParser::readExpectation() {
   std::string const* const expectation = request_.header( "expect" );
   if ( !expectation ) {
      return;
   }
   waitsToContinue_ = inLowerCase( *expectation ) == "100-continue";
   if ( !waitsToContinue_ ) {
      refuse( 417, "Expect", inQuotes( *expectation ), "100-continue" );
   }
}

void
RequestParser::readCoding( std::string const& coding ) {
   if ( onlyHeader( "content-length" ) || !request_.hasChunks ) {
      refuse( 400, "Transfer-Encoding", inQuotes( coding ), "one way to tell the length" );
   } else if ( inLowerCase( coding ) != "chunked" ) {
      refuse( 501, "Transfer-Encoding", inQuotes( coding ), "chunked" );
   }
   phase_ = Phase::chunkSize;
}

void
RequestParser::readLength() {
   phase_ = Phase::complete;
   std::string const* const text = onlyHeader( "content-length" );
   if ( !text ) {
      return;
   }
   bool const hasDigits =
      !text->empty() && text->find_first_not_of( "0123456789" ) == text->npos;
   auto const length = wholeNumber( *text, 10 );
   if ( !hasDigits ) {
      refuse( 400, "Content-Length", inQuotes( *text ), "a number of octets" );
   } else if ( !length || *length > limits_.body ) {
      refuse(
         413,
         "Content-Length",
         shortened( *text ),
         fmt::format( "at most {}", limits_.body ) );
   } else if ( *length > 0 ) {
      missing_ = *length;
      announced_ = *length;
      phase_ = Phase::body;
   }
}

void
RequestParser::readChunkSize( std::string_view line ) {
   std::string_view const digits = trimmed( line.substr( 0, line.find( ';' ) ) );
   auto const size = wholeNumber( digits, 16 );
   bool const isSize = size && digits.front() != '-' &&
      std::all_of( line.begin(), line.end(), isFieldCharacter );
   if ( !isSize ) {
      refuse( 400, "chunk", inQuotes( line ), "the chunk's size, in hexadecimal digits" );
   } else if ( *size > limits_.body - request_.body.size() ) {
      refuse( 413, "body", "more", fmt::format( "at most {} octets", limits_.body ) );
   } else {
      missing_ = *size;
      phase_ = *size == 0 ? Phase::trailers : Phase::chunk;
   }
}

} // namespace ostra::http
