/* libzdbcclib64.so, for hosts that open the library at run time: the names that have no prefix, on
 * top of the library that programs link with. It is linked with that library, so a search for any
 * other name finds it there, and a process that has both has the state of the library (its loaders,
 * their settings and handles) once. */
#include "zdbcclib.h"

void xcreate(zdbHandle_t* db) {
  zdbxcreate(db);
}

void xcreated(zdbHandle_t* db, const char* directory) {
  zdbxcreated(db, directory);
}

void xfree(zdbHandle_t* db) {
  zdbxfree(db);
}
