// Scripts over the operations of a loader. A message is what the callback &keep was told.
#include <dlfcn.h>
#include <pthread.h>

#include <bit>

#include "loaders/zxf.h"
#include "script/driver.h"

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

template <>
inline constexpr const char* zdb::script::kKind<zdb::loaders::zxfRec*> = "object";

namespace {

using namespace zdb::script;

std::string reports;

int keep(int count, const char* message) {
  reports += (reports.empty() ? "" : ", ") + std::to_string(count) + ' ' + message;
  return 0;
}
// Uses the loader from inside the callback, which must not wait for itself.
int reenter(int, const char*) {
  zdb::loaders::zxfSetErrorCallback(keep);
  zdb::loaders::zxfErrorHandling("from the callback");
  return 0;
}

// An operation with the object of scripts in front, which a loader has no use for.
template <auto operation>
struct WithObject;
template <typename Result, typename... Arguments, Result (*operation)(Arguments...)>
struct WithObject<operation> {
  static Result call(void*, Arguments... arguments) { return operation(arguments...); }
};

// Functions of the companion, called with a null object.
int Close() {
  return zdb::loaders::zxfClose(nullptr);
}
int ErrorCount() {
  return zdb::loaders::zxfErrorCount(nullptr);
}

// Each layout of these makes another one of the next.
// clang-format off
#define FOR_EACH_OPERATION(OF)                                                              \
  OF(GetReady) OF(GetReadyD) OF(GetReadyL) OF(LibraryLoaded) OF(LibraryUnload)              \
  OF(CorrectLibraryVersion) OF(SetLoadPath) OF(GetLoadPath) OF(Create) OF(CreateD)          \
  OF(CreateL) OF(CreateDD) OF(Free) OF(GetScreenIndicator) OF(SetScreenIndicator)           \
  OF(GetExceptionIndicator) OF(SetExceptionIndicator) OF(GetExitIndicator)                  \
  OF(SetExitIndicator) OF(GetErrorCallback) OF(SetErrorCallback) OF(GetAPIErrorCount)       \
  OF(SetAPIErrorCount) OF(ErrorHandling) OF(InitMutexes) OF(FiniMutexes)
// clang-format on

FunctionTable makeTable() {
  FunctionTable table;
#define ADD_FUNCTION(name, operation) \
  table.emplace(name, Function::make(name, &WithObject<&operation>::call, true));
#define ADD(name) ADD_FUNCTION(#name, zdb::loaders::zxf##name)
  FOR_EACH_OPERATION(ADD)
  ADD_FUNCTION("zxfClose", Close)
  ADD_FUNCTION("zxfErrorCount", ErrorCount)
  return table;
}

class LoaderHost : public Host {
 public:
  LoaderHost() : Host(makeTable()) {
    // Tells the companion of the tests how to misbehave.
    words["tell"] = [](Run&, const Statement& statement) {
      setenv("COMPANION", statement.arguments.at(0).text.c_str(), 1);
      return std::string("told");
    };
    words["refuse"] = [](Run&, const Statement& statement) {
      refusedMutex = std::stoi(statement.arguments.at(0).text);
      return std::string("refused");
    };
    // The library that is loaded, and what its last object was created with.
    words["library"] = [](Run&, const Statement&) {
      Dl_info info{};
      dladdr(std::bit_cast<void*>(zdb::loaders::zxfOpenRead), &info);
      void* library = dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD);
      const auto* directory = static_cast<const char*>(dlsym(library, "test_directory"));
      dlclose(library);  // the loader's own reference keeps it
      return info.dli_fname + (", " + std::string(directory == nullptr ? "none" : directory));
    };
  }
  void* create(const Way&) override { return nullptr; }
  void destroy(void*) override {}
  void mark(void*) override { reports.clear(); }
  std::string message(void*) override { return reports; }
  bool releases(const std::string& function) const override { return function == "Free"; }
  void* callback(const std::string& name) const override {
    return std::bit_cast<void*>(name == "keep" ? &keep : &reenter);
  }
};

}  // namespace

int main(int argc, char** argv) {
  LoaderHost host;
  const std::string good = COMPANION_DIR "good";
  Way way;
  way.name = "zxf";
  way.settings = {{"good", good},
                  {"file", good + "/companion.so"},
                  {"mixed", COMPANION_DIR "mixed/"},
                  {"lacking", COMPANION_DIR "nosymbol"},
                  {"real", REAL_COMPANIONS},
                  {"fits", good + std::string(493 - good.size(), '/') + "."}};
  return runProgram(argc, argv, {host, {way}, {}});
}
