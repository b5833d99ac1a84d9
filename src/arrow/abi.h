// The structs of Arrow's C data interface, as its definition has every program repeat them: the
// guards are the definition's, so that this header and the public one can both be included.
#pragma once

#include <cstdint>

// NOLINTBEGIN(modernize-*): C, letter by letter

#ifndef ARROW_C_DATA_INTERFACE
#define ARROW_C_DATA_INTERFACE

#define ARROW_FLAG_DICTIONARY_ORDERED 1
#define ARROW_FLAG_NULLABLE 2
#define ARROW_FLAG_MAP_KEYS_SORTED 4

extern "C" {

struct ArrowSchema {
  const char* format;
  const char* name;
  const char* metadata;
  int64_t flags;
  int64_t n_children;
  struct ArrowSchema** children;
  struct ArrowSchema* dictionary;
  void (*release)(struct ArrowSchema*);
  void* private_data;
};

struct ArrowArray {
  int64_t length;
  int64_t null_count;
  int64_t offset;
  int64_t n_buffers;
  int64_t n_children;
  const void** buffers;
  struct ArrowArray** children;
  struct ArrowArray* dictionary;
  void (*release)(struct ArrowArray*);
  void* private_data;
};

}  // extern "C"

#endif  // ARROW_C_DATA_INTERFACE

#ifndef ARROW_C_STREAM_INTERFACE
#define ARROW_C_STREAM_INTERFACE

extern "C" {

struct ArrowArrayStream {
  int (*get_schema)(struct ArrowArrayStream*, struct ArrowSchema* out);
  int (*get_next)(struct ArrowArrayStream*, struct ArrowArray* out);
  const char* (*get_last_error)(struct ArrowArrayStream*);
  void (*release)(struct ArrowArrayStream*);
  void* private_data;
};

}  // extern "C"

#endif  // ARROW_C_STREAM_INTERFACE

// NOLINTEND(modernize-*)

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
