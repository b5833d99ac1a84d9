// Records in and out as columns of label numbers and values.
#include <pybind11/stl.h>

#include <algorithm>
#include <limits>

#include "arrays.h"
#include "labels.h"

namespace py = pybind11;

namespace zdbpy {
namespace {

using Slice = std::optional<std::vector<std::int32_t>>;

/// How a symbol's records look.
struct Shape {
  int dim = 0;
  int values = 0;
  bool hasTexts = false;
};

std::optional<Failure> readShape(zdbHandle_t db, zdbSymbol_t symbol, Shape& shape) {
  int type = 0;
  int index = 0;
  if (c__zdbsymboldim(db, symbol, &shape.dim) == 0 || c__zdbsymboltype(db, symbol, &type) == 0 ||
      c__zdbsymbolinfo(db, symbol, ZDB_SYMBOL_NUMBER, &index, nullptr, nullptr) == 0) {
    return Failure::of(db);
  }
  shape.hasTexts = (type == ZDB_SET || type == ZDB_ALIAS) && index >= 0;
  if (type == ZDB_PARAMETER) shape.values = 1;
  if (type == ZDB_VARIABLE || type == ZDB_EQUATION) shape.values = ZDB_MAX_VALUES;
  return std::nullopt;
}

/// Copies of texts that the library lends, made while nobody can close the database.
struct CopiedTexts {
  std::string bytes;
  std::vector<std::size_t> ends;

  void take(const std::vector<const char*>& texts) {
    ends.reserve(texts.size());
    for (const char* text : texts) {
      bytes += text;
      ends.push_back(bytes.size());
    }
  }
  py::list list() const {
    py::list result(ends.size());
    std::size_t begin = 0;
    for (std::size_t i = 0; i < ends.size(); ++i) {
      result[i] = strOf(bytes.data() + begin, ends[i] - begin);
      begin = ends[i];
    }
    return result;
  }
};

/// Columns of a symbol or slice while they are read.
class Reading {
 public:
  Reading(Symbol& symbol, const Slice& slice, bool withKeys, bool withValues, bool withTexts,
          std::optional<std::int64_t> most)
      : symbol_(symbol), slice_(slice), most_(most) {
    symbol.db->call(symbol, [&](zdbHandle_t db, zdbSymbol_t handle) {
      if (auto failure = readShape(db, handle, shape_)) return failure;
      return check(db, countRows(db, handle));
    });
    if (slice && static_cast<int>(slice->size()) != shape_.dim) {
      raise(Failure::argument("the slice has " + std::to_string(slice->size()) +
                              " positions, the symbol has " + std::to_string(shape_.dim)));
    }
    withTexts_ = withTexts && shape_.hasTexts;
    while (!fill(withKeys, withValues)) {
    }
  }

  py::tuple columns() const {
    return py::make_tuple(keys_, values_, withTexts_ ? py::object(texts_.list()) : py::none());
  }

 private:
  const std::int32_t* sliceNumbers() const { return slice_ ? slice_->data() : nullptr; }

  int countRows(zdbHandle_t db, zdbSymbol_t handle) {
    const int done = zdbx_count_records(db, handle, sliceNumbers(), &rows_);
    rows_ = std::min(rows_, most_.value_or(rows_));
    return done;
  }

  int getRows(zdbHandle_t db, zdbSymbol_t handle, zdbx_buffers& buffers) const {
    if (!most_) return zdbx_get_records(db, handle, sliceNumbers(), &buffers, nullptr);
    zdbxCursor_t cursor = nullptr;
    if (zdbx_open_cursor(db, handle, sliceNumbers(), &cursor) == 0) return 0;
    zdbx_result result = {};
    result.size = sizeof result;
    const int done = zdbx_read_cursor(db, cursor, &buffers, &result);
    zdbx_close_cursor(db, &cursor);
    return done;
  }

  /// Fails if another thread has changed the number of records.
  bool fill(bool withKeys, bool withValues) {
    zdbx_buffers buffers = {};
    buffers.size = sizeof buffers;
    buffers.rows = rows_;
    keys_.clear();
    values_.clear();
    for (int i = 0; withKeys && i < shape_.dim; ++i) {
      buffers.keys[i].data = keys_.emplace_back(made<Numbers>(rows_)).mutable_data();
    }
    for (int i = 0; withValues && i < shape_.values; ++i) {
      buffers.values[i].data = values_.emplace_back(made<Doubles>(rows_)).mutable_data();
    }
    bool isFilled = false;
    symbol_.db->call(symbol_, [&](zdbHandle_t db, zdbSymbol_t handle) {
      const std::int64_t room = rows_;
      const int done = countRows(db, handle);
      if (done == 0 || rows_ != room) return check(db, done);
      isFilled = true;
      std::vector<const char*> texts(withTexts_ ? static_cast<std::size_t>(room) : 0);
      if (withTexts_) buffers.texts.data = texts.data();
      if (getRows(db, handle, buffers) == 0) return check(db, 0);
      texts_.take(texts);
      return std::optional<Failure>();
    });
    return isFilled;
  }

  Symbol& symbol_;
  const Slice& slice_;
  std::optional<std::int64_t> most_;  ///< records to read at most
  Shape shape_;
  bool withTexts_ = false;
  std::int64_t rows_ = 0;
  std::vector<Numbers> keys_;
  std::vector<Doubles> values_;
  CopiedTexts texts_;
};

py::tuple read(Symbol& self, const Slice& slice, bool keys, bool values, bool texts,
               std::optional<std::int64_t> most) {
  return Reading(self, slice, keys, values, texts, most).columns();
}

/// For each label number, 0 for one that does not occur, else 1 more than its place among those
/// that do; empty if a number is out of range.
std::vector<std::int32_t> placesOf(const Numbers& numbers, std::int32_t labels) {
  std::vector<std::uint8_t> occurs(static_cast<std::size_t>(labels) + 1);
  const auto most = static_cast<std::uint32_t>(labels);
  // Asked once: the compiler cannot know that a store does not change the size of an array.
  const std::int32_t* const end = numbers.data() + numbers.size();
  for (const std::int32_t* p = numbers.data(); p != end; ++p) {
    if (static_cast<std::uint32_t>(*p) > most) return {};
    occurs[static_cast<std::size_t>(*p)] = 1;
  }
  std::vector<std::int32_t> places(occurs.size());
  std::int32_t used = 0;
  for (std::size_t number = 0; number < places.size(); ++number) {
    if (occurs[number] != 0) places[number] = ++used;
  }
  return places;
}

template <typename Code>
py::array codesOf(const Numbers& numbers, const std::vector<std::int32_t>& places) {
  auto codes = made<py::array_t<Code>>(numbers.size());
  Code* const out = codes.mutable_data();
  const std::int32_t* const in = numbers.data();
  const py::ssize_t count = numbers.size();
  const py::gil_scoped_release release;
  const auto first =
      std::find_if(places.begin(), places.end(), [](auto place) { return place > 0; });
  const auto last = std::max_element(places.begin(), places.end());
  if (first != places.end() && last - first == *last - 1) {
    // Labels that stand together, such as those of a set, differ by the same from their places.
    const auto before = static_cast<std::int32_t>(first - places.begin());
    for (py::ssize_t i = 0; i < count; ++i) out[i] = static_cast<Code>(in[i] - before);
    return codes;
  }
  for (py::ssize_t i = 0; i < count; ++i) {
    out[i] = static_cast<Code>(places[static_cast<std::size_t>(in[i])] - 1);
  }
  return codes;
}

/// Numbers of labels as places in the ascending list of those that occur, in the smallest type that
/// pandas uses for its categories, and this list.
py::tuple compact(const Numbers& numbers, std::int32_t labels) {
  std::vector<std::int32_t> places;
  {
    const py::gil_scoped_release release;
    places = placesOf(numbers, labels);
  }
  if (places.empty()) raise(Failure::argument("a label number is out of range"));
  const std::int32_t used = *std::max_element(places.begin(), places.end());
  auto occurring = made<Numbers>(used);
  std::int32_t* out = occurring.mutable_data();
  for (std::size_t number = 0; number < places.size(); ++number) {
    if (places[number] > 0) out[places[number] - 1] = static_cast<std::int32_t>(number);
  }
  py::array codes =
      used < std::numeric_limits<std::int8_t>::max()    ? codesOf<std::int8_t>(numbers, places)
      : used < std::numeric_limits<std::int16_t>::max() ? codesOf<std::int16_t>(numbers, places)
                                                        : codesOf<std::int32_t>(numbers, places);
  return py::make_tuple(codes, occurring);
}

/// A one-dimensional array of a type as a column of the library; it may have gaps.
template <typename T>
zdbx_column columnOf(const py::array& array, std::int64_t rows, const char* type) {
  if (!py::isinstance<py::array_t<T>>(array) || array.ndim() != 1 || array.size() != rows) {
    raise(Failure::argument("a column must be a one-dimensional array of " + std::string(type) +
                            " with " + std::to_string(rows) + " entries"));
  }
  // A stride of 0 is numpy's for one entry that is repeated, and the library's for no gaps.
  if (rows > 1 && array.strides(0) == 0) {
    raise(Failure::argument("a column must not be a broadcast scalar; pass a copy of it"));
  }
  return {array.data(), rows > 1 ? static_cast<std::int64_t>(array.strides(0)) : 0};
}

py::tuple put(Symbol& self, std::int64_t rows, const std::vector<py::array>& keys,
              const std::vector<py::array>& values, const std::optional<py::sequence>& texts,
              int mode) {
  if (keys.size() > ZDB_MAX_DIM || values.size() > ZDB_MAX_VALUES) {
    raise(Failure::argument("there are at most 20 columns of keys and 5 of values"));
  }
  zdbx_columns columns = {};
  columns.size = sizeof columns;
  columns.rows = rows;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    columns.keys[i] = columnOf<std::int32_t>(keys[i], rows, "int32");
  }
  for (std::size_t i = 0; i < values.size(); ++i) {
    columns.values[i] = columnOf<double>(values[i], rows, "float64");
  }
  std::optional<Texts> list;
  zdbx_texts elementTexts = {};
  if (texts) {
    elementTexts = list.emplace(*texts, "text").list();
    columns.texts = &elementTexts;
    if (list->count() != rows) {
      raise(Failure::argument("there are " + std::to_string(list->count()) + " texts for " +
                              std::to_string(rows) + " records"));
    }
  }
  zdbx_result result = {};
  result.size = sizeof result;
  const auto changed = mode == ZDBX_REPLACE ? kAllRecords : rows;
  self.db->change(self, changed, [&](zdbHandle_t db, zdbSymbol_t symbol) -> std::optional<Failure> {
    Shape shape;
    if (auto failure = readShape(db, symbol, shape)) return failure;
    if (static_cast<int>(keys.size()) != shape.dim ||
        static_cast<int>(values.size()) > shape.values) {
      return Failure::argument("the symbol has " + std::to_string(shape.dim) +
                               " columns of keys and at most " + std::to_string(shape.values) +
                               " of values, not " + std::to_string(keys.size()) + " and " +
                               std::to_string(values.size()));
    }
    if (zdbx_put_records(db, symbol, &columns, mode, ZDBX_UNDO, &result) != 0) return std::nullopt;
    return Failure::of(db, result);
  });
  return py::make_tuple(result.done, result.added);
}

/// One record: a tuple of its values, or the text of an element. Raises if it is not there.
py::object lookup(Symbol& self, const py::sequence& labels) {
  const Texts texts(labels, "label");
  Shape shape;
  double values[ZDB_MAX_VALUES] = {};
  char text[ZDB_TEXT_SIZE] = "";
  self.db->call(self, [&](zdbHandle_t db, zdbSymbol_t symbol) -> std::optional<Failure> {
    if (auto failure = readShape(db, symbol, shape)) return failure;
    if (texts.count() != shape.dim) return Failure::argument("wrong number of labels");
    zdbRecord_t record = nullptr;
    if (c__zdbfindrecord(db, symbol, texts.pointers().data(), &record) == 0) return check(db, 0);
    int keys[ZDB_MAX_DIM];
    const int done = shape.hasTexts ? c__zdbgetelemtext(db, record, text)
                                    : c__zdbgetrecordraw(db, record, shape.dim, keys, values);
    auto failure = check(db, done);
    c__zdbfreesymboliterator(db, record);
    return failure;
  });
  if (shape.values == 0) return strOf(text, std::char_traits<char>::length(text));
  py::tuple result(shape.values);
  for (std::size_t i = 0; i < result.size(); ++i) result[i] = values[i];
  return result;
}

/// Deletes the records of a slice and tells how many there were.
std::int64_t removeSlice(Symbol& self, const std::vector<std::int32_t>& slice) {
  std::int64_t count = 0;
  self.db->change(self, 0, [&](zdbHandle_t db, zdbSymbol_t symbol) -> std::optional<Failure> {
    Shape shape;
    if (auto failure = readShape(db, symbol, shape)) return failure;
    if (static_cast<int>(slice.size()) != shape.dim) return Failure::argument("wrong dimension");
    zdbRecord_t record = nullptr;
    while (zdbx_find_slice(db, symbol, slice.data(), 0, &record) != 0) {
      auto failure = check(db, c__zdbdeleterecord(db, record));
      c__zdbfreesymboliterator(db, record);
      if (failure) return failure;
      ++count;
    }
    const int kind = zdbx_error_kind(db);
    if (kind == ZDBX_NOT_FOUND || kind == ZDBX_END) return std::nullopt;
    return Failure::of(db);
  });
  return count;
}

}  // namespace

void bindColumns(py::module_& module) {
  auto symbol =
      py::reinterpret_borrow<py::class_<Symbol, std::shared_ptr<Symbol>>>(module.attr("Symbol"));
  symbol
      .def("read", &read, py::arg("slice"), py::arg("keys"), py::arg("values"), py::arg("texts"),
           py::arg("most") = py::none())
      .def("put", &put, py::arg("rows"), py::arg("keys"), py::arg("values"), py::arg("texts"),
           py::arg("mode"))
      .def("lookup", &lookup, py::arg("labels"))
      .def("remove_slice", &removeSlice, py::arg("slice"));
  module.def("compact", &compact, py::arg("numbers"), py::arg("labels"));
}

}  // namespace zdbpy
