// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/http/Target>

#include <host/base/Failure>
#include <host/base/Utf8>

#include <fmt/format.h>

#include <algorithm>

namespace ostra::http {

namespace {

std::optional< unsigned >
hexDigit( char c ) {
   if ( c >= '0' && c <= '9' ) {
      return static_cast< unsigned >( c - '0' );
   }
   if ( c >= 'a' && c <= 'f' ) {
      return static_cast< unsigned >( c - 'a' + 10 );
   }
   if ( c >= 'A' && c <= 'F' ) {
      return static_cast< unsigned >( c - 'A' + 10 );
   }
   return std::nullopt;
}

// None when an escape is not one.
std::optional< std::string >
unescaped( std::string_view text, bool plusIsSpace ) {
   std::string plain;
   plain.reserve( text.size() );
   for ( std::size_t i = 0; i < text.size(); ++i ) {
      if ( text[ i ] == '+' && plusIsSpace ) {
         plain += ' ';
      } else if ( text[ i ] != '%' ) {
         plain += text[ i ];
      } else {
         auto const high = i + 1 < text.size() ? hexDigit( text[ i + 1 ] ) : std::nullopt;
         auto const low = i + 2 < text.size() ? hexDigit( text[ i + 2 ] ) : std::nullopt;
         if ( !high || !low ) {
            return std::nullopt;
         }
         plain += static_cast< char >( *high << 4 | *low );
         i += 2;
      }
   }
   return plain;
}

bool
isText( std::string_view text ) {
   while ( !text.empty() ) {
      Character const character = firstCharacter( text );
      if ( character.length == 0 || character.code < 0x20 || character.code == 0x7f ) {
         return false;
      }
      text.remove_prefix( character.length );
   }
   return true;
}

// Whether a part of it, between slashes of either kind, is "." or "..".
bool
climbs( std::string_view segment ) {
   while ( true ) {
      std::size_t const slash = segment.find_first_of( "/\\" );
      std::string_view const part = segment.substr( 0, slash );
      if ( part == "." || part == ".." ) {
         return true;
      }
      if ( slash == segment.npos ) {
         return false;
      }
      segment.remove_prefix( slash + 1 );
   }
}

Problem
problemIn( std::string_view what, std::string_view text, std::string_view expected ) {
   return { 400, std::string( what ), inQuotes( text ), std::string( expected ) };
}

// Decodes one piece of the target.
std::optional< Problem >
decode(
   std::string_view what, std::string_view text, bool plusIsSpace, std::string& plain ) {
   auto decoded = unescaped( text, plusIsSpace );
   if ( !decoded ) {
      return problemIn( what, text, "two hexadecimal digits behind each %" );
   }
   if ( !isText( *decoded ) ) {
      return problemIn( what, text, "UTF-8 without control characters" );
   }
   plain = std::move( *decoded );
   return std::nullopt;
}

// Calls `take` for each piece until it has a problem.
template< class Take >
std::optional< Problem >
forEachPiece( std::string_view text, char between, Take take ) {
   while ( true ) {
      std::size_t const end = text.find( between );
      if ( auto problem = take( text.substr( 0, end ) ) ) {
         return problem;
      }
      if ( end == text.npos ) {
         return std::nullopt;
      }
      text.remove_prefix( end + 1 );
   }
}

std::optional< Problem >
readPath( std::string_view path, Request& request ) {
   if ( path == "/" ) {
      return std::nullopt;
   }
   return forEachPiece(
      path.substr( 1 ), '/', [ & ]( std::string_view piece ) -> std::optional< Problem > {
         std::string segment;
         if ( auto problem = decode( "path", piece, false, segment ) ) {
            return problem;
         }
         if ( climbs( segment ) ) {
            return problemIn( "path", piece, "a path without \".\" and \"..\"" );
         }
         request.path.push_back( std::move( segment ) );
         return std::nullopt;
      } );
}

std::optional< Problem >
readQuery( std::string_view query, Request& request ) {
   return forEachPiece(
      query, '&', [ & ]( std::string_view piece ) -> std::optional< Problem > {
         if ( piece.empty() ) {
            return std::nullopt;
         }
         std::size_t const equals = std::min( piece.find( '=' ), piece.size() );
         std::string name;
         std::string value;
         if ( auto problem = decode( "query", piece.substr( 0, equals ), true, name ) ) {
            return problem;
         }
         std::size_t const begin = std::min( equals + 1, piece.size() );
         if ( auto problem = decode( "query", piece.substr( begin ), true, value ) ) {
            return problem;
         }
         request.query.emplace_back( std::move( name ), std::move( value ) );
         return std::nullopt;
      } );
}

} // namespace

std::optional< Problem >
readTarget( std::string_view target, Request& request ) {
   constexpr std::string_view scheme = "http://";
   if ( target.starts_with( scheme ) ) {
      target.remove_prefix( scheme.size() );
      std::size_t const end = std::min( target.find_first_of( "/?" ), target.size() );
      request.host = target.substr( 0, end );
      target.remove_prefix( end );
      if ( target.empty() ) {
         target = "/";
      }
   }
   if ( !target.starts_with( '/' ) ) {
      return problemIn( "request line", target, "a path, which begins with /" );
   }
   if ( target.find( '#' ) != target.npos ) {
      return problemIn( "request line", target, "a path without a fragment" );
   }
   request.target = target;
   std::size_t const mark = std::min( target.find( '?' ), target.size() );
   if ( auto problem = readPath( target.substr( 0, mark ), request ) ) {
      return problem;
   }
   return readQuery( target.substr( std::min( mark + 1, target.size() ) ), request );
}

} // namespace ostra::http
