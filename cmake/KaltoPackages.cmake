# Debian packages, one for each component: `cpack` in a build directory makes those of the machine that the build is for.
# Configure with -DCMAKE_INSTALL_PREFIX=/usr, and for another architecture with -DCMAKE_INSTALL_LIBDIR=lib/<its triplet>,
# so that libraries go where Debian keeps those of an architecture.
set(KALTO_CONTACT "Kalto maintainers <root@localhost>" CACHE STRING "Maintainer named in the packages: Name <address>")

# The registry's directory. In the package rather than made by a script: dpkg then knows its owner and mode, and a choice
# made with dpkg-statoverride survives upgrades. Not part of an ordinary `cmake --install`, which stays below its prefix.
install(DIRECTORY DESTINATION /var/zel COMPONENT store EXCLUDE_FROM_ALL
        DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_WRITE GROUP_EXECUTE
                              WORLD_READ WORLD_EXECUTE)

set(KALTO_PACKAGE_library libkalto${PROJECT_VERSION_MAJOR})
set(KALTO_PACKAGE_host libkaltohost${PROJECT_VERSION_MAJOR})
set(KALTO_PACKAGE_development libkalto-dev)
set(KALTO_PACKAGE_tool kaltoreg)
foreach(component library host development tool)
  install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${KALTO_PACKAGE_${component}} RENAME copyright
          COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kalto)
set(CPACK_PACKAGE_CONTACT "${KALTO_CONTACT}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_COMPONENTS_ALL library store host development tool)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# By Debian's name of the machine that the toolchain builds for; CPack would take the one that it runs on.
if(CMAKE_CXX_LIBRARY_ARCHITECTURE STREQUAL "arm-linux-gnueabihf")
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
elseif(CMAKE_CXX_LIBRARY_ARCHITECTURE STREQUAL "x86_64-linux-gnu")
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE amd64)
endif()

# The oldest versions that have the symbols in use; scripts/check-packages compares them with the binaries.
set(KALTO_RUNTIME "libc6 (>= 2.34), libgcc-s1 (>= 3.5), libstdc++6 (>= 11)")
set(KALTO_THIS_VERSION "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

# kalto_package(group section depends description)
macro(kalto_package group section depends description)
  string(TOUPPER ${group} KALTO_GROUP)
  set(CPACK_DEBIAN_${KALTO_GROUP}_PACKAGE_NAME ${KALTO_PACKAGE_${group}})
  set(CPACK_DEBIAN_${KALTO_GROUP}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${KALTO_GROUP}_PACKAGE_DEPENDS "${depends}")
  set(CPACK_DEBIAN_${KALTO_GROUP}_DESCRIPTION "${description}")
  set(CPACK_COMPONENT_${KALTO_GROUP}_GROUP ${group})
endmacro()

kalto_package(library libs "${KALTO_RUNTIME}"
"Windows CE style programming interface for Linux handhelds
 Applications written against the Windows programming interface run on it: events, threads, the registry, files, strings,
 XML documents.")
set(CPACK_COMPONENT_STORE_GROUP library)
kalto_package(host libs "${KALTO_PACKAGE_library} ${KALTO_THIS_VERSION}, ${KALTO_RUNTIME}"
"Reference host of Kalto
 The functions that an application on Kalto needs of its device, implemented on POSIX.")
kalto_package(development libdevel
"${KALTO_PACKAGE_library} ${KALTO_THIS_VERSION}, ${KALTO_PACKAGE_host} ${KALTO_THIS_VERSION}, libc6-dev"
"Development files of Kalto
 Headers, and what CMake and pkg-config need to build applications.")
kalto_package(tool utils
"${KALTO_PACKAGE_library} ${KALTO_THIS_VERSION}, ${KALTO_PACKAGE_host} ${KALTO_THIS_VERSION}, ${KALTO_RUNTIME}"
"Registry tool of Kalto
 Shows, changes, exports, imports and checks the registry of a device, and frees its lock.")

# New libraries are seen at once.
file(WRITE ${PROJECT_BINARY_DIR}/packages/triggers "activate-noawait ldconfig\n")
foreach(group LIBRARY HOST)
  set(CPACK_DEBIAN_${group}_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/packages/triggers)
endforeach()

include(CPack)
