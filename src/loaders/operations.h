// The operations of one companion loader, declared once for all five prefixes.
//
// A companion is a shared library that is found by file name at run time. Each loader has, for the
// whole process, one function pointer per companion function, with the same name; callers write
// `zxfOpenRead(zxf, name, &error)`, which costs one indirect call. Every pointer starts as a stub,
// which reports through the loader's ErrorHandling and returns 0, so a call into a library that is
// not loaded or has refused the function's signature does not crash.
//
// Conventions of all operations (X is the prefix):
// - Results are 1 for success and 0 for failure.
// - `msg` is a buffer of `len` bytes; it is emptied first and holds the reason after a failure, cut
//   to len - 1 characters and always terminated. If it is null or len < 1, there is no text.
// - A null or empty `dir` means the default search: the dynamic linker gets the bare file name, so
//   the run path of the calling library and the system's directories apply.
// - Operations may be called from several threads at once only after XInitMutexes.
//
//    XGetReady(msg, len)           loads the library by the default search; does nothing if it is
//                                  loaded already, from wherever that was
//    XGetReadyD(dir, msg, len)     the same from a directory
//    XGetReadyL(path, msg, len)    the same from the file `path`, split at its last '/'; without
//                                  a file name, the default file name is used
//
//    XCreate(handle, msg, len)     loads the library in one of these ways and creates an
//    XCreateD(handle, dir, ...)    object, which the caller frees with XFree; *handle is null
//    XCreateL(handle, path, ...)   on failure
//    XCreateDD(handle, dir, ...)   as XCreateD, and the object learns its directory (not in zst)
//    XFree(handle)                 frees the object and sets *handle to null; a null object
//                                  is ignored
//
//    XLibraryLoaded()              1 while the library is loaded
//    XLibraryUnload()              0 while objects created here are alive, else closes the
//                                  library. The function pointers keep their values: call none
//                                  until the next load
//    XCorrectLibraryVersion(...)   1 only if the library has exactly the loader's API version;
//                                  `msg` receives the library's own text either way
//    XSetLoadPath(dir)             sets the directory of the loaded library
//    XGetLoadPath(dir)             gets that directory, 256 bytes; both return 0 if the library
//                                  does not have the function
//
//    XErrorHandling(msg)           counts an error; prints it if the screen indicator is on, which
//                                  is the default; calls the callback with count and text. Ends
//                                  the process with exit code 123 if the callback returns nonzero
//                                  or the exit indicator is on, which is the default. The
//                                  exception indicator, by default 0, is stored and has no effect
//
//    XInitMutexes()                creates the three mutexes once; a repeated call does nothing
//    XFiniMutexes()                destroys them. Neither may run while another thread uses
//                                  the loader
#pragma once

namespace zdb::loaders {

/// Called with the loader's error count and the message, which is valid during the call only. The
/// callback may use the loader itself. A nonzero result ends the process.
using ErrorCallback = int (*)(int errorCount, const char* msg);

}  // namespace zdb::loaders

#define ZDB_DECLARE_LOADER(X)                                            \
  struct X##Rec;                                                         \
  using X##Handle = X##Rec*;                                             \
  int X##GetReady(char* msg, int len);                                   \
  int X##GetReadyD(const char* dir, char* msg, int len);                 \
  int X##GetReadyL(const char* path, char* msg, int len);                \
  int X##Create(X##Rec** handle, char* msg, int len);                    \
  int X##CreateD(X##Rec** handle, const char* dir, char* msg, int len);  \
  int X##CreateL(X##Rec** handle, const char* path, char* msg, int len); \
  int X##Free(X##Rec** handle);                                          \
  int X##LibraryLoaded();                                                \
  int X##LibraryUnload();                                                \
  int X##CorrectLibraryVersion(char* msg, int len);                      \
  int X##SetLoadPath(const char* dir);                                   \
  int X##GetLoadPath(char* dir);                                         \
  int X##GetScreenIndicator();                                           \
  void X##SetScreenIndicator(int on);                                    \
  int X##GetExceptionIndicator();                                        \
  void X##SetExceptionIndicator(int on);                                 \
  int X##GetExitIndicator();                                             \
  void X##SetExitIndicator(int on);                                      \
  ErrorCallback X##GetErrorCallback();                                   \
  void X##SetErrorCallback(ErrorCallback callback);                      \
  int X##GetAPIErrorCount();                                             \
  void X##SetAPIErrorCount(int count);                                   \
  void X##ErrorHandling(const char* msg);                                \
  void X##InitMutexes();                                                 \
  void X##FiniMutexes()

// For the companions whose objects can be created with a directory, that is, all but zst.
#define ZDB_DECLARE_CREATE_DD(X) \
  int X##CreateDD(X##Rec** handle, const char* dir, char* msg, int len)

// Makes a line of a function list the declaration of the process-wide pointer.
#define ZDB_DECLARE_FUNCTION(name, result, parameters, codes) extern result(*name) parameters;
