/* A companion library for the tests, serving all five loaders at once. Defines choose its faults:
 * TOO_OLD refuses every client, REFUSED names the functions whose signature is refused; a define
 * that renames an exported function takes it away. The test_ variables are the tests' way in. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#pragma GCC diagnostic ignored "-Wunused-parameter"

#ifndef REFUSED
#define REFUSED ""
#endif

typedef void* zxfHandle;
typedef void* zmiHandle;
typedef void* zrtHandle;
typedef void* zlxHandle;
typedef void* zstHandle;

int test_makeNothing = 0;
int test_versionStatus = 1;
char test_directory[256] = "none"; /* what the last object was created with */

static char loadPath[256] = "never set";

static void create(void** handle, const char* dir) {
  snprintf(test_directory, sizeof test_directory, "%s", dir);
  *handle = test_makeNothing ? NULL : malloc(1);
}

static void destroy(void** handle) {
  free(*handle);
  *handle = NULL;
}

/* A refusal repeats what was asked, so that a test sees what the loader passed. */
static int check(const char* function, int count, const int* codes, char* message) {
  int length = 0;
  message[0] = '\0';
  if (strstr(REFUSED, function) == NULL) return 1;
  length = snprintf(message, 256, "%s with %d:", function, count);
  for (int i = 0; i <= count; ++i) length += snprintf(message + length, 16, " %d", codes[i]);
  return 0;
}

static int version(int client, char* message, int* status) {
  *status = test_versionStatus;
  snprintf(message, 256, "client %d met", client);
#ifdef TOO_OLD
  return 0;
#else
  return 1;
#endif
}

#define OBJECT_FUNCTIONS(create_, createD_, free_, check_, version_) \
  void create_(void** handle) {                                      \
    create(handle, "no directory");                                  \
  }                                                                  \
  void createD_(void** handle, const char* dir) {                    \
    create(handle, dir);                                             \
  }                                                                  \
  void free_(void** handle) {                                        \
    destroy(handle);                                                 \
  }                                                                  \
  int check_(const char* f, int n, const int* codes, char* msg) {    \
    return check(f, n, codes, msg);                                  \
  }                                                                  \
  int version_(int client, char* msg, int* status) {                 \
    return version(client, msg, status);                             \
  }

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
#define PLAIN(name, result, parameters, codes) RETURN_ZERO(C##name, result, parameters)

#define ZDB_FUNCTION(name, result, parameters, codes) RETURN_ZERO(C__##name, result, parameters)
#include "contract/zxffunctions.def"
#define ZDB_FUNCTION PLAIN
#include "contract/zmifunctions.def"
#define ZDB_FUNCTION PLAIN
#include "contract/zrtfunctions.def"
#define ZDB_FUNCTION PLAIN
#include "contract/zlxfunctions.def"
#define ZDB_FUNCTION PLAIN
#include "contract/zstfunctions.def"
