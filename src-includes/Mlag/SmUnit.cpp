// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What the state machine's unit does when the library is loaded.

#include <Mlag/MlagErrdisableSm>
#include <Mlag/SmDiagnostics>
#include <Ryx/Registration>

namespace Mlag::Ostra {

namespace {

// The handle is made by the first use and gone with the library; the channel stays.
Ryx::TraceChannel const&
smTraceChannel() {
   static Ryx::TraceHandle const handle( "MlagErrdisableSm", false );
   return handle.channel();
}

} // namespace

Ryx::TraceChannel const& smTraces = smTraceChannel();

namespace {

using Unit = Ryx::UnitRegistration< PortChannelTracker, LagMember, MlagErrdisableSm >;
[[gnu::init_priority( Ryx::unitPriority )]] Unit const unit( "Mlag::Ostra" );

Ryx::LogHandle* ending = nullptr;

class EndingHandle final : public Ryx::LogHandle {
 public:
   EndingHandle()
         : LogHandle(
              "MLAG_RELOAD_DELAY_ENDING",
              Ryx::LogSeverity::info,
              "Mlag reload-delay period%swill end in %s seconds",
              "Non peer-link interfaces will be enabled once reload-delay period is over",
              Ryx::NoActionRequired,
              0.0,
              1.0,
              0 ) {
      ending = this;
   }
   EndingHandle( EndingHandle const& ) = delete;
   EndingHandle& operator=( EndingHandle const& ) = delete;
   ~EndingHandle() { ending = nullptr; }
};

EndingHandle endingHandle;

} // namespace

Ryx::LogHandle*
reloadDelayEnding() noexcept {
   return ending;
}

} // namespace Mlag::Ostra
