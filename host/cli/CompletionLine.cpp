// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/CompletionLine>

#include <host/base/Failure>
#include <host/cli/Completion>
#include <host/cli/CompletionScripts>
#include <host/cli/InputArguments>

namespace ostra {

namespace {

constexpr char completionDescription[] =
   "Prints what makes a shell complete this program's commands, options and interfaces.";

// A line each: which of the words is completed, from 1, then the words behind the program.
WordsOfLine
wordsFrom( std::istream& in ) {
   WordsOfLine line;
   std::string text;
   std::getline( in, text );
   std::size_t const number = wholeNumber< std::size_t >( text ).value_or( 0 );
   for ( std::string word; std::getline( in, word ); ) {
      line.words.push_back( word );
   }
   if ( number == 0 || number > line.words.size() ) {
      refuse(
         "ostra completion words",
         inQuotes( text ),
         "the number of a word, and the words, on standard input" );
   }
   line.at = number - 1;
   return line;
}

void
print( Candidates const& candidates, std::ostream& out ) {
   out << ( candidates.hasFiles ? "files\n" : "words\n" );
   for ( Candidate const& candidate : candidates.words ) {
      out << candidate.word;
      if ( !candidate.help.empty() ) {
         out << '\t' << candidate.help;
      }
      out << '\n';
   }
}

} // namespace

void
CompletionLine::addCommand() {
   CLI::App& command = parser_.addCommand( "completion", completionDescription );
   parser_
      .addChoice< What >(
         command,
         "SHELL",
         what_,
         { { "bash", What::bash },
           { "zsh", What::zsh },
           { "fish", What::fish },
           { "words", What::words } },
         "The shell that reads it, as in: source <(ostra completion bash). words: what "
         "such a script asks for" )
      .required();
}

void
CompletionLine::execute( std::istream& in, std::ostream& out ) const {
   switch ( what_ ) {
   case What::bash:
      out << bashCompletion();
      break;
   case What::zsh:
      out << zshCompletion();
      break;
   case What::fish:
      out << fishCompletion();
      break;
   case What::words:
      print( completionsOf( parser_.app(), wordsFrom( in ) ), out );
      break;
   }
}

} // namespace ostra
