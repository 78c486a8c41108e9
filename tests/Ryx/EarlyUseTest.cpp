// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Static initialisers ask for types: units are registered before any of them runs.

#include "Board"

#include <gtest/gtest.h>

namespace {

// What is seen by an initialiser that runs before all that have no priority.
struct Early {
   std::size_t attributes = doubles::Board::_fwkType()->attributeQ().size();
   bool isEntity = doubles::Port::_fwkType()->isEntity();
   bool isParsed = Ryx::Name::_fwkType()->code().parse != nullptr;
};

[[gnu::init_priority( 1000 )]] Early const early;

TEST( EarlyUse, ATypeIsDescribedBeforeTheFirstStaticInitialiser ) {
   EXPECT_EQ( early.attributes, doubles::Board::_fwkType()->attributeQ().size() );
   EXPECT_GT( early.attributes, 0u );
   EXPECT_TRUE( early.isEntity );
   EXPECT_TRUE( early.isParsed );
}

} // namespace
