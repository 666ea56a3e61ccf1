# What `cmake --install` and find_package(Kalto) see.
install(TARGETS kalto kaltohost EXPORT KaltoTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS kaltoreg)
install(FILES docs/kaltoreg.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES tools/kaltoreg.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME kaltoreg)
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kalto-${PROJECT_VERSION_MAJOR})
install(EXPORT KaltoTargets NAMESPACE Kalto:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kalto)

configure_package_config_file(cmake/KaltoConfig.cmake.in ${PROJECT_BINARY_DIR}/KaltoConfig.cmake
                              INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kalto)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KaltoConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KaltoConfig.cmake ${PROJECT_BINARY_DIR}/KaltoConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kalto)

# The package files find the prefix from where they lie, so that an installed tree may be moved.
file(RELATIVE_PATH KALTO_PREFIX_FROM_PKGCONFIG ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
foreach(package kalto kaltohost)
  configure_file(cmake/${package}.pc.in ${PROJECT_BINARY_DIR}/${package}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${package}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
