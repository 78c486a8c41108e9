// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// std::map and std::unordered_map.

#include <collection/Collection>
#include <collection/MapOfPtrs>

#include <map>
#include <unordered_map>

namespace {

using Pointer = Ryx::Ptr< bench::Record >;
using Map = std::map< Kovel::IntfId, Pointer >;
using UnorderedMap = std::unordered_map< Kovel::IntfId, Pointer >;

bool const measured = bench::measured< bench::MapOfPtrs< Map > >( "std::map" ) &&
   bench::measured< bench::MapOfPtrs< UnorderedMap > >( "std::unordered_map" );

} // namespace
