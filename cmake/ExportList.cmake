# Writes the linker's version script from the table of the exported surface:
#   cmake -DTABLE=exports.def -DOUTPUT=exports.map -P ExportList.cmake
# A row of the table is one line, so names are read line by line; an impossible number of rows means
# that the layout of the table has changed.
file(STRINGS ${TABLE} rows REGEX "^ZDB_(PLAIN|TEXT|TWIN|ENTRY)\\(")
set(names)
foreach(row IN LISTS rows)
  string(REGEX REPLACE "^ZDB_TWIN\\([A-Za-z]+, (ZDB_[A-Z]+), " "\\1(" row "${row}")
  if(row MATCHES "^ZDB_ENTRY\\(([a-z_]+), ")
    list(APPEND names ${CMAKE_MATCH_1})
  elseif(row MATCHES "^ZDB_(PLAIN|TEXT)\\([A-Za-z]+, ([a-z]+), ")
    list(APPEND names c__${CMAKE_MATCH_2})
    if(CMAKE_MATCH_1 STREQUAL "TEXT")
      list(APPEND names d__${CMAKE_MATCH_2})
    endif()
  else()
    message(FATAL_ERROR "cannot read this row of ${TABLE}: ${row}")
  endif()
endforeach()
list(LENGTH names count)
if(count LESS 100)
  message(FATAL_ERROR "only ${count} exports found in ${TABLE}")
endif()
list(SORT names)
# The bulk interface has no calling families, and its prefix is used for nothing else.
list(APPEND names zdbx_*)
list(JOIN names ";\n    " globals)
file(WRITE ${OUTPUT} "{\n  global:\n    ${globals};\n  local:\n    *;\n};\n")
