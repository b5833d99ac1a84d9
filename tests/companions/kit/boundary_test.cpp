// What a host's callback throws must not go through the C functions, where nobody may catch it.
#include <stdexcept>

#include "companions/kit/testing.h"

namespace {

using namespace kittest;

void throwError(const char* /*text*/, void* /*user*/) {
  throw std::runtime_error("from the host");
}

void throwNumber(const char* /*text*/, void* /*user*/) {
  throw 1;
}

TEST(KitBoundary, LogThatThrows_FailsTheCallAndNothingElse) {
  const Model model("x 0 1");
  for (const zkitLogCallback_t log : {throwError, throwNumber}) {
    void* instance = nullptr;
    ASSERT_EQ(zkitModelFinish(model, KIT_DIRECTORY, &instance), 1);
    EXPECT_EQ(zkitSetLog(instance, log, nullptr), 1);
    EXPECT_EQ(CzrtLog(CzmiEnvironment(instance), "text"), 0);
    char message[256] = "";
    EXPECT_EQ(zkitSolve(instance, "nosuch", message, sizeof message), 0);
    EXPECT_NE(std::string(message), "");
    EXPECT_EQ(zkitSetLog(instance, nullptr, nullptr), 1);
    EXPECT_EQ(CzrtLog(CzmiEnvironment(instance), "text"), 1);
    zkitFreeInstance(&instance);
  }
}

}  // namespace
