#include "kit/modelfile/wire.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "kit/modelfile/errors.h"

namespace zdb::kit::modelfile {

namespace {

// The one list of fields, for both directions.
template <class Wire, class Model>
void visit(Wire& wire, Model& model) {
  wire.text(model.name);
  wire.list(model.rows, [](Wire& w, auto& row) {
    w.text(row.name);
    w.number(row.lower);
    w.number(row.upper);
  });
  wire.list(model.columns, [](Wire& w, auto& column) {
    w.text(column.name);
    w.number(column.lower);
    w.number(column.upper);
    w.number(column.isInteger);
  });
  wire.list(model.coefficients, [](Wire& w, auto& entry) { w.number(entry); });
  wire.text(model.objectiveName);
  wire.number(model.objectiveConstant);
  wire.number(model.maximize);
  wire.number(model.objectiveRow);
  wire.list(model.notes, [](Wire& w, auto& note) { w.text(note); });
}

class Packer {
 public:
  template <class T>
  void number(const T& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    bytes_.append(reinterpret_cast<const char*>(&value), sizeof value);
  }

  void text(const std::string& value) {
    number(static_cast<std::uint64_t>(value.size()));
    bytes_ += value;
  }

  template <class List, class Visit>
  void list(const List& items, Visit visitItem) {
    number(static_cast<std::uint64_t>(items.size()));
    for (const auto& item : items) visitItem(*this, item);
  }

  std::string take() { return std::move(bytes_); }

 private:
  std::string bytes_;
};

[[noreturn]] void failCut() {
  throw ReadError("the process that translated the model sent an incomplete one");
}

class Unpacker {
 public:
  explicit Unpacker(const std::string& bytes) : rest_(bytes) {}

  template <class T>
  void number(T& value) {
    std::memcpy(&value, take(sizeof value), sizeof value);
  }

  void text(std::string& value) {
    const std::size_t size = length();
    value.assign(take(size), size);
  }

  // Every item takes at least one byte, so a list cannot have more items than there are bytes left.
  template <class List, class Visit>
  void list(List& items, Visit visitItem) {
    items.resize(length());
    for (auto& item : items) visitItem(*this, item);
  }

  bool isEmpty() const { return rest_.empty(); }

 private:
  const char* take(std::size_t size) {
    if (size > rest_.size()) failCut();
    const char* at = rest_.data();
    rest_.remove_prefix(size);
    return at;
  }

  std::size_t length() {
    std::uint64_t size = 0;
    number(size);
    if (size > rest_.size()) failCut();
    return size;
  }

  std::string_view rest_;
};

bool isIn(int number, int first, std::size_t count) {
  return number >= first && number <= static_cast<std::int64_t>(count);
}

}  // namespace

std::string packModel(const FileModel& model) {
  Packer wire;
  visit(wire, model);
  return wire.take();
}

FileModel unpackModel(const std::string& bytes) {
  Unpacker wire(bytes);
  FileModel model;
  visit(wire, model);
  const bool isSound =
      isIn(model.objectiveRow, 0, model.rows.size()) &&
      std::all_of(
          model.coefficients.begin(), model.coefficients.end(), [&](const FileCoefficient& c) {
            return isIn(c.row, 0, model.rows.size()) && isIn(c.column, 1, model.columns.size());
          });
  if (!isSound || !wire.isEmpty()) failCut();
  return model;
}

}  // namespace zdb::kit::modelfile
