// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Kovel/IntfId>

#include <Kovel/Text>
#include <Ryx/Exception>

#include <algorithm>
#include <array>
#include <ostream>

namespace Kovel {

namespace {

// By kind.
constexpr std::array< std::string_view, 15 > prefixes = {
   "",
   "Ethernet",
   "Internal",
   "Loopback",
   "Management",
   "PeerEthernet",
   "PeerInternal",
   "PeerLoopback",
   "PeerManagement",
   "PeerPort-Channel",
   "PeerRecirc",
   "PeerVlan",
   "Port-Channel",
   "Recirc",
   "Vlan",
};
static_assert(
   std::is_sorted( prefixes.begin(), prefixes.end() ),
   "the order of ids is the alphabetical one of their prefixes" );
static_assert( prefixes[ std::size_t( IntfId::Kind::vlan ) ] == "Vlan" );

constexpr std::string_view longestName =
   "PeerPort-Channel268435454/268435454/268435454/268435454";
using NameText = FixedText< longestName.size() >;

constexpr std::uint64_t slotMask = ( 1u << 28 ) - 1;
static_assert( IntfId::maxNumber + 1 == slotMask );
constexpr std::array< unsigned, IntfId::maxNumberCount > slotShifts = { 28, 0, 36, 8 };

[[noreturn]] void
refuse( std::string_view name, std::string_view expected ) {
   throwBadText( name, "an interface name", expected );
}

[[noreturn]] void
refuse( std::string_view name, std::string_view expected, std::string_view where ) {
   refuse( name, Ryx::String8( expected ).append( " \"" ).append( where ).append( "\"" ) );
}

bool
isDigit( char c ) {
   return c >= '0' && c <= '9';
}

IntfId::Kind
readKind( std::string_view name, std::string_view prefix ) {
   auto const found = std::find( prefixes.begin() + 1, prefixes.end(), prefix );
   if ( found == prefixes.end() ) {
      refuse(
         name,
         "Ethernet, Internal, Loopback, Management, Port-Channel, Recirc or Vlan, or one "
         "of these behind Peer, followed by one to four numbers divided by \"/\"" );
   }
   return IntfId::Kind( found - prefixes.begin() );
}

// Reads the numbers of a name from left to right.
class NumberReader {
 public:
   NumberReader( std::string_view name, std::size_t begin )
         : name_( name ), position_( begin ) {}

   std::uint32_t number() {
      std::string_view const digits = takeDigits();
      if ( digits.empty() ) {
         refuse( name_, "a number after", name_.substr( 0, position_ ) );
      }
      if ( digits.size() > 1 && digits.front() == '0' ) {
         refuse( name_, "a number without leading zeros instead of", digits );
      }
      auto const number = wholeNumber( digits, 10 );
      if ( !number || *number > IntfId::maxNumber ) {
         refuse(
            name_,
            "a number up to " + std::to_string( IntfId::maxNumber ) + " instead of",
            digits );
      }
      return *number;
   }

   bool atEnd() const { return position_ == name_.size(); }

   void divider() {
      if ( name_[ position_ ] != '/' ) {
         refuse( name_, "\"/\" or nothing more after", name_.substr( 0, position_ ) );
      }
      ++position_;
   }

 private:
   std::string_view takeDigits() {
      std::size_t const begin = position_;
      while ( position_ < name_.size() && isDigit( name_[ position_ ] ) ) {
         ++position_;
      }
      return name_.substr( begin, position_ - begin );
   }

   std::string_view name_;
   std::size_t position_;
};

NameText
nameText( IntfId const& id ) noexcept {
   NameText text;
   text.append( id.prefix() );
   for ( unsigned i = 0, count = id.numberCount(); i < count; ++i ) {
      if ( i != 0 ) {
         text.append( '/' );
      }
      text.appendNumber( id.number( i ), 10 );
   }
   return text;
}

} // namespace

IntfId::IntfId( std::string_view name ) {
   if ( name.empty() ) {
      return;
   }
   auto const prefixEnd = static_cast< std::size_t >(
      std::find_if( name.begin(), name.end(), isDigit ) - name.begin() );
   Kind const kind = readKind( name, name.substr( 0, prefixEnd ) );
   kindAndFirst_ = std::uint64_t( kind ) << kindShift;

   NumberReader reader( name, prefixEnd );
   slotIs( 0, reader.number() + 1 );
   for ( unsigned i = 1; !reader.atEnd(); ++i ) {
      reader.divider();
      if ( i == maxNumberCount ) {
         refuse( name, "at most four numbers divided by \"/\"" );
      }
      slotIs( i, reader.number() + 1 );
   }
}

std::uint32_t
IntfId::slot( unsigned i ) const noexcept {
   std::uint64_t const word = i < 2 ? kindAndFirst_ : last_;
   return static_cast< std::uint32_t >( word >> slotShifts[ i ] & slotMask );
}

void
IntfId::slotIs( unsigned i, std::uint32_t value ) noexcept {
   std::uint64_t& word = i < 2 ? kindAndFirst_ : last_;
   word |= std::uint64_t( value ) << slotShifts[ i ];
}

std::string_view
IntfId::prefix() const noexcept {
   return prefixes[ std::size_t( kind() ) ];
}

unsigned
IntfId::numberCount() const noexcept {
   unsigned count = 0;
   while ( count < maxNumberCount && slot( count ) != 0 ) {
      ++count;
   }
   return count;
}

std::uint32_t
IntfId::number( unsigned i ) const {
   if ( i >= numberCount() ) {
      Ryx::assertFailed( "i < numberCount()", __FILE__, __LINE__, "Kovel::IntfId::number" );
   }
   return slot( i ) - 1;
}

Ryx::String8
IntfId::string() const {
   return Ryx::String8( nameText( *this ).view() );
}

std::ostream&
operator<<( std::ostream& out, IntfId const& id ) {
   return out << nameText( id ).view();
}

} // namespace Kovel
