// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Log>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <iostream>
#include <numeric>
#include <string_view>

namespace Ryx {

namespace {

LogSink* logSink = nullptr;

// Makes the text the format with its places filled.
void
fill( String8& text, String8 const& format, String8 const* args, unsigned count ) {
   text.clear();
   text.reserve( std::accumulate(
      args, args + count, format.size(), []( std::size_t size, String8 const& argument ) {
         return size + argument.size();
      } ) );
   std::string_view rest = format;
   while ( !rest.empty() ) {
      std::size_t const plain = std::min( rest.find( '%' ), rest.size() );
      text += rest.substr( 0, plain );
      rest.remove_prefix( plain );
      std::string_view const two = rest.substr( 0, 2 );
      if ( two == "%s" && count > 0 ) {
         text += *args++;
         --count;
         rest.remove_prefix( 2 );
      } else if ( !two.empty() ) {
         text += '%';
         rest.remove_prefix( two == "%%" ? 2 : 1 );
      }
   }
}

String8
timestamp() {
   using namespace std::chrono;
   auto const time = floor< milliseconds >( system_clock::now() );
   std::time_t const second = system_clock::to_time_t( floor< seconds >( time ) );
   auto const milli = ( time - floor< seconds >( time ) ).count();
   char buffer[ 32 ];
   std::size_t const size =
      std::strftime( buffer, sizeof buffer, "%FT%T.", std::gmtime( &second ) );
   return String8( buffer, size ) + std::to_string( 1000 + milli ).substr( 1 ) + "Z";
}

// A MSGID has no blanks, and 1 to 32 characters.
String8
messageId( String8 identifier ) {
   identifier.resize( std::min< std::size_t >( identifier.size(), 32 ) );
   std::ranges::replace_if(
      identifier, []( char c ) { return c <= ' ' || c > '~'; }, '_' );
   return identifier.empty() ? "-" : identifier;
}

// A message is one line, whatever is in its arguments.
String8
oneLine( String8 text ) {
   std::ranges::replace_if(
      text, []( unsigned char c ) { return c < ' ' || c == 0x7f; }, ' ' );
   return text;
}

void
logToStandardError( LogRecord const& record ) {
   constexpr unsigned local0 = 16;
   unsigned const priority = local0 * 8 + static_cast< unsigned >( record.severity );
   // The host's name, the program's and the process's number are not ours to find out.
   std::cerr << "<" + std::to_string( priority ) + ">1 " + timestamp() + " - - - " +
         messageId( record.identifier ) + " - " + oneLine( record.text ) + "\n";
}

void
write( LogRecord const& record ) {
   if ( logSink ) {
      logSink->log( record );
   } else {
      logToStandardError( record );
   }
}

} // namespace

LogSink::~LogSink() = default;

void
logSinkIs( LogSink* sink ) noexcept {
   logSink = sink;
}

LogHandle::LogHandle(
   String8 identifier,
   LogSeverity severity,
   String8 format,
   String8 explanation,
   String8 action,
   Seconds interval,
   double burst,
   unsigned char rateLimitArgs )
      : record_{ std::move( identifier ),
                 severity,
                 String8(),
                 std::move( explanation ),
                 std::move( action ) },
        format_( std::move( format ) ),
        rateLimitArgs_( rateLimitArgs ),
        idHash_( hash( record_.identifier ) ),
        limiter_( interval, burst ) {}

LogHandle::~LogHandle() = default;

bool
LogHandle::okToLog( unsigned key ) const {
   return limiter_.take( key );
}

void
LogHandle::log( unsigned, String8* args, unsigned count ) const {
   if ( isLent_.test_and_set( std::memory_order_acquire ) ) [[unlikely]] {
      LogRecord own{ record_.identifier,
                     record_.severity,
                     String8(),
                     record_.explanation,
                     record_.action };
      fill( own.text, format_, args, count );
      write( own );
      return;
   }
   struct Lent {
      std::atomic_flag& flag;
      ~Lent() { flag.clear( std::memory_order_release ); }
   } const lent{ isLent_ };
   fill( record_.text, format_, args, count );
   write( record_ );
}

} // namespace Ryx
