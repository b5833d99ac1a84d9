#include "loaders/mutex.h"

namespace zdb::loaders {

int GC_mutex_init(GC_mutex_t& mutex) {
  pthread_mutexattr_t attributes;
  if (pthread_mutexattr_init(&attributes) != 0) return 0;
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  const int failure = pthread_mutex_init(&mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
  return failure == 0 ? 1 : 0;
}

void GC_mutex_delete(GC_mutex_t& mutex) {
  pthread_mutex_destroy(&mutex);
}

void GC_mutex_lock(GC_mutex_t& mutex) {
  pthread_mutex_lock(&mutex);
}

void GC_mutex_unlock(GC_mutex_t& mutex) {
  pthread_mutex_unlock(&mutex);
}

}  // namespace zdb::loaders
