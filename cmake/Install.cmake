# `cmake --install` (or its component `library` alone) gives an agent's build the two libraries, their headers, and a package that
# find_package(FwdL3Unicast) finds.

include(CMakePackageConfigHelpers)

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME library)

install(TARGETS model FwdL3Unicast EXPORT FwdL3UnicastTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_COMPONENT library)

set(include ${CMAKE_INSTALL_INCLUDEDIR}/FwdL3Unicast)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/model DESTINATION ${include}
        FILES_MATCHING PATTERN "*.h")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/FwdL3Unicast DESTINATION ${include}
        FILES_MATCHING PATTERN "*.h")

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/FwdL3Unicast)
install(EXPORT FwdL3UnicastTargets NAMESPACE FwdL3Unicast:: DESTINATION ${package}
        FILE FwdL3UnicastConfig.cmake)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/FwdL3UnicastConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/FwdL3UnicastConfigVersion.cmake DESTINATION ${package})
