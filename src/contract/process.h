// Processes that are started and waited for.
#pragma once

#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "contract/descriptor.h"

namespace zdb::contract {

/// Has the system end this process with its parent, however that ends. False if it has ended
/// already.
inline bool endWith(pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  return getppid() == parent;
}

/// fork() of a copy that ends with this process.
inline pid_t forkForThis() {
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child == 0 && !endWith(parent)) _exit(1);
  return child;
}

/// Waits until a child has ended: its status, or 0 if somebody else has waited for it.
inline int waitFor(pid_t child) {
  int status = 0;
  return uninterrupted([&] { return waitpid(child, &status, 0); }) < 0 ? 0 : status;
}

}  // namespace zdb::contract
