# What `cmake --install` lays down, in components:
#   library      the shared libraries that an agent runs with
#   development  what an agent is built with: headers, a package that find_package(FwdL3Unicast)
#                finds, a file for pkg-config
#   agent        decap-agent and decapctl, their pages, and what a system needs to run them
#   system       a first configuration, for packages: it goes beneath /etc beside the prefix /usr,
#                and only where it is asked for

include(CMakePackageConfigHelpers)

install(TARGETS model FwdL3Unicast EXPORT FwdL3UnicastTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
                COMPONENT library NAMELINK_COMPONENT development)

set(include ${CMAKE_INSTALL_INCLUDEDIR}/FwdL3Unicast)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/model DESTINATION ${include} COMPONENT development
        FILES_MATCHING PATTERN "*.h")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/FwdL3Unicast DESTINATION ${include}
        COMPONENT development FILES_MATCHING PATTERN "*.h")

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/FwdL3Unicast)
install(EXPORT FwdL3UnicastTargets NAMESPACE FwdL3Unicast:: DESTINATION ${package}
        COMPONENT development FILE FwdL3UnicastConfig.cmake)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/FwdL3UnicastConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/FwdL3UnicastConfigVersion.cmake DESTINATION ${package}
        COMPONENT development)

# The prefix is known only when it is installed.
install(CODE "
   set(CMAKE_INSTALL_LIBDIR \"${CMAKE_INSTALL_LIBDIR}\")
   set(CMAKE_INSTALL_INCLUDEDIR \"${CMAKE_INSTALL_INCLUDEDIR}\")
   set(PROJECT_DESCRIPTION \"${PROJECT_DESCRIPTION}\")
   set(PROJECT_VERSION \"${PROJECT_VERSION}\")
   configure_file(\"${PROJECT_SOURCE_DIR}/packaging/FwdL3Unicast.pc.in\"
                  \"${PROJECT_BINARY_DIR}/FwdL3Unicast.pc\" @ONLY)
   " COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/FwdL3Unicast.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

if(NOT DECAP_AGENT)
   return()
endif()

set(packaging ${PROJECT_SOURCE_DIR}/packaging)
install(FILES ${packaging}/man/decap-agent.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8
        COMPONENT agent)
install(FILES ${packaging}/man/decapctl.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
        COMPONENT agent)
install(FILES ${packaging}/decap-agent.service DESTINATION lib/systemd/system COMPONENT agent)
install(FILES ${packaging}/decap-agent.sysusers DESTINATION lib/sysusers.d
        RENAME decap-agent.conf COMPONENT agent)
install(FILES ${packaging}/config.json DESTINATION ../etc/decap-agent
        COMPONENT system EXCLUDE_FROM_ALL)
install(FILES ${packaging}/decap-agent.default DESTINATION ../etc/default
        RENAME decap-agent COMPONENT system EXCLUDE_FROM_ALL)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/decap-agent COMPONENT agent)
