// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What is said on a pipe that nobody reads keeps nobody waiting.

#include <host/cli/ErrorLines>

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace {

class ErrorLinesTest : public testing::Test {
 protected:
   ErrorLinesTest() {
      EXPECT_EQ( pipe( ends.data() ), 0 );
      fcntl( ends[ 0 ], F_SETFL, O_NONBLOCK );
   }
   ~ErrorLinesTest() override {
      close( ends[ 0 ] );
      close( ends[ 1 ] );
   }

   std::string read() const {
      std::string text;
      std::array< char, 65536 > buffer;
      for ( ssize_t n = 0;
            ( n = ::read( ends[ 0 ], buffer.data(), buffer.size() ) ) > 0; ) {
         text.append( buffer.data(), static_cast< std::size_t >( n ) );
      }
      return text;
   }

   std::array< int, 2 > ends{ -1, -1 };
};

} // namespace

TEST_F( ErrorLinesTest, AreLinesWithWhoseTheyAre ) {
   ostra::ErrorLines lines( ends[ 1 ] );
   lines.say( "one" );
   lines.say( "two\n" );
   EXPECT_EQ( read(), "ostra: one\nostra: two\\x0a\n" );
}

TEST_F( ErrorLinesTest, ThatNobodyTakesAreLeftOutAndCounted ) {
   ostra::ErrorLines lines( ends[ 1 ] );
   std::string const longest( 2 * PIPE_BUF, 'x' );
   for ( int i = 0; i < 100; ++i ) {
      lines.say( longest );
   }
   std::string const taken = read();
   std::size_t const count = taken.size() / PIPE_BUF;
   EXPECT_EQ( taken.size() % PIPE_BUF, 0U );
   EXPECT_LT( count, 100U );
   lines.say( "again" );
   EXPECT_EQ(
      read(),
      "ostra: " + std::to_string( 100 - count ) +
         " lines were left out, because nobody took them\nostra: again\n" );
   lines.say( "and again" );
   EXPECT_EQ( read(), "ostra: and again\n" );
}

TEST_F( ErrorLinesTest, ThatAreTooLongAreCut ) {
   ostra::ErrorLines lines( ends[ 1 ] );
   lines.say( std::string( 2 * PIPE_BUF, 'x' ) );
   std::string const text = read();
   EXPECT_EQ( text.size(), std::size_t( PIPE_BUF ) );
   EXPECT_EQ( text.back(), '\n' );
}
