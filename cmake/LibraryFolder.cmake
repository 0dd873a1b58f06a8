# html5_video_folder([HEADERS header...] [SOURCES source...] [SMALL source...] [FAST source...])
# What a folder gives to the library. HEADERS are its public ones: only they are installed, and they
# include nothing but each other. SMALL are sources that no call, status read, log line or script
# turn passes through: size before speed. The other SOURCES are not padded before functions and jump
# targets, which was measured to cost a hundredth of the library and to gain nothing. FAST ones are
# one unrolled computation, where -O3 was measured to gain: elsewhere it only grows the code.
function(html5_video_folder)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "" "HEADERS;SOURCES;SMALL;FAST")
    target_sources(html5_video PUBLIC
        FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${arg_HEADERS})
    target_sources(html5_video_objects PRIVATE ${arg_SOURCES} ${arg_SMALL} ${arg_FAST})
    set(unpadded -fno-align-functions -fno-align-jumps -fno-align-labels)
    set_source_files_properties(${arg_SOURCES}
        DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} TARGET_DIRECTORY html5_video_objects
        PROPERTIES COMPILE_OPTIONS
            "$<$<AND:$<CONFIG:Release>,$<CXX_COMPILER_ID:GNU>>:${unpadded}>")
    # In the folder's own targets, too.
    set_source_files_properties(${arg_SMALL}
        DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} TARGET_DIRECTORY html5_video_objects
        PROPERTIES COMPILE_OPTIONS $<$<CONFIG:Release>:-Os>)
    set_source_files_properties(${arg_FAST}
        DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} TARGET_DIRECTORY html5_video_objects
        PROPERTIES COMPILE_OPTIONS $<$<CONFIG:Release>:-O3>)
endfunction()
