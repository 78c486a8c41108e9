// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/WhyInRun>

#include <host/account/HoldWords>
#include <host/account/PortStanding>
#include <host/account/WriteBatch>
#include <host/base/JsonLine>
#include <host/cli/KeptRun>
#include <host/client/LiveText>
#include <host/client/Why>
#include <host/state/Machine>
#include <host/state/MountTable>
#include <host/text/JsonSummary>

#include <Ryx/Exception>
#include <Ryx/Time>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace ostra {

namespace {

using Kovel::IntfId;

class WhyInRun {
 public:
   explicit WhyInRun( WhyOptions const& options ) : options_( options ), id_( idOf() ) {}

   Json tell() const {
      Present const present = presentState();
      Json const& port = present.port;
      Json why = { { "at", toJson( secondsOf( options_.at ) ) },
                   { "port", port },
                   { "goneAt", present.goneAt },
                   { "lastHold", present.lastHold },
                   { "heldFor", nullptr },
                   { "heldSince", nullptr },
                   { "releasedIn", nullptr },
                   { "releasedAt", nullptr },
                   { "changes", Json::array() } };
      if ( !port.at( "hold" ).is_null() ) {
         tellHold( why );
         for ( auto const& change : possibleChanges( present.state, port ) ) {
            why[ "changes" ].push_back( outcomeOf( change, port ) );
         }
      }
      return why;
   }

 private:
   struct Present {
      Json port;
      // Of one that is not there: when it went.
      Json goneAt;
      Json lastHold;
      Json state;
   };

   Present presentState() const {
      RunSummary summary;
      SummarySink sink( [ &summary ]( RunSummary const& told ) { summary = told; } );
      PlayedRun run( options_.input, sink, [ &sink ] { sink.settle(); } );
      refuseBehind( run.scenario().until );
      auto const comesAt = coming( run.scenario() );
      run.playTo( options_.at );
      sink.alarmsAre( {} );
      PortAccounts const& accounts = summary.interfaces;
      if ( isThere( run.view() ) ) {
         Json port = portIn( run, accounts );
         Json lastHold = lastHoldOf( port, accounts, std::nullopt );
         return { std::move( port ), nullptr, std::move( lastHold ), run.view().at( {} ) };
      }
      auto const gone = accounts.gone.find( id_ );
      if ( gone == accounts.gone.end() ) {
         refuseUnseen( run.view(), comesAt );
      }
      Json port = gonePort( gone->second );
      Milliseconds const at = gone->second.at;
      Json lastHold = lastHoldOf( port, accounts, at );
      if ( !lastHold.is_null() ) {
         // Of a port that was held nobody says that it never was.
         port[ "reason" ] = "gone";
      }
      return { std::move( port ),
               toJson( secondsOf( at ) ),
               std::move( lastHold ),
               run.view().at( {} ) };
   }

   bool isThere( RunState const& view ) const {
      return view.has( { mount::ethPhyIntfStatus, "intfStatus", name() } ) ||
         view.has( { mount::mlagissuCause, "intfStatus", name() } );
   }

   // When something puts the port in behind the time that is asked of.
   std::optional< Milliseconds > coming( Scenario const& scenario ) const {
      for ( Event const& event : scenario.events ) {
         bool const isPlayed = !scenario.until || event.at <= *scenario.until;
         bool const isBehind = isPlayed && event.at > options_.at;
         Json const patch = isBehind ? event.patch() : Json();
         if ( memberAt( patch, { mount::ethPhyIntfStatus, "intfStatus", name() } )
                 .is_object() ) {
            return event.at;
         }
      }
      return std::nullopt;
   }

   // In the form in which a live host tells of one.
   Json gonePort( Departure const& departure ) const {
      std::string_view const exemption = exemptionOf( departure.portClass );
      std::string const& why = departure.whyNever;
      return { { "interface", name() },
               { "class", departure.portClass },
               { "portChannel",
                 departure.portChannel ? Json( departure.portChannel.string() ) : Json() },
               { "hold", nullptr },
               { "reason",
                 !exemption.empty() ? fmt::format( "gone; {}", exemption )
                    : why.empty()   ? "gone"
                                    : "gone; it was not held: " + why } };
   }

   static PortAccount const*
   accountOf( IntfId id, std::vector< PortAccount > const& accounts ) {
      auto const found = std::find_if(
         accounts.begin(), accounts.end(), [ id ]( PortAccount const& account ) {
            return account.id == id;
         } );
      return found == accounts.end() ? nullptr : &*found;
   }

   // The last time that it was held and that is over, for its port by then.
   static std::optional< PastHold >
   lastOver( PortAccount const* account, HoldTime goneAt ) {
      if ( !account ) {
         return std::nullopt;
      }
      auto const& holds = account->holds;
      auto const last =
         std::find_if( holds.rbegin(), holds.rend(), [ goneAt ]( PastHold const& hold ) {
            return !( goneAt && hold.from > goneAt );
         } );
      if ( last == holds.rend() ) {
         return std::nullopt;
      }
      PastHold hold = *last;
      if ( goneAt && ( !hold.to || hold.to > goneAt ) ) {
         hold.to = goneAt;
         hold.why = "interface gone";
      }
      return hold.to ? std::optional( hold ) : std::nullopt;
   }

   // Of a port that is not held: how it was, errdisabled or in its port-channel.
   Json
   lastHoldOf( Json const& port, PortAccounts const& accounts, HoldTime goneAt ) const {
      if ( !port.at( "hold" ).is_null() ) {
         return nullptr;
      }
      auto const own = lastOver( accountOf( id_, accounts.ports ), goneAt );
      auto const shared = lastOver(
         accountOf( intfIdOf( port.at( "portChannel" ) ), accounts.portChannels ), goneAt );
      auto const& last = !own || ( shared && shared->to >= own->to ) ? shared : own;
      return last ? toJson( *last ) : Json();
   }

   [[noreturn]] void refuse( std::string_view found, std::string_view expected ) const {
      throw Failure(
         ExitStatus::badInput,
         fmt::format( "ostra why: {}: expected {}", found, expected ) );
   }

   IntfId idOf() const {
      try {
         return IntfId( options_.interface );
      } catch ( Ryx::RangeException const& error ) {
         throw Failure(
            ExitStatus::badInput,
            "ostra why: " + shortenedIn( error.message(), options_.interface ) );
      }
   }

   void refuseBehind( std::optional< Milliseconds > until ) const {
      if ( until && options_.at > *until ) {
         refuse(
            fmt::format( "--at: {}", atText() ),
            fmt::format( "at most {}, where the run ends", secondsText( *until ) ) );
      }
   }

   [[noreturn]] void
   refuseUnseen( RunState const& view, std::optional< Milliseconds > comesAt ) const {
      SwitchFacts const facts( view );
      std::vector< IntfId > const ports = facts.ports();
      if ( id_.kind() != IntfId::Kind::portChannel ) {
         std::string const unseen =
            fmt::format( "{}: never seen up to {} s", inQuotes( name() ), atText() );
         refuse(
            comesAt ? fmt::format( "{}, it comes at {} s", unseen, secondsText( *comesAt ) )
                    : unseen,
            portAmong( ports ) );
      }
      std::vector< IntfId > members = ports;
      std::erase_if(
         members, [ & ]( IntfId port ) { return facts.portChannelOf( port ) != id_; } );
      refusePortChannel( name(), members, ports );
   }

   // In the form in which a live host tells of one.
   Json portIn( PlayedRun& run, PortAccounts const& accounts ) const {
      RunState const view = run.view();
      Json const since = view.at( { mount::mlagissuCause, "intfStatus", name() } );
      SwitchFacts const facts( view );
      HoldLedger ledger;
      WriteBatch( facts, ledger ).begin();
      PortStanding const standing = Standings( facts, ledger, false ).of( id_ );
      Machine const machine( view, run.agent() );
      std::string const portClass = machine.classOf( id_ );
      auto const left = [ & ]( bool isMlag ) {
         Json const start = view.at( { mount::mlagProtoStatus, "portsErrdisabledWhen" } );
         double const end = secondsOf( start ) + machine.delay( isMlag );
         bool const isTimed = machine.isHeld( isMlag ) && std::isfinite( end );
         return isTimed ? fmt::format( "{:.0f} s left", std::ceil( end - Ryx::now() ) )
                        : std::string( endlessWords );
      };
      Json port = { { "interface", name() },
                    { "class", portClass },
                    { "portChannel",
                      view.at( { mount::lagInputConfig, "phyIntf", name(), "lag" } ) },
                    { "hold", nullptr },
                    { "reason", "" } };
      if ( standing.kind == PortStanding::Kind::held ) {
         port[ "hold" ] = { { "kind", "errdisable" },
                            { "since", scenarioTime( since, run.scenario().startTime ) } };
         port[ "reason" ] =
            fmt::format( "{}, {}", errdisabledWords, left( machine.isMlag( id_ ) ) );
      } else if ( standing.kind == PortStanding::Kind::standby ) {
         port[ "hold" ] = { { "kind", "lacpStandby" },
                            { "since", standbySince( standing.portChannel, accounts ) } };
         port[ "reason" ] = fmt::format( "{}, {}", standbyWords, left( true ) );
      } else {
         port[ "reason" ] = whyNotHeld( portClass, standing, accounts );
      }
      return port;
   }

   std::string whyNotHeld(
      std::string const& portClass,
      PortStanding const& standing,
      PortAccounts const& accounts ) const {
      PortAccount const* const account = accountOf( id_, accounts.ports );
      bool const wasHeld = account && !account->holds.empty();
      std::string_view const exemption = exemptionOf( portClass );
      if ( !exemption.empty() ) {
         // Of a port that was held nobody says that it never is.
         return std::string(
            wasHeld ? exemption.substr( exemption.find( "it is" ) ) : exemption );
      }
      // Why it was not held in the first place is known from then.
      return "not held: " + ( wasHeld || !account ? standing.why : account->why );
   }

   // Of a time on the switch's clock.
   static Json scenarioTime( Json const& time, Milliseconds zero ) {
      return time.is_number() ? rounded( secondsOf( time ) - secondsOf( zero ) ) : time;
   }

   // Null when it has been since before the run.
   static Json standbySince( IntfId portChannel, PortAccounts const& accounts ) {
      PortAccount const* const account = accountOf( portChannel, accounts.portChannels );
      return account ? toJson( account->holds.back() ).at( "since" ) : Json();
   }

   // Since when and until when.
   void tellHold( Json& why ) const {
      Json const& port = why.at( "port" );
      double const at = secondsOf( options_.at );
      Json const since = port.at( "hold" ).at( "since" );
      if ( since.is_number() ) {
         why[ "heldSince" ] = since;
         why[ "heldFor" ] = rounded( at - secondsOf( since ) );
      }
      KeptRun whole( options_.input );
      whole.play();
      Json const releasedAt = releaseIn(
         whole.streamOf(
            [ at ]( Json const& record ) { return secondsOf( record.at( "t" ) ) > at; } ),
         port );
      if ( releasedAt.is_number() ) {
         why[ "releasedAt" ] = releasedAt;
         why[ "releasedIn" ] = rounded( secondsOf( releasedAt ) - at );
      }
   }

   // What comes of a change that is made at that time.
   Json outcomeOf( PossibleChange const& change, Json const& port ) const {
      Document const patch = parseDocument( "change", lineOf( patchOf( change ) ) );
      KeptRun changed( options_.input );
      changed.playTo( options_.at, patch );
      std::size_t const last = changed.scenario().events.size() - 1;
      bool isBehind = false;
      std::string const records = changed.streamOf( [ & ]( Json const& record ) {
         isBehind =
            isBehind || ( record.at( "type" ) == "event" && record.at( "index" ) == last );
         return isBehind;
      } );
      return { { "change", fmt::format( "{}", fmt::join( change.assignments, " " ) ) },
               { "meaning", change.meaning },
               { "releases", !releaseIn( records, port ).is_null() } };
   }

   static Json rounded( double seconds ) {
      return toJson( std::round( seconds * 1000 ) / 1000 );
   }
   std::string const& name() const { return options_.interface; }
   std::string atText() const { return secondsText( options_.at ); }
   static std::string secondsText( Milliseconds at ) {
      return toJson( secondsOf( at ) ).dump();
   }

   WhyOptions const& options_;
   IntfId const id_;
};

void
refuseStream( std::optional< std::string > const& file, std::string_view name ) {
   if ( file == "-" ) {
      throw Failure(
         ExitStatus::badInput,
         fmt::format(
            "ostra why: {}: \"-\": expected a file, which is read more than once", name ) );
   }
}

} // namespace

void
tellWhyInRun( WhyOptions const& options, std::ostream& out ) {
   refuseStream( options.input.scenario, "SCENARIO" );
   refuseStream( options.input.mounts, "--mounts" );
   Json const why = WhyInRun( options ).tell();
   out
      << ( options.isJson ? linesOf( why )
                          : whyText( why, Style( options.hasColour ), options.width ) );
}

} // namespace ostra
