// Makes a companion's loader (X##Loader) from its function list and interface. Only companions.cpp
// includes this file.
#pragma once

#include "loaders/functiontable.h"
#include "loaders/loader.h"

namespace zdb::loaders {

namespace {

/// Replaces a function that the library does not have.
template <Loader& loader, const contract::Signature& signature, typename Result,
          typename... Arguments>
Result stub(Arguments...) {
  loader.reportMissing(signature);
  return Result{};
}

/// Runs an operation on the untyped object that a typed handle refers to.
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

// The pointer to a function, which starts as its stub.
#define ZDB_DEFINE_FUNCTION(loader, name, result, parameters, codes)                \
  namespace {                                                                       \
  constexpr result(*d_##name) parameters = stub<loader, contract::name##Signature>; \
  static_assert(contract::codesFit(d_##name, contract::name##Codes),                \
                #name " has type codes that its types deny");                       \
  }                                                                                 \
  result(*name) parameters = d_##name;

#define ZDB_TABLE_ENTRY(name, result, parameters, codes) \
  {&contract::name##Signature, &name, &d_##name},

// The operations of the loader X##Loader.
#define ZDB_DEFINE_LOADER(X)                                                                      \
  int X##GetReady(char* msg, int len) {                                                           \
    return X##Loader.getReady(nullptr, msg, len);                                                 \
  }                                                                                               \
  int X##GetReadyD(const char* dir, char* msg, int len) {                                         \
    return X##Loader.getReady(dir, msg, len);                                                     \
  }                                                                                               \
  int X##GetReadyL(const char* path, char* msg, int len) {                                        \
    return X##Loader.getReadyL(path, msg, len);                                                   \
  }                                                                                               \
  int X##Create(X##Rec** handle, char* msg, int len) {                                            \
    return X##CreateD(handle, nullptr, msg, len);                                                 \
  }                                                                                               \
  int X##CreateD(X##Rec** handle, const char* dir, char* msg, int len) {                          \
    return onNewObject(handle,                                                                    \
                       [=](void** object) { return X##Loader.create(object, dir, msg, len); });   \
  }                                                                                               \
  int X##CreateL(X##Rec** handle, const char* path, char* msg, int len) {                         \
    return onNewObject(handle,                                                                    \
                       [=](void** object) { return X##Loader.createL(object, path, msg, len); }); \
  }                                                                                               \
  int X##Free(X##Rec** handle) {                                                                  \
    return onObject(handle, [](void** object) { return X##Loader.free(object); });                \
  }                                                                                               \
  int X##LibraryLoaded() {                                                                        \
    return X##Loader.libraryLoaded();                                                             \
  }                                                                                               \
  int X##LibraryUnload() {                                                                        \
    return X##Loader.libraryUnload();                                                             \
  }                                                                                               \
  int X##CorrectLibraryVersion(char* msg, int len) {                                              \
    return X##Loader.correctLibraryVersion(msg, len);                                             \
  }                                                                                               \
  int X##SetLoadPath(const char* dir) {                                                           \
    return X##Loader.setLoadPath(dir);                                                            \
  }                                                                                               \
  int X##GetLoadPath(char* dir) {                                                                 \
    return X##Loader.getLoadPath(dir);                                                            \
  }                                                                                               \
  int X##GetScreenIndicator() {                                                                   \
    return X##Loader.screenIndicator();                                                           \
  }                                                                                               \
  void X##SetScreenIndicator(int on) {                                                            \
    X##Loader.setScreenIndicator(on);                                                             \
  }                                                                                               \
  int X##GetExceptionIndicator() {                                                                \
    return X##Loader.exceptionIndicator();                                                        \
  }                                                                                               \
  void X##SetExceptionIndicator(int on) {                                                         \
    X##Loader.setExceptionIndicator(on);                                                          \
  }                                                                                               \
  int X##GetExitIndicator() {                                                                     \
    return X##Loader.exitIndicator();                                                             \
  }                                                                                               \
  void X##SetExitIndicator(int on) {                                                              \
    X##Loader.setExitIndicator(on);                                                               \
  }                                                                                               \
  ErrorCallback X##GetErrorCallback() {                                                           \
    return X##Loader.errorCallback();                                                             \
  }                                                                                               \
  void X##SetErrorCallback(ErrorCallback callback) {                                              \
    X##Loader.setErrorCallback(callback);                                                         \
  }                                                                                               \
  int X##GetAPIErrorCount() {                                                                     \
    return X##Loader.apiErrorCount();                                                             \
  }                                                                                               \
  void X##SetAPIErrorCount(int count) {                                                           \
    X##Loader.setAPIErrorCount(count);                                                            \
  }                                                                                               \
  void X##ErrorHandling(const char* msg) {                                                        \
    X##Loader.errorHandling(msg);                                                                 \
  }                                                                                               \
  void X##InitMutexes() {                                                                         \
    X##Loader.initMutexes();                                                                      \
  }                                                                                               \
  void X##FiniMutexes() {                                                                         \
    X##Loader.finiMutexes();                                                                      \
  }                                                                                               \
  static_assert(true)

#define ZDB_DEFINE_CREATE_DD(X)                                                                   \
  int X##CreateDD(X##Rec** handle, const char* dir, char* msg, int len) {                         \
    return onNewObject(handle,                                                                    \
                       [=](void** object) { return X##Loader.createDD(object, dir, msg, len); }); \
  }                                                                                               \
  static_assert(true)
