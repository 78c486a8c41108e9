// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/run/RecordJson>

namespace ostra {

void
append( Json& json, WriteRecord const& write ) {
   appendMember( json, "type", "write" );
   appendMember( json, "path", write.path );
   appendMember( json, "value", write.value );
}

void
append( Json& json, EventRecord const& event ) {
   appendMember( json, "type", "event" );
   appendMember( json, "index", event.index );
}

void
append( Json& json, LogMessageRecord const& message ) {
   appendMember( json, "type", "log" );
   appendMember( json, "id", message.id );
   appendMember( json, "severity", message.severity );
   appendMember( json, "text", message.text );
}

void
append( Json& json, TraceLineRecord const& trace ) {
   appendMember( json, "type", "trace" );
   appendMember( json, "handle", trace.handle );
   appendMember( json, "level", trace.level );
   appendMember( json, "file", trace.file );
   appendMember( json, "line", trace.line );
   appendMember( json, "function", trace.function );
   appendMember( json, "text", trace.text );
}

std::string
lineOf( Json const& json ) {
   return json.dump( -1, ' ', false, Json::error_handler_t::replace );
}

} // namespace ostra
