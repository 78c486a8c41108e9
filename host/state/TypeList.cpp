// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/state/TypeList>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <utility>

namespace ostra {

namespace {

constexpr std::array< std::pair< Flags::Bit, std::string_view >, 10 > words = { {
   { Flags::isReadable, "readable" },
   { Flags::isWritable, "writable" },
   { Flags::isDeletable, "deletable" },
   { Flags::isCollection, "collection" },
   { Flags::isSet, "set" },
   { Flags::isSelfKeyed, "self-keyed" },
   { Flags::isInstantiating, "instantiating" },
   { Flags::isContained, "contained" },
   { Flags::isConst, "const" },
   { Flags::isInert, "inert" },
} };

constexpr std::array< std::string_view, 7 > kindNames = {
   "opaque", "boolean", "number", "enumeration", "text", "structure", "object",
};

std::string_view
kindName( RyxType const& type ) {
   return type.isEntity() ? "entity"
                          : kindNames[ static_cast< std::size_t >( type.kind() ) ];
}

std::string
typeName( RyxType const* type ) {
   return type ? type->name().string() : "void";
}

std::string
argumentList( std::vector< Ryx::RyxArgument > const& arguments ) {
   std::string list;
   for ( auto const& [ name, type ] : arguments ) {
      list += fmt::format(
         "{}{} {}", list.empty() ? "" : ", ", typeName( type ), name.string() );
   }
   return "(" + list + ")";
}

// The name with the type of its index; what is called with arguments shows that it is.
std::string
signature( RyxAttr const& attribute ) {
   std::string const& name = attribute.name().string();
   if ( attribute.indexType() ) {
      return fmt::format( "{}[{}]", name, typeName( attribute.indexType() ) );
   }
   if ( !attribute.arguments().empty() ) {
      return name + "(...)";
   }
   return attribute.introspectionFlags().isFunction() ? name + "()" : name;
}

// The arguments, one a line.
std::string
argumentLines( RyxAttr const& attribute ) {
   std::string lines;
   for ( auto const& [ name, type ] : attribute.arguments() ) {
      lines += fmt::format( "{:>9}{}: {}\n", "", name.string(), typeName( type ) );
   }
   return lines;
}

Json
argumentsJson( std::vector< Ryx::RyxArgument > const& arguments ) {
   Json json = Json::array();
   for ( auto const& [ name, type ] : arguments ) {
      json.push_back( { { "name", name.string() }, { "type", typeName( type ) } } );
   }
   return json;
}

Json
attributeJson( RyxAttr const& attribute ) {
   Json json = { { "id", attribute.id() },
                 { "name", attribute.name().string() },
                 { "valueType", typeName( attribute.valueType() ) } };
   if ( attribute.indexType() ) {
      json[ "indexType" ] = typeName( attribute.indexType() );
   }
   if ( !attribute.arguments().empty() ) {
      json[ "arguments" ] = argumentsJson( attribute.arguments() );
   }
   json[ "flags" ] = flagWords( attribute );
   return json;
}

std::string
heading( RyxType const& type ) {
   std::string text = fmt::format( "{}: {}", type.name().string(), kindName( type ) );
   if ( type.baseType() ) {
      text += fmt::format( ", derives {}", typeName( type.baseType() ) );
   }
   if ( type.code().construct ) {
      text += fmt::format( ", made from {}", argumentList( type.constructorArguments() ) );
   }
   return text + '\n';
}

std::string
enumeratorTable( RyxType const& type ) {
   std::string text;
   for ( std::size_t i = 0; i < type.enumerators().size(); ++i ) {
      text += fmt::format( "{:>5}  {}\n", i, type.enumerators()[ i ].string() );
   }
   return text;
}

std::string
attributeTable( RyxType const& type ) {
   auto const attributes = type.allAttributes();
   std::size_t signatureWidth = 0;
   std::size_t typeWidth = 0;
   for ( auto const& attribute : attributes ) {
      signatureWidth = std::max( signatureWidth, signature( *attribute ).size() );
      typeWidth = std::max( typeWidth, typeName( attribute->valueType() ).size() );
   }
   std::string text;
   for ( auto const& attribute : attributes ) {
      text += fmt::format(
         "{:>5}  {:<{}}  {:<{}}  {}\n",
         attribute->id(),
         signature( *attribute ),
         signatureWidth,
         typeName( attribute->valueType() ),
         typeWidth,
         fmt::join( flagWords( *attribute ), " " ) );
      text += argumentLines( *attribute );
   }
   return text;
}

} // namespace

std::vector< std::string >
flagWords( RyxAttr const& attribute ) {
   std::vector< std::string > found;
   for ( auto const& [ bit, word ] : words ) {
      if ( attribute.has( bit ) ) {
         found.emplace_back( word );
      }
   }
   if ( attribute.introspectionFlags().isFunction() ) {
      found.emplace_back( "function" );
   }
   return found;
}

std::string
typeText( RyxType const& type ) {
   return heading( type ) + enumeratorTable( type ) + attributeTable( type );
}

Json
typeJson( RyxType const& type ) {
   Json json = { { "name", type.name().string() },
                 { "kind", kindName( type ) },
                 { "size", type.size() } };
   if ( type.baseType() ) {
      json[ "base" ] = typeName( type.baseType() );
   }
   if ( type.code().construct ) {
      json[ "constructor" ] = argumentsJson( type.constructorArguments() );
   }
   if ( !type.enumerators().empty() ) {
      json[ "enumerators" ] = Json::array();
      for ( Ryx::Name const& name : type.enumerators() ) {
         json[ "enumerators" ].push_back( name.string() );
      }
   }
   json[ "attributes" ] = Json::array();
   for ( auto const& attribute : type.allAttributes() ) {
      json[ "attributes" ].push_back( attributeJson( *attribute ) );
   }
   return json;
}

} // namespace ostra
