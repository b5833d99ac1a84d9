// Any bytes as an exchange file, first as they are, then with their checksums made good.
#include "fuzz/zxf/reseal.h"
#include "support/exchangefile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  zxftest::Bytes bytes(data, data + size);
  zxftest::errorsOf(bytes);
  reseal(bytes);
  zxftest::errorsOf(bytes);
  return 0;
}
