# For find_package(Solvane), from wherever the archive was unpacked: the targets Solvane::Solvane, with the
# headers for C and C++, and Solvane::Rig for tests.
get_filename_component(_solvane "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)
if(NOT TARGET Solvane::Solvane)
  add_library(Solvane::Solvane SHARED IMPORTED)
  set_target_properties(Solvane::Solvane PROPERTIES
    IMPORTED_LOCATION "${_solvane}/bin/Solvane.dll"
    IMPORTED_IMPLIB "${_solvane}/lib/Solvane.lib"
    INTERFACE_INCLUDE_DIRECTORIES "${_solvane}/include;${_solvane}/bindings/cpp")
endif()
if(NOT TARGET Solvane::Rig AND EXISTS "${_solvane}/rig/lib/solvane_rig.lib")
  add_library(Solvane::Rig SHARED IMPORTED)
  set_target_properties(Solvane::Rig PROPERTIES
    IMPORTED_LOCATION "${_solvane}/rig/solvane_rig.dll"
    IMPORTED_IMPLIB "${_solvane}/rig/lib/solvane_rig.lib"
    INTERFACE_INCLUDE_DIRECTORIES "${_solvane}/rig/include;${_solvane}/bindings/cpp")
endif()
unset(_solvane)
