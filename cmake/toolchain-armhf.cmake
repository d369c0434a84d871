# Cross-builds for 32-bit ARM (Debian armhf, the set's processor):
#   cmake -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-armhf.cmake ...
# The compiler and its C and C++ runtimes come from g++-arm-linux-gnueabihf
# (/usr/arm-linux-gnueabihf); every other library, its headers and its
# pkg-config and CMake files from the sysroot that scripts/setup-arm.sh
# unpacks (build-arm/sysroot, or QDUTIL_ARM_SYSROOT). Every program of the
# build, tests included, runs through qemu-arm.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

if(NOT QDUTIL_ARM_SYSROOT)
  if(DEFINED ENV{QDUTIL_ARM_SYSROOT})
    set(QDUTIL_ARM_SYSROOT $ENV{QDUTIL_ARM_SYSROOT})
  else()
    get_filename_component(QDUTIL_ARM_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build-arm/sysroot ABSOLUTE)
  endif()
endif()
if(NOT EXISTS ${QDUTIL_ARM_SYSROOT}/usr/include/node/v8.h)
  message(FATAL_ERROR "no armhf sysroot in ${QDUTIL_ARM_SYSROOT}: run scripts/setup-arm.sh first")
endif()
# try_compile projects read this file again and need the same sysroot.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QDUTIL_ARM_SYSROOT)
set(_arm_libs ${QDUTIL_ARM_SYSROOT}/usr/lib/arm-linux-gnueabihf ${QDUTIL_ARM_SYSROOT}/lib/arm-linux-gnueabihf)
# The cross toolchain's C and C++ runtimes and the target's dynamic loader,
# as files of this machine (the symbol check runs the loader to list what a
# library loads).
set(_arm_runtime /usr/arm-linux-gnueabihf)
set(QDUTIL_TARGET_LOADER ${_arm_runtime}/lib/ld-linux-armhf.so.3)

# The sysroot holds no C library, so it is a find root rather than the
# compiler's --sysroot: libraries, headers and packages are looked up there
# only, programs (pkg-config, the bus tools of the tests) on the build machine.
set(CMAKE_FIND_ROOT_PATH ${QDUTIL_ARM_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The multiarch header folder (jconfig.h, ffi.h) that a native compiler
# searches by itself. -Wno-psabi: GCC notes that GCC 7.1 changed how some
# arguments are passed on ARM, which concerns code built before it only.
set(CMAKE_C_FLAGS_INIT "-isystem ${QDUTIL_ARM_SYSROOT}/usr/include/arm-linux-gnueabihf")
set(CMAKE_CXX_FLAGS_INIT "-isystem ${QDUTIL_ARM_SYSROOT}/usr/include/arm-linux-gnueabihf -Wno-psabi")
# Libraries that the linked libraries need in turn (libnode's ICU, GIO's
# libmount...) are found in the sysroot at link time; nothing of it is
# recorded in the binaries.
set(_arm_rpath_link "")
foreach(dir ${_arm_libs})
  string(APPEND _arm_rpath_link " -Wl,-rpath-link,${dir}")
endforeach()
set(CMAKE_EXE_LINKER_FLAGS_INIT "${_arm_rpath_link}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${_arm_rpath_link}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${_arm_rpath_link}")

# pkg-config reads the sysroot's .pc files only and prefixes their paths.
set(ENV{PKG_CONFIG_LIBDIR}
  "${QDUTIL_ARM_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${QDUTIL_ARM_SYSROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${QDUTIL_ARM_SYSROOT})
unset(ENV{PKG_CONFIG_PATH})

# The emulator: the C library's loader and runtimes from the cross
# toolchain's folder (-L), the other libraries from the sysroot, set for the
# ARM program only (-E), so programs of the build machine that a test starts
# are untouched. One executable file with the paths written in, so that
# shell test runners can put it before a program as it is (TARN_EMULATOR),
# and exec, so that a signal sent to its process reaches the program.
# The runtimes' folder comes last on the path, so that the loader reports
# every library by its path on this machine.
string(REPLACE ";" ":" _arm_library_path "${_arm_libs};${_arm_runtime}/lib")
set(_arm_wrapper ${QDUTIL_ARM_SYSROOT}/qemu-armhf)
set(_arm_wrapper_text "#!/bin/sh
# Written by cmake/toolchain-armhf.cmake: runs a 32-bit ARM program of the build.
exec qemu-arm -L ${_arm_runtime} -E LD_LIBRARY_PATH=${_arm_library_path} \"$@\"
")
set(_arm_wrapper_old "")
if(EXISTS ${_arm_wrapper})
  file(READ ${_arm_wrapper} _arm_wrapper_old)
endif()
if(NOT _arm_wrapper_old STREQUAL _arm_wrapper_text)
  file(WRITE ${_arm_wrapper} "${_arm_wrapper_text}")
  file(CHMOD ${_arm_wrapper} PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
endif()
set(CMAKE_CROSSCOMPILING_EMULATOR ${_arm_wrapper})
