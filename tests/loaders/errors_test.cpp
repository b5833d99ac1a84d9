// Stubs and error handling, over all five loaders.
#include <pthread.h>
#include <unistd.h>

#include <string>
#include <utility>
#include <vector>

#include "loaders/loaderapi.h"

namespace {

int refusedMutex = 0;  // the number of the next mutex that the system refuses; 0: none

}  // namespace

// The linker's --wrap fixes these names.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" int __real_pthread_mutex_init(pthread_mutex_t*, const pthread_mutexattr_t*);
extern "C" int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* kind) {
  if (refusedMutex > 0 && --refusedMutex == 0) return 12;
  return __real_pthread_mutex_init(mutex, kind);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

using Reports = std::vector<std::pair<int, std::string>>;
Reports reports;
const LoaderApi* calling = nullptr;

int keepReport(int count, const char* msg) {
  reports.emplace_back(count, msg);
  return 0;
}

int endProcess(int, const char*) {
  return 1;
}

// Uses the loader from inside the callback, which must not wait for itself.
int reenter(int, const char*) {
  calling->setCallback(keepReport);
  calling->errorHandling("from the callback");
  return 0;
}

class LoaderErrors : public EachLoader {
 protected:
  // Errors are recorded instead of ending the process.
  void recordReports() {
    reports.clear();
    calling = &api_;
    api_.setExit(0);
    api_.setScreen(0);
    api_.setCallback(keepReport);
  }
  // What a death test can see is the error stream.
  static void showOutput() { dup2(STDERR_FILENO, STDOUT_FILENO); }

  const std::string notLoaded_ =
      api_.refused + " could not be loaded: Library needs to be initialized first";
  const std::string refusal_ =
      api_.refused + " could not be loaded: " + api_.refused + " with " + api_.refusedCodes;
};

using LoaderErrorsDeathTest = LoaderErrors;

TEST_P(LoaderErrors, RefusedFunction_LeadsToStubWhileTheOthersResolve) {
  recordReports();
  EXPECT_EQ(api_.callRefused(), 0);
  loadFrom("refuse");
  EXPECT_EQ(text(), "");
  for (const FunctionCase& function : api_.functions)
    EXPECT_EQ(function.target() == function.stub, function.exported == api_.refusedExported);
  EXPECT_EQ(api_.callRefused(), 0);
  ASSERT_EQ(api_.unload(), 1);
  EXPECT_EQ(api_.callRefused(), 0);
  EXPECT_EQ(reports, (Reports{{1, notLoaded_}, {2, refusal_}, {3, notLoaded_}}));
}

TEST_P(LoaderErrorsDeathTest, StubByDefault_PrintsReasonAndExits123) {
  EXPECT_EXIT((showOutput(), api_.callRefused()), testing::ExitedWithCode(123),
              "^" + notLoaded_ + "\n$");
  loadFrom("refuse");
  EXPECT_EXIT((showOutput(), api_.callRefused()), testing::ExitedWithCode(123),
              "^" + refusal_ + "\n$");
}

TEST_P(LoaderErrorsDeathTest, CallbackResultOrExitIndicator_EndsTheProcess) {
  api_.setScreen(0);
  EXPECT_EXIT((showOutput(), api_.errorHandling("lost")), testing::ExitedWithCode(123), "^$");
  api_.setCallback(keepReport);
  EXPECT_EXIT(api_.errorHandling("lost"), testing::ExitedWithCode(123), "");
  api_.setExit(0);
  api_.setCallback(endProcess);
  EXPECT_EXIT(api_.errorHandling("lost"), testing::ExitedWithCode(123), "");
}

TEST_P(LoaderErrors, Reports_AreCountedFromTheSetCount) {
  recordReports();
  api_.setErrorCount(41);
  api_.errorHandling("broken");
  api_.errorHandling(nullptr);
  EXPECT_EQ(api_.getErrorCount(), 43);
  api_.setCallback(nullptr);
  EXPECT_EQ(api_.getCallback(), nullptr);
  api_.errorHandling("unheard");
  EXPECT_EQ(api_.getErrorCount(), 44);
  EXPECT_EQ(reports, (Reports{{42, "broken"}, {43, ""}}));
}

TEST_P(LoaderErrors, CallbackUsingTheLoader_DoesNotWaitForItself) {
  recordReports();
  api_.initMutexes();
  api_.setCallback(reenter);
  api_.errorHandling("first");
  EXPECT_EQ(reports, (Reports{{2, "from the callback"}}));
}

TEST_P(LoaderErrors, Indicators_StartAtTheirDefaultsAndStoreZeroOrOne) {
  EXPECT_EQ(api_.getScreen(), 1);
  EXPECT_EQ(api_.getException(), 0);
  EXPECT_EQ(api_.getExit(), 1);
  for (const auto& [given, stored] : {std::pair{7, 1}, {0, 0}, {-1, 1}}) {
    api_.setScreen(given);
    api_.setException(given);
    api_.setExit(given);
    EXPECT_EQ(api_.getScreen(), stored);
    EXPECT_EQ(api_.getException(), stored);
    EXPECT_EQ(api_.getExit(), stored);
  }
}

TEST_P(LoaderErrors, RefusedMutex_IsReportedAndTheLoaderStaysUnlocked) {
  recordReports();
  for (int i = 1; i <= 3; ++i) {
    refusedMutex = i;
    api_.initMutexes();
    EXPECT_EQ(refusedMutex, 0);
  }
  EXPECT_EQ(reports, (Reports{{1, "Problem initializing libMutex"},
                              {2, "Problem initializing objMutex"},
                              {3, "Problem initializing exceptMutex"}}));
  loadFrom("good");
}

INSTANTIATE_TEST_SUITE_P(Loaders, LoaderErrors, testing::ValuesIn(allLoaders()), loaderName);
INSTANTIATE_TEST_SUITE_P(Loaders, LoaderErrorsDeathTest, testing::ValuesIn(allLoaders()),
                         loaderName);

}  // namespace
