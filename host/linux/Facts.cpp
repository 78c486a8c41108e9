// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/linux/Facts>

#include <host/state/MountTable>

#include <Interface/IntfEnabledState>
#include <Interface/LinkStatus>
#include <Lag/LacpMode>

#include <algorithm>
#include <string_view>
#include <utility>

#include <linux/if.h>

namespace ostra {

namespace {

using Interface::IntfEnabledState;
using Interface::LinkStatus;
using Lag::LacpMode;

// A device that does not say is as good as its carrier.
bool
hasLinkOf( Link const& link ) {
   return link.operState == IF_OPER_UP ||
      ( link.operState == IF_OPER_UNKNOWN && link.isCarrying() );
}

// Where a mount has its entries.
struct Entries {
   char const* mount;
   char const* collection;
};

constexpr Entries configs = { mount::ethPhyIntfConfig, "intfConfig" };
constexpr Entries membership = { mount::lagInputConfig, "phyIntf" };
constexpr Entries lagStatus = { mount::lagInputIntfStatus, "intfStatus" };
constexpr Entries status = { mount::ethPhyIntfStatus, "intfStatus" };

} // namespace

// The mounts in the order in which they are applied, with what is to be set in each.
class Facts::Patch {
 public:
   explicit Patch( std::vector< Entries > const& order ) {
      for ( Entries const& at : order ) {
         parts_.emplace_back( at, Json::object() );
      }
   }

   // Once for each interface of a mount.
   void set( Entries const& of, std::string const& interface, Json value ) {
      auto const part =
         std::find_if( parts_.begin(), parts_.end(), [ &of ]( auto const& known ) {
            return std::string_view( known.first.mount ) == of.mount;
         } );
      if ( part != parts_.end() ) {
         appendMember( part->second, interface, std::move( value ) );
      }
   }
   void addTo( std::vector< Json >& patches ) const {
      Json patch = Json::object();
      for ( auto const& [ at, entries ] : parts_ ) {
         if ( !entries.empty() ) {
            patch[ at.mount ][ at.collection ] = entries;
         }
      }
      if ( !patch.empty() ) {
         patches.push_back( std::move( patch ) );
      }
   }

 private:
   std::vector< std::pair< Entries, Json > > parts_;
};

std::vector< std::string >
Facts::mounts() const {
   std::vector< std::string > mounts = { configs.mount, status.mount };
   if ( devices_.hasMembership() ) {
      mounts.emplace_back( membership.mount );
   }
   if ( devices_.hasPortChannels() ) {
      mounts.emplace_back( lagStatus.mount );
   }
   return mounts;
}

Facts::Port
Facts::portOf( Link const& link ) const {
   std::string const& ofBond = devices_.portChannelOf( link );
   return { link.isUp() || isTakenDown_( link.index ),
            hasLinkOf( link ),
            ofBond.empty() ? devices_.expectedPortChannelOf( link ) : ofBond,
            !ofBond.empty() && devices_.link( link.master )->isOf8023ad() };
}

void
Facts::tell(
   Patch& patch, std::string const& interface, Port const* before, Port const* now ) {
   Json linkStatus;
   if ( now ) {
      LinkStatus const link = now->hasLink ? LinkStatus::linkUp : LinkStatus::linkDown;
      linkStatus = { { "linkStatus", Ryx::valueToStrep( link ) } };
   }
   if ( isPortChannel( interface ) ) {
      patch.set( lagStatus, interface, std::move( linkStatus ) );
      return;
   }
   Json enabled;
   if ( now ) {
      IntfEnabledState const state =
         now->isEnabled ? IntfEnabledState::enabled : IntfEnabledState::shutdown;
      enabled = { { "adminEnabledStateLocal", Ryx::valueToStrep( state ) } };
   }
   patch.set( configs, interface, std::move( enabled ) );
   patch.set( status, interface, std::move( linkStatus ) );
   if ( now && !now->portChannel.empty() ) {
      LacpMode const mode = now->isLacp ? LacpMode::lacpActive : LacpMode::lacpOff;
      patch.set(
         membership,
         interface,
         { { "lag", now->portChannel }, { "mode", Ryx::valueToStrep( mode ) } } );
   } else if ( before && !before->portChannel.empty() ) {
      patch.set( membership, interface, nullptr );
   }
}

std::vector< Json >
Facts::patches( Devices::Changes const& changes ) {
   Patch gone( { status, membership, configs, lagStatus } );
   Patch there( { configs, membership, lagStatus, status } );
   for ( std::string const& interface : changes.interfaces ) {
      Link const* const link = devices_.linkOf( interface );
      auto told = told_.find( interface );
      if ( told != told_.end() && ( !link || changes.left.contains( interface ) ) ) {
         tell( gone, interface, &told->second, nullptr );
         told_.erase( told );
         told = told_.end();
      }
      if ( !link ) {
         continue;
      }
      Port const* const before = told == told_.end() ? nullptr : &told->second;
      Port const now = portOf( *link );
      if ( !before || *before != now ) {
         tell( there, interface, before, &now );
         told_[ interface ] = now;
      }
   }
   std::vector< Json > patches;
   gone.addTo( patches );
   there.addTo( patches );
   return patches;
}

} // namespace ostra
