# solvane_forwarder_dll(<name> <export>...)
#
# <name>.dll for the rig's directory, with no code of its own: each of its exports forwards to
# solvane_rig.dll. They are given as in a module definition file:
#
#     FT_Open = solvane_rig.FT_Open @1
#
# solvane_rig_exports() makes solvane_rig.dll export what all of these DLLs forward to.
function(solvane_forwarder_dll name)
  list(TRANSFORM ARGN REPLACE ".*= *solvane_rig\\.([A-Za-z0-9_]+).*" "\\1" OUTPUT_VARIABLE forwards)
  set_property(GLOBAL APPEND PROPERTY SOLVANE_RIG_EXPORTS ${forwards})
  list(JOIN ARGN "\n    " exports)
  set(def "${CMAKE_CURRENT_BINARY_DIR}/${name}.def")
  file(CONFIGURE OUTPUT "${def}" CONTENT "LIBRARY ${name}.dll\nEXPORTS\n    ${exports}\n" @ONLY)

  # A linker wants something to link.
  set(stub "${CMAKE_CURRENT_BINARY_DIR}/${name}.c")
  file(CONFIGURE OUTPUT "${stub}" CONTENT "extern int solvane_rig_forwarder;\n")
  add_library(${name} SHARED "${stub}" "${def}")
  set_target_properties(${name} PROPERTIES PREFIX ""
    RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/rig"
    ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}")
  target_link_libraries(${name} PRIVATE solvane_options)
  if(MSVC)
    target_link_options(${name} PRIVATE /NOENTRY)
  else()
    target_link_options(${name} PRIVATE -nostdlib -Wl,--entry,0)
  endif()
endfunction()

# solvane_vendor_dll(<name> <row>): the forwarder DLL of the functions that rows of vendor_functions.inc
# describe whose name is this or begins with it.
function(solvane_vendor_dll name row)
  set(table "${PROJECT_SOURCE_DIR}/rig/calls/vendor_functions.inc")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${table}")
  file(STRINGS "${table}" rows REGEX "^${row}[A-Z0-9_]*\\(")
  list(TRANSFORM rows REPLACE "^${row}[A-Z0-9_]*\\(([A-Za-z0-9_]+), *([0-9]*).*" "\\1 = solvane_rig.\\1 @\\2")
  list(TRANSFORM rows REPLACE " @$" "") # bound by name
  solvane_forwarder_dll(${name} ${rows})
endfunction()

# solvane_rig_exports(<target>): has <target> export what all forwarder DLLs defined before forward to.
function(solvane_rig_exports target)
  get_property(exports GLOBAL PROPERTY SOLVANE_RIG_EXPORTS)
  list(JOIN exports "\n    " exports)
  set(def "${CMAKE_CURRENT_BINARY_DIR}/${target}.def")
  file(CONFIGURE OUTPUT "${def}" CONTENT "EXPORTS\n    ${exports}\n" @ONLY)
  target_sources(${target} PRIVATE "${def}")
endfunction()
