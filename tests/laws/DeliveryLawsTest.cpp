// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Random programs on the framework's objects and on a model of them: the same calls in the
// same order, the same bindings, the same reference counts, and nothing left at the end.

#include "Laws"
#include "Model"
#include "RyxWorld"

#include <ostream>

namespace {

using laws::Model;
using laws::Program;
using laws::Reached;
using laws::RyxWorld;

// Runs a program in both worlds; gives what is different.
std::string
disagreement( Program const& program, Reached& reached ) {
   auto const actions = program.actions();
   RyxWorld framework;
   Model model( reached );
   framework.run( actions );
   model.run( actions );
   return laws::difference( framework.log(), model.log() );
}

std::ostream&
operator<<( std::ostream& stream, Reached const& reached ) {
   return stream << "nested deliveries " << reached.nested << "\nskipped: deregistered "
                 << reached.deregisteredMeanwhile << ", destroyed "
                 << reached.destroyedMeanwhile << ", moved " << reached.movedMeanwhile
                 << "\nexceptions " << reached.raised << ", about exceptions "
                 << reached.raisedAboutRaised << "\nnotifiers gone in their delivery "
                 << reached.notifierGoneMeanwhile << ", rescued " << reached.rescued
                 << ", abandoned weak notifiees " << reached.weakAbandoned
                 << "\nreactors re-pointed " << reached.repointed << ", removed by that "
                 << reached.handlerRemovedReactor << ", born zombies " << reached.bornZombie
                 << "\nowners gone in a handler " << reached.ownerGoneInHandler
                 << "\ncollections changed while emptied "
                 << reached.changedWhileDeletingAll << ", members passed over "
                 << reached.passedOver << '\n';
}

TEST( DeliveryLaws, ProgramsDoWhatTheModelDoes ) {
   Reached reached;
   laws::check( [ &reached ] {
      auto const program = *laws::anyProgram();
      ++reached.programs;
      std::string const difference = disagreement( program, reached );
      if ( !difference.empty() ) {
         RC_FAIL( difference );
      }
      RC_ASSERT( laws::Resident::residents == 0 );
   } );
   std::cout << reached;
   if ( reached.programs < laws::enough ) {
      return;
   }
   // That many programs get here many times over, into the other corners at times.
   EXPECT_GT( reached.nested, 0u );
   EXPECT_GT( reached.deregisteredMeanwhile, 0u );
   EXPECT_GT( reached.destroyedMeanwhile, 0u );
   EXPECT_GT( reached.movedMeanwhile, 0u );
   EXPECT_GT( reached.raised, 0u );
   EXPECT_GT( reached.repointed, 0u );
   EXPECT_GT( reached.bornZombie, 0u );
   EXPECT_GT( reached.weakAbandoned, 0u );
}

} // namespace
