# What every target of Ambrel is built with.

option(AMBREL_CCACHE "Compile through ccache when it is installed" ON)
set(AMBREL_SANITIZE "" CACHE STRING "Sanitizers to build with: address,undefined or thread")

if(AMBREL_CCACHE)
    find_program(AMBREL_CCACHE_PROGRAM ccache)
    if(AMBREL_CCACHE_PROGRAM)
        # The base directory lets two checkouts share hits.
        set(CMAKE_CXX_COMPILER_LAUNCHER
            ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1
            ${AMBREL_CCACHE_PROGRAM})
    endif()
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(ambrel_options INTERFACE)
target_compile_options(ambrel_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough
    $<$<CXX_COMPILER_ID:GNU>:-Werror> -ffile-prefix-map=${CMAKE_SOURCE_DIR}=. -fno-omit-frame-pointer)
target_compile_definitions(ambrel_options INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS AMBREL_VERSION="${PROJECT_VERSION}")
target_include_directories(ambrel_options INTERFACE ${CMAKE_SOURCE_DIR}/src)

# Several sources compiled as one read Qt's headers once, which is most of the work: that was measured
# six times as fast as precompiled headers, which are hundreds of megabytes here. The debug preset
# compiles each file alone, so that a header that leans on another is found.
if(CMAKE_UNITY_BUILD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # A type in an unnamed namespace is suspected in every source but the main one.
    target_compile_options(ambrel_options INTERFACE -Wno-subobject-linkage)
endif()

find_program(AMBREL_MOLD_PROGRAM mold)
if(AMBREL_MOLD_PROGRAM AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_link_options(ambrel_options INTERFACE -fuse-ld=mold)
endif()

# AMBREL_TEST_PREFIX: one run of ctest may cover several presets, and a failure should say whose it is.
set(AMBREL_TEST_PREFIX "")
set(AMBREL_TEST_LAUNCHER)
set(AMBREL_TEST_ENVIRONMENT "LC_ALL=C.UTF-8" "AMBREL_SOURCE_DIR=${CMAKE_SOURCE_DIR}"
    "AMBREL_BINARY_DIR=${CMAKE_BINARY_DIR}")
if(AMBREL_SANITIZE)
    # -g1: function names and lines, which is what a report shows, at a third of the size.
    target_compile_options(ambrel_options INTERFACE -fsanitize=${AMBREL_SANITIZE} -O1 -g1)
    target_link_options(ambrel_options INTERFACE -fsanitize=${AMBREL_SANITIZE})
endif()
if(AMBREL_SANITIZE MATCHES address)
    set(AMBREL_TEST_PREFIX "asan.")
    target_compile_options(ambrel_options INTERFACE -fno-sanitize-recover=all)
    list(APPEND AMBREL_TEST_ENVIRONMENT
        "ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1:detect_stack_use_after_return=1"
        "LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/cmake/lsan.supp:print_suppressions=0"
        "UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1")
elseif(AMBREL_SANITIZE STREQUAL "thread")
    set(AMBREL_TEST_PREFIX "tsan.")
    list(APPEND AMBREL_TEST_ENVIRONMENT
        "TSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/cmake/tsan.supp:halt_on_error=1:second_deadlock_stack=1")
    # It cannot place its shadow where the kernel spreads the address space too widely.
    execute_process(COMMAND setarch --addr-no-randomize true RESULT_VARIABLE cannot ERROR_QUIET)
    if(cannot EQUAL 0)
        set(AMBREL_TEST_LAUNCHER setarch --addr-no-randomize)
    endif()
endif()

# A static library of the sources of the given folders (below src/), without the program's main().
function(ambrel_library name)
    cmake_parse_arguments(LIB "" "" "FOLDERS;LINK" ${ARGN})
    set(sources)
    foreach(folder IN LISTS LIB_FOLDERS)
        file(GLOB found CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/${folder}/*.cpp
             ${CMAKE_SOURCE_DIR}/src/${folder}/*.h)
        list(APPEND sources ${found})
    endforeach()
    list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
    add_library(${name} STATIC ${sources})
    set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX)
    target_link_libraries(${name} PUBLIC ambrel_options ${LIB_LINK})
endfunction()
