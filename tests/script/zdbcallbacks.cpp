#include <cstdio>
#include <cstdlib>

#include "script/zdbhost.h"

namespace zdb::script {

namespace {

struct {
  zdbHandle_t from, to;
  std::string failing;
  int works;  ///< how often yet
  zdbSymbol_t symbol;
  int next;  ///< the record to be read, from 0
} served;

bool fails(char step, void* user) {
  if (user != served.from) std::abort();
  std::putchar(step);
  return served.failing == std::string(1, step) && served.works-- <= 0;
}

int infoOf(zdbSymbol_t symbol, int key) {
  int value = 0;
  c__zdbsymbolinfo(served.from, symbol, key, &value, nullptr, nullptr);
  return value;
}

int find(const char* name, int* number, void* user) {
  const std::string text(name + 1, static_cast<unsigned char>(name[0]));
  zdbSymbol_t found = nullptr;
  if (fails('f', user) || c__zdbfindsymbol(served.from, text.c_str(), &found) != 1) return 1;
  *number = infoOf(found, ZDB_SYMBOL_NUMBER);
  return 0;
}

int readStart(int number, int* count, void* user) {
  c__zdbgetsymbolbynumber(served.from, number, &served.symbol);
  served.next = 0;
  *count = infoOf(served.symbol, ZDB_SYMBOL_RECORDS);
  return fails('s', user) ? 1 : 0;
}

/// Labels get their numbers now, when they are first met.
int readRecord(int* key, double* values, int* changed, void* user) {
  if (fails('r', user)) return 1;
  zdbRecord_t record = nullptr;
  c__zdbfindfirstrecord(served.from, served.symbol, &record);
  for (int i = 0; i < served.next; ++i) c__zdbrecordmovenext(served.from, record);
  ++served.next;
  for (int i = 1; i < infoOf(served.symbol, ZDB_SYMBOL_DIM); ++i) {
    char label[ZDB_TEXT_SIZE];
    c__zdbgetkey(served.from, record, i, label);
    c__zdbmergeuel(served.to, label, key++);
  }
  c__zdbgetrecordraw(served.from, record, 0, nullptr, values);
  c__zdbfreesymboliterator(served.from, record);
  *changed = 1;
  return 0;
}

int readDone(void* user) {
  return fails('d', user) ? 1 : 0;
}

int elemText(int number, char* text, int capacity, void* user) {
  static const std::string texts[] = {"one", std::string(255, 't'), "ONE"};
  if (fails('t', user) || number < 1 || number > 3 || capacity != 255) return 1;
  const std::string& found = texts[number - 1];
  text[0] = static_cast<char>(found.size());
  found.copy(text + 1, found.size());
  return 0;
}

int print(const char* text, void* user) {
  std::fwrite(text + 1, 1, static_cast<unsigned char>(text[0]), stdout);
  return user == served.from ? 0 : 1;
}

}  // namespace

void serve(zdbHandle_t from, zdbHandle_t to, const std::string& failing, int works) {
  served = {from, to, failing, works, nullptr, 0};
}

void* servingCallback(const std::string& name) {
  if (name == "find") return reinterpret_cast<void*>(&find);
  if (name == "start") return reinterpret_cast<void*>(&readStart);
  if (name == "read") return reinterpret_cast<void*>(&readRecord);
  if (name == "done") return reinterpret_cast<void*>(&readDone);
  if (name == "text") return reinterpret_cast<void*>(&elemText);
  return name == "print" ? reinterpret_cast<void*>(&print) : nullptr;
}

}  // namespace zdb::script
