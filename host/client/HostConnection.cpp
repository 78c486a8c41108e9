// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/client/HostConnection>

#include <host/base/Failure>
#include <host/base/JsonLine>
#include <host/base/ParsedJson>
#include <host/serve/Config>

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <thread>

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace ostra {

namespace {

constexpr char machinesSocket[] = "/run/ostra/ostra.sock";

class Descriptor {
 public:
   explicit Descriptor( int descriptor ) noexcept : descriptor_( descriptor ) {}
   ~Descriptor() {
      if ( descriptor_ != -1 ) {
         close( descriptor_ );
      }
   }
   Descriptor( Descriptor const& ) = delete;
   Descriptor& operator=( Descriptor const& ) = delete;

   // How long it waits for the other side.
   void patienceIs( Milliseconds patience ) const {
      auto const seconds = std::chrono::duration_cast< std::chrono::seconds >( patience );
      timeval time{};
      time.tv_sec = seconds.count();
      time.tv_usec = std::chrono::microseconds( patience - seconds ).count();
      for ( int const option : { SO_RCVTIMEO, SO_SNDTIMEO } ) {
         setsockopt( descriptor_, SOL_SOCKET, option, &time, sizeof time );
      }
   }

   // False: see errno.
   bool connectTo( std::string const& path ) const {
      sockaddr_un address{};
      address.sun_family = AF_UNIX;
      if ( path.size() >= sizeof address.sun_path ) {
         errno = ENAMETOOLONG;
         return false;
      }
      path.copy( address.sun_path, path.size() );
      auto const* const any = reinterpret_cast< sockaddr const* >( &address );
      return connect( descriptor_, any, sizeof address ) == 0;
   }

   bool send( std::string_view text ) const {
      while ( !text.empty() ) {
         ssize_t const sent = ::send( descriptor_, text.data(), text.size(), MSG_NOSIGNAL );
         // The host may have answered, and taken no more.
         if ( sent == -1 && errno != EINTR ) {
            return errno == EPIPE;
         }
         text.remove_prefix( static_cast< std::size_t >( sent == -1 ? 0 : sent ) );
      }
      return true;
   }

   // Appends what comes: how much, 0 at the end, -1 for a failure; see errno.
   ssize_t receive( std::string& text ) const {
      std::array< char, 1U << 16 > buffer;
      ssize_t count = -1;
      do {
         count = recv( descriptor_, buffer.data(), buffer.size(), 0 );
      } while ( count == -1 && errno == EINTR );
      if ( count > 0 ) {
         text.append( buffer.data(), static_cast< std::size_t >( count ) );
      }
      return count;
   }

 private:
   int const descriptor_;
};

struct Head {
   int status;
   // Of the answer, in octets; none where it goes up to the end of the connection.
   std::optional< std::size_t > length;
   // When to ask again, if it says so.
   std::optional< std::chrono::seconds > retryAfter;
};

// The number behind that name.
std::optional< std::size_t >
numberIn( std::string_view head, std::string_view name ) {
   auto const at = head.find( fmt::format( "\r\n{}: ", name ) );
   if ( at == head.npos ) {
      return std::nullopt;
   }
   constexpr std::size_t around = 4;
   return std::strtoull( head.data() + at + name.size() + around, nullptr, 10 );
}

// Taken away from the answer; none when there is not a whole one.
std::optional< Head >
takeHead( std::string& answer ) {
   constexpr std::string_view version = "HTTP/1.1 ";
   std::size_t const end = answer.find( "\r\n\r\n" );
   if ( end == answer.npos || !answer.starts_with( version ) ) {
      return std::nullopt;
   }
   std::string_view const text = std::string_view( answer ).substr( 0, end + 2 );
   Head head{ std::atoi( answer.c_str() + version.size() ),
              numberIn( text, "Content-Length" ),
              std::nullopt };
   if ( auto const seconds = numberIn( text, "Retry-After" ) ) {
      head.retryAfter = std::chrono::seconds( *seconds );
   }
   answer.erase( 0, end + 4 );
   return head;
}

// The old version of HTTP has neither chunks nor further requests, which are not wanted here.
std::string
getRequest( std::string const& target ) {
   return fmt::format( "GET {} HTTP/1.0\r\nHost: localhost\r\n\r\n", target );
}

std::string
requestWith(
   std::string_view method,
   std::string const& target,
   std::string_view contentType,
   Json const& json ) {
   std::string const body = lineOf( json );
   return fmt::format(
      "{} {} HTTP/1.0\r\nHost: localhost\r\nContent-Type: {}\r\n"
      "Content-Length: {}\r\n\r\n{}",
      method,
      target,
      contentType,
      body.size(),
      body );
}

} // namespace

std::string
defaultSocket() {
   return defaultSocket( Surroundings::current() );
}

std::string
defaultSocket( Surroundings surroundings ) {
   // A host that the same user has started.
   surroundings.isRoot = surroundings.isRoot && surroundings.runtimeDirectory.empty();
   Config const config = defaultConfig( surroundings );
   std::string const& own = std::get< UnixEndpoint >( config.listen.front() ).path;
   return access( own.c_str(), F_OK ) == 0 ? own : std::string( machinesSocket );
}

std::string
escapedSegment( std::string_view text ) {
   std::string escaped;
   for ( char const c : text ) {
      bool const isPlain = ( c >= '0' && c <= '9' ) || ( c >= 'a' && c <= 'z' ) ||
         ( c >= 'A' && c <= 'Z' ) || c == '-' || c == '.' || c == '_' || c == '~' ||
         c == ':';
      escaped += isPlain ? std::string( 1, c )
                         : fmt::format( "%{:02X}", static_cast< unsigned char >( c ) );
   }
   return escaped;
}

void
HostConnection::fail( std::string_view why ) const {
   throw Failure(
      ExitStatus::failed,
      fmt::format(
         "{}: {}: {}: expected a host that listens there", command_, socket_, why ) );
}

void
HostConnection::failByErrno() const {
   bool const isSilent = errno == EAGAIN;
   fail(
      isSilent ? fmt::format( "no answer for {} s", secondsOf( patience_ ) )
               : std::strerror( errno ) );
}

void
HostConnection::refuse( int status, std::string_view body ) const {
   Json const json = Json::parse( body, nullptr, false );
   Json const error = json.is_object() ? json.value( "error", Json() ) : Json();
   auto const part = [ &error ]( char const* name ) {
      bool const isThere = error.is_object() && error.contains( name );
      return isThere && error[ name ].is_string() ? error[ name ].get< std::string >() : "";
   };
   Complaint const complaint{ part( "where" ), part( "found" ), part( "expected" ) };
   throw Failure(
      status < 500 ? ExitStatus::badInput : ExitStatus::failed,
      error.is_object() ? fmt::format(
                             "{}: {}{}{}: expected {}",
                             command_,
                             complaint.where,
                             complaint.where.empty() ? "" : ": ",
                             complaint.found,
                             complaint.expected )
                        : fmt::format( "{}: the host answers {}", command_, status ),
      complaint );
}

struct HostConnection::Answer {
   Head head;
   std::string body;
};

HostConnection::Answer
HostConnection::askOnce( std::string const& request ) const {
   Descriptor const connection( socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 ) );
   connection.patienceIs( patience_ );
   if ( !connection.connectTo( socket_ ) || !connection.send( request ) ) {
      failByErrno();
   }
   std::string answer;
   ssize_t count = 0;
   while ( ( count = connection.receive( answer ) ) > 0 ) {}
   if ( count == -1 && errno == EAGAIN ) {
      failByErrno();
   }
   auto const head = takeHead( answer );
   if ( !head ) {
      fail( "no answer" );
   }
   if ( head->length && answer.size() != *head->length ) {
      fail( "half an answer" );
   }
   return { *head, std::move( answer ) };
}

// Who is told to ask again later does so.
std::string
HostConnection::answerTo( std::string const& request ) const {
   auto const end = std::chrono::steady_clock::now() + patience_;
   for ( ;; ) {
      Answer answer = askOnce( request );
      if ( answer.head.status == 200 ) {
         return std::move( answer.body );
      }
      auto const wait = answer.head.retryAfter;
      if ( !wait || std::chrono::steady_clock::now() + *wait > end ) {
         refuse( answer.head.status, answer.body );
      }
      std::this_thread::sleep_for( *wait );
   }
}

Json
HostConnection::jsonAnswerTo( std::string const& request ) const {
   Json json = parsedJson( answerTo( request ) );
   if ( json.is_discarded() ) {
      fail( "half an answer" );
   }
   return json;
}

Json
HostConnection::get( std::string const& target ) const {
   return jsonAnswerTo( getRequest( target ) );
}

Json
HostConnection::patch( std::string const& target, Json const& patch ) const {
   return jsonAnswerTo(
      requestWith( "PATCH", target, "application/merge-patch+json", patch ) );
}

std::string
HostConnection::post( std::string const& target, Json const& body ) const {
   return answerTo( requestWith( "POST", target, "application/json", body ) );
}

void
HostConnection::forEachLine(
   std::string const& target,
   std::function< bool( std::string_view ) > const& take ) const {
   Descriptor const connection( socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 ) );
   if ( !connection.connectTo( socket_ ) || !connection.send( getRequest( target ) ) ) {
      failByErrno();
   }
   std::string text;
   std::optional< Head > head;
   bool isMore = true;
   while ( isMore ) {
      ssize_t const count = connection.receive( text );
      if ( count == -1 ) {
         failByErrno();
      }
      isMore = count > 0;
      if ( !head ) {
         head = takeHead( text );
      }
      bool const isGood = head && head->status == 200;
      std::size_t begin = 0;
      for ( std::size_t end = 0; isGood && ( end = text.find( '\n', begin ) ) != text.npos;
            begin = end + 1 ) {
         if ( !take( std::string_view( text ).substr( begin, end - begin ) ) ) {
            return;
         }
      }
      text.erase( 0, begin );
   }
   if ( !head ) {
      fail( "no answer" );
   }
   if ( head->status != 200 ) {
      refuse( head->status, text );
   }
}

} // namespace ostra
