#include "kit/interrupt.h"

#include <pybind11/pybind11.h>

#include <atomic>

#include "zkitdclib.h"

namespace py = pybind11;

namespace zdbpy {

namespace {

// What the handler shares with the program; all of it is free of locks.
std::atomic<void*> solvedInstance = nullptr;
std::atomic<bool> isPressed = false;
struct sigaction previous {};

extern "C" void stopAndPassOn(int signal, siginfo_t* info, void* context) {
  isPressed = true;
  if (void* instance = solvedInstance) zkitTerminate(instance);
  if ((previous.sa_flags & SA_SIGINFO) != 0) {
    previous.sa_sigaction(signal, info, context);
  } else {
    previous.sa_handler(signal);
  }
}

bool isMainThread() {
  const auto threading = py::module_::import("threading");
  return threading.attr("get_ident")().equal(threading.attr("main_thread")().attr("ident"));
}

/// SIG_DFL and SIG_IGN are what the host wants.
bool isHandled(const struct sigaction& action) {
  return (action.sa_flags & SA_SIGINFO) != 0 ||
         (action.sa_handler != SIG_DFL && action.sa_handler != SIG_IGN);
}

}  // namespace

Interrupt::Interrupt(void* instance) {
  if (instance == nullptr || !isMainThread()) return;
  if (sigaction(SIGINT, nullptr, &outer_) != 0 || !isHandled(outer_)) return;
  isActive_ = true;
  outerInstance_ = solvedInstance.exchange(instance);
  if (outerInstance_ != nullptr) return;  // a solve within the log of another one
  isPressed = false;
  previous = outer_;
  struct sigaction action {};
  action.sa_sigaction = stopAndPassOn;
  action.sa_flags = SA_SIGINFO | SA_RESTART;
  sigaction(SIGINT, &action, nullptr);
}

Interrupt::~Interrupt() {
  if (!isActive_) return;
  solvedInstance = outerInstance_;
  if (outerInstance_ == nullptr) sigaction(SIGINT, &outer_, nullptr);
}

bool Interrupt::isRequested() const {
  return isActive_ && isPressed;
}

}  // namespace zdbpy
