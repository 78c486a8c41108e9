// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/web/TimeLine>

#include <host/base/IntfRanges>
#include <host/base/Utf8>
#include <host/base/Words>

#include <fmt/format.h>

#include <algorithm>
#include <map>

namespace ostra {

namespace {

using Kovel::IntfId;

// In pixels.
constexpr double width = 960;
constexpr double margin = 16;
constexpr double left = 230;
constexpr double right = width - margin;
constexpr double rowHeight = 24;
// Of a character, about.
constexpr double advance = 7;

constexpr std::size_t longestName = 100;
constexpr std::size_t longestLabel = 27;
constexpr std::size_t longestText = 118;
constexpr std::size_t mostRows = 30;
constexpr std::size_t mostMarks = 15;

// The characters that a text of XML may not have are shown as "?".
std::string
escaped( std::string_view text ) {
   std::string result;
   while ( !text.empty() ) {
      auto const [ length, code ] = firstCharacter( text );
      if ( length == 0 || needsEscape( code ) ) {
         result += '?';
      } else if ( code == '<' ) {
         result += "&lt;";
      } else if ( code == '&' ) {
         result += "&amp;";
      } else if ( code == '"' ) {
         result += "&quot;";
      } else {
         result += text.substr( 0, length );
      }
      text.remove_prefix( std::max< std::size_t >( length, 1 ) );
   }
   return result;
}

// At most so many characters, the last of which then says that there are more.
std::string
shortened( std::string_view text, std::size_t most ) {
   std::size_t characters = 0;
   std::size_t end = 0;
   for ( std::size_t at = 0; at < text.size(); ++at ) {
      if ( isContinuationByte( text[ at ] ) ) {
         continue;
      }
      if ( ++characters == most ) {
         end = at;
      }
   }
   return characters <= most ? std::string( text )
                             : std::string( text.substr( 0, end ) ) + "…";
}

std::string
shortTime( Milliseconds at ) {
   std::string text = clockText( at );
   constexpr std::string_view whole = ".000";
   if ( text.ends_with( whole ) ) {
      text.resize( text.size() - whole.size() );
   }
   return text;
}

// Ports that were held at the same times and for the same reasons.
struct Row {
   std::vector< IntfId > ids;
   std::vector< Span const* > spans;
};

// In the order of their first names.
std::vector< Row >
rowsOf( std::vector< Span > const& holds, HolderKind kind ) {
   std::map< IntfId, std::vector< Span const* > > spansOfId;
   for ( Span const& span : holds ) {
      if ( span.kind == kind ) {
         for ( IntfId const id : span.ids ) {
            spansOfId[ id ].push_back( &span );
         }
      }
   }
   std::map< std::vector< Span const* >, std::size_t > known;
   std::vector< Row > rows;
   for ( auto const& [ id, spans ] : spansOfId ) {
      auto const [ place, isNew ] = known.try_emplace( spans, rows.size() );
      if ( isNew ) {
         rows.push_back( { {}, spans } );
      }
      rows[ place->second ].ids.push_back( id );
   }
   return rows;
}

class Drawing {
 public:
   explicit Drawing( TimeLine const& timeLine )
         : line_( timeLine ), end_( std::max( timeLine.end, Milliseconds( 1 ) ) ) {}

   std::string draw() {
      text( margin, y_ + 16, shortened( line_.name, longestName ), "font-weight=\"bold\"" );
      y_ += rowHeight + 12;
      double const top = y_;
      axis();
      marks();
      section( "MLAG ports", 0, { HolderKind::mlagPort, HolderKind::standby } );
      section( "non-MLAG ports", 1, { HolderKind::nonMlagPort } );
      ticks( top );
      legend();
      list();
      return std::move( back_ ) + std::move( front_ );
   }
   double height() const { return y_; }

 private:
   double x( Milliseconds at ) const {
      double const part = secondsOf( at ) / secondsOf( end_ );
      return left + ( right - left ) * std::clamp( part, 0.0, 1.0 );
   }

   void text( double x, double y, std::string_view what, std::string_view more = "" ) {
      front_ += fmt::format(
         "<text x=\"{:.1f}\" y=\"{:.1f}\"{}{}>{}</text>\n",
         x,
         y,
         more.empty() ? "" : " ",
         more,
         escaped( what ) );
   }

   void rule() {
      back_ += fmt::format(
         "<path d=\"M{} {:.1f}H{}\" stroke=\"#dde3ea\"/>\n", margin, y_, right );
   }

   // Times between which there are at most eight of them.
   Milliseconds step() const {
      constexpr int seconds[] = { 1,   2,   5,   10,   15,   30,   60,    120,
                                  300, 600, 900, 1800, 3600, 7200, 21600, 86400 };
      for ( int const each : seconds ) {
         if ( end_ <= Milliseconds( each * 1000LL * 8 ) ) {
            return Milliseconds( each * 1000LL );
         }
      }
      auto const day = Milliseconds( 86'400'000LL );
      return day * ( end_ / ( day * 8 ) + 1 );
   }

   void axis() {
      double free = 0;
      for ( Milliseconds at( 0 ); at <= end_; at += step() ) {
         std::string const label = shortTime( at );
         double const from = std::min( x( at ), right - advance * double( label.size() ) );
         if ( from >= free ) {
            text( from, y_ + 14, label, "fill=\"#526071\" font-size=\"11\"" );
            free = from + advance * double( label.size() );
         }
      }
      y_ += rowHeight;
   }

   void ticks( double top ) {
      std::string lines;
      for ( Milliseconds at( 0 ); at <= end_; at += step() ) {
         lines += fmt::format(
            "<path d=\"M{:.1f} {:.1f}V{:.1f}\" stroke=\"#eef1f5\"/>\n",
            x( at ),
            top + rowHeight - 4,
            y_ );
      }
      back_.insert( 0, lines );
   }

   void symbol( double x, double y, bool isEvent, std::string const& says ) {
      front_ += fmt::format(
         "<path transform=\"translate({:.1f} {:.1f})\" d=\"{}\" fill=\"{}\">"
         "<title>{}</title></path>\n",
         x,
         y,
         isEvent ? "M0-6L6 0L0 6L-6 0Z" : "M0-6L6 5H-6Z",
         isEvent ? "#0b57b0" : "#526071",
         escaped( says ) );
   }

   static std::string says( TimeLine::Mark const& mark ) {
      return fmt::format( "{}  {}", shortTime( mark.at ), mark.text );
   }

   void marks() {
      rule();
      text( margin, y_ + 17, "What happened" );
      for ( auto const& mark : line_.marks ) {
         symbol( x( mark.at ), y_ + 12, mark.isEvent, says( mark ) );
      }
      y_ += rowHeight;
   }

   // `inside` stands in it if there is room.
   void bar(
      Milliseconds from,
      HoldTime to,
      std::string_view look,
      std::string const& inside,
      std::string const& says ) {
      double const begin = x( from );
      double const length = std::max( 1.5, x( to.value_or( end_ ) ) - begin );
      front_ += fmt::format(
         "<rect x=\"{:.1f}\" y=\"{:.1f}\" width=\"{:.1f}\" height=\"16\" rx=\"2\" {}>"
         "<title>{}</title></rect>\n",
         begin,
         y_ + 4,
         length,
         look,
         escaped( says ) );
      if ( length > advance * double( inside.size() ) + 12 ) {
         text( begin + 6, y_ + 16, inside, "font-size=\"12\"" );
      }
   }

   void section(
      std::string const& name,
      std::size_t portClass,
      std::vector< HolderKind > const& kinds ) {
      rule();
      text( margin, y_ + 17, name, "font-weight=\"bold\"" );
      for ( auto const& [ from, to ] : line_.periods[ portClass ] ) {
         std::string const length =
            to ? delayText( secondsOf( *to - from ) ) : "not over at the end";
         bar(
            from,
            to,
            "fill=\"#e4e8ee\" stroke=\"#6b7787\"",
            "reload delay, " + length,
            fmt::format(
               "{}: reload delay from {}, {}", name, shortTime( from ), length ) );
      }
      y_ += rowHeight;
      for ( HolderKind const kind : kinds ) {
         rows( kind );
      }
   }

   void rows( HolderKind kind ) {
      auto const all = rowsOf( line_.holds, kind );
      for ( std::size_t i = 0; i < std::min( all.size(), mostRows ); ++i ) {
         row( all[ i ], kind );
      }
      if ( all.size() > mostRows ) {
         rule();
         text(
            margin + 14,
            y_ + 17,
            fmt::format( "and {}", counted( all.size() - mostRows, "more row" ) ) );
         y_ += rowHeight;
      }
   }

   void row( Row const& row, HolderKind kind ) {
      rule();
      std::string const names = intfRanges( row.ids );
      text( margin + 14, y_ + 17, shortened( names, longestLabel ) );
      bool const isStandby = kind == HolderKind::standby;
      char const* const shortWord = isStandby ? "standby" : "held";
      char const* const word = isStandby ? "in LACP standby" : "errdisabled";
      for ( Span const* const span : row.spans ) {
         bar(
            span->from.value_or( Milliseconds( 0 ) ),
            span->to,
            isStandby ? "fill=\"#bfdcff\" stroke=\"#10549c\" stroke-dasharray=\"4 2\""
                      : "fill=\"#ffd591\" stroke=\"#9a5b00\"",
            span->to ? fmt::format( "{} until: {}", shortWord, span->why ) : shortWord,
            fmt::format(
               "{}: {} from {} {}{}",
               names,
               word,
               shortTime( span->from.value_or( Milliseconds( 0 ) ) ),
               span->to ? "to " + shortTime( *span->to ) : "to the end",
               span->to ? ": " + span->why : "" ) );
      }
      y_ += rowHeight;
   }

   // What the marks stand for, as a picture in a document has nothing to point at.
   void list() {
      std::size_t const shown = std::min( line_.marks.size(), mostMarks );
      for ( std::size_t i = 0; i < shown; ++i ) {
         auto const& mark = line_.marks[ i ];
         symbol( margin + 6, y_ + 10, mark.isEvent, says( mark ) );
         text(
            margin + 20,
            y_ + 14,
            shortened( says( mark ), longestText ),
            "font-size=\"12\"" );
         y_ += 19;
      }
      if ( shown < line_.marks.size() ) {
         text(
            margin + 20,
            y_ + 14,
            fmt::format( "and {} more", line_.marks.size() - shown ),
            "font-size=\"12\"" );
         y_ += 19;
      }
      y_ += 8;
   }

   void legend() {
      rule();
      y_ += 8;
      text(
         margin,
         y_ + 12,
         fmt::format(
            "The run ends at {}. A diamond is an event, a triangle a message.",
            shortTime( line_.end ) ),
         "font-size=\"12\" fill=\"#526071\"" );
      y_ += rowHeight;
   }

   TimeLine const& line_;
   Milliseconds const end_;
   double y_ = 12;
   // What lies below, and what above it.
   std::string back_;
   std::string front_;
};

} // namespace

void
drawTimeLine( std::ostream& out, TimeLine const& timeLine ) {
   Drawing drawing( timeLine );
   std::string const drawn = drawing.draw();
   std::string const size =
      fmt::format( "width=\"{:.0f}\" height=\"{:.0f}\"", width, drawing.height() );
   out << fmt::format(
      "<svg xmlns=\"http://www.w3.org/2000/svg\" {} viewBox=\"0 0 {:.0f} {:.0f}\" "
      "role=\"img\" font-family=\"system-ui, 'DejaVu Sans', sans-serif\" font-size=\"13\" "
      "fill=\"#16202c\">\n"
      "<title>{}</title>\n"
      "<rect {} rx=\"8\" fill=\"#ffffff\"/>\n"
      "{}</svg>\n",
      size,
      width,
      drawing.height(),
      escaped( timeLine.name ),
      size,
      drawn );
}

} // namespace ostra
