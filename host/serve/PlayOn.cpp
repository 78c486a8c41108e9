// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/LiveSwitch>
#include <host/serve/WakeUp>

#include <host/run/Run>

namespace ostra {

void
LiveSwitch::playOn( Scenario const& scenario, RecordOutput const& output ) {
   WakeUp::cancelAll();
   ScenarioTime time( scenario.startTime );
   // There is one at a time.
   diagnostics_.reset();
   diagnostics_.emplace(
      *output.sink, [ &time ] { return time.instant(); }, std::nullopt );
   // The watch stays, as one that came later would hear of writes in another order.
   report_ = [ & ]( WriteRecord const& record ) {
      output.sink->write( time.instant(), record );
   };
   VirtualPacer pacer;
   Run( { scenario,
          mounts_,
          agent_,
          time,
          *output.sink,
          pacer,
          [ &output ] {
             output.settle();
             return true;
          } } )
      .playOn();
}

} // namespace ostra
