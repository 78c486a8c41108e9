// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/text/MakeOutput>

#include <host/run/NdjsonSink>
#include <host/text/EventText>
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

} // namespace

RecordOutput
makeOutput( RunFormat format, TextOptions const& text, std::ostream& out ) {
   if ( format == RunFormat::ndjson ) {
      return { std::make_unique< NdjsonSink >( out ), [] {} };
   }
   if ( format == RunFormat::html ) {
      return settled( std::make_unique< HtmlSink >( out ) );
   }
   if ( format == RunFormat::svg ) {
      return settled( std::make_unique< SvgSink >( out, eventText ) );
   }
   return settled( std::make_unique< TextReport >( out, text ) );
}

} // namespace ostra
