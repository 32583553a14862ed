# solvane_vendor_import(<target> <file.def>)
#
# An import library for a vendor's DLL, made from the list of its calls that the library uses.
function(solvane_vendor_import target def)
  get_filename_component(def "${def}" ABSOLUTE)
  set(library "${CMAKE_CURRENT_BINARY_DIR}/${target}${CMAKE_STATIC_LIBRARY_SUFFIX}")
  if(MSVC)
    set(command "${CMAKE_AR}" /nologo /machine:x64 "/def:${def}" "/out:${library}")
  else()
    find_program(SOLVANE_DLLTOOL NAMES x86_64-w64-mingw32-dlltool dlltool REQUIRED)
    # dlltool derives symbols from the library's name, which must not contain the build tree's path.
    cmake_path(GET library FILENAME name)
    set(command "${SOLVANE_DLLTOOL}" --deterministic-libraries -d "${def}" -l "${name}")
  endif()
  add_custom_command(OUTPUT "${library}" COMMAND ${command} DEPENDS "${def}" VERBATIM
    WORKING_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}" COMMENT "Import library ${target}")
  add_custom_target(${target}_file DEPENDS "${library}")
  add_library(${target} INTERFACE)
  add_dependencies(${target} ${target}_file)
  target_link_libraries(${target} INTERFACE "${library}")
endfunction()
