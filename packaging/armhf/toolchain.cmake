# Cross-builds for 32-bit ARM with the libraries that `sysroot` unpacks; tests run under qemu.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)  # notes on an ABI that changed with GCC 7
set(MAILVANE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../../build/armhf-sysroot CACHE PATH
    "The unpacked 32-bit ARM packages")
set(CMAKE_SYSROOT ${MAILVANE_SYSROOT})
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm;-L;${MAILVANE_SYSROOT})
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES MAILVANE_SYSROOT)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Makes pkg-config use only the libraries in the folder.
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${MAILVANE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR}
    ${MAILVANE_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${MAILVANE_SYSROOT}/usr/share/pkgconfig)
