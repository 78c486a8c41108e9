// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The framework's own types: the values, and what its services show of themselves.

#include <Ryx/Activity>
#include <Ryx/Clock>
#include <Ryx/Registration>

namespace Ryx {

namespace {

UnitRegistration<
   bool,
   double,
   unsigned char,
   unsigned int,
   int,
   void*,
   String8,
   Name,
   ActivityConfig,
   Clock > const unit( "Ryx" );

} // namespace

RyxType*
Name::_fwkType() {
   return describedType< Name >();
}

Ptr< GenericIf >
wrapObject( Ptr< PtrInterface const > const& object, bool asConst ) {
   RyxType const* const type = object->fwkType();
   if ( type && type->code().wrap ) {
      return type->code().wrap( object, asConst );
   }
   return make< GenericIfPtrInterface >( object, asConst );
}

} // namespace Ryx
