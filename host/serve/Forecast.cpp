// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/Forecast>

#include <host/base/JsonLine>
#include <host/input/Instant>
#include <host/input/UnknownKey>

#include <fmt/format.h>

#include <array>
#include <chrono>
#include <csignal>
#include <utility>

#include <event2/event.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ostra {

namespace {

// At once, so that others get their turn.
constexpr int readsAtOnce = 8;

Complaint
complaint( std::string found, std::string expected ) {
   return { "forecast", std::move( found ), std::move( expected ) };
}

std::string
mebibytes( std::size_t octets ) {
   return fmt::format( "{} MiB", octets / mebibyte );
}

void
readEntry( LiveSwitch& live, Item const& entry, Scenario& scenario ) {
   static KnownKeys const keys = { "patch", "until" };
   if ( entry.key() == "until" ) {
      scenario.until = scenarioInstantOf( entry );
   } else if ( entry.key() == "patch" ) {
      if ( entry.node().kind() != NodeKind::map ) {
         entry.refuse( "a map of mounts" );
      }
      // By itself, so that its places are those of a patch.
      live.checkPatch( Item( entry.node() ) );
      scenario.events.push_back( { Milliseconds( 0 ), entry.node() } );
   } else {
      refuseUnknownKey( entry, keys );
   }
}

} // namespace

Scenario
readForecast( LiveSwitch& live, std::string const& text ) {
   Scenario scenario;
   scenario.name = "forecast";
   scenario.document = patchDocument( {}, text );
   try {
      Item( *scenario.document )
         .forEachEntry( "a map of patch, until", [ & ]( Item const& entry ) {
            readEntry( live, entry, scenario );
         } );
   } catch ( Failure const& failure ) {
      throw PatchRefusal( PatchRefusal::Kind::invalid, failure.complaint() );
   }
   live.time().refresh();
   scenario.startTime = live.time().instant();
   return scenario;
}

// One child, until it has ended and all that it told is read.
class Forecasts::Running {
 public:
   // Throws Failure; then the child is still its caller's.
   Running(
      Forecasts& forecasts,
      Id id,
      Take take,
      ForecastLimits const& limits,
      ForecastChild const& child )
         : forecasts_( forecasts ),
           id_( id ),
           take_( std::move( take ) ),
           limits_( limits ),
           output_( child.output ),
           readable_( event_new(
              forecasts.base_, output_, EV_READ | EV_PERSIST, onReadable, this ) ),
           deadline_( evtimer_new( forecasts.base_, onDeadline, this ) ) {
      auto const time = limits.time.count();
      timeval const wait{ time / 1000, time % 1000 * 1000 };
      bool const isHeard = readable_ && deadline_ &&
         event_add( readable_.get(), nullptr ) == 0 &&
         evtimer_add( deadline_.get(), &wait ) == 0;
      if ( !isHeard ) {
         throw Failure( ExitStatus::failed, "no event for a forecast" );
      }
      records_.reserve( limits.reserved );
      // The last that may throw: it owns a descriptor.
      child_ = std::make_unique< ChildEnd >(
         forecasts.base_, child.child, [ this ]( int status ) { ended( status ); } );
   }
   ~Running() {
      readable_.reset();
      deadline_.reset();
      close( output_ );
      if ( !status_ ) {
         forecasts_.abandon( std::move( child_ ) );
      }
   }
   Running( Running const& ) = delete;
   Running& operator=( Running const& ) = delete;

   Take take() { return std::move( take_ ); }

 private:
   struct Deleter {
      void operator()( event* event ) const noexcept { event_free( event ); }
   };
   using Event = std::unique_ptr< event, Deleter >;

   static void onReadable( int, short, void* self ) {
      static_cast< Running* >( self )->read();
   }
   static void onDeadline( int, short, void* self ) {
      auto* const running = static_cast< Running* >( self );
      running->giveUp( timeComplaint( running->limits_.time ) );
   }

   // Makes this go, as the others do that end it.
   void read() {
      std::array< char, 1U << 16 > buffer;
      for ( int i = 0; i < readsAtOnce; ++i ) {
         ssize_t const count = ::read( output_, buffer.data(), buffer.size() );
         if ( count == 0 ) {
            event_del( readable_.get() );
            isTold_ = true;
            endIfOver();
            return;
         }
         if ( count < 0 ) {
            return;
         }
         records_.append( buffer.data(), static_cast< std::size_t >( count ) );
         if ( records_.size() > limits_.output ) {
            giveUp( complaint(
               fmt::format( "more than {} to tell", mebibytes( limits_.output ) ),
               "less, for example up to a time with until" ) );
            return;
         }
      }
   }

   void giveUp( Complaint problem ) {
      forecasts_.over( id_, { {}, std::move( problem ) } );
   }

   void ended( int status ) {
      status_ = status;
      endIfOver();
   }

   // Its output closes before it has ended, and may not be read by then.
   void endIfOver() {
      if ( isTold_ && status_ ) {
         auto problem = problemOf( *status_ );
         forecasts_.over( id_, { std::move( records_ ), std::move( problem ) } );
      }
   }

   std::optional< Complaint > problemOf( int status ) const {
      if ( WIFSIGNALED( status ) ) {
         return WTERMSIG( status ) == SIGXCPU
            ? timeComplaint( limits_.work )
            : complaint(
                 fmt::format( "ended by signal {}", WTERMSIG( status ) ), "its own end" );
      }
      switch ( static_cast< ForecastEnd >( WEXITSTATUS( status ) ) ) {
      case ForecastEnd::completed:
         return std::nullopt;
      case ForecastEnd::failed:
         return complaint(
            oneLine( records_.substr( records_.rfind( '\0' ) + 1 ) ), "no failure" );
      case ForecastEnd::outOfMemory:
         return complaint(
            fmt::format( "more than {} of memory needed", mebibytes( limits_.memory ) ),
            "less" );
      default:
         return complaint( "an early end", "its own end" );
      }
   }

   static Complaint timeComplaint( std::chrono::milliseconds time ) {
      return complaint(
         fmt::format( "not over after {} ms", time.count() ),
         "less, for example up to a time with until" );
   }

   Forecasts& forecasts_;
   Id const id_;
   Take take_;
   ForecastLimits const& limits_;
   int const output_;
   std::unique_ptr< ChildEnd > child_;
   Event readable_;
   Event deadline_;
   std::string records_;
   bool isTold_ = false;
   // How it has ended; none before that.
   std::optional< int > status_;
};

Forecasts::Forecasts( event_base* base, LiveSwitch& live, ForecastLimits limits )
      : base_( base ), live_( live ), limits_( limits ) {
   // Whoever has started this process may want to hear of no child's end.
   std::signal( SIGCHLD, SIG_DFL );
}

Forecasts::~Forecasts() {
   running_.clear();
}

Forecasts::Id
Forecasts::start(
   Scenario const& scenario, MakeRecordOutput const& makeOutput, Take take ) {
   auto const play = [ & ]( std::ostream& out ) {
      RecordOutput const output = makeOutput( out );
      live_.playOn( scenario, output );
   };
   return start( play, std::move( take ) );
}

Forecasts::Id
Forecasts::start( CopyWork const& work, Take take ) {
   ForecastChild const child = startForecast( work, limits_ );
   Id const id = ++lastId_;
   std::unique_ptr< Running > running;
   try {
      running = std::make_unique< Running >( *this, id, std::move( take ), limits_, child );
   } catch ( ... ) {
      endForecast( child );
      throw;
   }
   running_[ id ] = std::move( running );
   return id;
}

void
Forecasts::cancel( Id id ) {
   running_.erase( id );
}

void
Forecasts::abandon( std::unique_ptr< ChildEnd > child ) {
   ++*ending_;
   live_.endingCopies().add( std::move( child ), [ ending = ending_ ] { --*ending; } );
}

void
Forecasts::over( Id id, Outcome outcome ) {
   Take const take = running_.at( id )->take();
   running_.erase( id );
   take( std::move( outcome ) );
}

} // namespace ostra
