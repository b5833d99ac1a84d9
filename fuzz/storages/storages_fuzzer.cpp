// Any list of record operations: what can be seen of a symbol must not depend on its storage.
#include <cstdio>
#include <cstdlib>

#include "fuzz/storages/storagereplay.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string difference = zdb::test::replayOnAllStorages(data, size);
  if (!difference.empty()) {
    std::fprintf(stderr, "%s\n", difference.c_str());
    std::abort();
  }
  return 0;
}
