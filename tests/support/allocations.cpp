#include "support/allocations.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "support/ourlibraries.h"

namespace {

std::atomic<bool> isWatching = false;
std::atomic<std::uint64_t> allocated = 0;
std::atomic<std::uint64_t> failingNumber = 0;  // 0: none fails, each counts
std::atomic<std::uint64_t> failed = 0;
std::atomic<bool> isLasting = false;
thread_local bool isPaused = false;
std::atomic<std::int64_t> bytes = 0;
std::atomic<std::size_t> largestSize = 0;

constexpr std::align_val_t kUsual{alignof(std::max_align_t)};

enum class Owner { Us, Standard, Other };

/// Whose code an address lies in: the project's libraries' and this program's, the standard
/// library's, or another one's, which may be a solver.
Owner ownerOf(const void* address) {
  static Dl_info self;
  static const bool known = dladdr(reinterpret_cast<void*>(&ownerOf), &self) != 0;
  Dl_info info;
  if (!known || dladdr(address, &info) == 0) return Owner::Other;
  const std::string_view name(info.dli_fname);
  if (info.dli_fbase == self.dli_fbase || zdb::test::isOurLibrary(name)) return Owner::Us;
  // The sanitizers' libraries stand in the way of calls of the standard ones.
  for (const char* library : {"stdc++", "c", "gcc_s", "asan", "ubsan", "tsan"}) {
    if (name.find("/lib" + std::string(library) + '.') != name.npos) return Owner::Standard;
  }
  return Owner::Other;
}

/// Whether nobody but the project and the standard library takes part in a call.
bool isAmongUs() {
  void* frames[64];
  return std::none_of(frames, frames + backtrace(frames, 64),
                      [](void* frame) { return ownerOf(frame) == Owner::Other; });
}

/// Counts an allocation; whether it may go on.
bool isAllowed(std::size_t size, void* caller) {
  std::size_t largest = largestSize;
  while (largest < size && !largestSize.compare_exchange_weak(largest, size)) continue;
  if (isPaused || (failingNumber > 0 && ownerOf(caller) == Owner::Other)) return true;
  const std::uint64_t number = ++allocated;
  if (failingNumber == 0 || number < failingNumber) return true;
  if (number > failingNumber && !isLasting) return true;
  if (!isAmongUs()) {  // the next one takes its number
    --allocated;
    return true;
  }
  ++failed;
  return false;
}

void* allocateOrNull(std::size_t size, void* caller, std::align_val_t alignment = kUsual) noexcept {
  if (isWatching && !isAllowed(size, caller)) return nullptr;
  const auto unit = std::max(static_cast<std::size_t>(alignment), sizeof(void*));
  void* memory = nullptr;  // not by aligned_alloc, which rounds sizes up to the unit
  if (posix_memalign(&memory, unit, size) != 0) return nullptr;
  if (isWatching) bytes += static_cast<std::int64_t>(malloc_usable_size(memory));
  return memory;
}

void* allocate(std::size_t size, void* caller, std::align_val_t alignment = kUsual) {
  if (void* memory = allocateOrNull(size, caller, alignment)) return memory;
  throw std::bad_alloc();
}

void release(void* memory) noexcept {
  if (isWatching) bytes -= static_cast<std::int64_t>(malloc_usable_size(memory));
  std::free(memory);
}

}  // namespace

// The standard library's forms lead to two of them, but those of the sanitizers stand alone.
#define ZDB_OPERATORS(brackets)                                                         \
  void* operator new brackets(std::size_t size) {                                       \
    return allocate(size, __builtin_return_address(0));                                 \
  }                                                                                     \
  void* operator new brackets(std::size_t size, std::align_val_t unit) {                \
    return allocate(size, __builtin_return_address(0), unit);                           \
  }                                                                                     \
  void* operator new brackets(std::size_t size, const std::nothrow_t&) noexcept {       \
    return allocateOrNull(size, __builtin_return_address(0));                           \
  }                                                                                     \
  void operator delete brackets(void* memory) noexcept {                                \
    release(memory);                                                                    \
  }                                                                                     \
  void operator delete brackets(void* memory, std::size_t) noexcept {                   \
    release(memory);                                                                    \
  }                                                                                     \
  void operator delete brackets(void* memory, std::align_val_t) noexcept {              \
    release(memory);                                                                    \
  }                                                                                     \
  void operator delete brackets(void* memory, std::size_t, std::align_val_t) noexcept { \
    release(memory);                                                                    \
  }

ZDB_OPERATORS()
ZDB_OPERATORS([])

#undef ZDB_OPERATORS

namespace zdb::test {

Allocations::Allocations(std::uint64_t failing) {
  bytes = 0;
  largestSize = 0;
  arm(failing, false);
  isWatching = true;
}

Allocations::~Allocations() {
  isWatching = false;
}

void Allocations::arm(std::uint64_t failing, bool fromThereOn) {
  allocated = failed = 0;
  failingNumber = failing;
  isLasting = fromThereOn;
}

void Allocations::disarm() {
  failingNumber = 0;
}

std::uint64_t Allocations::count() const {
  return allocated;
}
bool Allocations::hasFailed() const {
  return failed > 0;
}
std::int64_t Allocations::liveBytes() const {
  return bytes;
}
std::size_t Allocations::largest() const {
  return largestSize;
}

Allocations::Pause::Pause() : wasPaused_(std::exchange(isPaused, true)) {}

Allocations::Pause::~Pause() {
  isPaused = wasPaused_;
}

}  // namespace zdb::test
