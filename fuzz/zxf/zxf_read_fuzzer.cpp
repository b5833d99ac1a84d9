// Any bytes as an exchange file, first as they are, then with their checksums made good.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "fuzz/zxf/reseal.h"
#include "support/exchangefile.h"

namespace {

void read(const std::vector<std::uint8_t>& bytes) {
  const int fd = memfd_create("zxf", MFD_CLOEXEC);
  if (fd < 0 || write(fd, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
    abort();
  std::vector<int> errors;
  zxftest::readContent("/proc/self/fd/" + std::to_string(fd), errors);
  close(fd);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::uint8_t> bytes(data, data + size);
  read(bytes);
  reseal(bytes);
  read(bytes);
  return 0;
}
