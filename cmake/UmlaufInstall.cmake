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
if(UMLAUF_RUNTIME_LIBRARIES)
  install(FILES ${UMLAUF_RUNTIME_LIBRARIES} DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
if(UMLAUF_BUILD_TOOLS)
  install(TARGETS umlauf_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

install(EXPORT umlaufTargets NAMESPACE umlauf:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/umlauf)
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/umlaufConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/umlaufConfig.cmake" INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/umlauf)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/umlaufConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/umlaufConfig.cmake" "${PROJECT_BINARY_DIR}/umlaufConfigVersion.cmake"
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/umlauf)

# The prefix of the pkg-config file is where it lies, so that it can be moved; an absolute folder stays what it is.
file(RELATIVE_PATH up "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" up "${up}")
set(UMLAUF_PC_PREFIX "\${pcfiledir}/${up}")
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(UMLAUF_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
endif()
foreach(folder LIBDIR INCLUDEDIR)
  set(UMLAUF_PC_${folder} "\${prefix}/${CMAKE_INSTALL_${folder}}")
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${folder}}")
    set(UMLAUF_PC_${folder} "${CMAKE_INSTALL_${folder}}")
  endif()
endforeach()
set(pc_files umlauf.pc)
if(TARGET umlauf_io)
  list(APPEND pc_files umlauf_io.pc)
endif()
foreach(pc IN LISTS pc_files)
  configure_file("${PROJECT_SOURCE_DIR}/cmake/${pc}.in" "${PROJECT_BINARY_DIR}/${pc}" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${pc}" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

# Packages (script/package): an archive that runs wherever it is unpacked, and one for Debian that names what it needs.
set(CPACK_PACKAGE_NAME umlauf)
set(CPACK_PACKAGE_VENDOR "Umlauf developers")
set(CPACK_PACKAGE_CONTACT "Umlauf developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR TGZ)
find_program(UMLAUF_DPKG dpkg-shlibdeps)
if(UMLAUF_DPKG)
  list(APPEND CPACK_GENERATOR DEB)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/umlauf" "${PROJECT_BINARY_DIR}/io")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "gnuplot-nox | gnuplot")
include(CPack)
