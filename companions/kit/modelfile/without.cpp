// Replaces the reader of model files in a kit that is built without GLPK.
#include "shared/boundary.h"
#include "zkitdclib.h"

int zkitReadModel(const char* /*file*/, const char* /*data*/, const char* /*systemDirectory*/,
                  void** instance, char* message, int size) {
  if (instance != nullptr) *instance = nullptr;
  zdb::boundary::copyText("this kit was built without GLPK, which reads model files", message,
                          size);
  return 0;
}
