# Debian packages, one for each component of the installation: the library, what a program is built with, the command
# with all that it runs on, and the daemon. scripts/package makes them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VENDOR "yfw maintainers")
set(CPACK_PACKAGE_CONTACT "yfw maintainers <yfw@tarn-kel.example>")
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library development command service)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What uses the library needs it in the same version: it is C++, and each version's interface is its own.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY "=")
set(same_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libyfw0)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION
    "framework for YANG mapping plug-ins, library\nRuns a plug-in that maps OpenConfig configuration to the native\nconfiguration of a router: data trees, edits, reads, the store, the\nsystem database."
)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libyfw-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libyfw0 ${same_version}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS "yfw ${same_version}, pkg-config")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "framework for YANG mapping plug-ins, headers\nWhat a C++20 program is built with that uses libyfw, and the headers\nof the boundary that a plug-in includes. The package yfw has the models,\nthe mapping and the plug-in for BGP."
)

set(CPACK_DEBIAN_COMMAND_PACKAGE_NAME yfw)
set(CPACK_DEBIAN_COMMAND_PACKAGE_SECTION net)
set(CPACK_DEBIAN_COMMAND_PACKAGE_DEPENDS "libyfw0 ${same_version}, libyuma-base")
set(CPACK_COMPONENT_COMMAND_DESCRIPTION
    "translates OpenConfig BGP configuration to native and back\nThe command yfw takes OpenConfig edits, shows the native configuration\nthat they become, keeps it in a store, and reads it back as OpenConfig.\nThe mapping plug-in, the models and the mapping's description come along."
)

set(CPACK_DEBIAN_SERVICE_PACKAGE_NAME yfwd)
set(CPACK_DEBIAN_SERVICE_PACKAGE_SECTION net)
set(CPACK_DEBIAN_SERVICE_PACKAGE_DEPENDS "libyfw0 ${same_version}, yfw ${same_version}, libyuma-base, adduser")
set(CPACK_DEBIAN_SERVICE_PACKAGE_RECOMMENDS openssh-server)
set(CPACK_DEBIAN_SERVICE_PACKAGE_CONTROL_EXTRA
    "${PROJECT_SOURCE_DIR}/packaging/service/postinst;${PROJECT_SOURCE_DIR}/packaging/service/postrm;${PROJECT_SOURCE_DIR}/packaging/service/conffiles"
)
set(CPACK_COMPONENT_SERVICE_DESCRIPTION
    "serves OpenConfig BGP configuration over NETCONF\nThe daemon yfwd owns a store of yfw and offers it to NETCONF clients: over\na UNIX socket, and over SSH by the program yfw-netconf as a subsystem of\nsshd."
)

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  install(FILES packaging/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}
          COMPONENT ${component})
endforeach()
include(CPack)
