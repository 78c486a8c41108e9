# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# Takes away what `cmake --install BUILD --prefix PREFIX` puts in place, and the directories that
# are empty then. It installs once more into a directory of its own to learn what that is: the
# list that an installation leaves behind tells of the last one alone, wherever that went.
#
#    cmake -D BUILD=build -D PREFIX=/usr/local -P cmake/uninstall.cmake
#
# DESTDIR stands before all paths, as it does for an installation.

cmake_minimum_required( VERSION 3.24 )

foreach( name BUILD PREFIX )
   if( NOT ${name} )
      message( FATAL_ERROR "${name} is not given" )
   endif()
endforeach()
get_filename_component( build "${BUILD}" ABSOLUTE )
get_filename_component( prefix "${PREFIX}" ABSOLUTE )

string( RANDOM LENGTH 8 name )
set( trial "${build}/uninstall.${name}" )
execute_process(
   COMMAND ${CMAKE_COMMAND} -E env "DESTDIR=${trial}"
      ${CMAKE_COMMAND} --install "${build}" --prefix "${prefix}"
   OUTPUT_QUIET
   RESULT_VARIABLE status )
file( GLOB_RECURSE files RELATIVE "${trial}" "${trial}/*" )
file( REMOVE_RECURSE "${trial}" )
if( NOT status EQUAL 0 )
   message( FATAL_ERROR "cannot tell what is installed: ${status}" )
endif()

set( removed 0 )
foreach( file IN LISTS files )
   set( path "/${file}" )
   if( EXISTS "$ENV{DESTDIR}${path}" OR IS_SYMLINK "$ENV{DESTDIR}${path}" )
      file( REMOVE "$ENV{DESTDIR}${path}" )
      math( EXPR removed "${removed} + 1" )
   endif()
   # Upwards to the directories of the prefix, which are everybody's.
   while( TRUE )
      cmake_path( GET path PARENT_PATH path )
      cmake_path( GET path PARENT_PATH parent )
      cmake_path( IS_PREFIX prefix "${parent}" is_inside )
      file( GLOB rest "$ENV{DESTDIR}${path}/*" "$ENV{DESTDIR}${path}/.*" )
      if( parent STREQUAL prefix OR NOT is_inside OR rest )
         break()
      endif()
      file( REMOVE_RECURSE "$ENV{DESTDIR}${path}" )
   endwhile()
endforeach()
message( STATUS "${removed} files removed from $ENV{DESTDIR}${prefix}" )
