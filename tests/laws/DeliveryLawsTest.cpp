// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Random programs on the framework's objects and on a model of them: the same calls in the
// same order, the same bindings, the same reference counts, and nothing left at the end.

#include "Laws"
#include "Model"
#include "RyxWorld"

#include <iostream>

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

struct Corner {
   char const* name;
   unsigned Reached::*count;
};

constexpr Corner corners[] = {
   { "nested deliveries", &Reached::nested },
   { "deliveries to more than there is room for", &Reached::crowded },
   { "skipped, deregistered meanwhile", &Reached::deregisteredMeanwhile },
   { "skipped, destroyed meanwhile", &Reached::destroyedMeanwhile },
   { "skipped, moved meanwhile", &Reached::movedMeanwhile },
   { "skipped, taken out and put back meanwhile", &Reached::reenteredMeanwhile },
   { "exceptions", &Reached::raised },
   { "exceptions about exceptions", &Reached::raisedAboutRaised },
   { "notifiers gone in their delivery", &Reached::notifierGoneMeanwhile },
   { "notifiers rescued at zero references", &Reached::rescued },
   { "notifiers that only a hold keeps", &Reached::keptByHold },
   { "notifiers gone with their hold", &Reached::goneWithHold },
   { "refused as their own ancestors", &Reached::ancestorRefused },
   { "abandoned weak notifiees", &Reached::weakAbandoned },
   { "reactors re-pointed", &Reached::repointed },
   { "reactors removed by that", &Reached::handlerRemovedReactor },
   { "reactors born as zombies", &Reached::bornZombie },
   { "owners gone in a handler", &Reached::ownerGoneInHandler },
   { "collections changed while emptied", &Reached::changedWhileDeletingAll },
   { "collections changed by the member removed", &Reached::changedByTheRemoved },
};

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
   // So many programs get into each corner many times over.
   bool const isEnough = reached.programs >= laws::enough;
   for ( Corner const& corner : corners ) {
      std::cout << corner.name << ": " << reached.*corner.count << '\n';
      EXPECT_TRUE( !isEnough || reached.*corner.count > 0 ) << corner.name;
   }
}

} // namespace
