include(CMakePackageConfigHelpers)

install(TARGETS quarryauth tesselctl skarnconfigstore
        EXPORT quarryauthTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT quarryauthTargets
        NAMESPACE quarryauth::
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/quarryauth)

configure_package_config_file(cmake/quarryauthConfig.cmake.in
    ${PROJECT_BINARY_DIR}/quarryauthConfig.cmake
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/quarryauth)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/quarryauthConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/quarryauthConfig.cmake
              ${PROJECT_BINARY_DIR}/quarryauthConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/quarryauth)

# The .pc file finds the prefix from its own folder, however deep the
# library folder is (lib, or lib/x86_64-linux-gnu in a Debian package).
file(RELATIVE_PATH QUARRYAUTH_PC_PREFIX
     "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
string(REGEX REPLACE "/$" "" QUARRYAUTH_PC_PREFIX "${QUARRYAUTH_PC_PREFIX}")
configure_file(cmake/quarryauth.pc.in ${PROJECT_BINARY_DIR}/quarryauth.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quarryauth.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The public headers are the include tree itself; internal headers stay
# beside their sources and are never installed.
install(DIRECTORY include/quarryauth
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")
