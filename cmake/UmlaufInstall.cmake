# Installed package: headers, shared library, CMake package (find_package(umlauf) -> umlauf::umlauf), pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS umlauf EXPORT umlaufTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY "${PROJECT_SOURCE_DIR}/umlauf" "${PROJECT_BINARY_DIR}/generated/umlauf"
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h"
  PATTERN "os" EXCLUDE PATTERN "internal" EXCLUDE)
if(UMLAUF_BUILD_TOOLS)
  install(TARGETS umlauf_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

install(EXPORT umlaufTargets NAMESPACE umlauf:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/umlauf)
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/umlaufConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/umlaufConfig.cmake" INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/umlauf)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/umlaufConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/umlaufConfig.cmake" "${PROJECT_BINARY_DIR}/umlaufConfigVersion.cmake"
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/umlauf)

configure_file("${PROJECT_SOURCE_DIR}/cmake/umlauf.pc.in" "${PROJECT_BINARY_DIR}/umlauf.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/umlauf.pc" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
