// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/api/Api>

#include <host/api/OpenApi>
#include <host/api/Problems>
#include <host/api/Requests>
#include <host/base/Failure>
#include <host/base/JsonLine>
#include <host/state/TypeList>
#include <host/web/Page>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <memory>
#include <utility>

namespace ostra {

namespace {

using http::Problem;
using http::Reply;
using http::Request;
using http::Response;

// How long an answer is given again if nothing but the time has changed.
constexpr Milliseconds longestTold{ 50 };
// The state by itself does not depend on the time.
constexpr Milliseconds asLongAsItIsSo = lastInstant;

// How many ports and members of collections are told at once, while everybody else waits: for
// some 20 ms. More of them are told by a copy of the process.
constexpr std::size_t mostPorts = 2000;
constexpr std::size_t mostMembers = 20000;

// The segments of "/v1/state/mount/attribute" behind the first two.
Path
restOf( Request const& request ) {
   return { request.path.begin() + 2, request.path.end() };
}

// The same however the request writes it.
std::string
pathOf( Request const& request ) {
   return fmt::format( "/{}", fmt::join( request.path, "/" ) );
}

// What is answered for a path that leads to nothing: it names the path up to the first key
// that is not there.
Problem
absence( LiveSwitch const& live, Path const& path ) {
   Path present;
   for ( std::string const& key : path ) {
      Path next = present;
      next.push_back( key );
      if ( !live.state( next ) ) {
         break;
      }
      present = std::move( next );
   }
   return { 404,
            fmt::format( "{}", fmt::join( present, "." ) ),
            inQuotes( path[ present.size() ] ),
            present.empty() ? "a mount" : "what stands in the state" };
}

// The same for every client, as long as the process runs.
Response
pageResponse() {
   Response page = http::textResponse(
      "text/html; charset=utf-8",
      std::string( page::head() ) + std::string( page::tail() ) );
   page.contentSecurityPolicy = page::contentSecurityPolicy();
   // What its script asks for first is on its way while the browser still reads it.
   for ( char const* const path : { "/v1/summary", "/v1/ports", "/v1/alarms" } ) {
      page.headers.emplace_back(
         "Link", fmt::format( "<{}>; rel=preload; as=fetch", path ) );
   }
   return page;
}

// A request of something without conditions.
template< class Answer >
http::Route
get( std::string_view pattern, Answer answer ) {
   return routeOf( "GET", pattern, [ answer ]( Request const& request, Reply reply ) {
      reply.send( answer( request ) );
   } );
}

// A metric in the text format of Prometheus; `samples` are lines.
std::string
metric(
   std::string_view name,
   std::string_view type,
   std::string_view help,
   std::string_view samples ) {
   return fmt::format( "# HELP {0} {1}\n# TYPE {0} {2}\n{3}", name, help, type, samples );
}

// One line of a metric that has a label.
template< class Value >
std::string
sample(
   std::string_view name,
   std::string_view label,
   std::string_view labelled,
   Value const& value ) {
   return fmt::format( "{}{{{}=\"{}\"}} {}\n", name, label, labelled, value );
}

// A metric without labels.
template< class Value >
std::string
number(
   std::string_view name,
   std::string_view type,
   std::string_view help,
   Value const& value ) {
   return metric( name, type, help, fmt::format( "{} {}\n", name, value ) );
}

} // namespace

Api::Api( ApiParts parts )
      : parts_( std::move( parts ) ),
        feed_( parts_.base, parts_.live.records(), parts_.history ),
        forecasts_( parts_.base, parts_.live ),
        longAnswers_( parts_.base, parts_.live ) {}

void
Api::addTo( http::Server& server ) {
   server.add( get( "/", [ page = pageResponse() ]( Request const& ) { return page; } ) );
   addState( server );
   addPorts( server );
   addAlarms( server );
   addTypes( server );
   addHealth( server );
   forecasts_.addTo( server );
   server.add(
      routeOf( "GET", "/v1/events", [ this ]( Request const& request, Reply const& reply ) {
         feed_.stream( request, reply );
      } ) );
   server.add( routeOf(
      "GET", "/v1/history", [ this ]( Request const& request, Reply const& reply ) {
         feed_.history( request, reply );
      } ) );
}

void
Api::addState( http::Server& server ) {
   server.add( routeOf(
      "GET", "/v1/state/**", [ this ]( Request const& request, Reply const& reply ) {
         Path const path = restOf( request );
         if ( parts_.live.size( path ) <= mostMembers ) {
            reply.send( state( path ) );
            return;
         }
         longAnswers_.send(
            pathOf( request ),
            [ this, path ] { return lineOf( *parts_.live.state( path ) ); },
            reply );
      } ) );
   server.add( routeOf(
      "PATCH", "/v1/state/**", [ this ]( Request const& request, Reply const& reply ) {
         patch( request, reply );
      } ) );
}

Response
Api::state( Path const& path ) {
   if ( path.empty() ) {
      return toldOr( state_, asLongAsItIsSo, [ this ] {
         return http::jsonResponse( *parts_.live.state( {} ) );
      } );
   }
   auto const state = parts_.live.state( path );
   return state ? http::jsonResponse( *state )
                : http::problemResponse( absence( parts_.live, path ) );
}

void
Api::patch( Request const& request, Reply const& reply ) {
   auto const revision = std::make_shared< Revision >();
   auto const acknowledge = [ revision,
                              reply ]( std::optional< Complaint > const& problem ) {
      if ( problem ) {
         reply.send( problemOf( 503, *problem ) );
      } else {
         reply.send( http::jsonResponse( { { "revision", *revision } } ) );
      }
   };
   try {
      *revision = parts_.live.patch( restOf( request ), request.body, acknowledge );
   } catch ( PatchRefusal const& refusal ) {
      reply.send( problemOf( refusal ) );
   }
}

template< class Make >
Response
Api::toldOr( Told& told, Milliseconds longest, Make make ) {
   refresh();
   Milliseconds const now = parts_.live.time().instant();
   bool const isSo = told.response.body && told.version == parts_.live.version() &&
      now - told.at < longest;
   if ( !isSo ) {
      told = { make(), parts_.live.version(), now };
      // Making it may take longer than it lasts.
      refresh();
      told.at = parts_.live.time().instant();
   }
   return told.response;
}

void
Api::addPorts( http::Server& server ) {
   server.add(
      routeOf( "GET", "/v1/ports", [ this ]( Request const& request, Reply const& reply ) {
         if ( parts_.ports.size() <= mostPorts ) {
            reply.send( ports() );
            return;
         }
         auto const tell = [ this ] {
            return parts_.ports.text().at( parts_.live.time().now() );
         };
         longAnswers_.send( pathOf( request ), tell, reply );
      } ) );
   server.add( get( "/v1/ports/**", [ this ]( Request const& request ) {
      refresh();
      // A name has slashes of its own, escaped or not.
      std::string const name = fmt::format( "{}", fmt::join( restOf( request ), "/" ) );
      auto const port = parts_.ports.port( name );
      return port ? http::jsonResponse( *port )
                  : http::problemResponse(
                       { 404, "ports", inQuotes( name ), "a port that is there or held" } );
   } ) );
   server.add( get( "/v1/summary", [ this ]( Request const& ) {
      return toldOr(
         summary_, longestTold, [ this ] { return http::jsonResponse( summary() ); } );
   } ) );
}

Response
Api::ports() {
   return toldOr( ports_, longestTold, [ this ] {
      bool const isSo = portsVersion_ == parts_.live.version();
      if ( !isSo ) {
         portsText_ = parts_.ports.text();
         portsText_.add( "\n" );
         portsVersion_ = parts_.live.version();
      }
      return http::textResponse(
         "application/json", portsText_.at( parts_.live.time().now() ) );
   } );
}

Json
Api::summary() const {
   Json json = parts_.ports.summary();
   json[ "alarms" ] = countsOf( parts_.alarms.alarms() );
   json[ "driver" ] = { { "name", parts_.driver } };
   json[ "store" ] = { { "problem", parts_.storeProblem() } };
   json[ "boot" ] = { { "id", parts_.bootId },
                      { "time", toJson( parts_.live.time().now() ) } };
   json[ "ready" ] = parts_.isReady();
   json[ "revision" ] = parts_.live.revision();
   json[ "lastRecord" ] = feed_.last();
   json[ "version" ] = OSTRA_VERSION;
   return json;
}

void
Api::addAlarms( http::Server& server ) {
   server.add( get( "/v1/alarms", [ this ]( Request const& ) {
      if ( alarmsVersion_ != parts_.alarms.version() ) {
         Json json = Json::array();
         for ( Alarm const& alarm : parts_.alarms.alarms() ) {
            json.push_back( toJson( alarm ) );
         }
         alarms_ = http::jsonResponse( json );
         alarmsVersion_ = parts_.alarms.version();
      }
      return alarms_;
   } ) );
}

void
Api::addTypes( http::Server& server ) {
   server.add( get( "/v1/types", []( Request const& ) {
      Json json = Json::array();
      for ( RyxType const* type : RyxType::types() ) {
         json.push_back( typeJson( *type ) );
      }
      return http::jsonResponse( json );
   } ) );
   server.add( get( "/v1/types/*", []( Request const& request ) {
      std::string const& name = request.path[ 2 ];
      RyxType const* const type = RyxType::type( Ryx::Name( name ) );
      return type ? http::jsonResponse( typeJson( *type ) )
                  : http::problemResponse(
                       { 404, "types", inQuotes( name ), "the name of a type" } );
   } ) );
   // Types and requests are what they are as long as the process runs.
   server.add( get(
      "/v1/openapi.json",
      [ description = std::make_shared< Response >() ]( Request const& ) {
         if ( !description->body ) {
            *description = http::jsonResponse( openApi() );
         }
         return *description;
      } ) );
}

void
Api::addHealth( http::Server& server ) {
   server.add( get( "/healthz", []( Request const& ) {
      return http::textResponse( "text/plain; charset=utf-8", "alive\n" );
   } ) );
   server.add( get( "/readyz", [ this ]( Request const& ) {
      return parts_.isReady()
         ? http::textResponse( "text/plain; charset=utf-8", "ready\n" )
         : http::problemResponse( { 503, "ports", "orders without an answer", "none" } );
   } ) );
   server.add( get( "/metrics", [ this ]( Request const& ) {
      return toldOr( metrics_, longestTold, [ this ] {
         return http::textResponse( "text/plain; version=0.0.4; charset=utf-8", metrics() );
      } );
   } ) );
}

std::string
Api::metrics() const {
   Json const summary = parts_.ports.summary();
   Json const& counts = summary.at( "counts" );
   auto const isHeld = [ &summary ]( char const* portClass ) {
      return summary.at( portClass ).at( "state" ) == "held" ? 1 : 0;
   };
   std::string alarms;
   Json const alarmCounts = countsOf( parts_.alarms.alarms() );
   for ( auto const& [ kind, count ] : alarmCounts.items() ) {
      alarms += sample( "ostra_alarms", "kind", kind, count.dump() );
   }
   return metric(
             "ostra_info",
             "gauge",
             "The version that runs and its driver.",
             fmt::format(
                "ostra_info{{version=\"{}\",driver=\"{}\"}} 1\n",
                OSTRA_VERSION,
                parts_.driver ) ) +
      number( "ostra_ports",
              "gauge",
              "Ports that are there or held.",
              counts.at( "ports" ).dump() ) +
      metric( "ostra_ports_held",
              "gauge",
              "Ports that are held.",
              sample(
                 "ostra_ports_held",
                 "kind",
                 "errdisable",
                 counts.at( "errdisabled" ).dump() ) +
                 sample(
                    "ostra_ports_held",
                    "kind",
                    "lacpStandby",
                    counts.at( "lacpStandby" ).dump() ) ) +
      metric( "ostra_class_held",
              "gauge",
              "Whether the reload delay of the class goes on.",
              sample( "ostra_class_held", "class", "mlag", isHeld( "mlag" ) ) +
                 sample( "ostra_class_held", "class", "nonMlag", isHeld( "nonMlag" ) ) ) +
      metric( "ostra_alarms", "gauge", "What an operator has to hear of.", alarms ) +
      number( "ostra_store_ok",
              "gauge",
              "Whether the store takes what it is given.",
              parts_.storeProblem().empty() ? 1 : 0 ) +
      number( "ostra_revision_total",
              "counter",
              "Patches of clients.",
              parts_.live.revision() ) +
      number( "ostra_holds_undone_total",
              "counter",
              "Holds that somebody else has undone, and that were to be done again.",
              parts_.ports.reconciler().redone() ) +
      number( "ostra_event_streams",
              "gauge",
              "Clients that follow the events.",
              feed_.streams() );
}

} // namespace ostra
