// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/text/MakeOutput>

#include <host/run/NdjsonSink>
#include <host/web/HtmlSink>

namespace ostra {

RecordOutput
makeOutput( RunFormat format, TextOptions const& text, std::ostream& out ) {
   if ( format == RunFormat::ndjson ) {
      return { std::make_unique< NdjsonSink >( out ), [] {} };
   }
   if ( format == RunFormat::html ) {
      auto page = std::make_unique< HtmlSink >( out );
      HtmlSink* const borrowed = page.get();
      return { std::move( page ), [ borrowed ] { borrowed->settle(); } };
   }
   auto report = std::make_unique< TextReport >( out, text );
   TextReport* const borrowed = report.get();
   return { std::move( report ), [ borrowed ] { borrowed->settle(); } };
}

} // namespace ostra
