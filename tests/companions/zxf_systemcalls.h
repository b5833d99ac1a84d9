// The system calls of the exchange file library, which fail on demand. The linker's --wrap leads
// those of a test program here; the library that is shipped knows nothing of it.
#pragma once

#include <climits>
#include <cstdint>
#include <set>
#include <string>

#include "zxf/errors.h"

namespace zdb::test::zxf {

using zdb::zxfile::Errc;

enum class Call { Open, Read, Write, Sync, Rename, Link, Unlink, Close, Status, Mode, Lock, Pack };

// What happens instead of a call. A loss of power takes what has not been synced.
enum class Event { Error, ShortCount, Death, WritesDropped, WritesReordered, WritesGarbled };

// One kind of fault: which calls it meets, and what a call of the library may say of it. Without
// such an error, it must do all the same what it does without a fault.
struct FaultKind {
  const char* name;
  Event event;
  std::set<Call> calls;
  int error = 0;
  bool canLast = true;
  std::set<Errc> reported = {};

  bool isDeadly() const { return event != Event::Error && event != Event::ShortCount; }
};

// Makes call number `first` of a kind fail, and those after it up to `count`, from construction to
// destruction. One at a time.
class Faults {
 public:
  static constexpr int kExitOfTheDead = 77;

  Faults(const FaultKind& kind, int first, int count);
  ~Faults();
  Faults(const Faults&) = delete;
  Faults& operator=(const Faults&) = delete;

  int injected() const;
  bool hasFailed(Call call) const;
  // Now the power fails, if it is of this kind.
  void losePower() const;
};

// Whether the system makes files without a name.
void setNamelessFiles(bool possible);

}  // namespace zdb::test::zxf
