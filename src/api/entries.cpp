#include <cstring>
#include <string_view>

#include "api/forward.h"
#include "api/shortstring.h"
#include "api/signature.h"
#include "core/message.h"

// The exports outside the families: handles, version, signatures, and the flat-matrix forms.
// NOLINTBEGIN(bugprone-reserved-identifier): the names are the interface.

namespace {

int copyMessage(char* message, int messageSize, bool succeeded) {
  if (message != nullptr && messageSize > 0) {
    if (succeeded) {
      message[0] = '\0';
    } else {
      std::strncpy(message, "Error while creating object", static_cast<std::size_t>(messageSize));
      message[messageSize - 1] = '\0';
    }
  }
  return succeeded ? 1 : 0;
}

using ShortIn = zdb::ShortArgument<ZDB_CODE_TEXT_IN, const char*>;
using ShortOut = zdb::ShortArgument<ZDB_CODE_TEXT_OUT, char*>;

}  // namespace

extern "C" {

// Handles.

void zdbxcreate(zdbHandle_t* db) {
  char discarded[zdb::kMessageSize];
  if (db != nullptr) zdb::zdbCreate(zdb::inside(db), discarded, sizeof discarded);
}

int zdbcreate(zdbHandle_t* db, char* message, int messageSize) {
  if (db != nullptr) *db = nullptr;
  zdbxcreate(db);
  return copyMessage(message, messageSize, db != nullptr && *db != nullptr);
}

void zdbxcreated(zdbHandle_t* db, const char* directory) {
  char discarded[zdb::kMessageSize];
  if (db != nullptr) zdb::zdbCreateD(zdb::inside(db), directory, discarded, sizeof discarded);
}

/// Tests the address, not the handle: callers rely on a failed creation showing in the handle only.
int zdbcreated(zdbHandle_t* db, const char* directory, char* message, int messageSize) {
  zdbxcreated(db, directory);
  return copyMessage(message, messageSize, db != nullptr);
}

void d__xcreated(zdbHandle_t* db, const char* directory) {
  zdbxcreated(db, ShortIn(directory, 0).get());
}

void d__zdbxcreated(zdbHandle_t* db, const char* directory) {
  d__xcreated(db, directory);
}

int d__zdbcreated(zdbHandle_t* db, const char* directory, char* message, int messageSize) {
  return zdbcreated(db, ShortIn(directory, 0).get(), message, messageSize);
}

void zdbxfree(zdbHandle_t* db) {
  if (db != nullptr && *db != nullptr) zdb::zdbFree(zdb::inside(db));
}

int zdbfree(zdbHandle_t* db) {
  zdbxfree(db);
  return db == nullptr || *db == nullptr ? 1 : 0;
}

// Version and signatures.

int c__xapiversion(int apiVersion, char* message, int* status) {
  constexpr int kOldest = 2;
  char unwanted[zdb::kMessageSize];
  int ignored;
  if (message == nullptr) message = unwanted;
  if (status == nullptr) status = &ignored;
  *status = 0;
  if (apiVersion == ZDBCCLIB_API_VERSION) {
    *status = 1;
    zdb::writeMessage(message, "zdbcclib: Client version and DLL version are the same.");
  } else if (apiVersion > ZDBCCLIB_API_VERSION) {
    *status = 3;
    zdb::writeMessage(message, "zdbcclib: Client version is newer than this DLL.");
  } else if (apiVersion >= kOldest) {
    *status = 2;
    zdb::writeMessage(message,
                      "zdbcclib: Client version is compatible to this version of the DLL.");
  } else {
    zdb::writeMessage(message,
                      "zdbcclib: The API is too old for the used library, API version: %d, "
                      "library version: %d",
                      apiVersion, ZDBCCLIB_API_VERSION);
  }
  return *status != 0 ? 1 : 0;
}

int d__xapiversion(int apiVersion, char* message, int* status) {
  return c__xapiversion(apiVersion, ShortOut(message, 0).get(), status);
}

int d__zdbxapiversion(int apiVersion, char* message, int* status) {
  return d__xapiversion(apiVersion, message, status);
}

int c__xcheck(const char* name, int count, const int* codes, char* message) {
  char unwanted[zdb::kMessageSize];
  if (message == nullptr) message = unwanted;
  if (name == nullptr) name = "";
  for (int i = 0; i < zdb::kSignatureCount; ++i) {
    const zdb::Signature& row = zdb::kSignatures[i];
    if (std::string_view(name) != row.name) continue;
    return zdb::CheckSign(row, name, count, codes, message) ? 1 : 0;
  }
  zdb::writeMessage(message, "zdbcclib: %s cannot be found in library.", name);
  return 0;
}

int d__xcheck(const char* name, int count, const int* codes, char* message) {
  return c__xcheck(ShortIn(name, 0).get(), count, codes, ShortOut(message, 0).get());
}

int d__zdbxcheck(const char* name, int count, const int* codes, char* message) {
  return d__xcheck(name, count, codes, message);
}

// Flat matrices.

int n__zdbgetkeys(zdbHandle_t db, zdbRecord_t record, int dim, char* keys) {
  return c__zdbgetkeys(db, record, dim, zdb::FlatRows(keys).get());
}

int n__zdbgetdomain(zdbHandle_t db, zdbSymbol_t symbol, int dim, zdbSymbol_t* domains,
                    char* names) {
  return c__zdbgetdomain(db, symbol, dim, domains, zdb::FlatRows(names).get());
}

}  // extern "C"

// NOLINTEND(bugprone-reserved-identifier)
