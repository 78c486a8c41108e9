// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/text/MakeOutput>

#include <host/base/JsonLine>
#include <host/run/NdjsonSink>
#include <host/text/EventText>
#include <host/text/JsonSummary>
#include <host/text/PortTable>
#include <host/text/TextAlarms>
#include <host/web/HtmlSink>
#include <host/web/SvgSink>

namespace ostra {

namespace {

template< class Sink >
RecordOutput
settled( std::unique_ptr< Sink > sink ) {
   Sink* const borrowed = sink.get();
   return { std::move( sink ), [ borrowed ] { borrowed->settle(); } };
}

RunOutput
summarised( SummarySink::Print print ) {
   auto sink = std::make_unique< SummarySink >( std::move( print ) );
   SummarySink* const borrowed = sink.get();
   return { settled( std::move( sink ) ),
            [ borrowed ]( std::vector< Alarm > const& alarms ) {
               borrowed->alarmsAre( alarms );
            } };
}

void
printAlarmsTo(
   std::ostream& out, TextOptions const& text, std::vector< Alarm > const& alarms ) {
   TextLines lines( out, Style( text.colour ), text.width );
   printAlarms( lines, alarms );
}

RunOutput
textOutput( TextOptions const& text, std::ostream& out ) {
   return { settled( std::make_unique< TextReport >( out, text ) ),
            [ text, &out ]( std::vector< Alarm > const& alarms ) {
               printAlarmsTo( out, text, alarms );
            } };
}

RunOutput
tableOutput( TextOptions const& text, std::ostream& out ) {
   return summarised( [ text, &out ]( RunSummary const& summary ) {
      printPortTable( out, summary, Style( text.colour ) );
      // A line apart, so that who reads the table knows its end.
      out << ( summary.alarms.empty() ? "" : "\n" );
      printAlarmsTo( out, text, summary.alarms );
   } );
}

RunOutput
jsonOutput( std::ostream& out ) {
   return summarised(
      [ &out ]( RunSummary const& summary ) { out << linesOf( toJson( summary ) ); } );
}

} // namespace

RunOutput
makeOutput( RunFormat format, TextOptions const& text, std::ostream& out ) {
   switch ( format ) {
   case RunFormat::text:
      break;
   case RunFormat::table:
      return tableOutput( text, out );
   case RunFormat::json:
      return jsonOutput( out );
   case RunFormat::ndjson:
      return { { std::make_unique< NdjsonSink >( out ), [] {} } };
   case RunFormat::html:
      return makePage( out );
   case RunFormat::svg:
      return { settled( std::make_unique< SvgSink >( out, labelledEventText ) ) };
   }
   return textOutput( text, out );
}

RunOutput
makePage( std::ostream& out, std::string behind ) {
   auto sink = std::make_unique< HtmlSink >( out, labelledEventText, std::move( behind ) );
   HtmlSink* const borrowed = sink.get();
   return { settled( std::move( sink ) ),
            [ borrowed ]( std::vector< Alarm > const& alarms ) {
               borrowed->tellAlarms( alarms );
            },
            [ borrowed ]( TryReleases tryReleases ) {
               borrowed->tryReleasesIs( std::move( tryReleases ) );
            } };
}

} // namespace ostra
