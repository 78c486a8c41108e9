// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What the objects of the framework's world say.

#include "RyxWorld"

namespace laws {

namespace {

std::string
numberOf( Ryx::Ptr< Station const > const& station ) {
   return station ? "s" + std::to_string( station->serial() ) : "-";
}

} // namespace

Station::~Station() {
   world().gone( *this );
}

Watcher::~Watcher() {
   world().gone( *this, serial() );
}

void
Watcher::heard( std::string const& what ) {
   world().heard( "n" + std::to_string( serial() ) + " " + what, lessons() );
}

void
Watcher::onLevel() {
   heard( "level " + numberOf( notifier() ) + " " + std::to_string( notifier()->level() ) );
}

// What a callback reads it lets go of before anything else happens: the text comes first.
void
Watcher::onUplink() {
   std::string const uplink = numberOf( notifier()->uplink() );
   heard( "uplink " + numberOf( notifier() ) + " " + uplink );
}

void
Watcher::onNote( unsigned k ) {
   auto const* const record = notifier()->notes().find( k );
   heard(
      "note " + numberOf( notifier() ) + " " + std::to_string( k ) + " " +
      ( record ? std::to_string( record->value() ) : "-" ) );
}

void
Watcher::onPeer( unsigned k ) {
   auto const* const record = notifier()->peers().find( k );
   std::string const peer = record ? numberOf( record->value() ) : "-";
   heard( "peer " + numberOf( notifier() ) + " " + std::to_string( k ) + " " + peer );
}

void
Watcher::onParent() {
   std::string const parent =
      numberOf( Ryx::ptrCast< Station const >( notifier()->parent() ) );
   heard( "parent " + numberOf( notifier() ) + " " + parent );
}

void
Watcher::onZeroReferences() {
   heard( "zero " + numberOf( notifier() ) );
}

void
Watcher::onNotificationException( Ryx::AttributeId id ) {
   heard( "exception " + std::to_string( id ) );
}

template< class Self, class Base >
SayingReactor< Self, Base >::SayingReactor(
   Ryx::Ptr< Station const > const& input, Owner* owner )
      : Base( input, owner ),
        Resident( owner->world(), owner->world().reactorMade( *this ) ) {}

template< class Self, class Base >
SayingReactor< Self, Base >::~SayingReactor() {
   world().gone( *this, serial() );
}

template< class Self, class Base >
void
SayingReactor< Self, Base >::onNotificationException( Ryx::AttributeId id ) {
   world().say( "n" + std::to_string( serial() ) + " exception " + std::to_string( id ) );
}

template< class Self, class Base >
void
SayingReactor< Self, Base >::handleLevel() {
   Ryx::Ptr< Owner > const owner( this->owner() );
   auto const input = this->notifier();
   std::string const what = "n" + std::to_string( serial() ) + " handles " +
      numberOf( input ) + " " + std::to_string( input->level() );
   if ( owner ) {
      world().heard( what, owner->lessons() );
   } else {
      world().say( what + " without an owner" );
   }
}

template class SayingReactor<
   Owner::RyxMaster,
   Ryx::Reactor< Owner::RyxMaster, Owner, Station > >;
template class SayingReactor<
   Owner::RyxPort,
   Ryx::KeyedReactor< Owner::RyxPort, Owner, Station, unsigned > >;

Owner::~Owner() {
   world().gone( *this );
   orphanReactors();
   releaseState();
}

} // namespace laws
