# For find_package(Solvane): the target Solvane::Solvane, from wherever the archive was unpacked.
get_filename_component(_solvane "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)
if(NOT TARGET Solvane::Solvane)
  add_library(Solvane::Solvane SHARED IMPORTED)
  set_target_properties(Solvane::Solvane PROPERTIES
    IMPORTED_LOCATION "${_solvane}/bin/Solvane.dll"
    IMPORTED_IMPLIB "${_solvane}/lib/Solvane.lib"
    INTERFACE_INCLUDE_DIRECTORIES "${_solvane}/include")
endif()
unset(_solvane)
