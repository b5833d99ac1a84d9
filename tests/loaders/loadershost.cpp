// Scripts over the operations of the five loaders, each a way. A message is what the callback &keep
// was told.
#include <dlfcn.h>
#include <pthread.h>

#include <algorithm>
#include <bit>
#include <cctype>

#include "loaders/zlx.h"
#include "loaders/zmi.h"
#include "loaders/zrt.h"
#include "loaders/zst.h"
#include "loaders/zxf.h"
#include "script/driver.h"

namespace {

int refusedMutex = 0;  // the number of the next mutex that the system refuses; 0: none
int mutexes = 0;       // that are there

}  // namespace

// The linker's --wrap fixes these names.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" int __real_pthread_mutex_init(pthread_mutex_t*, const pthread_mutexattr_t*);
extern "C" int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* kind) {
  if (refusedMutex > 0 && --refusedMutex == 0) return 12;
  ++mutexes;
  return __real_pthread_mutex_init(mutex, kind);
}
extern "C" int __real_pthread_mutex_destroy(pthread_mutex_t*);
extern "C" int __wrap_pthread_mutex_destroy(pthread_mutex_t* mutex) {
  --mutexes;
  return __real_pthread_mutex_destroy(mutex);
}
// NOLINTEND(bugprone-reserved-identifier)

template <>
inline constexpr const char* zdb::script::kKind<zdb::loaders::zxfRec*> = "object";

namespace {

using namespace zdb::script;
using namespace zdb::loaders;

std::string reports;

int keep(int count, const char* message) {
  reports += (reports.empty() ? "" : ", ") + std::to_string(count) + ' ' + message;
  return 0;
}
// Uses the loader from inside the callback, which must not wait for itself.
int reenter(int, const char*) {
  zxfSetErrorCallback(keep);
  zxfErrorHandling("from the callback");
  return 0;
}

// One companion function as its loader keeps it.
struct CompanionFunction {
  std::string name;
  std::string codes;                    // of its signature, as the tests' companion prints them
  std::function<const void*()> target;  // where the pointer leads
  std::function<bool()> call;           // with zeros and nulls; whether it gave zero
  const void* stub;                     // where the pointer led before anything was loaded
};

template <typename Result, typename... Arguments>
CompanionFunction companionFunction(const char* name, Result (**pointer)(Arguments...),
                                    const std::vector<int>& codes) {
  std::string text = std::to_string(codes.size() - 1) + ":";
  for (const int code : codes) text += " " + std::to_string(code);
  return {name, text, [pointer] { return std::bit_cast<const void*>(*pointer); },
          [pointer] { return (*pointer)(Arguments{}...) == Result{}; },
          std::bit_cast<const void*>(*pointer)};
}

std::vector<CompanionFunction> functionsOf(const std::string& prefix) {
#define UNPACK(...) __VA_ARGS__
#define FUNCTION(name, result, parameters, codes) companionFunction(#name, &name, {UNPACK codes}),
  std::vector<CompanionFunction> functions = {
#define ZDB_FUNCTION FUNCTION
#include "contract/zxffunctions.def"
#define ZDB_KIT_FUNCTION FUNCTION
#include "contract/kitfunctions.def"
  };
  std::erase_if(functions, [&](const auto& each) { return !each.name.starts_with(prefix); });
  return functions;
}

// Each layout of these makes another one of the next.
// clang-format off
#define FOR_EACH_OPERATION(OF, X)                                                           \
  OF(X, GetReady) OF(X, GetReadyD) OF(X, GetReadyL) OF(X, LibraryLoaded)                    \
  OF(X, LibraryUnload) OF(X, CorrectLibraryVersion) OF(X, SetLoadPath) OF(X, GetLoadPath)   \
  OF(X, Create) OF(X, CreateD) OF(X, CreateL) OF(X, CreateDD) OF(X, Free)                   \
  OF(X, GetScreenIndicator) OF(X, SetScreenIndicator) OF(X, GetExceptionIndicator)          \
  OF(X, SetExceptionIndicator) OF(X, GetExitIndicator) OF(X, SetExitIndicator)              \
  OF(X, GetErrorCallback) OF(X, SetErrorCallback) OF(X, GetAPIErrorCount)                   \
  OF(X, SetAPIErrorCount) OF(X, ErrorHandling) OF(X, InitMutexes) OF(X, FiniMutexes)
// clang-format on

// A loader, which is the object of scripts. Handles of all loaders are taken for those of one.
struct AnyLoader {
  std::string prefix, decoration, file, version;
  std::vector<CompanionFunction> functions;
#define MEMBER(X, name) decltype(&X##name) name;
  FOR_EACH_OPERATION(MEMBER, zxf)
};

constexpr auto zstCreateDD = zstCreateD;  // objects of zst are made without a directory

#define OPERATION(X, name) std::bit_cast<decltype(&zxf##name)>(+X##name),
#define LOADER(X, DECORATION, FILE, VERSION) \
  { #X, DECORATION, FILE, VERSION, functionsOf(#X), FOR_EACH_OPERATION(OPERATION, X) }
std::vector<AnyLoader> loaders = {
    LOADER(zxf, "C__", "/libzxfcclib64.so", "9"), LOADER(zmi, "C", "/libzkitdclib64.so", "26"),
    LOADER(zrt, "C", "/libzkitdclib64.so", "7"), LOADER(zlx, "C", "/libzlxmdclib64.so", "2"),
    LOADER(zst, "C", "/libzkitdclib64.so", "4")};

template <auto operation>
struct OfObject;
template <typename Result, typename... Arguments, Result (*AnyLoader::*operation)(Arguments...)>
struct OfObject<operation> {
  static Result call(void* loader, Arguments... arguments) {
    return (static_cast<AnyLoader*>(loader)->*operation)(arguments...);
  }
};

FunctionTable makeTable() {
  FunctionTable table;
#define ADD(X, name) \
  table.emplace(#name, Function::make(#name, &OfObject<&AnyLoader::name>::call, true));
  FOR_EACH_OPERATION(ADD, )
  return table;
}

std::string upperCase(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

// The library that a function leads to if it does so by its own name, or that it is a stub.
std::string originOf(const AnyLoader& loader, const CompanionFunction& function) {
  if (function.target() == function.stub) return "stub";
  Dl_info info{};
  dladdr(const_cast<void*>(function.target()), &info);
  const std::string symbol = info.dli_sname == nullptr ? "" : info.dli_sname;
  const bool isOwn = upperCase(symbol) == upperCase(loader.decoration + function.name);
  return isOwn ? info.dli_fname : function.name + " at " + symbol;
}

// What calling a function reports, with its own name and signature as NAME and CODES.
std::string reportOf(const AnyLoader&, const CompanionFunction& function) {
  reports.clear();
  if (!function.call()) return function.name + " gives something";
  if (reports.empty()) return "nothing";
  std::string report = reports.substr(reports.find(' ') + 1);
  for (const auto& [own, word] : {std::pair{function.name, "NAME"}, {function.codes, "CODES"}}) {
    for (std::size_t at; (at = report.find(own)) != report.npos;)
      report.replace(at, own.size(), word);
  }
  return report;
}

// What is said of all functions: once if all are alike, else each that differs from the one before.
Host::Word ofEach(std::string (*look)(const AnyLoader&, const CompanionFunction&)) {
  return [look](Run& run, const Statement& statement) {
    const auto& loader = *static_cast<AnyLoader*>(run.object(statement.object));
    std::string all;
    std::string last;
    for (const CompanionFunction& function : loader.functions) {
      const std::string found = look(loader, function);
      if (found != std::exchange(last, found)) all += (all.empty() ? "" : ", ") + found;
    }
    reports.clear();
    return all;
  };
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
    words["mutexes"] = [](Run&, const Statement&) { return std::to_string(mutexes); };
    words["origins"] = ofEach(originOf);
    words["reports"] = ofEach(reportOf);
    // Whether the library in a directory is open.
    words["open"] = [](Run& run, const Statement& statement) {
      const auto& loader = *static_cast<AnyLoader*>(run.object(statement.object));
      const std::string path = run.resolved(statement.arguments.at(0)) + loader.file;
      void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
      if (library != nullptr) dlclose(library);
      return std::string(library == nullptr ? "no" : "yes");
    };
    // The library that is loaded, and what its last object was created with.
    words["library"] = [](Run&, const Statement&) {
      Dl_info info{};
      dladdr(std::bit_cast<void*>(zxfOpenRead), &info);
      void* library = dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD);
      const auto* directory = static_cast<const char*>(dlsym(library, "test_directory"));
      dlclose(library);  // the loader's own reference keeps it
      return info.dli_fname + (", " + std::string(directory == nullptr ? "none" : directory));
    };
  }
  void* create(const Way& way) override {
    return &*std::ranges::find(loaders, way.name, &AnyLoader::prefix);
  }
  void destroy(void*) override {}
  void mark(void*) override { reports.clear(); }
  std::string message(void*) override { return reports; }
  bool releases(const std::string& function) const override { return function == "Free"; }
  void* callback(const std::string& name) const override {
    return std::bit_cast<void*>(name == "keep" ? &keep : &reenter);
  }
};

std::vector<Way> makeWays() {
  const std::string good = COMPANION_DIR "good";
  std::vector<Way> ways;
  for (const AnyLoader& loader : loaders) {
    const auto missing = [&](const std::string& symbol, const char* variant) {
      const std::string message =
          "Could not load symbol '" + symbol + "': " COMPANION_DIR + variant;
      return message + loader.file + ": undefined symbol: " + upperCase(symbol);
    };
    const bool isZxf = loader.prefix == "zxf";
    const std::string query = isZxf ? "C__XAPIVersion" : "C" + loader.prefix + "XAPIVersion";
    Way& way = ways.emplace_back();
    way.name = loader.prefix;
    for (const char* variant : {"good", "mixed", "nosymbol", "noversion"}) {
      way.settings[variant] = std::string(COMPANION_DIR) + variant;
    }
    way.settings.insert(
        {{"file", good + "/companion.so"},
         {"slashed", COMPANION_DIR "mixed/"},
         {"real", REAL_COMPANIONS},
         {"fits", good + std::string(493 - good.size(), '/') + "."},
         {"library", loader.file},
         {"notoffered", isZxf ? ", stub" : ""},
         {"met", "client " + loader.version + " met"},
         // Messages of loads from where something is not.
         {"lacking", missing(loader.decoration + loader.functions.back().name, "nosymbol")},
         {"undated", missing(query, "noversion")}});
    if (!isZxf) way.leavesOut["loaders.scr"] = "the code is one for all loaders";
  }
  return ways;
}

}  // namespace

int main(int argc, char** argv) {
  LoaderHost host;
  return runProgram(argc, argv, {host, makeWays(), {}});
}
