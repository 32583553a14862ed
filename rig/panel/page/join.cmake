# Joins the page's sources into one file, which loads nothing else:
#
#   cmake -DOUTPUT=panel.html -DFUNCTIONS=vendor_functions.inc -P join.cmake
#
# The modules become one script.
cmake_minimum_required(VERSION 3.25)
set(page "${CMAKE_CURRENT_LIST_DIR}")

# What a module imports stands before it.
set(modules format journal drawing lines connection installation_parts installation calls faults functions panel)

file(READ "${FUNCTIONS}" rows)
string(REGEX MATCHALL "\n(D2XX[A-Z_]*|EAPI|INPOUT)\\([A-Za-z0-9_]+" names "${rows}")
list(TRANSFORM names REPLACE "\n[A-Z0-9_]+\\(" "")
string(REGEX MATCHALL "\nWMI\\([A-Za-z]+, [A-Za-z]+" methods "${rows}")
list(TRANSFORM methods REPLACE "\nWMI\\(([A-Za-z]+), " "\\1::")
list(APPEND names ${methods})
list(SORT names)
list(JOIN names " " names)

# Each module keeps its names to itself but for what it exports.
set(script "\"use strict\";\n")
foreach(module IN LISTS modules)
  file(READ "${page}/${module}.mjs" source)
  string(REGEX MATCHALL "\nexport (async )?[a-z]+ [A-Za-z0-9_]+" exports "\n${source}")
  list(TRANSFORM exports REPLACE ".* " "")
  list(JOIN exports ", " exports)
  string(REGEX REPLACE "(^|\n)import [^;]*;" "\\1" source "${source}")
  string(REGEX REPLACE "(^|\n)export " "\\1" source "${source}")
  string(APPEND script "const { ${exports} } = (() => {\n${source}return { ${exports} };\n})();\n")
endforeach()
string(REPLACE "@FUNCTIONS@" "* ${names}" script "${script}")
file(READ "${page}/panel.css" style)

file(READ "${page}/page.html" html)
string(REPLACE "@STYLE@" "${style}" html "${html}")
string(REPLACE "@SCRIPT@" "${script}" html "${html}")
file(WRITE "${OUTPUT}" "${html}")
