# solvane_forwarder_dll(<name> <file.def>)
#
# <name>.dll for the rig's directory, with no code of its own: each of its exports forwards to
# solvane_rig.dll. The file lists them, with the ordinals of the vendor's DLL:
#
#     FT_Open = solvane_rig.FT_Open @1
#
# solvane_rig_exports() makes solvane_rig.dll export what all of these files name.
function(solvane_forwarder_dll name def)
  get_filename_component(def "${def}" ABSOLUTE)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${def}")
  file(STRINGS "${def}" forwards REGEX "= *solvane_rig\\.")
  list(TRANSFORM forwards REPLACE ".*= *solvane_rig\\.([A-Za-z0-9_]+).*" "\\1")
  set_property(GLOBAL APPEND PROPERTY SOLVANE_RIG_EXPORTS ${forwards})

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

# solvane_rig_exports(<target>): exports from <target> what the forwarder DLLs so far forward to.
function(solvane_rig_exports target)
  get_property(exports GLOBAL PROPERTY SOLVANE_RIG_EXPORTS)
  list(JOIN exports "\n    " exports)
  set(def "${CMAKE_CURRENT_BINARY_DIR}/${target}.def")
  file(CONFIGURE OUTPUT "${def}" CONTENT "EXPORTS\n    ${exports}\n" @ONLY)
  target_sources(${target} PRIVATE "${def}")
endfunction()
