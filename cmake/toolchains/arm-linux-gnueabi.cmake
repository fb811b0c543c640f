# A camera's processor: ARM926EJ-S (ARMv5TE, little-endian, no floating-point unit), built with
# Debian's cross compiler for armel and run here by QEMU's user emulation. Libraries come from
# Debian's armel packages, headers-only ones from the host's; scripts/setup arm installs both.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabi)

set(CMAKE_C_COMPILER arm-linux-gnueabi-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabi-g++)
set(CMAKE_CXX_FLAGS_INIT "-mcpu=arm926ej-s -mfloat-abi=soft")

# The emulated processor has no more than the real one: an instruction of a later one ends a test.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -cpu arm926)
