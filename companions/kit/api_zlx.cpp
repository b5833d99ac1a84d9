// The functions of the dictionary library. Dictionaries are made and owned by the library of
// instances, which this one needs.
#include "contract/walks.h"
#include "kit/api.h"
#include "kit/dictionary.h"
#include "shared/boundary.h"

using namespace zdb::kit;
using namespace zdb::boundary;

namespace {

const Symbol* symbolOf(zlxHandle dict, int i) {
  return guardedOn<Dictionary>(
      dict, static_cast<const Symbol*>(nullptr),
      [=](const Dictionary& own) { return own.hasSymbol(i) ? &own.symbol(i) : nullptr; });
}

// A field of a symbol, 0 for an unknown symbol.
int fieldOf(zlxHandle dict, int i, int Symbol::*field) {
  const Symbol* symbol = symbolOf(dict, i);
  return symbol == nullptr ? 0 : symbol->*field;
}

// Returned if there is no memory for a cursor.
EntryWalk emptyWalk;

int step(EntryWalk& walk, int* rowcol) {
  const int entry = walk.next();
  if (rowcol != nullptr) *rowcol = entry;
  return entry >= 0 ? 1 : 0;
}

int entryKey(const Dictionary& dictionary, const EntryTable& table, int entry, int* symbol,
             int* key, int* dim) {
  if (entry < 0 || entry >= table.count() || symbol == nullptr || dim == nullptr) return 0;
  const int number = table.symbol(entry);
  const int count = dictionary.symbol(number).dim;
  if (key == nullptr && count > 0) return 0;
  *symbol = number;
  *dim = count;
  const int* labels = table.key(entry);
  for (int d = 0; d < count; ++d) key[d] = labels[d];
  return 1;
}

}  // namespace

void zlxXCreate(void** handle) {
  makeObject(handle, [] { return new Dictionary; });
}

void CzlxXCreateD(void** handle, const char* /*dir*/) {
  zlxXCreate(handle);
}

void zlxXFree(void** handle) {
  freeObject<Dictionary>(handle);
}

ZKIT_DEFINE_CHECKS(zlx, Zlx)

int CzlxNUels(zlxHandle dict) {
  return guardedOn<Dictionary>(dict, 0, &Dictionary::labelCount);
}

int CzlxUelLabel(zlxHandle dict, int i, char* quote, char* label, int size) {
  return guardedOn<Dictionary>(dict, 0, [=](const Dictionary& own) {
    if (!own.hasLabel(i)) return 0;
    const std::string& text = own.label(i);
    if (quote != nullptr) *quote = quoteFor(text);
    copyText(text, label, size);
    return 1;
  });
}

int CzlxNLSyms(zlxHandle dict) {
  return guardedOn<Dictionary>(dict, 0, &Dictionary::symbolCount);
}

int CzlxSymName(zlxHandle dict, int i, char* name, int size) {
  const Symbol* symbol = symbolOf(dict, i);
  if (symbol == nullptr) return 0;
  copyText(symbol->name, name, size);
  return 1;
}

int CzlxSymType(zlxHandle dict, int i) {
  return fieldOf(dict, i, &Symbol::type);
}

int CzlxSymDim(zlxHandle dict, int i) {
  return fieldOf(dict, i, &Symbol::dim);
}

int CzlxSymUserInfo(zlxHandle dict, int i) {
  return fieldOf(dict, i, &Symbol::userInfo);
}

int CzlxSymText(zlxHandle dict, int i, char* quote, char* text, int size) {
  const Symbol* symbol = symbolOf(dict, i);
  if (symbol == nullptr) return 0;
  if (quote != nullptr) *quote = quoteFor(symbol->text);
  copyText(symbol->text, text, size);
  return 1;
}

int CzlxSymIndex(zlxHandle dict, const char* name) {
  return guardedOn<Dictionary>(
      dict, 0, [=](const Dictionary& own) { return name == nullptr ? 0 : own.findSymbol(name); });
}

void* CzlxFindFirstRowCol(zlxHandle dict, int symbol, const int* key, int* rowcol) {
  int first = zdb::contract::kEndOfWalk;
  EntryWalk* walk = guardedOn<Dictionary>(
      dict, &emptyWalk, [=](const Dictionary& own) { return new EntryWalk(own, symbol, key); },
      [&first](const Dictionary&, const std::exception&) {
        first = zdb::contract::kNoMemoryForWalk;
      });
  if (rowcol != nullptr) *rowcol = first;
  if (walk != &emptyWalk) step(*walk, rowcol);
  return walk;
}

int CzlxFindNextRowCol(zlxHandle /*dict*/, void* find, int* rowcol) {
  return step(find == nullptr ? emptyWalk : *static_cast<EntryWalk*>(find), rowcol);
}

int CzlxFindClose(zlxHandle /*dict*/, void* find) {
  if (find != &emptyWalk) delete static_cast<EntryWalk*>(find);
  return 1;
}

int CzlxRowUels(zlxHandle dict, int row, int* symbol, int* key, int* dim) {
  return guardedOn<Dictionary>(dict, 0, [=](const Dictionary& own) {
    return entryKey(own, own.rows(), row, symbol, key, dim);
  });
}

int CzlxColUels(zlxHandle dict, int column, int* symbol, int* key, int* dim) {
  return guardedOn<Dictionary>(dict, 0, [=](const Dictionary& own) {
    return entryKey(own, own.columns(), column, symbol, key, dim);
  });
}
