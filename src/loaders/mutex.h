// Thin wrappers around POSIX mutexes, and a lock that does nothing while a loader has no mutexes.
#pragma once

#include <pthread.h>

namespace zdb::loaders {

using GC_mutex_t = pthread_mutex_t;

/// Creates a recursive mutex, since an error callback runs with the mutex locked and may itself use
/// the loader. Returns 1, or 0 if the system refuses.
int GC_mutex_init(GC_mutex_t& mutex);
void GC_mutex_delete(GC_mutex_t& mutex);
void GC_mutex_lock(GC_mutex_t& mutex);
void GC_mutex_unlock(GC_mutex_t& mutex);

/// Holds a mutex for the lifetime of the object; locks nothing if `inUse` is false.
class Lock {
 public:
  Lock(GC_mutex_t& mutex, bool inUse) : mutex_(inUse ? &mutex : nullptr) {
    if (mutex_ != nullptr) GC_mutex_lock(*mutex_);
  }
  ~Lock() {
    if (mutex_ != nullptr) GC_mutex_unlock(*mutex_);
  }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  GC_mutex_t* mutex_;
};

}  // namespace zdb::loaders
