// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// How random scenarios begin, and how they are generated and shown.

#include <model/AnyLife>
#include <model/Names>

#include <array>
#include <ostream>

namespace model {

namespace {

using Kind = Command::Kind;

struct Weight {
   Kind kind;
   char const* name;
   unsigned inSetup;
   unsigned inEvents;
};

constexpr std::array weights{
   Weight{ Kind::wait, "wait", 0, 40 },
   Weight{ Kind::port, "port", 8, 20 },
   Weight{ Kind::portConfig, "portConfig", 5, 8 },
   Weight{ Kind::noPortConfig, "noPortConfig", 2, 2 },
   Weight{ Kind::fallback, "fallback", 3, 3 },
   Weight{ Kind::member, "member", 6, 8 },
   Weight{ Kind::mlagInterface, "mlagInterface", 5, 5 },
   Weight{ Kind::linkStatus, "linkStatus", 4, 9 },
   Weight{ Kind::lacpOverride, "lacpOverride", 6, 14 },
   Weight{ Kind::lacpConfig, "lacpConfig", 4, 5 },
   Weight{ Kind::mlagState, "mlagState", 4, 10 },
   Weight{ Kind::systemId, "systemId", 1, 2 },
   Weight{ Kind::holdInSecondary, "holdInSecondary", 2, 8 },
   Weight{ Kind::reloadDelay, "reloadDelay", 6, 6 },
   Weight{ Kind::reloadDelayNonMlag, "reloadDelayNonMlag", 6, 6 },
   Weight{ Kind::nonMlagConfigured, "nonMlagConfigured", 6, 4 },
   Weight{ Kind::lacpStandby, "lacpStandby", 6, 3 },
   Weight{ Kind::breakConfig, "breakConfig", 1, 1 },
   Weight{ Kind::repairConfig, "repairConfig", 1, 5 },
   Weight{ Kind::peerLink, "peerLink", 2, 5 },
   Weight{ Kind::othersCause, "othersCause", 4, 4 },
   Weight{ Kind::othersSnooping, "othersSnooping", 3, 3 },
   Weight{ Kind::othersHold, "othersHold", 3, 1 },
   Weight{ Kind::peerStatus, "peerStatus", 6, 9 },
   Weight{ Kind::ethStatus, "ethStatus", 2, 3 },
   Weight{ Kind::allStatus, "allStatus", 2, 2 },
   Weight{ Kind::agent, "agent", 0, 3 },
   Weight{ Kind::machine, "machine", 0, 8 },
   Weight{ Kind::peerReactor, "peerReactor", 0, 4 },
   Weight{ Kind::restart, "restart", 0, 4 },
};

// A kind is drawn from a list in which each stands as often as it weighs.
std::vector< Kind >
urn( unsigned Weight::*weightOf ) {
   std::vector< Kind > kinds;
   for ( Weight const& weight : weights ) {
      kinds.insert( kinds.end(), weight.*weightOf, weight.kind );
   }
   return kinds;
}

// Shrinks towards small numbers, but never to another kind.
rc::Gen< Command >
anyCommand( std::vector< Kind > kinds ) {
   return rc::gen::build< Command >(
      rc::gen::set(
         &Command::kind, rc::gen::noShrink( rc::gen::elementOf( std::move( kinds ) ) ) ),
      rc::gen::set( &Command::where, rc::gen::inRange< unsigned >( 0, 96 ) ),
      rc::gen::set( &Command::what, rc::gen::inRange< unsigned >( 0, 96 ) ) );
}

void
addPort( Mounts& mounts, std::string const& name, std::string const& lag ) {
   Names const& names = Names::instance();
   mounts.ethPhyIntfStatus.insert( names[ name ] );
   mounts.ethPhyIntfConfig[ names[ name ] ] = { 1, {} };
   if ( !lag.empty() ) {
      mounts.phyIntf[ names[ name ] ] = { names[ lag ], 2 };
   }
}

MlagConfig
leafConfig() {
   Names const& names = Names::instance();
   MlagConfig config;
   config.enabled = true;
   config.domainId = "pod1";
   config.localInterface = names[ "Vlan4094" ];
   config.peerAddress = "10.0.0.2";
   config.peerLinkIntf = names[ "Port-Channel1000" ];
   config.intfConfig = { { names[ "Port-Channel10" ], "10" },
                         { names[ "Port-Channel20" ], "20" } };
   config.reloadDelay = 300;
   return config;
}

} // namespace

rc::Gen< Life >
anyLife() {
   using Commands = std::vector< Command >;
   auto const setup = anyCommand( urn( &Weight::inSetup ) );
   auto const event = anyCommand( urn( &Weight::inEvents ) );
   return rc::gen::build< Life >(
      rc::gen::set( &Life::boot, rc::gen::inRange< unsigned >( 0, 10 ) ),
      rc::gen::set(
         &Life::setup, rc::gen::scale( 0.2, rc::gen::container< Commands >( setup ) ) ),
      rc::gen::set(
         &Life::events, rc::gen::scale( 1.5, rc::gen::container< Commands >( event ) ) ) );
}

Mounts
leafSwitch( unsigned variant ) {
   Names const& names = Names::instance();
   Mounts mounts;
   mounts.mlagConfig = leafConfig();
   mounts.mlagState = 4;
   mounts.systemId = "02:00:00:00:10:01";
   mounts.holdInSecondary = true;
   addPort( mounts, "Ethernet1", "Port-Channel10" );
   addPort( mounts, "Ethernet2", "Port-Channel10" );
   addPort( mounts, "Ethernet3", "Port-Channel20" );
   addPort( mounts, "Ethernet4", "Port-Channel30" );
   addPort( mounts, "Ethernet5", "" );
   addPort( mounts, "Ethernet6", "Port-Channel1000" );
   addPort( mounts, "Ethernet7", "Port-Channel20" );
   mounts.ethPhyIntfStatus.erase( names[ "Ethernet7" ] );
   addPort( mounts, "Management1", "" );
   addPort( mounts, "Internal1", "" );
   if ( variant % 2 == 1 ) {
      mounts.mlagConfig.lacpStandby = true;
      mounts.lagIdConfig[ names[ "Port-Channel20" ] ] = mounts.systemId;
   }
   for ( char const* lag : { "Port-Channel10", "Port-Channel20" } ) {
      mounts.lacpConfig[ names[ lag ] ] = false;
      mounts.lagInputIntfStatus[ names[ lag ] ] = { std::make_shared< Status >() };
   }
   return mounts;
}

Mounts
bootMounts( Life const& life ) {
   std::int64_t const ms = bootMs( life );
   Switch bench( leafSwitch( life.boot ), ms, Plugin::absent );
   for ( Command const& command : life.setup ) {
      bench.apply( std::get< Change >( *resolve( command, bench.sight(), ms ) ) );
   }
   return bench.mounts();
}

std::ostream&
operator<<( std::ostream& out, Command const& command ) {
   return out << weights.at( static_cast< std::size_t >( command.kind ) ).name << "("
              << command.where << "," << command.what << ")";
}

std::ostream&
operator<<( std::ostream& out, Life const& life ) {
   out << "boot " << life.boot << ", setup";
   for ( Command const& command : life.setup ) {
      out << " " << command;
   }
   out << ", events";
   for ( Command const& command : life.events ) {
      out << " " << command;
   }
   return out;
}

} // namespace model
