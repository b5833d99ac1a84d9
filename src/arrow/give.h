// Schemas and arrays for a consumer, who owns the struct and may move it, move parts out of it and
// release the parts in any order and in any thread, long after the database has gone. So every part
// owns what it points to or shares it by a reference count.
#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "arrow/abi.h"

namespace zdb::arrow {

/// Memory of a column, not initialised. Consumers like it at the boundaries of cache lines.
template <class T>
std::shared_ptr<T[]> makeColumn(std::size_t count) {
  constexpr std::align_val_t kLine{64};
  void* memory = ::operator new(count == 0 ? 1 : count * sizeof(T), kLine);
  return {static_cast<T*>(memory), [](T* column) { ::operator delete(column, kLine); }};
}

/// A field of a schema, to be given away.
struct Field {
  std::string format;
  std::string name;
  std::int64_t flags = 0;
  std::string metadata;           ///< in the form of the interface; empty: none
  std::vector<Field> children;    ///< of a struct
  std::vector<Field> dictionary;  ///< none or one: the type of the values
};

/// Fills `out`, which must not hold anything. Throws std::bad_alloc and leaves it released then, as
/// does giveArray().
void giveSchema(const Field& field, ArrowSchema& out);

/// Keys and values in the form that the interface prescribes for metadata.
std::string encodeMetadata(const std::vector<std::pair<std::string, std::string>>& entries);

/// An array without nulls, to be given away.
struct Array {
  std::int64_t length = 0;
  std::vector<std::shared_ptr<const void>> buffers;  ///< those after the validity bitmap
  std::vector<Array> children;
  std::vector<Array> dictionary;  ///< none or one
};

void giveArray(Array array, ArrowArray& out);

}  // namespace zdb::arrow
