# Install rules: the headers a host compiles against (the state machines, the published records,
# the testing kit and the runtime layer they include), the four libraries with an exported target
# set, the package configuration for find_package(OruMacSec) and the pkg-config files.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(ORUMACSEC_INCLUDE_DIR "${CMAKE_INSTALL_INCLUDEDIR}/orumacsec")
set(ORUMACSEC_CONFIG_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/OruMacSec")

foreach(folder OruMacSec platform)
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/${folder}/" DESTINATION "${ORUMACSEC_INCLUDE_DIR}/${folder}"
          FILES_MATCHING PATTERN "*.h")
endforeach()

install(TARGETS orumacsec_platform orumacsec_types orumacsec_indexsm orumacsec_testing
        EXPORT OruMacSecTargets
        ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
        INCLUDES DESTINATION "${ORUMACSEC_INCLUDE_DIR}")
install(EXPORT OruMacSecTargets NAMESPACE OruMacSec:: DESTINATION "${ORUMACSEC_CONFIG_DIR}")

configure_package_config_file(cmake/OruMacSecConfig.cmake.in
                              "${PROJECT_BINARY_DIR}/OruMacSecConfig.cmake"
                              INSTALL_DESTINATION "${ORUMACSEC_CONFIG_DIR}")
# 0.x: a new minor version may change the interface.
write_basic_package_version_file("${PROJECT_BINARY_DIR}/OruMacSecConfigVersion.cmake"
                                 COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/OruMacSecConfig.cmake"
              "${PROJECT_BINARY_DIR}/OruMacSecConfigVersion.cmake"
        DESTINATION "${ORUMACSEC_CONFIG_DIR}")

# The prefix as a path from the .pc file's own folder, so that an installed copy may move.
string(REGEX REPLACE "[^/]+" ".." ORUMACSEC_PC_UP "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
# No -std flag: the consumer's standard wins (C++17 or later); CMake consumers get cxx_std_17 from
# the targets' compile features.
foreach(pc orumacsec orumacsec-testing)
  configure_file(cmake/${pc}.pc.in "${PROJECT_BINARY_DIR}/${pc}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${pc}.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
endforeach()
