# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# The manual pages. Each is made of a document; of ostra(1) the commands are what the program
# itself says of them, so that the page and `--help` cannot differ.

set( mlagostra_manual ${PROJECT_BINARY_DIR}/manual )

# Sets <out> to the day on which this version was released.
function( mlagostra_release_date out )
   set_property( DIRECTORY APPEND PROPERTY
      CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/CHANGELOG.md )
   file( STRINGS ${PROJECT_SOURCE_DIR}/CHANGELOG.md heading
      REGEX "^## \\[${PROJECT_VERSION}\\] - " )
   string( REGEX REPLACE "^.* - " "" date "${heading}" )
   set( ${out} "${date}" PARENT_SCOPE )
endfunction()

# Makes and installs <name>(<section>) of a document. What follows is for manual.awk.
function( mlagostra_manual_page name section document summary )
   set( page ${mlagostra_manual}/${name}.${section} )
   set( script ${PROJECT_SOURCE_DIR}/cmake/manual.awk )
   set( settings )
   foreach( setting IN LISTS ARGN )
      list( APPEND settings -v ${setting} )
   endforeach()
   mlagostra_release_date( date )
   add_custom_command( OUTPUT ${page}
      COMMAND ${MLAGOSTRA_AWK} -v name=${name} -v section=${section} -v summary=${summary}
         -v version=${PROJECT_VERSION} -v date=${date} ${settings}
         -f ${script} ${PROJECT_SOURCE_DIR}/${document} > ${page}
      DEPENDS ${script} ${PROJECT_SOURCE_DIR}/${document} ${mlagostra_manual}/commands.md
      VERBATIM )
   install( FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT Runtime )
   set( mlagostra_pages ${mlagostra_pages} ${page} PARENT_SCOPE )
endfunction()

function( mlagostra_install_manual )
   # The program is asked for its commands, which another machine's cannot be.
   if( CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR )
      message( STATUS "no manual pages: ostra cannot be run here" )
      return()
   endif()
   find_program( MLAGOSTRA_AWK NAMES awk REQUIRED )
   file( MAKE_DIRECTORY ${mlagostra_manual} )
   add_custom_command( OUTPUT ${mlagostra_manual}/commands.md
      COMMAND ostra reference > ${mlagostra_manual}/commands.md
      DEPENDS ostra
      VERBATIM )
   mlagostra_manual_page( ostra 1 docs/man/ostra.md
      "hold a switch's ports after a reload until its MLAG peer is ready"
      commands=${mlagostra_manual}/commands.md
      "also=ostra-scenario(5), ostra.yaml(5)" )
   mlagostra_manual_page( ostra-scenario 5 docs/scenario.md
      "scenarios for ostra, and the event stream of a run"
      skip=Commands
      "also=ostra(1), ostra.yaml(5)" )
   mlagostra_manual_page( ostra.yaml 5 docs/configuration.md
      "configuration of a live switch"
      "also=ostra(1), ostra-scenario(5)" )
   add_custom_target( manual ALL DEPENDS ${mlagostra_pages} )
endfunction()
