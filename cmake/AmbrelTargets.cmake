# What every target of Ambrel is built with.

option(AMBREL_CCACHE "Compile through ccache when it is installed" ON)
set(AMBREL_SANITIZE "" CACHE STRING "Sanitizers to build with: address,undefined or thread")

if(AMBREL_CCACHE)
    find_program(AMBREL_CCACHE_PROGRAM ccache)
    if(AMBREL_CCACHE_PROGRAM)
        # Precompiled headers need the sloppiness; the base directory lets two checkouts share hits.
        set(CMAKE_CXX_COMPILER_LAUNCHER
            ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros
            CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${AMBREL_CCACHE_PROGRAM})
    endif()
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(ambrel_options INTERFACE)
target_compile_options(ambrel_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough
    -Werror -ffile-prefix-map=${CMAKE_SOURCE_DIR}=. -fno-omit-frame-pointer -fpch-preprocess)
target_compile_definitions(ambrel_options INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS AMBREL_VERSION="${PROJECT_VERSION}")
target_include_directories(ambrel_options INTERFACE ${CMAKE_SOURCE_DIR}/src)

if(AMBREL_SANITIZE)
    target_compile_options(ambrel_options INTERFACE -fsanitize=${AMBREL_SANITIZE} -O1)
    target_link_options(ambrel_options INTERFACE -fsanitize=${AMBREL_SANITIZE})
    if(AMBREL_SANITIZE MATCHES undefined)
        target_compile_options(ambrel_options INTERFACE -fno-sanitize-recover=all)
    endif()
endif()

# A static library of all sources of the given folders (below src/).
function(ambrel_library name)
    cmake_parse_arguments(LIB "" "" "FOLDERS;EXCLUDE;LINK;PCH" ${ARGN})
    set(sources)
    foreach(folder IN LISTS LIB_FOLDERS)
        file(GLOB found CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/${folder}/*.cpp
             ${CMAKE_SOURCE_DIR}/src/${folder}/*.h)
        list(APPEND sources ${found})
    endforeach()
    foreach(pattern IN LISTS LIB_EXCLUDE)
        list(FILTER sources EXCLUDE REGEX "${pattern}")
    endforeach()
    add_library(${name} STATIC ${sources})
    set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX)
    target_link_libraries(${name} PUBLIC ambrel_options ${LIB_LINK})
    target_precompile_headers(${name} PRIVATE ${LIB_PCH})
endfunction()
