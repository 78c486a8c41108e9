// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/Cli>

#include <host/base/Failure>
#include <host/base/OutOfMemory>
#include <host/base/OutputBuffer>
#include <host/cli/CommandLine>

#include <fmt/format.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <iostream>

#include <fcntl.h>
#include <unistd.h>

namespace ostra {

namespace {

int
complain( ExitStatus status, std::string const& line ) {
   std::cerr << oneLine( line ) << '\n';
   return static_cast< int >( status );
}

// Does what the command line says and returns the exit status, with the complaint made.
int
execute( int argc, char** argv, std::ostream& out ) {
   CommandLine line;
   try {
      line.parse( argc, argv );
      line.execute( out );
      return 0;
   } catch ( CLI::ParseError const& error ) {
      if ( error.get_exit_code() != 0 ) {
         return complain( ExitStatus::badInput, fmt::format( "ostra: {}", error.what() ) );
      }
      line.answer( error, out );
      return 0;
   } catch ( Failure const& failure ) {
      out.flush();
      return complain( failure.status(), failure.what() );
   } catch ( std::bad_alloc const& ) {
      // Of a library that does not use operator new.
      out.flush();
      return complain( ExitStatus::failed, "ostra: out of memory" );
   } catch ( std::exception const& error ) {
      out.flush();
      return complain( ExitStatus::failed, fmt::format( "ostra: {}", error.what() ) );
   }
}

// What is opened later must not come to stand where a closed standard stream is looked for:
// each of those is given something that can only be used the other way.
void
fillClosedStreams() {
   for ( int const stream : { STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO } ) {
      if ( fcntl( stream, F_GETFD ) == -1 ) {
         // The lowest number that is free is the stream's.
         open( "/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY );
      }
   }
}

} // namespace

int
runCommandLine( int argc, char** argv ) {
   fillClosedStreams();
   std::signal( SIGPIPE, SIG_IGN );
   OutputBuffer buffer( STDOUT_FILENO );
   OutOfMemory const outOfMemory( buffer );
   std::ostream out( &buffer );
   int const status = execute( argc, argv, out );
   out.flush();
   // The reader of the output may have gone, which is no failure.
   if ( buffer.error() == 0 || buffer.error() == EPIPE ) {
      return status;
   }
   return complain(
      ExitStatus::failed,
      fmt::format( "ostra: cannot write: {}", std::strerror( buffer.error() ) ) );
}

} // namespace ostra
