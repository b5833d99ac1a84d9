// Any list of steps on databases: what can be seen must be what a model says, whatever the storage.
//
//     storages_fuzzer FILE...                  replays inputs (or searches, with a fuzzing engine)
//     storages_fuzzer --seed N --steps M       makes one long run, which N alone decides
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "fuzz/storages/storagerun.h"

namespace {

void report(const std::string& difference) {
  if (difference.empty()) return;
  std::fprintf(stderr, "%s\n", difference.c_str());
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  const char* const* arguments = *argv;
  if (*argc != 5 || std::string_view(arguments[1]) != "--seed") return 0;
  std::printf("seed %s, %s steps\n", arguments[2], arguments[4]);
  std::fflush(stdout);
  report(zdb::test::runSteps(static_cast<std::uint32_t>(std::atoi(arguments[2])),
                             std::atoi(arguments[4])));
  std::exit(0);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::uint16_t> steps(size / 2);
  if (!steps.empty()) std::memcpy(steps.data(), data, 2 * steps.size());
  report(zdb::test::runSteps(steps));
  return 0;
}
