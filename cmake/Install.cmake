# Install rules: the headers a host compiles against (the state machines, the published records
# and the runtime layer they include), the three libraries with an exported target set, the
# package configuration for find_package(OruMacSec) and a pkg-config file.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(ORUMACSEC_INCLUDE_DIR "${CMAKE_INSTALL_INCLUDEDIR}/orumacsec")
set(ORUMACSEC_CONFIG_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/OruMacSec")

foreach(folder OruMacSec platform)
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/${folder}/" DESTINATION "${ORUMACSEC_INCLUDE_DIR}/${folder}"
          FILES_MATCHING PATTERN "*.h")
endforeach()

install(TARGETS orumacsec_platform orumacsec_types orumacsec_indexsm
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
configure_file(cmake/orumacsec.pc.in "${PROJECT_BINARY_DIR}/orumacsec.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/orumacsec.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
