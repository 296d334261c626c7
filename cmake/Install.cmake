# SPDX-License-Identifier: BSD-3-Clause
include(CMakePackageConfigHelpers)

install(TARGETS icawave EXPORT icawaveTargets FILE_SET HEADERS)
install(TARGETS icawave_cli)
install(EXPORT icawaveTargets NAMESPACE icawave:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/icawave)
if(TARGET icawave_qt)
  install(TARGETS icawave_qt EXPORT icawaveQtTargets FILE_SET HEADERS)
  install(EXPORT icawaveQtTargets NAMESPACE icawave:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/icawave)
endif()

file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/icawaveConfig.cmake
[[include(${CMAKE_CURRENT_LIST_DIR}/icawaveTargets.cmake)
if("qt" IN_LIST icawave_FIND_COMPONENTS)
  include(CMakeFindDependencyMacro)
  find_dependency(Qt6 6.4 COMPONENTS Widgets)
  include(${CMAKE_CURRENT_LIST_DIR}/icawaveQtTargets.cmake)
endif()
]])
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/icawaveConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/icawaveConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/icawaveConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/icawave)
