// Any bytes as an exchange file, as they are and with their checksums made good. The reader and the
// tool's checker have to agree on whether it is sound, and the checker accounts for each record.
#include <cstdlib>

#include "blockchecker.h"
#include "fuzz/zxf/reseal.h"
#include "support/exchangefile.h"

namespace {

bool isSound(const std::string& path) {
  try {
    zdb::tool::BlockChecker checker(path.c_str());
    const std::vector<zdb::zxfile::SymbolEntry>& symbols = checker.directory().symbols;
    bool isWhole = true;
    for (std::uint32_t number = 1; number <= symbols.size(); ++number) {
      std::uint64_t records = 0;
      checker.check(
          number, [&](const zdb::zxfile::Block& block) { records += block.count; },
          [&](const zdb::tool::Damage& damage) {
            records += damage.recordsLost;
            isWhole = false;
          });
      if (records != symbols[number - 1].recordCount) std::abort();
    }
    return isWhole;
  } catch (const zdb::zxfile::ZxfError&) {
    return false;
  }
}

void read(const zdb::test::zxf::Bytes& bytes) {
  if (isSound(zdb::test::zxf::memoryFile(bytes)) != zdb::test::zxf::errorsOf(bytes).empty())
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  zdb::test::zxf::Bytes bytes(data, data + size);
  read(bytes);
  reseal(bytes);
  read(bytes);
  return 0;
}
