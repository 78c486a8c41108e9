// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Ryx::Ptr.

#include <Ryx/Entity>
#include <ptr/PtrBench>

namespace {

class Object final : public Ryx::PtrInterface {};

struct Make {
   Ryx::Ptr< Object > operator()() const { return Ryx::make< Object >(); }
};

bool const measured = bench::measuredCopy< Make >( "copy/Ryx" );

} // namespace
