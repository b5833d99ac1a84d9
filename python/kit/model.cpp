#include "kit/model.h"

#include <memory>

#include "kit/interrupt.h"

namespace py = pybind11;

namespace zdbpy {

namespace {

using zdb::tool::GivenParams;
using zdb::tool::pointersTo;

constexpr int kMessageSize = 1024;

/// The model whose log this thread is writing.
thread_local const Model* logging = nullptr;

}  // namespace

zkitReadOptions Source::options() const {
  zkitReadOptions options = {};
  options.size = sizeof options;
  options.flags = flags;
  options.file = name.c_str();
  options.text = text.data();
  options.textSize = static_cast<long long>(text.size());
  if (dataName) {
    options.data = dataName->c_str();
    options.dataText = data.data();
    options.dataTextSize = static_cast<long long>(data.size());
  }
  return options;
}

Targets::Targets(const Numbers& changes, const TextRows& labels)
    : changes_(changes.data(), changes.data() + changes.size()) {
  if (labels.size() != changes_.size()) {
    raise(Failure::argument("there are labels for " + std::to_string(labels.size()) + " of " +
                            std::to_string(changes_.size()) + " changes"));
  }
  texts_.reserve(labels.size());
  labels_.reserve(labels.size());
  for (const auto& row : labels) {
    std::vector<std::string>& texts = texts_.emplace_back();
    texts.reserve(row.size());
    for (const py::str& label : row) texts.push_back(textOf(label));
    labels_.push_back(pointersTo(texts));
  }
}

bool Targets::set(void* instance, std::size_t target, double value, std::string& why) const {
  const std::vector<const char*>& labels = labels_[target];
  char message[kMessageSize] = "";
  const int done = zkitSetChange(instance, changes_[target], labels.data(),
                                 static_cast<int>(labels.size()), value, message, sizeof message);
  if (done == 0) why = message;
  return done != 0;
}

bool Targets::exists(void* instance, std::size_t target) const {
  const std::vector<const char*>& labels = labels_[target];
  return zkitHasEntry(instance, changes_[target], labels.data(), static_cast<int>(labels.size())) !=
         0;
}

Model::Model(const Source& source, const std::vector<std::string>& changes,
             const ParamValues& params, const std::vector<ParamValues>& variants) {
  std::optional<Failure> failure;
  {
    const py::gil_scoped_release release;
    failure = open(source, changes, params, variants);
  }
  if (!failure) return;
  release();
  if (PyErr_CheckSignals() != 0) throw py::error_already_set();
  raise(*failure);
}

std::optional<Failure> Model::open(const Source& source, const std::vector<std::string>& changes,
                                   const ParamValues& params,
                                   const std::vector<ParamValues>& variants) {
  zkitReadOptions options = source.options();
  const std::vector<const char*> names = pointersTo(changes);
  options.changes = names.data();
  options.changeCount = static_cast<int>(names.size());
  const GivenParams own(params);
  const zkitParams ownParams = own.get();
  options.params = &ownParams;
  const std::vector<GivenParams> given(variants.begin(), variants.end());
  std::vector<zkitParams> list;
  list.reserve(given.size());
  for (const GivenParams& each : given) list.push_back(each.get());
  options.variants = list.data();
  options.variantCount = static_cast<int>(list.size());
  char message[kMessageSize] = "";
  if (zkitReadModelWith(&options, &instance_, message, sizeof message) == 0) {
    return Failure{kModelFile, message, {}, -1, -1};
  }
  int status = 0;
  if (c__xapiversion(ZDBCCLIB_API_VERSION, message, &status) == 0 ||
      zdbcreate(&db_, message, ZDB_TEXT_SIZE) == 0) {
    return Failure{ZDBX_OTHER, message, {}, -1, -1};
  }
  if (c__zdbinitfromdict(db_, instance_) == 0 || c__zdbinitupdate(db_, instance_) == 0) {
    return Failure::of(db_);
  }
  return std::nullopt;
}

// What a process has got by a fork is left alone: freeing a solver waits for its thread.
void Model::release() {
  if (getpid() != process_) return;
  const std::scoped_lock lock(stopping_);
  if (db_ != nullptr) zdbfree(&db_);
  if (instance_ != nullptr) zkitFreeInstance(&instance_);
}

void Model::close() {
  refuseFromItsOwnLog();
  const py::gil_scoped_release unlocked;
  const std::scoped_lock lock(mutex_);
  release();
}

void Model::refuseFromItsOwnLog() const {
  if (logging != this) return;
  raise({ZDBX_STATE,
         "the model is being solved: the function that gets its log cannot use it",
         {},
         -1,
         -1});
}

void Model::refuseAfterFork() const {
  if (getpid() == process_) return;
  raise({ZDBX_STATE,
         "the model was read before this process was forked; read it again, or send it pickled",
         {},
         -1,
         -1});
}

void Model::stop() {
  const py::gil_scoped_release unlocked;
  const std::scoped_lock lock(stopping_);
  isStopping_ = true;
  if (instance_ != nullptr) zkitTerminate(instance_);
}

namespace {

/// Passes lines of a solver on to a Python function, in whichever thread they come.
class LogLines {
 public:
  LogLines(const Model& model, void* instance, const py::object& function)
      : model_(model), instance_(instance), function_(function) {}

  static void receive(const char* text, void* self) { static_cast<LogLines*>(self)->pass(text); }

  /// Raises what the function has raised.
  void finish() {
    if (raised_) {
      std::unique_ptr<py::error_already_set> raised = std::move(raised_);
      throw py::error_already_set(*raised);
    }
  }

 private:
  void pass(const char* text) {
    const py::gil_scoped_acquire acquire;
    if (raised_) return;
    logging = &model_;
    try {
      function_(strOf(text));
    } catch (const py::error_already_set& error) {
      raised_ = std::make_unique<py::error_already_set>(error);
      zkitTerminate(instance_);
    }
    logging = nullptr;
  }

  const Model& model_;
  void* instance_;
  const py::object& function_;
  std::unique_ptr<py::error_already_set> raised_;
};

}  // namespace

std::optional<Failure> solveOnce(void* instance, zdbHandle_t db, const char* solver) {
  if (c__zdbcallsolver(db, solver) != 0) return std::nullopt;
  Failure failure = Failure::of(db);
  const std::string why = zkitSolveMessage(instance);
  if (failure.kind != ZDBX_ARGUMENT && !why.empty()) failure.reason = why;
  failure.kind = ZDBX_MODEL;
  return failure;
}

void Model::solve(const py::str& solver, const py::object& log) {
  const std::string name = textOf(solver);
  start();
  LogLines lines(*this, instance_, log);
  const Interrupt interrupt(instance_);
  std::exception_ptr raised;
  try {
    call([&](void* instance, zdbHandle_t db) {
      if (!log.is_none()) zkitSetLog(instance, &LogLines::receive, &lines);
      auto failure = solveOnce(instance, db, name.c_str());
      zkitSetLog(instance, nullptr, nullptr);
      return failure;
    });
  } catch (const py::error_already_set&) {
    raised = std::current_exception();
  }
  lines.finish();
  if (raised) std::rethrow_exception(raised);
}

}  // namespace zdbpy
