// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <model/Journal>

#include <array>
#include <sstream>

namespace model {

char const*
nameOf( Output output ) {
   static constexpr std::array names{
      "portsErrdisabled",  "portsErrdisabledWhen",
      "holdInSecondary",   "mlagissuCause",
      "forceEnabledPorts", "portChannel",
      "stayInStandby",     "ethIntfStatusDir",
      "allIntfStatusDir",  "log",
   };
   return names.at( static_cast< std::size_t >( output ) );
}

std::string
toText( Record const& record ) {
   std::ostringstream out;
   out.precision( 17 );
   out << static_cast< double >( record.ms ) / 1000.0 << " " << nameOf( record.output )
       << " " << record.key.name << " ";
   if ( record.value ) {
      out << *record.value;
   } else {
      out << "-";
   }
   out << " " << record.text;
   return out.str();
}

} // namespace model
