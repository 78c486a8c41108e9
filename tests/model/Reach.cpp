// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <model/Reach>

#include <algorithm>

namespace model {

namespace {

bool
has( Journal const& journal, Output output, std::optional< double > value ) {
   return std::any_of( journal.begin(), journal.end(), [ & ]( Record const& record ) {
      return record.output == output && record.value == value;
   } );
}

bool
logged( Journal const& journal, char const* words ) {
   return std::any_of( journal.begin(), journal.end(), [ & ]( Record const& record ) {
      return record.text.find( words ) != std::string::npos;
   } );
}

bool
isChange( Step const& step, Attribute attribute ) {
   auto const* change = std::get_if< Change >( &step );
   return change && change->attribute == attribute;
}

} // namespace

std::set< std::string > const&
allPlaces() {
   static std::set< std::string > const places{
      "a period begins",
      "a period is resumed",
      "a start in the future is not believed",
      "a counter is restored",
      "a second period in one process",
      "the end is announced",
      "the end is announced twice",
      "the end of the non-MLAG period is announced",
      "released by time",
      "the MLAG class is released alone",
      "the non-MLAG class is released alone",
      "released at once by a shorter delay",
      "rearmed by another delay",
      "an endless period",
      "a period without points",
      "released by an incomplete configuration",
      "released by state 3",
      "released by state 4",
      "released by state 2 after 4",
      "nothing to hold at boot",
      "a port comes and is held",
      "a port comes too late",
      "a held port goes",
      "a port-channel is kept snooping",
      "a port-channel loses its last member",
      "a port-channel keeps another member",
      "a member belongs to another port-channel than before",
      "an administratively shut port ends snooping",
      "standby at boot",
      "standby by override",
      "an override comes too late",
      "standby without LACP configuration",
      "standby is released",
      "a port-channel is watched",
      "a watch ends with the link up",
      "a watch ends with another link status",
      "the trackers go with the machine",
      "somebody else's entry is released",
      "a peer status is mirrored",
      "a peer status goes",
      "a local status is replaced",
      "a status stays without its mirror",
      "the mirror is set again",
   };
   return places;
}

void
Reach::been( char const* place, bool isThere ) {
   if ( isThere ) {
      places_.insert( place );
   }
}

void
Reach::onRestart( Mounts const& mounts ) {
   resumes_ = !isNever( mounts.portsErrdisabledWhen );
   boots_ = true;
}

void
Reach::onStep( Step const& step ) {
   step_ = step;
}

void
Reach::onOutcome( Journal const& journal, Sight const& before, Sight const& after ) {
   if ( after.machine && ( boots_ || !before.machine ) ) {
      auto const& machine = *after.machine;
      been( "a period begins", !resumes_ && boots_ && machine.mlagPortsErrdisabled );
      been( "a period is resumed", resumes_ && boots_ && machine.mlagPortsErrdisabled );
      been(
         "a start in the future is not believed",
         boots_ && resumes_ &&
            has(
               journal, Output::portsErrdisabledWhen, after.mounts.portsErrdisabledWhen ) &&
            !isNever( after.mounts.portsErrdisabledWhen ) );
      been( "a counter is restored", machine.timerCount == 2 );
      been( "a second period in one process", !boots_ && machine.mlagPortsErrdisabled );
      been( "nothing to hold at boot", !machine.mlagPortsErrdisabled );
      been( "standby at boot", !machine.lagsInStandby.empty() );
   } else if ( before.machine && after.machine ) {
      onMachine( journal, before, after );
   }
   been(
      "the trackers go with the machine",
      before.machine && !boots_ && !after.machine &&
         has( journal, Output::forceEnabledPorts, {} ) );
   onDirectories( journal, after );
   boots_ = false;
   resumes_ = false;
}

void
Reach::onMachine( Journal const& journal, Sight const& before, Sight const& after ) {
   onPeriod( journal, before, after );
   onRelease( journal, before );
   onTables( before, after );
   bool const comes = isChange( step_, Attribute::ethPhyIntfStatus );
   been(
      "a port comes and is held",
      comes && before.mounts.mlagissuCause.size() < after.mounts.mlagissuCause.size() );
   been(
      "a port comes too late",
      comes &&
         before.mounts.ethPhyIntfStatus.size() < after.mounts.ethPhyIntfStatus.size() &&
         !after.machine->mlagPortsErrdisabled && !after.machine->nonMlagPortsErrdisabled &&
         journal.empty() );
   been(
      "a held port goes",
      comes && before.mounts.mlagissuCause.size() > after.mounts.mlagissuCause.size() );
   been(
      "an administratively shut port ends snooping",
      isChange( step_, Attribute::adminEnabledStateLocal ) && !journal.empty() );
   been(
      "standby by override",
      isChange( step_, Attribute::lagIdConfig ) &&
         before.machine->lagsInStandby.size() < after.machine->lagsInStandby.size() );
   been(
      "an override comes too late",
      isChange( step_, Attribute::lagIdConfig ) &&
         before.mounts.lagIdConfig.size() < after.mounts.lagIdConfig.size() &&
         !after.machine->mlagPortsErrdisabled && journal.empty() );
}

void
Reach::onPeriod( Journal const& journal, Sight const& before, Sight const& after ) {
   auto const& was = *before.machine;
   auto const& is = *after.machine;
   been( "the end is announced", logged( journal, "period will" ) );
   been(
      "the end is announced twice",
      logged( journal, "period will" ) && was.timerCount == 2 );
   been( "the end of the non-MLAG period is announced", logged( journal, "non MLAG" ) );
   been(
      "the MLAG class is released alone",
      was.mlagPortsErrdisabled && !is.mlagPortsErrdisabled && is.nonMlagPortsErrdisabled );
   been(
      "the non-MLAG class is released alone",
      was.nonMlagPortsErrdisabled && !is.nonMlagPortsErrdisabled &&
         is.mlagPortsErrdisabled );
   bool const delays = isChange( step_, Attribute::reloadDelay );
   been(
      "released at once by a shorter delay",
      delays && was.mlagPortsErrdisabled && !is.mlagPortsErrdisabled );
   been( "rearmed by another delay", delays && was.wakeMlag != is.wakeMlag );
   been( "an endless period", is.mlagPortsErrdisabled && isNever( is.wakeMlag ) );
   been(
      "a period without points",
      was.mlagPortsErrdisabled && !is.mlagPortsErrdisabled && was.timerCount == 0 &&
         std::holds_alternative< Wait >( step_ ) );
}

void
Reach::onRelease( Journal const& journal, Sight const& before ) {
   if ( !has( journal, Output::portsErrdisabled, 0 ) ) {
      return;
   }
   auto const* change = std::get_if< Change >( &step_ );
   been( "released by time", std::holds_alternative< Wait >( step_ ) );
   if ( !change ) {
      return;
   }
   bool const isState = change->attribute == Attribute::mlagState;
   been(
      "released by an incomplete configuration",
      change->attribute <= Attribute::peerLinkIntf );
   been( "released by state 3", isState && change->number == 3 );
   been( "released by state 4", isState && change->number == 4 );
   been( "released by state 2 after 4", isState && change->number == 2 );
   been(
      "somebody else's entry is released",
      std::any_of(
         before.mounts.mlagissuCause.begin(),
         before.mounts.mlagissuCause.end(),
         [ & ]( auto const& entry ) {
            return !before.mounts.ethPhyIntfStatus.contains( entry.first );
         } ) );
}

void
Reach::onTables( Sight const& before, Sight const& after ) {
   auto const& was = *before.machine;
   auto const& is = *after.machine;
   std::size_t const members = is.memberToPortChannel.size();
   std::size_t const trackers = is.portChannelTracker.size();
   been( "a port-channel is kept snooping", trackers > was.portChannelTracker.size() );
   been( "a port-channel loses its last member", trackers < was.portChannelTracker.size() );
   been(
      "a port-channel keeps another member",
      members < was.memberToPortChannel.size() &&
         trackers == was.portChannelTracker.size() );
   for ( auto const& [ port, portChannel ] : is.memberToPortChannel ) {
      auto const configured = after.mounts.phyIntf.find( port );
      been(
         "a member belongs to another port-channel than before",
         configured == after.mounts.phyIntf.end() ||
            !( configured->second.lag == portChannel ) );
   }
   for ( auto const& [ portChannel, stands ] : is.lagsInStandby ) {
      been(
         "standby without LACP configuration",
         !after.mounts.lacpConfig.contains( portChannel ) );
   }
   been( "standby is released", is.lagsInStandby.empty() && !was.lagsInStandby.empty() );
   been( "a port-channel is watched", is.lagIntfStatus.size() > was.lagIntfStatus.size() );
   if (
      isChange( step_, Attribute::lagInputIntfStatus ) &&
      is.lagIntfStatus.size() < was.lagIntfStatus.size() ) {
      double const link = std::get< Change >( step_ ).number;
      been( "a watch ends with the link up", link == 2 );
      been( "a watch ends with another link status", link != 2 );
   }
}

void
Reach::onDirectories( Journal const& journal, Sight const& after ) {
   auto const* agent = std::get_if< AgentStep >( &step_ );
   been(
      "the mirror is set again",
      agent && *agent == AgentStep::setPeerReactor &&
         !after.mounts.peerIntfStatus.empty() );
   bool const peers = isChange( step_, Attribute::peerIntfStatus );
   auto const* change = std::get_if< Change >( &step_ );
   been( "a peer status is mirrored", peers && !journal.empty() && !change->removes );
   been( "a peer status goes", peers && !journal.empty() && change->removes );
   been(
      "a status stays without its mirror",
      peers && journal.empty() && change->removes &&
         after.mounts.ethIntfStatus.contains( change->key ) );
   been(
      "a local status is replaced",
      std::count_if(
         journal.begin(),
         journal.end(),
         []( Record const& record ) { return record.output == Output::ethIntfStatus; } ) ==
            1 &&
         !has( journal, Output::ethIntfStatus, {} ) &&
         after.mounts.ethIntfStatus.size() == after.mounts.allIntfStatus.size() && peers );
}

} // namespace model
