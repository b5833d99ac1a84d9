#pragma once

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
template <std::size_t Bytes>
class PiecePool {
 public:
  static constexpr std::size_t kBytes = Bytes;
  static constexpr int kMostKept = 4096;

  PiecePool() = default;
  PiecePool(const PiecePool&) = delete;
  PiecePool& operator=(const PiecePool&) = delete;
  ~PiecePool() {
    closed_ = true;
    while (free_ != nullptr) ::operator delete(pop());
  }

  void* allocate() { return free_ != nullptr ? pop() : ::operator new(kBytes); }

  void free(void* object) {
    if (closed_ || kept_ >= kMostKept) {
      ::operator delete(object);
      return;
    }
    free_ = new (object) Free{free_};
    ++kept_;
  }

 private:
  struct Free {
    Free* next;
  };

  void* pop() {
    Free* object = free_;
    free_ = object->next;
    --kept_;
    return object;
  }

  Free* free_ = nullptr;
  int kept_ = 0;
  bool closed_ = false;  ///< the thread is ending
};

}  // namespace zdb::memory
