# Debian packages, one for each component: `cpack` in a build directory makes those of the machine that the build is for.
# Configure with -DCMAKE_INSTALL_PREFIX=/usr, and for another architecture with -DCMAKE_INSTALL_LIBDIR=lib/<its triplet>,
# so that libraries go where Debian keeps those of an architecture.
# The maintainer is whoever makes the packages, as Debian's own tools know them; nobody else can answer for them. Without
# that the address is one that can never exist, so that no stranger gets the mail.
if("$ENV{DEBFULLNAME}" AND "$ENV{DEBEMAIL}")
  set(KALTO_CONTACT "$ENV{DEBFULLNAME} <$ENV{DEBEMAIL}>" CACHE STRING "Maintainer named in the packages: Name <address>")
else()
  set(KALTO_CONTACT "Kalto developers <developers@kalto.invalid>" CACHE STRING
      "Maintainer named in the packages: Name <address>")
endif()

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
# CPack's own sentence, which it leaves away: each package has a summary of its own, the first line of its description.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${CMAKE_PROJECT_NAME} built using CMake")
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

# kalto_package(group section multi_arch depends description)
macro(kalto_package group section multi_arch depends description)
  string(TOUPPER ${group} KALTO_GROUP)
  set(CPACK_DEBIAN_${KALTO_GROUP}_PACKAGE_NAME ${KALTO_PACKAGE_${group}})
  set(CPACK_DEBIAN_${KALTO_GROUP}_PACKAGE_SECTION ${section})
  # CPack knows no Multi-Arch field; it copies this one as it is, so that another line may follow in it.
  set(CPACK_DEBIAN_${KALTO_GROUP}_PACKAGE_PRIORITY "optional\nMulti-Arch: ${multi_arch}")
  set(CPACK_DEBIAN_${KALTO_GROUP}_PACKAGE_DEPENDS "${depends}")
  set(CPACK_DEBIAN_${KALTO_GROUP}_DESCRIPTION "${description}")
  set(CPACK_COMPONENT_${KALTO_GROUP}_GROUP ${group})
endmacro()

kalto_package(library libs same "${KALTO_RUNTIME}"
"Windows CE style programming interface for Linux handhelds
Applications written against the Windows programming interface run on it:
events, threads, the registry, files, strings, XML documents.")
set(CPACK_COMPONENT_STORE_GROUP library)
kalto_package(host libs same "${KALTO_PACKAGE_library} ${KALTO_THIS_VERSION}, ${KALTO_RUNTIME}"
"reference host of Kalto
The functions that an application on Kalto needs of its device, implemented
on POSIX.")
kalto_package(development libdevel same
"${KALTO_PACKAGE_library} ${KALTO_THIS_VERSION}, ${KALTO_PACKAGE_host} ${KALTO_THIS_VERSION}, libc6-dev"
"development files of Kalto
Headers, and what CMake and pkg-config need to build applications.")
kalto_package(tool utils foreign
"${KALTO_PACKAGE_library} ${KALTO_THIS_VERSION}, ${KALTO_PACKAGE_host} ${KALTO_THIS_VERSION}, ${KALTO_RUNTIME}"
"registry tool of Kalto
Shows, changes, exports, imports and checks the registry of a device, and
frees its lock.")

# New libraries are seen at once, and packages made of applications find out which one they need.
set(KALTO_CONTROL ${PROJECT_BINARY_DIR}/packages)
foreach(library kalto kaltohost)
  file(WRITE ${KALTO_CONTROL}/${library}/triggers "activate-noawait ldconfig\n")
  file(WRITE ${KALTO_CONTROL}/${library}/shlibs
       "lib${library} ${PROJECT_VERSION_MAJOR} lib${library}${PROJECT_VERSION_MAJOR} (>= ${PROJECT_VERSION})\n")
endforeach()
# The registry is the device's memory: it stays when the package is removed, and goes when the last one is purged.
file(WRITE ${KALTO_CONTROL}/kalto/postrm "#!/bin/sh
set -e
if [ \"$1\" = purge ] && [ \"\${DPKG_MAINTSCRIPT_PACKAGE_REFCOUNT:-1}\" -le 1 ]; then
    rm -f \"$DPKG_ROOT/var/zel/registry.xml\" \"$DPKG_ROOT/var/zel/registry.xml.new\"
    rmdir \"$DPKG_ROOT/var/zel\" 2>/dev/null || true
fi
")
file(CHMOD ${KALTO_CONTROL}/kalto/postrm PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
     WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA
    ${KALTO_CONTROL}/kalto/triggers ${KALTO_CONTROL}/kalto/shlibs ${KALTO_CONTROL}/kalto/postrm)
set(CPACK_DEBIAN_HOST_PACKAGE_CONTROL_EXTRA ${KALTO_CONTROL}/kaltohost/triggers ${KALTO_CONTROL}/kaltohost/shlibs)

include(CPack)
