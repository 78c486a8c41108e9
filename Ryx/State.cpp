// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/State>

namespace Ryx {

void
refuseNullArgument( std::string_view type, std::string_view attribute ) {
   // The closing quote is part of the text that operators' tools look for.
   throwRangeException(
      "null _" + String8( attribute ) + " parameter to mutator for " + String8( type ) +
      "::" + String8( attribute ) + " not allowed\"" );
}

void
refusePresentKey( std::string_view type, std::string_view attribute, String8 const& key ) {
   throwRangeException(
      "key " + key + " is present in " + String8( type ) + "::" + String8( attribute ) );
}

String8
memberText( std::string_view attribute, String8 const& key ) {
   return String8( attribute ) + "/" + key;
}

} // namespace Ryx
