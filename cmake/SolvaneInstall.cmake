# The content of `cmake --install` and of the packages: the library for host developers, the rig to run their
# hosts on, and beside every binary its symbols (<file>.debug).

# solvane_import_library(<name> <file.def>): <build tree>/lib/<name>.lib, an import library that both
# GNU's ld and Microsoft's linker (or lld-link) take. ld's own is for ld alone.
find_program(SOLVANE_LLVM_DLLTOOL NAMES llvm-dlltool-14 llvm-dlltool REQUIRED)
file(MAKE_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
function(solvane_import_library name definition)
  add_custom_command(OUTPUT "${CMAKE_BINARY_DIR}/lib/${name}.lib"
    COMMAND "${SOLVANE_LLVM_DLLTOOL}" -m i386:x86-64 -d "${definition}" -l ${name}.lib
    WORKING_DIRECTORY "${CMAKE_BINARY_DIR}/lib"
    DEPENDS "${definition}" VERBATIM COMMENT "Import library ${name}.lib")
  add_custom_target(${name}_import_library ALL DEPENDS "${CMAKE_BINARY_DIR}/lib/${name}.lib")
  add_dependencies(products ${name}_import_library)
endfunction()

file(MAKE_DIRECTORY "${CMAKE_BINARY_DIR}/maps")

set(definition "${CMAKE_SOURCE_DIR}/src/api/solvane.def")
solvane_import_library(Solvane "${definition}")

# The functions of the rig's header, for hosts' own tests.
set(rig_header "${CMAKE_SOURCE_DIR}/rig/include/solvane/rig.h")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${rig_header}")
file(STRINGS "${rig_header}" functions REGEX "^SOLVANE_RIG_API ")
list(TRANSFORM functions REPLACE ".*[ *](rig_[a-z_]+)\\(.*" "    \\1")
list(JOIN functions "\n" functions)
file(CONFIGURE OUTPUT "${CMAKE_BINARY_DIR}/lib/solvane_rig.def"
  CONTENT "LIBRARY solvane_rig.dll\nEXPORTS\n${functions}\n" @ONLY)
solvane_import_library(solvane_rig "${CMAKE_BINARY_DIR}/lib/solvane_rig.def")

# solvane_install_binary(<target> <directory>): stripped, with a link to its symbols, and without the time
# that objcopy would write into it.
function(solvane_install_binary target directory)
  install(PROGRAMS "$<TARGET_FILE:${target}>" DESTINATION ${directory})
  # The map says what is linked in, for the bill of materials.
  target_link_options(${target} PRIVATE "LINKER:-Map,${CMAKE_BINARY_DIR}/maps/$<TARGET_FILE_NAME:${target}>.map")
  install(CODE "
    set(installed \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${directory}\")
    string(APPEND installed \"/$<TARGET_FILE_NAME:${target}>\")
    foreach(step \"--only-keep-debug;$<TARGET_FILE:${target}>;\${installed}.debug\"
                 \"--strip-all;\${installed}\"
                 \"--add-gnu-debuglink=\${installed}.debug;\${installed}\")
      execute_process(COMMAND \"\${CMAKE_COMMAND}\" -E env SOURCE_DATE_EPOCH=0
        \"${CMAKE_OBJCOPY}\" \${step} COMMAND_ERROR_IS_FATAL ANY)
    endforeach()
    file(CHMOD \"\${installed}.debug\" PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)")
endfunction()

solvane_install_binary(Solvane bin)
solvane_install_binary(solvane_host bin)
foreach(target solvane_rig EAPI_Library FTD2XX inpoutx64 rig_wbem solvane_record solvane_rig_tool SolvaneDevice)
  solvane_install_binary(${target} rig)
endforeach()

install(FILES "${CMAKE_BINARY_DIR}/lib/Solvane.lib" "${definition}" DESTINATION lib)
install(FILES include/solvane/solvane.h DESTINATION include/solvane)
install(FILES rig/include/solvane/rig.h DESTINATION rig/include/solvane)
install(FILES "${CMAKE_BINARY_DIR}/lib/solvane_rig.lib" DESTINATION rig/lib)
install(DIRECTORY rig/scenarios/ DESTINATION rig/scenarios FILES_MATCHING PATTERN "*.toml")
install(FILES examples/CMakeLists.txt examples/capture.c examples/capture.cpp examples/on_the_rig.c
  examples/take_a_picture.c DESTINATION examples)
install(DIRECTORY examples/c examples/cpp examples/csharp examples/node examples/no_crt
  examples/python DESTINATION examples PATTERN "__pycache__" EXCLUDE)
install(DIRECTORY bindings DESTINATION . PATTERN "__pycache__" EXCLUDE)

include(CMakePackageConfigHelpers)
set(generated "${CMAKE_BINARY_DIR}/install")
write_basic_package_version_file("${generated}/SolvaneConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES cmake/install/SolvaneConfig.cmake "${generated}/SolvaneConfigVersion.cmake"
  DESTINATION lib/cmake/Solvane)
configure_file(cmake/install/solvane.pc.in "${generated}/solvane.pc" @ONLY)
install(FILES "${generated}/solvane.pc" DESTINATION lib/pkgconfig)

# The same paths as in the source tree, so that links work. The first page is the archive's own.
configure_file(packaging/archive.md.in "${generated}/README.md" @ONLY)
install(FILES "${generated}/README.md" CHANGELOG.md DESTINATION .)
install(DIRECTORY docs DESTINATION .
  FILES_MATCHING PATTERN "*.md" PATTERN "*.svg" PATTERN "*.png" PATTERN "*.vcd")
install(FILES rig/README.md DESTINATION rig)
