// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/import/ForeignNames>

#include <host/base/Failure>

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace ostra {

namespace {

// Matching takes stack in proportion to the name.
constexpr std::size_t longestName = 128;

} // namespace

std::vector< InterfaceRule >
usualNames() {
   std::vector< InterfaceRule > rules;
   for ( auto const& [ device, interface ] :
         { std::pair{ R"(swp(\d+)s(\d+))", R"(Ethernet\1/\2)" },
           std::pair{ R"(swp(\d+))", R"(Ethernet\1)" },
           std::pair{ R"(Ethernet(\d+(/\d+)*))", R"(Ethernet\1)" },
           std::pair{ R"(bond(\d+))", R"(Port-Channel\1)" },
           std::pair{ R"(team(\d+))", R"(Port-Channel\1)" },
           std::pair{ R"(PortChannel0*(\d+))", R"(Port-Channel\1)" },
           std::pair{ R"(eth(\d+))", R"(Management\1)" } } ) {
      rules.push_back( { std::regex( device ), interface } );
   }
   return rules;
}

InterfaceRule const*
ForeignNames::ruleOf( std::string const& name ) const {
   auto const found =
      std::find_if( rules_.begin(), rules_.end(), [ & ]( auto const& rule ) {
         return std::regex_match( name, rule.device );
      } );
   return found == rules_.end() ? nullptr : &*found;
}

Kovel::IntfId
ForeignNames::named( std::string const& name, std::string const& known, Item const& at ) {
   InterfaceRule const* const rule = ruleOf( known );
   auto const interface = rule ? rule->interfaceOf( known ) : std::nullopt;
   if ( !interface ) {
      remark(
         at,
         name,
         rule ? rule->interface + " gives no name of an interface"
              : "no pattern names it" );
      return {};
   }
   return Kovel::IntfId( *interface );
}

Kovel::IntfId
ForeignNames::add(
   std::string const& name, Item const& at, std::vector< std::string > const& others ) {
   if ( name.empty() || name.size() > longestName ) {
      at.refuseBecause( fmt::format(
         "{}: expected a name of 1 to {} octets", inQuotes( name ), longestName ) );
   }
   auto const [ added, isNew ] = interfaces_.try_emplace( name );
   if ( !isNew ) {
      at.refuseBecause( fmt::format(
         "{}: expected another name, as one before has it", inQuotes( name ) ) );
   }
   std::string const& known = knownAmong( name, others );
   Kovel::IntfId const id = named( name, known, at );
   auto const [ other, isFree ] =
      id ? names_.try_emplace( id, name ) : std::pair{ names_.end(), true };
   if ( !isFree ) {
      remark(
         at,
         name,
         fmt::format( "{} is {} already", id.string(), shortened( other->second ) ) );
      return {};
   }
   added->second = id;
   known_.emplace( name, known );
   for ( std::string const& further : others ) {
      if ( !further.empty() ) {
         firsts_.emplace( further, name );
      }
   }
   return id;
}

// Where no pattern knows any of them, the first one.
std::string const&
ForeignNames::knownAmong(
   std::string const& name, std::vector< std::string > const& others ) const {
   if ( ruleOf( name ) ) {
      return name;
   }
   auto const known =
      std::find_if( others.begin(), others.end(), [ this ]( std::string const& further ) {
         return further.size() <= longestName && ruleOf( further );
      } );
   return known == others.end() ? name : *known;
}

Kovel::IntfId
ForeignNames::find( std::string const& name ) const {
   auto const first = firsts_.find( name );
   auto found = interfaces_.find( name );
   if ( found == interfaces_.end() && first != firsts_.end() ) {
      found = interfaces_.find( first->second );
   }
   return found == interfaces_.end() ? Kovel::IntfId() : found->second;
}

Kovel::IntfId
ForeignNames::usualPortChannelOf( std::string const& name ) const {
   auto const found = known_.find( name );
   std::string const& known = found == known_.end() ? name : found->second;
   InterfaceRule const* const rule = ruleOf( known );
   auto const portChannel = rule ? rule->portChannelOf( known ) : std::nullopt;
   return portChannel ? Kovel::IntfId( *portChannel ) : Kovel::IntfId();
}

void
ForeignNames::remark( Item const& at, std::string const& name, std::string const& why ) {
   note( at, name, why + ": left out" );
   remarks_.back().isLeftOut = true;
}

void
ForeignNames::note( Item const& at, std::string const& name, std::string const& what ) {
   bool const isNamed = at.key() == name;
   Place const place = isNamed ? at.keyPlace() : at.place();
   remarks_.push_back(
      { fmt::format( "{}:{}:{}", at.node().tree().name(), place.line, place.column ),
        fmt::format( "{}: {}{}", at.path(), isNamed ? "" : shortened( name ) + ": ", what ),
        false } );
}

} // namespace ostra
