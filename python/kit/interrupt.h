#pragma once

#include <csignal>

namespace zdbpy {

/// While it lives, on the main thread, Ctrl-C stops solves of an instance, and then does what it
/// did before: it tells Python, which raises KeyboardInterrupt when the call is over. Elsewhere,
/// and where Ctrl-C is ignored or ends the process, it does nothing. To be made with the GIL.
class Interrupt {
 public:
  explicit Interrupt(void* instance);
  ~Interrupt();
  Interrupt(const Interrupt&) = delete;
  Interrupt& operator=(const Interrupt&) = delete;

  /// Whether Ctrl-C was pressed meanwhile. Needs no GIL.
  bool isRequested() const;

 private:
  bool isActive_ = false;
  struct sigaction outer_ {};
  void* outerInstance_ = nullptr;
};

}  // namespace zdbpy
