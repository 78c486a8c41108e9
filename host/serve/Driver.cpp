// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/Driver>

namespace ostra {

std::string_view
nameOf( HoldMeans means ) {
   return means == HoldMeans::protodown ? "protodown" : "adminDown";
}

void
NoDriver::carryOut( std::vector< Order > const& orders ) {
   for ( Order const& order : orders ) {
      listener_->answered( { order.id,
                             order.interface,
                             Answer::Result::unsupported,
                             "the driver none has no devices" } );
   }
}

} // namespace ostra
