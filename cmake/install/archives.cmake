# Makes two archives of CPack's staged files: everything but the symbols, and the symbols, which unpack
# into the same directory. The same files give the same bytes: the names are sorted, and every time is
# that of the commit.
set(root "${CPACK_TEMPORARY_DIRECTORY}")
cmake_path(GET root PARENT_PATH directory)
set(name "${CPACK_PACKAGE_FILE_NAME}")

set(time "$ENV{SOURCE_DATE_EPOCH}")
if(time STREQUAL "")
  execute_process(COMMAND git -C "${CMAKE_CURRENT_LIST_DIR}" log -1 --format=%ct
    OUTPUT_VARIABLE time OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
endif()

find_program(ZIP zip REQUIRED)
set(ENV{TZ} UTC)

# archive(<file name> <files ...>)
function(archive file)
  list(TRANSFORM ARGN PREPEND "${name}/")
  list(JOIN ARGN "\n" names)
  file(WRITE "${directory}/names" "${names}\n")
  set(result "${directory}/${file}")
  file(REMOVE "${result}")
  execute_process(COMMAND touch -d "@${time}" ${ARGN}
    WORKING_DIRECTORY "${directory}" COMMAND_ERROR_IS_FATAL ANY)
  # -X leaves out the user and the finer times.
  execute_process(COMMAND "${ZIP}" -q -X -9 "${result}" -@ INPUT_FILE "${directory}/names"
    WORKING_DIRECTORY "${directory}" COMMAND_ERROR_IS_FATAL ANY)
  list(APPEND CPACK_EXTERNAL_BUILT_PACKAGES "${result}")
  set(CPACK_EXTERNAL_BUILT_PACKAGES "${CPACK_EXTERNAL_BUILT_PACKAGES}" PARENT_SCOPE)
endfunction()

file(GLOB_RECURSE files RELATIVE "${root}" "${root}/*")
list(SORT files)
set(symbols "${files}")
list(FILTER symbols INCLUDE REGEX "\\.debug$")
list(FILTER files EXCLUDE REGEX "\\.debug$")

set(sums "")
foreach(file IN LISTS files)
  file(SHA256 "${root}/${file}" sum)
  string(APPEND sums "${sum}  ${file}\n")
endforeach()
file(WRITE "${root}/SHA256SUMS" "${sums}")
file(CHMOD "${root}/SHA256SUMS" PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)

archive("${name}.zip" SHA256SUMS ${files})
archive("${name}-symbols.zip" ${symbols})
