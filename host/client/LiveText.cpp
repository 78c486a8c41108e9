// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/client/LiveText>

#include <host/base/Failure>
#include <host/base/Words>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace ostra {

namespace {

template< std::size_t columns >
using Row = std::array< std::string, columns >;

// A row a line, each column as wide as it has to be; `inkOf` those below the first, which is
// the head.
template< std::size_t columns, class InkOf >
std::string
tableText( std::vector< Row< columns > > const& rows, Style const& style, InkOf inkOf ) {
   std::array< std::size_t, columns > widths{};
   for ( auto const& row : rows ) {
      for ( std::size_t i = 0; i + 1 < columns; ++i ) {
         widths[ i ] = std::max( widths[ i ], row[ i ].size() );
      }
   }
   std::string text;
   for ( auto const& row : rows ) {
      std::string line;
      for ( std::size_t i = 0; i < columns; ++i ) {
         line +=
            fmt::format( "{:<{}}{}", row[ i ], widths[ i ], i + 1 < columns ? "  " : "" );
      }
      text += style( &row == &rows.front() ? Ink::faint : inkOf( row ), line ) + '\n';
   }
   return text;
}

// A text as it is, "-" for nothing, anything else as it would stand in a scenario.
std::string
cell( Json const& json ) {
   if ( json.is_null() ) {
      return "-";
   }
   return oneLine( flowText( json ) );
}

std::string
secondsCell( Json const& seconds ) {
   if ( seconds.is_null() ) {
      return "-";
   }
   double const number = secondsOf( seconds );
   return seconds.is_number() ? fmt::format( "{:.0f} s", number ) : "without end";
}

// Whether a device's protodown is on, and who else wants that; or what is done without it.
std::string
protodownCell( Json const& port ) {
   Json const protodown = port.value( "protodown", Json() );
   if ( !protodown.is_object() ) {
      return "-";
   }
   if ( port.value( "heldBy", Json() ) == "adminDown" ) {
      return "admin-down instead";
   }
   if ( protodown.value( "supported", Json() ) == Json( false ) ) {
      return "unsupported";
   }
   std::string text = protodown.value( "on", Json() ) == Json( true ) ? "on" : "off";
   for ( Json const& other : protodown.value( "others", Json::array() ) ) {
      text += ", " + cell( other );
   }
   return text;
}

// The kind of hold and, if a device does not do it, that it does not: "not held", for
// example.
std::string
holdCell( Json const& port ) {
   Json const hold = port.value( "hold", Json() );
   if ( !hold.is_object() ) {
      return "-";
   }
   std::string const kind = cell( hold.value( "kind", Json() ) );
   std::string const enforced = cell( hold.value( "enforced", Json() ) );
   bool const isDone = port.value( "device", Json() ).is_null() || enforced == "held";
   return isDone ? kind : fmt::format( "{} ({})", kind, enforced );
}

Row< 6 >
rowOf( Json const& port ) {
   Json const hold = port.value( "hold", Json() );
   return { cell( port.value( "interface", Json() ) ),
            cell( port.value( "class", Json() ) ),
            cell( port.value( "portChannel", Json() ) ),
            holdCell( port ),
            hold.is_object() ? secondsCell( hold.value( "remaining", Json() ) ) : "-",
            cell( port.value( "reason", Json() ) ) };
}

// With the device between the port's name and the rest.
Row< 8 >
withDevice( Row< 6 > const& row, std::string device, std::string protodown ) {
   return { row[ 0 ],
            std::move( device ),
            std::move( protodown ),
            row[ 1 ],
            row[ 2 ],
            row[ 3 ],
            row[ 4 ],
            row[ 5 ] };
}

std::string
classText( std::string_view name, Json const& json ) {
   std::string const state = cell( json.value( "state", Json() ) );
   std::string const remaining = secondsCell( json.value( "remaining", Json() ) );
   bool const isHeld = state == "held";
   return fmt::format(
      "{:<16}{}{}\n", name, state, isHeld ? ", remaining " + remaining : "" );
}

std::string
cellOf( Json const& record, char const* key ) {
   return cell( record.value( key, Json() ) );
}

std::string
writeText( Json const& record ) {
   std::string path;
   for ( Json const& key : record.value( "path", Json::array() ) ) {
      path += ( path.empty() ? "" : "." ) + cell( key );
   }
   Json const value = record.value( "value", Json() );
   return path + ( value.is_null() ? " removed" : " = " + oneLine( flowText( value ) ) );
}

std::string
logText( Json const& record ) {
   return cellOf( record, "text" );
}

std::string
alarmText( Json const& record ) {
   std::string const state = cellOf( record, "state" );
   return fmt::format(
      "alarm {}: {} {}{}",
      state,
      cellOf( record, "kind" ),
      cellOf( record, "interface" ),
      state == "raised" ? ": " + cellOf( record, "text" ) : "" );
}

// Of a long patch only the mounts are named.
std::string
changeText( Json const& record ) {
   char const* const what = record.contains( "patch" ) ? "patch" : "mounts";
   return fmt::format(
      "client's change {}: {}", cellOf( record, "index" ), cellOf( record, what ) );
}

std::string
goneText( Json const& record ) {
   return cellOf( record, "interface" ) + " is gone";
}

std::string
startText( Json const& record ) {
   return record.value( "isRestart", Json() ) == Json( true )
      ? "the host starts again in the same boot"
      : "the host starts, in boot " + cellOf( record, "boot" );
}

std::string
configurationText( Json const& ) {
   return "the configuration was read again";
}

std::string
otherText( Json const& record ) {
   std::string text = cellOf( record, "type" );
   for ( auto const& [ key, value ] : record.items() ) {
      bool const isHead = key == "seq" || key == "t" || key == "time" || key == "type";
      text += isHead ? "" : fmt::format( " {} {}", key, cell( value ) );
   }
   return text;
}

// What a record says behind its time.
std::string
saying( std::string_view type, Json const& record ) {
   using Text = std::string ( * )( Json const& );
   static constexpr std::array< std::pair< std::string_view, Text >, 7 > texts = { {
      { "write", writeText },
      { "log", logText },
      { "alarm", alarmText },
      { "event", changeText },
      { "gone", goneText },
      { "start", startText },
      { "configuration", configurationText },
   } };
   auto const known =
      std::find_if( texts.begin(), texts.end(), [ type ]( auto const& one ) {
         return one.first == type;
      } );
   return known == texts.end() ? otherText( record ) : known->second( record );
}

} // namespace

std::string
portsText( Json const& ports, Style const& style ) {
   Row< 6 > const head = { "port", "class", "port-channel", "held", "remaining", "why" };
   std::vector< Row< 6 > > rows = { head };
   std::vector< Row< 8 > > rowsWithDevices = { withDevice( head, "device", "protodown" ) };
   bool hasDevices = false;
   for ( Json const& port : ports ) {
      Json const device = port.value( "device", Json() );
      hasDevices |= !device.is_null();
      rows.push_back( rowOf( port ) );
      rowsWithDevices.push_back(
         withDevice( rows.back(), cell( device ), protodownCell( port ) ) );
   }
   return hasDevices
      ? tableText(
           rowsWithDevices,
           style,
           []( Row< 8 > const& row ) { return row[ 5 ] == "-" ? Ink::plain : Ink::held; } )
      : tableText( rows, style, []( Row< 6 > const& row ) {
           return row[ 3 ] == "-" ? Ink::plain : Ink::held;
        } );
}

std::string
alarmsText( Json const& alarms, Json const& now, Style const& style ) {
   if ( alarms.empty() ) {
      return "no alarms\n";
   }
   std::vector< Row< 5 > > rows = {
      { "interface", "alarm", "for", "what is wrong", "what ends it" }
   };
   for ( Json const& alarm : alarms ) {
      double const since = secondsOf( alarm.value( "since", Json() ) );
      rows.push_back( { cell( alarm.value( "interface", Json() ) ),
                        cell( alarm.value( "kind", Json() ) ),
                        fmt::format( "{:.0f} s", secondsOf( now ) - since ),
                        cell( alarm.value( "text", Json() ) ),
                        cell( alarm.value( "ending", Json() ) ) } );
   }
   return tableText( rows, style, []( Row< 5 > const& ) { return Ink::alarm; } );
}

std::string
summaryText( Json const& summary, Style const& style ) {
   Json const counts = summary.value( "counts", Json::object() );
   Json const driver = summary.value( "driver", Json::object() );
   std::string text = classText( "MLAG ports", summary.value( "mlag", Json::object() ) ) +
      classText( "non-MLAG ports", summary.value( "nonMlag", Json::object() ) );
   text += fmt::format(
      "{:<16}{}, {} errdisabled, {} in LACP standby\n",
      "ports",
      cell( counts.value( "ports", Json() ) ),
      cell( counts.value( "errdisabled", Json() ) ),
      cell( counts.value( "lacpStandby", Json() ) ) );
   text += fmt::format( "{:<16}{}\n", "driver", cell( driver.value( "name", Json() ) ) );
   std::int64_t alarms = 0;
   Json const alarmCounts = summary.value( "alarms", Json::object() );
   for ( Json const& count : alarmCounts ) {
      alarms += count.is_number() ? count.get< std::int64_t >() : 0;
   }
   if ( alarms != 0 ) {
      text += style(
                 Ink::alarm,
                 fmt::format( "{:<16}{}, which `ostra alarms` shows", "alarms", alarms ) ) +
         '\n';
   }
   Json const store = summary.value( "store", Json::object() );
   if ( std::string const problem = store.value( "problem", "" ); !problem.empty() ) {
      text +=
         style( Ink::alarm, fmt::format( "{:<16}{}", "store", oneLine( problem ) ) ) + '\n';
   }
   return text;
}

std::string
recordText( std::string_view line, Style const& style ) {
   Json const record = Json::parse( line, nullptr, false );
   if ( !record.is_object() ) {
      return oneLine( line );
   }
   std::string const type = cell( record.value( "type", Json() ) );
   Ink const ink = type == "log" ? Ink::message
      : type == "event"          ? Ink::event
      : type == "alarm"          ? Ink::alarm
                                 : Ink::plain;
   return fmt::format(
      "{}  {}",
      style( Ink::faint, cell( record.value( "time", Json() ) ) ),
      style( ink, saying( type, record ) ) );
}

} // namespace ostra
