# What people read where the library is installed: manual pages, documentation, and the completion
# of the shell. Pages need scdoc and help2man; without them they are left out.
include(GNUInstallDirs)

# The day on the pages: that of the version in the change log, else today's or that of
# SOURCE_DATE_EPOCH, so that two builds of one version are the same.
file(STRINGS ${PROJECT_SOURCE_DIR}/CHANGELOG.md html5_video_date
     REGEX "^## \\[${PROJECT_VERSION}\\] - [0-9-]+$")
string(REGEX REPLACE ".* - " "" html5_video_date "${html5_video_date}")
if(NOT html5_video_date)
    string(TIMESTAMP html5_video_date "%Y-%m-%d" UTC)
endif()

set(html5_video_pages)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/CHANGELOG.md)

# html5_video_page(PAGE COMPONENT DEPENDS dependency... COMMAND command...): the page that the
# command, words for a shell, writes to its standard output.
function(html5_video_page page component)
    cmake_parse_arguments(PARSE_ARGV 2 arg "" "COMMAND" "DEPENDS")
    string(REGEX REPLACE ".*\\." "" section ${page})
    set(made ${CMAKE_BINARY_DIR}/man/${page})
    set(finish ${PROJECT_SOURCE_DIR}/docs/man/finish_page.awk)
    # In a folder without settings of the library's.
    add_custom_command(OUTPUT ${made} DEPENDS ${arg_DEPENDS} ${finish} VERBATIM
        COMMENT "Writing the manual page ${page}"
        WORKING_DIRECTORY ${CMAKE_BINARY_DIR}/man
        COMMAND sh -c "${arg_COMMAND} > '${made}.raw'"
        COMMAND sh -c "awk -v date=${html5_video_date} -f '${finish}' '${made}.raw' > '${made}'")
    set(html5_video_pages ${html5_video_pages} ${made} PARENT_SCOPE)
    install(FILES ${made} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section}
            COMPONENT ${component})
endfunction()

file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/man)
find_program(SCDOC scdoc)
if(SCDOC)
    foreach(page html5_video_client.3 cmd.conf.5 logger.conf.5)
        set(source ${PROJECT_SOURCE_DIR}/docs/man/${page}.scd)
        html5_video_page(${page} development DEPENDS ${source} COMMAND "'${SCDOC}' < '${source}'")
    endforeach()
else()
    message(STATUS "The manual pages of library and settings are left out: scdoc is not installed")
endif()

# The programs that are built: targets, and the names of their files.
set(html5_video_programs)
foreach(name html5-video-player html5-video-browser html5-video-console html5-video-boxinfo
             html5-video-web-browser)
    string(REPLACE html5-video- "" target ${name})
    foreach(candidate ${target} ${name})
        if(TARGET ${candidate})
            list(APPEND html5_video_programs ${name})
            set(html5_video_target_${name} ${candidate})
        endif()
    endforeach()
endforeach()

# Their pages are their --help, so they must run here; a sanitizer's are none to install.
find_program(HELP2MAN help2man)
if(html5_video_programs AND NOT HELP2MAN)
    message(STATUS "The programs' manual pages are left out: help2man is not installed")
elseif(NOT CMAKE_CROSSCOMPILING AND NOT HTML5_VIDEO_SANITIZE)
    foreach(name ${html5_video_programs})
        set(target ${html5_video_target_${name}})
        set(more ${PROJECT_SOURCE_DIR}/docs/man/${name}.h2m)
        html5_video_page(${name}.1 tools DEPENDS ${target} ${more} COMMAND
            "'${HELP2MAN}' --no-info --include '${more}' '$<TARGET_FILE:${target}>'")
    endforeach()
endif()
if(html5_video_pages)
    add_custom_target(html5_video_pages ALL DEPENDS ${html5_video_pages})
endif()

# Bash looks for a file of the program's name; what is in it serves all of them.
foreach(name ${html5_video_programs})
    install(FILES ${PROJECT_SOURCE_DIR}/tools/completion.bash RENAME ${name}
            DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tools)
endforeach()

# What a user of the library reads; the folders stay as they are, so that the links hold.
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md
        DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
foreach(page README console integration platform porting protocol security abi)
    if(EXISTS ${PROJECT_SOURCE_DIR}/docs/${page}.md)
        install(FILES ${PROJECT_SOURCE_DIR}/docs/${page}.md
                DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT development)
    endif()
endforeach()
