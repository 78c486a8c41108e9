// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The tree is built from the parser's events and not from its nodes: they tell quoted
// scalars from plain ones, give every place, and keep duplicate keys apart.

#include <host/Document>
#include <host/JsonEscapes>

#include <fmt/format.h>
#include <yaml-cpp/depthguard.h>
#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/exceptions.h>
#include <yaml-cpp/mark.h>
#include <yaml-cpp/parser.h>

#include <algorithm>
#include <sstream>
#include <unordered_map>
#include <unordered_set>

namespace ostra {

namespace {

// As deep as the parser itself goes.
constexpr std::size_t deepest = 500;
constexpr char tooDeep[] = "nested too deeply";

bool
isUtf8( std::string const& text ) {
   try {
      Json( text ).dump();
      return true;
   } catch ( Json::type_error const& ) {
      return false;
   }
}

[[noreturn]] void
fail( std::string const& name, YAML::Mark const& mark, std::string_view why ) {
   throw Failure(
      ExitStatus::badInput,
      fmt::format( "{}:{}:{}: {}", name, mark.line + 1, mark.column + 1, why ) );
}

class TreeBuilder final : public YAML::EventHandler {
 public:
   explicit TreeBuilder( std::string const& name ) : name_( name ) {}

   NodePtr const& root() const { return root_; }

   void OnDocumentStart( YAML::Mark const& mark ) override {
      if ( root_ ) {
         fail( name_, mark, "a second document: expected only one" );
      }
   }
   void OnDocumentEnd() override {}

   void OnNull( YAML::Mark const& mark, YAML::anchor_t anchor ) override {
      auto const node = newNode( DocumentNode::Kind::null, mark );
      node->text = "null";
      // The parser places a missing value at whatever comes next.
      if (
         !open_.empty() && open_.back().hasKey &&
         open_.back().node->entries.back().line != node->line ) {
         node->line = open_.back().node->entries.back().line;
         node->column = open_.back().node->entries.back().column;
      }
      add( node, mark, anchor );
   }

   void OnScalar(
      YAML::Mark const& mark,
      std::string const& tag,
      YAML::anchor_t anchor,
      std::string const& value ) override {
      auto const node = newNode( DocumentNode::Kind::text, mark );
      node->text = value;
      if ( !isUtf8( value ) ) {
         fail( name_, mark, "expected UTF-8" );
      }
      if ( tag == "?" || tag.empty() ) {
         resolvePlainScalar( *node );
         refuseMergeKey( *node, mark );
      } else if ( tag != "!" && tag != "tag:yaml.org,2002:str" ) {
         refuseTag( mark, tag );
      }
      add( node, mark, anchor );
   }

   void OnAlias( YAML::Mark const& mark, YAML::anchor_t anchor ) override {
      auto const found = anchors_.find( anchor );
      if ( found == anchors_.end() ) {
         fail( name_, mark, "an alias inside of what it stands for" );
      }
      add( found->second.node, mark, 0, found->second.height );
   }

   void OnSequenceStart(
      YAML::Mark const& mark,
      std::string const& tag,
      YAML::anchor_t anchor,
      YAML::EmitterStyle::value ) override {
      open( DocumentNode::Kind::list, mark, tag, anchor );
   }
   void OnSequenceEnd() override { close(); }

   void OnMapStart(
      YAML::Mark const& mark,
      std::string const& tag,
      YAML::anchor_t anchor,
      YAML::EmitterStyle::value ) override {
      open( DocumentNode::Kind::map, mark, tag, anchor );
   }
   void OnMapEnd() override { close(); }

 private:
   // A list or map whose end has not come yet.
   struct Open {
      std::shared_ptr< DocumentNode > node;
      YAML::Mark mark;
      YAML::anchor_t anchor;
      std::unordered_set< std::string > keys;
      // The last entry still waits for its value.
      bool hasKey = false;
      // How many lists and maps are nested in it.
      std::size_t height = 0;
   };

   struct Anchored {
      NodePtr node;
      std::size_t height;
   };

   static std::shared_ptr< DocumentNode >
   newNode( DocumentNode::Kind kind, YAML::Mark const& mark ) {
      auto node = std::make_shared< DocumentNode >();
      node->kind = kind;
      node->line = static_cast< std::size_t >( mark.line ) + 1;
      node->column = static_cast< std::size_t >( mark.column ) + 1;
      return node;
   }

   [[noreturn]] void refuseTag( YAML::Mark const& mark, std::string const& tag ) const {
      fail( name_, mark, fmt::format( "tag {}: expected none", inQuotes( tag ) ) );
   }

   bool expectsKey() const {
      return !open_.empty() && open_.back().node->kind == DocumentNode::Kind::map &&
         !open_.back().hasKey;
   }

   void refuseMergeKey( DocumentNode const& node, YAML::Mark const& mark ) const {
      if ( expectsKey() && node.text == "<<" ) {
         fail( name_, mark, "merge key \"<<\": expected the entries themselves" );
      }
   }

   void open(
      DocumentNode::Kind kind,
      YAML::Mark const& mark,
      std::string const& tag,
      YAML::anchor_t anchor ) {
      if ( tag != "?" && tag != "!" && !tag.empty() ) {
         refuseTag( mark, tag );
      }
      open_.push_back( { newNode( kind, mark ), mark, anchor, {} } );
   }

   void close() {
      Open const closed = std::move( open_.back() );
      open_.pop_back();
      add( closed.node, closed.mark, closed.anchor, closed.height + 1 );
   }

   // `height`: of lists and maps in each other, which the node brings. Aliases nest without
   // the parser's noticing.
   void add(
      NodePtr const& node,
      YAML::Mark const& mark,
      YAML::anchor_t anchor,
      std::size_t height = 0 ) {
      if ( open_.size() + height > deepest ) {
         fail( name_, mark, tooDeep );
      }
      if ( anchor != 0 ) {
         anchors_[ anchor ] = { node, height };
      }
      if ( open_.empty() ) {
         root_ = node;
         return;
      }
      Open& parent = open_.back();
      parent.height = std::max( parent.height, height );
      if ( parent.node->kind == DocumentNode::Kind::list ) {
         parent.node->items.push_back( node );
      } else if ( parent.hasKey ) {
         parent.node->entries.back().value = node;
         parent.hasKey = false;
      } else {
         addKey( *node, mark );
      }
   }

   void addKey( DocumentNode const& key, YAML::Mark const& mark ) {
      bool const isScalar =
         key.kind != DocumentNode::Kind::list && key.kind != DocumentNode::Kind::map;
      if ( !isScalar || key.isNull() ) {
         fail( name_, mark, "a key that is null, a list or a map: expected a text" );
      }
      Open& map = open_.back();
      if ( !map.keys.insert( key.text ).second ) {
         fail(
            name_,
            mark,
            fmt::format( "duplicate key {}: expected it once", inQuotes( key.text ) ) );
      }
      map.node->entries.push_back( { key.text,
                                     static_cast< std::size_t >( mark.line ) + 1,
                                     static_cast< std::size_t >( mark.column ) + 1,
                                     nullptr } );
      map.hasKey = true;
   }

   std::string const& name_;
   NodePtr root_;
   std::vector< Open > open_;
   std::unordered_map< YAML::anchor_t, Anchored > anchors_;
};

// The parser looks for all digits of an escape, even where the text ends, and counts them. It
// counts octets of UTF-8: how many another encoding has is not known here.
YAML::Mark
withinText( YAML::Mark mark, std::string_view text ) {
   constexpr std::string_view byteOrderMark = "\xef\xbb\xbf";
   text.remove_prefix( text.starts_with( byteOrderMark ) ? byteOrderMark.size() : 0 );
   if ( isUtf8( std::string( text ) ) && text.substr( 0, 4 ).find( '\0' ) == text.npos ) {
      mark.column -= std::max( mark.pos - static_cast< int >( text.size() ), 0 );
   }
   return mark;
}

} // namespace

Document
parseDocument( std::string name, std::string const& text ) {
   std::string const yaml = yamlEscapes( text );
   std::istringstream in( yaml );
   TreeBuilder builder( name );
   try {
      YAML::Parser parser( in );
      while ( parser.HandleNextDocument( builder ) ) {}
   } catch ( YAML::DeepRecursion const& error ) {
      fail( name, error.mark, tooDeep );
   } catch ( YAML::Exception const& error ) {
      YAML::Mark const mark = error.mark.is_null() ? YAML::Mark() : error.mark;
      fail( name, withinText( mark, yaml ), fmt::format( "not YAML: {}", error.msg ) );
   }
   NodePtr root = builder.root();
   return { std::move( name ),
            root ? std::move( root ) : std::make_shared< DocumentNode >() };
}

} // namespace ostra
