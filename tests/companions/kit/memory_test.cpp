// GLPK without memory. It takes its own from the C library, whose function this program has in
// front of it, and would print and end the process. Not with sanitizers, which do the same.
#include <dlfcn.h>

#include <atomic>
#include <cstring>

#include "companions/kit/testing.h"

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

namespace {

std::atomic<int> left = -1;  // allocations of GLPK until one fails; negative: none does

bool isFailing(const void* caller) {
  if (left < 0) return false;
  Dl_info info = {};
  const bool isKnown = dladdr(caller, &info) != 0 && info.dli_fname != nullptr;
  return isKnown && std::strstr(info.dli_fname, "libglpk") != nullptr && left-- == 0;
}

}  // namespace

extern "C" void* __libc_malloc(std::size_t size);  // NOLINT(bugprone-reserved-identifier)
extern "C" __attribute__((visibility("default"))) void* malloc(std::size_t size) noexcept {
  return isFailing(__builtin_return_address(0)) ? nullptr : __libc_malloc(size);
}

namespace {

using namespace zdb::test::kit;

TEST(KitMemory, EachAllocationOfGlpkThatFails_FailsTheSolveAndNothingElse) {
  const Silence silence;
  const Model model(
      "int x 0 9 ; int y 0 9 ; z -inf inf ; c: 3 x + 2 y - z = 0 ; max z ;"
      "e(1): 2 x + 4 y <= 13 ; e(2): 4 x + 2 y <= 17");
  const Instance instance(model);
  int failures = 0;
  for (bool isFailing = true; isFailing;) {
    left = failures;
    const std::string message = instance.solve("glpk");
    isFailing = left < 0;
    left = -1;
    if (!isFailing) break;
    ++failures;
    EXPECT_EQ(message, "glpk failed: out of memory or an internal error") << failures;
    EXPECT_EQ(zkitSolveStatus(instance), ZKIT_SOLVER_FAILED);
  }
  EXPECT_GT(failures, 10);
  EXPECT_EQ(zkitModelStatus(instance), ZKIT_INTEGER_SOLUTION);
  expectOptimal(model, instance);
}

}  // namespace

#endif
