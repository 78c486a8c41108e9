// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Accounts"

#include <support/Unfold>

#include <map>
#include <set>
#include <sstream>
#include <utility>
#include <vector>

namespace ostra {

namespace {

using Json = nlohmann::ordered_json;
using Names = std::set< std::string >;

struct Line {
   std::string label;
   std::string text;
   // Whether an instant begins with it.
   bool isTimed;
   bool isSummary;
};

std::string
trimmed( std::string text ) {
   text.erase( 0, text.find_first_not_of( ' ' ) );
   text.erase( text.find_last_not_of( ' ' ) + 1 );
   return text;
}

// The labelled entries and fields of a report 100 columns wide, with what goes on in the
// next lines. Everything up to the first time is left out.
std::vector< Line >
linesOf( std::string const& report ) {
   std::vector< Line > lines;
   std::istringstream in( report );
   bool isSummary = false;
   for ( std::string line; std::getline( in, line ); ) {
      isSummary = isSummary || line.starts_with( "Summary at " );
      bool const isTimed = line.size() > 12 && line[ 2 ] == ':' && line[ 8 ] == '.';
      std::size_t const label = isSummary ? 2 : 14;
      std::size_t const text = isSummary ? 16 : 26;
      if ( line.size() <= text || ( lines.empty() && !isTimed && !isSummary ) ) {
         continue;
      }
      std::string const name = trimmed( line.substr( label, text - label ) );
      if ( !name.empty() ) {
         lines.push_back( { name, line.substr( text ), isTimed, isSummary } );
      } else if ( !lines.empty() ) {
         std::string& before = lines.back().text;
         before += ( before.ends_with( ',' ) ? "" : " " ) + trimmed( line );
      }
   }
   return lines;
}

// What stands behind the last ": ".
Names
interfacesOf( std::string const& text ) {
   std::size_t const colon = text.rfind( ": " );
   if ( colon == std::string::npos ) {
      return {};
   }
   auto const names = support::unfolded( text.substr( colon + 2 ) );
   return { names.begin(), names.end() };
}

Names
keysOf( Json const& collection ) {
   Names names;
   for ( auto const& [ key, value ] : collection.items() ) {
      names.insert( key );
   }
   return names;
}

Json
at( Json const& json, char const* path ) {
   return json.value( Json::json_pointer( path ), Json() );
}

// A switch as mounts have it.
struct Switch {
   explicit Switch( Json const& mounts )
         : ports( keysOf( at( mounts, "/ethPhyIntfStatus/intfStatus" ) ) ),
           held( keysOf( at( mounts, "/mlagissuCause/intfStatus" ) ) ),
           members( at( mounts, "/lagInputConfig/phyIntf" ) ),
           peerLink( at( mounts, "/mlagConfig/peerLinkIntf" ) ) {
      Json const portChannels = at( mounts, "/lacpConfig/portChannel" );
      for ( auto const& [ key, value ] : portChannels.items() ) {
         if ( value.value( "stayInStandby", false ) ) {
            standby.insert( key );
         }
      }
   }

   std::string portChannelOf( std::string const& port ) const {
      Json const lag = members.is_object() ? members.value( port, Json::object() ) : Json();
      Json const name = lag.is_object() ? lag.value( "lag", Json() ) : Json();
      return name.is_string() ? name.get< std::string >() : "";
   }

   bool isExempt( std::string const& port ) const {
      bool const isOther = port.starts_with( "Management" ) ||
         port.starts_with( "Internal" ) || port.starts_with( "Recirc" );
      return isOther ||
         ( peerLink.is_string() &&
           ( port == peerLink || portChannelOf( port ) == peerLink ) );
   }

   Names ports;
   Names held;
   Names standby;
   Json members;
   Json peerLink;
};

class Reader {
 public:
   Reader( Switch const& start, Switch const& end ) : start_( start ), end_( end ) {}

   std::string misaccounts( std::string const& report ) {
      for ( Line const& line : linesOf( report ) ) {
         instants_ += line.isTimed;
         bool const isSummary = line.label == "WARNING" || line.label == "done";
         if (
            isFirst_ &&
            ( instants_ > 1 || isSummary || line.label.starts_with( "event" ) ) ) {
            isFirst_ = false;
            checkStart();
         }
         read( line );
      }
      checkEnd();
      return wrong_;
   }

 private:
   void read( Line const& line ) {
      static Names const labels = { "held",    "never held", "not held",
                                    "standby", "released",   "WARNING" };
      if ( !labels.contains( line.label ) || line.text.starts_with( "nothing: " ) ) {
         return;
      }
      Names const names = interfacesOf( line.text );
      bool const isPortChannel = line.text.find( "LACP standby of" ) != std::string::npos;
      if ( line.label == "held" ) {
         put( "held", names );
         everHeld_.insert( names.begin(), names.end() );
         heldSinceThere_.insert( names.begin(), names.end() );
      } else if ( line.label == "never held" ) {
         checkNeverHeld( names );
         put( "exempt", names );
      } else if ( line.label == "not held" ) {
         put( "not held", names );
         if ( line.isSummary ) {
            listed_.insert( names.begin(), names.end() );
         }
      } else if ( line.label == "standby" ) {
         bool const isPort = line.text.find( " of a port-channel" ) != std::string::npos;
         isPort ? put( "standby", names ) : standby( names, true );
         replaced_ += membersReplacedBy( line.text );
      } else if ( line.label == "released" ) {
         isPortChannel ? standby( names, false ) : put( "released", names );
         if ( line.text.find( "interface gone" ) != std::string::npos ) {
            for ( std::string const& name : names ) {
               heldSinceThere_.erase( name );
            }
         }
         checkInstead( line.text, names );
      } else if (
         line.label == "WARNING" && line.text.find( "still held" ) != std::string::npos ) {
         auto& still =
            line.text.find( " port-channel" ) == std::string::npos ? still_ : waiting_;
         still.insert( names.begin(), names.end() );
      }
   }

   void put( std::string const& place, Names const& names ) {
      for ( std::string const& name : names ) {
         std::string const before = std::exchange( places_[ name ], place );
         bool const isTurn = ( place == "released" && before == "held" ) ||
            ( place == "held" && before == "released" );
         if ( isFirst_ && !isTurn ) {
            ++times_[ name ];
         }
      }
   }

   void standby( Names const& names, bool isIn ) {
      for ( std::string const& name : names ) {
         waits_.erase( name );
         if ( isIn ) {
            waits_.insert( name );
            waited_.insert( name );
         }
      }
   }

   static int membersReplacedBy( std::string const& text ) {
      std::string const before = " in LACP standby instead of errdisabling ";
      auto const found = text.find( before );
      return found == std::string::npos ? 0
                                        : std::stoi( text.substr( found + before.size() ) );
   }

   void checkNeverHeld( Names const& names ) {
      for ( std::string const& name : names ) {
         if ( isFirst_ && !start_.isExempt( name ) ) {
            complain( name, "is called never held and is like any other port" );
         }
         if ( everHeld_.contains( name ) ) {
            complain( name, "is called never held and was" );
         }
      }
   }

   void checkInstead( std::string const& text, Names const& names ) {
      bool const isInstead = text.find( ", in LACP standby instead" ) != std::string::npos;
      if ( isInstead && waits_.empty() ) {
         complain( *names.begin(), "is released for a standby that nothing is in" );
      }
   }

   void complain( std::string const& port, std::string const& what ) {
      wrong_ += port + " " + what + "\n";
   }

   // Each port is in exactly one place, be it through its port-channel.
   void checkStart() {
      int waiting = 0;
      for ( std::string const& port : start_.ports ) {
         bool const waits = waits_.contains( start_.portChannelOf( port ) );
         int const times = times_.contains( port ) ? times_.at( port ) : waits;
         waiting += waits && !times_.contains( port );
         if ( times != 1 ) {
            complain( port, "is in " + std::to_string( times ) + " places at the start" );
         }
      }
      if ( replaced_ > waiting ) {
         complain( "standby", "stands in for more members than wait" );
      }
   }

   void checkEnd() {
      if ( still_ != end_.held ) {
         complain( "errdisabled ports", "are not those that the state has at the end" );
      }
      if ( waiting_ != end_.standby || waits_ != end_.standby ) {
         complain(
            "port-channels", "in standby are not those that the state has at the end" );
      }
      for ( std::string const& port : end_.ports ) {
         checkEnd( port );
      }
   }

   void checkEnd( std::string const& port ) {
      bool const isHeld = end_.held.contains( port );
      std::string const place = places_.contains( port ) ? places_.at( port ) : "";
      if ( isHeld != ( place == "held" ) ) {
         complain( port, "was told of last as \"" + place + "\"" );
      }
      bool const waits = end_.standby.contains( end_.portChannelOf( port ) );
      bool const waited = waited_.contains( end_.portChannelOf( port ) ) ||
         waited_.contains( start_.portChannelOf( port ) );
      if ( place.empty() && !waited && !listed_.contains( port ) ) {
         complain( port, "is accounted for nowhere" );
      }
      if (
         place == "not held" && !waits && !end_.isExempt( port ) &&
         !heldSinceThere_.contains( port ) && !listed_.contains( port ) ) {
         complain( port, "is not listed at the end" );
      }
   }

   Switch const& start_;
   Switch const& end_;
   int instants_ = 0;
   bool isFirst_ = true;
   std::map< std::string, int > times_;
   std::map< std::string, std::string > places_;
   // Whether in the cause or released since; a port that goes and comes back, too.
   Names everHeld_;
   // Told of as held, and not gone since.
   Names heldSinceThere_;
   // Members that standby is said to stand in for.
   int replaced_ = 0;
   // Port-channels in standby now, and ever.
   Names waits_;
   Names waited_;
   // In the warnings and the list at the end.
   Names still_;
   Names waiting_;
   Names listed_;
   std::string wrong_;
};

} // namespace

std::string
misaccounts( std::string const& report, Json const& start, Json const& end ) {
   Switch const first( start );
   Switch const last( end );
   return Reader( first, last ).misaccounts( report );
}

} // namespace ostra
