# Everything except the library itself is off if the project is part of another one.
option(ZDB_BUILD_COMPANIONS "Build the companion libraries" ${PROJECT_IS_TOP_LEVEL})
option(ZDB_BUILD_TOOLS "Build the command-line tool and the examples" ${PROJECT_IS_TOP_LEVEL})
option(ZDB_BUILD_PYTHON "Build the Python package zdbcc if Python, numpy and pybind11 are found" ${PROJECT_IS_TOP_LEVEL})
option(ZDB_BUILD_TESTS "Build tests and fuzzers" ${PROJECT_IS_TOP_LEVEL})
option(ZDB_BUILD_BENCH "Build the benchmarks" OFF)
option(ZDB_INSTALL "Make install rules" ${PROJECT_IS_TOP_LEVEL})
option(ZDB_WERROR "Treat warnings as errors" ${PROJECT_IS_TOP_LEVEL})
option(ZDB_SHARED_LAYERS "Build each layer of the library as a shared library of its own as well" OFF)
option(ZDB_SANITIZE "Build with the address and undefined-behaviour sanitizers" OFF)
option(ZDB_SANITIZE_THREADS "Build with the thread sanitizer" OFF)
option(ZDB_FUZZ_ENGINE "Link the fuzzers with libFuzzer (needs clang) instead of the replay main" OFF)

# Another project has its own.
if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()
