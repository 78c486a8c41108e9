# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# How everything of this project is compiled and where it lands.

if( NOT CMAKE_BUILD_TYPE )
   set( CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Kind of build" FORCE )
endif()
find_program( CCACHE ccache )
if( CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER )
   set( CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE} )
endif()

if( NOT DEFINED CMAKE_CXX_STANDARD )
   set( CMAKE_CXX_STANDARD 20 )
endif()
set( CMAKE_CXX_STANDARD_REQUIRED ON )
set( CMAKE_CXX_EXTENSIONS OFF )
set( CMAKE_POSITION_INDEPENDENT_CODE ON )
set( CMAKE_EXPORT_COMPILE_COMMANDS ON )

# Programs and libraries find each other by where they stand: a build tree can be moved, and
# what is in it does not depend on where it will be installed.
set( CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin )
set( CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib )
set( CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib )
set( CMAKE_BUILD_RPATH_USE_ORIGIN ON )

# Nor does it say where it was built. A debugger that is started in the project's directory
# finds the sources.
add_compile_options(
   "-fdebug-prefix-map=${PROJECT_SOURCE_DIR}=." "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=" )
cmake_path( IS_PREFIX PROJECT_SOURCE_DIR ${PROJECT_BINARY_DIR} NORMALIZE within )
if( NOT within )
   add_compile_options( "-fdebug-prefix-map=${PROJECT_BINARY_DIR}=." )
endif()

# Wake-up times are compared as doubles: no machine may round them differently.
add_compile_options( -ffp-contract=off )
# What a library exports may be put into its own callers, as clang++ does anyway.
add_compile_options( $<$<CXX_COMPILER_ID:GNU>:-fno-semantic-interposition> )
add_compile_options( -Wall -Wextra -Wshadow -Wconversion -Wnon-virtual-dtor )
if( MLAGOSTRA_WERROR )
   add_compile_options( -Werror )
endif()
# Headers whose types have unnamed parts are no mistake when several sources are one.
if( CMAKE_UNITY_BUILD )
   add_compile_options( $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage> )
endif()
# Part of the language since C++14, which clang leaves off by default up to version 18.
add_compile_options( $<$<CXX_COMPILER_ID:Clang>:-fsized-deallocation> )
# A library that needs what it does not link is caught here. The sanitizers' runtime is in
# the executable alone, so their libraries cannot be complete.
if( NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize" )
   add_link_options( $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,SHARED_LIBRARY>:LINKER:-z,defs> )
endif()

# Sets <out> to the sources that match the patterns, relative to the calling directory.
# Globbing is deliberate: a source beside its header is part of its library by standing
# there, and CONFIGURE_DEPENDS looks again at every build, so nothing is listed twice.
function( mlagostra_sources out )
   list( TRANSFORM ARGN PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/ )
   file( GLOB sources CONFIGURE_DEPENDS ${ARGN} )
   if( NOT sources )
      message( FATAL_ERROR "no source matches ${ARGN}" )
   endif()
   set( ${out} ${sources} PARENT_SCOPE )
endfunction()

# Compiles a few sources of a folder at once: most of a source's compilation is what it
# includes. Names in unnamed namespaces need to differ within a folder.
function( mlagostra_compile_together target group_size )
   get_target_property( sources ${target} SOURCES )
   foreach( source ${sources} )
      cmake_path( GET source PARENT_PATH folder )
      cmake_path( GET folder FILENAME group )
      math( EXPR part "${count_${group}}+0" )
      math( EXPR count_${group} "${part}+1" )
      math( EXPR part "${part}/${group_size}" )
      set_property( SOURCE ${source} PROPERTY UNITY_GROUP ${group}_${part} )
   endforeach()
   set_target_properties( ${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP )
   target_compile_options( ${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage> )
endfunction()
