// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Play"

#include <host/http/Endpoint>

#include <gmock/gmock.h>

#include <fstream>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace ostra::http {

namespace {

std::string
socketPath() {
   static TemporaryDirectory const directory;
   static int count = 0;
   return directory.path() + "/" + std::to_string( count++ );
}

// A file of a socket on which nobody listens.
void
leaveStaleSocket( std::string const& path ) {
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   path.copy( address.sun_path, sizeof address.sun_path - 1 );
   int const descriptor = socket( AF_UNIX, SOCK_STREAM, 0 );
   ASSERT_EQ(
      bind( descriptor, reinterpret_cast< sockaddr* >( &address ), sizeof address ), 0 );
   close( descriptor );
}

std::string
failureOf( UnixEndpoint const& endpoint ) {
   try {
      ListeningSocket const socket( endpoint );
   } catch ( Failure const& failure ) {
      return failure.what();
   }
   return "";
}

} // namespace

TEST( HttpEndpoint, HasTheModeThatIsAskedFor ) {
   std::string const path = socketPath();
   ListeningSocket const socket( UnixEndpoint{ path, 0640 } );
   struct stat found {};
   ASSERT_EQ( stat( path.c_str(), &found ), 0 );
   EXPECT_EQ( found.st_mode & 07777, 0640U );
}

TEST( HttpEndpoint, MakesTheDirectoryThatIsMissingAndNoMore ) {
   std::string const path = socketPath();
   EXPECT_EQ( failureOf( { path + ".d/socket" } ), "" );
   EXPECT_EQ(
      failureOf( { path + ".e/e/socket" } ),
      "cannot listen on " + path + ".e/e/socket: No such file or directory" );
   EXPECT_FALSE( std::filesystem::exists( path + ".e" ) );
}

TEST( HttpEndpoint, RefusesAGroupThatThereIsNot ) {
   std::string const path = socketPath();
   EXPECT_EQ(
      failureOf( { path, 0660, "no-such-group" } ),
      "cannot listen on " + path + ": no group is called \"no-such-group\"" );
   EXPECT_FALSE( std::filesystem::exists( path ) );
}

TEST( HttpEndpoint, ReplacesASocketThatNobodyListensOn ) {
   std::string const path = socketPath();
   leaveStaleSocket( path );
   EXPECT_EQ( failureOf( { path } ), "" );
}

TEST( HttpEndpoint, RefusesASocketThatSomebodyListensOn ) {
   std::string const path = socketPath();
   ListeningSocket const first( UnixEndpoint{ path } );
   EXPECT_EQ(
      failureOf( { path } ),
      "cannot listen on " + path + ": another process listens there" );
   EXPECT_TRUE( std::filesystem::exists( path ) );
}

TEST( HttpEndpoint, LeavesWhatIsNoSocket ) {
   std::string const path = temporaryFile( "precious", "data" );
   EXPECT_EQ(
      failureOf( { path } ),
      "cannot listen on " + path + ": something else than a socket is there" );
   EXPECT_TRUE( std::filesystem::exists( path ) );
}

TEST( HttpEndpoint, RefusesALongPath ) {
   EXPECT_THAT(
      failureOf( { "/" + std::string( 200, 'x' ) } ),
      testing::HasSubstr( "expected a path of at most 107 octets" ) );
}

TEST( HttpEndpoint, TakesItsFileAwayAndNobodyElses ) {
   std::string const path = socketPath();
   {
      ListeningSocket const socket( UnixEndpoint{ path } );
      EXPECT_TRUE( std::filesystem::exists( path ) );
   }
   EXPECT_FALSE( std::filesystem::exists( path ) );
   {
      ListeningSocket const socket( UnixEndpoint{ path } );
      unlink( path.c_str() );
      std::ofstream( path ) << "another's";
   }
   EXPECT_TRUE( std::filesystem::exists( path ) );
}

TEST( HttpEndpoint, ReadsAddressesOfTheNetwork ) {
   EXPECT_EQ( tcpEndpoint( "127.0.0.1:8440" )->port, 8440 );
   EXPECT_EQ( tcpEndpoint( "[::1]:1" )->address, "::1" );
   EXPECT_EQ( tcpEndpoint( "localhost:1" )->address, "127.0.0.1" );
   for ( char const* text : { "",
                              "8440",
                              ":8440",
                              "127.0.0.1",
                              "127.0.0.1:",
                              "127.0.0.1:x",
                              "127.0.0.1:65536",
                              "::1:80",
                              "[127.0.0.1]:80",
                              "switch:80",
                              "1.2.3:80",
                              "127.0.0.1:-1" } ) {
      EXPECT_FALSE( tcpEndpoint( text ) ) << text;
   }
}

TEST( HttpEndpoint, KnowsItsNameAndPort ) {
   ListeningSocket const socket( TcpEndpoint{ "127.0.0.1", 0 } );
   EXPECT_EQ( socket.name(), "127.0.0.1:" + std::to_string( socket.port() ) );
   EXPECT_NE( socket.port(), 0 );
   EXPECT_THROW( ListeningSocket( TcpEndpoint{ "127.0.0.1", socket.port() } ), Failure );
}

} // namespace ostra::http
