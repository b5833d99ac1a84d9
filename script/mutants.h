// Included first into every file of the build that mutants.py makes; never a part of the product.
#pragma once
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <type_traits>

/// What a test run shares with the script, in the file ZDB_FAULT_FILE: a file rather than a
/// variable of the environment, so that it reaches every process whatever environment it
/// is started with.
struct ZdbFaults {
  int planted;                       ///< number of the fault that is switched on, 0 for none
  volatile unsigned char reached[];  ///< a byte for each number, set when its line runs
};

inline ZdbFaults* const zdb_faults = [] {
  const int file = open(ZDB_FAULT_FILE, O_RDWR | O_CLOEXEC);
  void* const page = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  close(file);
  return static_cast<ZdbFaults*>(page);
}();

inline bool zdb_fault(int number) {
  zdb_faults->reached[number] = 1;
  return zdb_faults->planted == number;
}
