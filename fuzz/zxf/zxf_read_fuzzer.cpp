// Any bytes as an exchange file, first as they are, then with their checksums made good.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "fuzz/zxf/readall.h"
#include "fuzz/zxf/reseal.h"

namespace {

void readBytes(const std::vector<std::uint8_t>& bytes) {
  const int fd = memfd_create("zxf", MFD_CLOEXEC);
  if (fd < 0 || write(fd, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
    abort();
  readAll(("/proc/self/fd/" + std::to_string(fd)).c_str());
  close(fd);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::uint8_t> bytes(data, data + size);
  readBytes(bytes);
  reseal(bytes);
  readBytes(bytes);
  return 0;
}
