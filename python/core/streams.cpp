// Records as streams of Arrow's C data interface, in capsules of the names that it lays down.
#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <cerrno>
#include <cstring>
#include <utility>
#include <variant>

#include "labels.h"

namespace py = pybind11;

namespace zdbpy {
namespace {

constexpr const char* CAPSULE_NAME = "arrow_array_stream";

/// A stream of the library that waits for other calls of its database, which it keeps.
struct Exported {
  std::shared_ptr<Database> db;
  ArrowArrayStream inner = {};
  std::string error;

  static Exported& of(ArrowArrayStream* stream) {
    return *static_cast<Exported*>(stream->private_data);
  }

  /// A thread that holds the GIL must not wait for one that needs it.
  template <typename Function>
  int call(Function&& function) {
    std::optional<py::gil_scoped_release> release;
    if (Py_IsInitialized() != 0 && PyGILState_Check() != 0) release.emplace();
    return db->callFromOutside([&](zdbHandle_t) {
      const int code = function(&inner);
      if (code != 0) {
        const char* text = inner.get_last_error(&inner);
        error = text != nullptr ? text : "";
      }
      return code;
    });
  }

  static int getSchema(ArrowArrayStream* stream, ArrowSchema* out) {
    return of(stream).call([&](ArrowArrayStream* in) { return in->get_schema(in, out); });
  }
  static int getNext(ArrowArrayStream* stream, ArrowArray* out) {
    return of(stream).call([&](ArrowArrayStream* in) { return in->get_next(in, out); });
  }
  static const char* getLastError(ArrowArrayStream* stream) {
    const std::string& text = of(stream).error;
    return text.empty() ? nullptr : text.c_str();
  }
  static void release(ArrowArrayStream* stream) {
    const std::unique_ptr<Exported> self(&of(stream));
    self->call([](ArrowArrayStream* in) {
      if (in->release != nullptr) in->release(in);
      return 0;
    });
    *stream = {};
  }
};

void destroyCapsule(PyObject* capsule) {
  auto* stream = static_cast<ArrowArrayStream*>(PyCapsule_GetPointer(capsule, CAPSULE_NAME));
  if (stream == nullptr) {
    PyErr_Clear();
    return;
  }
  if (stream->release != nullptr) stream->release(stream);
  delete stream;
}

py::object exportStream(Symbol& self, const std::optional<std::vector<std::int32_t>>& slice,
                        std::int64_t batchRows) {
  auto exported = std::make_unique<Exported>();
  exported->db = self.db;
  self.db->call(self, [&](zdbHandle_t db, zdbSymbol_t symbol) {
    return check(db, zdbx_export_stream(db, symbol, slice ? slice->data() : nullptr, batchRows,
                                        &exported->inner));
  });
  auto stream = std::make_unique<ArrowArrayStream>();
  stream->get_schema = Exported::getSchema;
  stream->get_next = Exported::getNext;
  stream->get_last_error = Exported::getLastError;
  stream->release = Exported::release;
  stream->private_data = exported.release();
  auto capsule =
      py::reinterpret_steal<py::object>(PyCapsule_New(stream.get(), CAPSULE_NAME, destroyCapsule));
  if (!capsule) {
    stream->release(stream.get());
    throw py::error_already_set();
  }
  (void)stream.release();
  return capsule;
}

/// What a stream has, read before the database is locked: its producer may be slow, or need the
/// lock of another database, whose thread may be waiting for ours.
class Drained {
 public:
  explicit Drained(ArrowArrayStream& source) {
    const py::gil_scoped_release release;
    schemaCode_ = source.get_schema(&source, &schema_);
    code_ = schemaCode_;
    while (code_ == 0) {
      ArrowArray array = {};
      code_ = source.get_next(&source, &array);
      if (code_ != 0 || array.release == nullptr) break;
      arrays_.push_back(array);
    }
    if (code_ != 0) {
      const char* text = source.get_last_error(&source);
      if (text != nullptr) error_ = text;
    }
    stream_.get_schema = [](ArrowArrayStream* stream, ArrowSchema* out) {
      Drained& self = of(stream);
      if (self.schemaCode_ == 0) *out = std::exchange(self.schema_, {});
      return self.schemaCode_;
    };
    stream_.get_next = [](ArrowArrayStream* stream, ArrowArray* out) {
      Drained& self = of(stream);
      *out = {};
      if (self.next_ == self.arrays_.size()) return self.code_;
      *out = std::exchange(self.arrays_[self.next_++], {});
      return 0;
    };
    stream_.get_last_error = [](ArrowArrayStream* stream) -> const char* {
      return of(stream).error_.empty() ? nullptr : of(stream).error_.c_str();
    };
    stream_.release = [](ArrowArrayStream* stream) { stream->release = nullptr; };
    stream_.private_data = this;
  }
  ~Drained() {
    if (schema_.release != nullptr) schema_.release(&schema_);
    for (ArrowArray& array : arrays_) {
      if (array.release != nullptr) array.release(&array);
    }
  }
  Drained(const Drained&) = delete;
  Drained& operator=(const Drained&) = delete;

  ArrowArrayStream& stream() { return stream_; }
  std::int64_t rows() const {
    std::int64_t count = 0;
    for (const ArrowArray& array : arrays_) count += array.length;
    return count;
  }

 private:
  static Drained& of(ArrowArrayStream* stream) {
    return *static_cast<Drained*>(stream->private_data);
  }

  ArrowSchema schema_ = {};
  std::vector<ArrowArray> arrays_;
  std::size_t next_ = 0;
  int schemaCode_ = 0;
  int code_ = 0;
  std::string error_;
  ArrowArrayStream stream_ = {};
};

py::tuple import(Symbol& self, ArrowArrayStream& stream, std::int64_t rows, int mode) {
  zdbx_result result = {};
  result.size = sizeof result;
  const auto changed = mode == ZDBX_REPLACE ? kAllRecords : rows;
  self.db->change(self, changed, [&](zdbHandle_t db, zdbSymbol_t symbol) -> std::optional<Failure> {
    if (zdbx_import_stream(db, symbol, &stream, mode, ZDBX_UNDO, &result) != 0) return std::nullopt;
    return Failure::of(db, result);
  });
  return py::make_tuple(result.done, result.added);
}

py::tuple importCapsule(Symbol& self, const py::object& capsule, int mode) {
  auto* source = static_cast<ArrowArrayStream*>(PyCapsule_GetPointer(capsule.ptr(), CAPSULE_NAME));
  if (source == nullptr) throw py::error_already_set();
  if (source->release == nullptr) {
    raise(Failure::argument("the stream has been read already; make a new one"));
  }
  // The stream is ours now, and the capsule is empty.
  ArrowArrayStream stream = std::exchange(*source, {});
  const auto release = [](ArrowArrayStream* s) {
    if (s->release != nullptr) s->release(s);
  };
  const std::unique_ptr<ArrowArrayStream, decltype(release)> owner(&stream, release);
  Drained drained(stream);
  return import(self, drained.stream(), drained.rows(), mode);
}

using Codes = py::array_t<std::int32_t, py::array::c_style>;
using Doubles = py::array_t<double, py::array::c_style>;
/// Labels: places in a list of them, or one by one; or values.
using Column = std::variant<std::pair<Codes, py::list>, Doubles, py::list>;

/// The columns of a call as a stream of one batch, which borrows them: nothing here is freed by
/// releasing it, and it is read during the call only.
class Batch {
 public:
  Batch(std::int64_t rows, const std::vector<Column>& columns)
      : rows_(rows), columns_(columns.size()) {
    for (std::size_t i = 0; i < columns.size(); ++i) {
      std::visit([&](const auto& column) { fill(columns_[i], column); }, columns[i]);
      finish(columns_[i]);
      schemas_.push_back(&columns_[i].schema);
      arrays_.push_back(&columns_[i].array);
    }
    stream_.get_schema = [](ArrowArrayStream* stream, ArrowSchema* out) {
      static_cast<Batch*>(stream->private_data)->giveSchema(*out);
      return 0;
    };
    stream_.get_next = [](ArrowArrayStream* stream, ArrowArray* out) {
      static_cast<Batch*>(stream->private_data)->giveArray(*out);
      return 0;
    };
    stream_.get_last_error = [](ArrowArrayStream*) -> const char* { return nullptr; };
    stream_.release = [](ArrowArrayStream* stream) { stream->release = nullptr; };
    stream_.private_data = this;
  }

  ArrowArrayStream& stream() { return stream_; }

 private:
  /// A column and, where it has one, its dictionary.
  struct Part {
    ArrowSchema schema = {};
    ArrowArray array = {};
    const void* buffers[3] = {};
    std::string bytes;
    std::vector<std::int64_t> offsets;
    std::unique_ptr<Part> dictionary;
  };

  void fill(Part& part, const std::pair<Codes, py::list>& column) const {
    requireRows(column.first.size());
    part.schema.format = "i";
    part.buffers[1] = column.first.data();
    part.array.length = rows_;
    part.array.n_buffers = 2;
    part.dictionary = std::make_unique<Part>();
    fillTexts(*part.dictionary, column.second);
    finish(*part.dictionary);
    part.schema.dictionary = &part.dictionary->schema;
    part.array.dictionary = &part.dictionary->array;
  }
  void fill(Part& part, const Doubles& column) const {
    requireRows(column.size());
    part.schema.format = "g";
    part.buffers[1] = column.data();
    part.array.length = rows_;
    part.array.n_buffers = 2;
  }
  void fill(Part& part, const py::list& column) const {
    fillTexts(part, column);
    requireRows(part.array.length);
  }
  static void fillTexts(Part& part, const py::list& column) {
    const Texts texts(column, "row");
    part.offsets.push_back(0);
    for (const char* text : texts.pointers()) {
      part.bytes += text;
      part.offsets.push_back(static_cast<std::int64_t>(part.bytes.size()));
    }
    part.schema.format = "U";
    part.buffers[1] = part.offsets.data();
    part.buffers[2] = part.bytes.data();
    part.array.length = texts.count();
    part.array.n_buffers = 3;
  }
  static void finish(Part& part) {
    part.schema.name = "";
    part.schema.release = [](ArrowSchema* schema) { schema->release = nullptr; };
    part.array.buffers = part.buffers;
    part.array.release = [](ArrowArray* array) { array->release = nullptr; };
  }
  void requireRows(std::int64_t size) const {
    if (size == rows_) return;
    raise(Failure::argument("a column has " + std::to_string(size) + " entries, not " +
                            std::to_string(rows_)));
  }

  void giveSchema(ArrowSchema& out) {
    out = {};
    out.format = "+s";
    out.name = "";
    out.n_children = static_cast<std::int64_t>(schemas_.size());
    out.children = schemas_.data();
    out.release = [](ArrowSchema* schema) { schema->release = nullptr; };
  }
  void giveArray(ArrowArray& out) {
    out = {};
    if (std::exchange(isGiven_, true)) return;
    out.length = rows_;
    out.n_buffers = 1;
    out.buffers = &noValidity_;
    out.n_children = static_cast<std::int64_t>(arrays_.size());
    out.children = arrays_.data();
    out.release = [](ArrowArray* array) { array->release = nullptr; };
  }

  std::int64_t rows_;
  std::vector<Part> columns_;
  std::vector<ArrowSchema*> schemas_;
  std::vector<ArrowArray*> arrays_;
  const void* noValidity_ = nullptr;
  bool isGiven_ = false;
  ArrowArrayStream stream_ = {};
};

py::tuple putLabelled(Symbol& self, std::int64_t rows, const std::vector<Column>& columns,
                      int mode) {
  Batch batch(rows, columns);
  return import(self, batch.stream(), rows, mode);
}

}  // namespace

void bindStreams(py::module_& module) {
  auto symbol =
      py::reinterpret_borrow<py::class_<Symbol, std::shared_ptr<Symbol>>>(module.attr("Symbol"));
  symbol
      .def("export_stream", &exportStream, py::arg("slice") = py::none(), py::arg("batch_rows") = 0)
      .def("import_stream", &importCapsule, py::arg("capsule"), py::arg("mode"))
      .def("put_labelled", &putLabelled, py::arg("rows"), py::arg("columns"), py::arg("mode"));
}

}  // namespace zdbpy
