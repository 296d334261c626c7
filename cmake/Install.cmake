# SPDX-License-Identifier: BSD-3-Clause
# What is installed finds its parts from where it lies: the installed folder may be moved.
include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/icawave)

install(TARGETS icawave EXPORT icawaveTargets FILE_SET HEADERS)
install(EXPORT icawaveTargets NAMESPACE icawave:: DESTINATION ${package_dir})
if(TARGET icawave_qt)
  install(TARGETS icawave_qt EXPORT icawaveQtTargets FILE_SET HEADERS)
  install(EXPORT icawaveQtTargets NAMESPACE icawave:: DESTINATION ${package_dir})
  set_property(TARGET icawave_qt APPEND PROPERTY INSTALL_RPATH $ORIGIN)
endif()
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/icawaveConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES cmake/icawaveConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/icawaveConfigVersion.cmake DESTINATION ${package_dir})

file(RELATIVE_PATH lib_from_bin ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
foreach(program icawave_cli icawave_manager)
  if(TARGET ${program})
    install(TARGETS ${program})
    set_property(TARGET ${program} APPEND PROPERTY INSTALL_RPATH $ORIGIN/${lib_from_bin})
  endif()
endforeach()

file(RELATIVE_PATH prefix_from_pkgconfig ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" prefix_from_pkgconfig ${prefix_from_pkgconfig})
if(NOT BUILD_SHARED_LIBS) # whoever links it must name the libraries of C++
  set(static_cflags " -DICAWAVE_STATIC")
  foreach(library IN LISTS CMAKE_CXX_IMPLICIT_LINK_LIBRARIES)
    if(library MATCHES "^(stdc[+][+]|c[+][+]|c[+][+]abi|m)$")
      string(APPEND static_libs " -l${library}")
    endif()
  endforeach()
endif()
configure_file(cmake/icawave.pc.in icawave.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/icawave.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(PROJECT_IS_TOP_LEVEL) # the documents lie together as in the source, so that their links lead on
  install(FILES README.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
  install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR})
endif()
