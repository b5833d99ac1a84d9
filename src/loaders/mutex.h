// Thin wrappers around POSIX mutexes, and the lock of a loader.
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

/// What serialises one concern of a loader: a mutex that is there from the start, since a process
// may come to its first load in several threads at once, and one that hosts can have created.
struct LoaderMutex {
  GC_mutex_t own = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
  GC_mutex_t created{};
};

// Holds both for the lifetime of the object, the created one if there is one.
class Lock {
 public:
  Lock(LoaderMutex& mutex, bool isCreated)
      : own_(mutex.own), created_(isCreated ? &mutex.created : nullptr) {
    GC_mutex_lock(own_);
    if (created_ != nullptr) GC_mutex_lock(*created_);
  }
  ~Lock() {
    if (created_ != nullptr) GC_mutex_unlock(*created_);
    GC_mutex_unlock(own_);
  }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  GC_mutex_t& own_;
  GC_mutex_t* created_;
};

}  // namespace zdb::loaders
