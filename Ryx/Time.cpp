// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Time>

#include <chrono>

namespace Ryx {

namespace {

TimeSource const* timeSource = nullptr;

Seconds
monotonicTime() {
   auto const sinceStart = std::chrono::steady_clock::now().time_since_epoch();
   return std::chrono::duration< Seconds >( sinceStart ).count();
}

} // namespace

TimeSource::~TimeSource() = default;

Seconds
now() {
   return timeSource ? timeSource->now() : monotonicTime();
}

void
timeSourceIs( TimeSource const* source ) noexcept {
   timeSource = source;
}

} // namespace Ryx
