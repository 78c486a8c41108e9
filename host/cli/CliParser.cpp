// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/CliParser>

#include <host/base/Failure>
#include <host/text/TextLines>

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

namespace ostra {

namespace {

// The help fits a terminal of 80 columns.
constexpr std::size_t helpWidth = 80;
constexpr std::size_t nameWidth = 24;

std::string
wrappedText( std::string_view text, std::size_t width ) {
   return fmt::format( "{}", fmt::join( wrapped( text, width ), "\n" ) );
}

// The text beside a name.
std::string
besideText( std::string_view text ) {
   return wrappedText( text, helpWidth - nameWidth );
}

void
addAnswers( CLI::App& app ) {
   app.set_help_flag( "-h,--help", "Print this help and exit" )->disable_flag_override();
   app.set_version_flag( "--version", "ostra " OSTRA_VERSION, "Print the version and exit" )
      ->disable_flag_override();
   app.get_formatter()->column_width( nameWidth );
}

// The library takes an argument in brackets for a list. With a mark before it, it does not.
constexpr char bracketMark = '\1';

std::string
marked( std::string argument ) {
   if ( argument.starts_with( '[' ) ) {
      argument.insert( 0, 1, bracketMark );
   }
   return argument;
}

std::string
unmarked( std::string const& argument ) {
   bool const isMarked =
      argument.size() > 1 && argument.front() == bracketMark && argument[ 1 ] == '[';
   return isMarked ? argument.substr( 1 ) : argument;
}

// What is expected where there is a name too many.
std::string
nothingMore( CLI::App const& command ) {
   auto const names = command.get_options(
      []( CLI::Option const* option ) { return option->get_positional(); } );
   return fmt::format(
      "nothing more, as {}",
      names.empty()         ? "it takes no name"
         : names.size() > 1 ? "all names are given already"
                            : "one name is given already" );
}

// The option that a message of the library begins with.
std::string
optionOf( std::string const& message ) {
   return message.substr( 0, message.find_first_of( ": " ) );
}

} // namespace

void
refuse( std::string_view where, std::string_view what, std::string_view expected ) {
   throw Failure(
      ExitStatus::badInput, fmt::format( "{}: {}: expected {}", where, what, expected ) );
}

CliParser::CliParser(
   std::string name, std::string const& description, std::string commands )
      : app_( wrappedText( description, helpWidth ), std::move( name ) ),
        commands_( std::move( commands ) ) {
   addAnswers( app_ );
   app_.require_subcommand( 0, 1 );
}

CLI::App&
CliParser::addCommand( std::string const& name, std::string const& text ) {
   CLI::App* const command = app_.add_subcommand( name, besideText( text ) );
   addAnswers( *command );
   return *command;
}

CLI::Option&
CliParser::addValue(
   CLI::App& command,
   std::string const& names,
   std::string const& value,
   std::string const& help,
   std::string const& expected,
   Reader const& reader ) {
   std::string const name = names.substr( 0, names.find( ',' ) );
   CLI::Option* const option = command.add_option_function< std::string >(
      names,
      [ this, name, expected, reader ]( std::string const& argument ) {
         std::string const text = unmarked( argument );
         if ( !reader( text ) ) {
            refuse( place() + ": " + name, inQuotes( text ), expected );
         }
      },
      besideText( help ) );
   option->option_text( value )->take_last();
   expected_[ option ] = expected;
   return *option;
}

CLI::Option&
CliParser::addText(
   CLI::App& command,
   std::string const& name,
   std::string const& value,
   std::string const& help,
   std::string const& expected,
   std::optional< std::string >& text ) {
   return addValue(
      command, name, value, help, expected, [ &text ]( std::string const& given ) {
         text = given;
         return !given.empty();
      } );
}

CLI::Option&
CliParser::addTexts(
   CLI::App& command,
   std::string const& name,
   std::string const& help,
   std::string const& expected,
   std::vector< std::string >& texts ) {
   CLI::Option* const option = command.add_option_function< std::vector< std::string > >(
      name,
      [ &texts ]( std::vector< std::string > const& arguments ) {
         texts.clear();
         std::transform(
            arguments.begin(), arguments.end(), std::back_inserter( texts ), unmarked );
      },
      besideText( help ) );
   option->option_text( " " );
   expected_[ option ] = expected;
   return *option;
}

void
CliParser::addFlag(
   CLI::App& command, std::string const& name, bool& given, std::string const& help ) {
   command.add_flag( name, given, besideText( help ) )->disable_flag_override();
}

void
CliParser::parse( int argc, char** argv ) {
   // The library takes the last one first.
   std::vector< std::string > arguments;
   std::transform(
      std::reverse_iterator( argv + argc ),
      std::reverse_iterator( argv + std::min( argc, 1 ) ),
      std::back_inserter( arguments ),
      marked );
   try {
      app_.parse( std::move( arguments ) );
   } catch ( CLI::CallForHelp const& ) {
      refuseExtra();
      throw;
   } catch ( CLI::CallForVersion const& ) {
      refuseExtra();
      throw;
   } catch ( CLI::ExtrasError const& ) {
      refuseExtra();
   } catch ( CLI::ArgumentMismatch const& mismatch ) {
      refuseMismatch( mismatch.what() );
   } catch ( CLI::RequiredError const& absence ) {
      refuseAbsence( absence.what() );
   }
}

void
CliParser::answer( CLI::ParseError const& question, std::ostream& out ) const {
   app_.exit( question, out, out );
}

CLI::App const&
CliParser::givenApp() const {
   auto const commands = app_.get_subcommands();
   return commands.empty() ? app_ : *commands.front();
}

std::string
CliParser::command() const {
   return &givenApp() == &app_ ? std::string() : givenApp().get_name();
}

std::string
CliParser::place() const {
   std::string const given = command();
   return given.empty() ? app_.get_name() : app_.get_name() + " " + given;
}

void
CliParser::refuseExtra() const {
   // What stands before the command is the program's.
   bool const isBefore = !app_.remaining().empty();
   auto const extras = isBefore ? app_.remaining() : givenApp().remaining();
   if ( extras.empty() ) {
      return;
   }
   std::string const where = isBefore ? app_.get_name() : place();
   std::string const extra = unmarked( extras.front() );
   if ( extra.size() > 1 && extra.front() == '-' ) {
      refuse(
         where,
         "unknown option " + inQuotes( extra ),
         fmt::format( "one that `{} --help` lists", where ) );
   }
   refuse( where, inQuotes( extra ), isBefore ? commands_ : nothingMore( givenApp() ) );
}

void
CliParser::refuseMismatch( std::string const& message ) const {
   std::string const name = optionOf( message );
   auto const known = expected_.find( givenApp().get_option_no_throw( name ) );
   if ( known == expected_.end() ) {
      // A flag, which the library names without its dashes.
      refuse( place() + ": --" + name, "a value", "none" );
   }
   refuse( place() + ": " + name, "no value", known->second );
}

void
CliParser::refuseAbsence( std::string const& message ) const {
   std::string const name = optionOf( message );
   refuse( place(), "no " + name, expected_.at( givenApp().get_option_no_throw( name ) ) );
}

} // namespace ostra
