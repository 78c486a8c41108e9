// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <model/Environment>

namespace model {

void
Environment::record( Output output, Id const& key, std::optional< double > value ) {
   journal.push_back( { ms, output, key, value, "" } );
}

void
Environment::log( std::string const& text ) {
   journal.push_back( { ms, Output::log, Id(), 6, text } );
}

void
Environment::portsErrdisabledIs( bool v ) {
   if ( mounts.portsErrdisabled != v ) {
      mounts.portsErrdisabled = v;
      record( Output::portsErrdisabled, Id(), v );
   }
}

void
Environment::portsErrdisabledWhenIs( double v ) {
   if ( mounts.portsErrdisabledWhen != v ) {
      mounts.portsErrdisabledWhen = v;
      record( Output::portsErrdisabledWhen, Id(), v );
   }
}

void
Environment::holdInSecondaryIs( bool v ) {
   if ( mounts.holdInSecondary != v ) {
      mounts.holdInSecondary = v;
      record( Output::holdInSecondary, Id(), v );
   }
}

void
Environment::causeIs( Id const& port, double when ) {
   auto const [ it, added ] = mounts.mlagissuCause.try_emplace( port, when );
   if ( added || it->second != when ) {
      it->second = when;
      record( Output::cause, port, when );
   }
}

void
Environment::causeDel( Id const& port ) {
   if ( mounts.mlagissuCause.erase( port ) > 0 ) {
      record( Output::cause, port, {} );
   }
}

void
Environment::forceEnabledPortsIs( Id const& portChannel ) {
   if ( mounts.forceEnabledPorts.insert( portChannel ).second ) {
      record( Output::forceEnabledPorts, portChannel, 1 );
   }
}

void
Environment::forceEnabledPortsDel( Id const& portChannel ) {
   if ( mounts.forceEnabledPorts.erase( portChannel ) > 0 ) {
      record( Output::forceEnabledPorts, portChannel, {} );
   }
}

void
Environment::portChannelIs( Id const& portChannel, bool stayInStandby ) {
   mounts.lacpConfig[ portChannel ] = stayInStandby;
   record( Output::portChannel, portChannel, stayInStandby );
}

void
Environment::portChannelDel( Id const& portChannel ) {
   if ( mounts.lacpConfig.erase( portChannel ) > 0 ) {
      record( Output::portChannel, portChannel, {} );
   }
}

void
Environment::stayInStandbyIs( Id const& portChannel, bool v ) {
   bool& stay = mounts.lacpConfig.at( portChannel );
   if ( stay != v ) {
      stay = v;
      record( Output::stayInStandby, portChannel, v );
   }
}

void
Environment::statusIs(
   Output output, Table< StatusRef >& dir, Id const& key, StatusRef const& status ) {
   auto const [ it, added ] = dir.try_emplace( key, status );
   if ( added || it->second.object != status.object ) {
      it->second = status;
      record( output, key, status.object->number );
   }
}

void
Environment::ethIntfStatusIs( Id const& key, StatusRef const& status ) {
   statusIs( Output::ethIntfStatus, mounts.ethIntfStatus, key, status );
}

void
Environment::allIntfStatusIs( Id const& key, StatusRef const& status ) {
   statusIs( Output::allIntfStatus, mounts.allIntfStatus, key, status );
}

void
Environment::ethIntfStatusDel( Id const& key ) {
   if ( mounts.ethIntfStatus.erase( key ) > 0 ) {
      record( Output::ethIntfStatus, key, {} );
   }
}

void
Environment::allIntfStatusDel( Id const& key ) {
   if ( mounts.allIntfStatus.erase( key ) > 0 ) {
      record( Output::allIntfStatus, key, {} );
   }
}

} // namespace model
