#pragma once

#include <pthread.h>

#include <cstddef>
#include <new>

namespace zdb::memory {

/// A free list of pieces of `Bytes` bytes, for objects that are made and freed by the million, such
/// as record handles: reusing a piece costs less than the general-purpose allocator. Keeps at most
/// kMostKept pieces, which it owns and frees when it is destroyed; pieces in use belong to the
/// caller and may outlive it.
///
/// Meant as one pool per thread: a piece may be freed to another thread's pool than it was
/// allocated from. `SlabPool` is the alternative for elements that one object owns.
///
/// A pool is a thread_local variable without a destructor: registering one may take memory, and the
/// C++ library ends the process when there is none. It is emptied by a key of the threads library
/// instead; where the thread cannot be noted there, nothing is kept.
template <std::size_t Bytes>
class PiecePool {
 public:
  static constexpr std::size_t kBytes = Bytes;
  static constexpr int kMostKept = 4096;

  constexpr PiecePool() = default;
  PiecePool(const PiecePool&) = delete;
  PiecePool& operator=(const PiecePool&) = delete;
  ~PiecePool() = default;

  void* allocate() { return free_ != nullptr ? pop() : ::operator new(kBytes); }

  void free(void* object) {
    if (kept_ >= kMostKept || !isNoted()) {
      ::operator delete(object);
      return;
    }
    free_ = new (object) Free{free_};
    ++kept_;
  }

  /// Makes the next taking succeed. Throws std::bad_alloc.
  void ensureOne() {
    if (free_ != nullptr) return;
    void* object = ::operator new(kBytes);
    isNoted();  // if not, one piece is lost with the thread
    free_ = new (object) Free{nullptr};
    ++kept_;
  }

 private:
  struct Free {
    Free* next;
  };
  enum State : unsigned char { New, Noted, Closed };

  /// Empties the pools of threads that end, and of the one that unloads the library.
  struct Ends {
    pthread_key_t key{};
    bool isThere =
        pthread_key_create(&key, [](void* pool) { static_cast<PiecePool*>(pool)->close(); }) == 0;

    Ends() = default;
    Ends(const Ends&) = delete;
    Ends& operator=(const Ends&) = delete;
    ~Ends() {
      if (!isThere) return;
      if (void* pool = pthread_getspecific(key); pool != nullptr) {
        static_cast<PiecePool*>(pool)->close();
      }
      pthread_key_delete(key);
      isThere = false;
    }
  };

  bool isNoted() {
    if (state_ == New && ends_.isThere && pthread_setspecific(ends_.key, this) == 0) state_ = Noted;
    return state_ == Noted;
  }

  void close() {
    state_ = Closed;
    while (free_ != nullptr) ::operator delete(pop());
  }

  void* pop() {
    Free* object = free_;
    free_ = object->next;
    --kept_;
    return object;
  }

  static inline Ends ends_;

  Free* free_ = nullptr;
  int kept_ = 0;
  State state_ = New;
};

}  // namespace zdb::memory
