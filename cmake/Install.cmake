# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# What `cmake --install` puts where, and how other projects find it again.

include( CMakePackageConfigHelpers )
include( GNUInstallDirs )

# The component Runtime is what it takes to run: the program, the libraries and the plug-in.
# Development is what is needed beside it to build against them.
set( mlagostra_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/MlagOstra )

# What was built for one minor version does not work with another: the libraries' SONAMEs,
# the package's version file and Ryx::isCompatible say the same.
set( mlagostra_soversion ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR} )
set( mlagostra_compatibility SameMinorVersion )

# Sets <out> to the way from one installed directory to another.
function( mlagostra_relative out from to )
   file( RELATIVE_PATH way "${from}" "${to}" )
   string( REGEX REPLACE "/$" "" way "${way}" )
   set( ${out} "${way}" PARENT_SCOPE )
endfunction()

# Where an installed target looks for our libraries: <way> from its own directory, so that
# an installed tree can be moved, too. Another CMAKE_INSTALL_RPATH holds instead.
function( mlagostra_run_path target way )
   if( NOT DEFINED CMAKE_INSTALL_RPATH )
      set_target_properties( ${target} PROPERTIES INSTALL_RPATH "\$ORIGIN${way}" )
   endif()
endfunction()

# Headers have no extension: everything without a dot in its name is one. Those named behind
# the directory are for its sources alone and stay here.
function( mlagostra_install_headers dir )
   set( private )
   foreach( name IN LISTS ARGN )
      list( APPEND private PATTERN ${name} EXCLUDE )
   endforeach()
   install( DIRECTORY ${dir} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
      COMPONENT Development
      FILES_MATCHING REGEX "/[^./]+$" ${private} )
endfunction()

# Sets <out> to an installation directory as a pkg-config file gives it.
function( mlagostra_pkgconfig_path out directory )
   if( IS_ABSOLUTE ${directory} )
      set( ${out} ${directory} PARENT_SCOPE )
   else()
      set( ${out} "\${prefix}/${directory}" PARENT_SCOPE )
   endif()
endfunction()

# Writes and installs the pkg-config file of a library, which requires the packages in
# <requires> and passes <link_flags> to the linker.
function( mlagostra_install_pkgconfig name description requires link_flags )
   mlagostra_relative( prefix
      ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX} )
   mlagostra_pkgconfig_path( libdir ${CMAKE_INSTALL_LIBDIR} )
   mlagostra_pkgconfig_path( includedir ${CMAKE_INSTALL_INCLUDEDIR} )
   configure_file( ${PROJECT_SOURCE_DIR}/cmake/library.pc.in
      ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc @ONLY )
   install( FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc
      DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT Development )
endfunction()

# Installs a library with its alias, its place in the CMake package and its pkg-config
# file. <namelink> is the component of its name without a version: Development for what is
# only linked, Runtime for what is loaded by that name.
function( mlagostra_install_library name description requires namelink )
   add_library( MlagOstra::${name} ALIAS ${name} )
   set_target_properties( ${name} PROPERTIES
      VERSION ${PROJECT_VERSION} SOVERSION ${mlagostra_soversion} )
   target_include_directories( ${name} INTERFACE
      $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}> )
   mlagostra_run_path( ${name} "" )
   install( TARGETS ${name} EXPORT MlagOstraTargets
      LIBRARY COMPONENT Runtime NAMELINK_COMPONENT ${namelink} )
   mlagostra_install_printers( ${name} )
   list( JOIN ARGN " " link_flags )
   mlagostra_install_pkgconfig( ${name} ${description} "${requires}" "${link_flags}" )
endfunction()

# What gdb loads by itself when it sees the library: it looks under the library's own path,
# which is known when it is installed. What is loaded is the same for all libraries.
function( mlagostra_install_printers library )
   if( IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR} )
      set( libdir ${CMAKE_INSTALL_LIBDIR} )
   else()
      set( libdir "\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}" )
   endif()
   set( script ${CMAKE_CURRENT_BINARY_DIR}/${library}-gdb.py )
   configure_file( ${PROJECT_SOURCE_DIR}/gdb/auto-load.py.in ${script} @ONLY )
   install( FILES ${script} COMPONENT Development
      DESTINATION "${CMAKE_INSTALL_DATADIR}/gdb/auto-load${libdir}"
      RENAME lib${library}.so.${PROJECT_VERSION}-gdb.py )
endfunction()

function( mlagostra_install_program name )
   mlagostra_relative( way ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR} )
   mlagostra_run_path( ${name} "/${way}" )
   install( TARGETS ${name} RUNTIME COMPONENT Runtime )
endfunction()

# The live host as a service. Its configuration is the administrator's: an example of one goes
# to the documentation. systemd looks in lib, whatever the libraries' directory is.
function( mlagostra_install_service )
   configure_file( ${PROJECT_SOURCE_DIR}/systemd/ostra.service.in
      ${PROJECT_BINARY_DIR}/ostra.service @ONLY )
   install( FILES ${PROJECT_BINARY_DIR}/ostra.service
      DESTINATION lib/systemd/system COMPONENT Runtime )
   install( FILES systemd/ostra.sysusers
      DESTINATION lib/sysusers.d RENAME ostra.conf COMPONENT Runtime )
   # iproute2 looks in /etc: packagers set CMAKE_INSTALL_SYSCONFDIR to that.
   install( FILES systemd/ostra.protodown
      DESTINATION ${CMAKE_INSTALL_SYSCONFDIR}/iproute2/protodown_reasons.d
      RENAME ostra.conf COMPONENT Runtime )
   install( FILES systemd/ostra.yaml
      DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT Runtime )
endfunction()

# Installs documents side by side, with links that lead to what is installed. A document that is
# not there is named without a link: operators do not have those for developers.
function( mlagostra_install_documents component )
   mlagostra_relative( examples
      ${CMAKE_INSTALL_FULL_DOCDIR} ${CMAKE_INSTALL_FULL_DATADIR}/mlagostra/examples )
   set( absent "(CONTRIBUTING|README|release)\\.md" )
   if( component STREQUAL Runtime )
      set( absent "(CONTRIBUTING|README|debug|extend|host|release|types)\\.md" )
   endif()
   foreach( document IN LISTS ARGN )
      set_property( DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${document} )
      file( READ ${document} text )
      string( REPLACE "](../examples" "](${examples}" text "${text}" )
      string( REPLACE "](../systemd/" "](" text "${text}" )
      string( REPLACE "](docs/" "](" text "${text}" )
      string( REGEX REPLACE "\\[([^]\n]+)\\]\\(${absent}[^)\n]*\\)" "\\1" text "${text}" )
      cmake_path( GET document FILENAME name )
      file( WRITE ${PROJECT_BINARY_DIR}/documents/${name} "${text}" )
      install( FILES ${PROJECT_BINARY_DIR}/documents/${name}
         DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT ${component} )
   endforeach()
endfunction()

# Where the shells look for how a command is completed.
function( mlagostra_install_completion )
   set( scripts ${PROJECT_SOURCE_DIR}/host/cli/completion )
   install( FILES ${scripts}/ostra.bash
      DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
      RENAME ostra COMPONENT Runtime )
   install( FILES ${scripts}/ostra.zsh
      DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions
      RENAME _ostra COMPONENT Runtime )
   install( FILES ${scripts}/ostra.fish
      DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT Runtime )
endfunction()

function( mlagostra_install_package )
   install( EXPORT MlagOstraTargets NAMESPACE MlagOstra::
      DESTINATION ${mlagostra_package_dir} COMPONENT Development )
   set( mlagostra_types_dir ${CMAKE_INSTALL_DATADIR}/mlagostra/types )
   configure_package_config_file( cmake/MlagOstraConfig.cmake.in
      ${PROJECT_BINARY_DIR}/MlagOstraConfig.cmake
      INSTALL_DESTINATION ${mlagostra_package_dir}
      PATH_VARS mlagostra_types_dir )
   write_basic_package_version_file( ${PROJECT_BINARY_DIR}/MlagOstraConfigVersion.cmake
      COMPATIBILITY ${mlagostra_compatibility} )
   install( FILES
      ${PROJECT_BINARY_DIR}/MlagOstraConfig.cmake
      ${PROJECT_BINARY_DIR}/MlagOstraConfigVersion.cmake
      cmake/MlagOstraTypes.cmake
      DESTINATION ${mlagostra_package_dir} COMPONENT Development )
   # What mlagostra_types() needs.
   file( GLOB schemas CONFIGURE_DEPENDS types/*.yaml )
   install( FILES ${schemas} DESTINATION ${mlagostra_types_dir} COMPONENT Development )
   # An example of a machine, of which mlagostra_types() takes no more than its namespace.
   install( FILES src-includes/Mlag/MlagErrdisableSm.yaml
      DESTINATION ${mlagostra_types_dir}/machines COMPONENT Development )
   install( DIRECTORY types/generator DESTINATION ${mlagostra_types_dir}
      COMPONENT Development USE_SOURCE_PERMISSIONS PATTERN generate EXCLUDE )
   install( DIRECTORY gdb/ DESTINATION ${CMAKE_INSTALL_DATADIR}/mlagostra/gdb
      COMPONENT Development FILES_MATCHING PATTERN *.py PATTERN __pycache__ EXCLUDE )
   install( DIRECTORY examples
      DESTINATION ${CMAKE_INSTALL_DATADIR}/mlagostra COMPONENT Runtime USE_SOURCE_PERMISSIONS )
   mlagostra_install_service()
   mlagostra_install_completion()
   mlagostra_install_documents( Runtime
      THIRD-PARTY.md CHANGELOG.md SECURITY.md docs/configuration.md docs/operation.md
      docs/scenario.md docs/serve.md )
   mlagostra_install_documents( Development
      docs/debug.md docs/extend.md docs/host.md docs/types.md )
   install( FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT Runtime )
   install( DIRECTORY docs/pictures DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT Runtime )
   install( FILES docs/example/host.cpp
      DESTINATION ${CMAKE_INSTALL_DOCDIR}/example COMPONENT Development )
   mlagostra_uninstall()
endfunction()

# The target that takes away what `cmake --install` has put below the configured prefix.
function( mlagostra_uninstall )
   add_custom_target( uninstall
      COMMAND ${CMAKE_COMMAND} -D BUILD=${PROJECT_BINARY_DIR} -D PREFIX=${CMAKE_INSTALL_PREFIX}
         -P ${PROJECT_SOURCE_DIR}/cmake/uninstall.cmake
      VERBATIM )
endfunction()
