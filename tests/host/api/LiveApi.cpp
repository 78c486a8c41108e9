// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "LiveApi"

#include <Ryx/Activity>
#include <Ryx/Clock>

#include <fmt/format.h>

#include <algorithm>

namespace ostra {

namespace {

constexpr char switchState[] = R"(
mlagConfig: { enabled: true, domainId: pod1, localInterface: Vlan4094,
              peerAddress: 10.255.255.2, peerLinkIntf: Port-Channel1000, reloadDelay: 300,
              intfConfig: { Port-Channel10: { mlagId: "10" } } }
mlagStatus: { mlagState: 4 }
mlagProtoStatus: { holdInSecondary: true }
ethPhyIntfStatus: { intfStatus: { Ethernet1: {}, Ethernet2: {}, Ethernet3/1: {} } }
lagInputConfig: { phyIntf: { Ethernet1: { lag: Port-Channel10, mode: 2 } } }
)";

std::string
socketPath() {
   static TemporaryDirectory const directory;
   static int count = 0;
   return fmt::format( "{}/{}.sock", directory.path(), count++ );
}

} // namespace

LiveApi::LiveApi() : LiveApi( switchState, Milliseconds( 1000 ) ) {}

LiveApi::LiveApi( std::string const& mounts, Milliseconds start )
      : clock( start ),
        api( { loop.base(),
               live,
               ports,
               alarms,
               [ this ]( std::int64_t since, std::size_t limit ) {
                  std::vector< LiveRecord > found;
                  for ( LiveRecord const& record : stored ) {
                     if ( record.id > since && found.size() < limit ) {
                        found.push_back( record );
                     }
                  }
                  return found;
               },
               [] { return true; },
               [ this ] { return problem; },
               "none",
               "the-boot" } ),
        path( socketPath() ) {
   live.mounts().apply( Item( parseDocument( "switch", mounts ) ) );
   live.start();
   endTurn();
   loop.turnEnd = [ this ] { endTurn(); };
   api.addTo( server );
   server.listen( http::ListeningSocket( UnixEndpoint{ path } ) );
}

LiveApi::~LiveApi() {
   loop.turnEnd = nullptr;
}

void
LiveApi::passTo( Milliseconds end ) {
   auto const frameworkClock = Ryx::activityManager()->clock();
   for ( ;; ) {
      auto const due = firstInstantAt( frameworkClock->nextTimeMin() );
      bool const isLast = !due || *due > end;
      clock.time = isLast ? end : std::max( clock.time, *due );
      time.refresh();
      frameworkClock->handleTime();
      endTurn();
      if ( isLast ) {
         return;
      }
   }
}

void
LiveApi::endTurn() {
   auto const changes = live.takeChanges();
   auto const& pending = live.records().pending();
   stored.insert( stored.end(), pending.begin(), pending.end() );
   live.records().publish();
   for ( Acknowledge const& acknowledge : changes.acknowledges ) {
      acknowledge(
         problem.empty() ? std::nullopt
                         : std::optional( Complaint{ "store", problem, "room" } ) );
   }
}

std::string
LiveApi::get( std::string const& target, std::string const& headers ) {
   return client()
      .send(
         fmt::format( "GET {} HTTP/1.1\r\nHost: localhost\r\n{}\r\n", target, headers ) )
      .readAnswer();
}

std::string
LiveApi::patch( std::string const& target, std::string const& body ) {
   return client()
      .send( fmt::format(
         "PATCH {} HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n"
         "Content-Length: {}\r\n\r\n{}",
         target,
         body.size(),
         body ) )
      .readAnswer();
}

Json
LiveApi::json( std::string const& target ) {
   std::string const answer = get( target );
   EXPECT_EQ( http::statusOf( answer ), 200 ) << answer;
   return Json::parse( http::bodyOf( answer ), nullptr, false );
}

} // namespace ostra
