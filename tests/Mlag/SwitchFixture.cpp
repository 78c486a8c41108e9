// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "SwitchFixture"

#include <Ryx/Activity>

#include <algorithm>
#include <cmath>
#include <sstream>
#include <utility>

namespace {

template< class T >
std::string
text( T const& value ) {
   std::ostringstream out;
   out.precision( 12 );
   out << std::boolalpha << value;
   return out.str();
}

// A notifiee of an output, registered on it while it exists.
template< class Watched >
class OutputObserver : public Watched::NotifieeConst {
 public:
   OutputObserver( Ryx::Ptr< Watched > const& watched, SwitchFixture& log ) : log_( log ) {
      this->notifierIs( watched );
      this->isRegisteredNotifieeIs( true );
   }

 protected:
   void line( std::string const& what ) { log_.line( what ); }

 private:
   SwitchFixture& log_;
};

class CauseObserver final : public OutputObserver< Errdisable::CauseStatus > {
 public:
   using OutputObserver::onIntfStatus;
   using OutputObserver::OutputObserver;
   void onIntfStatus( IntfId key ) override {
      bool const has = notifier()->intfStatusHas( key );
      line(
         "cause " + text( key ) + " " +
         ( has ? text( notifier()->intfStatus( key ).when ) : "-" ) );
   }
};

class SnoopingObserver final : public OutputObserver< Bridging::IgmpSnooping::Config > {
 public:
   using OutputObserver::onForceEnabledPorts;
   using OutputObserver::OutputObserver;
   void onForceEnabledPorts( IntfId key ) override {
      bool const has = notifier()->forceEnabledPorts( key );
      line( "snooping " + text( key ) + " " + ( has ? "true" : "-" ) );
   }
};

class ProtoObserver final : public OutputObserver< Mlag::ProtoStatus > {
 public:
   using OutputObserver::OutputObserver;
   void onPortsErrdisabled() override {
      line( "proto portsErrdisabled " + text( notifier()->portsErrdisabled() ) );
   }
   void onPortsErrdisabledWhen() override {
      line( "proto portsErrdisabledWhen " + text( notifier()->portsErrdisabledWhen() ) );
   }
};

class LacpObserver final : public OutputObserver< Lacp::LacpPCConfig > {
 public:
   using OutputObserver::OutputObserver;
   void onStayInStandby() override {
      line(
         "lacp " + text( notifier()->intfId() ) + " " +
         text( notifier()->stayInStandby() ) );
   }
};

template< class Collection >
std::vector< std::string >
keys( Collection it ) {
   std::vector< std::string > names;
   for ( ; it; ++it ) {
      names.push_back( text( it.key() ) );
   }
   return names;
}

} // namespace

class SwitchFixture::Observers final : public Ryx::LogSink, public Ryx::TraceSink {
 public:
   explicit Observers( SwitchFixture& fixture )
         : fixture_( fixture ),
           cause_( Ryx::make< CauseObserver >( fixture.mlagissuCause, fixture ) ),
           snooping_(
              Ryx::make< SnoopingObserver >( fixture.igmpsnoopingConfig, fixture ) ),
           proto_( Ryx::make< ProtoObserver >( fixture.mlagProtoStatus, fixture ) ) {
      Ryx::logSinkIs( this );
   }
   ~Observers() override {
      Ryx::logSinkIs( nullptr );
      tracingIs( false );
   }

   void watch( Ryx::Ptr< Lacp::LacpPCConfig > const& config ) {
      lacp_.push_back( Ryx::make< LacpObserver >( config, fixture_ ) );
   }
   void tracingIs( bool on ) {
      Ryx::traceConfigReset();
      if ( on ) {
         Ryx::traceEnabledIs( "MlagErrdisableSm", true );
      }
      Ryx::traceSinkIs( on ? this : nullptr );
   }
   void log( Ryx::LogRecord const& record ) override {
      fixture_.line( "log " + text( record.identifier ) + " " + text( record.text ) );
   }
   void trace( Ryx::TraceRecord const& record ) override {
      fixture_.line(
         "trace " + text( record.level ) + " " + text( record.file ) + " " +
         text( record.text ) );
   }

 private:
   SwitchFixture& fixture_;
   Ryx::Ptr< CauseObserver > cause_;
   Ryx::Ptr< SnoopingObserver > snooping_;
   Ryx::Ptr< ProtoObserver > proto_;
   std::vector< Ryx::Ptr< LacpObserver > > lacp_;
};

void
SimulatedLoop::timeIs( Ryx::Seconds t ) {
   ms_ = std::llround( t * 1000.0 );
}

void
SimulatedLoop::moveTo( Ryx::Seconds t ) {
   auto const clock = Ryx::activityManager()->clock();
   std::int64_t const target = std::llround( t * 1000.0 );
   double const last = static_cast< double >( target ) / 1000.0;
   for ( Ryx::Seconds due; ( due = clock->nextTimeMin() ) <= last; clock->handleTime() ) {
      auto at = static_cast< std::int64_t >( std::floor( due * 1000.0 ) ) - 1;
      while ( static_cast< double >( at ) / 1000.0 < due ) {
         ++at;
      }
      ms_ = std::max( ms_, at );
   }
   ms_ = target;
}

SwitchFixture::SwitchFixture() : observers_( std::make_unique< Observers >( *this ) ) {}

SwitchFixture::~SwitchFixture() {
   onLine = nullptr;
   stop();
}

void
SwitchFixture::configureMlag() {
   mlagConfig->domainIdIs( "domain" );
   mlagConfig->localInterfaceIs(
      Ryx::make< Interface::VlanIntfConfig >( id( "Vlan4094" ) ) );
   mlagConfig->peerAddressIs( Kovel::IpAddr( "10.0.0.2" ) );
   mlagConfig->reloadDelayIs( 300 );
   peerLink( "Port-Channel1000" );
   mlagConfig->enabledIs( true );
}

void
SwitchFixture::peerLink( std::string_view name ) {
   mlagConfig->peerLinkIntfIs(
      name.empty() ? nullptr : Ryx::make< Interface::IntfConfig >( id( name ) ) );
}

void
SwitchFixture::port( std::string_view name ) {
   admin( name, IntfEnabledState::enabled );
   present( name );
}

void
SwitchFixture::present( std::string_view name ) {
   ethPhyIntfStatus->intfStatusIs( Ryx::make< Interface::EthPhyIntfStatus >( id( name ) ) );
}

void
SwitchFixture::absent( std::string_view name ) {
   ethPhyIntfStatus->intfStatusDel( id( name ) );
}

void
SwitchFixture::admin( std::string_view name, IntfEnabledState state ) {
   auto const config = ethPhyIntfConfig->intfConfig( id( name ) );
   if ( config ) {
      config->adminEnabledStateLocalIs( state );
      return;
   }
   auto const made = Ryx::make< Interface::IntfConfig >( id( name ) );
   made->adminEnabledStateLocalIs( state );
   ethPhyIntfConfig->intfConfigIs( made );
}

void
SwitchFixture::member(
   std::string_view name, std::string_view portChannel, LacpMode mode ) {
   auto const config = Ryx::make< Lag::EthPhyIntfLagConfig >( id( name ) );
   if ( !portChannel.empty() ) {
      config->lagIs( Ryx::make< Interface::EthLagIntfConfig >( id( portChannel ) ) );
   }
   config->modeIs( mode );
   lagInputConfig->phyIntfIs( config );
}

void
SwitchFixture::mlagInterface( std::string_view portChannel, std::string_view mlagId ) {
   mlagConfig->intfConfigIs( id( portChannel ), { Ryx::String8( mlagId ) } );
}

void
SwitchFixture::noMlagInterface( std::string_view portChannel ) {
   mlagConfig->intfConfigDel( id( portChannel ) );
}

void
SwitchFixture::lagStatus( std::string_view portChannel, LinkStatus link ) {
   auto const status = lagInputIntfStatus->intfStatus( id( portChannel ) );
   if ( status ) {
      status->linkStatusIs( link );
      return;
   }
   auto const made = Ryx::make< Interface::EthLagIntfStatus >( id( portChannel ) );
   made->linkStatusIs( link );
   lagInputIntfStatus->intfStatusIs( made );
}

void
SwitchFixture::noLagStatus( std::string_view portChannel ) {
   lagInputIntfStatus->intfStatusDel( id( portChannel ) );
}

Ryx::Ptr< Lacp::LacpPCConfig >
SwitchFixture::lacp( std::string_view portChannel ) {
   auto const config = Ryx::make< Lacp::LacpPCConfig >( id( portChannel ) );
   observers_->watch( config );
   lacpConfig->portChannelIs( config );
   return config;
}

void
SwitchFixture::lacpOverrideIs( std::string_view portChannel, std::string_view address ) {
   lacpOverride->lagIdConfigIs( id( portChannel ), Kovel::EthAddr( address ) );
}

void
SwitchFixture::systemId( std::string_view address ) {
   mlagStatus->systemIdIs( Kovel::EthAddr( address ) );
}

void
SwitchFixture::start() {
   sm = makeMachine();
}

void
SwitchFixture::stop() {
   if ( sm ) {
      sm->ryxDoZombieReactors( true );
      sm = nullptr;
   }
}

Ryx::Seconds
SwitchFixture::wakeTime( bool mlag ) const {
   Ryx::Seconds wake = -1;
   sm->forEachReactor( [ & ]( auto& reactor ) {
      using R = std::remove_cvref_t< decltype( reactor ) >;
      if constexpr ( std::is_same_v< R, MlagErrdisableSm::RyxClockMlag > ) {
         wake = mlag ? reactor.timeMin() : wake;
      } else if constexpr ( std::is_same_v< R, MlagErrdisableSm::RyxClockNonMlag > ) {
         wake = mlag ? wake : reactor.timeMin();
      }
   } );
   return wake;
}

SwitchFixture::Log
SwitchFixture::take() {
   return std::exchange( log_, {} );
}

SwitchFixture::Log
SwitchFixture::takeUntimed() {
   Log log = take();
   for ( auto& line : log ) {
      line.erase( 0, line.find( ' ' ) + 1 );
   }
   return log;
}

void
SwitchFixture::tracingIs( bool on ) {
   observers_->tracingIs( on );
}

SwitchFixture::Log
SwitchFixture::only( Log const& log, std::string_view prefix ) {
   Log kept;
   for ( auto const& line : log ) {
      if ( line.compare( line.find( ' ' ) + 1, prefix.size(), prefix ) == 0 ) {
         kept.push_back( line );
      }
   }
   return kept;
}

std::vector< std::string >
SwitchFixture::held() const {
   return keys( mlagissuCause->intfStatusIteratorConst() );
}

std::vector< std::string >
SwitchFixture::snooping() const {
   return keys( igmpsnoopingConfig->forceEnabledPortsIteratorConst() );
}

void
SwitchFixture::line( std::string const& what ) {
   log_.push_back( text( Ryx::now() ) + " " + what );
   // Copies: what is called may replace the hook and write more lines.
   auto const heard = onLine;
   if ( heard ) {
      heard( std::string( log_.back() ) );
   }
}

std::string
portVisitedAfter( std::string const& first ) {
   auto const position = []( std::string const& name ) {
      return Ryx::bitReversed( IntfId( name ).hash() );
   };
   unsigned number = 100;
   while ( position( "Ethernet" + std::to_string( number ) ) < position( first ) ) {
      ++number;
   }
   return "Ethernet" + std::to_string( number );
}
