// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/api/ForecastRoute>

#include <host/api/Problems>
#include <host/api/Requests>
#include <host/text/MakeOutput>

#include <fmt/format.h>

#include <utility>

namespace ostra {

namespace {

using http::Problem;
using http::Reply;
using http::Request;

// How the records are to be told, as the query has it: "format=text", beside which there may
// be "width=80" and "colour=always". Nothing else is asked for there.
struct Telling {
   RunFormat format = RunFormat::ndjson;
   TextOptions text;
};

Telling
tellingOf( Request const& request ) {
   Telling telling;
   std::string const* const format = request.parameter( "format" );
   if ( format && *format == "text" ) {
      telling.format = RunFormat::text;
   }
   if ( std::string const* const width = request.parameter( "width" ) ) {
      telling.text.width = lineWidth( *width, std::nullopt );
   }
   std::string const* const colour = request.parameter( "colour" );
   telling.text.colour = colour && *colour == "always";
   return telling;
}

std::string_view
contentTypeOf( RunFormat format ) {
   return format == RunFormat::text ? "text/plain; charset=utf-8" : "application/x-ndjson";
}

} // namespace

void
ForecastRoute::addTo( http::Server& server ) {
   server.add( routeOf(
      "POST", "/v1/forecast", [ this ]( Request const& request, Reply const& reply ) {
         answer( request, reply );
      } ) );
}

void
ForecastRoute::answer( Request const& request, Reply const& reply ) {
   // A request from the network leaves room for one through the unix socket.
   if ( !forecasts_.hasRoom( request.isFromSocket ? 0 : 1 ) ) {
      reply.send( Problem{ 503,
                           "forecast",
                           "too many at a time",
                           "another try later",
                           { { "Retry-After", "1" } } } );
      return;
   }
   Telling const telling = tellingOf( request );
   auto const makeOutput = [ telling ]( std::ostream& out ) {
      return ostra::makeOutput( telling.format, telling.text, out ).records;
   };
   auto const take = [ reply, telling ]( Forecasts::Outcome outcome ) {
      if ( outcome.problem ) {
         reply.send( problemOf( 503, *outcome.problem ) );
      } else {
         reply.send( http::textResponse(
            std::string( contentTypeOf( telling.format ) ),
            std::move( outcome.records ) ) );
      }
   };
   try {
      Scenario const scenario =
         readForecast( live_, request.body.empty() ? "{}" : request.body );
      auto const id = forecasts_.start( scenario, makeOutput, take );
      reply.goneIs( [ this, id ] { forecasts_.cancel( id ); } );
   } catch ( PatchRefusal const& refusal ) {
      reply.send( problemOf( refusal ) );
   } catch ( Failure const& failure ) {
      reply.send( Problem{ 503, "forecast", failure.what(), "room for a process" } );
   }
}

} // namespace ostra
