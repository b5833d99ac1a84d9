#include "core/abstractzdbsymbol.h"

namespace zdb {

void AbstractZDBSymbol::assign(AbstractZDBSymbol& other) {
  serial = other.serial;
  isLoaded = other.isLoaded;
  hasBeenPassedOn = other.hasBeenPassedOn;
  isDomain = other.isDomain;
  isWritten = other.isWritten;
  aliasTarget = other.aliasTarget == &other ? this : other.aliasTarget;
  domains = other.domains;
  domainNames = other.domainNames;
  domainLookup = other.domainLookup;
  assignRecords(&other);
  if (other.loadFailure) loadFailure = std::make_unique<LastError>(*other.loadFailure);
}

}  // namespace zdb
