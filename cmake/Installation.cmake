# What is installed, and where. The tree can be moved as a whole: nothing in it names its prefix.
# Components: runtime (the library), development (headers, CMake package, pkg-config file, examples),
# tools (the programs, the dissector).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# One folder holds all headers, so that they are included as in the sources and meet nobody else's.
set(html5_video_includedir ${CMAKE_INSTALL_INCLUDEDIR}/html5_video-${PROJECT_VERSION_MAJOR})
set(html5_video_packagedir ${CMAKE_INSTALL_LIBDIR}/cmake/html5_video)
set(html5_video_pkgconfigdir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS html5_video EXPORT html5_videoTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
            COMPONENT runtime NAMELINK_COMPONENT development
        FILE_SET HEADERS DESTINATION ${html5_video_includedir} COMPONENT development
        INCLUDES DESTINATION ${html5_video_includedir})
install(EXPORT html5_videoTargets NAMESPACE html5_video::
        DESTINATION ${html5_video_packagedir} COMPONENT development)

write_basic_package_version_file(${CMAKE_BINARY_DIR}/html5_videoConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
configure_file(${PROJECT_SOURCE_DIR}/cmake/html5_videoConfig.cmake.in
               ${CMAKE_BINARY_DIR}/html5_videoConfig.cmake @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/html5_videoConfig.cmake
              ${CMAKE_BINARY_DIR}/html5_videoConfigVersion.cmake
        DESTINATION ${html5_video_packagedir} COMPONENT development)

# The way from the pkg-config file to the prefix; as many steps as the library folder has parts.
file(RELATIVE_PATH html5_video_prefix_from_pkgconfig
     /prefix/${html5_video_pkgconfigdir} /prefix)
string(REGEX REPLACE "/$" "" html5_video_prefix_from_pkgconfig
       "${html5_video_prefix_from_pkgconfig}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/html5_video.pc.in
               ${CMAKE_BINARY_DIR}/html5_video.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/html5_video.pc
        DESTINATION ${html5_video_pkgconfigdir} COMPONENT development)

# The examples, as a project of their own.
set(html5_video_examplesdir ${CMAKE_INSTALL_DOCDIR}/examples)
install(FILES ${PROJECT_SOURCE_DIR}/examples/browser.c ${PROJECT_SOURCE_DIR}/examples/console_host.cpp
              ${PROJECT_SOURCE_DIR}/examples/project/CMakeLists.txt
        DESTINATION ${html5_video_examplesdir} COMPONENT development)
install(PROGRAMS ${PROJECT_SOURCE_DIR}/examples/player.py
        DESTINATION ${html5_video_examplesdir} COMPONENT development)
