#include "arrow/give.h"

#include <cstring>
#include <utility>

namespace zdb::arrow {

namespace {

/// What the private data of both structs share: the parts that have not been moved out are released
/// with the whole.
template <class Struct>
struct Owned {
  explicit Owned(std::size_t count) : children(count), pointers(count) {
    for (std::size_t i = 0; i < count; ++i) pointers[i] = &children[i];
  }

  std::vector<Received<Struct>> children;
  std::vector<Struct*> pointers;
  Received<Struct> dictionary;
};

struct OwnedSchema : Owned<ArrowSchema> {
  using Owned::Owned;

  std::string format;
  std::string name;
  std::string metadata;
};

struct OwnedArray : Owned<ArrowArray> {
  using Owned::Owned;

  std::vector<std::shared_ptr<const void>> memory;
  std::vector<const void*> buffers;
};

template <class Part, class Struct>
void release(Struct* whole) {
  delete static_cast<Part*>(whole->private_data);
  whole->release = nullptr;
}

void appendNumber(std::string& out, std::size_t number) {
  const auto value = static_cast<std::int32_t>(number);
  char bytes[sizeof value];
  std::memcpy(bytes, &value, sizeof value);
  out.append(bytes, sizeof bytes);
}

void appendText(std::string& out, const std::string& text) {
  appendNumber(out, text.size());
  out += text;
}

}  // namespace

void giveSchema(const Field& field, ArrowSchema& out) {
  auto owned = std::make_unique<OwnedSchema>(field.children.size());
  owned->format = field.format;
  owned->name = field.name;
  owned->metadata = field.metadata;
  for (std::size_t i = 0; i < field.children.size(); ++i) {
    giveSchema(field.children[i], owned->children[i]);
  }
  if (!field.dictionary.empty()) giveSchema(field.dictionary.front(), owned->dictionary);
  out = {owned->format.c_str(),
         owned->name.c_str(),
         owned->metadata.empty() ? nullptr : owned->metadata.c_str(),
         field.flags,
         static_cast<std::int64_t>(owned->children.size()),
         owned->pointers.data(),
         field.dictionary.empty() ? nullptr : &owned->dictionary,
         release<OwnedSchema, ArrowSchema>,
         owned.get()};
  static_cast<void>(owned.release());  // to `out`
}

std::string encodeMetadata(const std::vector<std::pair<std::string, std::string>>& entries) {
  std::string encoded;
  appendNumber(encoded, entries.size());
  for (const auto& [key, value] : entries) {
    appendText(encoded, key);
    appendText(encoded, value);
  }
  return encoded;
}

void giveArray(Array array, ArrowArray& out) {
  auto owned = std::make_unique<OwnedArray>(array.children.size());
  owned->memory = std::move(array.buffers);
  owned->buffers.push_back(nullptr);
  for (const auto& buffer : owned->memory) owned->buffers.push_back(buffer.get());
  for (std::size_t i = 0; i < array.children.size(); ++i) {
    giveArray(std::move(array.children[i]), owned->children[i]);
  }
  if (!array.dictionary.empty()) giveArray(std::move(array.dictionary.front()), owned->dictionary);
  out = {array.length,
         0,
         0,
         static_cast<std::int64_t>(owned->buffers.size()),
         static_cast<std::int64_t>(owned->children.size()),
         owned->buffers.data(),
         owned->pointers.data(),
         array.dictionary.empty() ? nullptr : &owned->dictionary,
         release<OwnedArray, ArrowArray>,
         owned.get()};
  static_cast<void>(owned.release());  // to `out`
}

}  // namespace zdb::arrow
