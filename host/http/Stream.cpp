// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/http/Stream>

#include <fmt/format.h>

namespace ostra::http {

std::string
eventText( std::string_view id, std::string_view data ) {
   return fmt::format( "id: {}\ndata: {}\n\n", id, data );
}

} // namespace ostra::http
