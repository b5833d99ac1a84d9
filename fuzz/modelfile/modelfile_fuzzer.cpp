// Any text as a model file of any format: it becomes an instance or a message, in a bounded time
// and with everything given back. The first byte picks the name's ending, which picks the format.
#include <sys/wait.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "kit/modelfile/build.h"
#include "kit/modelfile/errors.h"
#include "kit/modelfile/read.h"
#include "tests/support/files.h"
#include "zkitdclib.h"

namespace {

constexpr std::array<const char*, 4> kNames = {"a.mps", "a.lp", "a.mod", "a"};

const zdb::test::TemporaryFolder folder;  // with TMPDIR=/dev/shm, it is in memory

void require(bool good, const char* what) {
  if (good) return;
  std::fprintf(stderr, "broken promise: %s\n", what);
  std::abort();
}

// Gives each param, and an entry of it, a value. The text is changed for that, which must not keep
// the model itself from being read.
void readVariants(const std::string& path) {
  zdb::kit::modelfile::ReadRequest request{{path}};
  request.limits = {2, 128};
  for (const std::string& param : zdb::kit::modelfile::readParams(request.model)) {
    request.variants.push_back({zdb::kit::modelfile::paramValue(param, 1)});
    request.variants.push_back({zdb::kit::modelfile::paramValue(param + "[1]", 2)});
    if (request.variants.size() == 4) break;
  }
  if (request.variants.empty()) return;
  void* instance = zdb::kit::modelfile::buildInstance(readModel(request), "");
  char message[ZKIT_TEXT_SIZE];
  for (int v = 0; v < static_cast<int>(request.variants.size()); ++v) {
    const int state = zkitVariantState(instance, v, message, sizeof message);
    require((state == ZKIT_VARIANT_FITS) == (*message == '\0'), "a variant that fits, or why not");
    require((state == ZKIT_VARIANT_FITS) == (zkitUseVariant(instance, v) == 1), "its use");
  }
  zkitFreeInstance(&instance);
}

void read(const std::string& path) {
  try {
    void* instance = zdb::kit::modelfile::buildInstance(
        zdb::kit::modelfile::readModelFile(path.c_str(), nullptr, {2, 128}), "");
    require(instance != nullptr, "an instance");
    zkitFreeInstance(&instance);
    readVariants(path);
  } catch (const zdb::kit::modelfile::FileError& error) {
    require(std::string(error.what()).starts_with(path), "a message that begins with the path");
  } catch (const zdb::kit::modelfile::ReadError& error) {
    require(*error.what() != '\0', "a message");
  }
  require(waitpid(-1, nullptr, WNOHANG) <= 0, "no dead process left");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::string path = folder.write(kNames[data[0] % kNames.size()], text);
  read(path);
  std::filesystem::remove(path);
  return 0;
}
