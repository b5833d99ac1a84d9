// Turns one companion's function list and description into its loader. Included by the five sources
// that define a loader and by nothing else, each of which contains, in this order:
// 1. the list expanded with ZDB_DEFINE_FUNCTION, 2. the list expanded with ZDB_ENTRY inside the
// table kFunctions, 3. the description, 4. ZDB_DEFINE_LOADER and, unless it is zst,
// ZDB_DEFINE_CREATE_DD.
#ifndef ZDB_LOADERS_DEFINITION_H
#define ZDB_LOADERS_DEFINITION_H

#include "loaders/functiontable.h"
#include "loaders/loader.h"

namespace zdb::loaders {

namespace {

extern Loader loader;  // the loader of the including source

// Stands in for a function that the library does not offer.
template <const Signature& signature, typename Result, typename... Arguments>
Result stub(Arguments...) {
  loader.reportMissing(signature);
  return Result{};
}

// Runs an operation on the untyped object behind a typed handle.
template <typename Record, typename Operation>
int onObject(Record** handle, Operation operation) {
  if (handle == nullptr) return operation(nullptr);
  void* object = *handle;
  const int result = operation(&object);
  *handle = static_cast<Record*>(object);
  return result;
}

template <typename Record, typename Operation>
int onNewObject(Record** handle, Operation operation) {
  if (handle != nullptr) *handle = nullptr;
  return onObject(handle, operation);
}

}  // namespace

}  // namespace zdb::loaders

#define ZDB_UNPACK(...) __VA_ARGS__

#define ZDB_DEFINE_FUNCTION(name, result, parameters, codes)                                    \
  namespace {                                                                                   \
  constexpr int codes_##name[] = {ZDB_UNPACK codes};                                            \
  constexpr Signature signature_##name{#name, codes_##name};                                    \
  constexpr result(*d_##name) parameters = stub<signature_##name>;                              \
  static_assert(codesFit(d_##name, codes_##name), #name " has type codes that its types deny"); \
  }                                                                                             \
  result(*name) parameters = d_##name;

#define ZDB_ENTRY(name, result, parameters, codes) {&signature_##name, &name, &d_##name},

#define ZDB_DEFINE_LOADER(X)                                                                   \
  namespace {                                                                                  \
  constinit Loader loader(kDescription);                                                       \
  }                                                                                            \
  int X##GetReady(char* msg, int len) {                                                        \
    return loader.getReady(nullptr, msg, len);                                                 \
  }                                                                                            \
  int X##GetReadyD(const char* dir, char* msg, int len) {                                      \
    return loader.getReady(dir, msg, len);                                                     \
  }                                                                                            \
  int X##GetReadyL(const char* path, char* msg, int len) {                                     \
    return loader.getReadyL(path, msg, len);                                                   \
  }                                                                                            \
  int X##Create(X##Rec** handle, char* msg, int len) {                                         \
    return X##CreateD(handle, nullptr, msg, len);                                              \
  }                                                                                            \
  int X##CreateD(X##Rec** handle, const char* dir, char* msg, int len) {                       \
    return onNewObject(handle,                                                                 \
                       [=](void** object) { return loader.create(object, dir, msg, len); });   \
  }                                                                                            \
  int X##CreateL(X##Rec** handle, const char* path, char* msg, int len) {                      \
    return onNewObject(handle,                                                                 \
                       [=](void** object) { return loader.createL(object, path, msg, len); }); \
  }                                                                                            \
  int X##Free(X##Rec** handle) {                                                               \
    return onObject(handle, [](void** object) { return loader.free(object); });                \
  }                                                                                            \
  int X##LibraryLoaded() {                                                                     \
    return loader.libraryLoaded();                                                             \
  }                                                                                            \
  int X##LibraryUnload() {                                                                     \
    return loader.libraryUnload();                                                             \
  }                                                                                            \
  int X##CorrectLibraryVersion(char* msg, int len) {                                           \
    return loader.correctLibraryVersion(msg, len);                                             \
  }                                                                                            \
  int X##SetLoadPath(const char* dir) {                                                        \
    return loader.setLoadPath(dir);                                                            \
  }                                                                                            \
  int X##GetLoadPath(char* dir) {                                                              \
    return loader.getLoadPath(dir);                                                            \
  }                                                                                            \
  int X##GetScreenIndicator() {                                                                \
    return loader.screenIndicator();                                                           \
  }                                                                                            \
  void X##SetScreenIndicator(int on) {                                                         \
    loader.setScreenIndicator(on);                                                             \
  }                                                                                            \
  int X##GetExceptionIndicator() {                                                             \
    return loader.exceptionIndicator();                                                        \
  }                                                                                            \
  void X##SetExceptionIndicator(int on) {                                                      \
    loader.setExceptionIndicator(on);                                                          \
  }                                                                                            \
  int X##GetExitIndicator() {                                                                  \
    return loader.exitIndicator();                                                             \
  }                                                                                            \
  void X##SetExitIndicator(int on) {                                                           \
    loader.setExitIndicator(on);                                                               \
  }                                                                                            \
  ErrorCallback X##GetErrorCallback() {                                                        \
    return loader.errorCallback();                                                             \
  }                                                                                            \
  void X##SetErrorCallback(ErrorCallback callback) {                                           \
    loader.setErrorCallback(callback);                                                         \
  }                                                                                            \
  int X##GetAPIErrorCount() {                                                                  \
    return loader.apiErrorCount();                                                             \
  }                                                                                            \
  void X##SetAPIErrorCount(int count) {                                                        \
    loader.setAPIErrorCount(count);                                                            \
  }                                                                                            \
  void X##ErrorHandling(const char* msg) {                                                     \
    loader.errorHandling(msg);                                                                 \
  }                                                                                            \
  void X##InitMutexes() {                                                                      \
    loader.initMutexes();                                                                      \
  }                                                                                            \
  void X##FiniMutexes() {                                                                      \
    loader.finiMutexes();                                                                      \
  }                                                                                            \
  static_assert(true)

#define ZDB_DEFINE_CREATE_DD(X)                                                                \
  int X##CreateDD(X##Rec** handle, const char* dir, char* msg, int len) {                      \
    return onNewObject(handle,                                                                 \
                       [=](void** object) { return loader.createDD(object, dir, msg, len); }); \
  }                                                                                            \
  static_assert(true)

#endif
