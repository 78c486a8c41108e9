// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Play"

#include <host/input/File>

#include <gtest/gtest.h>

using ostra::Failure;

TEST( File, UnreadableOneIsNamedWithTheReason ) {
   try {
      ostra::readFile( "/nonexistent/x.yaml" );
      FAIL();
   } catch ( Failure const& failure ) {
      EXPECT_STREQ(
         failure.what(), "/nonexistent/x.yaml: cannot be read: No such file or directory" );
      EXPECT_EQ( failure.status(), ostra::ExitStatus::badInput );
   }
}

TEST( File, OneWithoutEndIsRefusedAtTheGreatestLength ) {
   try {
      ostra::readFile( "/dev/zero", 2 * ostra::mebibyte );
      FAIL();
   } catch ( Failure const& failure ) {
      EXPECT_STREQ(
         failure.what(),
         "/dev/zero: longer than 2 MiB: expected at most that, or a greater --max-input" );
      EXPECT_EQ( failure.status(), ostra::ExitStatus::badInput );
   }
}

TEST( File, OneOfTheGreatestLengthIsRead ) {
   std::string const content( 100000, 'x' );
   std::string const path = ostra::temporaryFile( "long", content );
   EXPECT_EQ( ostra::readFile( path, content.size() ).text, content );
   EXPECT_THROW( ostra::readFile( path, content.size() - 1 ), Failure );
   EXPECT_EQ( ostra::readFile( ostra::temporaryFile( "none", "" ) ).text, "" );
}

// Whoever looks at how a text begins, as for a recorded stream, is to see it.
TEST( File, ByteOrderMarkIsNoPartOfTheText ) {
   std::string const path = ostra::temporaryFile( "mark", "\xef\xbb\xbf{\"t\":0}" );
   EXPECT_EQ( ostra::readFile( path ).text, R"({"t":0})" );
}
