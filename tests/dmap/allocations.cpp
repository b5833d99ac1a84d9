#include "dmap/allocations.h"

#include <malloc.h>

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

bool isWatching = false;
std::uint64_t allocated = 0;
std::uint64_t failingOne = 0;
std::int64_t bytes = 0;

void* allocate(std::size_t size, std::size_t alignment) {
  if (isWatching && ++allocated == failingOne) throw std::bad_alloc();
  const std::size_t rounded = (size + alignment - 1) / alignment * alignment;
  void* memory = std::aligned_alloc(alignment, rounded == 0 ? alignment : rounded);
  if (memory == nullptr) throw std::bad_alloc();
  if (isWatching) bytes += static_cast<std::int64_t>(malloc_usable_size(memory));
  return memory;
}

void release(void* memory) noexcept {
  if (isWatching && memory != nullptr) {
    bytes -= static_cast<std::int64_t>(malloc_usable_size(memory));
  }
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

namespace zdb::test {

Allocations::Allocations(std::uint64_t failing) {
  allocated = 0;
  bytes = 0;
  failingOne = failing;
  isWatching = true;
}

Allocations::~Allocations() {
  isWatching = false;
}

std::uint64_t Allocations::count() const {
  return allocated;
}
std::int64_t Allocations::liveBytes() const {
  return bytes;
}

}  // namespace zdb::test
