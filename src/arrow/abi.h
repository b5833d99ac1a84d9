// The structs of Arrow's C data interface, and who releases those that were received.
#pragma once

#include "zdbarrow.h"

namespace zdb::arrow {

/// A struct that someone else filled and that is released at the end of its scope, in whatever
/// state it is: Schema, Array or Stream below.
template <class Struct>
struct Received : Struct {
  Received() : Struct{} {}
  /// Moves it here; `from` counts as released.
  explicit Received(Struct& from) : Struct(from) { from.release = nullptr; }
  Received(const Received&) = delete;
  Received& operator=(const Received&) = delete;
  ~Received() {
    if (this->release != nullptr) this->release(this);
  }
};

}  // namespace zdb::arrow
