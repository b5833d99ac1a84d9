// Watches the allocations of the test program; alone in its file, so that no compiler sees both
// ends of an allocation and takes malloc and delete for a mismatch.
#include <algorithm>
#include <cstdlib>
#include <new>

#include "zxf_testing.h"

namespace {

std::size_t largest = 0;

}  // namespace

void* operator new(std::size_t size) {
  largest = std::max(largest, size);
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  largest = std::max(largest, size);
  return std::malloc(size);
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

namespace zxftest {

std::size_t largestAllocation() {
  return largest;
}
void resetLargestAllocation() {
  largest = 0;
}

}  // namespace zxftest
