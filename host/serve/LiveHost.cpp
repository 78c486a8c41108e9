// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/LiveHost>

#include <host/base/JsonLine>
#include <host/state/MountTable>

#include <array>

#include <utility>

namespace ostra {

namespace {

constexpr Ryx::Seconds betweenTries = 5;

// What the state machine knows and its successor would not.
constexpr std::array< char const*, 3 > machineFlags = { "mlagPortsErrdisabled",
                                                        "nonMlagPortsErrdisabled",
                                                        "secondaryPrev" };

// An alarm that was told and not cleared is { alarmRow, kind, interface }.
constexpr char alarmRow[] = "alarm";

RowKey
rowOfAlarm( Alarm const& alarm ) {
   return { alarmRow, std::string( nameOf( alarm.kind ) ), alarm.interface };
}

Json
noteOf( std::string const& note ) {
   return note.empty() ? Json() : Json::parse( note );
}

} // namespace

LiveHost::LiveHost(
   Options const& options, RyxType const& agentType, Driver& driver, Loop& loop )
      : bootId_( options.bootId ),
        live_( agentType, loop.time() ),
        store_( options.state, options.history, loop.time() ),
        driver_( driver ),
        reconciler_(
           driver, [ this ]( auto const& interface ) { reportPort( interface ); } ),
        ports_( live_, reconciler_, driver ),
        loop_( loop ) {}

void
LiveHost::start( Document const* file ) {
   live_.owners().driverIs( driver_.mounts() );
   restore();
   fileIs( file );
   driver_.start( loop_, *this );
   wantAll();
   live_.writeListenerIs( [ this ]( WriteRecord const& record ) { want( record ); } );
   live_.records().add(
      { { "type", "start" }, { "boot", bootId_ }, { "isRestart", isRestart_ } } );
   live_.start( resumption() );
   if ( before_.contains( "released" ) ) {
      live_.releasedIs( before_.at( "released" ).get< std::set< std::string > >() );
   }
   isStarted_ = true;
   loop_.turnEndIs( [ this ] { endTurn(); } );
}

void
LiveHost::restore() {
   Json const note = noteOf( store_.note() );
   bool const isSameBoot = note.is_object() && note.at( "boot" ) == bootId_;
   if ( !store_.finding().empty() ) {
      findings_.push_back( store_.finding() );
   }
   // There are no more revisions than records.
   bool const isKnown = note.is_object() && !store_.areNumbersLost();
   live_.revisionIs(
      isKnown ? note.at( "revision" ).get< Revision >() : store_.nextId() - 1 );
   firstOfBoot_ =
      isSameBoot ? note.value( "firstRecord", store_.nextId() ) : store_.nextId();
   store_.firstOfBootIs( firstOfBoot_ );
   live_.records().nextIdIs( store_.nextId() );
   isRestart_ = isSameBoot;
   Rows rows = store_.takeRows();
   restoreAlarms( rows );
   for ( std::string& problem : restoreRows( live_, rows, isSameBoot ) ) {
      findings_.push_back( std::move( problem ) );
   }
   for ( auto const& [ name, value ] : rows ) {
      live_.rowChanged( rowOfName( name ) );
   }
   restored_ = std::move( rows );
   if ( isSameBoot ) {
      before_ = note;
      Json const& start = note.at( "delayStart" );
      if ( start.is_number() ) {
         live_.delayStartIs( start.get< double >() );
      }
   }
}

// They are no rows of the switch's state.
void
LiveHost::restoreAlarms( Rows& rows ) {
   std::vector< Alarm > alarms;
   for ( auto row = rows.begin(); row != rows.end(); ) {
      if ( rowOfName( row->first ).front() == alarmRow ) {
         alarms.push_back( alarmOf( Json::parse( *row->second ) ) );
         row = rows.erase( row );
      } else {
         ++row;
      }
   }
   if ( isRestart_ ) {
      alarms_.restore( std::move( alarms ) );
   } else {
      alarmsBefore_ = std::move( alarms );
   }
}

AlarmBoard::Changes
LiveHost::alarmsAre( std::vector< Alarm > found, Milliseconds at ) {
   AlarmBoard::Changes changes = alarms_.update( std::move( found ), at );
   alarmsBefore_.insert(
      alarmsBefore_.end(), changes.cleared.begin(), changes.cleared.end() );
   changes.cleared = std::exchange( alarmsBefore_, {} );
   for ( Alarm const& alarm : changes.cleared ) {
      alarmRows_[ nameOfRow( rowOfAlarm( alarm ) ) ] = std::nullopt;
   }
   for ( Alarm const& alarm : changes.raised ) {
      alarmRows_[ nameOfRow( rowOfAlarm( alarm ) ) ] = lineOf( toJson( alarm ) );
   }
   return changes;
}

Rows
LiveHost::allRows() const {
   Rows rows = keptRows( live_ );
   for ( Alarm const& alarm : alarms_.alarms() ) {
      rows[ nameOfRow( rowOfAlarm( alarm ) ) ] = lineOf( toJson( alarm ) );
   }
   return rows;
}

Resumption
LiveHost::resumption() const {
   bool const hadMachine =
      before_.is_object() && before_.contains( "mlagPortsErrdisabled" );
   if ( !hadMachine ) {
      return {};
   }
   bool const isMlagHeld = before_.at( "mlagPortsErrdisabled" ) == Json( true );
   return { !isMlagHeld,
            before_.at( "nonMlagPortsErrdisabled" ) != Json( true ),
            before_.at( "secondaryPrev" ) == Json( true ),
            isMlagHeld };
}

void
LiveHost::fileIs( Document const* file ) {
   static Document const nothing = parseDocument( "configuration", "{}" );
   live_.fileIs( file ? *file : nothing );
   if ( isStarted_ ) {
      live_.records().add( { { "type", "configuration" } } );
   }
}

void
LiveHost::facts( Json const& patch ) {
   live_.apply(
      parseDocument( std::string( driver_.name() ), lineOf( patch ) ), Owner::driver );
}

void
LiveHost::want( WriteRecord const& record ) {
   auto const& path = record.path;
   if ( path.size() < 3 ) {
      return;
   }
   if ( path[ 0 ] == mount::mlagissuCause ) {
      reconciler_.wantedIs( path[ 2 ], OrderKind::errdisable, !record.value.is_null() );
   } else if ( path[ 0 ] == mount::lacpConfig ) {
      bool const isStandby =
         live_.state( { path[ 0 ], path[ 1 ], path[ 2 ], "stayInStandby" } ) ==
         Json( true );
      reconciler_.wantedIs( path[ 2 ], OrderKind::lacpStandby, isStandby );
   }
}

void
LiveHost::wantAll() {
   for ( Path const& path : { Path{ mount::mlagissuCause, "intfStatus" },
                              Path{ mount::lacpConfig, "portChannel" } } ) {
      for ( std::string const& key : live_.view().keys( path ) ) {
         want( { { path[ 0 ], path[ 1 ], key }, true } );
      }
   }
}

void
LiveHost::reportPort( std::string const& interface ) {
   Enforcement const enforcement = reconciler_.enforcement( interface );
   ObjectLine record;
   record.add( "type", "port" );
   record.add( "interface", interface );
   record.add( "enforced", nameOf( enforcement.state ) );
   if ( !enforcement.error.empty() ) {
      record.add( "error", enforcement.error );
   }
   live_.records().add( record );
   live_.touch();
}

std::string
LiveHost::note() const {
   Json note = { { "boot", bootId_ },
                 { "revision", live_.revision() },
                 { "firstRecord", firstOfBoot_ } };
   auto const start = live_.delayStart();
   note[ "delayStart" ] = start ? toJson( *start ) : Json();
   note[ "released" ] = live_.released();
   for ( char const* flag : machineFlags ) {
      Json const value = live_.view().at( { agentKey, machineKey, flag } );
      if ( !value.is_null() ) {
         note[ flag ] = value;
      }
   }
   return note.dump();
}

bool
LiveHost::isIdle() {
   return loop_.isQuiet() && committed_ == live_.version() && !live_.hasChanges() &&
      live_.records().pending().empty() && store_.problem().empty();
}

// Without those that the store has as they are.
Rows
LiveHost::takeRows( std::set< RowKey > const& changed ) {
   Rows rows = std::exchange( alarmRows_, {} );
   Rows const restored = std::exchange( restored_, {} );
   for ( RowKey const& row : changed ) {
      std::string name = nameOfRow( row );
      auto kept = keptRow( live_, row );
      auto const before = restored.find( name );
      if ( before == restored.end() || before->second != kept ) {
         rows[ std::move( name ) ] = std::move( kept );
      }
   }
   return rows;
}

void
LiveHost::commit() {
   if ( isIdle() ) {
      return;
   }
   TurnChanges changes = live_.takeChanges();
   std::string const now = note();
   bool const isLate = !store_.problem().empty();
   if (
      changes.rows.empty() && changes.acknowledges.empty() &&
      live_.records().pending().empty() && now == lastNote_ && !isLate ) {
      committed_ = live_.version();
      return;
   }
   if ( now != lastNote_ ) {
      // A class may be over without anything that was written.
      live_.touch();
   }
   Store::Turn turn;
   turn.rows = takeRows( changes.rows );
   turn.note = now;
   turn.nextId = live_.records().nextId();
   turn.records = live_.records().pending();
   turn.isAwaited = !changes.acknowledges.empty();
   bool const isDurable =
      store_.commit( std::move( turn ), [ this ] { return allRows(); } );
   lastNote_ = now;
   committed_ = live_.version();
   retry_.timeIs( isDurable ? Ryx::never : Ryx::now() + betweenTries );
   std::optional< Complaint > problem;
   if ( !isDurable ) {
      problem = { "store", store_.problem(), "a store that can be written: it is applied" };
   }
   for ( Acknowledge& acknowledge : changes.acknowledges ) {
      answers_.push_back(
         [ acknowledge = std::move( acknowledge ), problem ] { acknowledge( problem ); } );
   }
   live_.records().publish();
}

void
LiveHost::endTurn() {
   do {
      reconciler_.orderHolds();
      commit();
      reconciler_.orderReleases();
      // What the driver has answered at once.
      if ( !live_.records().pending().empty() ) {
         commit();
      }
      // A client that is answered may have sent another change already.
      for ( auto const& answer : std::exchange( answers_, {} ) ) {
         answer();
      }
   } while ( live_.hasChanged() );
}

bool
LiveHost::isReady() const {
   return isStarted_ && reconciler_.isSettled();
}

} // namespace ostra
