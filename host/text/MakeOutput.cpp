// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/text/MakeOutput>

#include <host/run/NdjsonSink>

namespace ostra {

RecordOutput
makeOutput( RunFormat format, TextOptions const& text, std::ostream& out ) {
   if ( format == RunFormat::ndjson ) {
      return { std::make_unique< NdjsonSink >( out ), [] {} };
   }
   auto report = std::make_unique< TextReport >( out, text );
   TextReport* const borrowed = report.get();
   return { std::move( report ), [ borrowed ] { borrowed->settle(); } };
}

} // namespace ostra
