#include "interrupt.h"

#include <unistd.h>

#include <atomic>
#include <csignal>

#include "zkitdclib.h"

namespace zdb::tool {

namespace {

// What the handlers share with the program; all of it is free of locks.
std::atomic<bool> isInterrupted = false;
std::atomic<void*> stoppedInstance = nullptr;

int depth = 0;
struct sigaction outerInterrupt {};
struct sigaction outerAlarm {};

void stopSolve() {
  if (void* instance = stoppedInstance) zkitTerminate(instance);
}

// A solve that is just being started forgets requests that came before it: they are repeated.
extern "C" void repeatRequest(int /*signal*/) {
  stopSolve();
  alarm(1);
}

extern "C" void rememberInterrupt(int signal) {
  isInterrupted = true;
  repeatRequest(signal);
}

void handle(int signal, void (*handler)(int), int flags, struct sigaction& outer) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART | flags;
  sigaction(signal, &action, &outer);
}

}  // namespace

Interrupt::Interrupt() : Interrupt(stoppedInstance.load()) {}

Interrupt::Interrupt(void* instance) : outerInstance_(stoppedInstance.exchange(instance)) {
  if (depth++ > 0) return;
  handle(SIGALRM, repeatRequest, 0, outerAlarm);
  handle(SIGINT, rememberInterrupt, static_cast<int>(SA_RESETHAND), outerInterrupt);
}

Interrupt::~Interrupt() {
  stoppedInstance = outerInstance_;
  if (--depth > 0) return;
  sigaction(SIGINT, &outerInterrupt, nullptr);
  alarm(0);
  sigaction(SIGALRM, &outerAlarm, nullptr);
}

bool Interrupt::isRequested() {
  return isInterrupted;
}

}  // namespace zdb::tool
