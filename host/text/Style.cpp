// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/text/Style>

#include <fmt/color.h>

namespace ostra {

namespace {

fmt::text_style
textStyle( Ink ink ) {
   using fmt::terminal_color;
   switch ( ink ) {
   case Ink::plain:
      return {};
   case Ink::faint:
      return fmt::emphasis::faint;
   case Ink::strong:
      return fmt::emphasis::bold;
   case Ink::held:
      return fg( terminal_color::yellow );
   case Ink::freed:
      return fg( terminal_color::green );
   case Ink::event:
      return fg( terminal_color::blue );
   case Ink::message:
      return fg( terminal_color::cyan );
   case Ink::alarm:
      return fg( terminal_color::red ) | fmt::emphasis::bold;
   }
   return {};
}

} // namespace

std::string
Style::operator()( Ink ink, std::string_view text ) const {
   if ( !colour_ || text.empty() || ink == Ink::plain ) {
      return std::string( text );
   }
   return fmt::format( textStyle( ink ), "{}", text );
}

} // namespace ostra
