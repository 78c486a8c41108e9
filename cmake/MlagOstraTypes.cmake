# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# State types from schemas, for projects that use the package.

# Sets <out> to a Python that has what the generator needs: the first in the path may be one
# that does not see the system's packages.
function( mlagostra_python out )
   foreach( python ${Python3_EXECUTABLE} python3 /usr/bin/python3 )
      execute_process( COMMAND ${python} -c "import jinja2, yaml"
         RESULT_VARIABLE status OUTPUT_QUIET ERROR_QUIET )
      if( status EQUAL 0 )
         set( ${out} ${python} PARENT_SCOPE )
         return()
      endif()
   endforeach()
   message( FATAL_ERROR "mlagostra_types: Python with PyYAML and Jinja2 is needed "
      "(Debian: apt-get install python3-yaml python3-jinja2)" )
endfunction()

# mlagostra_types( <target> <schema>... [USES <schema>...] ): adds to a target the C++ of the
# types that the schemas declare. They may name each other's types, those of this package, and
# those of the schemas behind USES, which another target has. Headers are included as
# <Namespace/Type>. Called once for a target; written again when a schema changes.
function( mlagostra_types target )
   cmake_parse_arguments( PARSE_ARGV 1 arg "" "" USES )
   if( NOT arg_UNPARSED_ARGUMENTS )
      message( FATAL_ERROR "mlagostra_types( ${target} ): a schema is expected" )
   endif()
   set( output ${CMAKE_CURRENT_BINARY_DIR}/mlagostra-types/${target} )
   get_target_property( there ${target} MLAGOSTRA_TYPES )
   if( there )
      message( FATAL_ERROR
         "mlagostra_types( ${target} ): is called a second time: name all schemas in one call" )
   endif()
   set_property( TARGET ${target} PROPERTY MLAGOSTRA_TYPES ${output} )
   mlagostra_python( python )
   file( GLOB generator ${MLAGOSTRA_TYPES_DIR}/generator/* )
   file( GLOB known ${MLAGOSTRA_TYPES_DIR}/*.yaml )
   file( GLOB machines ${MLAGOSTRA_TYPES_DIR}/machines/*.yaml )
   foreach( list arg_UNPARSED_ARGUMENTS arg_USES )
      foreach( schema IN LISTS ${list} )
         cmake_path( ABSOLUTE_PATH schema BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE )
         list( APPEND ${list}_paths ${schema} )
      endforeach()
   endforeach()
   set( schemas ${arg_UNPARSED_ARGUMENTS_paths} )
   set( used ${known} ${arg_USES_paths} )
   list( TRANSFORM used PREPEND "--uses=" OUTPUT_VARIABLE uses )
   # The namespaces of the plug-in's machines are taken.
   list( TRANSFORM machines PREPEND "--beside=" OUTPUT_VARIABLE beside )
   set( command ${python} ${MLAGOSTRA_TYPES_DIR}/generator/mlagostra-types
      --output ${output} ${uses} ${beside} ${schemas} )

   # What is in a schema decides which files there are.
   set_property( DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${schemas} ${used} )
   execute_process( COMMAND ${command} --list
      OUTPUT_VARIABLE files ERROR_VARIABLE error RESULT_VARIABLE status )
   if( NOT status EQUAL 0 )
      string( STRIP "${error}" error )
      # Indented, so that a line stays one.
      message( FATAL_ERROR "mlagostra_types( ${target} ):\n  ${error}" )
   endif()
   string( STRIP "${files}" files )
   string( REPLACE "\n" ";" files "${files}" )

   # Files that stay as they are keep their times: what was compiled from them stays, too.
   # Not the name of a namespace, which could be a directory here.
   set( done ${output}/.done )
   add_custom_command( OUTPUT ${done} BYPRODUCTS ${files}
      COMMAND ${command}
      COMMAND ${CMAKE_COMMAND} -E touch ${done}
      DEPENDS ${schemas} ${used} ${generator}
      COMMENT "Writing the state types of ${target}"
      VERBATIM )
   target_sources( ${target} PRIVATE ${done} ${files} )
   target_include_directories( ${target} PUBLIC $<BUILD_INTERFACE:${output}> )
   target_link_libraries( ${target} PUBLIC MlagOstra::RyxTypes )
endfunction()
