// Stubs and error handling.
#include <unistd.h>

#include "loaders/loaderapi.h"

namespace {

using namespace zdb::loaders;
using Reports = std::vector<std::string>;

Reports reports;

int keepReport(int count, const char* msg) {
  reports.push_back(std::to_string(count) + " " + msg);
  return 0;
}

int endProcess(int, const char*) {
  return 1;
}

std::string notLoaded(const FunctionCase& function) {
  return function.name + " could not be loaded: Library needs to be initialized first";
}
std::string refused(const FunctionCase& function) {
  return function.name + " could not be loaded: " + function.name + " with " + function.codes;
}

// Errors are recorded instead of ending the process.
void recordReports(const LoaderApi& api) {
  reports.clear();
  api.SetExitIndicator(0);
  api.SetScreenIndicator(0);
  api.SetErrorCallback(keepReport);
}

using EachLoaderErrors = EachLoader;

TEST_P(EachLoaderErrors, Stubs_ReportAndGiveZero) {
  recordReports(api_);
  Reports expected;
  const auto callAll = [&](std::string (*report)(const FunctionCase&)) {
    for (const FunctionCase& function : api_.functions) {
      expected.push_back(std::to_string(expected.size() + 1) + " " + report(function));
      EXPECT_TRUE(function.call()) << function.name;
    }
  };
  const Told told("refuses all");
  callAll(notLoaded);
  ASSERT_EQ(load(dir("good")), 1);
  callAll(refused);
  ASSERT_EQ(api_.LibraryUnload(), 1);
  callAll(notLoaded);
  EXPECT_EQ(reports, expected);
}

INSTANTIATE_TEST_SUITE_P(All, EachLoaderErrors, testing::ValuesIn(allLoaders()),
                         [](const auto& each) { return each.param.prefix; });

class LoaderErrors : public ZxfLoader {
 protected:
  LoaderErrors() { recordReports(allLoaders()[0]); }
};

TEST_F(LoaderErrors, RefusedFunction_LeadsToStubWhileTheOthersResolve) {
  const Told told("zxfClose");
  ASSERT_EQ(load(dir("good")), 1);
  EXPECT_STREQ(msg_, "");
  for (const FunctionCase& function : allLoaders()[0].functions) {
    EXPECT_EQ(function.target() == function.stub, function.name == "zxfClose") << function.name;
  }
}

TEST_F(LoaderErrors, CallbackExitOrScreen_EndTheProcessOrPrint) {
  const auto exited = testing::ExitedWithCode(123);
  const auto showOutput = [] { dup2(STDERR_FILENO, STDOUT_FILENO); };  // all that a death test sees
  zxfSetErrorCallback(endProcess);
  EXPECT_EXIT((showOutput(), zxfErrorHandling("lost")), exited, "^$");
  zxfSetErrorCallback(keepReport);
  zxfSetExitIndicator(1);
  EXPECT_EXIT((showOutput(), zxfErrorHandling("lost")), exited, "^$");
  zxfSetScreenIndicator(1);
  EXPECT_EXIT((showOutput(), zxfErrorHandling("lost")), exited, "^lost\n$");
}

}  // namespace
