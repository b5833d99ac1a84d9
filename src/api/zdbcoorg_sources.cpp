// Data exchange files and data callbacks.
#include "api/checks.h"
#include "api/guard.h"
#include "api/zdbcoorg.h"
#include "io/callbacksource.h"

namespace zdb {

// A null file name becomes the exception that std::string throws for null.

int zdbInitFromZXF(zdbHandle_t db, const char* fileName) {
  return guarded(__func__, db, [&](Call) { return db->InitFromZXF(fileName); });
}

int zdbCloseZXF(zdbHandle_t db, int loadRemain) {
  return guarded(__func__, db, [&](Call) { return db->CloseZXF(loadRemain != 0); });
}

int zdbWriteZXF(zdbHandle_t db, const char* fileName, int noDomainCheck) {
  return guarded(__func__, db, [&](Call) { return db->WriteZXF(fileName, noDomainCheck); });
}

int zdbInitFromDB(zdbHandle_t db, zdbHandle_t source) {
  return guarded(__func__, db,
                 [&](Call call) { return call.given(source, "source") && db->InitFromDB(source); });
}

int zdbInitFromDMRF(zdbHandle_t db, zdbFindSymbolCallback_t findSymbol,
                    zdbReadStartCallback_t readStart, zdbReadRecordCallback_t readRecord,
                    zdbReadDoneCallback_t readDone, zdbElemTextCallback_t elemText,
                    zdbPrintCallback_t print, void* user) {
  return guarded(__func__, db, [&](Call) {
    return db->InitFromDMRF({findSymbol, readStart, readRecord, readDone, elemText, print, user});
  });
}

int zdbSetDataCallbacks(zdbHandle_t db, int clear, zdbFindSymbolCallback_t findSymbol,
                        zdbReadStartCallback_t readStart, zdbReadRecordCallback_t readRecord,
                        zdbReadDoneCallback_t readDone, zdbElemTextCallback_t elemText,
                        zdbPrintCallback_t print, const double* specialValues, void* user) {
  return guarded(__func__, db, [&](Call call) {
    if (!call.given(specialValues, "specialValues")) return false;
    const DataCallbacks callbacks = {findSymbol, readStart, readRecord, readDone,
                                     elemText,   print,     user};
    return db->SetDataCallbacks(clear != 0, callbacks, specialValues);
  });
}

}  // namespace zdb
