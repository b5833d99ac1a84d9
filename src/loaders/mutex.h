// Thin wrappers over POSIX mutexes, and a lock that does nothing while a loader has no mutexes.
#ifndef ZDB_LOADERS_MUTEX_H
#define ZDB_LOADERS_MUTEX_H

#include <pthread.h>

namespace zdb::loaders {

using GC_mutex_t = pthread_mutex_t;

// Creates a mutex that its owner may lock again, since an error callback runs under one and may
// itself use the loader. Returns 1, or 0 when the system refuses.
int GC_mutex_init(GC_mutex_t& mutex);
void GC_mutex_delete(GC_mutex_t& mutex);
void GC_mutex_lock(GC_mutex_t& mutex);
void GC_mutex_unlock(GC_mutex_t& mutex);

// Holds a mutex for the lifetime of the object; `inUse` false means that nothing is locked.
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

#endif
