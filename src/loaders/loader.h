// The loader that implements the operations of all five companions.
//
// The first successful load changes its state from unloaded to loaded; only libraryUnload, while no
// object is alive, changes it back. Invariants:
// 1. Until the library is first loaded, every function pointer is its stub.
// 2. While it is loaded, a pointer is the library's function if the library accepted the signature,
//    otherwise the stub.
// 3. After a failed load the library is closed again and every pointer is its stub, including those
//    that an earlier load had set; after an unload the pointers keep their last values.
//
// The loader is constant-initialised and never destroyed: stubs work before main and while the
// process ends, and a companion stays loaded for the process.
#pragma once

#include <atomic>
#include <span>

#include "contract/interfaces.h"
#include "loaders/functiontable.h"
#include "loaders/message.h"
#include "loaders/mutex.h"
#include "loaders/operations.h"

namespace zdb::loaders {

class Loader {
 public:
  constexpr Loader(const contract::Interface& companion, std::span<const Entry> functions)
      : interface_(companion), table_(functions) {}

  /// The operations that operations.h describes. A null `dir` means the default search. `object` is
  /// the address of a null handle; if it is null itself, the operation fails.
  int getReady(const char* dir, char* msg, int len);
  int getReadyL(const char* path, char* msg, int len);
  int create(void** object, const char* dir, char* msg, int len);
  int createDD(void** object, const char* dir, char* msg, int len);
  int createL(void** object, const char* path, char* msg, int len);
  int free(void** object);
  int libraryLoaded();
  int libraryUnload();
  int correctLibraryVersion(char* msg, int len);
  int setLoadPath(const char* dir);
  int getLoadPath(char* dir);

  int screenIndicator() const { return screenIndicator_; }
  void setScreenIndicator(int on) { screenIndicator_ = on != 0 ? 1 : 0; }
  int exceptionIndicator() const { return exceptionIndicator_; }
  void setExceptionIndicator(int on) { exceptionIndicator_ = on != 0 ? 1 : 0; }
  int exitIndicator() const { return exitIndicator_; }
  void setExitIndicator(int on) { exitIndicator_ = on != 0 ? 1 : 0; }
  ErrorCallback errorCallback() const { return errorCallback_; }
  void setErrorCallback(ErrorCallback callback);
  int apiErrorCount() const { return apiErrorCount_; }
  void setAPIErrorCount(int count) { apiErrorCount_ = count; }
  void errorHandling(const char* msg);

  void initMutexes();
  void finiMutexes();

  /// The function that the library may lack; null if it does, or is not loaded.
  void* extra() const { return extra_; }

  /// What a stub does: reports that the function could not be loaded, and why.
  void reportMissing(const contract::Signature& signature);

 private:
  /// What every companion exports in addition to its functions.
  struct ObjectFunctions {
    void (*XCreate)(void** object);
    void (*XCreateD)(void** object, const char* dir);
    void (*XFree)(void** object);
    int (*XCheck)(const char* function, int argumentCount, const int* codes, char* message);
    int (*XAPIVersion)(int clientApi, char* message, int* status);
    void (*SetLoadPath)(const char* dir);
    void (*GetLoadPath)(char* dir);
  };

  int libloader(const char* dir, const char* fileName, const Message& msg);
  bool resolveObjectFunctions(const Message& msg);
  bool acceptedByLibrary(const Message& msg) const;
  void resolveOptional();
  bool XLibraryLoad(const Message& msg);
  void resetToStubs();
  template <typename Function>
  bool resolve(const char* name, Function& pointer, const Message& msg);
  int makeObject(void** object, const char* dir, const Message& msg);
  Lock lock(LoaderMutex& mutex) const { return Lock(mutex, mutexesCreated_); }

  const contract::Interface& interface_;
  std::span<const Entry> table_;
  void* library_ = nullptr;
  bool loaded_ = false;
  ObjectFunctions functions_{};
  void* extra_ = nullptr;
  int objectCount_ = 0;

  std::atomic<bool> mutexesCreated_ = false;
  LoaderMutex libMutex_;
  LoaderMutex objMutex_;
  LoaderMutex exceptMutex_;

  std::atomic<int> screenIndicator_ = 1;
  std::atomic<int> exceptionIndicator_ = 0;
  std::atomic<int> exitIndicator_ = 1;
  ErrorCallback errorCallback_ = nullptr;
  std::atomic<int> apiErrorCount_ = 0;
};

}  // namespace zdb::loaders
