// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// absl::flat_hash_map and absl::btree_map.

#include <collection/Collection>
#include <collection/MapOfPtrs>

#include <absl/container/btree_map.h>
#include <absl/container/flat_hash_map.h>

namespace {

using Pointer = Ryx::Ptr< bench::Record >;
using FlatMap = absl::flat_hash_map< Kovel::IntfId, Pointer, std::hash< Kovel::IntfId > >;
using BTreeMap = absl::btree_map< Kovel::IntfId, Pointer >;

bool const measured =
   bench::measured< bench::MapOfPtrs< FlatMap > >( "absl::flat_hash_map" ) &&
   bench::measured< bench::MapOfPtrs< BTreeMap > >( "absl::btree_map" );

} // namespace
