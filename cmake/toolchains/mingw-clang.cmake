# 64-bit Windows from Linux with clang, on mingw-w64's headers, import libraries and C++ library.
include("${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake")
set(CMAKE_C_COMPILER clang-14)
set(CMAKE_CXX_COMPILER clang++-14)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)

# clang looks for the compiler's libraries in a directory that is named by a version number alone, and
# finds them there, beside the target's own, through a directory of two links.
if(NOT SOLVANE_CLANG_SYSROOT) # which the projects that CMake tries the compiler with are given
  set(SOLVANE_CLANG_SYSROOT "${CMAKE_BINARY_DIR}/sysroot")
  file(GLOB directory /usr/lib/gcc/x86_64-w64-mingw32/*-posix)
  string(REGEX REPLACE ".*/([0-9]+)-posix$" "\\1" version "${directory}")
  file(MAKE_DIRECTORY "${SOLVANE_CLANG_SYSROOT}/lib/gcc/x86_64-w64-mingw32")
  file(CREATE_LINK "${directory}"
    "${SOLVANE_CLANG_SYSROOT}/lib/gcc/x86_64-w64-mingw32/${version}" SYMBOLIC)
  file(CREATE_LINK /usr/x86_64-w64-mingw32 "${SOLVANE_CLANG_SYSROOT}/x86_64-w64-mingw32" SYMBOLIC)
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES SOLVANE_CLANG_SYSROOT)
set(CMAKE_SYSROOT "${SOLVANE_CLANG_SYSROOT}")

# What gcc does unasked, and its C++ library therefore needs: POSIX threads, and thread-local variables that
# the compiler's library emulates.
set(CMAKE_CXX_FLAGS_INIT "-pthread -femulated-tls")
# GNU's ld warns of every constant that both compilers have put into a section of its own.
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-fuse-ld=lld")
endforeach()
