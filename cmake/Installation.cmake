include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS html5_video EXPORT html5_videoTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT html5_videoTargets NAMESPACE html5_video::
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/html5_video)
install(DIRECTORY html5_video util DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")

write_basic_package_version_file(${CMAKE_BINARY_DIR}/html5_videoConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
configure_file(${PROJECT_SOURCE_DIR}/cmake/html5_videoConfig.cmake.in
               ${CMAKE_BINARY_DIR}/html5_videoConfig.cmake @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/html5_videoConfig.cmake
              ${CMAKE_BINARY_DIR}/html5_videoConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/html5_video)

configure_file(${PROJECT_SOURCE_DIR}/cmake/html5_video.pc.in
               ${CMAKE_BINARY_DIR}/html5_video.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/html5_video.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
