#include "loaders/loader.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "loaders/dynamiclibrary.h"

namespace zdb::loaders {

namespace {

constexpr int kExitCode = 123;
constexpr const char* kNotLoaded = "Library needs to be initialized first";

static_assert(sizeof(void*) == sizeof(void (*)()),
              "function pointers are filled from dlsym results");

}  // namespace

int Loader::getReady(const char* dir, char* msg, int len) {
  const Lock loading = lock(libMutex_);
  return libloader(dir, interface_.file, Message(msg, len));
}

int Loader::getReadyL(const char* path, char* msg, int len) {
  if (path == nullptr) path = "";
  const char* slash = std::strrchr(path, '/');
  const char* file = slash == nullptr ? path : slash + 1;
  if (*file == '\0') file = interface_.file;
  // One character longer than a usable path, so that a longer one is still refused as too long.
  char dir[513] = "";
  if (slash != nullptr)
    std::snprintf(dir, sizeof dir, "%.*s", static_cast<int>(slash - path), path);
  if (slash == path) std::strcpy(dir, "/");
  const Lock loading = lock(libMutex_);
  return libloader(dir, file, Message(msg, len));
}

/// A failed load leaves neither an open library nor a pointer into it.
/// REQUIRES libMutex is held.
int Loader::libloader(const char* dir, const char* fileName, const Message& msg) {
  msg.clear();
  if (loaded_) return 1;
  library_ = openLibrary(dir, fileName, msg);
  if (library_ == nullptr) {
    resetToStubs();
    return 0;
  }
  if (!resolveObjectFunctions(msg) || !acceptedByLibrary(msg) || !XLibraryLoad(msg)) {
    resetToStubs();
    closeLibrary(library_);
    library_ = nullptr;
    return 0;
  }
  resolveOptional();
  loaded_ = true;
  if (functions_.SetLoadPath != nullptr && dir != nullptr && *dir != '\0')
    functions_.SetLoadPath(dir);
  return 1;
}

template <typename Function>
bool Loader::resolve(const char* name, Function& pointer, const Message& msg) {
  const char* error = nullptr;
  void* symbol = loadSym(library_, name, error);
  if (symbol == nullptr) msg.format("Could not load symbol '%s': %s", name, error);
  std::memcpy(&pointer, &symbol, sizeof symbol);
  return symbol != nullptr;
}

bool Loader::resolveObjectFunctions(const Message& msg) {
  return resolve(interface_.create, functions_.XCreate, msg) &&
         (interface_.createD == nullptr || resolve(interface_.createD, functions_.XCreateD, msg)) &&
         resolve(interface_.free, functions_.XFree, msg) &&
         resolve(interface_.check, functions_.XCheck, msg) &&
         resolve(interface_.versionQuery, functions_.XAPIVersion, msg);
}

bool Loader::acceptedByLibrary(const Message& msg) const {
  char text[kTextSize] = "";
  int status = 0;
  if (functions_.XAPIVersion(interface_.version, text, &status) != 0) return true;
  msg.format("%s", text);
  return false;
}

void Loader::resolveOptional() {
  const Message unwanted(nullptr, 0);
  resolve(interface_.setLoadPath, functions_.SetLoadPath, unwanted);
  resolve(interface_.getLoadPath, functions_.GetLoadPath, unwanted);
  if (interface_.extra != nullptr) resolve(interface_.extra, extra_, unwanted);
}

/// Points every function to the library if the library accepts its signature, otherwise to
/// its stub.
bool Loader::XLibraryLoad(const Message& msg) {
  for (const Entry& entry : table_) {
    const contract::Signature& signature = *entry.signature;
    char text[kTextSize] = "";
    if (functions_.XCheck(signature.name, signature.argumentCount(), signature.codes.data(),
                          text) == 0) {
      std::memcpy(entry.pointer, entry.stub, sizeof(void*));
      continue;
    }
    char name[kTextSize];
    std::snprintf(name, sizeof name, "%s%s", interface_.decoration, signature.name);
    void* symbol = nullptr;
    if (!resolve(name, symbol, msg)) return false;
    std::memcpy(entry.pointer, &symbol, sizeof symbol);
  }
  return true;
}

void Loader::resetToStubs() {
  functions_ = {};
  for (const Entry& entry : table_) std::memcpy(entry.pointer, entry.stub, sizeof(void*));
}

int Loader::create(void** object, const char* dir, char* msg, int len) {
  return getReady(dir, msg, len) != 0 ? makeObject(object, nullptr, Message(msg, len)) : 0;
}

int Loader::createDD(void** object, const char* dir, char* msg, int len) {
  if (getReady(dir, msg, len) == 0) return 0;
  return makeObject(object, dir == nullptr ? "" : dir, Message(msg, len));
}

int Loader::createL(void** object, const char* path, char* msg, int len) {
  return getReadyL(path, msg, len) != 0 ? makeObject(object, nullptr, Message(msg, len)) : 0;
}

/// With a null `dir` the object is created without a directory.
int Loader::makeObject(void** object, const char* dir, const Message& msg) {
  if (object != nullptr) {
    if (dir == nullptr)
      functions_.XCreate(object);
    else
      functions_.XCreateD(object, dir);
  }
  if (object == nullptr || *object == nullptr) {
    msg.format("Error while creating object");
    return 0;
  }
  const Lock counting = lock(objMutex_);
  ++objectCount_;
  return 1;
}

int Loader::free(void** object) {
  if (object == nullptr || *object == nullptr) return 1;
  if (libraryLoaded() == 0) return 0;
  functions_.XFree(object);
  *object = nullptr;
  const Lock counting = lock(objMutex_);
  if (objectCount_ > 0) --objectCount_;
  return 1;
}

int Loader::libraryLoaded() {
  const Lock reading = lock(libMutex_);
  return loaded_ ? 1 : 0;
}

int Loader::libraryUnload() {
  const Lock unloading = lock(libMutex_);
  {
    const Lock counting = lock(objMutex_);
    if (objectCount_ > 0) return 0;
  }
  if (!loaded_) return 1;
  loaded_ = false;
  closeLibrary(library_);
  library_ = nullptr;
  extra_ = nullptr;
  return 1;
}

int Loader::correctLibraryVersion(char* msg, int len) {
  const Message message(msg, len);
  message.clear();
  const Lock reading = lock(libMutex_);
  if (!loaded_) {
    message.format("%s", kNotLoaded);
    return 0;
  }
  if (functions_.XAPIVersion == nullptr) {
    message.format("Function XAPIVersion not found");
    return 0;
  }
  char text[kTextSize] = "";
  int status = 0;
  functions_.XAPIVersion(interface_.version, text, &status);
  message.format("%s", text);
  return status == 1 ? 1 : 0;
}

int Loader::setLoadPath(const char* dir) {
  const Lock reading = lock(libMutex_);
  if (!loaded_ || functions_.SetLoadPath == nullptr || dir == nullptr) return 0;
  functions_.SetLoadPath(dir);
  return 1;
}

int Loader::getLoadPath(char* dir) {
  const Lock reading = lock(libMutex_);
  if (!loaded_ || functions_.GetLoadPath == nullptr || dir == nullptr) return 0;
  functions_.GetLoadPath(dir);
  return 1;
}

void Loader::setErrorCallback(ErrorCallback callback) {
  const Lock setting = lock(exceptMutex_);
  errorCallback_ = callback;
}

void Loader::errorHandling(const char* msg) {
  if (msg == nullptr) msg = "";
  const int count = ++apiErrorCount_;
  if (screenIndicator_ != 0) {
    std::printf("%s\n", msg);
    std::fflush(stdout);
  }
  bool end = exitIndicator_ != 0;
  {
    const Lock calling = lock(exceptMutex_);
    if (errorCallback_ != nullptr && errorCallback_(count, msg) != 0) end = true;
  }
  // After the lock has been released: code that runs at exit may use the loader.
  if (end) std::exit(kExitCode);
}

void Loader::initMutexes() {
  if (mutexesCreated_) return;
  struct Step {
    LoaderMutex& mutex;
    const char* failure;
  } steps[] = {{libMutex_, "Problem initializing libMutex"},
               {objMutex_, "Problem initializing objMutex"},
               {exceptMutex_, "Problem initializing exceptMutex"}};
  int created = 0;
  for (const Step& step : steps) {
    if (GC_mutex_init(step.mutex.created) == 0) {
      while (created > 0) GC_mutex_delete(steps[--created].mutex.created);
      errorHandling(step.failure);
      return;
    }
    ++created;
  }
  mutexesCreated_ = true;
}

void Loader::finiMutexes() {
  if (!mutexesCreated_) return;
  mutexesCreated_ = false;
  for (LoaderMutex* mutex : {&libMutex_, &objMutex_, &exceptMutex_}) {
    GC_mutex_delete(mutex->created);
  }
}

void Loader::reportMissing(const contract::Signature& signature) {
  char reason[kTextSize] = "";
  {
    const Lock reading = lock(libMutex_);
    if (loaded_)
      functions_.XCheck(signature.name, signature.argumentCount(), signature.codes.data(), reason);
    else
      Message(reason, kTextSize).format("%s", kNotLoaded);
  }
  char text[2 * kTextSize];
  std::snprintf(text, sizeof text, "%s could not be loaded: %s", signature.name, reason);
  errorHandling(text);
}

}  // namespace zdb::loaders
