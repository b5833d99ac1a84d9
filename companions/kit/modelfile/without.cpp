// Replaces the reader of model files in a kit that is built without GLPK.
#include "shared/boundary.h"
#include "zkitdclib.h"

namespace {

int refuse(char* message, int size) {
  zdb::boundary::copyText("this kit was built without GLPK, which reads model files", message,
                          size);
  return 0;
}

}  // namespace

int zkitReadModel(const char* /*file*/, const char* /*data*/, const char* /*systemDirectory*/,
                  void** instance, char* message, int size) {
  if (instance != nullptr) *instance = nullptr;
  return refuse(message, size);
}

int zkitReadModelX(const char* /*file*/, const char* /*data*/, const char* /*systemDirectory*/,
                   int /*flags*/, void** instance, char* message, int size) {
  if (instance != nullptr) *instance = nullptr;
  return refuse(message, size);
}

int zkitReadModelWith(const zkitReadOptions* /*options*/, void** instance, char* message,
                      int size) {
  if (instance != nullptr) *instance = nullptr;
  return refuse(message, size);
}

int zkitListParams(const zkitReadOptions* /*options*/, zkitNameCallback_t /*receive*/,
                   void* /*user*/, char* message, int size) {
  return refuse(message, size);
}

int zkitConfinement(char* message, int size) {
  refuse(message, size);
  return ZKIT_UNCONFINED;
}
