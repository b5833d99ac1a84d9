// What Python asks of a model and sets in it.
#include <pybind11/stl.h>

#include <algorithm>
#include <memory>

#include "kit/model.h"

namespace py = pybind11;

namespace zdbpy {

namespace {

constexpr int kMessageSize = 1024;

/// A symbol of the model: name, whether it is a variable, positions, text, subtype.
py::list symbols(Model& self) {
  struct Found {
    std::string name;
    std::string text;
    int type;
    int dim;
    int userInfo;
  };
  std::vector<Found> found;
  self.call([&](void* /*instance*/, zdbHandle_t db) {
    int count = 0;
    int done = c__zdbinfo(db, ZDB_INFO_SYMBOLS, &count, nullptr, nullptr);
    for (int i = 0; i < count && done != 0; ++i) {
      zdbSymbol_t symbol = nullptr;
      char name[ZDB_TEXT_SIZE] = "";
      char text[ZDB_TEXT_SIZE] = "";
      Found each = {};
      done = c__zdbgetsymbolbynumber(db, i, &symbol) != 0 &&
             c__zdbsymbolinfo(db, symbol, ZDB_SYMBOL_NAME, nullptr, nullptr, name) != 0 &&
             c__zdbsymbolinfo(db, symbol, ZDB_SYMBOL_TEXT, nullptr, nullptr, text) != 0 &&
             c__zdbsymbolinfo(db, symbol, ZDB_SYMBOL_USER_INFO, &each.userInfo, nullptr, nullptr) !=
                 0 &&
             c__zdbsymboltype(db, symbol, &each.type) != 0 &&
             c__zdbsymboldim(db, symbol, &each.dim) != 0;
      each.name = name;
      each.text = text;
      found.push_back(each);
    }
    return done != 0 ? std::nullopt : std::optional(Failure::of(db));
  });
  py::list result;
  for (const Found& each : found) {
    result.append(py::make_tuple(strOf(each.name), each.type == ZDB_VARIABLE, each.dim,
                                 strOf(each.text), each.userInfo));
  }
  return result;
}

py::list labels(Model& self) {
  std::vector<std::int64_t> offsets;
  std::string bytes;
  self.call([&](void* /*instance*/, zdbHandle_t db) -> std::optional<Failure> {
    int count = 0;
    std::int64_t needed = 0;
    if (c__zdbinfo(db, ZDB_INFO_LABELS, &count, nullptr, nullptr) == 0) return Failure::of(db);
    offsets.resize(static_cast<std::size_t>(count) + 1);
    if (count == 0) return std::nullopt;
    if (zdbx_get_labels(db, 1, count, nullptr, 0, nullptr, &needed) == 0) return Failure::of(db);
    bytes.resize(static_cast<std::size_t>(needed));
    if (zdbx_get_labels(db, 1, count, bytes.data(), needed, offsets.data(), &needed) != 0)
      return std::nullopt;
    return Failure::of(db);
  });
  py::list result;
  for (std::size_t i = 0; i + 1 < offsets.size(); ++i) {
    result.append(
        strOf(bytes.data() + offsets[i], static_cast<std::size_t>(offsets[i + 1] - offsets[i])));
  }
  return result;
}

/// Label numbers, an array for each position, and the five arrays of values of a symbol.
py::tuple read(Model& self, const py::str& name) {
  const std::string bytes = textOf(name);
  zdbSymbol_t symbol = nullptr;
  int dim = 0;
  std::int64_t rows = 0;
  self.call([&](void* /*instance*/, zdbHandle_t db) -> std::optional<Failure> {
    const bool isFound = c__zdbfindsymbol(db, bytes.c_str(), &symbol) != 0 &&
                         c__zdbsymboldim(db, symbol, &dim) != 0 &&
                         zdbx_count_records(db, symbol, nullptr, &rows) != 0;
    return isFound ? std::nullopt : std::optional(Failure::of(db));
  });
  zdbx_buffers buffers = {};
  buffers.size = sizeof buffers;
  buffers.rows = rows;
  py::list keys;
  py::list values;
  for (int i = 0; i < dim; ++i) {
    auto column = made<Numbers>(rows);
    buffers.keys[i].data = column.mutable_data();
    keys.append(column);
  }
  for (auto& value : buffers.values) {
    auto column = made<Doubles>(rows);
    value.data = column.mutable_data();
    values.append(column);
  }
  // The entries of a symbol of a model stay the same.
  self.call([&](void* /*instance*/, zdbHandle_t db) {
    return zdbx_get_records(db, symbol, nullptr, &buffers, nullptr) != 0
               ? std::nullopt
               : std::optional(Failure::of(db));
  });
  return py::make_tuple(keys, values);
}

/// What became of the changes: variable, positions, how many of them are open, entries.
py::list changes(Model& self) {
  py::list result;
  for (int i = 0;; ++i) {
    char symbol[ZKIT_TEXT_SIZE] = "";
    int action = 0;
    int dim = 0;
    int open = 0;
    int entries = 0;
    bool isThere = false;
    self.call([&](void* instance, zdbHandle_t /*db*/) {
      isThere =
          zkitGetChange(instance, i, symbol, sizeof symbol, &action, &dim, &open, &entries) != 0;
      return std::optional<Failure>();
    });
    if (!isThere) return result;
    result.append(py::make_tuple(strOf(symbol), action, dim, open, entries));
  }
}

/// Sets numbers, after it has found all of them: on failure, none has changed. REQUIRES values that
/// the numbers can have.
void set(Model& self, const Targets& targets, const Doubles& values) {
  if (static_cast<std::size_t>(values.size()) != targets.size()) {
    raise(Failure::argument("there must be a value for each number"));
  }
  const double* value = values.data();
  self.call([&](void* instance, zdbHandle_t /*db*/) -> std::optional<Failure> {
    std::string why;
    const auto failure = [&](std::size_t i) {
      return Failure{ZDBX_NOT_FOUND, why, {}, static_cast<std::int64_t>(i), -1};
    };
    for (std::size_t i = 0; i < targets.size(); ++i) {
      // Setting what is not there tells why, and with a guess.
      if (!targets.exists(instance, i) && !targets.set(instance, i, value[i], why))
        return failure(i);
    }
    for (std::size_t i = 0; i < targets.size(); ++i) {
      if (!targets.set(instance, i, value[i], why)) return failure(i);
    }
    return std::nullopt;
  });
}

py::tuple variantState(Model& self, int variant) {
  char message[kMessageSize] = "";
  int state = 0;
  self.call([&](void* instance, zdbHandle_t /*db*/) {
    state = zkitVariantState(instance, variant, message, sizeof message);
    return std::optional<Failure>();
  });
  return py::make_tuple(state, strOf(message));
}

py::dict state(Model& self) {
  int model = 0;
  int solve = 0;
  int direction = 0;
  int iterations = 0;
  double numbers[4] = {};
  bool hasObjective = false;
  self.call([&](void* instance, zdbHandle_t /*db*/) {
    model = zkitModelStatus(instance);
    solve = zkitSolveStatus(instance);
    direction = zkitDirection(instance);
    iterations = zkitIterations(instance);
    hasObjective = zkitObjectiveColumn(instance) >= 0;
    numbers[0] = zkitObjective(instance);
    numbers[1] = zkitBound(instance);
    numbers[2] = zkitGap(instance);
    numbers[3] = zkitSeconds(instance);
    return std::optional<Failure>();
  });
  py::dict result;
  result["status"] = model;
  result["solve_status"] = solve;
  result["direction"] = direction;
  result["iterations"] = iterations;
  result["has_objective"] = hasObjective;
  result["objective"] = numbers[0];
  result["bound"] = numbers[1];
  result["gap"] = numbers[2];
  result["seconds"] = numbers[3];
  return result;
}

py::tuple size(Model& self) {
  int columns = 0;
  int rows = 0;
  int entries = 0;
  int integers = 0;
  self.call([&](void* instance, zdbHandle_t /*db*/) {
    columns = zkitColumns(instance);
    rows = zkitRows(instance);
    entries = zkitNonZeros(instance);
    integers = zkitIntegerColumns(instance);
    return std::optional<Failure>();
  });
  return py::make_tuple(rows, columns, entries, integers);
}

/// The name of the objective column; "" if there is none.
py::str objective(Model& self) {
  char name[ZKIT_TEXT_SIZE] = "";
  self.call([&](void* instance, zdbHandle_t /*db*/) {
    zkitColumnName(instance, zkitObjectiveColumn(instance), name, sizeof name);
    return std::optional<Failure>();
  });
  return strOf(name);
}

py::str defaultSolver(Model& self) {
  char name[ZKIT_MAX_NAME + 1] = "";
  self.call([&](void* instance, zdbHandle_t /*db*/) -> std::optional<Failure> {
    char message[kMessageSize] = "";
    if (zkitDefaultSolver(instance, name, sizeof name, message, sizeof message) != 0)
      return std::nullopt;
    return Failure{ZDBX_MODEL, message, {}, -1, -1};
  });
  return strOf(name);
}

/// Limits, gaps, direction (0: none is set) and type of model for the next solves.
void configure(Model& self, double seconds, int iterations, double relativeGap, double absoluteGap,
               int direction, bool isRelaxed, bool startsAtFirst) {
  self.call([&](void* instance, zdbHandle_t /*db*/) {
    zkitSetLimits(instance, seconds, iterations);
    zkitSetGap(instance, relativeGap, absoluteGap);
    if (direction != 0) zkitSetDirection(instance, direction);
    const int own = zkitIntegerColumns(instance) > 0 ? ZKIT_MIP : ZKIT_LP;
    zkitSetModelType(instance, isRelaxed ? ZKIT_RMIP : own);
    zkitSetStart(instance, startsAtFirst ? ZKIT_START_FIRST : ZKIT_START_LAST);
    return std::optional<Failure>();
  });
}

/// Rows and columns that exclude each other: whether none can be spared, and of each its name,
/// whether it is a row, and its sides.
py::tuple infeasibleSet(Model& self, double seconds) {
  struct Side {
    std::string name;
    bool isRow;
    int sides;
  };
  std::vector<Side> all;
  int kind = 0;
  self.call([&](void* instance, zdbHandle_t /*db*/) -> std::optional<Failure> {
    char message[kMessageSize] = "";
    int counts[2] = {};
    kind = zkitInfeasibleSet(instance, seconds, &counts[0], &counts[1], message, sizeof message);
    if (kind == 0) return Failure{ZDBX_MODEL, message, {}, -1, -1};
    std::vector<int> numbers(static_cast<std::size_t>(std::max(counts[0], counts[1])) + 1);
    std::vector<int> sides(numbers.size());
    for (const bool isRow : {true, false}) {
      (isRow ? zkitInfeasibleRows : zkitInfeasibleColumns)(instance, numbers.data(), sides.data());
      for (int i = 0; i < counts[isRow ? 0 : 1]; ++i) {
        char name[2048] = "";
        (isRow ? zkitRowName : zkitColumnName)(instance, numbers[static_cast<std::size_t>(i)], name,
                                               sizeof name);
        all.push_back({name, isRow, sides[static_cast<std::size_t>(i)]});
      }
    }
    return std::nullopt;
  });
  py::list list;
  for (const Side& side : all)
    list.append(py::make_tuple(strOf(side.name), side.isRow, side.sides));
  return py::make_tuple(kind == ZKIT_IRREDUCIBLE, list);
}

/// Names of the params of a model that can be changed.
std::vector<py::str> params(const Source& source) {
  const zkitReadOptions options = source.options();
  std::vector<std::string> names;
  char message[kMessageSize] = "";
  const auto add = [](const char* name, void* list) {
    static_cast<std::vector<std::string>*>(list)->emplace_back(name);
  };
  if (zkitListParams(&options, add, &names, message, sizeof message) == 0) {
    raise({kModelFile, message, {}, -1, -1});
  }
  std::vector<py::str> result;
  result.reserve(names.size());
  for (const std::string& name : names) result.push_back(strOf(name));
  return result;
}

py::list solvers() {
  py::list result;
  for (int i = 0; i < zkitSolverCount(); ++i) {
    const char* name = nullptr;
    const char* version = nullptr;
    const char* whyNot = nullptr;
    int types = 0;
    int isInPlace = 0;
    if (zkitSolverInfo(i, &name, &version, &types, &isInPlace, &whyNot) == 0) continue;
    result.append(
        py::make_tuple(strOf(name), strOf(version), types, isInPlace != 0, strOf(whyNot)));
  }
  return result;
}

using GivenValues = std::pair<std::vector<py::str>, std::vector<double>>;

ParamValues paramsOf(const GivenValues& given) {
  ParamValues params;
  for (const py::str& name : given.first) params.names.push_back(textOf(name));
  params.values = given.second;
  if (params.names.size() != params.values.size()) {
    raise(Failure::argument("there must be a value for each param"));
  }
  return params;
}

std::unique_ptr<Model> makeModel(const Source& source, const std::vector<py::str>& changes,
                                 const GivenValues& params,
                                 const std::vector<GivenValues>& variants) {
  std::vector<std::string> names;
  names.reserve(changes.size());
  for (const py::str& name : changes) names.push_back(textOf(name));
  std::vector<ParamValues> others;
  others.reserve(variants.size());
  for (const GivenValues& variant : variants) others.push_back(paramsOf(variant));
  return std::make_unique<Model>(source, names, paramsOf(params), others);
}

std::unique_ptr<Source> makeSource(const py::str& name, const py::bytes& text,
                                   const std::optional<py::str>& dataName, const py::bytes& data,
                                   int flags) {
  auto source = std::make_unique<Source>();
  source->name = textOf(name);
  source->text = text;
  if (dataName) source->dataName = textOf(*dataName);
  source->data = data;
  source->flags = flags;
  return source;
}

}  // namespace

void bindModel(py::module_& module) {
  py::class_<Source>(module, "Source")
      .def(py::init(&makeSource), py::arg("name"), py::arg("text"), py::arg("data_name"),
           py::arg("data"), py::arg("flags"))
      .def("params", &params);
  py::class_<Targets>(module, "Targets")
      .def(py::init<const Numbers&, const TextRows&>(), py::arg("changes"), py::arg("labels"));
  py::class_<Model>(module, "Model")
      .def(py::init(&makeModel), py::arg("source"), py::arg("changes"), py::arg("params"),
           py::arg("variants"))
      .def("close", &Model::close)
      .def_property_readonly("closed", &Model::isClosed)
      .def("stop", &Model::stop)
      .def("solve", &Model::solve, py::arg("solver"), py::arg("log"))
      .def("symbols", &symbols)
      .def("labels", &labels)
      .def("read", &read, py::arg("name"))
      .def("changes", &changes)
      .def("set", &set, py::arg("targets"), py::arg("values"))
      .def("variant_state", &variantState, py::arg("variant"))
      .def("state", &state)
      .def("size", &size)
      .def("objective", &objective)
      .def("default_solver", &defaultSolver)
      .def("configure", &configure, py::arg("seconds"), py::arg("iterations"),
           py::arg("relative_gap"), py::arg("absolute_gap"), py::arg("direction"),
           py::arg("relaxed"), py::arg("starts_at_first"))
      .def("infeasible_set", &infeasibleSet, py::arg("seconds"));
  module.def("solvers", &solvers);
  module.def(
      "status_text", [](int status) { return strOf(zkitModelStatusText(status)); },
      py::arg("status"));
  module.def(
      "end_text", [](int status) { return strOf(zkitSolveStatusText(status)); }, py::arg("status"));
}

}  // namespace zdbpy
