# Compile options of this project's own targets. They are PRIVATE: a program that adds the library
# to its own build keeps its own warnings.

set(HTML5_VIDEO_SANITIZE "" CACHE STRING "Value of -fsanitize= for every target, empty for none")

set(html5_video_warnings -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wformat=2
    -Wno-format-zero-length -Wundef)
set(html5_video_cxx_warnings -Woverloaded-virtual -Wold-style-cast)

function(html5_video_compile_options target)
    target_compile_options(${target} PRIVATE
        ${html5_video_warnings}
        $<$<COMPILE_LANGUAGE:CXX>:${html5_video_cxx_warnings}>
        $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>
        # Log lines name files relative to the repository, so builds are reproducible.
        -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=
        -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=
        -fvisibility=hidden
        $<$<COMPILE_LANGUAGE:CXX>:-fvisibility-inlines-hidden>
        -fstack-protector-strong -ffunction-sections -fdata-sections)
    # Warnings are errors here and nowhere else, whatever a project around this one asks for.
    if(PROJECT_IS_TOP_LEVEL)
        target_compile_options(${target} PRIVATE -Werror)
    else()
        target_compile_options(${target} PRIVATE -Wno-error)
        set_target_properties(${target} PROPERTIES COMPILE_WARNING_AS_ERROR OFF)
    endif()
    # Sizes of files and file systems need 64 bits on 32-bit targets too, and so do times after 2038.
    # What a public header shows must not depend on either.
    target_compile_definitions(${target} PRIVATE _GNU_SOURCE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
    target_link_options(${target} PRIVATE
        -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack -Wl,-z,defs -Wl,--as-needed)
    if(HTML5_VIDEO_SANITIZE)
        target_compile_options(${target} PRIVATE
            -fsanitize=${HTML5_VIDEO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
        target_link_options(${target} PRIVATE -fsanitize=${HTML5_VIDEO_SANITIZE} -Wl,-z,undefs)
        if(HTML5_VIDEO_FUZZERS)
            target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
        endif()
        if(HTML5_VIDEO_SANITIZE MATCHES "thread" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
            # Fences are not modelled; every word they order is atomic, so no report is lost.
            target_compile_options(${target} PRIVATE -Wno-tsan)
        endif()
    else()
        target_compile_options(${target} PRIVATE
            $<$<CONFIG:Release>:-U_FORTIFY_SOURCE> $<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2>)
    endif()
endfunction()
