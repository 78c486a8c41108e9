// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A machine that is still there, and is woken, when the process has begun to end and what its
// unit declares has gone.

#include "SwitchFixture"

#include <cstdlib>

namespace {

MlagErrdisableSm* machineAtExit = nullptr;

class CountedMessages final : public Ryx::LogSink {
 public:
   void log( Ryx::LogRecord const& ) override { ++count; }

   int count = 0;
};

// Is made before what the machine's unit declares, and goes after it.
class Last final {
 public:
   Last() = default;
   Last( Last const& ) = delete;
   Last& operator=( Last const& ) = delete;
   ~Last() {
      if ( machineAtExit ) {
         CountedMessages messages;
         Ryx::logSinkIs( &messages );
         machineAtExit->handleClockMlag();
         std::_Exit( messages.count );
      }
   }
};

[[gnu::init_priority( 101 )]] Last const last;

using SmAtExitDeathTest = SwitchFixture;

TEST_F( SmAtExitDeathTest, LogsNothingOnceTheProcessHasBegunToEnd ) {
   configureMlag();
   start();
   auto const wake = [ this ] {
      machineAtExit = sm.ptr();
      timeIs( 225 );
      std::exit( 1 );
   };
   EXPECT_EXIT( wake(), testing::ExitedWithCode( 0 ), "" );
}

} // namespace
