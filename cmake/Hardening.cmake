# What makes a fault harder to exploit, in every program: position-independent code at random
# addresses, a guard in every stack frame that holds an array, no stack that jumps over its guard
# page, checked string and memory functions, and an import table that is read-only from the start.
# scripts/check-hardening looks for each in the programs built.

option(TARVIK_HARDENING "Build with it; off only to measure what it costs" ON)

include(CheckCXXCompilerFlag)
include(CheckPIESupported)

check_pie_supported(LANGUAGES CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

add_library(tarvik_hardening INTERFACE)
if(NOT TARVIK_HARDENING)
    return()
endif()
target_compile_options(tarvik_hardening INTERFACE
    # All code ends in programs, none in shared libraries: cheaper than the -fPIC that CMake gives to
    # static libraries.
    -fPIE
    -fstack-protector-strong -Wformat-security)
# Not every processor has these.
foreach(FLAG -fstack-clash-protection -fcf-protection)
    string(MAKE_C_IDENTIFIER HAVE${FLAG} HAVE)
    check_cxx_compiler_flag(${FLAG} ${HAVE})
    if(${HAVE})
        target_compile_options(tarvik_hardening INTERFACE ${FLAG})
    endif()
endforeach()
target_link_options(tarvik_hardening INTERFACE LINKER:-z,relro,-z,now,-z,noexecstack)
if(NOT TARVIK_SANITIZE)
    # The checks need an optimising compiler, and the sanitizers have their own.
    target_compile_options(tarvik_hardening INTERFACE
        "$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>")
endif()
