# solvane_header_library(<target> <header> <directory>)
#
# Makes a header-only library that the system has (CLI11, toml++, ...) usable by every toolchain. A
# cross-compiler must not be given /usr/include, which holds the host's own C library, so the
# library's directory alone is linked into the build tree. Several rooms may ask for the same one.
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
