// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <reload/Reload>

#include <reload/HandReload>
#include <reload/RyxReload>

#include <Ryx/Slabs>

#include <malloc.h>

#include <map>

namespace bench {

namespace {

// Memory that a life gives back stays in the process, touched: the next life is measured
// without the kernel's work of giving it again.
bool const keepsMemory = [] {
   if ( Ryx::Slabs* const slabs = Ryx::objectSlabs() ) {
      slabs->spareArenasIs( Ryx::Slabs::mostArenas );
   }
   return mallopt( M_TRIM_THRESHOLD, -1 ) != 0 && mallopt( M_MMAP_MAX, 0 ) != 0;
}();

template< class Machine >
std::vector< Written >
played( SwitchPlan const& plan ) {
   Machine machine( plan );
   std::vector< Written > result;
   for ( auto const phase : { &Machine::hold,
                              &Machine::disappear,
                              &Machine::appear,
                              &Machine::announce,
                              &Machine::release } ) {
      ( machine.*phase )();
      result.push_back( machine.written() );
   }
   return result;
}

} // namespace

std::size_t
heapInUse() {
   auto const info = mallinfo2();
   Ryx::Slabs const* const slabs = Ryx::objectSlabs();
   return info.uordblks + info.hblkhd + ( slabs ? slabs->bytes() : 0 );
}

void
settleHeap() {
   constexpr std::size_t large = 1 << 20;
   ::operator delete( ::operator new( large ) );
}

bool
writesTheSame( SwitchPlan const& plan ) {
   static std::map< std::size_t, bool > known;
   auto const size = plan.ports.size();
   if ( !known.contains( size ) ) {
      auto const expected = played< HandReload< SortedVectors > >( plan );
      known[ size ] = played< RyxReload >( plan ) == expected &&
         played< HandReload< HashTables > >( plan ) == expected;
   }
   return known[ size ];
}

namespace {

// Changes of a large switch's configuration while its ports are held, of each kind that the
// machine hears of in turn: a port is shut down and enabled again, a port-channel is no MLAG
// interface and is one again, an override comes and goes, the delay changes and back.
class Changes {
 public:
   explicit Changes( RyxReload& machine, SwitchPlan const& plan )
         : machine_( machine ), plan_( plan ) {}

   void change() {
      unsigned const turn = next_++;
      // Across the switch, no two neighbours in a row.
      std::size_t const at = turn / 8 * 7919;
      bool const back = turn / 4 % 2 != 0;
      switch ( turn % 4 ) {
      case 0:
         return shut( plan_.ports[ at % plan_.ports.size() ].id, !back );
      case 1:
         return mlagInterface( plan_.portChannels[ at % plan_.portChannels.size() ], back );
      case 2:
         return override_( plan_.portChannels[ at % plan_.portChannels.size() ], back );
      default:
         machine_.mlagConfig()->reloadDelayIs(
            back ? SwitchPlan::reloadDelay : 2 * SwitchPlan::reloadDelay );
      }
   }

 private:
   void shut( Kovel::IntfId id, bool down ) {
      machine_.intfConfig( id )->adminEnabledStateLocalIs(
         down ? Interface::IntfEnabledState::shutdown
              : Interface::IntfEnabledState::enabled );
   }
   void mlagInterface( Kovel::IntfId id, bool is ) {
      if ( is ) {
         machine_.mlagConfig()->intfConfigIs( id, { "1" } );
      } else {
         machine_.mlagConfig()->intfConfigDel( id );
      }
   }
   void override_( Kovel::IntfId id, bool gone ) {
      if ( gone ) {
         machine_.lacpOverride()->lagIdConfigDel( id );
      } else {
         machine_.lacpOverride()->lagIdConfigIs( id, plan_.systemId );
      }
   }

   RyxReload& machine_;
   SwitchPlan const& plan_;
   unsigned next_ = 0;
};

void
measureChange( benchmark::State& state ) {
   SwitchPlan const plan( static_cast< std::size_t >( state.range( 0 ) ) );
   RyxReload machine( plan );
   machine.hold();
   Changes changes( machine, plan );
   for ( auto _ : state ) {
      changes.change();
   }
}

bool const measured = keepsMemory && measuredReload< RyxReload >( "Ryx" ) &&
   measuredReload< HandReload< SortedVectors > >( "by hand" ) &&
   measuredReload< HandReload< HashTables > >( "by hand, hashed" ) &&
   measuredAppear< RyxReload >( "Ryx" ) &&
   measuredAppear< HandReload< SortedVectors > >( "by hand" ) &&
   measuredAppear< HandReload< HashTables > >( "by hand, hashed" ) &&
   benchmark::RegisterBenchmark( "change/Ryx", measureChange )
      ->Arg( 768 )
      ->Arg( 196608 )
      ->Iterations( 10000 );

} // namespace

} // namespace bench
