// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "TestServer"

#include <fmt/format.h>

#include <cstring>

#include <event2/event.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace ostra::http {

namespace {

// Ends a test that waits in vain. A machine that has much else to do needs less.
constexpr auto longestTest = std::chrono::minutes( 10 );

int
connected( sockaddr const* address, socklen_t length ) {
   int const descriptor = socket( address->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0 );
   EXPECT_EQ( connect( descriptor, address, length ), 0 ) << std::strerror( errno );
   return descriptor;
}

int
tcpDescriptor( unsigned short port ) {
   sockaddr_in address{};
   address.sin_family = AF_INET;
   address.sin_addr.s_addr = htonl( INADDR_LOOPBACK );
   address.sin_port = htons( port );
   return connected( reinterpret_cast< sockaddr* >( &address ), sizeof address );
}

int
unixDescriptor( std::string const& path ) {
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   path.copy( address.sun_path, sizeof address.sun_path - 1 );
   return connected( reinterpret_cast< sockaddr* >( &address ), sizeof address );
}

Json
echoOf( Request const& request ) {
   Json query = Json::array();
   for ( auto const& [ name, value ] : request.query ) {
      query.push_back( { name, value } );
   }
   return { { "method", request.method },
            { "path", request.path },
            { "query", query },
            { "body", request.body } };
}

void
addRoutes( EchoServer& echo ) {
   auto const echoes = []( Request const& request, Reply const& reply ) {
      reply.send( jsonResponse( echoOf( request ) ) );
   };
   echo.server.add( { "GET", "/echo/**", echoes } );
   echo.server.add( { "POST", "/echo/**", echoes, Access::read, { "application/json" } } );
   echo.server.add( { "PATCH",
                      "/state",
                      [ &echo ]( Request const&, Reply const& reply ) {
                         ++echo.writes;
                         reply.send( jsonResponse( { { "revision", echo.writes } } ) );
                      },
                      Access::write,
                      { "application/json", "application/merge-patch+json" } } );
   echo.server.add( { "GET", "/stream", [ &echo ]( Request const&, Reply const& reply ) {
                        echo.replies.push_back( reply );
                        Stream stream{ {}, [ &echo ] { return echo.next(); }, ":\n\n" };
                        stream.head.contentType = eventStreamType;
                        reply.send( std::move( stream ) );
                     } } );
   echo.server.add( { "GET", "/later", [ &echo ]( Request const&, Reply const& reply ) {
                        echo.replies.push_back( reply );
                     } } );
   echo.server.add( { "GET", "/never", []( Request const&, Reply const& ) {} } );
   echo.server.add( { "GET", "/throws", []( Request const&, Reply const& ) {
                        throw std::runtime_error( "out of paper" );
                     } } );
   echo.server.add( { "GET", "/big", []( Request const&, Reply const& reply ) {
                        reply.send(
                           textResponse( "text/plain", std::string( 4U << 20, 'x' ) ) );
                     } } );
}

} // namespace

TestLoop::TestLoop()
      : base_( event_base_new() ),
        tick_( event_new(
           base_, -1, EV_PERSIST, []( int, short, void* ) {}, nullptr ) ) {
   timeval const second{ 1, 0 };
   event_add( tick_, &second );
}

TestLoop::~TestLoop() {
   event_free( tick_ );
   event_base_free( base_ );
}

void
TestLoop::turn() {
   event_base_loop( base_, EVLOOP_ONCE );
   if ( turnEnd ) {
      turnEnd();
   }
}

bool
TestLoop::isOver() const {
   return std::chrono::steady_clock::now() - start_ > longestTest;
}

TestClient::TestClient( TestLoop& loop, unsigned short port )
      : loop_( loop ), descriptor_( tcpDescriptor( port ) ) {}

TestClient::TestClient( TestLoop& loop, std::string const& path )
      : loop_( loop ), descriptor_( unixDescriptor( path ) ) {}

TestClient::TestClient( TestClient&& other ) noexcept
      : loop_( other.loop_ ),
        descriptor_( std::exchange( other.descriptor_, -1 ) ),
        readable_( std::exchange( other.readable_, nullptr ) ),
        received_( std::move( other.received_ ) ),
        isEnded_( other.isEnded_ ) {}

TestClient::~TestClient() {
   if ( readable_ ) {
      event_free( readable_ );
   }
   if ( descriptor_ != -1 ) {
      close( descriptor_ );
   }
}

TestClient&
TestClient::send( std::string_view text ) {
   while ( !text.empty() && !loop_.isOver() ) {
      ssize_t const sent =
         ::send( descriptor_, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL );
      if ( sent >= 0 ) {
         text.remove_prefix( static_cast< std::size_t >( sent ) );
      } else if ( errno == EAGAIN ) {
         event_base_loop( loop_.base(), EVLOOP_NONBLOCK );
      } else {
         break;
      }
   }
   return *this;
}

TestClient&
TestClient::finish() {
   shutdown( descriptor_, SHUT_WR );
   return *this;
}

bool
TestClient::receive() {
   if ( !readable_ ) {
      readable_ = event_new(
         loop_.base(), descriptor_, EV_READ, []( int, short, void* ) {}, nullptr );
   }
   std::string buffer( 1U << 16, '\0' );
   while ( !isEnded_ && !loop_.isOver() ) {
      ssize_t const count = recv( descriptor_, buffer.data(), buffer.size(), MSG_DONTWAIT );
      if ( count > 0 ) {
         received_.append( buffer, 0, static_cast< std::size_t >( count ) );
         return true;
      }
      if ( count == -1 && errno == EAGAIN ) {
         event_add( readable_, nullptr );
         loop_.turn();
      } else {
         EXPECT_EQ( count, 0 ) << std::strerror( errno );
         isEnded_ = true;
      }
   }
   EXPECT_FALSE( loop_.isOver() ) << "nothing comes after: " << received_;
   isEnded_ = true;
   return false;
}

std::string
TestClient::readAll() {
   while ( receive() ) {}
   return std::exchange( received_, {} );
}

std::string
TestClient::readUntil( std::string_view text ) {
   std::size_t found = 0;
   while ( ( found = received_.find( text ) ) == received_.npos ) {
      if ( !receive() ) {
         return std::exchange( received_, {} );
      }
   }
   std::string const before = received_.substr( 0, found + text.size() );
   received_.erase( 0, before.size() );
   return before;
}

std::string
TestClient::readAnswer() {
   std::string answer = readUntil( "\r\n\r\n" );
   constexpr std::string_view name = "Content-Length: ";
   std::size_t const at = answer.find( name );
   if ( at == answer.npos ) {
      return answer;
   }
   std::size_t const length = std::stoul( answer.substr( at + name.size() ) );
   while ( received_.size() < length && receive() ) {}
   answer += received_.substr( 0, length );
   received_.erase( 0, length );
   return answer;
}

bool
TestClient::hasSomething() const {
   char octet = 0;
   return !received_.empty() ||
      recv( descriptor_, &octet, 1, MSG_PEEK | MSG_DONTWAIT ) >= 0;
}

int
statusOf( std::string const& answer ) {
   constexpr std::string_view version = "HTTP/1.1 ";
   return answer.starts_with( version ) ? std::stoi( answer.substr( version.size() ) ) : 0;
}

std::string
bodyOf( std::string const& answer ) {
   std::size_t const end = answer.find( "\r\n\r\n" );
   return end == answer.npos ? answer : answer.substr( end + 4 );
}

std::string
outputOf( TestLoop& loop, std::string const& command ) {
   FILE* const pipe = popen( command.c_str(), "r" );
   int const descriptor = fileno( pipe );
   event* const readable = event_new(
      loop.base(), descriptor, EV_READ, []( int, short, void* ) {}, nullptr );
   std::string output;
   std::string buffer( 4096, '\0' );
   while ( !loop.isOver() ) {
      event_add( readable, nullptr );
      loop.turn();
      if ( event_pending( readable, EV_READ, nullptr ) != 0 ) {
         continue;
      }
      ssize_t const count = ::read( descriptor, buffer.data(), buffer.size() );
      if ( count <= 0 ) {
         break;
      }
      output.append( buffer, 0, static_cast< std::size_t >( count ) );
   }
   event_free( readable );
   pclose( pipe );
   return output;
}

EchoServer::EchoServer( Limits const& limits ) : server( loop.base(), limits ) {
   static TemporaryDirectory const directory;
   static int count = 0;
   path = fmt::format( "{}/{}.sock", directory.path(), count++ );
   server.tokenIs( "open sesame" );
   ListeningSocket tcp( TcpEndpoint{ "127.0.0.1", 0 } );
   port = tcp.port();
   server.listen( std::move( tcp ) );
   server.listen( ListeningSocket( UnixEndpoint{ path } ) );
   addRoutes( *this );
}

std::string
EchoServer::answerTo( std::string_view request ) {
   return client().send( request ).readAnswer();
}

std::string
EchoServer::get( std::string const& target ) {
   return answerTo( fmt::format( "GET {} HTTP/1.1\r\nHost: localhost\r\n\r\n", target ) );
}

} // namespace ostra::http
