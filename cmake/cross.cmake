# A cross build with Debian's compiler for CROSS_TRIPLET. Libraries and headers of that machine come from CROSS_ROOT, a
# tree of unpacked packages; nothing of the build machine's is looked at.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${CROSS_ARCHITECTURE})
set(CMAKE_C_COMPILER ${CROSS_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${CROSS_TRIPLET}-g++)

set(CROSS_ROOT ${CMAKE_CURRENT_LIST_DIR}/../build/roots/${CROSS_ARCHITECTURE})
cmake_path(NORMAL_PATH CROSS_ROOT)
set(cross_library_dirs ${CROSS_ROOT}/usr/lib/${CROSS_TRIPLET} ${CROSS_ROOT}/lib/${CROSS_TRIPLET})

# pkg-config leaves out what it takes for the system's own folders.
set(ENV{PKG_CONFIG_LIBDIR} ${CROSS_ROOT}/usr/lib/${CROSS_TRIPLET}/pkgconfig:${CROSS_ROOT}/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CROSS_ROOT})
set(CMAKE_C_FLAGS_INIT "-isystem ${CROSS_ROOT}/usr/include")
set(CMAKE_CXX_FLAGS_INIT ${CMAKE_C_FLAGS_INIT})
set(linker_flags "")
foreach(dir ${cross_library_dirs})
  string(APPEND linker_flags " -L${dir} -Wl,-rpath-link,${dir}")
endforeach()
set(CMAKE_EXE_LINKER_FLAGS_INIT ${linker_flags})
set(CMAKE_SHARED_LINKER_FLAGS_INIT ${linker_flags})

set(CMAKE_FIND_ROOT_PATH ${CROSS_ROOT})
set(CMAKE_LIBRARY_ARCHITECTURE ${CROSS_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Tests run under user-mode emulation.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-${CROSS_ARCHITECTURE}-static;-L;${CROSS_ROOT})
# Which tests there are is asked where ctest runs them, not after each build.
set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST)
