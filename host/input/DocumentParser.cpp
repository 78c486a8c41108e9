// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The tree is built from the parser's events and not from its nodes: they tell quoted
// scalars from plain ones, give every place, and keep duplicate keys apart.

#include <host/base/Utf8>
#include <host/input/CharacterError>
#include <host/input/Document>
#include <host/input/DocumentBuilder>
#include <host/input/Foreign>
#include <host/input/RangeKeys>
#include <host/input/SyntaxError>

#include <fmt/format.h>
#include <yaml.h>

#include <algorithm>
#include <new>

namespace ostra {

namespace {

using Offset = DocumentTree::Offset;

std::string_view
view( yaml_char_t const* text ) {
   return text ? reinterpret_cast< char const* >( text ) : std::string_view();
}

// The parser counts characters; a document, octets. What is asked for is near what was
// asked for before.
class Octets {
 public:
   explicit Octets( std::string_view text ) : text_( text ), isAscii_( isAscii( text ) ) {}

   Offset at( std::size_t character ) {
      if ( isAscii_ ) {
         return static_cast< Offset >( std::min( character, text_.size() ) );
      }
      while ( character_ < character && offset_ < text_.size() ) {
         do {
            ++offset_;
         } while ( isInCharacter() );
         ++character_;
      }
      while ( character_ > character ) {
         do {
            --offset_;
         } while ( isInCharacter() );
         --character_;
      }
      return static_cast< Offset >( offset_ );
   }

 private:
   bool isInCharacter() const {
      return offset_ < text_.size() && isContinuationByte( text_[ offset_ ] );
   }

   std::string_view const text_;
   bool const isAscii_;
   std::size_t character_ = 0;
   std::size_t offset_ = 0;
};

class Parser {
 public:
   Parser( DocumentTree& tree, std::size_t maxInput )
         : tree_( tree ), builder_( tree, maxInput ), octets_( tree.text() ) {
      if ( !yaml_parser_initialize( &parser_ ) ) {
         throw std::bad_alloc();
      }
      std::string_view const text = tree.text();
      yaml_parser_set_encoding( &parser_, YAML_UTF8_ENCODING );
      yaml_parser_set_input_string(
         &parser_, reinterpret_cast< yaml_char_t const* >( text.data() ), text.size() );
   }
   ~Parser() { yaml_parser_delete( &parser_ ); }
   Parser( Parser const& ) = delete;
   Parser& operator=( Parser const& ) = delete;

   void parse() {
      bool isEnd = false;
      while ( !isEnd ) {
         Event event;
         if ( !yaml_parser_parse( &parser_, &event.event ) ) {
            fail();
         }
         take( event.event );
         isEnd = event.event.type == YAML_STREAM_END_EVENT;
      }
   }

 private:
   struct Event {
      Event() = default;
      ~Event() { yaml_event_delete( &event ); }
      Event( Event const& ) = delete;
      Event& operator=( Event const& ) = delete;

      yaml_event_t event{};
   };

   Offset offset( yaml_mark_t const& mark ) { return octets_.at( mark.index ); }

   void take( yaml_event_t const& event ) {
      Offset const begin = offset( event.start_mark );
      switch ( event.type ) {
      case YAML_DOCUMENT_START_EVENT:
         startDocument( begin, event.data.document_start );
         break;
      case YAML_SCALAR_EVENT:
         takeScalar( event );
         break;
      case YAML_ALIAS_EVENT:
         builder_.alias(
            { begin, offset( event.end_mark ) }, view( event.data.alias.anchor ) );
         break;
      case YAML_SEQUENCE_START_EVENT:
         open(
            NodeKind::list,
            event,
            event.data.sequence_start,
            event.data.sequence_start.style == YAML_BLOCK_SEQUENCE_STYLE );
         break;
      case YAML_MAPPING_START_EVENT:
         open(
            NodeKind::map,
            event,
            event.data.mapping_start,
            event.data.mapping_start.style == YAML_BLOCK_MAPPING_STYLE );
         break;
      case YAML_SEQUENCE_END_EVENT:
      case YAML_MAPPING_END_EVENT:
         builder_.close( offset( event.end_mark ) );
         break;
      default:
         break;
      }
   }

   template< class Start >
   void startDocument( Offset begin, Start const& start ) {
      if ( start.tag_directives.start != start.tag_directives.end ) {
         std::size_t const directive = tree_.text().find( "%TAG", begin );
         refuseDirective( tree_, static_cast< Offset >( directive ) );
      }
      builder_.startDocument( begin );
   }

   template< class Start >
   void open( NodeKind kind, yaml_event_t const& event, Start const& start, bool isBlock ) {
      builder_.open(
         kind,
         offset( event.start_mark ),
         { view( start.anchor ), view( start.tag ) },
         indentation( event, isBlock ) );
   }

   void takeScalar( yaml_event_t const& event ) {
      auto const& scalar = event.data.scalar;
      bool const isQuoted = scalar.style == YAML_SINGLE_QUOTED_SCALAR_STYLE ||
         scalar.style == YAML_DOUBLE_QUOTED_SCALAR_STYLE;
      Offset const begin = offset( event.start_mark );
      builder_.scalar(
         { begin, offset( event.end_mark ) },
         { view( scalar.anchor ), view( scalar.tag ) },
         { std::string_view(
              reinterpret_cast< char const* >( scalar.value ), scalar.length ),
           scalar.style == YAML_PLAIN_SCALAR_STYLE,
           isQuoted } );
   }

   // Where the first entry of a list or map without brackets begins. The parser's mark is
   // there, or behind a dash.
   std::optional< Offset > indentation( yaml_event_t const& event, bool isBlock ) {
      if ( !isBlock ) {
         return std::nullopt;
      }
      Offset const end = offset( event.end_mark );
      return end > 0 && tree_.text()[ end - 1 ] == '-' ? end - 1 : end;
   }

   [[noreturn]] void fail() {
      if ( parser_.error == YAML_MEMORY_ERROR ) {
         throw std::bad_alloc();
      }
      if ( parser_.error == YAML_READER_ERROR ) {
         failAtCharacter( tree_, parser_.problem_offset );
      }
      SyntaxError const error{ parser_.context ? parser_.context : "",
                               offset( parser_.context_mark ),
                               parser_.problem ? parser_.problem : "",
                               offset( parser_.problem_mark ),
                               builder_.longQuote() };
      error.fail( tree_ );
   }

   DocumentTree& tree_;
   DocumentBuilder builder_;
   Octets octets_;
   yaml_parser_t parser_;
};

std::shared_ptr< DocumentTree >
parsedTree( std::string name, std::string text, std::size_t maxInput ) {
   auto tree = std::make_shared< DocumentTree >( std::move( name ), std::move( text ) );
   refuseForeignBreaks( *tree );
   Parser( *tree, maxInput ).parse();
   if ( tree->size() == 0 ) {
      tree->add(
         { 0, tree->putAside( {} ), NodeKind::null, DocumentTree::Contents::aside } );
   }
   return tree;
}

} // namespace

Document
parseDocument( std::string name, std::string text, std::size_t maxInput ) {
   return Document( parsedTree( std::move( name ), std::move( text ), maxInput ) );
}

Document
parseScenario( std::string name, std::string text, std::size_t maxInput ) {
   auto tree = parsedTree( std::move( name ), std::move( text ), maxInput );
   tree->takesShorthandIs( true );
   writeOutRanges( *tree, maxInput );
   return Document( std::move( tree ) );
}

} // namespace ostra
