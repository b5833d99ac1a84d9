// The dictionary library. It holds these functions only: dictionaries are made and kept by the
// library of instances, which this one needs.
#include <new>

#include "kit/api.h"
#include "kit/dictionary.h"

namespace {

using namespace zkit;

const Dictionary* dictionaryOf(zlxHandle dict) {
  return static_cast<const Dictionary*>(dict);
}

const Symbol* symbolOf(zlxHandle dict, int i) {
  const Dictionary* dictionary = dictionaryOf(dict);
  return dictionary != nullptr && dictionary->hasSymbol(i) ? &dictionary->symbol(i) : nullptr;
}

// Stands in for a walk when there is no memory for one.
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
  return dict == nullptr ? 0 : dictionaryOf(dict)->labelCount();
}

int CzlxUelLabel(zlxHandle dict, int i, char* quote, char* label, int size) {
  const Dictionary* dictionary = dictionaryOf(dict);
  if (dictionary == nullptr || !dictionary->hasLabel(i)) return 0;
  const std::string& text = dictionary->label(i);
  if (quote != nullptr) *quote = quoteFor(text);
  copyText(text, label, size);
  return 1;
}

int CzlxNLSyms(zlxHandle dict) {
  return dict == nullptr ? 0 : dictionaryOf(dict)->symbolCount();
}

int CzlxSymName(zlxHandle dict, int i, char* name, int size) {
  const Symbol* symbol = symbolOf(dict, i);
  if (symbol == nullptr) return 0;
  copyText(symbol->name, name, size);
  return 1;
}

int CzlxSymType(zlxHandle dict, int i) {
  const Symbol* symbol = symbolOf(dict, i);
  return symbol == nullptr ? 0 : symbol->type;
}

int CzlxSymDim(zlxHandle dict, int i) {
  const Symbol* symbol = symbolOf(dict, i);
  return symbol == nullptr ? 0 : symbol->dim;
}

int CzlxSymUserInfo(zlxHandle dict, int i) {
  const Symbol* symbol = symbolOf(dict, i);
  return symbol == nullptr ? 0 : symbol->userInfo;
}

int CzlxSymText(zlxHandle dict, int i, char* quote, char* text, int size) {
  const Symbol* symbol = symbolOf(dict, i);
  if (symbol == nullptr) return 0;
  if (quote != nullptr) *quote = quoteFor(symbol->text);
  copyText(symbol->text, text, size);
  return 1;
}

int CzlxSymIndex(zlxHandle dict, const char* name) {
  return dict == nullptr || name == nullptr ? 0 : dictionaryOf(dict)->findSymbol(name);
}

void* CzlxFindFirstRowCol(zlxHandle dict, int symbol, const int* key, int* rowcol) {
  if (rowcol != nullptr) *rowcol = -1;
  if (dict == nullptr) return &emptyWalk;
  auto* walk = new (std::nothrow) EntryWalk(*dictionaryOf(dict), symbol, key);
  if (walk == nullptr) return &emptyWalk;
  step(*walk, rowcol);
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
  if (dict == nullptr) return 0;
  const Dictionary& dictionary = *dictionaryOf(dict);
  return entryKey(dictionary, dictionary.rows(), row, symbol, key, dim);
}

int CzlxColUels(zlxHandle dict, int column, int* symbol, int* key, int* dim) {
  if (dict == nullptr) return 0;
  const Dictionary& dictionary = *dictionaryOf(dict);
  return entryKey(dictionary, dictionary.columns(), column, symbol, key, dim);
}
