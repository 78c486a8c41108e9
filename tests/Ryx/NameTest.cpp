// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Name>

#include <gtest/gtest.h>

#include <sstream>

namespace {

using Ryx::Name;

TEST( Name, IsMadeOfAnyText ) {
   EXPECT_EQ( Name( "a" ), Name( Ryx::String8( "a" ) ) );
   EXPECT_EQ( Name( "a" ), Name( std::string_view( "a" ) ) );
   EXPECT_EQ( Name( "a" ).string(), "a" );
   EXPECT_TRUE( Name().empty() );
   EXPECT_FALSE( Name( "a" ).empty() );
}

TEST( Name, IsComparedByItsText ) {
   EXPECT_NE( Name( "a" ), Name( "A" ) );
   EXPECT_LT( Name( "a" ), Name( "b" ) );
   EXPECT_LT( Name(), Name( "a" ) );
}

TEST( Name, IsPrintedAsItStands ) {
   std::ostringstream out;
   out << Name( "Test::Port" );
   EXPECT_EQ( out.str(), "Test::Port" );
}

TEST( Name, TheHashOfATextIsTheSameInEveryProcess ) {
   EXPECT_EQ( Ryx::hash( "" ), 0x811c9dc5u );
   EXPECT_EQ( Ryx::hash( "a" ), 0xe40c292cu );
   EXPECT_EQ( Ryx::hash( "foobar" ), 0xbf9cf968u );
}

} // namespace
