/* A companion library for the tests, serving all five loaders at once. The environment variable
 * COMPANION tells it how to misbehave; a define that renames an exported function takes it away. */
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#pragma GCC diagnostic ignored "-Wunused-parameter"

typedef void* zxfHandle;
typedef void* zmiHandle;
typedef void* zrtHandle;
typedef void* zlxHandle;
typedef void* zstHandle;

char test_directory[256] = "none"; /* what the last object was created with */

static char loadPath[256] = "never set";

/* What follows a word of COMPANION, null if it is not there. */
static const char* told(const char* word) {
  const char* all = getenv("COMPANION");
  const char* found = all == NULL ? NULL : strstr(all, word);
  return found == NULL ? NULL : found + strlen(word);
}

static void createD(void** handle, const char* dir) {
  snprintf(test_directory, sizeof test_directory, "%s", dir);
  *handle = told("empty") ? NULL : malloc(1);
}
static void create(void** handle) {
  createD(handle, "no directory");
}
static void destroy(void** handle) {
  free(*handle);
  *handle = NULL;
}

/* A refusal repeats what was asked, so that a test sees what the loader passed. */
static int check(const char* function, int count, const int* codes, char* message) {
  int length = 0;
  message[0] = '\0';
  if (!told("refuses all") && !told(function)) return 1;
  length = snprintf(message, 256, "%s with %d:", function, count);
  for (int i = 0; i <= count; ++i) length += snprintf(message + length, 16, " %d", codes[i]);
  return 0;
}

static int version(int client, char* message, int* status) {
  const char* answer = told("status ");
  *status = answer == NULL ? 1 : atoi(answer);
  snprintf(message, 256, "client %d met", client);
  if (told("slow")) poll(NULL, 0, 3);
  return !told("old");
}

#define SAME(exported, function) \
  extern __typeof__(function) exported __attribute__((alias(#function)));
#define OBJECT_FUNCTIONS(create_, createD_, free_, check_, version_) \
  SAME(create_, create)                                              \
  SAME(createD_, createD) SAME(free_, destroy) SAME(check_, check) SAME(version_, version)

OBJECT_FUNCTIONS(XCreate, XCreateD, XFree, C__XCheck, C__XAPIVersion)
OBJECT_FUNCTIONS(zmiXCreate, CzmiXCreateD, zmiXFree, CzmiXCheck, CzmiXAPIVersion)
OBJECT_FUNCTIONS(zrtXCreate, CzrtXCreateD, zrtXFree, CzrtXCheck, CzrtXAPIVersion)
OBJECT_FUNCTIONS(zlxXCreate, CzlxXCreateD, zlxXFree, CzlxXCheck, CzlxXAPIVersion)
OBJECT_FUNCTIONS(zstXCreate, test_noCreateD, zstXFree, CzstXCheck, CzstXAPIVersion)

void C__zxfSetLoadPath(const char* dir) {
  snprintf(loadPath, sizeof loadPath, "%s", dir);
}
void C__zxfGetLoadPath(char* dir) {
  memcpy(dir, loadPath, sizeof loadPath);
}

#define RETURN_ZERO(exported, result, parameters)                   \
  result exported parameters { /* NOLINT(misc-unused-parameters) */ \
    return (result)0;                                               \
  }
#define ZDB_FUNCTION(name, result, parameters, codes) RETURN_ZERO(C__##name, result, parameters)
#include "contract/zxffunctions.def"
#define ZDB_KIT_FUNCTION(name, result, parameters, codes) RETURN_ZERO(C##name, result, parameters)
#include "contract/kitfunctions.def"
