// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/ArgumentSpot>

#include <algorithm>
#include <string_view>

namespace ostra {

namespace {

bool
takesValue( CLI::Option const& option ) {
   return option.get_items_expected_max() > 0;
}

CLI::Option const*
optionNamed( CLI::App const& command, std::string const& name ) {
   auto const options = command.get_options( [ &name ]( CLI::Option const* option ) {
      return option->nonpositional() && option->check_name( name );
   } );
   return options.empty() ? nullptr : options.front();
}

class Walk {
 public:
   Walk( CLI::App const& program, WordsOfLine const& line )
         : line_( line ), spot_{ &program } {}

   ArgumentSpot spot() {
      for ( index_ = 0; index_ < line_.words.size(); ++index_ ) {
         take( line_.words[ index_ ] );
      }
      return spot_;
   }

 private:
   bool isHere() const noexcept { return index_ == line_.at; }

   void take( std::string const& word ) {
      if ( pending_ ) {
         takeValue( *pending_, "", word );
         pending_ = nullptr;
      } else if ( word == "--" && !isHere() ) {
         hasOptions_ = false;
      } else if ( hasOptions_ && word.size() > 1 && word.front() == '-' ) {
         takeOption( word );
      } else if ( isCommandNext_ ) {
         takeCommand( word );
      } else {
         takePositional( word );
      }
   }

   void takeValue(
      CLI::Option const& argument, std::string const& before, std::string const& value ) {
      if ( isHere() ) {
         spot_.argument = &argument;
         spot_.before = before;
         spot_.value = value;
      } else {
         spot_.given[ argumentName( argument ) ] = value;
      }
   }

   void takeOption( std::string const& word ) {
      std::size_t const equals = word.find( '=' );
      CLI::Option const* const option =
         optionNamed( *spot_.command, word.substr( 0, equals ) );
      bool const hasValue = option && takesValue( *option );
      if ( equals != word.npos && hasValue ) {
         takeValue( *option, word.substr( 0, equals + 1 ), word.substr( equals + 1 ) );
      } else if ( isHere() ) {
         spot_.value = word;
      } else if ( hasValue ) {
         pending_ = option;
      }
   }

   void takeCommand( std::string const& word ) {
      isCommandNext_ = false;
      if ( isHere() ) {
         spot_.value = word;
         return;
      }
      auto const commands = spot_.command->get_subcommands(
         [ &word ]( CLI::App const* command ) { return command->get_name() == word; } );
      spot_.command = commands.empty() ? spot_.command : commands.front();
   }

   void takePositional( std::string const& word ) {
      auto const positionals = positionalsOf( *spot_.command );
      if ( positional_ < positionals.size() ) {
         CLI::Option const& argument = *positionals[ positional_ ];
         takeValue( argument, "", word );
         // The last one of some commands takes all that follow.
         positional_ += argument.get_items_expected_max() > 1 ? 0 : 1;
      } else if ( isHere() ) {
         spot_.value = word;
      }
   }

   WordsOfLine const& line_;
   ArgumentSpot spot_;
   std::size_t index_ = 0;
   std::size_t positional_ = 0;
   // The option whose value comes next.
   CLI::Option const* pending_ = nullptr;
   bool hasOptions_ = true;
   bool isCommandNext_ = true;
};

} // namespace

ArgumentSpot
spotOf( CLI::App const& program, WordsOfLine const& line ) {
   return Walk( program, line ).spot();
}

std::string
valueNameOf( CLI::Option const& argument ) {
   std::string const& text = argument.get_option_text();
   bool const isBlank = text.find_first_not_of( ' ' ) == text.npos;
   return isBlank && argument.get_positional() ? argumentName( argument ) : text;
}

std::string
argumentName( CLI::Option const& argument ) {
   return argument.get_lnames().empty() ? argument.get_name( true )
                                        : "--" + argument.get_lnames().front();
}

std::vector< CLI::App const* >
commandsOf( CLI::App const& program ) {
   return program.get_subcommands(
      []( CLI::App const* command ) { return !command->get_group().empty(); } );
}

std::vector< CLI::Option const* >
positionalsOf( CLI::App const& command ) {
   return command.get_options(
      []( CLI::Option const* option ) { return option->get_positional(); } );
}

} // namespace ostra
