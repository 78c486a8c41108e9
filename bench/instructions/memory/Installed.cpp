// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The memory that a host has, slabs and the C library's: its instructions are those that a
// user pays. What it hands out is counted with the other memory.

#include <instructions/Measure>

std::size_t
bench::allocations() noexcept {
   return 0;
}
