# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# What `cmake --install` puts where, and how other projects find it again.

include( CMakePackageConfigHelpers )

set( mlagostra_package_dir lib/cmake/MlagOstra )

# Headers have no extension: everything without a dot in its name is one. Those named behind
# the directory are for its sources alone and stay here.
function( mlagostra_install_headers dir )
   set( private )
   foreach( name IN LISTS ARGN )
      list( APPEND private PATTERN ${name} EXCLUDE )
   endforeach()
   install( DIRECTORY ${dir} DESTINATION include
      FILES_MATCHING REGEX "/[^./]+$" ${private} )
endfunction()

# Installs a library with its alias, its place in the CMake package and its pkg-config
# file, which requires the packages in <requires> and passes the flags given to the linker.
function( mlagostra_install_library name description requires )
   add_library( MlagOstra::${name} ALIAS ${name} )
   target_include_directories( ${name} INTERFACE
      $<INSTALL_INTERFACE:include> )
   install( TARGETS ${name} EXPORT MlagOstraTargets )
   list( JOIN ARGN " " link_flags )
   configure_file( ${PROJECT_SOURCE_DIR}/cmake/library.pc.in
      ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc @ONLY )
   install( FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc
      DESTINATION lib/pkgconfig )
endfunction()

function( mlagostra_install_package )
   install( EXPORT MlagOstraTargets NAMESPACE MlagOstra::
      DESTINATION ${mlagostra_package_dir} )
   configure_package_config_file( cmake/MlagOstraConfig.cmake.in
      ${PROJECT_BINARY_DIR}/MlagOstraConfig.cmake
      INSTALL_DESTINATION ${mlagostra_package_dir} )
   write_basic_package_version_file( ${PROJECT_BINARY_DIR}/MlagOstraConfigVersion.cmake
      COMPATIBILITY SameMinorVersion )
   install( FILES
      ${PROJECT_BINARY_DIR}/MlagOstraConfig.cmake
      ${PROJECT_BINARY_DIR}/MlagOstraConfigVersion.cmake
      DESTINATION ${mlagostra_package_dir} )
   install( DIRECTORY examples DESTINATION share/mlagostra )
   install( FILES LICENSE DESTINATION share/doc/mlagostra )
endfunction()
