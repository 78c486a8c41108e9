// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Trace>

#include <Ryx/Exception>
#include <Ryx/Time>

#include <iomanip>
#include <iostream>
#include <map>
#include <optional>
#include <utility>

namespace Ryx {

namespace {

constexpr unsigned allLevels = ( 1u << TraceHandle::levels ) - 1;

// What is configured for one name.
struct Setting {
   std::optional< bool > enabled;
   // The levels that are configured, and those of them that are on.
   unsigned levels = 0;
   unsigned levelsOn = 0;

   void levelsAre( unsigned mask, bool on ) {
      levels |= mask;
      levelsOn = on ? levelsOn | mask : levelsOn & ~mask;
   }
   // Forgets what a later setting for all handles overrides.
   void giveWay( Setting const& later ) {
      if ( later.enabled ) {
         enabled.reset();
      }
      levels &= ~later.levels;
      levelsOn &= ~later.levels;
   }
   void add( Setting const& later ) {
      if ( later.enabled ) {
         enabled = later.enabled;
      }
      levelsAre( later.levels, false );
      levelsAre( later.levelsOn, true );
   }
};

TraceSink* traceSink = nullptr;

} // namespace

// Not destroyed at the end of the process: handles of units that go later still use it.
class TraceConfig {
 public:
   static TraceConfig& instance() {
      static TraceConfig* const config = new TraceConfig;
      return *config;
   }

   TraceChannel* opened( String8 name, bool enabledAtStart ) {
      TraceChannel* const channel = closedOrNew( std::move( name ) );
      channel->open_ = true;
      channel->enabledAtStart_ = enabledAtStart;
      apply( *channel );
      return channel;
   }
   static void close( TraceChannel& channel ) noexcept {
      channel.open_ = false;
      channel.enabled_ = false;
      channel.levelsOn_ = 0;
   }

   void settingIs( String8 const& name, Setting const& setting ) {
      if ( name == "*" ) {
         for ( auto& named : named_ ) {
            named.second.giveWay( setting );
         }
         all_.add( setting );
      } else {
         named_[ name ].add( setting );
      }
      applyToAll();
   }
   void reset() {
      named_.clear();
      all_ = {};
      applyToAll();
   }

 private:
   // A unit that is loaded again gets the channel that it had.
   TraceChannel* closedOrNew( String8 name ) {
      for ( TraceChannel* channel = channels_; channel; channel = channel->next_ ) {
         if ( !channel->open_ && channel->name_ == name ) {
            return channel;
         }
      }
      auto* const channel = new TraceChannel( std::move( name ) );
      channel->next_ = std::exchange( channels_, channel );
      return channel;
   }
   void applyToAll() const {
      for ( TraceChannel* channel = channels_; channel; channel = channel->next_ ) {
         if ( channel->open_ ) {
            apply( *channel );
         }
      }
   }
   void apply( TraceChannel& channel ) const {
      Setting effective{ channel.enabledAtStart_, allLevels, allLevels };
      effective.add( all_ );
      if ( auto const named = named_.find( channel.name_ ); named != named_.end() ) {
         effective.add( named->second );
      }
      channel.enabled_ = *effective.enabled;
      channel.levelsOn_ = channel.enabled_ ? effective.levelsOn : 0;
   }

   TraceChannel* channels_ = nullptr;
   Setting all_;
   std::map< String8, Setting > named_;
};

std::ostream* coverageStream_ = nullptr;

TraceSink::~TraceSink() = default;

TraceHandle::TraceHandle( String8 name, bool enabledAtStart )
      : channel_( TraceConfig::instance().opened( std::move( name ), enabledAtStart ) ) {}

TraceHandle::~TraceHandle() {
   TraceConfig::close( *channel_ );
}

void
traceEnabledIs( String8 const& handleName, bool on ) {
   TraceConfig::instance().settingIs( handleName, { on } );
}

void
traceLevelIs( String8 const& handleName, int level, bool on ) {
   if ( level < 0 || level >= static_cast< int >( TraceHandle::levels ) ) {
      throwRangeException(
         "trace level " + std::to_string( level ) + " is not in the range 0 to 15" );
   }
   Setting setting;
   setting.levelsAre( 1u << level, on );
   TraceConfig::instance().settingIs( handleName, setting );
}

void
traceConfigReset() {
   TraceConfig::instance().reset();
}

void
traceSinkIs( TraceSink* sink ) noexcept {
   traceSink = sink;
}

namespace {

std::ostream&
operator<<( std::ostream& out, TraceRecord const& record ) {
   out << record.handleName << " " << record.level << " " << record.file << ":"
       << record.line << " " << record.function << " ";
   if ( !record.context.empty() ) {
      out << "[" << record.context << "] ";
   }
   return out << record.text << "\n";
}

void
traceToStandardError( TraceRecord const& record ) {
   std::ostringstream line;
   line << std::fixed << std::setprecision( 6 ) << now() << " " << record;
   std::cerr << line.str();
}

} // namespace

void
traceHelper(
   char const* handleName,
   String8 context,
   std::stringstream& text,
   int level,
   bool enabled,
   char const* file,
   int line,
   char const* function ) {
   TraceRecord const record{
      handleName, std::move( context ), text.str(), level, file, line, function
   };
   if ( coverageStream_ ) {
      *coverageStream_ << record;
   }
   if ( !enabled ) {
      return;
   }
   if ( traceSink ) {
      traceSink->trace( record );
   } else {
      traceToStandardError( record );
   }
}

} // namespace Ryx
