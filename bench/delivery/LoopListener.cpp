// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <delivery/LoopListener>

namespace bench {

namespace {

class Counting final : public LoopListener {
 public:
   void onValue() override { ++heard; }
};

} // namespace

std::unique_ptr< LoopListener >
loopListener() {
   return std::make_unique< Counting >();
}

} // namespace bench
