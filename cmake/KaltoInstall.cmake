# What `cmake --install` and find_package(Kalto) see. What names no component of its own is for developers; the packages
# (KaltoPackages) are made of these components.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)

install(TARGETS kalto EXPORT KaltoTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development)
install(TARGETS kaltohost EXPORT KaltoTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT host NAMELINK_COMPONENT development)
install(TARGETS kalto_porting EXPORT KaltoTargets)
install(TARGETS kaltoreg COMPONENT tool)
install(FILES docs/kaltoreg.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
install(FILES tools/kaltoreg.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME kaltoreg
        COMPONENT tool)
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kalto-${PROJECT_VERSION_MAJOR})
install(EXPORT KaltoTargets NAMESPACE Kalto:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kalto)

configure_package_config_file(cmake/KaltoConfig.cmake.in ${PROJECT_BINARY_DIR}/KaltoConfig.cmake
                              INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kalto)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KaltoConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KaltoConfig.cmake ${PROJECT_BINARY_DIR}/KaltoConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kalto)

# The package files find the prefix from where they lie, so that an installed tree may be moved.
file(RELATIVE_PATH KALTO_PREFIX_FROM_PKGCONFIG ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
foreach(package kalto kaltohost kalto-porting)
  configure_file(cmake/${package}.pc.in ${PROJECT_BINARY_DIR}/${package}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${package}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
