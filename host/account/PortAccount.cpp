// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/account/PortAccount>

#include <host/account/HoldWait>
#include <host/account/HoldWords>

#include <map>
#include <utility>

namespace ostra {

using Kind = PortStanding::Kind;

namespace {

using Kovel::IntfId;
using HoldsOf = std::map< IntfId, std::vector< PastHold > >;

class Accounts {
 public:
   Accounts( RunAccount const& run, bool isTimerLeft )
         : facts_( run.facts() ),
           departures_( run.departures() ),
           isTimerLeft_( isTimerLeft ),
           standings_( facts_, run.ledger(), false ),
           waits_( facts_ ) {
      for ( Span const& span : run.ledger().spans() ) {
         if ( span.to ) {
            addOver( span );
         }
      }
      for ( Hold const& hold : run.ledger().open() ) {
         holdsOf( hold.kind )[ hold.id ].push_back( { hold.kind,
                                                      classWhenHeld( hold.kind, hold.id ),
                                                      hold.from,
                                                      std::nullopt,
                                                      waitText( hold ) } );
      }
      for ( auto const& [ why, group ] : run.neverHeld().notHeld ) {
         for ( IntfId const port : group.ports ) {
            whyNever_[ port ] = why;
         }
      }
   }

   PortAccounts all() const {
      HoldsOf ports = errdisabled_;
      for ( IntfId const port : facts_.ports() ) {
         ports.try_emplace( port );
      }
      PortAccounts accounts;
      for ( auto const& [ id, holds ] : ports ) {
         accounts.ports.push_back( portAccount( id, holds ) );
      }
      for ( auto const& [ id, holds ] : standby_ ) {
         accounts.portChannels.push_back( portChannelAccount( id, holds ) );
      }
      accounts.gone = departures_;
      std::erase_if( accounts.gone, [ this ]( auto const& departure ) {
         return facts_.isPresent( departure.first );
      } );
      return accounts;
   }

 private:
   HoldsOf& holdsOf( HolderKind kind ) {
      return kind == HolderKind::standby ? standby_ : errdisabled_;
   }

   // Of a port-channel in LACP standby it is the present one.
   std::string classWhenHeld( HolderKind kind, IntfId id ) const {
      bool const isMlag = kind == HolderKind::standby
         ? facts_.classOf( id ) == PortClass::mlag
         : kind == HolderKind::mlagPort;
      return isMlag ? "mlag" : "nonMlag";
   }

   void addOver( Span const& span ) {
      for ( IntfId const id : span.ids ) {
         auto& holds = holdsOf( span.kind )[ id ];
         // Spans come by kind first, and a port may change its class.
         auto at = holds.end();
         while ( at != holds.begin() && span.to < ( at - 1 )->to ) {
            --at;
         }
         holds.insert(
            at,
            { span.kind, classWhenHeld( span.kind, id ), span.from, span.to, span.why } );
      }
   }

   std::string waitText( Hold const& hold ) const {
      Wait const wait = waits_.of( hold );
      std::string const text = "still held, " + wait.why;
      if ( !facts_.isMachineThere() ) {
         return text + " it";
      }
      return isTimerLeft_ && wait.hasTimer ? text : text + ", and no timer will release it";
   }

   PortAccount portAccount( IntfId id, std::vector< PastHold > const& holds ) const {
      PortStanding const standing = standings_.of( id );
      return { id,
               standings_.classOf( id ),
               facts_.portChannelOf( id ),
               facts_.isPresent( id ),
               stateName( standing.kind ),
               whyOf( id, standing, holds ),
               holds };
   }

   std::string whyOf(
      IntfId id,
      PortStanding const& standing,
      std::vector< PastHold > const& holds ) const {
      if ( standing.kind == Kind::standby ) {
         return std::string( standbyWords );
      }
      if ( auto const found = whyNever_.find( id ); found != whyNever_.end() ) {
         return found->second;
      }
      if ( !holds.empty() ) {
         return holds.back().why;
      }
      std::string const why( exemptionOf( standings_.classOf( id ) ) );
      return why.empty() ? standing.why : why;
   }

   PortAccount portChannelAccount( IntfId id, std::vector< PastHold > const& holds ) const {
      bool const isHeld = !holds.back().to;
      PortAccount account;
      account.id = id;
      account.portClass = className( facts_, { Kind::standby, {} }, id );
      account.state = stateName( isHeld ? Kind::standby : Kind::notHeld );
      account.why = holds.back().why;
      account.holds = holds;
      return account;
   }

   SwitchFacts const& facts_;
   Departures const& departures_;
   bool const isTimerLeft_;
   Standings const standings_;
   Waits const waits_;
   HoldsOf errdisabled_;
   HoldsOf standby_;
   std::map< IntfId, std::string > whyNever_;
};

} // namespace

PortAccounts
portAccounts( RunAccount const& run, bool isTimerLeft ) {
   return Accounts( run, isTimerLeft ).all();
}

} // namespace ostra
