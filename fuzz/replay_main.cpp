// Runs a fuzzer over the files and folders of its command line, without a fuzzing engine. Finding
// none is a failure: a corpus that was lost must not look like one that passed.
#include <cstdint>
#include <cstdio>
#include <span>

#include "tests/support/files.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" [[gnu::weak]] int LLVMFuzzerInitialize(int* argc, char*** argv);

int main(int argc, char** argv) {
  if (LLVMFuzzerInitialize != nullptr) LLVMFuzzerInitialize(&argc, &argv);
  int count = 0;
  const auto replay = [&count](const std::filesystem::path& path) {
    const std::string bytes = zdb::test::readFile(path);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    ++count;
  };
  for (const char* argument : std::span(argv, static_cast<std::size_t>(argc)).subspan(1)) {
    if (std::filesystem::is_regular_file(argument)) replay(argument);
    if (!std::filesystem::is_directory(argument)) continue;
    for (const auto& entry : std::filesystem::directory_iterator(argument)) replay(entry.path());
  }
  std::printf("%d inputs replayed\n", count);
  return count > 0 ? 0 : 1;
}
