// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/client/LiveText>

#include <host/base/Failure>
#include <host/base/Milliseconds>
#include <host/base/Words>
#include <host/text/TextLines>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace ostra {

namespace {

constexpr std::size_t nameWidth = 14;

std::string
textOf( Json const& json, char const* key ) {
   Json const value = json.value( key, Json() );
   return value.is_string() ? oneLine( value.get< std::string >() ) : std::string();
}

std::string
secondsText( double seconds ) {
   return fmt::format( "{:.0f} s", seconds );
}

std::string
field( std::string_view name, std::string_view text ) {
   return fmt::format( "{:<{}}{}\n", name, nameWidth, text );
}

// A time of a scenario, or the date that a live host has instead.
std::string
clockOf( Json const& why, char const* key ) {
   Json const time = why.value( key, Json() );
   if ( time.is_string() ) {
      return textOf( why, key );
   }
   bool const isTold = time.is_number() && time.get< double >() >= 0;
   return isTold ? clockText( *firstInstantAt( time.get< double >() ) ) : std::string();
}

std::string
clockField( Json const& why, char const* key ) {
   std::string const clock = clockOf( why, key );
   return clock.empty() ? clock : field( key, clock );
}

std::string
clockBefore( Json const& why, char const* key ) {
   std::string const clock = clockOf( why, key );
   return clock.empty() ? clock : clock + ", ";
}

// Why a port is not held; if nothing else is known, by the state of its class.
std::string
notHeldText( std::string const& reason, std::string const& state ) {
   constexpr std::string_view known = "not held: ";
   if ( reason.starts_with( known ) ) {
      return reason.substr( known.size() );
   }
   return reason != "not held" ? reason
      : state == "held"     ? "the reload delay of its class goes on, and does not hold it"
      : state == "released" ? "the reload delay of its class is over"
                            : "no port of its class has been held in this boot";
}

// Of a port that went then; with why it had not been held, if it had not.
std::string
goingText( std::string const& at, std::string_view reason ) {
   constexpr std::string_view gone = "gone";
   return fmt::format(
      "since {}{}", at, reason.substr( reason.starts_with( gone ) ? gone.size() : 0 ) );
}

// Of a hold that is over, or null; `portChannel` is the one that the port is in.
std::string
lastHoldText( Json const& hold, std::string const& portChannel ) {
   if ( !hold.is_object() ) {
      return {};
   }
   std::string const since = clockOf( hold, "since" );
   std::string const reason = textOf( hold, "reason" );
   bool const isOfRun = hold.value( "released", Json() ).is_number();
   return field(
      "released",
      fmt::format(
         "{}{}{}; {} since {}",
         clockOf( hold, "released" ),
         reason.empty() ? "" : ", ",
         reason,
         textOf( hold, "kind" ) == "lacpStandby" ? portChannel + " in LACP standby"
                                                 : "errdisabled",
         !since.empty() ? since
            : isOfRun   ? "before the run"
                        : "before history begins" ) );
}

bool
isAmong( Json const& change, std::string_view group ) {
   Json const releases = change.value( "releases", Json() );
   return group == "refused" ? releases.is_null() : releases == Json( group == "released" );
}

std::string
changesText( Json const& changes, std::string_view group, std::string_view title ) {
   std::string text;
   for ( Json const& change : changes ) {
      if ( isAmong( change, group ) ) {
         std::string const refused = textOf( change, "refused" );
         text += fmt::format(
            "  {:<54}  {}\n",
            textOf( change, "change" ),
            refused.empty() ? textOf( change, "meaning" ) : refused );
      }
   }
   return text.empty() ? text : fmt::format( "{}\n{}", title, text );
}

// A line that is too wide: of a change its meaning goes below it, of a field the rest.
std::string
foldedLine( std::string_view line, std::size_t width ) {
   constexpr std::size_t indentOfChange = 2;
   bool const isChange = line.starts_with( "  " );
   std::size_t const indent = isChange ? 3 * indentOfChange : nameWidth;
   std::size_t const begin =
      isChange ? line.find( "  ", indentOfChange ) : std::min( nameWidth, line.size() );
   std::size_t const rest = line.find_first_not_of( ' ', begin );
   if ( columnsOf( line ) <= width || rest == line.npos ) {
      return std::string( line ) + '\n';
   }
   std::string text( line.substr( 0, begin ) );
   std::string between = isChange ? "\n" + std::string( indent, ' ' ) : "";
   for ( std::string const& part : wrapped( line.substr( rest ), width - indent ) ) {
      text += between + part;
      between = "\n" + std::string( indent, ' ' );
   }
   return text + '\n';
}

std::string
folded( std::string_view text, std::size_t width ) {
   std::string lines;
   while ( !text.empty() ) {
      std::size_t const end = text.find( '\n' );
      lines += foldedLine( text.substr( 0, end ), width );
      text.remove_prefix( end + 1 );
   }
   return lines;
}

std::string
wholeText( Json const& why ) {
   Json const port = why.value( "port", Json::object() );
   Json const hold = port.value( "hold", Json() );
   std::string const portChannel = textOf( port, "portChannel" );
   std::string const portClass = textOf( port, "class" );
   std::string text = clockField( why, "at" ) +
      field( textOf( port, "interface" ),
             fmt::format(
                "{}{}port{}{}",
                portClass,
                portClass.empty() ? "" : " ",
                portChannel.empty() ? "" : " in ",
                portChannel ) );
   if ( std::string const gone = clockOf( why, "goneAt" ); !gone.empty() ) {
      return text + field( "gone", goingText( gone, textOf( port, "reason" ) ) ) +
         lastHoldText( why.value( "lastHold", Json() ), portChannel );
   }
   if ( !hold.is_object() ) {
      std::string const reason = textOf( port, "reason" );
      return text + field( "not held", notHeldText( reason, textOf( why, "class" ) ) ) +
         lastHoldText( why.value( "lastHold", Json() ), portChannel );
   }
   text += field( "held", textOf( port, "reason" ) );
   Json const heldFor = why.value( "heldFor", Json() );
   if ( heldFor.is_number() ) {
      text += field(
         "since",
         fmt::format(
            "{}{} ago",
            clockBefore( why, "heldSince" ),
            // Begun seconds count as left, so that both together are the whole delay.
            secondsText( std::floor( secondsOf( heldFor ) ) ) ) );
   }
   Json const releasedIn = why.value( "releasedIn", Json() );
   text += field(
      "until",
      releasedIn.is_null() ? "nothing releases it, unless something is changed"
                           : fmt::format(
                                "released {}in {}, unless something is changed",
                                clockBefore( why, "releasedAt" ),
                                secondsText( std::ceil( secondsOf( releasedIn ) ) ) ) );
   Json const changes = why.value( "changes", Json::array() );
   text += changesText( changes, "released", "would release it now:" );
   text += changesText( changes, "held", "would not:" );
   text += changesText( changes, "refused", "not for clients to change:" );
   return text;
}

// Colours the field that says why the port is held, with the lines in which it goes on.
void
colourHeld( std::string& text, Style const& style ) {
   std::size_t const found = text.find( fmt::format( "\n{:<{}}", "held", nameWidth ) );
   if ( found == text.npos ) {
      return;
   }
   std::size_t const begin = found + 1;
   std::size_t end = text.find( '\n', begin );
   while ( end + 1 < text.size() && text[ end + 1 ] == ' ' ) {
      end = text.find( '\n', end + 1 );
   }
   std::size_t const length = end - begin;
   text.replace( begin, length, style( Ink::held, text.substr( begin, length ) ) );
}

} // namespace

std::string
whyText( Json const& why, Style const& style, std::size_t width ) {
   std::string text = folded( wholeText( why ), width );
   colourHeld( text, style );
   return text;
}

} // namespace ostra
