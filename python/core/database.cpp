#include "database.h"

namespace py = pybind11;

namespace zdbpy {

Database::Database() {
  char message[ZDB_TEXT_SIZE] = "";
  int status = 0;
  if (c__xapiversion(ZDBCCLIB_API_VERSION, message, &status) == 0 ||
      zdbcreate(&handle_, message, sizeof message) == 0) {
    raise({ZDBX_OTHER, message, {}, -1, -1});
  }
}

Failure Database::closed() {
  return {ZDBX_HANDLE, "the database is closed; open it again", {}, -1, -1};
}

Failure Database::removed() {
  return {ZDBX_HANDLE, "the symbol has been removed from its database", {}, -1, -1};
}

std::shared_ptr<Symbol> Database::symbolOf(zdbSymbol_t handle) {
  std::weak_ptr<Symbol>& known = symbols_[handle];
  std::shared_ptr<Symbol> symbol = known.lock();
  if (!symbol) known = symbol = std::make_shared<Symbol>(Symbol{shared_from_this(), handle});
  return symbol;
}

void Database::close() {
  const py::gil_scoped_release release;
  const std::scoped_lock lock(mutex_);
  for (auto& [handle, known] : symbols_) {
    if (const auto symbol = known.lock()) symbol->handle = nullptr;
  }
  symbols_.clear();
  zdbfree(&handle_);
}

std::optional<Failure> Database::prepareChange(zdbHandle_t db, Symbol& symbol,
                                               std::int64_t records) {
  constexpr std::int64_t kMany = 16;  // a part of the records for which an array is still fast
  int storage = 0;
  int type = 0;
  c__zdbsymbolinfo(db, symbol.handle, ZDB_SYMBOL_STORAGE, &storage, nullptr, nullptr);
  c__zdbsymboltype(db, symbol.handle, &type);
  if (storage != ZDB_STORAGE_VECTOR || type == ZDB_ALIAS) return std::nullopt;
  std::int64_t count = 0;
  if (zdbx_count_records(db, symbol.handle, nullptr, &count) == 0) return check(db, 0);
  if (records >= count / kMany) return std::nullopt;
  zdbSymbol_t moved = symbol.handle;
  if (c__zdbselectrecordstorage(db, &moved, ZDB_STORAGE_MAP) == 0) return check(db, 0);
  auto known = symbols_.extract(symbol.handle);
  known.key() = moved;
  symbols_.insert(std::move(known));
  symbol.handle = moved;
  return std::nullopt;
}

void Database::remove(Symbol& symbol) {
  call(symbol, [&](zdbHandle_t db, zdbSymbol_t handle) {
    zdbSymbol_t left = handle;
    const int done = zdbx_remove_symbol(db, &left);
    if (done != 0) {
      symbols_.erase(handle);
      symbol.handle = nullptr;
    }
    return check(db, done);
  });
}

namespace {

/// Bytes of a file as a bytes object.
py::bytes writeMemory(Database& database, bool checkDomains) {
  void* data = nullptr;
  std::size_t size = 0;
  database.call([&](zdbHandle_t db) {
    return check(db, zdbx_write_memory(db, checkDomains ? 0 : 1, &data, &size));
  });
  const std::unique_ptr<void, void (*)(void*)> owner(data, zdbx_free_bytes);
  return {static_cast<const char*>(data), size};
}

void readMemory(Database& database, const py::buffer& buffer) {
  const py::buffer_info info = buffer.request();
  if (info.ndim != 1 || info.strides[0] != info.itemsize) {
    raise(Failure::argument("the bytes of a file must be in one piece; pass bytes(...) of them"));
  }
  const auto size = static_cast<std::size_t>(info.size * info.itemsize);
  database.readFile([&](zdbHandle_t db) { return zdbx_init_from_memory(db, info.ptr, size); });
}

/// Whether any record is outside the domains of its symbol.
bool hasViolation(Database& database) {
  int found = 0;
  database.call([&](zdbHandle_t db) { return check(db, c__zdbcheckdbdv(db, &found)); });
  return found != 0;
}

}  // namespace

void bindDatabase(py::module_& module) {
  py::class_<Database, std::shared_ptr<Database>>(module, "Database")
      .def(py::init<>())
      .def("close", &Database::close)
      .def_property_readonly("closed", &Database::isClosed)
      .def("remove", &Database::remove, py::arg("symbol"))
      .def(
          "read_file",
          [](Database& self, const py::str& path) {
            const std::string name = textOf(path);
            self.readFile([&](zdbHandle_t db) { return c__zdbinitfromzxf(db, name.c_str()); });
          },
          py::arg("path"))
      .def(
          "write_file",
          [](Database& self, const py::str& path, bool checkDomains) {
            const std::string name = textOf(path);
            self.call([&](zdbHandle_t db) {
              return check(db, c__zdbwritezxf(db, name.c_str(), checkDomains ? 0 : 1));
            });
          },
          py::arg("path"), py::arg("check_domains"))
      .def("read_memory", &readMemory, py::arg("data"))
      .def("write_memory", &writeMemory, py::arg("check_domains"))
      .def("has_violation", &hasViolation);
}

}  // namespace zdbpy
