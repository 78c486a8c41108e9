# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# Makes a manual page of a document:
#
#    awk -v name=ostra-scenario -v section=5 -v summary="..." -v version=0.2.0 -v date=2026-11-23
#       [-v skip="Heading"] [-v commands=FILE] [-v also="ostra(1)"] -f manual.awk DOCUMENT
#
# It understands what our documents have of Markdown: headings, paragraphs, lists, tables, fenced
# blocks, code, links. What stands above the first section is the description. `skip` is a section
# that is left out. A line "<!-- commands -->" stands for the contents of the file `commands`.

function fail( why ) {
   printf "%s:%d: %s\n", FILENAME, FNR, why >"/dev/stderr"
   failed = 1
   exit 1
}

# Characters that the formatter would take for something else.
function escaped( text ) {
   gsub( /\\/, "\\e", text )
   gsub( /`/, "\\(ga", text )
   gsub( /\^/, "\\(ha", text )
   gsub( /~/, "\\(ti", text )
   return text
}

# As it is typed, so that it can be copied.
function typed( text ) {
   text = escaped( text )
   gsub( /-/, "\\-", text )
   gsub( /'/, "\\(aq", text )
   return text
}

# Words of it are not torn apart.
function code( text ) {
   text = typed( text )
   gsub( / /, " \\%", text )
   return "\\fB\\%" text "\\fR"
}

# Links are their texts, pictures are nothing.
function unlinked( text,    before, link, end ) {
   gsub( /!\[[^]]*\]\([^)]*\)/, "", text )
   while ( match( text, /\[[^]]*\]\([^)]*\)/ ) ) {
      before = substr( text, 1, RSTART - 1 )
      link = substr( text, RSTART, RLENGTH )
      end = substr( text, RSTART + RLENGTH )
      sub( /^\[/, "", link )
      sub( /\]\([^)]*\)$/, "", link )
      text = before link end
   }
   return text
}

# A piece of text with its code; what is between backticks is not looked into.
function inline( text,    parts, count, i, line ) {
   text = unlinked( text )
   count = split( text, parts, "`" )
   if ( count % 2 == 0 ) {
      fail( "a backtick without another" )
   }
   line = ""
   for ( i = 1; i <= count; ++i ) {
      line = line ( i % 2 ? escaped( parts[ i ] ) : code( parts[ i ] ) )
   }
   return guarded( line )
}

# At the beginning of a line these would be requests.
function guarded( line ) {
   return line ~ /^[.']/ ? "\\&" line : line
}

function isSpace( line ) {
   return line ~ /^[ \t]*$/
}

# A paragraph macro is one too many behind a heading.
function paragraph() {
   if ( !atHeading ) {
      print ".PP"
   }
   atHeading = 0
}

function flush() {
   if ( text != "" ) {
      print inline( text )
   }
   text = ""
}

function endList() {
   flush()
   inList = 0
}

function heading( level, words ) {
   endList()
   header = 0
   if ( level == 2 ) {
      skipping = words == skip && skip != ""
   }
   if ( !skipping ) {
      print ( level == 2 ? ".SH " toupper( escaped( words ) ) : ".SS " inline( words ) )
      atHeading = 1
   }
}

# The cells of a row; "\|" is none of its dividers.
function cellsOf( line, cells,    count, i ) {
   gsub( /\\\|/, "\001", line )
   sub( /^ *\| */, "", line )
   sub( / *\| *$/, "", line )
   count = split( line, cells, / *\| */ )
   for ( i = 1; i <= count; ++i ) {
      gsub( /\001/, "|", cells[ i ] )
   }
   return count
}

# What the first cell names has the others below it.
function row( line,    cells, count, i, first ) {
   if ( !header ) {
      endList()
      header = cellsOf( line, headers )
      return
   }
   if ( line ~ /^[ |:-]+$/ ) {
      return
   }
   count = cellsOf( line, cells )
   print ".TP"
   atHeading = 0
   print inline( cells[ 1 ] )
   first = 1
   for ( i = 2; i <= count; ++i ) {
      if ( cells[ i ] != "" ) {
         if ( !first ) {
            print ".br"
         }
         print inline( ( i == 2 ? "" : headers[ i ] ": " ) cells[ i ] )
         first = 0
      }
   }
   if ( first ) {
      print "\\&"
   }
}

function fence() {
   if ( inBlock ) {
      show( ".EE\n.RE" )
   } else if ( !skipping ) {
      endList()
      header = 0
      paragraph()
      show( ".RS 4\n.EX" )
   }
   inBlock = !inBlock
}

function show( lines ) {
   if ( !skipping ) {
      print lines
   }
}

function item( words ) {
   flush()
   print ".IP \\(bu 2"
   atHeading = 0
   inList = 1
   text = words
}

function take( line ) {
   if ( line ~ /^```/ ) {
      fence()
   } else if ( inBlock ) {
      show( guarded( typed( line ) ) )
   } else if ( line ~ /^## / ) {
      heading( 2, substr( line, 4 ) )
   } else if ( skipping || line ~ /^# / || line ~ /^!\[/ ) {
      return
   } else if ( line ~ /^### / ) {
      heading( 3, substr( line, 5 ) )
   } else if ( line ~ /^ *\|/ ) {
      row( line )
   } else if ( isSpace( line ) ) {
      flush()
      header = 0
   } else if ( line ~ /^- / ) {
      item( substr( line, 3 ) )
   } else if ( line == "<!-- commands -->" ) {
      insert()
   } else {
      words( line )
   }
}

function words( line ) {
   if ( text == "" && !( inList && line ~ /^ / ) ) {
      inList = 0
      paragraph()
   }
   sub( /^ */, "", line )
   text = text ( text == "" ? "" : " " ) line
}

function insert(    line, got ) {
   if ( commands == "" ) {
      fail( "no file is given for the commands" )
   }
   while ( ( got = ( getline line <commands ) ) > 0 ) {
      take( line )
   }
   if ( got < 0 ) {
      fail( "cannot read " commands )
   }
}

BEGIN {
   printf ".TH %s %s %s \"ostra %s\"\n", toupper( name ), section, date, version
   print ".ad l"
   print ".SH NAME"
   print name " \\- " summary
   if ( section != 1 ) {
      heading( 2, "Description" )
   }
}

{
   take( $0 )
}

END {
   if ( failed ) {
      exit 1
   }
   endList()
   if ( also != "" ) {
      heading( 2, "See also" )
      print also
   }
}
