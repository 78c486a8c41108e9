// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/web/HtmlSink>

#include <host/account/PortStanding>
#include <host/account/ReleaseReason>
#include <host/account/WriteBatch>
#include <host/base/JsonLine>
#include <host/run/JsonSink>
#include <host/state/MountTable>
#include <host/web/Page>

#include <Ryx/Time>

#include <cmath>
#include <map>
#include <utility>

namespace ostra {

namespace {

using Kovel::IntfId;
using Kind = PortStanding::Kind;

// What the port is; one that is never held is no more of a class that waits.
char const*
className( SwitchFacts const& facts, PortStanding const& standing, IntfId port ) {
   switch ( standing.kind ) {
   case Kind::internal:
      return "internal";
   case Kind::management:
      return "management";
   case Kind::peerLink:
      return "peerLink";
   case Kind::held:
   case Kind::standby:
   case Kind::notHeld:
      break;
   }
   return facts.classOf( port ) == PortClass::mlag ? "mlag" : "nonMlag";
}

char const*
stateName( Kind kind ) {
   return kind == Kind::held ? "held" : kind == Kind::standby ? "standby" : "notHeld";
}

std::string
roleOf( Kind kind ) {
   return kind == Kind::internal ? "an internal port"
      : kind == Kind::management ? "a management port"
      : kind == Kind::peerLink   ? "in the peer link"
                                 : "";
}

Json
timeOrNull( double seconds ) {
   return std::isfinite( seconds ) ? toJson( seconds ) : Json();
}

} // namespace

class HtmlSink::Lines final : public JsonSink {
 public:
   explicit Lines( std::ostream& out ) : out_( out ) {}

   void start( StartRecord const&, StateView const& ) override {}
   void end( Milliseconds, EndRecord const& ) override {}
   // A record of another type.
   void add( Milliseconds at, char const* type, Json const& members ) {
      Json json = head( at );
      appendMember( json, "type", type );
      json.update( members );
      put( json );
   }

 private:
   Json head( Milliseconds at ) const override {
      return { { "t", toJson( secondsOf( at ) ) } };
   }

   // Nothing in it ends the element that it stands in.
   void put( Json const& json ) override {
      for ( char const c : lineOf( json ) ) {
         if ( c == '<' ) {
            out_ << "\\u003c";
         } else {
            out_ << c;
         }
      }
      out_ << '\n';
   }

   std::ostream& out_;
};

class HtmlSink::Told {
 public:
   Told( StateView const& state, Lines& lines )
         : facts_( state ), lines_( lines ), zero_( Ryx::now() ) {}

   // The event is about to be applied: what was before it has been told.
   void event( Milliseconds at, Json patch ) {
      event_ = std::move( patch );
      eventAt_ = at;
   }

   void tell() {
      Milliseconds const at( std::llround( ( Ryx::now() - zero_ ) * 1000 ) );
      if ( at != eventAt_ ) {
         event_ = nullptr;
      }
      HoldLedger ledger;
      WriteBatch( facts_, ledger ).begin();
      bool const isFirst = std::exchange( isFirst_, false );
      tellPorts( at, ledger, isFirst );
      tellPeriods( at );
   }

 private:
   void tellPorts( Milliseconds at, HoldLedger const& ledger, bool isFirst ) {
      Standings const standings( facts_, ledger, isFirst );
      ReleaseReason const reason( facts_, ledger, event_, isFirst );
      for ( IntfId const id : facts_.ports() ) {
         ports_.try_emplace( id );
      }
      for ( Hold const& hold : ledger.open() ) {
         if ( hold.kind != HolderKind::standby ) {
            ports_.try_emplace( hold.id );
         }
      }
      Json changed = Json::array();
      for ( auto& [ id, known ] : ports_ ) {
         Json port = portJson( standings.of( id ), reason, id, known );
         if ( port != known ) {
            changed.push_back( port );
            known = std::move( port );
         }
      }
      if ( !changed.empty() ) {
         lines_.add( at, "ports", { { "ports", std::move( changed ) } } );
      }
   }

   Json portJson(
      PortStanding const& standing,
      ReleaseReason const& reason,
      IntfId id,
      Json const& known ) const {
      std::string const name = id.string();
      IntfId const portChannel = facts_.portChannelOf( id );
      std::string const state = stateName( standing.kind );
      std::string const before = known.is_null() ? "" : known.at( "state" );
      bool const isReleased = state == "notHeld" && before == "held";
      bool const isAsBefore = state == "notHeld" && before == state;
      std::string why = roleOf( standing.kind );
      if ( isReleased ) {
         HolderKind const kind = facts_.classOf( id ) == PortClass::mlag
            ? HolderKind::mlagPort
            : HolderKind::nonMlagPort;
         why = reason.of( { id, kind, std::nullopt } );
      } else if ( why.empty() ) {
         why = isAsBefore ? known.at( "why" ).get< std::string >() : standing.why;
      }
      return {
         { "interface", name },
         { "class", className( facts_, standing, id ) },
         { "portChannel", portChannel ? Json( portChannel.string() ) : Json() },
         { "isPresent", facts_.isPresent( id ) },
         { "admin",
           facts_.at(
              { mount::ethPhyIntfConfig, "intfConfig", name, "adminEnabledStateLocal" } ) },
         { "link",
           facts_.at( { mount::ethPhyIntfStatus, "intfStatus", name, "linkStatus" } ) },
         { "state", state },
         { "why", why }
      };
   }

   void tellPeriods( Milliseconds at ) {
      Json periods = { { "mlag", period( PortClass::mlag, at ) },
                       { "nonMlag", period( PortClass::nonMlag, at ) } };
      if ( periods != periods_ ) {
         lines_.add( at, "periods", periods );
         periods_ = std::move( periods );
      }
   }

   // In scenario time.
   Json period( PortClass portClass, Milliseconds at ) {
      bool const isHeld = facts_.isHeld( portClass );
      bool& wasHeld = wasHeld_[ portClass == PortClass::mlag ];
      wasHeld = wasHeld || isHeld;
      double const when =
         secondsOf( facts_.at( { mount::mlagProtoStatus, "portsErrdisabledWhen" } ) );
      double const start = when - Ryx::now() + secondsOf( at );
      return { { "state",
                 isHeld       ? "held"
                    : wasHeld ? "released"
                              : "idle" },
               { "start", isHeld ? timeOrNull( start ) : Json() },
               { "end",
                 isHeld ? timeOrNull( start + facts_.delay( portClass ) ) : Json() } };
   }

   SwitchFacts const facts_;
   Lines& lines_;
   double const zero_;
   bool isFirst_ = true;
   Json event_;
   Milliseconds eventAt_{ -1 };
   // Each as it was told last; null for one that has not been.
   std::map< IntfId, Json > ports_;
   Json periods_;
   std::map< bool, bool > wasHeld_;
};

HtmlSink::HtmlSink( std::ostream& out )
      : out_( out ), lines_( std::make_unique< Lines >( out ) ) {}

HtmlSink::~HtmlSink() = default;

void
HtmlSink::start( StartRecord const& record, StateView const& state ) {
   out_ << page::head() << '\n';
   lines_->add(
      Milliseconds( 0 ),
      "start",
      { { "name", record.name }, { "version", OSTRA_VERSION } } );
   told_ = std::make_unique< Told >( state, *lines_ );
}

void
HtmlSink::write( Milliseconds at, WriteRecord const& record ) {
   lines_->write( at, record );
}

void
HtmlSink::event( Milliseconds at, EventRecord const& record ) {
   told_->tell();
   Json patch = record.patch();
   lines_->add( at, "event", { { "index", record.index }, { "patch", patch } } );
   told_->event( at, std::move( patch ) );
}

void
HtmlSink::log( Milliseconds at, LogMessageRecord const& record ) {
   lines_->log( at, record );
}

void
HtmlSink::trace( Milliseconds at, TraceLineRecord const& record ) {
   lines_->trace( at, record );
}

void
HtmlSink::end( Milliseconds at, EndRecord const& ) {
   told_->tell();
   lines_->add( at, "end", Json::object() );
   out_ << page::tail();
}

void
HtmlSink::settle() {
   told_->tell();
}

} // namespace ostra
