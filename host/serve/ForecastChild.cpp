// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/ForecastChild>

#include <host/base/Failure>

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <new>
#include <streambuf>
#include <string_view>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ostra {

namespace {

// Where the child writes; it has nothing else open.
constexpr int wayOut = 0;
// How much waits for the process to read it, in octets.
constexpr int pipeSize = 1 << 20;

// No destructor and no handler runs: all of it belongs to the process that was copied.
[[noreturn]] void
end( ForecastEnd how ) {
   _exit( static_cast< int >( how ) );
}

void
writeOut( std::string_view text ) {
   while ( !text.empty() ) {
      ssize_t const written = ::write( wayOut, text.data(), text.size() );
      if ( written < 0 && errno != EINTR ) {
         end( ForecastEnd::alone );
      }
      text.remove_prefix( static_cast< std::size_t >( written < 0 ? 0 : written ) );
   }
}

class PipeBuffer final : public std::streambuf {
 public:
   PipeBuffer() { setp( buffer_.data(), buffer_.data() + buffer_.size() ); }

 protected:
   int_type overflow( int_type c ) override {
      sync();
      return traits_type::eq_int_type( c, traits_type::eof() )
         ? traits_type::not_eof( c )
         : sputc( traits_type::to_char_type( c ) );
   }
   int sync() override {
      writeOut( { pbase(), static_cast< std::size_t >( pptr() - pbase() ) } );
      setp( buffer_.data(), buffer_.data() + buffer_.size() );
      return 0;
   }

 private:
   std::array< char, 1U << 16 > buffer_;
};

// In octets; 0 when nobody says.
std::size_t
presentMemory() {
   std::array< char, 128 > text{};
   int const file = open( "/proc/self/statm", O_RDONLY | O_CLOEXEC );
   ssize_t const count = file < 0 ? -1 : ::read( file, text.data(), text.size() - 1 );
   if ( file >= 0 ) {
      close( file );
   }
   return count <= 0 ? 0
                     : std::strtoull( text.data(), nullptr, 10 ) *
         static_cast< std::size_t >( sysconf( _SC_PAGESIZE ) );
}

void
limit( __rlimit_resource_t resource, std::size_t amount ) {
   rlimit const both{ amount, amount };
   setrlimit( resource, &both );
}

void
limitChild( ForecastLimits const& limits ) {
   if ( std::size_t const present = presentMemory(); present != 0 ) {
      limit( RLIMIT_AS, present + limits.memory );
   }
   // Where the two are the same it is killed, and nobody knows why.
   auto const work = static_cast< rlim_t >( limits.work.count() );
   rlimit const processor{ work, work + 1 };
   setrlimit( RLIMIT_CPU, &processor );
   limit( RLIMIT_CORE, 0 );
}

// Nobody who carries traffic is to wait for a forecast, or to end when memory is short.
void
giveWay( ForecastLimits const& limits ) {
   setpriority( PRIO_PROCESS, 0, getpriority( PRIO_PROCESS, 0 ) + limits.nice );
   int const file = open( "/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC );
   if ( file >= 0 ) {
      constexpr std::string_view first = "1000";
      ssize_t const written = ::write( file, first.data(), first.size() );
      // Where it may not be said it is not said.
      static_cast< void >( written );
      close( file );
   }
}

void
closeAllBut( int output ) {
   dup2( output, wayOut );
   closefrom( wayOut + 1 );
   // Two more: sanitizers look through a pipe whether there is memory at an address.
   limit( RLIMIT_NOFILE, wayOut + 3 );
}

void
forgetSignals() {
   for ( int number = 1; number < NSIG; ++number ) {
      std::signal( number, SIG_DFL );
   }
   sigset_t none;
   sigemptyset( &none );
   sigprocmask( SIG_SETMASK, &none, nullptr );
}

[[noreturn]] void
failProcess( int error ) {
   throw Failure(
      ExitStatus::failed, fmt::format( "no process: {}", std::strerror( error ) ) );
}

// It has done next to nothing yet, so that it is over at once.
void
killNew( pid_t pid ) noexcept {
   kill( pid, SIGKILL );
   waitpid( pid, nullptr, 0 );
}

// Throws Failure.
int
endOf( pid_t pid ) {
   // The C library's own function is declared for C alone.
   auto const end = static_cast< int >( syscall( SYS_pidfd_open, pid, 0 ) );
   if ( end < 0 ) {
      int const error = errno;
      killNew( pid );
      failProcess( error );
   }
   return end;
}

[[noreturn]] void
play( CopyWork const& work ) noexcept {
   std::set_new_handler( [] { end( ForecastEnd::outOfMemory ); } );
   PipeBuffer buffer;
   std::ostream out( &buffer );
   try {
      work( out );
   } catch ( std::exception const& error ) {
      out << '\0' << error.what() << std::flush;
      end( ForecastEnd::failed );
   }
   out.flush();
   end( ForecastEnd::completed );
}

} // namespace

ForecastChild
startForecast( CopyWork const& work, ForecastLimits const& limits ) {
   int ends[ 2 ];
   if ( pipe2( ends, O_CLOEXEC ) != 0 ) {
      throw Failure(
         ExitStatus::failed, fmt::format( "no pipe: {}", std::strerror( errno ) ) );
   }
   fcntl( ends[ 0 ], F_SETFL, O_NONBLOCK );
   fcntl( ends[ 0 ], F_SETPIPE_SZ, pipeSize );
   // A handler of this process must not run in the child.
   sigset_t all;
   sigset_t before;
   sigfillset( &all );
   sigprocmask( SIG_BLOCK, &all, &before );
   pid_t const parent = getpid();
   pid_t const pid = fork();
   if ( pid == 0 ) {
      prctl( PR_SET_PDEATHSIG, SIGKILL );
      if ( getppid() != parent ) {
         end( ForecastEnd::alone );
      }
      // First: if the host is killed, the next one waits for what is open here, as the store.
      closeAllBut( ends[ 1 ] );
      limitChild( limits );
      giveWay( limits );
      forgetSignals();
      play( work );
   }
   int const error = errno;
   sigprocmask( SIG_SETMASK, &before, nullptr );
   close( ends[ 1 ] );
   try {
      if ( pid < 0 ) {
         failProcess( error );
      }
      return { { pid, endOf( pid ) }, ends[ 0 ] };
   } catch ( Failure const& ) {
      close( ends[ 0 ] );
      throw;
   }
}

void
endForecast( ForecastChild const& child ) noexcept {
   killNew( child.child.pid );
   close( child.child.end );
   close( child.output );
}

} // namespace ostra
