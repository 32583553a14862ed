# solvane_options: the compile options of every target of the project.
add_library(solvane_options INTERFACE)

if(MSVC)
  target_compile_options(solvane_options INTERFACE /W4 /WX /utf-8 /permissive- /Zc:preprocessor)
else()
  target_compile_options(solvane_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
endif()

if(WIN32)
  # Windows 10, and none of the macros that break C++ names.
  target_compile_definitions(solvane_options INTERFACE
    _WIN32_WINNT=0x0A00 WIN32_LEAN_AND_MEAN NOMINMAX UNICODE _UNICODE)
endif()

# Symbols for the debugger. They name the sources as /solvane/..., so that a build gives the same bytes in
# every directory. Tests need none.
define_property(TARGET PROPERTY SOLVANE_NO_SYMBOLS INITIALIZE_FROM_VARIABLE SOLVANE_NO_SYMBOLS)
add_library(solvane_symbols INTERFACE)
if(MINGW)
  target_compile_options(solvane_symbols INTERFACE
    $<IF:$<BOOL:$<TARGET_PROPERTY:SOLVANE_NO_SYMBOLS>>,-g0,-g>)
  if(NOT SOLVANE_COVERAGE) # which looks for the sources
    target_compile_options(solvane_symbols INTERFACE
      "-ffile-prefix-map=${CMAKE_SOURCE_DIR}=/solvane"
      "-ffile-prefix-map=${CMAKE_BINARY_DIR}=/solvane/build")
  endif()
endif()

if(MINGW)
  # Without the compiler's run-time DLLs; the same bytes from every build.
  target_link_libraries(solvane_options INTERFACE solvane_symbols)
  # No -fdata-sections: zeros would then take space in the file.
  target_compile_options(solvane_options INTERFACE -ffunction-sections)
  target_link_options(solvane_options INTERFACE
    -static -Wl,--gc-sections -Wl,--no-insert-timestamp
    -Wl,--dynamicbase -Wl,--high-entropy-va -Wl,--nxcompat)
endif()

if(SOLVANE_SANITIZE)
  target_compile_options(solvane_options INTERFACE
    -fsanitize=${SOLVANE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(solvane_options INTERFACE -fsanitize=${SOLVANE_SANITIZE})
endif()

if(SOLVANE_COVERAGE AND NOT WIN32) # programs that contain src/
  target_compile_definitions(solvane_options INTERFACE SOLVANE_COVERAGE)
  target_link_options(solvane_options INTERFACE --coverage)
endif()

# solvane_measured(): measures the coverage of what is compiled in this directory. Atomically, because some
# tests have threads.
macro(solvane_measured)
  if(SOLVANE_COVERAGE)
    add_compile_options(--coverage -fprofile-abs-path -fprofile-update=atomic)
    add_link_options(--coverage)
  endif()
endmacro()

# What fuzzers are guided by: what they are about. The hardware behind it would only slow them down.
if(SOLVANE_BUILD_FUZZERS)
  set(SOLVANE_FUZZED -fsanitize=fuzzer-no-link)
endif()

# solvane_room(<name> [SOURCES ...] [SEES <targets this room's headers need>]
#              [USES <targets its sources need>])
#
# A room (docs/architecture.md): a static library whose include path is its own directory and nothing else,
# so that it can include exactly the rooms that are given here.
function(solvane_room name)
  cmake_parse_arguments(ROOM "" "" "SOURCES;SEES;USES" ${ARGN})
  if(ROOM_SOURCES)
    add_library(${name} STATIC ${ROOM_SOURCES})
    target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC ${ROOM_SEES} PRIVATE ${ROOM_USES} solvane_options)
  else()
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name} INTERFACE ${ROOM_SEES})
  endif()
endfunction()
