include(CMakePackageConfigHelpers)

install(TARGETS icawave EXPORT icawaveTargets FILE_SET HEADERS)
install(TARGETS icawave_cli)
install(EXPORT icawaveTargets NAMESPACE icawave:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/icawave)

file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/icawaveConfig.cmake
  "include(\${CMAKE_CURRENT_LIST_DIR}/icawaveTargets.cmake)\n")
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/icawaveConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/icawaveConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/icawaveConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/icawave)
