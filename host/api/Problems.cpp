// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/api/Problems>

namespace ostra {

namespace {

int
statusOf( PatchRefusal::Kind kind ) {
   switch ( kind ) {
   case PatchRefusal::Kind::notFound:
      return 404;
   case PatchRefusal::Kind::notOwned:
      return 409;
   default:
      return 400;
   }
}

} // namespace

http::Problem
problemOf( PatchRefusal const& refusal ) {
   return problemOf( statusOf( refusal.kind() ), refusal.complaint() );
}

} // namespace ostra
