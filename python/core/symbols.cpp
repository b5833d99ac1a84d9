#include <pybind11/stl.h>

#include <vector>

#include "database.h"

namespace py = pybind11;

namespace zdbpy {
namespace {

/// ZDB_SYMBOL_... with an integer.
int number(Symbol& self, int key) {
  int value = 0;
  self.db->call(self, [&](zdbHandle_t db, zdbSymbol_t symbol) {
    return check(db, c__zdbsymbolinfo(db, symbol, key, &value, nullptr, nullptr));
  });
  return value;
}

/// ZDB_SYMBOL_... with a text.
py::str text(Symbol& self, int key) {
  char value[ZDB_TEXT_SIZE] = "";
  self.db->call(self, [&](zdbHandle_t db, zdbSymbol_t symbol) {
    return check(db, c__zdbsymbolinfo(db, symbol, key, nullptr, nullptr, value));
  });
  return strOf(value, std::char_traits<char>::length(value));
}

std::int64_t count(Symbol& self, const std::optional<std::vector<std::int32_t>>& slice) {
  std::int64_t records = 0;
  self.db->call(self, [&](zdbHandle_t db, zdbSymbol_t symbol) {
    return check(db, zdbx_count_records(db, symbol, slice ? slice->data() : nullptr, &records));
  });
  return records;
}

/// Names of the domains, and whether each is a symbol (or the universe).
std::vector<std::pair<py::str, bool>> domains(Symbol& self) {
  int dim = 0;
  zdbSymbol_t sets[ZDB_MAX_DIM] = {};
  char texts[ZDB_MAX_DIM][ZDB_TEXT_SIZE] = {};
  char* names[ZDB_MAX_DIM];
  for (int i = 0; i < ZDB_MAX_DIM; ++i) names[i] = texts[i];
  self.db->call(self, [&](zdbHandle_t db, zdbSymbol_t symbol) {
    int index = 0;
    c__zdbsymbolinfo(db, symbol, ZDB_SYMBOL_NUMBER, &index, nullptr, nullptr);
    if (index < 0) {  // the universe has no domain but is one
      dim = 1;
      sets[0] = symbol;
      texts[0][0] = '*';
      return std::optional<Failure>();
    }
    if (c__zdbsymboldim(db, symbol, &dim) == 0) return check(db, 0);
    return check(db, c__zdbgetdomain(db, symbol, dim, sets, names));
  });
  std::vector<std::pair<py::str, bool>> result;
  result.reserve(static_cast<std::size_t>(dim));
  for (int i = 0; i < dim; ++i) {
    result.emplace_back(strOf(texts[i], std::char_traits<char>::length(texts[i])),
                        sets[i] != nullptr);
  }
  return result;
}

/// The symbol of a name, or null; of an alias, its set if `resolve` is true.
std::shared_ptr<Symbol> find(Database& self, const py::str& name, bool resolve) {
  const std::string bytes = textOf(name);
  std::shared_ptr<Symbol> result;
  self.call([&](zdbHandle_t db) -> std::optional<Failure> {
    zdbSymbol_t symbol = nullptr;
    const int found = resolve ? c__zdbfindsymbol(db, bytes.c_str(), &symbol)
                              : c__zdbfindsymbolwithalias(db, bytes.c_str(), &symbol);
    if (found != 0) {
      result = self.symbolOf(symbol);
    } else if (zdbx_error_kind(db) != ZDBX_NOT_FOUND) {
      return Failure::of(db);
    }
    return std::nullopt;
  });
  return result;
}

std::vector<std::shared_ptr<Symbol>> all(Database& self) {
  std::vector<std::shared_ptr<Symbol>> result;
  self.call([&](zdbHandle_t db) {
    int symbols = 0;
    int done = c__zdbinfo(db, ZDB_INFO_SYMBOLS, &symbols, nullptr, nullptr);
    for (int i = 0; i < symbols && done != 0; ++i) {
      zdbSymbol_t symbol = nullptr;
      done = c__zdbgetsymbolbynumber(db, i, &symbol);
      if (done != 0) result.push_back(self.symbolOf(symbol));
    }
    return check(db, done);
  });
  return result;
}

/// The set or alias of a name if it can be a domain, else null: then the domain is only a name.
zdbSymbol_t domainSet(zdbHandle_t db, const char* name) {
  zdbSymbol_t symbol = nullptr;
  int type = 0;
  int dim = 0;
  const bool isUsable = c__zdbfindsymbolwithalias(db, name, &symbol) != 0 &&
                        c__zdbsymboltype(db, symbol, &type) != 0 &&
                        c__zdbsymboldim(db, symbol, &dim) != 0 && dim == 1 &&
                        (type == ZDB_SET || type == ZDB_ALIAS);
  return isUsable ? symbol : nullptr;
}

std::shared_ptr<Symbol> add(Database& self, const py::str& name, int type,
                            const std::vector<py::str>& domainNames, int userInfo,
                            const py::str& explanation) {
  const std::string nameBytes = textOf(name);
  const std::string explanationBytes = textOf(explanation);
  std::vector<std::string> domainBytes;
  domainBytes.reserve(domainNames.size());
  for (const py::str& domain : domainNames) domainBytes.push_back(textOf(domain));
  if (domainBytes.size() > ZDB_MAX_DIM) {
    raise(Failure::argument("symbol " + nameBytes + " would have " +
                            std::to_string(domainBytes.size()) +
                            " positions; a symbol has at most 20"));
  }
  std::shared_ptr<Symbol> result;
  self.call([&](zdbHandle_t db) {
    zdbSymbol_t sets[ZDB_MAX_DIM] = {};
    const char* names[ZDB_MAX_DIM] = {};
    for (std::size_t i = 0; i < domainBytes.size(); ++i) {
      names[i] = domainBytes[i].c_str();
      sets[i] = domainSet(db, names[i]);
    }
    zdbx_clear_error(db);
    zdbSymbol_t symbol = nullptr;
    c__zdbaddsymbolx(db, nameBytes.c_str(), static_cast<int>(domainBytes.size()), type, userInfo,
                     explanationBytes.c_str(), sets, names, &symbol);
    if (symbol != nullptr) result = self.symbolOf(symbol);
    return check(db, symbol != nullptr ? 1 : 0);
  });
  return result;
}

void rename(Symbol& self, const py::str& name) {
  const std::string bytes = textOf(name);
  self.db->call(self, [&](zdbHandle_t db, zdbSymbol_t symbol) {
    return check(db, zdbx_rename_symbol(db, symbol, bytes.c_str()));
  });
}

}  // namespace

void bindSymbols(py::module_& module) {
  py::class_<Symbol, std::shared_ptr<Symbol>>(module, "Symbol")
      .def_readonly("database", &Symbol::db)
      .def_property_readonly("name", [](Symbol& self) { return text(self, ZDB_SYMBOL_NAME); })
      .def_property_readonly("text", [](Symbol& self) { return text(self, ZDB_SYMBOL_TEXT); })
      .def_property_readonly("type", [](Symbol& self) { return number(self, ZDB_SYMBOL_TYPE); })
      .def_property_readonly("dim", [](Symbol& self) { return number(self, ZDB_SYMBOL_DIM); })
      .def_property_readonly("number", [](Symbol& self) { return number(self, ZDB_SYMBOL_NUMBER); })
      .def_property_readonly("user_info",
                             [](Symbol& self) { return number(self, ZDB_SYMBOL_USER_INFO); })
      .def_property_readonly("domains", &domains)
      .def("count", &count, py::arg("slice") = py::none())
      .def("rename", &rename, py::arg("name"))
      .def("clear", [](Symbol& self) {
        self.db->call(self, [](zdbHandle_t db, zdbSymbol_t symbol) {
          return check(db, c__zdbclearsymbol(db, symbol));
        });
      });
  auto database = py::reinterpret_borrow<py::class_<Database, std::shared_ptr<Database>>>(
      module.attr("Database"));
  database.def("find", &find, py::arg("name"), py::arg("resolve") = false)
      .def("symbols", &all)
      .def("add", &add, py::arg("name"), py::arg("type"), py::arg("domains"), py::arg("user_info"),
           py::arg("text"));
}

}  // namespace zdbpy
