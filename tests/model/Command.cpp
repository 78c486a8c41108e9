// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <model/Command>
#include <model/Names>

#include <algorithm>
#include <array>
#include <cmath>
#include <ostream>

namespace model {

namespace {

using Kind = Command::Kind;

template< class T, std::size_t n >
T const&
pick( std::array< T, n > const& values, unsigned number ) {
   return values[ number % n ];
}

Id const&
pick( std::vector< Id > const& ids, unsigned number ) {
   return ids[ number % ids.size() ];
}

constexpr std::array delays{ 300.0, 120.0, 60.0, 600.0, 20.0,     11.0, 10.001, 10.0, 9.999,
                             5.0,   0.5,   0.0,  never, 100000.0, -5.0, 1e7,    330.0 };

std::array< std::string, 4 > const systemIds{
   "02:00:00:00:10:01", "02:00:00:00:10:02", noAddress, "02:00:00:00:10:01"
};

// Any port, and the members of the MLAG port-channels as often as all others together.
Id const&
anyPort( unsigned number ) {
   static constexpr std::array< unsigned, 4 > members{ 0, 1, 2, 6 };
   auto const& ports = Names::instance().ports;
   return number % 2 == 0 ? ports[ pick( members, number / 2 ) ]
                          : pick( ports, number / 2 );
}

// Port-channels, and now and then a port.
Id const&
lagOrPort( unsigned number ) {
   Names const& names = Names::instance();
   return number % 8 == 7 ? pick( names.ports, number / 8 )
                          : pick( names.portChannels, number % 8 );
}

Change
flag( Attribute attribute, bool on ) {
   return { .attribute = attribute, .number = on ? 1.0 : 0.0 };
}

Wait
waitFor( unsigned what, double nextWake, std::int64_t ms ) {
   static constexpr std::array< std::int64_t, 5 > spans{ 1, 1000, 10000, 50000, 400000 };
   std::int64_t const next = isNever( nextWake ) ? ms + 20000 : millisecondOf( nextWake );
   std::array< std::int64_t, 10 > const untils{ next,
                                                next - 1,
                                                next + 1,
                                                ms + ( next - ms ) / 2,
                                                next,
                                                ms + spans[ 0 ],
                                                ms + spans[ 1 ],
                                                ms + spans[ 2 ],
                                                ms + spans[ 3 ],
                                                ms + spans[ 4 ] };
   return { std::max( ms, pick( untils, what ) ) };
}

Change
portChange( Command const& command ) {
   Id const& port = anyPort( command.where );
   double const state = command.what % 3;
   switch ( command.kind ) {
   case Kind::port:
      return { .attribute = Attribute::ethPhyIntfStatus,
               .key = port,
               .removes = command.what % 2 == 1 };
   case Kind::portConfig:
      return { .attribute = Attribute::adminEnabledStateLocal,
               .key = port,
               .number = state };
   case Kind::noPortConfig:
      return { .attribute = Attribute::adminEnabledStateLocal,
               .key = port,
               .removes = true };
   case Kind::fallback:
      return { .attribute = Attribute::defaultConfig,
               .key = port,
               .removes = command.what % 4 == 3,
               .number = state };
   default: { // its membership
      auto const& lags = Names::instance().portChannels;
      bool const isIn = command.what % 5 < 4;
      return { .attribute = Attribute::phyIntf,
               .key = port,
               .removes = command.what % 11 == 10,
               .number = command.what % 7 < 5 ? 2.0 : 1.0,
               .reference = isIn ? pick( lags, command.what % 5 ) : Id() };
   }
   }
}

Change
lagChange( Command const& command ) {
   Id const& lag = lagOrPort( command.where );
   unsigned const what = command.what;
   bool const removes = what % 5 == 4;
   switch ( command.kind ) {
   case Kind::mlagInterface:
      return { .attribute = Attribute::mlagIntfConfig,
               .key = lag,
               .removes = removes,
               .text = what % 5 == 3 ? "" : "10" };
   case Kind::linkStatus:
      return { .attribute = Attribute::lagInputIntfStatus,
               .key = lag,
               .removes = removes,
               .number = static_cast< double >( what % 3 ) };
   case Kind::lacpOverride:
      return { .attribute = Attribute::lagIdConfig,
               .key = lag,
               .removes = removes,
               .text = pick( systemIds, what ) };
   case Kind::othersSnooping:
      return { .attribute = Attribute::forceEnabledPorts, .key = lag, .removes = removes };
   default:
      return { .attribute = Attribute::lacpConfig,
               .key = lag,
               .removes = removes,
               .number = static_cast< double >( what % 2 ) };
   }
}

Change
statusChange( Command const& command ) {
   Change change{ .attribute = Attribute::peerIntfStatus,
                  .key = pick( Names::instance().peerPorts, command.where ),
                  .removes = command.what % 4 == 3,
                  .number = static_cast< double >( command.what % 3 ) };
   if ( command.kind == Kind::ethStatus ) {
      change.attribute = Attribute::ethIntfStatus;
   } else if ( command.kind == Kind::allStatus ) {
      change.attribute = Attribute::allIntfStatus;
   }
   return change;
}

Change
conditionChange( Command const& command ) {
   Names const& names = Names::instance();
   bool const repairs = command.kind == Kind::repairConfig;
   switch ( command.where % 5 ) {
   case 0:
      return flag( Attribute::enabled, repairs );
   case 1:
      return { .attribute = Attribute::domainId, .text = repairs ? "pod1" : "" };
   case 2:
      return { .attribute = Attribute::localInterface,
               .reference = names[ repairs ? "Vlan4094" : "" ] };
   case 3:
      return { .attribute = Attribute::peerAddress,
               .text = repairs ? "10.0.0.2" : "0.0.0.0" };
   default:
      return { .attribute = Attribute::peerLinkIntf,
               .reference = names[ repairs ? "Port-Channel1000" : "" ] };
   }
}

Change
mlagChange( Command const& command ) {
   // State 3 ends everything, so that it is rarer than the others.
   static constexpr std::array< double, 13 > states{
      4, 1, 0, 4, 2, 1, 4, 0, 2, 4, 1, 3, 2
   };
   switch ( command.kind ) {
   case Kind::mlagState:
      return { .attribute = Attribute::mlagState, .number = pick( states, command.what ) };
   case Kind::systemId:
      return { .attribute = Attribute::systemId, .text = pick( systemIds, command.what ) };
   case Kind::holdInSecondary:
      return flag( Attribute::holdInSecondary, command.what % 2 == 0 );
   case Kind::reloadDelay:
      return { .attribute = Attribute::reloadDelay,
               .number = pick( delays, command.what ) };
   case Kind::reloadDelayNonMlag:
      return { .attribute = Attribute::reloadDelayNonMlag,
               .number = pick( delays, command.what ) };
   case Kind::nonMlagConfigured:
      return flag( Attribute::reloadDelayNonMlagConfigured, command.what % 3 != 2 );
   case Kind::lacpStandby:
      return flag( Attribute::lacpStandby, command.what % 4 != 3 );
   default:
      return { .attribute = Attribute::peerLinkIntf,
               .reference = lagOrPort( command.where ) };
   }
}

// What another writer of the outputs does.
Change
othersChange( Command const& command, double now ) {
   static constexpr std::array offsets{ 0.0, -30.0, -250.0, never, 100.0, 1000.0, -290.0 };
   if ( command.kind == Kind::othersCause ) {
      return { .attribute = Attribute::mlagissuCause,
               .key = anyPort( command.where ),
               .removes = command.what % 4 == 3,
               .number = now - 0.5 };
   }
   if ( command.where % 4 == 0 ) {
      return flag( Attribute::portsErrdisabled, command.what % 2 == 1 );
   }
   return { .attribute = Attribute::portsErrdisabledWhen,
            .number = now + pick( offsets, command.what ) };
}

Step
changeOf( Command const& command, double now ) {
   switch ( command.kind ) {
   case Kind::port:
   case Kind::portConfig:
   case Kind::noPortConfig:
   case Kind::fallback:
   case Kind::member:
      return portChange( command );
   case Kind::mlagInterface:
   case Kind::linkStatus:
   case Kind::lacpOverride:
   case Kind::lacpConfig:
   case Kind::othersSnooping:
      return lagChange( command );
   case Kind::othersCause:
   case Kind::othersHold:
      return othersChange( command, now );
   case Kind::breakConfig:
   case Kind::repairConfig:
      return conditionChange( command );
   case Kind::peerStatus:
   case Kind::ethStatus:
   case Kind::allStatus:
      return statusChange( command );
   default:
      return mlagChange( command );
   }
}

std::optional< Step >
agentStep( Command const& command, bool hasAgent ) {
   bool const deletes = command.what % 3 == 2;
   if ( deletes && !hasAgent ) {
      return std::nullopt;
   }
   switch ( command.kind ) {
   case Kind::agent:
      return deletes ? AgentStep::del : AgentStep::setAll;
   case Kind::machine:
      return deletes ? AgentStep::delMachine : AgentStep::setMachine;
   default:
      return deletes ? AgentStep::delPeerReactor : AgentStep::setPeerReactor;
   }
}

} // namespace

std::optional< Step >
resolve( Command const& command, Sight const& sight, std::int64_t ms ) {
   static constexpr std::array< std::int64_t, 8 > pauses{
      0, 1, 1000, 30000, 90000, 1000000, -50000, -1000000
   };
   switch ( command.kind ) {
   case Kind::wait:
      return waitFor( command.what, sight.nextWake, ms );
   case Kind::restart:
      return Restart{ pick( pauses, command.what ) };
   case Kind::agent:
   case Kind::machine:
   case Kind::peerReactor:
      return agentStep( command, sight.hasAgent );
   default:
      return changeOf( command, static_cast< double >( ms ) / 1000.0 );
   }
}

std::int64_t
bootMs( Life const& life ) {
   static constexpr std::array< std::int64_t, 5 > times{ 0, 100000, 1234567, -5000, 100 };
   return pick( times, life.boot / 2 );
}

} // namespace model
