# What every target of the project shares: language, warnings, sanitizers, and one-line declarations.

option(TARVIK_TESTS "Build the tests" ON)
option(TARVIK_BENCH "Build the benchmarks" OFF)
set(TARVIK_SANITIZE "" CACHE STRING "Sanitizers to build with, as for -fsanitize=")

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

find_package(Threads REQUIRED)

add_library(tarvik_options INTERFACE)
target_compile_features(tarvik_options INTERFACE cxx_std_20)
target_include_directories(tarvik_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_link_libraries(tarvik_options INTERFACE Threads::Threads)
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
if(TARVIK_SANITIZE)
    target_compile_options(tarvik_options INTERFACE
        -fsanitize=${TARVIK_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(tarvik_options INTERFACE -fsanitize=${TARVIK_SANITIZE})
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
    # What is tested keeps its optimisation; the tests themselves build faster without.
    target_compile_options(${name}-test PRIVATE -O1)
    gtest_discover_tests(${name}-test TEST_PREFIX "${name}." DISCOVERY_TIMEOUT 60
        PROPERTIES TIMEOUT 300 ${ARG_PROPERTIES})
endfunction()
