// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <model/Player>

#include <algorithm>
#include <sstream>

namespace model {

namespace {

using Lines = std::vector< std::string >;

// One line for each value, with its name in front.
class Lister {
 public:
   template< class T >
   void add( char const* name, T const& value ) {
      std::ostringstream out;
      out.precision( 17 );
      out << name << " " << value;
      lines.push_back( out.str() );
   }
   void add( char const* name, Id const& id ) { add( name, id.name ); }
   void add( char const* name, Ids const& ids ) {
      for ( Id const& id : ids ) {
         add( name, id.name );
      }
   }
   void add( char const* name, StatusRef const& status ) {
      add( name, status.object->number * 10 + unsigned( status.object->linkStatus ) );
   }
   void add( char const* name, PortConfig const& config ) {
      add( name, config.adminEnabledStateLocal * 10 + config.fallback.value_or( 9 ) );
   }
   void add( char const* name, Membership const& member ) {
      add( name, member.lag.name + " " + std::to_string( member.mode ) );
   }
   template< class T >
   void add( char const* name, Table< T > const& table ) {
      for ( auto const& [ key, value ] : table ) {
         add( ( name + ( " " + key.name ) ).c_str(), value );
      }
   }

   Lines lines;
};

void
list( Lister& lister, MlagConfig const& config ) {
   lister.add( "enabled", config.enabled );
   lister.add( "domainId", config.domainId );
   lister.add( "localInterface", config.localInterface );
   lister.add( "peerAddress", config.peerAddress );
   lister.add( "peerLinkIntf", config.peerLinkIntf );
   lister.add( "MLAG interface", config.intfConfig );
   lister.add( "reloadDelay", config.reloadDelay );
   lister.add( "reloadDelayNonMlagConfigured", config.reloadDelayNonMlagConfigured );
   lister.add( "reloadDelayNonMlag", config.reloadDelayNonMlag );
   lister.add( "lacpStandby", config.lacpStandby );
}

void
list( Lister& lister, Mounts const& mounts ) {
   list( lister, mounts.mlagConfig );
   lister.add( "mlagState", mounts.mlagState );
   lister.add( "systemId", mounts.systemId );
   lister.add( "portsErrdisabled", mounts.portsErrdisabled );
   lister.add( "portsErrdisabledWhen", mounts.portsErrdisabledWhen );
   lister.add( "holdInSecondary", mounts.holdInSecondary );
   lister.add( "port", mounts.ethPhyIntfStatus );
   lister.add( "port configuration", mounts.ethPhyIntfConfig );
   lister.add( "port-channel status", mounts.lagInputIntfStatus );
   lister.add( "override", mounts.lagIdConfig );
   lister.add( "cause", mounts.mlagissuCause );
   lister.add( "forceEnabledPorts", mounts.forceEnabledPorts );
   lister.add( "membership", mounts.phyIntf );
   lister.add( "stayInStandby", mounts.lacpConfig );
   lister.add( "peer status", mounts.peerIntfStatus );
   lister.add( "Ethernet status", mounts.ethIntfStatus );
   lister.add( "status", mounts.allIntfStatus );
}

void
list( Lister& lister, MachineState const& state ) {
   lister.add( "mlagPortsErrdisabled", state.mlagPortsErrdisabled );
   lister.add( "nonMlagPortsErrdisabled", state.nonMlagPortsErrdisabled );
   lister.add( "timerCount", state.timerCount );
   lister.add( "timerCountNonMlag", state.timerCountNonMlag );
   lister.add( "logMinTime", state.logMinTime );
   lister.add( "initialized", state.initialized );
   lister.add( "secondaryPrev", state.secondaryPrev );
   lister.add( "MLAG wake-up", state.wakeMlag );
   lister.add( "non-MLAG wake-up", state.wakeNonMlag );
   lister.add( "lagsInStandby", state.lagsInStandby );
   lister.add( "intfConfig", state.intfConfig );
   lister.add( "lagIntfStatus", state.lagIntfStatus );
   lister.add( "portChannelToMember", state.portChannelToMember );
   lister.add( "memberToPortChannel", state.memberToPortChannel );
   lister.add( "portChannelTracker", state.portChannelTracker );
}

Lines
linesOf( Sight const& sight ) {
   Lister lister;
   lister.add( "agent", sight.hasAgent );
   lister.add( "peer reactor", sight.hasPeerReactor );
   lister.add( "machine", sight.machine.has_value() );
   lister.add( "next wake-up", sight.nextWake );
   list( lister, sight.mounts );
   if ( sight.machine ) {
      list( lister, *sight.machine );
   }
   return lister.lines;
}

std::string
onlyIn( char const* mark, Lines const& some, Lines const& others ) {
   std::string text;
   for ( std::string const& line : some ) {
      if ( std::find( others.begin(), others.end(), line ) == others.end() ) {
         text += mark + line + "\n";
      }
   }
   return text;
}

std::string
listed( char const* mark, Journal const& journal ) {
   std::string text;
   for ( Record const& record : journal ) {
      text += mark + toText( record ) + "\n";
   }
   return text;
}

} // namespace

std::string
differences( Journal const& expected, Journal const& actual ) {
   return expected == actual ? "" : listed( "- ", expected ) + listed( "+ ", actual );
}

std::string
differences( Sight const& expected, Sight const& actual ) {
   if ( expected == actual ) {
      return "";
   }
   Lines const wanted = linesOf( expected );
   Lines const found = linesOf( actual );
   std::string const text = onlyIn( "- ", wanted, found ) + onlyIn( "+ ", found, wanted );
   return text.empty() ? "states differ in what is not listed\n" : text;
}

} // namespace model
