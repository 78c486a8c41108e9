// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "JsonState"

#include <host/run/NdjsonSink>

#include <gtest/gtest.h>

#include <sstream>

using namespace std::chrono_literals;

namespace {

// What the sink writes for one record.
template< class Give >
std::string
lineOf( Give give ) {
   std::ostringstream out;
   ostra::NdjsonSink sink( out );
   give( sink );
   return out.str();
}

} // namespace

TEST( NdjsonSink, RecordsAreLinesWithTheirKeysInOrder ) {
   EXPECT_EQ(
      lineOf( []( auto& sink ) {
         sink.write(
            284999ms, { { "mlagissuCause", "intfStatus", "Ethernet1/2" }, nullptr } );
      } ),
      R"({"t":284.999,"type":"write","path":["mlagissuCause","intfStatus","Ethernet1/2"],)"
      "\"value\":null}\n" );
   EXPECT_EQ(
      lineOf( []( auto& sink ) {
         sink.event( 20500ms, { 3, {} } );
      } ),
      "{\"t\":20.5,\"type\":\"event\",\"index\":3}\n" );
   EXPECT_EQ(
      lineOf( []( auto& sink ) {
         sink.log( 225000ms, { "ID", 6, "a \"b\"" } );
      } ),
      R"({"t":225,"type":"log","id":"ID","severity":6,"text":"a \"b\""})"
      "\n" );
   EXPECT_EQ(
      lineOf( []( auto& sink ) {
         sink.trace( 0ms, { "Unit", 8, "File", 12, "function", "text" } );
      } ),
      R"({"t":0,"type":"trace","handle":"Unit","level":8,"file":"File","line":12,)"
      "\"function\":\"function\",\"text\":\"text\"}\n" );
   EXPECT_EQ(
      lineOf( []( auto& sink ) {
         ostra::JsonState const state( ostra::Json{ { "a", "inf" } } );
         sink.start( {}, state );
         sink.end( 400000ms, {} );
      } ),
      "{\"t\":400,\"type\":\"end\",\"state\":{\"a\":\"inf\"}}\n" );
}

TEST( NdjsonSink, TextThatIsNoUtf8IsShownAsFarAsItGoes ) {
   EXPECT_EQ(
      lineOf( []( auto& sink ) {
         sink.log( 0ms, { "a\xff", 6, "" } );
      } ),
      "{\"t\":0,\"type\":\"log\",\"id\":\"a\xef\xbf\xbd\",\"severity\":6,\"text\":\"\"}"
      "\n" );
}

TEST( NdjsonSink, WhatWouldChangeATerminalIsEscaped ) {
   EXPECT_EQ(
      lineOf( []( auto& sink ) {
         sink.log( 0ms, { "ID", 6, "a\xc2\x9b\x7f\xe2\x80\xae\xc3\xa4" } );
      } ),
      "{\"t\":0,\"type\":\"log\",\"id\":\"ID\",\"severity\":6,\"text\":\"a\\u009b\\u007f"
      "\\u202e\xc3\xa4\"}\n" );
}
