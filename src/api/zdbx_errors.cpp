// The version of the interface, and what the last error is.
#include <string_view>

#include "api/forward.h"
#include "zdbx.h"

namespace {

constexpr bool isSame(int kind, zdb::ErrorKind own) {
  return kind == own;
}
static_assert(isSame(ZDBX_NONE, zdb::ErrorNone) && isSame(ZDBX_NOT_FOUND, zdb::ErrorNotFound) &&
              isSame(ZDBX_END, zdb::ErrorEnd) && isSame(ZDBX_ARGUMENT, zdb::ErrorArgument) &&
              isSame(ZDBX_EXISTS, zdb::ErrorExists) && isSame(ZDBX_LABEL, zdb::ErrorLabel) &&
              isSame(ZDBX_HANDLE, zdb::ErrorHandle) && isSame(ZDBX_STATE, zdb::ErrorState) &&
              isSame(ZDBX_NO_MEMORY, zdb::ErrorNoMemory) && isSame(ZDBX_SYSTEM, zdb::ErrorSystem) &&
              isSame(ZDBX_DAMAGED, zdb::ErrorDamaged) && isSame(ZDBX_DOMAIN, zdb::ErrorDomain) &&
              isSame(ZDBX_COMPANION, zdb::ErrorCompanion) && isSame(ZDBX_MODEL, zdb::ErrorModel) &&
              isSame(ZDBX_CALLBACK, zdb::ErrorByCallback) && isSame(ZDBX_OTHER, zdb::ErrorOther));

// The parts of a version are given apart and as a text. The build takes the text.
#define ZDB_AS_TEXT(number) #number
#define ZDB_NUMBER_TEXT(number) ZDB_AS_TEXT(number)
#define ZDB_DOTTED(major, minor) ZDB_NUMBER_TEXT(major) "." ZDB_NUMBER_TEXT(minor)
static_assert(std::string_view(ZDBCCLIB_VERSION) ==
              ZDB_DOTTED(ZDBCCLIB_VERSION_MAJOR,
                         ZDBCCLIB_VERSION_MINOR) "." ZDB_NUMBER_TEXT(ZDBCCLIB_VERSION_PATCH));
static_assert(std::string_view(ZDBX_VERSION) == ZDB_DOTTED(ZDBX_VERSION_MAJOR, ZDBX_VERSION_MINOR));
static_assert(ZDBX_VERSION_NUMBER == 1000 * ZDBX_VERSION_MAJOR + ZDBX_VERSION_MINOR);

}  // namespace

extern "C" {

int zdbx_version(void) {
  return ZDBX_VERSION_NUMBER;
}

const char* zdbx_version_text(void) {
  return ZDBCCLIB_VERSION;
}

int zdbx_error_kind(zdbHandle_t db) {
  return db == nullptr ? zdb::ErrorArgument : zdb::inside(db)->error().kind;
}

const char* zdbx_error_text(zdbHandle_t db) {
  return db == nullptr ? "" : zdb::inside(db)->error().text;
}

const char* zdbx_error_reason(zdbHandle_t db) {
  return db == nullptr ? "" : zdb::inside(db)->error().reason;
}

void zdbx_clear_error(zdbHandle_t db) {
  if (db != nullptr) zdb::inside(db)->clearError();
}

const char* zdbx_kind_name(int kind) {
  return zdb::errorKindName(kind);
}

}  // extern "C"
