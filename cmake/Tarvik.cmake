# What every target of the project shares: language, warnings, sanitizers, and one-line declarations.

option(TARVIK_TESTS "Build the tests" ON)
option(TARVIK_BENCH "Build the benchmarks" OFF)
option(TARVIK_FUZZ "Build the fuzz targets with libFuzzer, which clang brings" OFF)
option(TARVIK_COVERAGE "Count the lines that are reached" OFF)
set(TARVIK_SANITIZE "" CACHE STRING "Sanitizers to build with, as for -fsanitize=")

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

include(cmake/Hardening.cmake)
find_package(Threads REQUIRED)

add_library(tarvik_options INTERFACE)
target_compile_features(tarvik_options INTERFACE cxx_std_20)
target_include_directories(tarvik_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_link_libraries(tarvik_options INTERFACE Threads::Threads tarvik_hardening)
target_compile_options(tarvik_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual -Werror
    # The few floating-point spots agree to the bit on every machine only without fused operations.
    -ffp-contract=off)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_compile_options(tarvik_options INTERFACE -Wthread-safety)
else()
    # GCC 12 sees overlapping copies in the string concatenations of its own library.
    target_compile_options(tarvik_options INTERFACE -Wno-restrict)
endif()
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    # A camera outlives the year 2038.
    target_compile_definitions(tarvik_options INTERFACE _TIME_BITS=64 _FILE_OFFSET_BITS=64)
    # GCC's remarks on how it passed small classes before version 7.
    target_compile_options(tarvik_options INTERFACE -Wno-psabi)
    # 64-bit atomics are library calls where the processor has none.
    target_link_libraries(tarvik_options INTERFACE -l:libatomic.a)
endif()
if(TARVIK_COVERAGE)
    target_compile_options(tarvik_options INTERFACE --coverage -fprofile-update=atomic)
    target_link_options(tarvik_options INTERFACE --coverage)
endif()
if(TARVIK_SANITIZE)
    target_compile_options(tarvik_options INTERFACE
        -fsanitize=${TARVIK_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(tarvik_options INTERFACE -fsanitize=${TARVIK_SANITIZE})
endif()

# For code that takes longer to compile than to run: tests, command lines, pages. A sanitizer's checks
# make optimising it dearer still.
set(TARVIK_QUICK_TO_BUILD -O1)
if(TARVIK_SANITIZE)
    set(TARVIK_QUICK_TO_BUILD -O0)
endif()

# tarvik_library(database SOURCES Database.cpp Template.cpp DEPENDS core math io analysis)
function(tarvik_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
    list(TRANSFORM ARG_DEPENDS PREPEND tarvik_)
    if(ARG_SOURCES)
        add_library(tarvik_${name} STATIC ${ARG_SOURCES})
        target_link_libraries(tarvik_${name} PUBLIC tarvik_options ${ARG_DEPENDS})
    else()
        add_library(tarvik_${name} INTERFACE)
        target_link_libraries(tarvik_${name} INTERFACE tarvik_options ${ARG_DEPENDS})
    endif()
endfunction()

# tarvik_test(database SOURCES DatabaseTest.cpp DEPENDS database [PROPERTIES RESOURCE_LOCK ports])
# One program per folder, linking only what it names, so that an undeclared dependency fails to link.
function(tarvik_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS;PROPERTIES" ${ARGN})
    list(TRANSFORM ARG_DEPENDS PREPEND tarvik_)
    add_executable(${name}-test ${ARG_SOURCES})
    target_link_libraries(${name}-test PRIVATE ${ARG_DEPENDS} GTest::gmock_main)
    target_include_directories(${name}-test PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    # What is tested keeps its optimisation.
    target_compile_options(${name}-test PRIVATE ${TARVIK_QUICK_TO_BUILD})
    # Only a test that hangs gets that far. Emulation costs ten times the time and more.
    set(TIMEOUT 300)
    if(CMAKE_CROSSCOMPILING_EMULATOR)
        set(TIMEOUT 3000)
    endif()
    gtest_discover_tests(${name}-test TEST_PREFIX "${name}." DISCOVERY_TIMEOUT ${TIMEOUT}
        PROPERTIES TIMEOUT ${TIMEOUT} ${ARG_PROPERTIES})
endfunction()

# tarvik_program(tarvik-server PATH): the path by which tests start a program of ours. Where tests run
# under an emulator it is that of a script that starts the program there, too.
function(tarvik_program target result)
    if(NOT CMAKE_CROSSCOMPILING_EMULATOR)
        set(${result} $<TARGET_FILE:${target}> PARENT_SCOPE)
        return()
    endif()
    set(LAUNCHER ${CMAKE_CURRENT_BINARY_DIR}/emulated/${target})
    list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " EMULATOR)
    file(GENERATE OUTPUT ${LAUNCHER}
        CONTENT "#!/bin/sh\nexec ${EMULATOR} $<TARGET_FILE:${target}> \"$@\"\n"
        FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
    set(${result} ${LAUNCHER} PARENT_SCOPE)
endfunction()
