# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# Reads remaining.txt and then what llvm-cov shows of the sources. Prints what is not
# covered and a table of the directories.

function trimmed( text ) {
   gsub( /^[ \t]+|[ \t]+$/, "", text )
   return text
}

function directory( file ) {
   sub( /\/.*/, "", file )
   return file
}

# One thing that is not covered: a line, or the side of a branch that is never taken.
function missed( kind, file, line, column,    key ) {
   key = file "\t" kind "\t" text[ file, line ]
   used[ key ] = 1
   if ( !( key in explained ) ) {
      printf "%-6s %s:%s%s\n       %s\n", kind, file, line, column, text[ file, line ]
      failed += kind != "line"
   }
}

function row( name, linesHit, lines, sidesHit, sides ) {
   printf "%-14s %6d of %6d lines %6.1f %%   %6d of %6d sides of branches %6.1f %%\n", name,
      linesHit, lines, lines ? 100 * linesHit / lines : 100,
      sidesHit, sides, sides ? 100 * sidesHit / sides : 100
}

FNR == 1 {
   input++
}

# A file's name, and for each thing that remains its kind, the line's text and the reason. What
# some runs come by, and others do not, begins with "chance".
input == 1 && /^(Ryx|types|OstraMlag|src-includes)\// { file = $0; next }
input == 1 && /^(chance )?(line|true|false) / {
   byChance = sub( /^chance /, "" )
   kind = $1
   sub( /^[a-z]+ +/, "" )
   key = file "\t" kind "\t" $0
   explained[ key ] = 1
   if ( byChance ) {
      chances[ key ] = file "\t" $0
   }
   next
}
input == 1 { next }

index( $0, root ) == 1 && /:$/ {
   file = substr( $0, length( root ) + 1, length( $0 ) - length( root ) - 1 )
   next
}

# 12|  34|text
/^ *[0-9]+\|/ {
   split( $0, column, "|" )
   line = column[ 1 ] + 0
   rest = $0
   sub( /^[^|]*\|[^|]*\|/, "", rest )
   text[ file, line ] = trimmed( rest )
   exists[ file "\t" text[ file, line ] ] = 1
   count = trimmed( column[ 2 ] )
   if ( count != "" && !( ( file, line ) in seen ) ) {
      seen[ file, line ] = 1
      lines[ directory( file ) ]++
      if ( count == "0" ) {
         lost[ ++losses ] = "line\t" file "\t" line "\t"
      } else {
         hit[ directory( file ) ]++
      }
   }
   next
}

# |  Branch (12:7): [True: 3, False: 0]
# The counts of a comparison that the compiler writes are not those of its results.
/Branch \([0-9]+:[0-9]+\): \[True:/ {
   match( $0, /\([0-9]+:[0-9]+\)/ )
   place = substr( $0, RSTART + 1, RLENGTH - 2 )
   match( $0, /True: [^,]*/ )
   taken = substr( $0, RSTART + 6, RLENGTH - 6 )
   match( $0, /False: [^\]]*/ )
   passed = substr( $0, RSTART + 7, RLENGTH - 7 )
   split( place, position, ":" )
   if ( text[ file, position[ 1 ] ] ~ /= default;$/ ) {
      next
   }
   key = file "\t" place
   if ( !( key in known ) ) {
      known[ key ] = ++branches
      branch[ branches ] = key
   }
   yes[ key ] = yes[ key ] || taken != "0"
   no[ key ] = no[ key ] || passed != "0"
}

END {
   for ( i = 1; i <= branches; i++ ) {
      split( branch[ i ], part, "\t" )
      split( part[ 2 ], position, ":" )
      name = directory( part[ 1 ] )
      sides[ name ] += 2
      sidesHit[ name ] += yes[ branch[ i ] ] + no[ branch[ i ] ]
      at = "\t" part[ 1 ] "\t" position[ 1 ] "\t:" position[ 2 ]
      if ( !yes[ branch[ i ] ] ) {
         lost[ ++losses ] = "true" at
      }
      if ( !no[ branch[ i ] ] ) {
         lost[ ++losses ] = "false" at
      }
   }
   for ( i = 1; i <= losses; i++ ) {
      split( lost[ i ], part, "\t" )
      missed( part[ 1 ], part[ 2 ], part[ 3 ], part[ 4 ] )
   }
   for ( key in explained ) {
      if ( !( key in used ) && !( key in chances && chances[ key ] in exists ) ) {
         print "covered or gone, but explained: " key
         failed = 1
      }
   }
   for ( name in lines ) {
      row( name, hit[ name ], lines[ name ], sidesHit[ name ], sides[ name ] )
      allHit += hit[ name ]
      allLines += lines[ name ]
      allSidesHit += sidesHit[ name ]
      allSides += sides[ name ]
   }
   row( "together", allHit, allLines, allSidesHit, allSides )
   exit failed > 0
}
