#include "allocated.h"

#include <malloc.h>

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

std::int64_t bytes = 0;

std::int64_t taken(void* memory) {
  return static_cast<std::int64_t>(malloc_usable_size(memory) + sizeof(std::size_t));
}

void* allocate(std::size_t size, std::size_t alignment) {
  void* memory = alignment <= alignof(std::max_align_t)
                     ? std::malloc(size)
                     : std::aligned_alloc(alignment, (size + alignment - 1) & ~(alignment - 1));
  if (memory == nullptr) throw std::bad_alloc();
  bytes += taken(memory);
  return memory;
}

void release(void* memory) {
  if (memory == nullptr) return;
  bytes -= taken(memory);
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) {
  return allocate(size, alignof(std::max_align_t));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  return allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
  release(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  release(memory);
}
void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
  release(memory);
}
void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
  release(memory);
}

std::int64_t allocatedBytes() {
  return bytes;
}
