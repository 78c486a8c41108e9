// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/Diff>

#include <host/base/IntfRanges>
#include <host/base/JsonLine>
#include <host/base/Words>
#include <host/cli/KeptRun>
#include <host/state/MountTable>

#include <Ryx/Exception>

#include <fmt/format.h>

#include <map>
#include <tuple>
#include <utility>

namespace ostra {

namespace {

using Kovel::IntfId;

// What there is to compare: of an interface, or of the switch as a whole.
struct Subject {
   std::string what;
   IntfId id = {};

   auto operator<=>( Subject const& ) const = default;
};

// What happens to each, in words.
using Account = std::map< Subject, std::string >;

std::string
timeOf( Json const& record ) {
   return clockText(
      firstInstantAt( record.at( "t" ).get< double >() ).value_or( lastInstant ) );
}

void
append( std::string& text, std::string const& more ) {
   text += ( text.empty() ? "" : ", " ) + more;
}

// "mlagissuCause", "lacpConfig.stayInStandby", "mlagProtoStatus.portsErrdisabled".
Subject
subjectOf( Json const& path ) {
   std::string const mount = path.at( 0 );
   std::string const attribute = path.at( 1 );
   if ( path.size() == 2 ) {
      return { mount + "." + attribute };
   }
   std::string const interface = path.at( 2 );
   std::string const what = mount == mount::mlagissuCause ? std::string( "errdisabled" )
                                                          : mount + "." + attribute;
   std::string const member =
      path.size() > 3 ? "." + path.at( 3 ).get< std::string >() : "";
   return { what + member, IntfId( interface ) };
}

// Of what begins and ends, when; of anything else, when and what it becomes.
std::string
changeText( Json const& record ) {
   Json const& value = record.at( "value" );
   std::string const time = timeOf( record );
   bool const isErrdisabling =
      record.at( "path" ).at( 0 ) == mount::mlagissuCause && !value.is_null();
   if ( value.is_null() || value == false ) {
      return "until " + time;
   }
   return value == true || isErrdisabling ? "from " + time
                                          : flowText( value ) + " at " + time;
}

[[noreturn]] void
refuse( NamedStream const& stream, std::size_t line, std::string_view why ) {
   throw Failure(
      ExitStatus::badInput, fmt::format( "{}:{}:1: {}", stream.name, line, why ) );
}

// The type of the record, of which the account then has what it says; empty for what is none.
std::string
add( Account& account, std::string const& line ) {
   try {
      Json const record = Json::parse( line );
      std::string const time = timeOf( record );
      std::string type = record.at( "type" );
      if ( type == "write" ) {
         append( account[ subjectOf( record.at( "path" ) ) ], changeText( record ) );
      } else if ( type == "log" ) {
         std::string const text = record.at( "text" );
         append( account[ { "message \"" + text + "\"" } ], "at " + time );
      }
      return type;
   } catch ( Json::exception const& ) {
      return {};
   } catch ( Ryx::RangeException const& ) {
      return {};
   }
}

Account
accountOf( NamedStream const& stream ) {
   Account account;
   std::istringstream lines( stream.records );
   std::size_t number = 0;
   std::string type;
   for ( std::string line; std::getline( lines, line ); ) {
      ++number;
      if ( type == "end" ) {
         refuse( stream, number, "a record behind the end: expected none" );
      }
      type = add( account, line );
      if ( type.empty() ) {
         refuse(
            stream,
            number,
            lines.eof() ? "the stream is cut off: expected a whole record"
                        : "no record of an event stream: expected one in each line" );
      }
   }
   if ( type != "end" ) {
      refuse(
         stream, number, "the stream is cut off: expected an end record behind this line" );
   }
   return account;
}

std::string
orNever( Account const& account, Subject const& subject ) {
   auto const found = account.find( subject );
   return found == account.end() ? "never" : found->second;
}

bool
beginsAsStream( std::string_view text ) {
   return text.starts_with( "{\"t\":" );
}

NamedStream
streamOf( std::string const& file, std::optional< std::string > const& plugin ) {
   if ( file == "-" ) {
      throw Failure( ExitStatus::badInput, "ostra diff: \"-\": expected a file" );
   }
   if ( File read = readFile( file ); beginsAsStream( read.text ) ) {
      return { file, std::move( read.text ) };
   }
   InputOptions input;
   input.scenario = file;
   input.plugin = plugin;
   KeptRun run( input );
   run.play();
   return { file, run.stream() };
}

} // namespace

std::vector< std::string >
differences( NamedStream const& first, NamedStream const& second ) {
   Account const before = accountOf( first );
   Account const after = accountOf( second );
   Account all = before;
   all.insert( after.begin(), after.end() );
   // Interfaces that differ in the same way are told together.
   std::map< std::tuple< std::string, std::string, std::string >, std::vector< IntfId > >
      groups;
   for ( auto const& [ subject, text ] : all ) {
      std::string const one = orNever( before, subject );
      std::string const other = orNever( after, subject );
      if ( one != other ) {
         groups[ { subject.what, one, other } ].push_back( subject.id );
      }
   }
   std::vector< std::string > lines;
   for ( auto const& [ key, ids ] : groups ) {
      auto const& [ what, one, other ] = key;
      lines.push_back( fmt::format(
         "{}{}{}: {} in {}, {} in {}",
         ids.front() ? intfRanges( ids ) : "",
         ids.front() ? " " : "",
         what,
         one,
         first.name,
         other,
         second.name ) );
   }
   return lines;
}

void
diffRuns( DiffOptions const& options, std::ostream& out ) {
   NamedStream const first = streamOf( *options.first, options.plugin );
   NamedStream const second = streamOf( *options.second, options.plugin );
   auto const lines = differences( first, second );
   for ( std::string const& line : lines ) {
      out << oneLine( line ) << '\n';
   }
   if ( !lines.empty() ) {
      throw Failure(
         ExitStatus::failed,
         fmt::format(
            "ostra diff: {}, {}: {}: expected none",
            first.name,
            second.name,
            counted( lines.size(), "difference" ) ) );
   }
}

} // namespace ostra
