// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/PortsText>

#include <gtest/gtest.h>

#include <limits>

namespace ostra {

TEST( PortsText, FillsInTheTimeThatIsLeft ) {
   PortsText text;
   text.add( "[" );
   text.addRemaining( 20.5 );
   text.add( "," );
   text.addSecondsLeft( 20.5 );
   text.add( "," );
   text.addRemaining( 30 );
   text.add( "," );
   text.addRemaining( std::numeric_limits< double >::infinity() );
   text.add( "]" );
   EXPECT_EQ( text.at( 0.25 ), "[20.25,21,29.75,null]" );
   EXPECT_EQ( text.at( 20.4999 ), "[0,0,9.5,null]" );
   EXPECT_EQ( text.at( 25 ), "[0,0,5,null]" );
   EXPECT_EQ( PortsText().at( 1 ), "" );
}

} // namespace ostra
