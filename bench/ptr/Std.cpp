// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// std::shared_ptr.

#include <ptr/PtrBench>

#include <memory>

namespace {

struct Make {
   std::shared_ptr< int > operator()() const { return std::make_shared< int >(); }
};

bool const measured = bench::measuredCopy< Make >( "copy/std::shared_ptr" );

} // namespace
