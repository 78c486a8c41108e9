// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Trace>

#include <Ryx/Exception>
#include <Ryx/Time>

#include <iomanip>
#include <iostream>
#include <map>
#include <optional>

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

   void handleIs( TraceHandle* handle ) {
      handle->next_ = handles_;
      handle->link_ = &handles_;
      if ( handles_ ) {
         handles_->link_ = &handle->next_;
      }
      handles_ = handle;
      apply( *handle );
   }
   static void handleDel( TraceHandle* handle ) noexcept {
      *handle->link_ = handle->next_;
      if ( handle->next_ ) {
         handle->next_->link_ = handle->link_;
      }
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
   void applyToAll() const {
      for ( TraceHandle* handle = handles_; handle; handle = handle->next_ ) {
         apply( *handle );
      }
   }
   void apply( TraceHandle& handle ) const {
      Setting effective{ handle.enabledAtStart_, allLevels, allLevels };
      effective.add( all_ );
      if ( auto const named = named_.find( handle.name_ ); named != named_.end() ) {
         effective.add( named->second );
      }
      handle.enabled_ = *effective.enabled;
      handle.levelsOn_ = handle.enabled_ ? effective.levelsOn : 0;
   }

   TraceHandle* handles_ = nullptr;
   Setting all_;
   std::map< String8, Setting > named_;
};

std::ostream* coverageStream_ = nullptr;

TraceSink::~TraceSink() = default;

TraceHandle::TraceHandle( String8 name, bool enabledAtStart )
      : name_( std::move( name ) ), enabledAtStart_( enabledAtStart ) {
   TraceConfig::instance().handleIs( this );
}

TraceHandle::~TraceHandle() {
   TraceConfig::handleDel( this );
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
