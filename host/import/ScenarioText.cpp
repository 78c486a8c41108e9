// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/import/ScenarioText>

#include <host/base/Failure>
#include <host/base/JsonLine>
#include <host/import/EntryLines>

#include <fmt/format.h>

namespace ostra {

namespace {

using Kovel::IntfId;
using Entries = std::map< IntfId, EntryValue >;

// As in a switch of which nothing is said.
constexpr double usualDelay = 300;

class Writer {
 public:
   Writer( SwitchDescription const& description, std::string const& source )
         : description_( description ), mlag_( description.mlag ) {
      text_ = fmt::format(
         "# Imported from {} by `ostra import`: edit it, check it with `ostra check`, play "
         "it with\n# `ostra run`. The state of links is not taken over, as the switch "
         "boots.\n",
         oneLine( source ) );
   }

   std::string write() {
      addRemarks( true, "Not taken over" );
      addRemarks( false, "To be looked at" );
      if ( !description_.name.empty() ) {
         text_ += fmt::format( "\nname: {}\n", lineOfText( description_.name ) );
      }
      text_ += "\nmounts:\n";
      addMlagConfig();
      addMlagState();
      addPorts();
      addMembers();
      addLinksComeUp();
      return text_;
   }

 private:
   void line( std::string_view text ) { text_ += std::string( text ) + "\n"; }

   void addRemarks( bool areLeftOut, std::string const& heading ) {
      bool isFirst = true;
      for ( auto const& remark : description_.remarks ) {
         if ( remark.isLeftOut == areLeftOut ) {
            line(
               ( isFirst ? "#\n# " + heading + ":\n" : "" ) + "# - " +
               oneLine( remark.text ) );
            isFirst = false;
         }
      }
   }

   // One that is not known stands as an example behind a "#".
   void addSetting( char const* key, std::string const& value, char const* example ) {
      line( fmt::format(
         "    {}{}: {}",
         value.empty() ? "# " : "",
         key,
         value.empty() ? example : value ) );
   }

   void addMlagConfig() {
      bool const isWhole = !mlag_.domainId.empty() && mlag_.localInterface &&
         !mlag_.peerAddress.empty() && mlag_.peerLink;
      line( "  mlagConfig:" );
      if ( !isWhole ) {
         line( "    # No port is held before all of these are set and MLAG is enabled." );
      }
      line( isWhole ? "    enabled: true" : "    enabled: false" );
      addSetting(
         "domainId", mlag_.domainId.empty() ? "" : lineOfText( mlag_.domainId ), "pod1" );
      addSetting( "localInterface", nameOf( mlag_.localInterface ), "Vlan4094" );
      addSetting(
         "peerAddress",
         mlag_.peerAddress.empty() ? "" : lineOfText( mlag_.peerAddress ),
         "10.255.255.2" );
      addSetting( "peerLinkIntf", nameOf( mlag_.peerLink ), "Port-Channel1000" );
      line( fmt::format(
         "    reloadDelay: {}{}",
         mlag_.reloadDelay.value_or( usualDelay ),
         mlag_.reloadDelay ? "" : " # seconds; the file does not say it" ) );
      addMlagInterfaces();
   }

   // Where the file does not say which they are, all port-channels might be.
   void addMlagInterfaces() {
      bool const isKnown = !mlag_.interfaces.empty();
      Entries entries;
      for ( IntfId const id : isKnown ? mlag_.interfaces : description_.portChannels ) {
         if ( id != mlag_.peerLink ) {
            std::string const name = nameOf( id );
            entries[ id ] = { name.substr( id.prefix().size() ), true, "{ mlagId: % }" };
         }
      }
      if ( !entries.empty() ) {
         line( isKnown ? "    intfConfig:" : "    # intfConfig:" );
         text_ += entryLines( entries, isKnown ? "      " : "    #   " );
      }
   }

   void addMlagState() {
      line( "  # As after a reload beside a peer that carries the traffic." );
      line( fmt::format(
         "  mlagStatus: {{ mlagState: mlagSecondary{} }}",
         mlag_.systemId.empty() ? "" : ", systemId: " + lineOfText( mlag_.systemId ) ) );
      line( "  mlagProtoStatus: { holdInSecondary: true }" );
   }

   void addCollection( char const* mount, char const* name, Entries const& entries ) {
      if ( !entries.empty() ) {
         line( fmt::format( "  {}:\n    {}:", mount, name ) );
         text_ += entryLines( entries, "      " );
      }
   }

   void addPorts() {
      Entries statuses;
      Entries configs;
      for ( auto const& [ id, port ] : description_.ports ) {
         statuses[ id ] = { "", false, "{}" };
         configs[ id ] = { "",
                           false,
                           fmt::format(
                              "{{ adminEnabledStateLocal: {} }}",
                              port.isEnabled ? "enabled" : "shutdown" ) };
      }
      addCollection( "ethPhyIntfStatus", "intfStatus", statuses );
      addCollection( "ethPhyIntfConfig", "intfConfig", configs );
   }

   void addMembers() {
      Entries portChannels;
      for ( IntfId const id : description_.portChannels ) {
         portChannels[ id ] = { "", false, "{}" };
      }
      addCollection( "lagInputIntfStatus", "intfStatus", portChannels );
      Entries members;
      for ( auto const& [ id, port ] : description_.ports ) {
         if ( port.portChannel ) {
            std::string const prefix( port.portChannel.prefix() );
            members[ id ] = { nameOf( port.portChannel ).substr( prefix.size() ),
                              false,
                              fmt::format(
                                 "{{ lag: {}%, mode: {} }}", prefix, port.lacpMode ) };
         }
      }
      addCollection( "lagInputConfig", "phyIntf", members );
   }

   void addLinksComeUp() {
      Entries entries;
      for ( IntfId const id : description_.portChannels ) {
         if ( !description_.shutPortChannels.contains( id ) ) {
            entries[ id ] = { "", false, "{ linkStatus: linkUp }" };
         }
      }
      if ( !entries.empty() ) {
         line( "" );
         line( "# events:" );
         line(
            fmt::format( "#   - at: {}", mlag_.reloadDelay.value_or( usualDelay ) + 3 ) );
         line( "#     label: the port-channels come up" );
         line( "#     lagInputIntfStatus:" );
         line( "#       intfStatus:" );
         text_ += entryLines( entries, "#         " );
      }
   }

   static std::string nameOf( IntfId id ) { return std::string( id.string() ); }

   SwitchDescription const& description_;
   SwitchDescription::Mlag const& mlag_;
   std::string text_;
};

} // namespace

std::string
scenarioText( SwitchDescription const& description, std::string const& source ) {
   return Writer( description, source ).write();
}

} // namespace ostra
