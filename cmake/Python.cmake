# Finds the Python for which the package zdbcc is built, with its headers, numpy and pybind11: the
# interpreter of ZDB_PYTHON, or the first python3 that has what is needed. Sets ZDB_PYTHON_FOUND, or
# ZDB_PYTHON_MISSING to a line that says what is not there.
set(ZDB_PYTHON "" CACHE FILEPATH "Python interpreter for the package zdbcc; empty: the first that has what is needed")

if(NOT ZDB_PYTHON AND DEFINED CACHE{Python_EXECUTABLE} AND NOT SKBUILD)
  set(ZDB_PYTHON ${Python_EXECUTABLE})  # CMake's own name for it
endif()

set(ZDB_PYTHON_FOUND FALSE)
set(ZDB_PYTHON_USED "" CACHE INTERNAL "The interpreter that was chosen")
# A plain interpreter cannot load a library with sanitizers.
if(ZDB_SANITIZE OR ZDB_SANITIZE_THREADS)
  set(ZDB_PYTHON_MISSING "a Python interpreter cannot load libraries with sanitizers")
  return()
endif()

# pip names the interpreter for which it builds; numpy need not be there for that.
set(needed "import os, sys, sysconfig, numpy")
if(SKBUILD)
  set(candidates ${Python_EXECUTABLE})
  set(needed "import os, sys, sysconfig")
elseif(ZDB_PYTHON)
  set(candidates ${ZDB_PYTHON})
else()
  string(REPLACE ":" ";" folders "$ENV{PATH}")
  set(candidates "")
  foreach(folder IN LISTS folders ITEMS /usr/bin)
    if(EXISTS ${folder}/python3)
      list(APPEND candidates ${folder}/python3)
    endif()
  endforeach()
  list(REMOVE_DUPLICATES candidates)
endif()
set(ZDB_PYTHON_MISSING "no python3 is found that is 3.11 or newer and has its headers and numpy")
foreach(candidate IN LISTS candidates)
  execute_process(COMMAND ${candidate} -c "${needed}
assert sys.version_info >= (3, 11)
assert os.path.exists(sysconfig.get_path('include') + '/Python.h')"
    RESULT_VARIABLE failed OUTPUT_QUIET ERROR_QUIET)
  if(failed)
    continue()
  endif()
  set(Python_EXECUTABLE ${candidate})
  execute_process(COMMAND ${candidate} -m pybind11 --cmakedir OUTPUT_VARIABLE pybind11_own
    ERROR_QUIET OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(pybind11_own)
    set(pybind11_ROOT ${pybind11_own})
  endif()
  find_package(Python 3.11 QUIET COMPONENTS Interpreter Development.Module)
  find_package(pybind11 2.10 QUIET CONFIG)
  if(Python_FOUND AND pybind11_FOUND)
    set(ZDB_PYTHON_FOUND TRUE)
    set(ZDB_PYTHON_USED ${Python_EXECUTABLE} CACHE INTERNAL "The interpreter that was chosen")
  else()
    set(ZDB_PYTHON_MISSING "pybind11 is not found (Debian: pybind11-dev)")
  endif()
  break()
endforeach()
