# Finds the libraries the project builds against. V8 is Debian's libnode: either
# installed (libnode-dev) or unpacked by scripts/setup.sh into third_party/libnode.
find_package(PkgConfig REQUIRED)

set(_libnode_local ${CMAKE_SOURCE_DIR}/third_party/libnode/usr)
# Headers and library must come from the same libnode: another Node.js build
# may have put its own (newer) V8 headers in /usr/include/node, and a cache
# made before the unpacked copy existed must not keep pointing there. A
# cross build takes both from its toolchain's sysroot instead.
if(NOT CMAKE_CROSSCOMPILING AND EXISTS ${_libnode_local}/include/node/v8.h)
  set(V8_INCLUDE_DIR ${_libnode_local}/include/node CACHE PATH "V8 headers" FORCE)
endif()
find_path(V8_INCLUDE_DIR v8.h
  PATHS ${_libnode_local}/include/node /usr/include/node
  NO_DEFAULT_PATH)
find_library(V8_LIBRARY NAMES node libnode.so.108
  PATHS ${_libnode_local}/lib/x86_64-linux-gnu ${_libnode_local}/lib/aarch64-linux-gnu
        /usr/lib/x86_64-linux-gnu /usr/lib/aarch64-linux-gnu /usr/lib/arm-linux-gnueabihf
  NO_DEFAULT_PATH)
if(NOT V8_INCLUDE_DIR OR NOT V8_LIBRARY)
  message(FATAL_ERROR "V8 (libnode) not found: run scripts/setup.sh first")
endif()
file(STRINGS ${V8_INCLUDE_DIR}/v8-version.h _v8_major REGEX "define V8_MAJOR_VERSION")
file(STRINGS ${V8_INCLUDE_DIR}/v8-version.h _v8_minor REGEX "define V8_MINOR_VERSION")
if(NOT _v8_major MATCHES " 10$" OR NOT _v8_minor MATCHES " 2$")
  message(FATAL_ERROR "V8 headers in ${V8_INCLUDE_DIR} are not V8 10.2 (Debian's libnode): "
                      "run scripts/setup.sh, then delete the build folder's CMakeCache.txt")
endif()
get_filename_component(V8_LIBRARY_DIR ${V8_LIBRARY} DIRECTORY)
add_library(v8 INTERFACE IMPORTED)
# -isystem: warnings inside V8's own headers are not ours to fix.
target_include_directories(v8 SYSTEM INTERFACE ${V8_INCLUDE_DIR})
target_link_libraries(v8 INTERFACE ${V8_LIBRARY})
# A cross build's libnode sits in the sysroot of the build machine: no run
# path names it (on the set libnode is in the system's library folder; under
# the emulator its wrapper gives the sysroot's).
if(NOT CMAKE_CROSSCOMPILING)
  target_link_options(v8 INTERFACE "-Wl,-rpath,${V8_LIBRARY_DIR}")
endif()
message(STATUS "V8 from ${V8_LIBRARY}")
# The inspector's header ships in libnode-dev beside V8's source tree only;
# the V8 headers it includes from there are the same files as above.
get_filename_component(V8_INSPECTOR_INCLUDE_DIR ${V8_INCLUDE_DIR}/../nodejs/deps/v8/include ABSOLUTE)
if(NOT EXISTS ${V8_INSPECTOR_INCLUDE_DIR}/v8-inspector.h)
  message(FATAL_ERROR "v8-inspector.h not found in ${V8_INSPECTOR_INCLUDE_DIR}: run scripts/setup.sh")
endif()
add_library(v8inspector INTERFACE IMPORTED)
target_include_directories(v8inspector SYSTEM INTERFACE ${V8_INSPECTOR_INCLUDE_DIR})
target_link_libraries(v8inspector INTERFACE v8)

pkg_check_modules(GLIB REQUIRED IMPORTED_TARGET glib-2.0 gio-2.0 gobject-2.0)
pkg_check_modules(JSONCPP REQUIRED IMPORTED_TARGET jsoncpp)
# libedit (BSD licence): the line editor of tarn-run's interactive prompt.
pkg_check_modules(LIBEDIT REQUIRED IMPORTED_TARGET libedit)
find_package(Boost 1.74 REQUIRED COMPONENTS system)
find_package(GTest REQUIRED)
find_package(PNG REQUIRED)
find_package(JPEG REQUIRED)
find_package(Threads REQUIRED)

find_path(TINYXML_INCLUDE_DIR tinyxml.h REQUIRED)
find_library(TINYXML_LIBRARY tinyxml REQUIRED)
add_library(tinyxml INTERFACE IMPORTED)
target_include_directories(tinyxml SYSTEM INTERFACE ${TINYXML_INCLUDE_DIR})
target_compile_definitions(tinyxml INTERFACE TIXML_USE_STL)
target_link_libraries(tinyxml INTERFACE ${TINYXML_LIBRARY})
