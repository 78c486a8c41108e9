// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/web/HtmlSink>

#include <host/base/JsonLine>
#include <host/run/JsonSink>
#include <host/web/Page>
#include <host/web/PageRecords>
#include <host/web/PortStory>

#include <utility>

namespace ostra {

class HtmlSink::Lines final : public JsonSink {
 public:
   explicit Lines( std::ostream& out ) : out_( out ) {}

   void start( StartRecord const&, StateView const& ) override {}
   void end( Milliseconds, EndRecord const& ) override {}
   // A record of another type.
   void add( Milliseconds at, char const* type, Json const& members ) {
      ObjectLine line = head( at );
      line.add( "type", type );
      line.add( members );
      put( line.take() );
   }

 private:
   ObjectLine head( Milliseconds at ) override {
      ObjectLine line;
      line.add( "t", toJson( secondsOf( at ) ) );
      return line;
   }

   void put( std::string line ) override { putRecord( out_, line ); }

   std::ostream& out_;
};

HtmlSink::HtmlSink( std::ostream& out, EventWords words, std::string behind )
      : out_( out ),
        words_( words ),
        behind_( std::move( behind ) ),
        lines_( std::make_unique< Lines >( out ) ) {}

HtmlSink::~HtmlSink() = default;

void
HtmlSink::start( StartRecord const& record, StateView const& state ) {
   state_ = &state;
   out_ << page::head() << '\n';
   lines_->add(
      Milliseconds( 0 ),
      "start",
      { { "name", record.name }, { "version", OSTRA_VERSION } } );
   story_ = std::make_unique< PortStory >(
      state, [ this ]( Milliseconds at, char const* type, Json const& members ) {
         lines_->add( at, type, members );
      } );
}

void
HtmlSink::write( Milliseconds at, WriteRecord const& record ) {
   if ( isTrying_ ) {
      return;
   }
   lines_->write( at, record );
   story_->write( at, record );
}

void
HtmlSink::event( Milliseconds at, EventRecord const& record ) {
   story_->tell();
   Json patch = record.patch();
   lines_->add(
      at,
      "event",
      { { "index", record.index },
        { "text", words_( record.label, patch, *state_ ) },
        { "patch", patch } } );
   story_->event( at, std::move( patch ) );
}

void
HtmlSink::log( Milliseconds at, LogMessageRecord const& record ) {
   if ( !isTrying_ ) {
      lines_->log( at, record );
   }
}

// The page has no place for them.
void
HtmlSink::trace( Milliseconds, TraceLineRecord const& ) {}

void
HtmlSink::end( Milliseconds at, EndRecord const& record ) {
   story_->tell();
   end_ = at;
   Json ending = { { "isTimerLeft", record.isTimerLeft } };
   if ( !record.failure.empty() ) {
      ending[ "failure" ] = record.failure;
   }
   lines_->add( at, "end", ending );
   if ( !record.failure.empty() ) {
      close();
   }
}

void
HtmlSink::tellAlarms( std::vector< Alarm > const& alarms ) {
   Json told = Json::array();
   for ( Alarm const& alarm : alarms ) {
      told.push_back( toJson( alarm ) );
   }
   lines_->add( end_, "alarms", { { "alarms", std::move( told ) } } );
   close();
}

void
HtmlSink::close() {
   out_ << behind_ << page::tail();
}

void
HtmlSink::tryReleasesIs( TryReleases tryReleases ) {
   tryReleases_ = std::move( tryReleases );
}

void
HtmlSink::settle() {
   story_->tell();
   if ( auto const changedAt = tryReleases_ ? story_->takeChange() : std::nullopt ) {
      tellReleases( *changedAt );
   }
}

void
HtmlSink::tellReleases( Milliseconds at ) {
   HeldPorts const& held = story_->held();
   if ( held.empty() ) {
      return;
   }
   isTrying_ = true;
   auto const trials = tryReleases_( held );
   isTrying_ = false;
   if ( auto answers = releases_.take( held, trials ) ) {
      lines_->add( at, "releasers", { { "changes", std::move( *answers ) } } );
   }
}

} // namespace ostra
