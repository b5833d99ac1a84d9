// Making and freeing a database. They need a frame of their own, since there may be no database yet
// that could hold a message.
#include <cstdio>
#include <string>

#include "api/guard.h"
#include "api/zdbcoorg.h"
#include "loaders/zlx.h"
#include "loaders/zmi.h"
#include "loaders/zrt.h"
#include "loaders/zst.h"
#include "loaders/zxf.h"
#include "symbols/symbolfactory.h"

namespace zdb {

namespace {

int reportCreation(ZDB* previous, ErrorKind kind, const char* text) {
  if (previous != nullptr) {
    previous->setLastError(kind, "%s", text);
  } else {
    std::printf("%s\n", text);
    std::fflush(stdout);
  }
  return 0;
}

template <typename Make>
int create(const char* function, ZDB** db, char* message, int messageSize, Make make) {
  trace(function);
  char text[kMessageSize];
  try {
    *db = make();
  } catch (const std::bad_alloc&) {
    writeMessage(text, "Out of memory in %s", function);
    return reportCreation(*db, ErrorNoMemory, text);
  } catch (const std::exception& exception) {
    writeMessage(text, "Unexpected exception in %s: %s", function, exception.what());
    return reportCreation(*db, kindOf(exception), text);
  }
  if (message != nullptr && messageSize > 0) message[0] = '\0';
  return 1;
}

}  // namespace

int zdbCreate(zdbHandle_t* db, char* message, int messageSize) {
  return create(__func__, db, message, messageSize, [] { return new ZDB(makeSymbol); });
}

int zdbCreateD(zdbHandle_t* db, const char* directory, char* message, int messageSize) {
  return create(__func__, db, message, messageSize,
                [&] { return new ZDB(makeSymbol, std::string(directory)); });
}

void zdbFree(zdbHandle_t* db) {
  trace(__func__);
  delete *db;
  *db = nullptr;
}

void zdbInitFunc() {
  loaders::zmiInitMutexes();
  loaders::zrtInitMutexes();
  loaders::zlxInitMutexes();
  loaders::zxfInitMutexes();
  loaders::zstInitMutexes();
}

void zdbFiniFunc() {
  loaders::zmiFiniMutexes();
  loaders::zrtFiniMutexes();
  loaders::zlxFiniMutexes();
  loaders::zxfFiniMutexes();
  loaders::zstFiniMutexes();
}

}  // namespace zdb
