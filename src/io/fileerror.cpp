#include "io/fileerror.h"

#include "contract/failures.h"

namespace zdb {

namespace {

ErrorKind kindOf(int number) {
  using namespace contract;
  if (number == kFileOutOfMemory) return ErrorNoMemory;
  if (number == kFileDomainViolation) return ErrorDomain;
  if (number <= 0 || number >= kFirstUseError) return ErrorCompanion;
  return number < kFirstContentError ? ErrorSystem : ErrorDamaged;
}

}  // namespace

FileError::FileError(loaders::zxfRec* zxf, int errorNumber)
    : number(errorNumber), kind(kindOf(errorNumber)) {
  loaders::zxfErrorStr(zxf, number, text);
}

FileError newestFileError(loaders::zxfRec* zxf) {
  int newest = 0;
  for (int number = loaders::zxfGetLastError(zxf); number != 0;) {
    newest = number;
    number = loaders::zxfGetLastError(zxf);
  }
  return FileError(zxf, newest);
}

}  // namespace zdb
