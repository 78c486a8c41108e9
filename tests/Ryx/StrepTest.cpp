// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Values to text and back.

#include "Board"

#include <Ryx/Time>

#include <gtest/gtest.h>

#include <limits>

namespace {

using doubles::Mode;
using doubles::refusal;
using Ryx::strepToValue;
using Ryx::valueToStrep;

template< class T >
std::string
refused( std::string const& text ) {
   return refusal( [ & ] { strepToValue< T >( text ); } );
}

TEST( Strep, ParsesValuesOfTheBuiltInTypes ) {
   EXPECT_TRUE( strepToValue< bool >( "true" ) );
   EXPECT_TRUE( strepToValue< bool >( "1" ) );
   EXPECT_FALSE( strepToValue< bool >( "false" ) );
   EXPECT_FALSE( strepToValue< bool >( "0" ) );
   EXPECT_EQ( strepToValue< double >( "1.5" ), 1.5 );
   EXPECT_EQ( strepToValue< double >( "-2e3" ), -2000.0 );
   EXPECT_EQ( strepToValue< double >( "inf" ), Ryx::never );
   EXPECT_EQ( strepToValue< unsigned char >( "255" ), 255 );
   EXPECT_EQ( strepToValue< unsigned >( "4294967295" ), 4294967295u );
   EXPECT_EQ( strepToValue< int >( "-7" ), -7 );
   EXPECT_EQ( strepToValue< Ryx::String8 >( "any text, at all" ), "any text, at all" );
   EXPECT_EQ( strepToValue< Ryx::Name >( "a name" ), Ryx::Name( "a name" ) );
   EXPECT_EQ( strepToValue< Ryx::String8 >( "" ), "" );
}

TEST( Strep, ParsesAnEnumeratorByNameOrNumber ) {
   EXPECT_EQ( strepToValue< Mode >( "off" ), Mode::off );
   EXPECT_EQ( strepToValue< Mode >( "fast" ), Mode::fast );
   EXPECT_EQ( strepToValue< Mode >( "1" ), Mode::slow );
}

TEST( Strep, PrintingAndParsingAreInverse ) {
   for ( double const value : { 0.0,
                                0.1,
                                284.9999964,
                                -1e300,
                                std::numeric_limits< double >::denorm_min(),
                                std::numeric_limits< double >::max(),
                                Ryx::never,
                                -Ryx::never } ) {
      EXPECT_EQ( strepToValue< double >( valueToStrep( value ) ), value );
   }
   EXPECT_EQ( valueToStrep( true ), "true" );
   EXPECT_EQ( valueToStrep( false ), "false" );
   EXPECT_EQ( valueToStrep( Ryx::never ), "inf" );
   EXPECT_EQ( valueToStrep( 42u ), "42" );
   EXPECT_EQ( valueToStrep( static_cast< unsigned char >( 7 ) ), "7" );
   EXPECT_EQ( valueToStrep( -42 ), "-42" );
   EXPECT_EQ( valueToStrep( Ryx::String8( "text" ) ), "text" );
   EXPECT_EQ( valueToStrep( Ryx::Name( "name" ) ), "name" );
   EXPECT_EQ( valueToStrep( Mode::slow ), "slow" );
   EXPECT_EQ( valueToStrep( static_cast< Mode >( 9 ) ), "9" );
}

TEST( Strep, CharactersAfterTheValueAreJunk ) {
   EXPECT_EQ( refused< unsigned >( "12abc" ), "junk at column 2 deserializing 12abc" );
   EXPECT_EQ( refused< unsigned >( "12 " ), "junk at column 2 deserializing 12 " );
   EXPECT_EQ( refused< double >( "1.5.2" ), "junk at column 3 deserializing 1.5.2" );
   EXPECT_EQ( refused< bool >( "true!" ), "junk at column 4 deserializing true!" );
   EXPECT_EQ( refused< Mode >( "fast+" ), "junk at column 4 deserializing fast+" );
   EXPECT_EQ( refused< doubles::Supply >( "12 V" ), "junk at column 2 deserializing 12 V" );
}

TEST( Strep, CharactersAfterTheNumberOfAnEnumeratorOrABoolAreJunk ) {
   EXPECT_EQ( refused< bool >( "1x" ), "junk at column 1 deserializing 1x" );
   EXPECT_EQ( refused< bool >( "0_" ), "junk at column 1 deserializing 0_" );
   EXPECT_EQ( refused< Mode >( "1x" ), "junk at column 1 deserializing 1x" );
   EXPECT_EQ( refused< Mode >( "2 x" ), "junk at column 1 deserializing 2 x" );
   EXPECT_EQ(
      refused< bool >( "10" ),
      "cannot convert \"10\" to Ryx::Builtin<bool>: expected true or false" );
   EXPECT_EQ(
      refused< Mode >( "3x" ),
      "cannot convert \"3x\" to Test::Mode: expected a number from 0 to 2 or one of off, "
      "slow, fast" );
}

TEST( Strep, ATextThatIsNoValueSaysWhatWasExpected ) {
   EXPECT_EQ(
      refused< bool >( "yes" ),
      "cannot convert \"yes\" to Ryx::Builtin<bool>: expected true or false" );
   EXPECT_EQ(
      refused< bool >( "true_" ),
      "cannot convert \"true_\" to Ryx::Builtin<bool>: expected true or false" );
   EXPECT_EQ(
      refused< bool >( "true1" ),
      "cannot convert \"true1\" to Ryx::Builtin<bool>: expected true or false" );
   EXPECT_EQ(
      refused< bool >( "" ),
      "cannot convert \"\" to Ryx::Builtin<bool>: expected true or false" );
   EXPECT_EQ(
      refused< bool >( "yes|no" ),
      "cannot convert \"yes|no\" to Ryx::Builtin<bool>: expected true or false" );
   EXPECT_EQ(
      refused< double >( "" ),
      "cannot convert \"\" to Ryx::Builtin<double>: expected a number or inf" );
   EXPECT_EQ(
      refused< double >( "nan" ),
      "cannot convert \"nan\" to Ryx::Builtin<double>: expected a number or inf" );
   EXPECT_EQ(
      refused< unsigned char >( "256" ),
      "cannot convert \"256\" to Ryx::Builtin<unsigned char>: expected a whole number in "
      "range" );
   EXPECT_EQ(
      refused< unsigned >( "-1" ),
      "cannot convert \"-1\" to Ryx::Builtin<unsigned int>: expected a whole number in "
      "range" );
   EXPECT_EQ(
      refused< int >( "x" ),
      "cannot convert \"x\" to Ryx::Builtin<int>: expected a whole number in range" );
   EXPECT_EQ(
      refused< Mode >( "faster" ),
      "cannot convert \"faster\" to Test::Mode: expected a number from 0 to 2 or one of "
      "off, slow, fast" );
   EXPECT_EQ(
      refused< Mode >( "3" ),
      "cannot convert \"3\" to Test::Mode: expected a number from 0 to 2 or one of off, "
      "slow, fast" );
}

TEST( Strep, SequenceToValueSaysWhereItStopped ) {
   std::size_t column = 99;
   EXPECT_EQ( Ryx::sequenceToValue< unsigned >( "12,13", column ), 12u );
   EXPECT_EQ( column, 2u );
   EXPECT_EQ( Ryx::sequenceToValue< Mode >( "slow]", column ), Mode::slow );
   EXPECT_EQ( column, 4u );
}

} // namespace
