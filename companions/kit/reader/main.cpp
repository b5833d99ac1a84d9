// The program that the kit starts to translate one model file, see modelfile/protocol.h.
#include <fcntl.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <limits>
#include <new>
#include <string_view>

#include "contract/process.h"
#include "kit/modelfile/protocol.h"
#include "kit/reader/confinement.h"
#include "kit/reader/reply.h"
#include "kit/reader/translator.h"

namespace {

using namespace zdb::kit::modelfile;

// GLPK needs about 2 KB for each value that is defined by the one before. Only the used part of the
// stack takes memory.
constexpr std::size_t kStackSize = std::size_t{256} << 20;
constexpr int kGraceSeconds = 5;  // the caller ends this program at the limit, unless it has gone

[[noreturn]] void refuse() {
  std::fputs("This program is started by libzkitdclib64.so to translate a model file.\n", stderr);
  _exit(kWrongUse);
}

int numberOf(std::string_view text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || number < 0) refuse();
  return number;
}

std::string pathOf(int descriptor) {
  return "/proc/self/fd/" + std::to_string(descriptor);
}

int halfOfMemory() {
  const double bytes =
      static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 2;
  return static_cast<int>(std::clamp(bytes / (1 << 20), 64.0, 1e9));
}

void* translate(void* task) {
  try {
    translateWithGlpk(*static_cast<const Translation*>(task));
  } catch (const std::bad_alloc&) {
    _exit(kNoMemory);
  }
}

// Translates in a new thread, which can have a large stack.
void translateDeep(Translation& task) {
  pthread_attr_t attributes;
  pthread_t thread;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, kStackSize);
  if (pthread_create(&thread, &attributes, translate, &task) != 0) translate(&task);
  pthread_join(thread, nullptr);
}

}  // namespace

int main(int count, char** arguments) {
  const bool isOurs = count == kReaderArguments + 1 &&
                      std::strcmp(arguments[1], kReaderProtocol) == 0 &&
                      fcntl(kDataDescriptor, F_GETFD) != -1;
  if (!isOurs) refuse();
  // With the program that waits for the answer: the system counts the waiting thread as parent.
  if (!zdb::contract::endWith(numberOf(arguments[2]))) _exit(0);
  // Keeps only the descriptors above: the calling program's own may have been inherited.
  close_range(kDataDescriptor + 1, std::numeric_limits<unsigned>::max(), 0);
  const rlimit noCore = {0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  alarm(static_cast<unsigned>(numberOf(arguments[4]) + kGraceSeconds));
  if (std::strcmp(arguments[3], kTryConfinement) == 0) succeed(tryConfinement());
  const auto format = static_cast<FileFormat>(numberOf(arguments[3]));
  if (format != FileFormat::Lp && format != FileFormat::MathProg) refuse();
  const int megabytes = numberOf(arguments[5]);
  const std::string dataName = arguments[8];
  Translation task{format,
                   {pathOf(kModelDescriptor), arguments[7]},
                   {dataName.empty() ? std::string() : pathOf(kDataDescriptor), dataName},
                   megabytes > 0 ? megabytes : halfOfMemory(),
                   std::strcmp(arguments[6], kFilesAllowed) == 0};
  if (!task.mayUseFiles && !confine()) failUnconfined(task);
  translateDeep(task);
}
