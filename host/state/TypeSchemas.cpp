// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/state/TypeSchemas>

#include <host/state/MountTable>

#include <fmt/format.h>

#include <cmath>

namespace ostra {

namespace {

enum class Side { read, patch };

std::string
nameOf( std::string_view type, Side side ) {
   return side == Side::read ? schemaName( type ) : patchSchemaName( type );
}

Json
anyOf( Json one, Json other ) {
   return { { "anyOf", Json::array( { std::move( one ), std::move( other ) } ) } };
}

Json
orNull( Json schema ) {
   return anyOf( std::move( schema ), { { "type", "null" } } );
}

bool
parses( RyxType const& type, std::string const& text ) {
   try {
      type.code().parse( text );
      return true;
   } catch ( Ryx::RangeException const& ) {
      return false;
   }
}

// Whole numbers of the type's size, or any number, which may be infinite.
Json
numberSchema( RyxType const& type ) {
   if ( parses( type, "0.5" ) ) {
      return anyOf( { { "type", "number" } }, { { "const", "inf" } } );
   }
   bool const isSigned = parses( type, "-1" );
   int const bits = 8 * static_cast< int >( type.size() ) - ( isSigned ? 1 : 0 );
   return { { "type", "integer" },
            { "minimum", toJson( isSigned ? -std::ldexp( 1, bits ) : 0 ) },
            { "maximum", toJson( std::ldexp( 1, bits ) - 1 ) } };
}

// Its value; in a patch its name will do, too.
Json
enumerationSchema( RyxType const& type, Side side ) {
   Json values = Json::array();
   for ( Ryx::Name const& name : type.enumerators() ) {
      values.push_back( { { "const", values.size() }, { "title", name.string() } } );
      if ( side == Side::patch ) {
         values.back()[ "enum" ] = { values.size() - 1, name.string() };
         values.back().erase( "const" );
      }
   }
   return { { "oneOf", std::move( values ) } };
}

std::string
ipV4Pattern() {
   std::string const number = "(25[0-5]|2[0-4][0-9]|1[0-9][0-9]|[1-9]?[0-9])";
   return fmt::format( "{}(\\.{}){{3}}", number, number );
}

// Eight groups, of which "::" stands for one at least and an IPv4 address at the end for two.
std::string
ipV6Pattern() {
   constexpr std::string_view group = "[0-9A-Fa-f]{1,4}";
   std::string const ipV4 = ipV4Pattern();
   std::string pattern = fmt::format( "({0}:){{7}}{0}|({0}:){{6}}{1}", group, ipV4 );
   for ( int before = 0; before < 8; ++before ) {
      std::string const left =
         before == 0 ? "" : fmt::format( "{0}(:{0}){{{1}}}", group, before - 1 );
      int const behind = 7 - before;
      pattern += fmt::format( "|{}::", left );
      if ( behind >= 2 ) {
         pattern += fmt::format(
            "(({0}:){{0,{1}}}{0}|({0}:){{0,{2}}}{3})?",
            group,
            behind - 1,
            behind - 2,
            ipV4 );
      } else if ( behind == 1 ) {
         pattern += fmt::format( "({})?", group );
      }
   }
   return pattern;
}

// As the types read their texts: six pairs or three groups of four, and either kind of IP
// addresses. Empty for other types.
std::string
addressPattern( std::string_view type ) {
   if ( type == "Kovel::EthAddr" ) {
      constexpr std::string_view pair = "[0-9A-Fa-f]{2}";
      return fmt::format(
         "^({0}(:{0}){{5}}|{0}(-{0}){{5}}|{1}(\\.{1}){{2}})$", pair, "[0-9A-Fa-f]{4}" );
   }
   return type == "Kovel::IpAddr" ? fmt::format( "^({}|{})$", ipV4Pattern(), ipV6Pattern() )
                                  : "";
}

Json
textSchema( RyxType const& type ) {
   Json schema = { { "type", "string" } };
   if ( std::string pattern = addressPattern( type.name().string() ); !pattern.empty() ) {
      schema[ "pattern" ] = std::move( pattern );
   }
   return schema;
}

Json
scalarSchema( RyxType const& type, Side side ) {
   switch ( type.kind() ) {
   case Ryx::ValueKind::boolean:
      return { { "type", "boolean" } };
   case Ryx::ValueKind::number:
      return numberSchema( type );
   case Ryx::ValueKind::enumeration:
      return enumerationSchema( type, side );
   default:
      return textSchema( type );
   }
}

class Schemas {
 public:
   // Adds those of the type and of what it contains; a reference to it.
   Json of( RyxType const& type, Side side ) {
      std::string const name = nameOf( type.name().string(), side );
      if ( !all_.contains( name ) ) {
         // It may contain itself.
         all_[ name ] = nullptr;
         all_[ name ] = object( type, side );
      }
      return schemaReference( name );
   }

   void add( std::string const& name, Json schema ) { all_[ name ] = std::move( schema ); }
   Json const& all() const noexcept { return all_; }

 private:
   Json object( RyxType const& type, Side side ) {
      Json schema = { { "type", "object" } };
      Json properties = Json::object();
      Json required = Json::array();
      for ( RyxAttr const* attribute : settableAttributes( type ) ) {
         std::string const& name = attribute->name().string();
         properties[ name ] = this->attribute( *attribute, side );
         required.push_back( name );
      }
      schema[ "properties" ] = std::move( properties );
      if ( side == Side::read ) {
         schema[ "required" ] = std::move( required );
      } else {
         schema[ "additionalProperties" ] = false;
      }
      return schema;
   }

   Json attribute( RyxAttr const& attribute, Side side ) {
      if ( isReference( attribute ) ) {
         return { { "type", { "string", "null" } } };
      }
      RyxType const& type = *attribute.valueType();
      Json value =
         hasObjects( attribute ) ? anyKind( type, side ) : scalarSchema( type, side );
      if ( isCollection( attribute ) ) {
         return { { "type", "object" },
                  { "additionalProperties",
                    side == Side::patch ? orNull( std::move( value ) )
                                        : std::move( value ) } };
      }
      bool const mayBeNull = type.kind() == Ryx::ValueKind::object;
      return mayBeNull ? orNull( std::move( value ) ) : value;
   }

   // An object that stands there may be of a type that derives from it; a patch makes and
   // changes what is of the type itself.
   Json anyKind( RyxType const& type, Side side ) {
      Json kinds = Json::array();
      for ( RyxType const* const other : RyxType::types() ) {
         bool const isKind = other == &type ||
            ( side == Side::read && other->isEntity() && other->isA( &type ) );
         if ( isKind ) {
            kinds.push_back( of( *other, side ) );
         }
      }
      return kinds.size() == 1 ? kinds.front() : Json{ { "anyOf", std::move( kinds ) } };
   }

   Json all_ = Json::object();
};

} // namespace

Json
schemaReference( std::string const& name ) {
   return { { "$ref", "#/components/schemas/" + name } };
}

std::string
schemaName( std::string_view type ) {
   std::string name;
   for ( char const c : type ) {
      bool const isSecondColon = c == ':' && name.ends_with( '.' );
      name += isSecondColon ? "" : std::string( 1, c == ':' ? '.' : c );
   }
   return name;
}

std::string
patchSchemaName( std::string_view type ) {
   return schemaName( type ) + ".Patch";
}

Json
stateSchemas() {
   Schemas schemas;
   for ( Side const side : { Side::read, Side::patch } ) {
      Json properties = Json::object();
      Json required = Json::array();
      for ( MountKind const& kind : mountKinds ) {
         std::string const name( kind.name );
         properties[ name ] = schemas.of( *RyxType::type( Ryx::Name( kind.type ) ), side );
         required.push_back( name );
      }
      Json state = { { "type", "object" }, { "properties", std::move( properties ) } };
      if ( side == Side::read ) {
         state[ "required" ] = std::move( required );
      } else {
         state[ "additionalProperties" ] = false;
      }
      schemas.add( nameOf( "State", side ), std::move( state ) );
   }
   return schemas.all();
}

} // namespace ostra
