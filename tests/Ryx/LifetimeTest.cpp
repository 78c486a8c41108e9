// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Callbacks that take away what the call that told them is working on. Worth most under
// AddressSanitizer.

#include "Board"
#include "Supervisor"

#include <Ryx/Log>

#include <gtest/gtest.h>

namespace {

using namespace doubles;
using Ryx::make;

TEST( Lifetime, ANotifieeHeldOnlyBySnapshotsIsNotCalledByANestedDelivery ) {
   Calls calls;
   auto const port = make< Port >( 1u );
   auto const a = watch( "a", calls, port );
   auto const b = watch( "b", calls, port );
   auto c = watch( "c", calls, port );
   a->action = [ & ] { c = nullptr; };
   b->action = [ & ] { port->labelIs( "again" ); };
   port->speedIs( 2 );
   EXPECT_EQ(
      calls, ( Calls{ "a speed 2", "b speed 2", "a label again", "b label again" } ) );
   EXPECT_EQ( port->notifieeCount(), 2u );
}

TEST( Lifetime, DeletingAllMembersSurvivesTheLossOfTheOwner ) {
   Calls calls;
   auto board = make< Board >( "board" );
   board->levelIs( 1, 10 );
   board->levelIs( 2, 20 );
   auto const watcher = make< BoardWatcher >( "w", calls );
   watcher->isWeakReferenceIs( true );
   watcher->notifierIs( board );
   watcher->isRegisteredNotifieeIs( true );
   Board* const last = board.release();
   watcher->action = [ last ] { last->deleteReference(); };
   last->levelDelAll();
   EXPECT_EQ( calls.size(), 3u );
   EXPECT_EQ( calls.back(), "w zero" );
}

TEST( Lifetime, RepointingAReactorSurvivesTheLossOfTheOwner ) {
   Calls calls;
   auto supervisor = make< Supervisor >( calls );
   supervisor->portIs( make< Port >( 1u ) );
   Supervisor* const last = supervisor.release();
   last->action = [ last ] { last->deleteReference(); };
   last->portIs( make< Port >( 1u ) );
   EXPECT_EQ( calls, Calls{ "port1 port1 0" } );
}

TEST( Lifetime, ReplacingAnInputSurvivesTheLossOfTheOwner ) {
   Calls calls;
   auto supervisor = make< Supervisor >( calls );
   auto old = make< Port >( 1u );
   supervisor->masterIs( old );
   auto const watcher = watchWeakly( "w", calls, old );
   old = nullptr;
   Supervisor* const last = supervisor.release();
   watcher->action = [ last ] { last->deleteReference(); };
   last->masterIs( make< Port >( 2u ) );
   EXPECT_EQ( calls, Calls{ "w zero" } );
}

TEST( Lifetime, LettingGoOfAHeldObjectAtZeroReferencesReleasesItOnce ) {
   Calls calls;
   Port::live = 0;
   auto port = make< Port >( 1u );
   Port* const raw = port.ptr();
   auto const watcher = watchWeakly( "w", calls, port );
   watcher->action = [ raw ] {
      raw->ryxHeldIs( true );
      raw->ryxHeldIs( false );
   };
   port = nullptr;
   EXPECT_EQ( calls, Calls{ "w zero" } );
   EXPECT_EQ( Port::live, 0 );
}

TEST( Lifetime, HoldingAnObjectAtZeroReferencesKeepsIt ) {
   Calls calls;
   Port::live = 0;
   auto port = make< Port >( 1u );
   Port* const raw = port.ptr();
   auto const watcher = watchWeakly( "w", calls, port );
   watcher->action = [ raw ] { raw->ryxHeldIs( true ); };
   port = nullptr;
   EXPECT_EQ( Port::live, 1 );
   EXPECT_EQ( raw->references(), 0u );
   raw->ryxHeldIs( false );
   EXPECT_EQ( Port::live, 0 );
}

using WeakReferenceDeathTest = ::testing::Test;

TEST_F( WeakReferenceDeathTest, BecomingWeakOnceBoundAborts ) {
   Calls calls;
   auto const port = make< Port >( 1u );
   auto const watcher = watch( "w", calls, port );
   EXPECT_DEATH( watcher->isWeakReferenceIs( true ), "notifier_ == 0" );
}

class ThrowingSink final : public Ryx::LogSink {
   void log( Ryx::LogRecord const& ) override { throw std::runtime_error( "full" ); }
};

TEST( Lifetime, AMessageThatCannotBeWrittenKeepsNobodyFromItsWork ) {
   ThrowingSink sink;
   Ryx::logSinkIs( &sink );
   Ryx::LogHandle handle( "LOST", Ryx::LogSeverity::info, "%s", "", "", 0.0, 1.0, 0 );
   EXPECT_NO_THROW( Ryx::log( handle, "text" ) );
   Ryx::logSinkIs( nullptr );
}

} // namespace
