// Configurations: the solvers by number.
#include "kit/api.h"
#include "kit/configuration.h"

namespace {

using namespace zkit;

Configuration* at(zstHandle config) {
  return static_cast<Configuration*>(config);
}

Session* sessionOf(zstHandle config, int alg) {
  return config == nullptr ? nullptr : at(config)->session(alg);
}

// Runs something that may throw; its result, or 1 with the reason in the instance and its log.
template <typename Work>
int reported(zstHandle config, int alg, void* instance, Work work) {
  if (instance == nullptr || sessionOf(config, alg) == nullptr) return 1;
  Instance& model = *static_cast<Instance*>(instance);
  try {
    at(config)->solver(alg).checkType(model.type);
    return work(*sessionOf(config, alg), model);
  } catch (const std::exception& error) {
    model.message = error.what();
    model.environment.log(error.what());
    return 1;
  }
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
  if (config == nullptr || file == nullptr) return 1;
  try {
    at(config)->read(file);
    return 0;
  } catch (const std::exception&) {
    return 1;
  }
}

int CzstAlgNumber(zstHandle config, const char* name) {
  return config == nullptr || name == nullptr ? 0 : at(config)->find(name);
}

int CzstAlgAllowsModifyProblem(zstHandle config, int alg) {
  if (config == nullptr || !at(config)->has(alg)) return 0;
  return at(config)->solver(alg).engine->worksInPlace ? 1 : 0;
}

int CzstAlgCreate(zstHandle config, int alg, const char* /*dir*/, char* message, int size) {
  copyText("", message, size);
  if (config == nullptr) return 0;
  try {
    at(config)->create(alg);
    return 1;
  } catch (const std::exception& error) {
    copyText(error.what(), message, size);
    return 0;
  }
}

int CzstAlgReadyAPI(zstHandle config, int alg, void* instance) {
  return reported(config, alg, instance, [](Session& session, Instance& model) {
    session.load(model);
    return 0;
  });
}

// The changes themselves are found when the solver is called, where the instance is at hand.
int CzstAlgModifyProblem(zstHandle config, int alg) {
  const Session* session = sessionOf(config, alg);
  return session != nullptr && session->canContinue() ? 0 : 1;
}

int CzstAlgCallSolver(zstHandle config, int alg, void* instance) {
  return reported(config, alg, instance, [](Session& session, Instance& model) {
    return isFailure(session.solve(model)) ? 1 : 0;
  });
}

int CzstAlgFree(zstHandle config, int alg) {
  if (config == nullptr || !at(config)->has(alg)) return 0;
  at(config)->free(alg);
  return 1;
}
