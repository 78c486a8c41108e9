# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

cmake_minimum_required( VERSION 3.24 )

# Puts the page together and writes it as a source:
# cmake -D SOURCES=directory -D OUTPUT=source.cpp -P assemble.cmake

# In this order, each after those that it imports.
set( modules model names layout story words alarms parts records host livestory live stream recorded
   compare summary faceplate timeline tables plate detail whatif body livepage runpage
   comparepage app )

# What is read by a script of CMake keeps its brackets and semicolons only within quotes.
macro( read name file )
   file( READ "${SOURCES}/${file}" ${name} )
endmacro()

# "sha256-" and the digest in base64, as a content security policy has it.
function( hash_source name text )
   string( SHA256 hex "${text}" )
   set( digits ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/ )
   string( APPEND hex "00" )
   set( encoded "" )
   foreach( at RANGE 0 60 6 )
      string( SUBSTRING "${hex}" ${at} 6 group )
      math( EXPR bits "0x${group}" )
      foreach( shift 18 12 6 0 )
         math( EXPR index "( ${bits} >> ${shift} ) & 63" )
         string( SUBSTRING ${digits} ${index} 1 digit )
         string( APPEND encoded "${digit}" )
      endforeach()
   endforeach()
   # 32 bytes are ten groups of three and two bytes.
   string( SUBSTRING "${encoded}" 0 43 encoded )
   set( ${name} "'sha256-${encoded}='" PARENT_SCOPE )
endfunction()

# The modules become one script: without imports, and what is exported is in the same scope.
read( script vendor/htm-preact.js )
string( APPEND script "\n( () => {\n'use strict';\n" )
set( names "" )
foreach( module ${modules} )
   read( text ${module}.js )
   string( REPLACE "\r" "" text "${text}" )
   # In one scope the second of two that are called the same would silently be both.
   string( REGEX MATCHALL "\n(export )?(async )?(function|class|const|let) [A-Za-z0-9_]+"
      declarations "${text}" )
   foreach( declaration IN LISTS declarations )
      string( REGEX REPLACE ".* " "" name "${declaration}" )
      if( name IN_LIST names )
         message( FATAL_ERROR "${module}.js: ${name} is the name of something in another module" )
      endif()
      list( APPEND names ${name} )
   endforeach()
   string( REGEX REPLACE "(^|\n)import [^\n]*;" "\\1" text "${text}" )
   if( text MATCHES "(^|\n)import " )
      message( FATAL_ERROR "${module}.js: an import is longer than a line" )
   endif()
   if( text MATCHES "\\*\\*/" )
      message( FATAL_ERROR "${module}.js: a comment ends with more than one asterisk" )
   endif()
   string( REGEX REPLACE "(^|\n)export " "\\1" text "${text}" )
   # Types are for people and tools that read the sources.
   string( REGEX REPLACE "\n *//[^\n]*" "" text "${text}" )
   string( REGEX REPLACE "/\\*\\*([^*]|\\*[^/])*\\*/" "" text "${text}" )
   string( REGEX REPLACE "\n[ \n]+" "\n" text "${text}" )
   string( APPEND script "${text}" )
endforeach()
string( APPEND script "\n} )();\n" )
if( script MATCHES "</script|<!--" )
   message( FATAL_ERROR "the script has what would end it in HTML" )
endif()
read( style page.css )
string( REPLACE "\r" "" style "${style}" )

hash_source( scriptHash "${script}" )
hash_source( styleHash "${style}" )
string( CONCAT policy "default-src 'none'; script-src ${scriptHash}; style-src ${styleHash}; "
   "img-src data:; connect-src 'self'; base-uri 'none'; form-action 'none'" )

read( page page.html )
string( REPLACE "@POLICY@" "${policy}" page "${page}" )
string( REPLACE "@STYLE@" "${style}" page "${page}" )
string( REPLACE "@SCRIPT@" "${script}" page "${page}" )
string( FIND "${page}" "@RECORDS@" length )
string( SUBSTRING "${page}" 0 ${length} head )
string( LENGTH "@RECORDS@" behind )
math( EXPR behind "${length} + ${behind}" )
string( SUBSTRING "${page}" ${behind} -1 tail )

# As an array of bytes.
function( bytes_of name text )
   string( HEX "${text}" bytes )
   string( REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}" )
   string( REPEAT "." 60 line )
   string( REGEX REPLACE "(${line})" "\\1\n   " bytes "${bytes}" )
   set( ${name} "${bytes}" PARENT_SCOPE )
endfunction()
bytes_of( headBytes "${head}" )
bytes_of( tailBytes "${tail}" )

file( WRITE ${OUTPUT}
"#include <host/web/Page>

namespace ostra::page {

namespace {

constexpr unsigned char headBytes[] = {
   ${headBytes}
};

constexpr unsigned char tailBytes[] = {
   ${tailBytes}
};

} // namespace

std::string_view
head() {
   return { reinterpret_cast< char const* >( headBytes ), sizeof headBytes };
}

std::string_view
tail() {
   return { reinterpret_cast< char const* >( tailBytes ), sizeof tailBytes };
}

std::string_view
contentSecurityPolicy() {
   return \"${policy}; frame-ancestors 'none'\";
}

} // namespace ostra::page
" )
