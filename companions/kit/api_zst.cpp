// The database's functions for configurations: solvers by number.
#include "kit/api.h"
#include "kit/configuration.h"
#include "kit/error.h"
#include "shared/boundary.h"

using namespace zdb::kit;
using namespace zdb::boundary;

namespace {

Session* sessionOf(zstHandle config, int alg) {
  return guardedOn<Configuration>(config, static_cast<Session*>(nullptr),
                                  [=](const Configuration& own) { return own.session(alg); });
}

// Returns the result of work(Session&, Instance&), 0 or 1; or 1 if it throws, with the reason in
// the instance and its log.
template <typename Work>
int reported(zstHandle config, int alg, void* instance, Work work) {
  Session* session = sessionOf(config, alg);
  if (session == nullptr) return 1;
  const ConfiguredSolver& solver = static_cast<Configuration*>(config)->solver(alg);
  return guardedOn<Instance>(
      instance, 1,
      [&](Instance& model) {
        solver.checkType(model.type);
        return work(*session, model);
      },
      [](Instance& model, const std::exception& error) {
        noteFailure(reasonOf(error));
        model.message = reasonOf(error);
        model.environment.log(reasonOf(error));
      });
}

}  // namespace

void zstXCreate(void** handle) {
  makeObject(handle, [] { return new Configuration; });
}

void zstXFree(void** handle) {
  freeObject<Configuration>(handle);
}

ZKIT_DEFINE_CHECKS(zst, Zst)

int CzstReadConfigGUC(zstHandle config, const char* file, const char* /*dir*/) {
  const auto read = [=](Configuration& own) {
    if (file == nullptr) throw KitError("no file is given");
    own.read(file);
    return 0;
  };
  return guardedOn<Configuration>(
      config, 1, read,
      [](const Configuration&, const std::exception& error) { noteFailure(error.what()); });
}

int CzstAlgNumber(zstHandle config, const char* name) {
  return guardedOn<Configuration>(
      config, 0, [=](const Configuration& own) { return name == nullptr ? 0 : own.find(name); });
}

int CzstAlgAllowsModifyProblem(zstHandle config, int alg) {
  return guardedOn<Configuration>(config, 0, [=](const Configuration& own) {
    return own.has(alg) && own.solver(alg).engine->worksInPlace ? 1 : 0;
  });
}

int CzstAlgCreate(zstHandle config, int alg, const char* /*dir*/, char* message, int size) {
  copyText("", message, size);
  const auto create = [=](Configuration& own) {
    own.create(alg);
    return 1;
  };
  return guardedOn<Configuration>(config, 0, create,
                                  [=](const Configuration&, const std::exception& error) {
                                    copyText(reasonOf(error), message, size);
                                  });
}

int CzstAlgReadyAPI(zstHandle config, int alg, void* instance) {
  return reported(config, alg, instance, [](Session& session, Instance& model) {
    session.load(model);
    return 0;
  });
}

// The changes are determined when the solver is called, because only that call passes the instance.
int CzstAlgModifyProblem(zstHandle config, int alg) {
  const Session* session = sessionOf(config, alg);
  return session != nullptr && session->canContinue() ? 0 : 1;
}

int CzstAlgCallSolver(zstHandle config, int alg, void* instance) {
  return reported(config, alg, instance, [](Session& session, Instance& model) {
    const bool hasFailed = isFailure(session.solve(model));
    if (hasFailed) noteFailure(model.message.c_str());
    return hasFailed ? 1 : 0;
  });
}

int CzstAlgFree(zstHandle config, int alg) {
  return guardedOn<Configuration>(config, 0, [=](Configuration& own) {
    if (!own.has(alg)) return 0;
    own.free(alg);
    return 1;
  });
}
