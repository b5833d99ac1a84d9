#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

#include "contract/descriptor.h"

namespace zdb::sweep {

/// A copy of this process that does something else, and the socket to it. It ends with this object,
/// or with this process however that ends, and ignores Ctrl-C, which a terminal sends to both.
class ChildProcess {
 public:
  /// None.
  ChildProcess() = default;
  /// The copy calls body() with its end of the socket and exits with what it returns, without
  /// destructors and without writing what this process has not yet written. Throws CrewError; a
  /// process with threads cannot be copied, since whatever they have locked stays so in the copy.
  explicit ChildProcess(const std::function<int(int socket)>& body);
  ~ChildProcess() { end(); }
  ChildProcess(ChildProcess&& other) noexcept;
  ChildProcess& operator=(ChildProcess&& other) noexcept;

  bool exists() const { return id_ > 0; }
  /// -1 if there is none.
  int socket() const { return socket_.get(); }
  /// Ends it, and returns what waitpid() says: if it had ended already, how.
  int end();
  /// Leaves it to another process.
  void release();

 private:
  pid_t id_ = 0;
  contract::Descriptor socket_;
};

/// "exit code 3", "signal 9 (Killed)".
std::string describeEnd(int status);

}  // namespace zdb::sweep
