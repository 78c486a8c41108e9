// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/text/EventText>

#include <host/account/SwitchFacts>
#include <host/base/IntfRanges>
#include <host/base/Words>
#include <host/state/MountTable>
#include <host/text/TextHeading>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <vector>

namespace ostra {

namespace {

constexpr std::size_t maxPhrases = 8;

using Ids = std::vector< Kovel::IntfId >;

// What is said of one or more entries of a collection: " = ..." goes behind their names.
struct Phrase {
   std::string begin;
   Ids ids;
   std::string end;
   // A verb in need of an ending instead: "appear".
   std::string verb;
};

std::string
text( Phrase const& phrase ) {
   std::string const verb =
      phrase.verb.empty() ? "" : " " + phrase.verb + ( phrase.ids.size() == 1 ? "s" : "" );
   return phrase.begin + intfRanges( phrase.ids ) + verb + phrase.end;
}

std::string
setText( Json const& value ) {
   return " = " + flowText( value );
}

class EventPhrases {
 public:
   explicit EventPhrases( StateView const& state ) : state_( state ) {}

   void change( std::string const& name, Json const& patch );
   std::string text() const;

 private:
   void add( Phrase phrase, Kovel::IntfId id );
   void addPlain( std::string const& words ) {
      phrases_.push_back( { words, {}, "", "" } );
   }
   void agent( Json const& patch );
   void
   attribute( std::string const& mountName, std::string const& name, Json const& value );
   void status( std::string const& mountName, std::string const& key, Json const& value );
   void entry( std::string const& begin, std::string const& key, Json const& value );

   StateView const& state_;
   std::vector< Phrase > phrases_;
   // Where the phrase with that beginning, end and verb is.
   std::map< std::array< std::string, 3 >, std::size_t > alike_;
};

void
EventPhrases::add( Phrase phrase, Kovel::IntfId id ) {
   auto const [ found, isNew ] =
      alike_.try_emplace( { phrase.begin, phrase.end, phrase.verb }, phrases_.size() );
   if ( isNew ) {
      phrases_.push_back( std::move( phrase ) );
   }
   phrases_[ found->second ].ids.push_back( id );
}

void
EventPhrases::agent( Json const& patch ) {
   if ( patch.is_null() || patch.empty() ) {
      addPlain( patch.is_null() ? "the agent is torn down" : "the agent is set up" );
      return;
   }
   for ( auto const& [ child, value ] : patch.items() ) {
      addPlain( fmt::format(
         "the agent's {} is {}", child, value.is_null() ? "deleted" : "set again" ) );
   }
}

void
EventPhrases::entry( std::string const& begin, std::string const& key, Json const& value ) {
   Kovel::IntfId const id( key );
   if ( value.is_null() ) {
      add( { begin, {}, " removed", "" }, id );
   } else if ( value.is_object() && value.size() == 1 ) {
      auto const only = value.begin();
      add( { begin, {}, "." + only.key() + setText( only.value() ), "" }, id );
   } else {
      add( { begin, {}, setText( value ), "" }, id );
   }
}

// An entry of a directory of interface statuses, which is an interface to people.
void
EventPhrases::status(
   std::string const& mountName, std::string const& key, Json const& value ) {
   auto const where = [ & ]( char const* preposition ) {
      return mountName == mount::ethPhyIntfStatus ? "" : preposition + mountName;
   };
   if ( value.is_null() ) {
      add( { "", {}, where( " from " ), "disappear" }, Kovel::IntfId( key ) );
   } else if ( !state_.has( { mountName, "intfStatus", key } ) ) {
      std::string const with = value.empty() ? "" : " with " + flowText( value );
      add( { "", {}, where( " in " ) + with, "appear" }, Kovel::IntfId( key ) );
   } else {
      entry( mountName + ".intfStatus.", key, value );
   }
}

void
EventPhrases::attribute(
   std::string const& mountName, std::string const& name, Json const& value ) {
   if ( !value.is_object() ) {
      bool const isState = name == "mlagState" && value.is_number_integer();
      std::string const meaning = isState
         ? fmt::format( " ({})", mlagStateName( Mlag::MlagState( value.get< int >() ) ) )
         : "";
      addPlain( fmt::format( "{}.{}{}{}", mountName, name, setText( value ), meaning ) );
      return;
   }
   for ( auto const& [ key, entryValue ] : value.items() ) {
      name == "intfStatus" && mountName != mount::mlagissuCause
         ? status( mountName, key, entryValue )
         : entry( fmt::format( "{}.{}.", mountName, name ), key, entryValue );
   }
}

void
EventPhrases::change( std::string const& name, Json const& patch ) {
   if ( name == agentKey ) {
      agent( patch );
      return;
   }
   for ( auto const& [ attributeName, value ] : patch.items() ) {
      attribute( name, attributeName, value );
   }
}

std::string
EventPhrases::text() const {
   std::size_t const told = std::min( phrases_.size(), maxPhrases );
   std::vector< std::string > texts;
   for ( std::size_t i = 0; i < told; ++i ) {
      texts.push_back( ostra::text( phrases_[ i ] ) );
   }
   if ( told < phrases_.size() ) {
      texts.push_back( "and " + counted( phrases_.size() - told, "more change" ) );
   }
   return texts.empty() ? "nothing" : fmt::format( "{}", fmt::join( texts, "; " ) );
}

} // namespace

std::string
eventText( Json const& patch, StateView const& state ) {
   EventPhrases phrases( state );
   for ( auto const& [ name, value ] : patch.items() ) {
      phrases.change( name, value );
   }
   return phrases.text();
}

std::string
labelledEventText( std::string const& label, Json const& patch, StateView const& state ) {
   std::string const title = titleText( label );
   return ( title.empty() ? "" : title + ": " ) + eventText( patch, state );
}

} // namespace ostra
