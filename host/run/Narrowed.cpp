// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/run/Narrowed>

#include <host/base/Failure>
#include <host/base/IntfRanges>
#include <host/input/UnknownKey>
#include <host/state/Agent>
#include <host/state/MountTable>

#include <fmt/format.h>

#include <algorithm>

namespace ostra {

namespace {

std::set< std::string >
namesOf( std::optional< std::vector< Kovel::IntfId > > const& ids ) {
   std::set< std::string > names;
   for ( Kovel::IntfId const id : ids.value_or( std::vector< Kovel::IntfId >() ) ) {
      names.insert( id.string() );
   }
   return names;
}

} // namespace

Narrowed::Narrowed( RecordSink& sink, Narrowing const& narrowing )
      : sink_( sink ),
        takesAll_( !narrowing.interfaces ),
        ports_( namesOf( narrowing.interfaces ) ),
        traces_( narrowing.traces ),
        run_( narrowing.run ),
        missing_( ports_ ) {}

void
Narrowed::start( StartRecord const& record, StateView const& state ) {
   state_ = &state;
   if ( !takesAll_ ) {
      meet( state.at( {} ) );
   }
   sink_.start( record, *this );
}

// What a state or a patch names, as a key or as a reference.
void
Narrowed::meet( Json const& json ) {
   if ( json.is_string() ) {
      missing_.erase( json.get_ref< std::string const& >() );
   }
   if ( json.is_object() ) {
      for ( auto const& [ key, value ] : json.items() ) {
         missing_.erase( key );
         meet( value );
      }
   }
}

void
Narrowed::write( Milliseconds at, WriteRecord const& record ) {
   // Mount, attribute, key.
   constexpr std::size_t key = 2;
   if ( record.path.size() <= key || takes( record.path[ key ] ) ) {
      sink_.write( at, record );
   }
}

void
Narrowed::event( Milliseconds at, EventRecord const& record ) {
   if ( takesAll_ ) {
      sink_.event( at, record );
      return;
   }
   Json const whole = record.patch();
   meet( whole );
   Json part = partOf( whole );
   if ( !part.empty() || whole.empty() ) {
      sink_.event( at, { record.index, [ &part ] { return part; }, record.label } );
   }
   isMembershipKnown_ = false;
}

// The patch without what is of other interfaces.
Json
Narrowed::partOf( Json const& patch ) const {
   Json part = Json::object();
   for ( auto const& [ mount, attributes ] : patch.items() ) {
      if ( mount == agentKey || !attributes.is_object() || attributes.empty() ) {
         part[ mount ] = attributes;
         continue;
      }
      for ( auto const& [ name, value ] : attributes.items() ) {
         if ( !value.is_object() || value.empty() ) {
            part[ mount ][ name ] = value;
            continue;
         }
         for ( auto const& [ key, entry ] : value.items() ) {
            if ( takes( key ) ) {
               part[ mount ][ name ][ key ] = entry;
            }
         }
      }
   }
   return part;
}

void
Narrowed::log( Milliseconds at, LogMessageRecord const& record ) {
   sink_.log( at, record );
}

void
Narrowed::trace( Milliseconds at, TraceLineRecord const& record ) {
   if ( !traces_ || record.handle == *traces_ || record.function == *traces_ ) {
      hasTold_ = true;
      sink_.trace( at, record );
   } else if ( !hasTold_ ) {
      otherTraces_.insert( { record.handle, record.function } );
   }
}

void
Narrowed::end( Milliseconds at, EndRecord const& record ) {
   sink_.end( at, record );
}

std::vector< std::string >
Narrowed::warnings() const {
   std::vector< std::string > warnings;
   if ( !missing_.empty() ) {
      std::vector< Kovel::IntfId > const ids( missing_.begin(), missing_.end() );
      warnings.push_back( fmt::format(
         "warning: ostra run: --only: {}: not in {}: expected interfaces of the "
         "scenario",
         shortened( intfRanges( ids ) ),
         run_ ) );
   }
   if ( traces_ && !hasTold_ ) {
      warnings.push_back( traceWarning() );
   }
   return warnings;
}

std::string
Narrowed::traceWarning() const {
   KnownKeys const others( otherTraces_.begin(), otherTraces_.end() );
   std::string_view const near = nearest( *traces_, others );
   return fmt::format(
      "warning: ostra run: --trace-of: {}: no trace of {} is of it: expected a "
      "handle or a function of the plug-in{}",
      inQuotes( *traces_ ),
      run_,
      near.empty() ? "" : fmt::format( "; did you mean {}?", near ) );
}

bool
Narrowed::takes( std::string const& interface ) const {
   if ( takesAll_ || ports_.contains( interface ) ) {
      return true;
   }
   addPortChannels();
   return portChannels_.contains( interface );
}

// One that a port has been in once stays.
void
Narrowed::addPortChannels() const {
   if ( isMembershipKnown_ ) {
      return;
   }
   isMembershipKnown_ = true;
   for ( std::string const& port : ports_ ) {
      Json const lag = state_->at( { mount::lagInputConfig, "phyIntf", port, "lag" } );
      if ( lag.is_string() ) {
         portChannels_.insert( lag.get< std::string >() );
      }
   }
}

void
Narrowed::putLine( std::ostream& out ) const {
   state_->putLine( out );
}

Json
Narrowed::at( std::vector< std::string > const& path ) const {
   return state_->at( path );
}

bool
Narrowed::has( std::vector< std::string > const& path ) const {
   return state_->has( path );
}

std::vector< std::string >
Narrowed::keys( std::vector< std::string > const& path ) const {
   auto keys = state_->keys( path );
   std::erase_if( keys, [ this ]( std::string const& key ) { return !takes( key ); } );
   return keys;
}

} // namespace ostra
