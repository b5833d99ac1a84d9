/* A small host of the model kit: makes a model and its instance and, given a model file, reads it
 * from another folder, or prints why not. */
#include <stdio.h>
#include <unistd.h>
#include <zkitdclib.h>

int main(int argc, char** argv) {
  char message[ZKIT_TEXT_SIZE];
  void* instance = NULL;
  zkitModel_t model = NULL;
  if (chdir("/") != 0 || !zkitModelCreate(&model, "m")) return 2;
  if (!zkitModelFinish(model, NULL, &instance) || zkitRows(instance) != 0) return 2;
  if (zkitColumns(instance) != 0) return 2;
  zkitFreeInstance(&instance);
  zkitModelFree(&model);
  if (argc < 2) return 0;
  if (!zkitReadModel(argv[1], NULL, NULL, &instance, message, sizeof message)) {
    puts(message);
    return 1;
  }
  zkitFreeInstance(&instance);
  return 0;
}
