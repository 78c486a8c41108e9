# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# Reads survivors.txt, then all mutants, the results, and the mutants that were tried.
# Prints the survivors and the totals; the exit status says whether that is good enough.

function problem( text ) {
   print "PROBLEM   " text
   failed = 1
}

BEGIN {
   FS = "\t"
}

FNR == 1 {
   input++
}

# Blocks of a file, the text before and the text after, then the explanation.
input == 1 && /^(src-includes|OstraMlag)\// { file = $0; next }
input == 1 && /^- / { before = substr( $0, 3 ); next }
input == 1 && /^\+/ {
   explained[ file FS before FS substr( $0, 3 ) ] = 1
   next
}
input == 1 { next }

input == 2 {
   known[ $2 FS $6 FS $7 ] = 1
   next
}

input == 3 {
   result[ $1 ] = $2
   next
}

{
   if ( !( $1 in result ) ) {
      problem( "not tried: " $4 )
      next
   }
   outcome = result[ $1 ]
   count[ outcome ]++
   key = $2 FS $6 FS $7
   if ( outcome == "survived" ) {
      print "survived  " $4 ( key in explained ? "  (explained)" : "" )
      print "   - " $6
      print "   + " $7
      unexplained += !( key in explained )
   } else if ( key in explained ) {
      problem( "explained as a survivor, but " outcome ": " $4 "  " $7 )
   }
}

END {
   for ( key in explained ) {
      if ( !( key in known ) ) {
         problem( "no such mutant: " key )
      }
   }
   killed = count[ "killed" ] + count[ "hung" ]
   total = killed + count[ "survived" ]
   if ( unexplained > 0 ) {
      problem( unexplained " survivors without an explanation" )
   }
   share = total > 0 ? 100 * killed / total : 0
   printf "%d mutants: %d killed (%d of them hung), %d survived; %d more did not compile\n",
      total, killed, count[ "hung" ], count[ "survived" ], count[ "invalid" ]
   printf "%.1f %% killed\n", share
   if ( share < 95 ) {
      problem( "at least 95 % are wanted" )
   }
   exit failed
}
