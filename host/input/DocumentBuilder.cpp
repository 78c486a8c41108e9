// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/input/DocumentBuilder>

#include <host/base/Failure>
#include <host/base/JsonLine>
#include <host/input/Document>
#include <host/input/Foreign>

#include <fmt/format.h>

#include <algorithm>

namespace ostra {

namespace {

using Cell = DocumentTree::Cell;
using Contents = DocumentTree::Contents;

constexpr std::size_t deepest = 500;
// What "!!" stands for.
constexpr std::string_view commonTag = "tag:yaml.org,2002:";

bool
isScalar( NodeKind kind ) {
   return kind < NodeKind::list;
}

// The column of an offset, from 0, in characters: indentation is spaces, one octet each.
int
columnOf( std::string_view text, std::size_t offset ) {
   std::size_t const before =
      offset == 0 ? text.npos : text.find_last_of( "\r\n", offset - 1 );
   return static_cast< int >( before == text.npos ? offset : offset - before - 1 );
}

// Whether a line of the text, but for the first, has something in it and is not indented by
// more than that.
bool
hasUnindentedLine( std::string_view text, int indent ) {
   for ( auto at = text.find_first_of( "\r\n" ); at != text.npos;
         at = text.find_first_of( "\r\n", at + 1 ) ) {
      std::string_view const line = text.substr( at + 1 );
      std::size_t const spaces = std::min( line.find_first_not_of( ' ' ), line.size() );
      std::size_t const first = line.find_first_not_of( " \t" );
      bool const isEmpty =
         first == line.npos || line[ first ] == '\n' || line[ first ] == '\r';
      if ( !isEmpty && static_cast< int >( spaces ) <= indent ) {
         return true;
      }
   }
   return false;
}

} // namespace

DocumentBuilder::Index
DocumentBuilder::Keys::insert( DocumentTree const& tree, Index key ) {
   auto const textOf = [ & ]( Index other ) { return DocumentNode( tree, other ).text(); };
   std::string_view const text = textOf( key );
   if ( many_ ) {
      return many_->emplace( text, key ).first->second;
   }
   auto const end = few_.begin() + static_cast< std::ptrdiff_t >( count_ );
   auto const known = std::find_if(
      few_.begin(), end, [ & ]( Index other ) { return textOf( other ) == text; } );
   if ( known != end ) {
      return *known;
   }
   if ( count_ < few_.size() ) {
      few_[ count_++ ] = key;
      return key;
   }
   many_ = std::make_unique< std::unordered_map< std::string_view, Index > >();
   for ( Index const other : few_ ) {
      many_->emplace( textOf( other ), other );
   }
   return many_->emplace( text, key ).first->second;
}

DocumentBuilder::DocumentBuilder( DocumentTree& tree, std::size_t maxInput )
      : tree_( tree ), maxInput_( maxInput ) {}

void
DocumentBuilder::startDocument( Offset offset ) {
   if ( hasDocument_ ) {
      tree_.fail( offset, secondDocument );
   }
   hasDocument_ = true;
}

void
DocumentBuilder::scalar( Span span, Properties const& properties, Scalar const& scalar ) {
   refuseTag( span.begin, properties.tag );
   if ( scalar.isQuoted ) {
      refuseUnindented( span );
   }
   Cell const cell = cellOf( span, scalar );
   if ( cell.isPlain && expectsKey() && scalar.contents == "<<" ) {
      tree_.fail( span.begin, "merge key \"<<\": expected the entries themselves" );
   }
   add( cell, properties.anchor, span.end - span.begin );
}

void
DocumentBuilder::alias( Span span, std::string_view anchor ) {
   auto const found = anchors_.find( std::string( anchor ) );
   if ( found == anchors_.end() ) {
      tree_.fail(
         span.begin,
         fmt::format(
            "alias {}: expected an anchor of that name above", inQuotes( anchor ) ) );
   }
   Anchored const& target = found->second;
   if ( target.isOpen ) {
      tree_.fail( span.begin, "an alias inside of what it stands for" );
   }
   expansion_ += target.length;
   if ( expansion_ > maxInput_ - std::min( maxInput_, tree_.text().size() ) ) {
      tree_.fail(
         span.begin,
         "with what the aliases stand for the file is " + tooLong( maxInput_ ) );
   }
   nest( span.begin, target.height );
   take( tree_.add(
      { span.begin, target.index, tree_.cell( target.index ).kind, Contents::alias } ) );
}

void
DocumentBuilder::open(
   NodeKind kind,
   Offset begin,
   Properties const& properties,
   std::optional< Offset > indented ) {
   refuseTag( begin, properties.tag );
   nest( begin, 1 );
   Index const index = tree_.add( { begin, 0, kind } );
   int const around = open_.empty() ? -1 : open_.back().indent;
   std::string anchor( properties.anchor );
   if ( !anchor.empty() ) {
      anchors_[ anchor ] = { index, 0, 0, true };
   }
   open_.push_back( { index,
                      begin,
                      expansion_,
                      std::move( anchor ),
                      indented ? columnOf( tree_.text(), *indented ) : around } );
}

void
DocumentBuilder::close( Offset end ) {
   Open const closed = std::move( open_.back() );
   open_.pop_back();
   tree_.close( closed.index );
   if ( !closed.anchor.empty() ) {
      std::size_t const length = end - closed.begin + expansion_ - closed.expansion;
      anchors_[ closed.anchor ] = { closed.index, closed.height + 1, length, false };
   }
   nest( closed.begin, closed.height + 1 );
   take( closed.index );
}

bool
DocumentBuilder::expectsKey() const {
   return !open_.empty() && tree_.cell( open_.back().index ).kind == NodeKind::map &&
      !open_.back().hasKey;
}

void
DocumentBuilder::refuseTag( Offset offset, std::string_view tag ) const {
   if ( tag.empty() ) {
      return;
   }
   std::string written( tag );
   if ( tag.starts_with( commonTag ) ) {
      written.replace( 0, commonTag.size(), "!!" );
   }
   tree_.fail(
      offset,
      fmt::format(
         "tag {}: expected {}",
         inQuotes( written ),
         written == "!!str" ? "the text in quotes" : "none" ) );
}

// A quote whose end was forgotten takes the lines that follow for its own, to the next
// quote. These lines are not indented as the continuation of a value is.
void
DocumentBuilder::refuseUnindented( Span span ) {
   std::string_view const written =
      tree_.text().substr( span.begin, span.end - span.begin );
   bool const isLong = std::any_of(
      written.begin(), written.end(), []( char c ) { return c == '\n' || c == '\r'; } );
   if ( !isLong ) {
      return;
   }
   longQuote_ = { span.begin, span.end };
   if ( hasUnindentedLine( written, open_.empty() ? -1 : open_.back().indent ) ) {
      tree_.fail(
         span.begin,
         "not YAML: a quote that does not end in its line: expected its end, or the lines "
         "below it indented" );
   }
}

// A value that is not written stands where its key does, an item at its dash.
DocumentBuilder::Offset
DocumentBuilder::missingPlace( Offset end ) const {
   if ( open_.empty() ) {
      return end;
   }
   if ( open_.back().hasKey ) {
      return tree_.cell( tree_.size() - 1 ).offset;
   }
   bool const isBehindDash = end > 0 && tree_.text()[ end - 1 ] == '-';
   return isBehindDash ? end - 1 : end;
}

Cell
DocumentBuilder::cellOf( Span span, Scalar const& scalar ) {
   bool const isMissing = scalar.isPlain && span.begin == span.end;
   Cell cell{ isMissing ? missingPlace( span.end ) : span.begin,
              static_cast< Index >( scalar.contents.size() ),
              scalar.isPlain ? plainKind( scalar.contents ) : NodeKind::text,
              scalar.isQuoted ? Contents::behindQuote : Contents::here,
              scalar.isPlain };
   Offset const begin = cell.offset + ( scalar.isQuoted ? 1 : 0 );
   if (
      isMissing ||
      tree_.text().substr( begin, scalar.contents.size() ) != scalar.contents ) {
      cell.contents = Contents::aside;
      cell.extent = tree_.putAside( scalar.contents );
   }
   return cell;
}

void
DocumentBuilder::add( Cell const& cell, std::string_view anchor, std::size_t length ) {
   nest( cell.offset, 0 );
   Index const index = tree_.add( cell );
   if ( !anchor.empty() ) {
      anchors_[ std::string( anchor ) ] = { index, 0, length, false };
   }
   take( index );
}

// `height`: how deep lists and maps are nested in a node that is added. The parser does not
// notice nesting by aliases.
void
DocumentBuilder::nest( Offset offset, std::size_t height ) {
   if ( open_.size() + height > deepest ) {
      tree_.fail(
         offset,
         fmt::format(
            "nested too deeply: expected at most {} lists and maps in each other",
            deepest ) );
   }
   if ( !open_.empty() ) {
      open_.back().height = std::max( open_.back().height, height );
   }
}

// The node is a key, a value, an item or the root.
void
DocumentBuilder::take( Index index ) {
   if ( expectsKey() ) {
      addKey( index );
   } else if ( !open_.empty() ) {
      open_.back().hasKey = false;
   }
}

void
DocumentBuilder::addKey( Index index ) {
   Cell const& key = tree_.cell( index );
   if ( !isScalar( key.kind ) || key.kind == NodeKind::null ) {
      tree_.fail( key.offset, "a key that is null, a list or a map: expected a text" );
   }
   refuseLong( index );
   Index const known = open_.back().keys.insert( tree_, index );
   if ( known != index ) {
      tree_.fail(
         key.offset,
         fmt::format(
            "duplicate key {}, first in line {}: expected it once",
            inQuotes( DocumentNode( tree_, index ).text() ),
            tree_.place( tree_.cell( known ).offset ).line ) );
   }
   open_.back().hasKey = true;
}

void
DocumentBuilder::refuseLong( Index key ) const {
   constexpr std::size_t longestEscape = 6;
   constexpr std::size_t quotes = 2;
   std::string_view const text = DocumentNode( tree_, key ).text();
   if ( text.size() * longestEscape + quotes <= longestKey ) {
      return;
   }
   if ( lineOf( Json( text ) ).size() > longestKey ) {
      refuseLongKey( tree_, tree_.cell( key ).offset, inQuotes( text ) );
   }
}

} // namespace ostra
