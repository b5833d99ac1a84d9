// System calls of the project's libraries, which fail on demand. A program that compiles
// systemcalls.cpp has its own open, pread and so on, which the libraries find before the system's.
#pragma once

#include <initializer_list>

namespace zdb::test {

enum class Call {
  Open,
  Read,
  Write,
  Sync,
  Rename,
  Link,
  Unlink,
  Close,
  Status,
  Mode,
  Lock,
  Pack,
  Memory
};

/// Some of them.
class Calls {
 public:
  constexpr Calls(std::initializer_list<Call> calls) {
    for (const Call call : calls) insert(call);
  }
  constexpr void insert(Call call) { bits_ |= 1U << static_cast<unsigned>(call); }
  constexpr bool contains(Call call) const {
    return (bits_ >> static_cast<unsigned>(call) & 1U) != 0;
  }

 private:
  unsigned bits_ = 0;
};

/// What happens instead of a call. A loss of power takes what has not been synced.
enum class Event { Error, ShortCount, Death, WritesDropped, WritesReordered, WritesGarbled };

/// A kind of fault, and the calls that it meets.
struct SystemFault {
  Event event;
  Calls calls;
  int error = 0;

  bool isDeadly() const { return event != Event::Error && event != Event::ShortCount; }
};

/// Makes call number `first` of a kind fail, and those after it up to `count`, from construction to
/// destruction. One at a time.
class SystemFaults {
 public:
  static constexpr int kExitOfTheDead = 77;

  SystemFaults(const SystemFault& kind, int first, int count);
  ~SystemFaults();
  SystemFaults(const SystemFaults&) = delete;
  SystemFaults& operator=(const SystemFaults&) = delete;

  int injected() const;
  bool hasFailed(Call call) const;
  /// Now the power fails, if it is of this kind.
  void losePower() const;
};

/// Whether the system makes files without a name.
void setNamelessFiles(bool possible);

}  // namespace zdb::test
