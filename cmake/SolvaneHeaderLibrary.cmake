# solvane_header_library(<target> <header> <directory>)
#
# Makes a header-only library of the system (CLI11, toml++, ...) usable by every toolchain. A
# cross-compiler must not see /usr/include, which has the build machine's C library, so only the
# library's directory is linked into the build tree.
function(solvane_header_library target header directory)
  if(TARGET ${target})
    return()
  endif()
  find_path(${target}_ROOT ${header} REQUIRED NO_CMAKE_FIND_ROOT_PATH)
  set(root "${CMAKE_BINARY_DIR}/headers/${target}")
  file(MAKE_DIRECTORY "${root}")
  file(CREATE_LINK "${${target}_ROOT}/${directory}" "${root}/${directory}" COPY_ON_ERROR SYMBOLIC)
  add_library(${target} INTERFACE)
  target_include_directories(${target} SYSTEM INTERFACE "${root}")
endfunction()
