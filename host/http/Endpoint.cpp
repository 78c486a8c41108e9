// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/http/Endpoint>

#include <host/base/Failure>

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include <arpa/inet.h>
#include <grp.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace ostra::http {

namespace {

constexpr int backlog = 1024;
constexpr char somebodyListens[] = "another process listens there";

// The address with its length.
struct Address {
   sockaddr_storage storage{};
   socklen_t length = 0;

   sockaddr* get() noexcept { return reinterpret_cast< sockaddr* >( &storage ); }
};

// The length is 0 when the path is too long for one.
Address
unixAddress( std::string const& path ) {
   Address address;
   sockaddr_un unixAddress{};
   unixAddress.sun_family = AF_UNIX;
   if ( path.size() < sizeof unixAddress.sun_path ) {
      std::memcpy( unixAddress.sun_path, path.c_str(), path.size() + 1 );
      std::memcpy( &address.storage, &unixAddress, sizeof unixAddress );
      address.length = sizeof unixAddress;
   }
   return address;
}

// The length is 0 when the text is none.
Address
tcpAddress( TcpEndpoint const& endpoint ) {
   Address address;
   sockaddr_in v4{};
   sockaddr_in6 v6{};
   v4.sin_family = AF_INET;
   v6.sin6_family = AF_INET6;
   v4.sin_port = htons( endpoint.port );
   v6.sin6_port = htons( endpoint.port );
   if ( inet_pton( AF_INET, endpoint.address.c_str(), &v4.sin_addr ) == 1 ) {
      std::memcpy( &address.storage, &v4, sizeof v4 );
      address.length = sizeof v4;
   } else if ( inet_pton( AF_INET6, endpoint.address.c_str(), &v6.sin6_addr ) == 1 ) {
      std::memcpy( &address.storage, &v6, sizeof v6 );
      address.length = sizeof v6;
   }
   return address;
}

int
makeSocket( int family ) {
   return socket( family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0 );
}

bool
isListenedTo( Address& address ) {
   int const probe = makeSocket( AF_UNIX );
   // Behind a full queue somebody listens, too.
   bool const is = connect( probe, address.get(), address.length ) == 0 || errno == EAGAIN;
   close( probe );
   return is;
}

// At once after another process that has had the address.
bool
bindTo( int descriptor, Address& address ) {
   int const on = 1;
   setsockopt( descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on );
   return bind( descriptor, address.get(), address.length ) == 0;
}

// Makes the directory if it is missing, and none above it: if that fails, bind() says what
// is wrong.
void
makeDirectoryOf( std::string const& path ) {
   std::size_t const slash = path.rfind( '/' );
   if ( slash != path.npos && slash != 0 ) {
      mkdir( path.substr( 0, slash ).c_str(), 0755 );
   }
}

} // namespace

std::string
nameOf( UnixEndpoint const& endpoint ) {
   return endpoint.path;
}

std::string
nameOf( TcpEndpoint const& endpoint ) {
   auto const& [ address, port ] = endpoint;
   bool const isV6 = address.find( ':' ) != address.npos;
   return isV6 ? fmt::format( "[{}]:{}", address, port )
               : fmt::format( "{}:{}", address, port );
}

ListeningSocket::ListeningSocket( UnixEndpoint const& endpoint )
      : name_( nameOf( endpoint ) ) {
   openUnix( endpoint );
}

ListeningSocket::ListeningSocket( TcpEndpoint const& endpoint )
      : name_( nameOf( endpoint ) ) {
   openTcp( endpoint );
   name_ = nameOf( TcpEndpoint{ endpoint.address, port() } );
}

ListeningSocket::ListeningSocket( ListeningSocket&& other ) noexcept
      : name_( std::move( other.name_ ) ),
        path_( std::exchange( other.path_, {} ) ),
        device_( other.device_ ),
        inode_( other.inode_ ),
        descriptor_( std::exchange( other.descriptor_, -1 ) ) {}

ListeningSocket::~ListeningSocket() {
   takeAway();
}

void
ListeningSocket::takeAway() const noexcept {
   if ( descriptor_ != -1 ) {
      close( descriptor_ );
   }
   struct stat now {};
   bool const isOurs = !path_.empty() && lstat( path_.c_str(), &now ) == 0 &&
      now.st_dev == device_ && now.st_ino == inode_;
   if ( isOurs ) {
      unlink( path_.c_str() );
   }
}

void
ListeningSocket::fail( std::string_view why ) const {
   // The constructor throws, so the destructor does not run and cannot do this.
   takeAway();
   throw Failure(
      ExitStatus::failed, fmt::format( "cannot listen on {}: {}", name_, why ) );
}

void
ListeningSocket::failByErrno() const {
   std::string const why = std::strerror( errno );
   fail( why );
}

void
ListeningSocket::openUnix( UnixEndpoint const& endpoint ) {
   Address address = unixAddress( endpoint.path );
   if ( address.length == 0 ) {
      fail( "expected a path of at most 107 octets" );
   }
   struct stat found {};
   if ( lstat( endpoint.path.c_str(), &found ) == 0 ) {
      if ( !S_ISSOCK( found.st_mode ) ) {
         fail( "something else than a socket is there" );
      }
      if ( isListenedTo( address ) ) {
         fail( somebodyListens );
      }
      unlink( endpoint.path.c_str() );
   }
   makeDirectoryOf( endpoint.path );
   // Nobody can connect before the file has its mode, group and queue.
   descriptor_ = makeSocket( AF_UNIX );
   mode_t const mask = umask( 0177 );
   int const bound = bind( descriptor_, address.get(), address.length );
   int const error = errno;
   umask( mask );
   if ( bound != 0 ) {
      errno = error;
      failByErrno();
   }
   stat( endpoint.path.c_str(), &found );
   device_ = found.st_dev;
   inode_ = found.st_ino;
   path_ = endpoint.path;
   giveTo( endpoint.group );
   int const changed = chmod( path_.c_str(), endpoint.mode );
   if ( changed != 0 || listen( descriptor_, backlog ) != 0 ) {
      failByErrno();
   }
}

bool
isGroup( std::string const& groupName ) {
   return getgrnam( groupName.c_str() ) != nullptr;
}

std::string
whyTaken( UnixEndpoint const& endpoint ) {
   Address address = unixAddress( endpoint.path );
   return address.length != 0 && isListenedTo( address ) ? somebodyListens : "";
}

std::string
whyTaken( TcpEndpoint const& endpoint ) {
   Address address = tcpAddress( endpoint );
   int const descriptor = makeSocket( address.storage.ss_family );
   bool const isBound = bindTo( descriptor, address );
   std::string why = isBound ? "" : std::strerror( errno );
   close( descriptor );
   return why;
}

void
ListeningSocket::giveTo( std::string const& groupName ) {
   if ( groupName.empty() ) {
      return;
   }
   group const* const entry = getgrnam( groupName.c_str() );
   if ( !entry ) {
      fail( fmt::format( "no group is called {}", inQuotes( groupName ) ) );
   }
   if ( chown( path_.c_str(), static_cast< uid_t >( -1 ), entry->gr_gid ) != 0 ) {
      failByErrno();
   }
}

void
ListeningSocket::openTcp( TcpEndpoint const& endpoint ) {
   Address address = tcpAddress( endpoint );
   if ( address.length == 0 ) {
      fail( "expected an address" );
   }
   descriptor_ = makeSocket( address.storage.ss_family );
   if ( !bindTo( descriptor_, address ) || listen( descriptor_, backlog ) != 0 ) {
      failByErrno();
   }
}

unsigned short
ListeningSocket::port() const noexcept {
   Address address;
   address.length = sizeof address.storage;
   getsockname( descriptor_, address.get(), &address.length );
   // At the same place in both families.
   sockaddr_in v4{};
   std::memcpy( &v4, &address.storage, sizeof v4 );
   return ntohs( v4.sin_port );
}

} // namespace ostra::http
