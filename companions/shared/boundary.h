// What the exported functions of all companions have in common: no exception leaves them, handles
// point to objects, and texts are copied into the caller's buffers.
#pragma once

#include <exception>
#include <functional>
#include <new>
#include <string_view>

namespace zdb::boundary {

/// Replaces a thrown object that is not a std::exception; some solvers throw such objects.
struct ForeignError : std::exception {
  const char* what() const noexcept override { return "unknown error"; }
};

/// Why something failed, in words.
inline const char* reasonOf(const std::exception& error) noexcept {
  return dynamic_cast<const std::bad_alloc*>(&error) != nullptr ? "Out of memory" : error.what();
}

/// Runs the body of an exported function and returns the result of work(). If something is thrown,
/// calls report(const std::exception&) and returns `failed`. A report that fails as well, for lack
/// of memory, is lost. Costs nothing as long as nothing is thrown.
template <typename Result, typename Work, typename Report>
Result guarded(Result failed, Work&& work, Report&& report) noexcept {
  try {
    try {
      return std::invoke(work);
    } catch (const std::exception& error) {
      report(error);
    } catch (...) {
      report(ForeignError());
    }
  } catch (...) {
    return failed;
  }
  return failed;
}

/// The same for a caller that gets nothing but the result.
template <typename Result, typename Work>
Result guarded(Result failed, Work&& work) noexcept {
  return guarded(failed, work, [](const std::exception&) {});
}

/// The same for work(Object&) and report(Object&, const std::exception&) with the object that a
/// handle points to. For a null handle, which has nowhere to report to, returns `failed`.
template <typename Object, typename Result, typename Work, typename Report>
Result guardedOn(void* handle, Result failed, Work&& work, Report&& report) noexcept {
  if (handle == nullptr) return failed;
  Object& object = *static_cast<Object*>(handle);
  return guarded(
      failed, [&]() -> Result { return std::invoke(work, object); },
      [&](const std::exception& error) { std::invoke(report, object, error); });
}

template <typename Object, typename Result, typename Work>
Result guardedOn(void* handle, Result failed, Work&& work) noexcept {
  return guardedOn<Object>(handle, failed, work, [](Object&, const std::exception&) {});
}

/// Sets a handle to the object that make() allocates. Returns 0, with a null handle, if that fails.
template <typename Handle, typename Make>
int makeObject(Handle** handle, Make make) noexcept {
  if (handle == nullptr) return 0;
  *handle = nullptr;
  *handle = guarded<Handle*>(nullptr, make);
  return *handle == nullptr ? 0 : 1;
}

template <typename Object, typename Handle>
void freeObject(Handle** handle) noexcept {
  if (handle == nullptr) return;
  delete static_cast<Object*>(*handle);
  *handle = nullptr;
}

/// Copies a text, truncated to size - 1 bytes, and terminates it.
inline void copyText(std::string_view text, char* to, int size) noexcept {
  if (to == nullptr || size <= 0) return;
  const std::size_t length = text.copy(to, static_cast<std::size_t>(size) - 1);
  to[length] = '\0';
}

}  // namespace zdb::boundary
