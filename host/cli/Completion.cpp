// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/Completion>

#include <host/base/IntfRanges>
#include <host/cli/ArgumentSpot>
#include <host/cli/InterfaceNames>
#include <host/cli/StatePaths>

#include <Ryx/Exception>
#include <Ryx/GenericIf>

#include <algorithm>
#include <map>
#include <set>
#include <string_view>

namespace ostra {

namespace {

using Words = std::vector< std::string >;

// What shells show beside a word: the text's first clause, on one line.
std::string
firstClause( std::string text ) {
   std::replace( text.begin(), text.end(), '\n', ' ' );
   std::size_t const end = text.find_first_of( ".;:" );
   bool const isInside =
      end != text.npos && end + 1 < text.size() && text[ end + 1 ] != ' ';
   return isInside ? text : text.substr( 0, end );
}

std::vector< Candidate >
commandCandidates( CLI::App const& program ) {
   std::vector< Candidate > candidates;
   for ( CLI::App const* const command : commandsOf( program ) ) {
      candidates.push_back(
         { command->get_name(), firstClause( command->get_description() ) } );
   }
   return candidates;
}

std::vector< Candidate >
optionCandidates( CLI::App const& command ) {
   std::vector< Candidate > candidates;
   for ( CLI::Option const* const option : command.get_options() ) {
      if ( option->nonpositional() ) {
         candidates.push_back(
            { argumentName( *option ), firstClause( option->get_description() ) } );
      }
   }
   return candidates;
}

// "text|json" as its words.
Words
choicesIn( std::string_view text ) {
   Words words;
   while ( !text.empty() ) {
      std::size_t const end = std::min( text.find( '|' ), text.size() );
      words.emplace_back( text.substr( 0, end ) );
      text.remove_prefix( std::min( end + 1, text.size() ) );
   }
   return words;
}

Words
typeNames() {
   Words names;
   for ( RyxType const* const type : RyxType::types() ) {
      names.push_back( type->name().string() );
   }
   return names;
}

// Those of a list that ends with a comma; none of one that is wrong.
std::set< std::string >
listedIn( std::string_view list ) {
   std::set< std::string > names;
   try {
      for ( Kovel::IntfId const id : interfacesOf( list.substr( 0, list.size() - 1 ) ) ) {
         names.insert( id.string() );
      }
   } catch ( Ryx::RangeException const& ) {
      return {};
   }
   return names;
}

// Of several interfaces the last one is completed, by what is not there yet.
Words
inList( std::string const& value, Words const& names ) {
   std::string const before = value.substr( 0, value.rfind( ',' ) + 1 );
   auto const listed = before.empty() ? std::set< std::string >() : listedIn( before );
   Words words;
   for ( std::string const& name : names ) {
      if ( !listed.contains( name ) ) {
         words.push_back( before + name );
      }
   }
   return words;
}

struct Values {
   bool areFiles = false;
   Words words = {};
};

// By what the help calls them.
Values
valuesAt( ArgumentSpot const& spot ) {
   std::string const name = valueNameOf( *spot.argument );
   bool const isPath = name == "PATH" && spot.argument->get_positional();
   if ( name.find( '|' ) != name.npos ) {
      return { false, choicesIn( name ) };
   }
   if ( name == "INTERFACE" ) {
      return { false, interfacesFor( spot ) };
   }
   if ( name == "INTERFACES" ) {
      return { false, inList( spot.value, interfacesFor( spot ) ) };
   }
   if ( name == "ASSIGNMENT" || name == "PATCH" || isPath ) {
      PathUse const use = isPath ? PathUse::read : PathUse::assign;
      return { name == "PATCH", statePaths( spot.value, use, LiveNames( spot ) ) };
   }
   if ( name == "NAME" && spot.argument->get_positional() ) {
      return { false, typeNames() };
   }
   static Words const files = { "FILE", "FIRST", "PATH", "SCENARIO", "SECOND" };
   return { std::find( files.begin(), files.end(), name ) != files.end() };
}

Candidates
allAt( CLI::App const& program, ArgumentSpot const& spot ) {
   if ( !spot.argument ) {
      bool const isOption = spot.value.starts_with( '-' ) || spot.command != &program;
      return { false,
               isOption ? optionCandidates( *spot.command )
                        : commandCandidates( program ) };
   }
   Values const values = valuesAt( spot );
   Candidates candidates{ values.areFiles };
   for ( std::string const& word : values.words ) {
      candidates.words.push_back( { spot.before + word } );
   }
   return candidates;
}

} // namespace

Candidates
completionsOf( CLI::App const& program, WordsOfLine const& line ) {
   ArgumentSpot const spot = spotOf( program, line );
   Candidates candidates = allAt( program, spot );
   std::string const written = spot.before + spot.value;
   std::erase_if( candidates.words, [ &written ]( Candidate const& candidate ) {
      return !candidate.word.starts_with( written );
   } );
   return candidates;
}

} // namespace ostra
