// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/http/Stream>

#include <fmt/format.h>

namespace ostra::http {

void
appendEvent( std::string& text, std::int64_t id, std::string_view data ) {
   text.append( "id: " ).append( fmt::format_int( id ).c_str() );
   text.append( "\ndata: " ).append( data ).append( "\n\n" );
}

} // namespace ostra::http
