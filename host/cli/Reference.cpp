// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/Reference>

#include <host/cli/ArgumentSpot>

#include <fmt/format.h>

#include <algorithm>
#include <string>

namespace ostra {

namespace {

std::string
replaced( std::string text, std::string_view what, std::string_view by ) {
   for ( std::size_t at = text.find( what ); at != text.npos;
         at = text.find( what, at + by.size() ) ) {
      text.replace( at, what.size(), by );
   }
   return text;
}

// On one line, as the cell of a table. What looks like code to Markdown stays so.
std::string
cell( std::string const& text ) {
   return replaced( replaced( text, "\n", " " ), "|", "\\|" );
}

// "SCENARIO", "[INTERFACE...]".
std::string
usage( CLI::Option const& positional ) {
   std::string const name =
      argumentName( positional ) + ( positional.get_items_expected_max() > 1 ? "..." : "" );
   return positional.get_required() ? name : "[" + name + "]";
}

// "--colour auto|always|never, --color": all its names, the value once.
std::string
forms( CLI::Option const& argument ) {
   if ( !argument.nonpositional() ) {
      return argumentName( argument );
   }
   std::string text;
   for ( std::string const& name : argument.get_lnames() ) {
      text += fmt::format( "{}--{}", text.empty() ? "" : ", ", name );
   }
   return text +
      ( argument.get_option_text().empty() ? "" : " " + argument.get_option_text() );
}

// A choice that stands without an option is called by what can be chosen, too.
std::string
help( CLI::Option const& argument ) {
   std::string const values = valueNameOf( argument );
   bool const isChoice = argument.get_positional() && values.find( '|' ) != values.npos;
   return isChoice ? fmt::format( "`{}`: {}", values, argument.get_description() )
                   : argument.get_description();
}

void
printCommand( std::string const& program, CLI::App const& command, std::ostream& out ) {
   auto const isEverywhere = [ &command ]( CLI::Option const* option ) {
      return option == command.get_help_ptr() || option == command.get_version_ptr();
   };
   auto arguments = command.get_options();
   std::erase_if( arguments, isEverywhere );
   std::string synopsis = fmt::format( "{} {}", program, command.get_name() );
   bool const hasOptions =
      std::any_of( arguments.begin(), arguments.end(), []( CLI::Option const* argument ) {
         return argument->nonpositional();
      } );
   synopsis += hasOptions ? " [OPTION...]" : "";
   for ( CLI::Option const* const positional : positionalsOf( command ) ) {
      synopsis += " " + usage( *positional );
   }
   out << fmt::format(
      "### {}\n\n{}\n\n", synopsis, replaced( command.get_description(), "\n", " " ) );
   if ( !arguments.empty() ) {
      out << "| argument | what |\n|---|---|\n";
      for ( CLI::Option const* const argument : arguments ) {
         out << fmt::format(
            "| `{}` | {} |\n", cell( forms( *argument ) ), cell( help( *argument ) ) );
      }
      out << '\n';
   }
}

} // namespace

void
printReference( CLI::App const& program, std::ostream& out ) {
   for ( CLI::App const* const command : commandsOf( program ) ) {
      printCommand( program.get_name(), *command, out );
   }
}

} // namespace ostra
