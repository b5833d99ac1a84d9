#pragma once

#include <cstddef>
#include <new>

namespace zdb::memory {

/// Memory of freed objects, kept for the next ones of the same size: pieces of `Bytes` bytes. Meant
/// for a thread each, which gives back what it frees whoever took it.
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

  void* take() { return free_ != nullptr ? pop() : ::operator new(kBytes); }

  void give(void* object) {
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
