// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The framework's own types: the values, and what its services show of themselves.

#include <Ryx/Activity>
#include <Ryx/Clock>
#include <Ryx/Registration>

namespace Ryx {

namespace {

using Unit = UnitRegistration<
   bool,
   double,
   unsigned char,
   unsigned int,
   int,
   void*,
   String8,
   Name,
   ActivityConfig,
   Clock >;
[[gnu::init_priority( unitPriority )]] Unit const unit( "Ryx" );

} // namespace

RyxType*
Name::_fwkType() {
   return describedType< Name >();
}

Ptr< GenericIf >
wrapObject( Ptr< PtrInterface const > const& object, bool asConst ) {
   if ( !object ) {
      return nullptr;
   }
   RyxType const* const type = object->fwkType();
   auto const wrap = type ? type->codeOf( *object ).wrap : nullptr;
   return wrap ? wrap( object, asConst ) : make< GenericIfPtrInterface >( object, asConst );
}

Ptr< GenericIf >
wrapValue( RyxType const& type, void const* value ) {
   if ( !type.code().wrapValue ) {
      throw GenericIfException( type.name().string() + " is not loaded" );
   }
   return type.code().wrapValue( value );
}

} // namespace Ryx
