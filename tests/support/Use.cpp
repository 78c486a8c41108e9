// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <support/Use>

#include <Ryx/GenericIf>

namespace support {

Use
useOf( Ryx::RyxAttr const& attr ) {
   using Flags = Ryx::RyxAttr::AttrFlags;
   if ( attr.has( Flags::isInert ) ) {
      return Use::inert;
   }
   if ( attr.introspectionFlags().isFunction() ) {
      return Use::function;
   }
   if ( attr.has( Flags::isCollection ) ) {
      return Use::collection;
   }
   if ( attr.has( Flags::isInstantiating ) ) {
      return Use::instantiating;
   }
   if ( !attr.has( Flags::isWritable ) ) {
      return Use::readOnly;
   }
   if ( attr.has( Flags::isDeletable ) ) {
      return Use::input;
   }
   return attr.valueType()->kind() == Ryx::ValueKind::object ? Use::reference : Use::scalar;
}

bool
isSupported( Use use, unsigned code ) {
   using If = Ryx::GenericIf;
   switch ( use ) {
   case Use::inert:
      return false;
   case Use::function:
      return code == If::get;
   case Use::instantiating:
   case Use::input:
      return code == If::get || code == If::set || code == If::del;
   case Use::collection:
      return code <= If::defaultValue || code == If::set || code == If::del;
   case Use::scalar:
   case Use::reference:
      return code == If::get || code == If::defaultValue || code == If::set;
   case Use::readOnly:
      return code == If::get || code == If::defaultValue;
   }
   return false;
}

} // namespace support
