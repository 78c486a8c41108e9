// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The whole plug-in: a switch that the input's bytes configure, disturb and let time pass
// on. After every move the invariants of <fuzz/plugin/Invariants> hold, and nothing that
// the plug-in does throws.
//
// The first byte says how. Bit 0: whoever hears what the plug-in writes makes further moves
// from within, of which nothing is expected but that all memory stays in order. Bit 1:
// everything is traced. Bit 2: the switch is configured at first, bit 3 with LACP
// standby wanted.

#include <fuzz/plugin/Invariants>
#include <fuzz/plugin/Moves>

#include <Ryx/Trace>

#include <map>

namespace {

using fuzz::Bytes;
using fuzz::Switch;

constexpr unsigned deepest = 3;

class Traces final : public Ryx::TraceSink {
 public:
   explicit Traces( bool on ) {
      Ryx::traceSinkIs( this );
      Ryx::traceEnabledIs( "*", on );
   }
   ~Traces() override {
      Ryx::traceConfigReset();
      Ryx::traceSinkIs( nullptr );
   }
   Traces( Traces const& ) = delete;
   Traces& operator=( Traces const& ) = delete;
   void trace( Ryx::TraceRecord const& ) override {
      if ( onTrace ) {
         onTrace();
      }
   }

   std::function< void() > onTrace;
};

// Calls back for every write, message and trace.
class Meddler final : public Ryx::LogSink {
 public:
   Meddler( Switch& sw, Bytes& bytes, Traces& traces )
         : sw_( sw ),
           bytes_( bytes ),
           traces_( traces ),
           cause_( Ryx::make< Cause >( sw.mlagissuCause, *this ) ),
           snooping_( Ryx::make< Snooping >( sw.igmpsnoopingConfig, *this ) ),
           status_( Ryx::make< Status >( sw.mlagProtoStatus, *this ) ),
           lacp_( Ryx::make< Lacp >( sw.lacpConfig, *this ) ),
           eth_( Ryx::make< Eth >( sw.ethIntfStatusDir, *this ) ),
           all_( Ryx::make< All >( sw.allIntfStatusDir, *this ) ) {
      Ryx::logSinkIs( this );
      traces_.onTrace = [ this ] { meddle(); };
   }
   ~Meddler() override {
      traces_.onTrace = nullptr;
      Ryx::logSinkIs( nullptr );
   }
   Meddler( Meddler const& ) = delete;
   Meddler& operator=( Meddler const& ) = delete;

 private:
   template< class Watched >
   class Ear : public Watched::NotifieeConst {
    public:
      Ear( Ryx::Ptr< Watched const > const& watched, Meddler& meddler )
            : meddler_( meddler ) {
         this->notifierIs( watched );
         this->isRegisteredNotifieeIs( true );
      }

    protected:
      Meddler& meddler_;
   };
   class Cause final : public Ear< Errdisable::CauseStatus > {
    public:
      using Ear::Ear;
      using Ear::onIntfStatus;
      void onIntfStatus( Kovel::IntfId ) override { meddler_.meddle(); }
   };
   class Snooping final : public Ear< Bridging::IgmpSnooping::Config > {
    public:
      using Ear::Ear;
      using Ear::onForceEnabledPorts;
      void onForceEnabledPorts( Kovel::IntfId ) override { meddler_.meddle(); }
   };
   class Status final : public Ear< Mlag::ProtoStatus > {
    public:
      using Ear::Ear;
      void onPortsErrdisabled() override { meddler_.meddle(); }
      void onPortsErrdisabledWhen() override { meddler_.meddle(); }
   };

   class Standby final : public Ear< ::Lacp::LacpPCConfig > {
    public:
      using Ear::Ear;
      void onStayInStandby() override { meddler_.meddle(); }
   };
   class Lacp final : public Ear< ::Lacp::Config > {
    public:
      Lacp( Ryx::Ptr< ::Lacp::Config const > const& watched, Meddler& meddler )
            : Ear( watched, meddler ) {
         for ( auto it = watched->portChannelIteratorConst(); it; ++it ) {
            onPortChannel( it.key() );
         }
      }
      using Ear::onPortChannel;
      void onPortChannel( Kovel::IntfId id ) override {
         auto const config = notifier()->portChannel( id );
         ears_[ id ] = config ? Ryx::make< Standby >( config, meddler_ ) : nullptr;
      }

    private:
      std::map< Kovel::IntfId, Ryx::Ptr< Standby > > ears_;
   };
   class Eth final : public Ear< Interface::EthIntfStatusDir > {
    public:
      using Ear::Ear;
      using Ear::onIntfStatus;
      void onIntfStatus( Kovel::IntfId ) override { meddler_.meddle(); }
   };
   class All final : public Ear< Interface::AllIntfStatusDir > {
    public:
      using Ear::Ear;
      using Ear::onIntfStatus;
      void onIntfStatus( Kovel::IntfId ) override { meddler_.meddle(); }
   };

   void log( Ryx::LogRecord const& ) override { meddle(); }
   void meddle() {
      if ( depth_ < deepest && bytes_.below( 4 ) == 3 ) {
         ++depth_;
         fuzz::move( sw_, bytes_ );
         --depth_;
      }
   }

   Switch& sw_;
   Bytes& bytes_;
   Traces& traces_;
   unsigned depth_ = 0;
   Ryx::Ptr< Cause > cause_;
   Ryx::Ptr< Snooping > snooping_;
   Ryx::Ptr< Status > status_;
   Ryx::Ptr< Lacp > lacp_;
   Ryx::Ptr< Eth > eth_;
   Ryx::Ptr< All > all_;
};

void
playChecked( Switch& sw, Bytes& bytes ) {
   fuzz::Invariants invariants( sw );
   sw.onInstant = [ & ] { invariants.check(); };
   invariants.check();
   while ( !bytes.empty() ) {
      fuzz::move( sw, bytes );
      invariants.check();
   }
   sw.stopAgent();
   invariants.check();
   sw.onInstant = nullptr;
}

void
playMeddled( Switch& sw, Bytes& bytes, Traces& traces ) {
   Meddler const meddler( sw, bytes, traces );
   while ( !bytes.empty() ) {
      fuzz::move( sw, bytes );
   }
   sw.stopAgent();
}

} // namespace

extern "C" int
LLVMFuzzerTestOneInput( std::uint8_t const* data, std::size_t size ) {
   Bytes bytes( data, size );
   unsigned const how = bytes.byte();
   Traces traces( ( how & 2 ) != 0 );
   Switch sw;
   if ( ( how & 4 ) != 0 ) {
      fuzz::configure( sw, ( how & 8 ) != 0 );
   }
   if ( ( how & 1 ) != 0 ) {
      playMeddled( sw, bytes, traces );
   } else {
      playChecked( sw, bytes );
   }
   return 0;
}
